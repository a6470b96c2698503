// The reading of reference data with 570,000 registrations: what parsing the file takes alone, what reading it into the
// stores takes, and by how much the process grows for good.

#include "files.h"
#include "liveries/refdata.h"
#include "platform/process.h"
#include "refdata/refdata.h"

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <unistd.h>

constexpr std::size_t registrations = 570'000;

// Made once from the project's own tables, removed at the end.
static const std::string& sampleFile() {
    struct Sample {
        Sample() {
            auto tables = rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables"));
            tables.registrations.clear();
            rig::addSynthetic(tables, registrations, 1);
            std::ofstream(path, std::ios::binary) << rig::dbaseXml(tables);
        }
        ~Sample() { std::filesystem::remove(path); }
        std::string path =
            (std::filesystem::temp_directory_path() / ("velloray-bench-" + std::to_string(getpid()) + ".xml"))
                .string();
    };
    static const Sample sample;
    return sample.path;
}

// Processor time, so that a busy machine does not count.
static double seconds(const std::function<void()>& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

static double residentBytes() {
    std::ifstream in("/proc/self/statm");
    double total = 0, resident = 0;
    in >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

static void parse() {
    pugi::xml_document document;
    if (!document.load_file(sampleFile().c_str())) std::abort();
}

// Both in turn: the ratio is what counts.
static void readAgainstParse(benchmark::State& state) {
    sampleFile();
    double parsing = 0, reading = 0;
    for (auto _ : state) {
        parsing += seconds(parse);
        refData = RefData{};
        const double took = seconds([] { gf_readDbaseFile(sampleFile()); });
        reading += took;
        state.SetIterationTime(took);
    }
    if (refData.dbaseRegcodes.size() != registrations) state.SkipWithError("registrations are missing");
    state.counters["parse_ms"] = 1000 * parsing / static_cast<double>(state.iterations());
    state.counters["read_ms"] = 1000 * reading / static_cast<double>(state.iterations());
    state.counters["read_to_parse"] = reading / parsing;
}
BENCHMARK(readAgainstParse)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

static void residentGrowth(benchmark::State& state) {
    sampleFile();
    refData = RefData{};
    plat::releaseFreeMemory();
    double grown = 0;
    for (auto _ : state) {
        const double before = residentBytes();
        gf_readDbaseFile(sampleFile());
        grown = residentBytes() - before;
    }
    state.counters["bytes_per_registration"] = grown / static_cast<double>(registrations);
}
BENCHMARK(residentGrowth)->Unit(benchmark::kMillisecond)->Iterations(1);

static void lookup(benchmark::State& state) {
    if (refData.dbaseRegcodes.size() == 0) gf_readDbaseFile(sampleFile());
    for (auto _ : state) {
        benchmark::DoNotOptimize(gf_lookupRegcode("GAAAA")); // three forms
        benchmark::DoNotOptimize(gf_lookupRegcode("N-none"));
    }
}
BENCHMARK(lookup);

BENCHMARK_MAIN();

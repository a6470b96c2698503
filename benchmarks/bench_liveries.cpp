// The liveries of a large installation, 50,000 of which 20,000 have registrations: what reading the file and building
// the store take, what a match takes, and the memory that the store holds.

#include "app/folders.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "files.h"
#include "liveries/liveries.h"
#include "refdata/refdata.h"
#include "replay/alloc_count.h"
#include "updates/updates.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <malloc.h>
#include <random>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
constexpr std::size_t liveryCount = 50'000, knownAircraft = 100'000;

// A program folder with the file, and reference data. The tables' own airlines, types and similar groups.
struct Installation {
    Installation() {
        fs::create_directories(folder / "input");
        fs::current_path(folder);
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        gf_buildFolders();
        gf_setDownloadBase("none/");
        fs::create_directories(folders.output);
        fs::create_directories(folders.appData);
        LOG.value = false;
        tables = rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables"));
        rig::addSynthetic(tables, knownAircraft, 1);
        pugi::xml_document document;
        document.load_string(rig::dbaseXml(tables).c_str());
        gf_readDbaseDocument(document, "the invented data");
        liveries = rig::inventLiveries(tables, liveryCount, 1);
        rig::writeLiveries(liveries, folders.scannedLiveries);
    }
    ~Installation() {
        fs::current_path(fs::temp_directory_path());
        fs::remove_all(folder);
    }
    fs::path folder = fs::temp_directory_path() / ("velloray-bench-" + std::to_string(getpid()));
    rig::RefTables tables;
    std::vector<Livery> liveries;
};

const Installation& installation() {
    static const Installation made;
    return made;
}

void forget() {
    gf_clearLiveryStores();
    liveryStore = LiveryStore{};
}

// Processor time, so that a busy machine does not count.
double processorSeconds(void (*work)()) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

void readAndIndex(benchmark::State& state) {
    installation();
    for (auto _ : state) {
        forget();
        state.SetIterationTime(processorSeconds(gf_processScannedLiveries));
    }
    state.counters["registrations"] = static_cast<double>(liveryStore.regcodeTitles.size());
    if (liveryStore.regcodeTitles.size() < liveryCount * 2 / 5 - 1000 || !liveryStore.processed)
        state.SkipWithError("liveries or registrations are missing");
}
BENCHMARK(readAndIndex)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

// Bytes in use on the heap, as the allocator counts them, its own heads included.
double bytesInUse() { return static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd); }

void memory(benchmark::State& state) {
    installation();
    double held = 0;
    for (auto _ : state) {
        forget();
        const double before = bytesInUse();
        gf_indexLiveries(installation().liveries);
        held = bytesInUse() - before;
    }
    state.counters["bytes_per_livery"] = held / static_cast<double>(liveryCount);
}
BENCHMARK(memory)->Unit(benchmark::kMillisecond)->Iterations(1);

// The traffic of a day: aircraft of the registrations, half of them told with it, some without an airline.
std::vector<LiveAc> traffic() {
    const auto& known = installation().tables.registrations;
    std::mt19937 chance(7);
    std::vector<LiveAc> result(4096);
    for (LiveAc& ac : result) {
        const auto& row = known[chance() % known.size()];
        ac.acType = row.type;
        if (chance() % 8 != 0) ac.airline = row.airl;
        if (chance() % 2 != 0) ac.regcode = row.reg;
        ac.cargo = row.cargo;
        ac.category = gf_modelCategory(ac.acType);
    }
    return result;
}

// Each match by itself on the wall clock, less the cost of reading it; the median is what counts.
void match(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    if (!liveryStore.processed) gf_indexLiveries(installation().liveries);
    std::vector<LiveAc> aircraft = traffic();
    std::vector<double> ns;
    std::uint64_t allocations = 0, matched = 0;
    std::uint32_t hexid = 10'001;
    engineLife.hexidTitles.reserve(aircraft.size() *
                                   200); // it is not the map of the process that is measured
    for (auto _ : state) {
        for (LiveAc& ac : aircraft) {
            ac.title = {};
            ac.hexid = hexid++; // nobody returns
            const auto allocationsBefore = rig::allocationCount();
            const auto start = Clock::now();
            matched += gf_titleForLiveAc(ac);
            ns.push_back(std::chrono::duration<double, std::nano>(Clock::now() - start).count());
            allocations += rig::allocationCount() - allocationsBefore;
        }
    }
    std::sort(ns.begin(), ns.end());
    const auto count = static_cast<double>(ns.size());
    state.counters["median_ns"] = ns[ns.size() / 2];
    state.counters["p99_ns"] = ns[ns.size() * 99 / 100];
    state.counters["allocations"] = static_cast<double>(allocations) / count;
    state.counters["matched"] = static_cast<double>(matched) / count;
    for (std::size_t i = 0; i < engineLife.matchCounts.size(); ++i)
        state.counters[fmt::format("step{}", i + 1)] = engineLife.matchCounts[i] / count;
}
BENCHMARK(match)->Unit(benchmark::kMillisecond)->Iterations(50);

} // namespace

BENCHMARK_MAIN();

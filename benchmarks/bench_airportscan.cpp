// The scan of a packages folder in which one BGL file in ten holds an airport, warm, against what reading those files,
// and the heads of the others, takes in turn on one thread. With links, which is what most airports of known publishers
// become, and with a file made of each airport. The small one has 300 files; 3000 files of 2 GB are what a large
// installation has, and wanted by --benchmark_filter=3000.

#include "airportscan/airportscan.h"
#include "app/folders.h"
#include "app/parameters.h"
#include "fleet/bgl.h"
#include "liveries/refdata.h"
#include "platform/clock.h"
#include "platform/files.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t fileBytes = 700'000;
constexpr int oneInSo = 10;

std::string codeOf(int number) {
    constexpr const char* digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return fmt::format("Q{}{}{}", digits[number / 36 / 36], digits[number / 36 % 36], digits[number % 36]);
}

std::string airportBytes(int number) {
    rig::BglAirport airport;
    airport.ident = codeOf(number);
    airport.otherParts = 200;
    for (int i = 0; i < 60; ++i) {
        rig::BglPosition position;
        position.number = i;
        position.airlineCodes = i % 4;
        airport.positions.push_back(position);
    }
    // What the walk runs into: a size that leads out of the file in most, some thousand small records in others.
    std::string tail(fileBytes, '\x0B');
    if (number % 5 == 0)
        for (std::size_t at = 0; at < 5000 * 16; at += 16)
            tail.replace(at, 8, std::string("\xDB\0\x10\0\0\0\0\0", 8));
    return rig::bglFile({{3, 1, {rig::bglAirport(airport)}}, {0x25, 1, {"objs"}}}, tail);
}

fs::path resultsPlace() {
    const fs::path memory = "/dev/shm";
    return (fs::is_directory(memory) ? memory : fs::temp_directory_path()) /
           fmt::format("velloray-bgl-results-{}", getpid());
}

struct Packages {
    explicit Packages(int count)
        : path(fs::temp_directory_path() / fmt::format("velloray-bgl-{}-{}", count, getpid())) {
        const std::string other =
            rig::bglFile({{0x25, 1, {std::string(fileBytes, '\x0B')}}, {0x2B, 1, {""}}});
        for (int i = 0; i < count; ++i) {
            const bool airport = i % oneInSo == 0;
            const fs::path folder = path / fmt::format("orbx-package-{}", i / oneInSo) / "scenery" / "world";
            fs::create_directories(folder);
            files.emplace_back(folder / fmt::format("file{}.{}", i, i % 3 == 0 ? "BGL" : "bgl"), airport);
            std::ofstream(files.back().first, std::ios::binary)
                << (airport ? airportBytes(i / oneInSo) : other);
        }
    }
    ~Packages() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
        fs::remove_all(resultsPlace(), ignored);
    }
    Packages(const Packages&) = delete;
    Packages& operator=(const Packages&) = delete;
    const fs::path path;
    std::vector<std::pair<fs::path, bool>> files; // with an airport?
};

const Packages& packages(int count) { // made once
    static std::map<int, Packages> made;
    return made.try_emplace(count, count).first->second;
}

template <class Work> double seconds(const Work& work) {
    const plat::SteadyNs start = plat::steadyNow();
    work();
    return static_cast<double>(plat::steadyNow() - start) / 1e9;
}

// Into one buffer, by the system's own calls.
void readThem(const Packages& made) {
    static std::vector<char> buffer(2 * fileBytes);
    for (const auto& [path, whole] : made.files) {
        constexpr std::size_t head = 56 + 2 * 20;
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0 || read(file, buffer.data(), whole ? buffer.size() : head) <= 0) std::abort();
        close(file);
    }
}

void scanAgainstReading(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0)), airportCount = count / oneInSo;
    const bool linked = state.range(1) != 0;
    const Packages& made = packages(count);
    refData.publisherGroups = {{"orbx"}};
    for (int i = 0; i < 600; ++i) // as many as there are
        refData.publisherGroups.insert(refData.publisherGroups.begin(),
                                       {fmt::format("publisher{}", i), fmt::format("other name {}", i)});
    MSFS_2020.value = false;
    refData.thirdParties24 = {{"orbx", {}}};
    for (int i = 0; linked && i < airportCount; ++i)
        refData.thirdParties24[0].airports.push_back(codeOf(i) + "60");
    double reading = 0, search = 0, writing = 0;
    double bestRead = 1e9, bestSearch = 1e9, bestAll = 1e9;
    readThem(made); // warm
    for (auto _ : state) {
        // A folder each time, in memory: what making files costs a disk's file system is not ours to better.
        static int round = 0;
        const fs::path results = resultsPlace() / fmt::format("results-{}", ++round);
        folders.mySimaddon = folders.myThirdparty = results;
        fs::create_directories(results);
        const double read = seconds([&] { readThem(made); });
        ScanResults found;
        const double searched = seconds([&] { lf_scanFolder(made.path, found); });
        const std::size_t generated = found.generated.size();
        const double wrote = seconds([&] { found.writeGenerated(); });
        state.SetIterationTime(searched + wrote);
        reading += read;
        search += searched;
        writing += wrote;
        bestRead = std::min(bestRead, read);
        bestSearch = std::min(bestSearch, searched);
        bestAll = std::min(bestAll, searched + wrote);
        std::size_t files = 0;
        for ([[maybe_unused]] const auto& entry : fs::directory_iterator(results)) ++files;
        if (generated != static_cast<std::size_t>(linked ? 0 : airportCount) ||
            files != static_cast<std::size_t>(airportCount))
            state.SkipWithError("airports are missing");
    }
    const auto mean = [&](double sum) { return 1000 * sum / static_cast<double>(state.iterations()); };
    state.counters["read_ms"] = mean(reading);
    state.counters["search_ms"] = mean(search);
    state.counters["write_ms"] = mean(writing);
    state.counters["search_to_read"] = search / reading;
    state.counters["all_to_read"] = (search + writing) / reading;
    state.counters["best_search_to_read"] = bestSearch / bestRead;
    state.counters["best_all_to_read"] = bestAll / bestRead;
    refData = RefData{};
}
BENCHMARK(scanAgainstReading)
    ->ArgNames({"files", "linked"})
    ->ArgsProduct({{300}, {1, 0}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

} // namespace

int main(int argc, char** argv) {
    if (std::any_of(argv, argv + argc,
                    [](const char* text) { return std::string(text).find("3000") != std::string::npos; }))
        benchmark::RegisterBenchmark("scanAgainstReading", scanAgainstReading)
            ->ArgNames({"files", "linked"})
            ->ArgsProduct({{3000}, {1, 0}})
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond)
            ->Iterations(30);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

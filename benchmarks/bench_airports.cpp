// Airports: what the loader takes to read an airport of 400 stands with 40,000 options, and what the worker pays for
// taking it over, for giving it up and for looking where the user stands. Reading is to stay within 60 ms.

#include "airports/airports.h"
#include "airports/reading.h"
#include "app/folders.h"
#include "app/parameters.h"
#include "liveries/refdata.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

constexpr int standCount = 400, optionsPerStand = 100;

// A program folder with one large airport, half of whose aircraft the reference data knows.
struct Sample {
    Sample() {
        const auto folder = std::filesystem::temp_directory_path() /
                            ("velloray-bench-airports-" + std::to_string(std::hash<const void*>()(this)));
        std::filesystem::create_directories(folder / "airports" / "my_simaddon");
        std::filesystem::create_directories(folder / "airports" / "my_thirdparty");
        std::filesystem::current_path(folder);
        gf_buildFolders();
        airportsLife.loaderByHand = true;
        std::string text = "<meta/><parameters><parameter name=\"altitude\" value=\"100\"/><parameter "
                           "name=\"publisher\" value=\"simaddon\"/></parameters><parkpositions>";
        for (int s = 0; s < standCount; ++s) {
            text += fmt::format(
                "<parkpos id=\"GATE {}\" latitude=\"{:.6f}\" longitude=\"{:.6f}\" heading=\"{}.0\" "
                "radius=\"{}.0\" cargo=\"false\" ramp=\"false\">\n",
                s, 50 + s / 20 * 0.0006, 8 + s % 20 * 0.0008, s % 360, 18 + s % 3 * 8);
            for (int o = 0; o < optionsPerStand; ++o) {
                const std::string reg = fmt::format("G{:05}", s * 61 + o);
                if (o % 2 == 0) refData.dbaseRegcodes.insert(reg, "BAW", "A320", "", false);
                text +=
                    fmt::format("<opt reg=\"{}\" airl=\"BAW\" type=\"A320\" day=\"{}\" hh=\"{},{},{},{}\" "
                                "cs=\"BAW{}:BAW{}\"/>\n",
                                reg, o % 7 + 1, o % 40, o % 40 + 1, o % 40 + 2, o % 40 + 3, o, o + 1);
            }
            text += "</parkpos>\n";
        }
        std::ofstream("airports/my_simaddon/XBIG.xml", std::ios::binary) << text << "</parkpositions>";
        for (int i = 0; i < 44000; ++i)
            airportsLife.directory.push_back(
                {fmt::format("X{:05}", i), "", i % 180 - 90.0, i % 360 - 180.0, 0});
        airportsLife.directory.push_back({"XBIG", "", 50, 8, 100});
        airportsLife.directoryRead = true;
    }
    ~Sample() {
        const auto folder = std::filesystem::current_path();
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        std::filesystem::remove_all(folder);
    }
    Sample(const Sample&) = delete;
    Sample& operator=(const Sample&) = delete;
};

void prepare() { static const Sample sample; }

void bringUp() {
    lf_setParkAirport("XBIG");
    lf_startLoading("XBIG");
    lf_serveLoader();
}

void readAirport(benchmark::State& state) {
    prepare();
    for (auto _ : state) {
        AirportReading reading;
        reading.code = "XBIG";
        gf_readApf("airports/my_simaddon/XBIG.xml", reading);
        if (reading.file.stands.size() != standCount) std::abort();
    }
}
BENCHMARK(readAirport)->Unit(benchmark::kMillisecond);

constexpr int visits =
    100; // each reads the airport anew, outside the time: as many as the clock asks for take minutes

void takeOver(benchmark::State& state) { // what a parking step does with it
    prepare();
    for (auto _ : state) {
        state.PauseTiming();
        bringUp();
        state.ResumeTiming();
        if (!lf_readParkedFile().empty()) std::abort();
        state.PauseTiming();
        lf_giveUpParkAirport();
        state.ResumeTiming();
    }
}
BENCHMARK(takeOver)->Unit(benchmark::kMicrosecond)->Iterations(visits);

void giveUpWithChanges(benchmark::State& state) { // the worker's part of a save
    prepare();
    for (auto _ : state) {
        state.PauseTiming();
        bringUp();
        if (!lf_readParkedFile().empty()) std::abort();
        airports.updates = 1;
        state.ResumeTiming();
        lf_giveUpParkAirport();
        state.PauseTiming();
        lf_serveLoader();
        state.ResumeTiming();
    }
}
BENCHMARK(giveUpWithChanges)->Unit(benchmark::kMicrosecond)->Iterations(visits);

void closestAirport(benchmark::State& state) { // of 44,000
    prepare();
    for (auto _ : state) benchmark::DoNotOptimize(gf_findClosestAirport(50.01, 8.01));
}
BENCHMARK(closestAirport)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();

// The scan of 20,000 aircraft.cfg files with 60,000 sections, warm, against what the system's own tools take to find
// the same files and to read them to nowhere, in turn.

#include "liveries/scan.h"
#include "platform/clock.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

constexpr int files = 20'000, sectionsEach = 3;

// In the habits of real packages: comments behind values, keys that nobody reads, an end as it comes.
static std::string sectionText(int file, int section) {
    return fmt::format(
        "[FLTSIM.{1}]\r\ntitle = \"Traffic_A320_BAW-British Airways {0}-{1}\" ; Variation name\r\n"
        "model = \"BAW\" ; model folder\r\ntexture = \"BAW\"; texture folder\r\n"
        "atc_airline = \"Speedbird\" ; airline name\r\nui_manufacturer = \"Airbus\" ; e.g. Boeing, Cessna\r\n"
        "ui_type = \"Airbus A320\" ; e.g. 747-400, 172\r\nui_variation = \"British Airways\"\r\n"
        "ui_typerole = \"Commercial Airliner\"\r\nui_createdby = \"nobody\"\r\n"
        "atc_parking_codes = \"BAW\" ; Comma separated and may be as small as one character each\r\n"
        "atc_parking_types = \"GATE,RAMP\"\r\natc_heavy = 0 ; heavy?\r\n"
        "isairtraffic = 1 ; airtraffic flag for variations\r\n"
        "isuserselectable = 0 ; flag off for non selectable planes\r\natc_id = \"G-{2:04X}\"\r\n"
        "atc_id_enable = 1 ; enable tail number\r\neffects = \"\"\r\nicao_airline = \"BAW\" ;\r\n"
        "panel = \"\" ; panel folder\r\nsound = \"\" ; sound folder\r\n\r\n",
        file, section, file % 65536);
}

// Made once, removed at the end.
static const std::filesystem::path& fleet() {
    struct Fleet {
        Fleet() {
            for (int file = 0; file < files; ++file) {
                const auto folder = path / fmt::format("package-{}", file / 1000) / "SimObjects" /
                                    "Airplanes" / fmt::format("Traffic_A320_{}", file);
                std::filesystem::create_directories(folder);
                std::ofstream out(folder / "aircraft.cfg", std::ios::binary);
                out << "[GENERAL]\r\nicao_type_designator = \"A320\"\r\n\r\n[VARIATION]\r\n"
                       "base_container = \"..\\A320\"\r\n\r\n";
                for (int section = 0; section < sectionsEach; ++section) out << sectionText(file, section);
            }
        }
        ~Fleet() { std::filesystem::remove_all(path); }
        std::filesystem::path path =
            std::filesystem::temp_directory_path() / ("velloray-scan-" + std::to_string(getpid()));
    };
    static const Fleet made;
    return made.path;
}

template <class Work> static double seconds(const Work& work) {
    const plat::SteadyNs start = plat::steadyNow();
    work();
    return static_cast<double>(plat::steadyNow() - start) / 1e9;
}

static void readToNowhere() {
    const std::string command =
        "find " + fleet().string() + " -name aircraft.cfg -print0 | xargs -0 cat >/dev/null";
    if (std::system(command.c_str()) != 0) std::abort();
}

static void scanAgainstCat(benchmark::State& state) {
    refData.allModels = refData.largeModels = {"A320"};
    refData.icaoAirlines = {"BAW"};
    fleet();
    readToNowhere(); // warm
    double bestCat = 1e9, bestScan = 1e9, cat = 0, scan = 0;
    for (auto _ : state) {
        const double catTook = seconds(readToNowhere);
        std::vector<Livery> liveries;
        const double scanTook = seconds([&] { gf_searchFolder(1, fleet(), liveries); });
        state.SetIterationTime(scanTook);
        cat += catTook;
        scan += scanTook;
        bestCat = std::min(bestCat, catTook);
        bestScan = std::min(bestScan, scanTook);
        if (liveries.size() != static_cast<std::size_t>(files) * sectionsEach)
            state.SkipWithError("liveries are missing");
        gf_clearScanLists();
    }
    const auto mean = [&](double sum) { return 1000 * sum / static_cast<double>(state.iterations()); };
    state.counters["cat_ms"] = mean(cat);
    state.counters["scan_ms"] = mean(scan);
    state.counters["scan_to_cat"] = scan / cat;
    state.counters["best_scan_to_cat"] = bestScan / bestCat;
}
BENCHMARK(scanAgainstCat)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

BENCHMARK_MAIN();

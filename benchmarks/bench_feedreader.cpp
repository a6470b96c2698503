// What the traffic reader costs per line: one that the range test drops, one that is kept, and beside them the
// yardstick, which splits the same lines at their commas and works out one great-circle distance. The dropped case
// prints its ratio to the yardstick, both timed in turns in the same run, and its allocations.

#include "app/app.h"
#include "feed/feed.h"
#include "platform/clock.h"

#include "replay/alloc_count.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

constexpr double userLat = 50.03, userLon = 8.57;

// Full lines as the feed sends them, spread evenly over a box around the user.
static std::vector<std::string> makeLines(double nearestDegrees, double farthestDegrees) {
    constexpr int count = 256;
    static const char* const types[] = {"A320", "B738", "B77W", "E190"};
    std::vector<std::string> lines;
    for (int i = 0; i < count; ++i) {
        const double reach =
            nearestDegrees + (farthestDegrees - nearestDegrees) * static_cast<double>(i) / count;
        const double lat = userLat + (i % 2 ? reach : -reach), lon = userLon + (i % 4 < 2 ? reach : -reach);
        lines.push_back(fmt::format("RTTFC,{},{:.5f},{:.5f},{},{},0,{:.2f},{:.2f},DLH{}K,{},D-A{:03},EDDF,"
                                    "LEBL,17176679{:02}.4,X,LH{},adsb_icao,"
                                    "{},266,{},0.768,0.0,{:.1f},{:.2f},{:.2f},-1,none,A3,1012.8,34000,-1,-1,"
                                    "null,0.0,-1,-1,-1,-1,-1,1,{},0",
                                    3958272 + i, lat, lon, 20000 + 13 * i, 64 * (i % 7), 337.06 + i % 20,
                                    431.08 - i % 30, i, types[i % 4], i, i % 100, i, 20100 + 13 * i,
                                    446 - i % 30, 0.7 * (i % 5), 332.23, 333.53, 20000 + 13 * i));
    }
    return lines;
}

static void prepare() {
    trafficReader.userPosition.store({userLat, userLon});
    appLife.realTrafficLocal = true;
    app.rangeNm = 40.0;
    gf_enableTraffic(true);
    lf_resetReaders();
}

static double yardstick(const std::string& line, std::vector<std::string_view>& fields) {
    fields.clear();
    const std::string_view text = line;
    std::size_t start = 0;
    for (std::size_t comma; (comma = text.find(',', start)) != std::string_view::npos; start = comma + 1)
        fields.push_back(text.substr(start, comma - start));
    fields.push_back(text.substr(start));
    return gf_distanceNm(userLat, userLon, 40.0 + static_cast<double>(fields.size()), 8.0);
}

// Best of many turns, each over all lines: nanoseconds per line of the reader and of the yardstick.
static std::pair<double, double> timeInTurns(const std::vector<std::string>& lines) {
    std::vector<std::string_view> fields;
    fields.reserve(64);
    plat::SteadyNs reader = INT64_MAX, other = INT64_MAX;
    for (int turn = 0; turn < 2000; ++turn) {
        const auto begin = plat::steadyNow();
        for (const std::string& line : lines) trafficReader.takeDatagram(line);
        const auto middle = plat::steadyNow();
        for (const std::string& line : lines) benchmark::DoNotOptimize(yardstick(line, fields));
        const auto end = plat::steadyNow();
        reader = std::min(reader, middle - begin);
        other = std::min(other, end - middle);
    }
    const auto count = static_cast<double>(lines.size());
    return {static_cast<double>(reader) / count, static_cast<double>(other) / count};
}

static void DropOutOfRange(benchmark::State& state) {
    prepare();
    const auto lines = makeLines(2, 9);
    std::size_t i = 0;
    const std::size_t before = rig::allocationCount();
    for (auto _ : state) trafficReader.takeDatagram(lines[i++ % lines.size()]);
    const std::size_t made = rig::allocationCount() - before;
    if (trafficReader.dropped[static_cast<std::size_t>(Drop::range)] !=
        static_cast<std::uint64_t>(state.iterations()))
        state.SkipWithError("a line was not dropped for its range");
    const auto [reader, other] = timeInTurns(lines);
    state.counters["allocations"] = static_cast<double>(made) / static_cast<double>(state.iterations());
    state.counters["ratio"] = reader / other; // to hold: at most 1.5
}
BENCHMARK(DropOutOfRange);

static void SplitAndOneDistance(benchmark::State& state) {
    const auto lines = makeLines(2, 9);
    std::vector<std::string_view> fields;
    fields.reserve(64);
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(yardstick(lines[i++ % lines.size()], fields));
}
BENCHMARK(SplitAndOneDistance);

// The queue is emptied as the engine would, outside the timing.
static void KeepLine(benchmark::State& state) {
    prepare();
    const auto lines = makeLines(0.01, 0.3);
    std::vector<TrafficRecord> taken;
    taken.reserve(lines.size());
    for (auto _ : state) {
        for (const std::string& line : lines) trafficReader.takeDatagram(line);
        state.PauseTiming();
        taken.clear();
        if (gf_takeFeedRecords(taken, lines.size()) != lines.size())
            state.SkipWithError("a line was not kept");
        state.ResumeTiming();
    }
    state.counters["per_line"] = // seconds; to hold: at most 1 microsecond
        benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(lines.size()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(KeepLine);

BENCHMARK_MAIN();

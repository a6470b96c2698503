// What the searches at an airport of 400 stands with 40,000 options cost. For a stand: under the aircraft, with nothing
// near, beside a stand that only its flight's record would justify, and with all stands on one parallel or one
// meridian, where the coarse test helps least. For the other flight of a turn-round, which looks at each option.

#include "engine/parking.h"

#include "replay/alloc_count.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace {

constexpr double fieldLat = 50, fieldLon = 8, metersPerDegree = 60 * metersPerNm;
constexpr int standCount = 400, optionsEach = 100;

LatLon place(double north, double east) {
    return {fieldLat + north / metersPerDegree,
            fieldLon + east / (metersPerDegree * std::cos(fieldLat * degToRad))};
}

enum Layout { piers, parallel, meridian };

void prepare(int layout) {
    airports = AirportsRun();
    for (int i = 0; i < standCount; ++i) {
        const LatLon at = layout == parallel   ? place(0, 8.0 * i)
                          : layout == meridian ? place(8.0 * i, 0)
                                               : place(42.0 * (i % 40), 250.0 * (i / 40));
        Stand s;
        s.id = fmt::format("Gate {}", i);
        s.seq = i + 1;
        s.lat = at.lat;
        s.lon = at.lon;
        s.radius = 18 / metersPerNm;
        for (int n = 0; n < optionsEach; ++n) {
            StandOption o;
            o.airl = "DLH";
            o.type = "A321";
            o.cs = fmt::format("DLH{}", n);
            o.cs2 = fmt::format("DLH{}", n + 1000);
            o.hours.set();
            o.index = n + 1;
            o.real = o.day = 1;
            s.options.push_back(o);
        }
        airports.file.stands.push_back(std::move(s));
    }
}

void findStand(benchmark::State& state) {
    prepare(static_cast<int>(state.range(0)));
    const LatLon at = place(static_cast<double>(state.range(1)), static_cast<double>(state.range(2)));
    LiveAc ac;
    ac.callsign = "AFR1";
    ac.airline = "AFR";
    ac.acType = "A320";
    ac.radiusNm = 17 / metersPerNm;
    ac.category = AcCategory::large;
    const std::size_t before = rig::allocationCount();
    for (auto _ : state) benchmark::DoNotOptimize(lf_findStand(at.lat, at.lon, ac, standSearchMeters, true));
    state.counters["allocs"] = static_cast<double>(rig::allocationCount() - before);
}
BENCHMARK(findStand)
    ->Args({piers, 420, 500}) // right on one
    ->Args({piers, 420, 625}) // between two piers
    ->Args({piers, 420, 570}) // 70 m off: several are looked up by their options
    ->Args({parallel, 0, 1600})
    ->Args({meridian, 1600, 0})
    ->Unit(benchmark::kMicrosecond);

void findTurnRound(benchmark::State& state) {
    prepare(piers);
    LiveAc ac;
    ac.callsign = "DLH9999"; // nobody's, so that all are compared
    ac.airline = "DLH";
    for (auto _ : state) {
        lf_searchForCoupledCsAroundThisTime({1, 20}, ac);
        if (!ac.coupledCallsign.empty()) state.SkipWithError("found one");
    }
}
BENCHMARK(findTurnRound)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();

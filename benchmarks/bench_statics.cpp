// Static parking: what a renewal takes in the Tick that carries it, with 400 stands, 40,000 options, 300 live aircraft
// and as many static ones as stands allow. It is to stay within 8 ms. Also the placing of one aircraft.

#include "airports/statics.h"
#include "app/parameters.h"
#include "engine/parking.h"
#include "feed/feed.h"
#include "platform/random.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cstdlib>
#include <random>

namespace {

constexpr int standCount = 400, optionsPerStand = 100, liveCount = 300;

StandOption makeOption(int standNumber, int number, std::mt19937& chance) {
    StandOption option;
    option.airl = number % 3 == 0 ? "BAW" : "DLH";
    option.type = "A320";
    option.reg = fmt::format("G-{:05}", standNumber * 61 + number);
    option.cs = fmt::format("{}{}", option.airl, standNumber * 97 + number);
    option.cs2 = fmt::format("{}{}", option.airl, standNumber * 97 + number + 1);
    option.index = number + 1;
    option.day = number % 7 + 1;
    option.real = number % 5 != 0;
    for (std::size_t first = chance() % 44, n = 0; n < 4; ++n) option.hours.set(first + n);
    return option;
}

// `crowded`: neighbours touch, so that most candidates meet a static aircraft beside them.
void prepare(bool crowded) {
    plat::seedRandom(1);
    std::mt19937 chance(7);
    airports = {};
    lf_resetEngine();
    lf_presizeEngine();
    app.weekSlot.store({3, 20});
    LOG.value = false;
    parking_percentage.value = 90;
    refData.wingspanByModel["A320"] = 17 / metersPerNm;
    for (int s = 0; s < standCount; ++s) {
        Stand stand;
        stand.id = fmt::format("GATE {}", s);
        stand.seq = s + 1;
        stand.lat = 50 + s / 20 * 0.001;
        stand.lon = 8 + s % 20 * (crowded ? 0.0004 : 0.001);
        stand.radius = 18 / metersPerNm;
        if (crowded && s % 20 > 0) stand.adjacent.push_back(s);
        if (crowded && s % 20 < 19) stand.adjacent.push_back(s + 2);
        for (int o = 0; o < optionsPerStand; ++o) stand.options.push_back(makeOption(s, o, chance));
        airports.file.stands.push_back(std::move(stand));
    }
    airports.park.code = "XBIG";
    airports.park.loaded = true;
    for (int s = 0; s < standCount; s += 2) {
        const Stand& stand = airports.file.stands[static_cast<std::size_t>(s)];
        const StandOption& option = stand.options[static_cast<std::size_t>(s % optionsPerStand)];
        ParkedAc ac;
        ac.hexid = static_cast<std::uint32_t>(s);
        ac.objectId = 1000 + ac.hexid;
        ac.airline = option.airl;
        ac.acType = option.type;
        ac.callsign = option.cs + "*";
        ac.firstCallsign = option.cs;
        ac.coupledCallsign = option.cs2;
        ac.regcode = option.reg;
        ac.radiusNm = 17 / metersPerNm;
        ac.st = SimState::active;
        ac.parkedSince = {3, 18};
        lf_takeStand(ac, stand);
        engine.parked.push_back(ac);
    }
    for (int i = 0; i < liveCount; ++i) {
        TrafficRecord record;
        record.hexid = firstLiveHexid + static_cast<std::uint32_t>(i);
        record.callsign = fmt::format("LIV{}", i);
        record.regcode = fmt::format("D-{:04}", i);
        record.acType = "A320";
        LiveAc& ac = lf_appendLive(lf_makeLiveAc(record));
        ac.st = SimState::active;
        ac.objectId = 5000 + record.hexid;
        ac.fs = i % 3 == 0 ? FlightState::parked : FlightState::flying;
        ac.feedAtStand = true;
        if (i % 3 == 0) lf_takeStand(ac, airports.file.stands[static_cast<std::size_t>(i + 1)]);
    }
}

void renewal(benchmark::State& state) {
    prepare(state.range(0) == 1);
    const std::vector<ParkedAc> parked = engine.parked;
    double longest = 0;
    for (auto _ : state) {
        state.PauseTiming();
        engine.parked = parked;
        engine.removalQueue.clear();
        {
            const LockGuard hold(trafficLock);
            for (int i = 0; i < liveCount; ++i)
                trafficReader.seenCallsigns.insert(fmt::format("BAW{}", i * 100));
        }
        state.ResumeTiming();
        const auto before = std::chrono::steady_clock::now();
        lf_adjustStatics();
        longest = std::max(
            longest,
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before).count());
    }
    if (airports.staticQueue.empty()) std::abort();
    state.counters["longest_ms"] = longest;
    state.counters["to_place"] = static_cast<double>(airports.staticQueue.size());
}
BENCHMARK(renewal)->ArgName("crowded")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Every option is that of an aircraft in the feed: each is found, and set aside.
void renewalWithoutUse(benchmark::State& state) {
    prepare(false);
    for (Stand& stand : airports.file.stands)
        for (StandOption& option : stand.options) option.cs = "DLH1";
    engine.parked.clear();
    for (auto _ : state) {
        state.PauseTiming();
        {
            const LockGuard hold(trafficLock);
            trafficReader.seenCallsigns.insert("DLH1");
        }
        state.ResumeTiming();
        lf_adjustStatics();
    }
    if (!airports.staticQueue.empty()) std::abort();
}
BENCHMARK(renewalWithoutUse)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();

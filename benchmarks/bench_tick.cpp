// What a Tick costs with 300 active aircraft that all move: median, 99th percentile and longest time, and allocations
// per Tick. Each aircraft has a report every 3 s; 15 fly tight turns, 15 are on an approach, in the flare or rolling
// out, some taxi through curves, the others fly on; heights come five times a second for all; the simulator's
// frames at 60 Hz drain the queues between the Ticks. What other threads do (the reader, the simulator thread) is
// done between the Ticks and not measured. A second case has a busy airport: 150 of the 300 taxi, and some of those
// stop now and then and look for a stand, 30 stand parked and are reported there, 200 static aircraft stand around,
// and each hundredth Tick has the work of the second.

#include "engine/parking.h"
#include "feed/feed.h"
#include "platform/clock.h"
#include "simconnect/transport.h"

#include "replay/alloc_count.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr double metersPerDegree = 111132.95, fieldLat = 50, fieldLon = 8, groundFt = 83, standingFt = 11;
constexpr double metersPerSecondPerKnot = metersPerNm / 3600;
constexpr int aircraft = 300, ticksBetweenReports = 300, lead = 3000;
constexpr std::uint32_t firstObject = 100;

enum class Road { cruise, turn, land, taxi, stopAndGo, parked };

// Where aircraft `number` truly is at a time on its road.
struct Track {
    int number = 0;
    Road road = Road::cruise;
    static constexpr double landingSeconds = 150; // approach and roll-out, then again from the start

    static Track of(int number, bool busyAirport) {
        if (busyAirport && number % 2 == 0) return {number, number % 10 == 0 ? Road::stopAndGo : Road::taxi};
        if (busyAirport && number % 10 == 1) return {number, Road::parked};
        const Road road = number % 20 == 0   ? Road::turn
                          : number % 20 == 1 ? Road::land
                          : number % 20 < 4  ? Road::taxi
                                             : Road::cruise;
        return {number, road};
    }
    static StreamPoint place(double north, double east, double alt, double knots) {
        StreamPoint p;
        p.lat = fieldLat + north / metersPerDegree;
        p.lon = fieldLon + east / (metersPerDegree * std::cos(fieldLat * degToRad));
        p.alt = alt;
        p.airborne = alt > 0;
        p.speed = p.tas = knots;
        return p;
    }
    StreamPoint circle(double seconds, double radius, double knots, double alt) const {
        const double a = seconds * knots * metersPerSecondPerKnot / radius + number;
        const double north = (number % 17 - 8) * 2500.0, east = (number % 13 - 6) * 2500.0;
        StreamPoint p = place(north + radius * std::cos(a), east + radius * std::sin(a), alt, knots);
        p.track = std::fmod(a * radToDeg + 90, 360);
        return p;
    }
    static LatLon standPlace(int number) {
        const StreamPoint p = place(500 + 45.0 * (number % 40), 250.0 * (number / 40) - 1000, 0, 0);
        return {p.lat, p.lon};
    }
    StreamPoint onStand() const {
        const LatLon at = standPlace(number);
        StreamPoint p = place(0, 0, 0, 0);
        p.lat = at.lat + 1e-5;
        p.lon = at.lon;
        return p;
    }
    StreamPoint stopAndGo(double seconds) const { // a minute of each
        constexpr double round = 120, moves = 60;
        const double rest = std::fmod(seconds + number, round),
                     before = std::floor((seconds + number) / round) * moves;
        StreamPoint p = circle(before + std::min(rest, moves), 60, 15, 0);
        if (rest > moves) p.speed = p.tas = 0;
        return p;
    }
    StreamPoint landing(double seconds) const {
        constexpr double touch = 70, knots = 130, mps = knots * metersPerSecondPerKnot, brake = 2;
        const double east = number * 30.0; // each has a runway of its own
        if (seconds < touch) {
            const double north = (seconds - touch) * mps;
            StreamPoint p = place(north, east, groundFt - north * 0.0524 * 3.28, knots);
            p.vs = -690;
            return p;
        }
        constexpr double taxi = 8; // metres a second
        const double t = std::min(seconds - touch, (mps - taxi) / brake), onwards = seconds - touch - t;
        return place(mps * t - brake / 2 * t * t + taxi * onwards, east, 0,
                     (mps - brake * t) / metersPerSecondPerKnot);
    }
    StreamPoint at(double seconds) const {
        switch (road) {
        case Road::turn: return circle(seconds, 3000, 220, 6000);
        case Road::land: return landing(seconds);
        case Road::taxi: return circle(seconds, 60, 15, 0);
        case Road::stopAndGo: return stopAndGo(seconds);
        case Road::parked: return onStand();
        default: return circle(seconds, 60000, 400, 12000 + 100 * (number % 50));
        }
    }
};

struct Traffic {
    std::vector<Track> tracks;
    std::vector<std::int32_t> startTick; // of the landings' present round

    static std::uint32_t hexid(int number) { return firstLiveHexid + static_cast<std::uint32_t>(number); }

    TrafficRecord record(int number, std::int32_t sentTick) const {
        const auto i = static_cast<std::size_t>(number);
        TrafficRecord r;
        r.hexid = hexid(number);
        r.callsign = r.firstCallsign = fmt::format("TST{}", number);
        r.acType = "A320";
        r.airline = "TST";
        r.regcode = fmt::format("D-A{:03}", number);
        const std::int32_t base = tracks[i].road == Road::land ? startTick[i] : 0;
        r.point = tracks[i].at((sentTick - base) / 100.0);
        r.point.dueTick = sentTick + lead;
        r.timestamp = 1e9 + sentTick / 100.0;
        return r;
    }

    // Makes the aircraft active, with a full stream, where it is now.
    void place(int number) {
        const auto i = static_cast<std::size_t>(number);
        const std::int32_t now = appLife.tickCount;
        startTick[i] = now - lead;
        LiveAc* ac = lf_findByHexid(hexid(number));
        LiveAc fresh = lf_makeLiveAc(record(number, now - lead));
        for (std::int32_t t = now - lead + ticksBetweenReports; t < now; t += ticksBetweenReports)
            fresh.stream.pushBack(record(number, t).point);
        fresh.lastFeedTime = 1e9 + now / 100.0 - 3;
        if (ac)
            *ac = std::move(fresh);
        else
            ac = &lf_appendLive(std::move(fresh));
        const StreamPoint& front = ac->stream.front();
        ac->st = SimState::active;
        ac->lat = front.lat;
        ac->lon = front.lon;
        ac->onGround = !front.airborne;
        ac->fs = ac->onGround ? FlightState::taxi : FlightState::flying;
        ac->staticCg = standingFt;
        ac->alt = ac->onGround ? groundFt + standingFt : front.alt;
        ac->agl = ac->alt - groundFt;
        ac->heading = gf_bearing(front.lat, front.lon, ac->stream[1].lat, ac->stream[1].lon);
        ac->radiusNm = 0.001; // they may meet
        lf_setObjectId(*ac, firstObject + static_cast<std::uint32_t>(number));
        if (tracks[i].road != Road::parked) return;
        ac->fs = FlightState::parked;
        ac->airline = ""; // what is learned is not measured here
        lf_takeStand(*ac, airports.file.stands[i]);
        ac->lat = ac->standLat;
    }

    explicit Traffic(bool busyAirport) : startTick(aircraft) {
        for (int n = 0; n < aircraft; ++n) {
            tracks.push_back(Track::of(n, busyAirport));
            place(n);
        }
    }

    // What the reader and the simulator thread hand over before a Tick.
    void handOver(std::int32_t tick) {
        for (int n = tick % ticksBetweenReports; n < aircraft; n += ticksBetweenReports) {
            const auto i = static_cast<std::size_t>(n);
            if (tracks[i].road == Road::land && tick - startTick[i] > Track::landingSeconds * 100 + n * 10)
                place(n);
            const LockGuard guard(trafficLock);
            feedQueue.records.push_back(record(n, tick));
        }
        if (tick % 20 != 0) return;
        for (const LiveAc& ac : engine.live) {
            const double agl = ac.alt - groundFt;
            gf_postSimMessage(
                {ac.objectId, agl <= standingFt + 1, 0, SimMessageKind::heightReport, groundFt, agl});
        }
    }
};

struct Swallow : simconnect::Transport {
    bool send(std::span<const char>) override { return true; }
    int receive(std::span<char>) override { return 0; }
};

void fillAirport() {
    constexpr int stands = 400, statics = 200;
    for (int n = 0; n < stands; ++n) {
        Stand s;
        s.id = fmt::format("Gate {}", n);
        s.seq = n + 1;
        s.lat = Track::standPlace(n).lat;
        s.lon = Track::standPlace(n).lon;
        s.radius = 18 / metersPerNm;
        airports.file.stands.push_back(std::move(s));
    }
    for (int n = 0; n < statics; ++n) {
        ParkedAc ac;
        ac.hexid = ac.objectId = static_cast<std::uint32_t>(n) + 1000;
        ac.st = SimState::active;
        ac.radiusNm = 17 / metersPerNm;
        lf_takeStand(ac, airports.file.stands[static_cast<std::size_t>(stands - 1 - n)]);
        ac.standLat += 0.5; // out of the way: what is removed is not measured here
        engine.parked.push_back(std::move(ac));
    }
}

void prepare() {
    engine = EngineRun();
    airports = AirportsRun();
    app = AppRun();
    lf_presizeEngine();
    lf_presizeSimQueues();
    lf_resetReaders();
    gf_enableTraffic(true);
    appLife.tickCount = 100000;
    refData = RefData();
    refData.largeModels.insert("A320");
    refData.allModels.insert("A320");
    ParkAirport field;
    field.code = "TEST";
    field.lat = fieldLat;
    field.lon = fieldLon;
    field.elevation = groundFt;
    field.loaded = true;
    gf_publishParkAirport(field);
    engine.user.lat = fieldLat;
    engine.user.lon = fieldLon - 0.03; // on the ground, in nobody's way
    sim.userOnGround = true;
    engine.user.alt = groundFt;
    simconnect::setOpener([](DWORD) { return std::make_unique<Swallow>(); });
    const LockGuard guard(simLock);
    SimConnect_Open(&sim.handle, "bench", nullptr, 0, nullptr, 0);
}

void tick() { // the motion step of the main cycle, without what only sends to RealTraffic
    lf_handleSimMessages();
    lf_updateLiveAircraft();
    lf_paceQueues();
    lf_fileFeedRecords();
    lf_serveSpawnRequest();
    if (appLife.tickCount % 20 == 0) gf_requestInRange(app.rangeMeters);
    if (appLife.tickCount % 100 == 0) { // the second's
        lf_refreshCounts();
        lf_userConflicts();
        lf_parkedConflicts();
    }
    appLife.tickCount += 1;
}

void tickWith300Aircraft(benchmark::State& state, bool busyAirport) {
    prepare();
    if (busyAirport) fillAirport();
    Traffic traffic(busyAirport);
    std::vector<double> microseconds;
    microseconds.reserve(200000);
    std::size_t allocated = 0, landings = 0, updates = 0;
    double frames = 0;
    const auto oneTick = [&](bool counted) {
        traffic.handOver(appLife.tickCount);
        const std::size_t before = rig::allocationCount();
        const plat::SteadyNs start = plat::steadyNow();
        tick();
        const plat::SteadyNs ns = plat::steadyNow() - start;
        if (counted) {
            allocated += rig::allocationCount() - before;
            microseconds.push_back(static_cast<double>(ns) / 1000);
            const LockGuard guard(simLock);
            updates += sim.draining.size();
        }
        for (frames += 0.6; frames >= 1; frames -= 1) lf_frameStep(); // 60 of them in 100 Ticks
        return static_cast<double>(ns) / 1e9;
    };
    for (int i = 0; i < 2000; ++i) oneTick(false); // capacities have grown, rounds are spread
    const std::uint64_t arrivals = engine.newArrivals.size();
    for (auto _ : state) state.SetIterationTime(oneTick(true));
    landings = engine.newArrivals.size() - arrivals;
    std::size_t active = 0;
    for (const LiveAc& ac : engine.live) active += ac.st == SimState::active;
    if (active != aircraft) state.SkipWithError("an aircraft has gone");
    if (updates != microseconds.size() * aircraft) state.SkipWithError("an aircraft did not move");

    std::sort(microseconds.begin(), microseconds.end());
    const auto part = [&](double share) {
        return microseconds[static_cast<std::size_t>(share * static_cast<double>(microseconds.size() - 1))];
    };
    state.counters["median_us"] = part(0.5);
    state.counters["p99_us"] = part(0.99);
    state.counters["max_us"] = part(1);
    state.counters["allocs_per_tick"] =
        static_cast<double>(allocated) / static_cast<double>(microseconds.size());
    state.counters["approaches_and_landings"] = static_cast<double>(landings);

    const LockGuard guard(simLock);
    SimConnect_Close(sim.handle);
    sim.handle = nullptr;
}
BENCHMARK_CAPTURE(tickWith300Aircraft, enRoute, false)
    ->UseManualTime()
    ->Iterations(30000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(tickWith300Aircraft, busyAirport, true)
    ->UseManualTime()
    ->Iterations(30000)
    ->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();

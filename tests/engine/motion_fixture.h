#pragma once
// Makes active aircraft with streams by hand, in Ticks that the test counts, and reads back what was queued for the
// simulator.

#include "life_fixture.h"

#include "engine/motion.h"

namespace test {

using Events = std::vector<std::pair<std::uint32_t, std::uint32_t>>; // event and data

class MotionTest : public Life {
  protected:
    MotionTest() { reset(); }

    static void reset() {
        Life::reset();
        lf_presizeSimQueues();
        lf_presizeEngine();
        refData.largeModels = {"A320"};
        refData.heavyModels = {"B744"};
        refData.buzjetModels = {"C56X"};
        refData.highPerfModels = {"F16"};
        refData.rotorModels = {"EC35"};
        appLife.tickCount = 10000;
        qnhReader.currentQnh = 1013;
        plat::seedRandom(7);
    }

    static void setAirport(double lat, double lon, double elevation) {
        airports.park = {{"TEST", "", lat, lon, elevation}, false};
    }

    static std::int32_t now() { return appLife.tickCount; }

    // A point `seconds` from now, `north` and `east` metres from 50 N 8 E.
    static StreamPoint at(double seconds, double north, double east, double altFt, double knots) {
        StreamPoint p;
        p.lat = 50 + north / 111132.95;
        p.lon = 8 + east / (111132.95 * std::cos(50 * degToRad));
        p.alt = altFt;
        p.airborne = altFt > 0;
        p.speed = p.tas = knots;
        p.dueTick = lf_tickAfter(now(), static_cast<std::int32_t>(std::lround(seconds * ticksPerSecond)));
        return p;
    }

    // An active aircraft at the first point, which is due now, with the others ahead of it.
    static LiveAc& add(const std::string& type, const std::vector<StreamPoint>& points, double heading) {
        TrafficRecord record =
            report(firstLiveHexid + static_cast<std::uint32_t>(engine.live.size()), 0, 0, 0, 0);
        record.acType = type;
        record.point = points.front();
        LiveAc& ac = lf_appendLive(lf_makeLiveAc(record));
        for (std::size_t i = 1; i < points.size(); ++i) ac.stream.pushBack(points[i]);
        ac.st = SimState::active;
        ac.lat = points.front().lat;
        ac.lon = points.front().lon;
        ac.alt = points.front().alt;
        ac.heading = heading;
        ac.onGround = !points.front().airborne;
        ac.fs = ac.onGround ? FlightState::taxi : FlightState::flying;
        ac.staticCg = 8;
        ac.staticPitch = 0.5 * degToRad;
        ac.radiusNm = 0.01;
        lf_setObjectId(ac, 100 + static_cast<std::uint32_t>(engine.live.size()));
        return ac;
    }

    static bool tick(LiveAc& ac) {
        const bool erase = updateLiveAc(ac);
        appLife.tickCount = lf_tickAfter(appLife.tickCount, 1);
        return erase;
    }

    static Events takeEvents() {
        LockGuard hold(simLock);
        Events events;
        for (const QueuedEvent& e : sim.events) events.emplace_back(e.event, e.data);
        sim.events.clear();
        return events;
    }
};

} // namespace test

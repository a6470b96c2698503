#pragma once
// Makes active aircraft with streams by hand, in Ticks that the test counts, and reads back what was queued for the
// simulator.

#include "app/app.h"
#include "app/parameters.h"
#include "engine/motion.h"
#include "feed/feed.h"
#include "platform/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace test {

using Events = std::vector<std::pair<std::uint32_t, std::uint32_t>>; // event and data

class MotionTest : public testing::Test {
  protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset(); }

    static void reset() {
        engine = EngineRun();
        airports = AirportsRun();
        app = AppRun();
        refData = RefData();
        refData.largeModels.insert("A320");
        refData.heavyModels.insert("B744");
        refData.buzjetModels.insert("C56X");
        refData.highPerfModels.insert("F16");
        refData.rotorModels.insert("EC35");
        {
            LockGuard hold(simLock);
            sim = SimLinkRun();
        }
        lf_presizeSimQueues();
        lf_presizeEngine();
        gf_resetParametersToDefaults();
        appLife.tickCount = 10000;
        qnhReader.currentQnh = 1013;
        plat::seedRandom(7);
    }

    static void setAirport(double lat, double lon, double elevation) {
        airports.park = ParkAirport();
        airports.park.code = "TEST";
        airports.park.lat = lat;
        airports.park.lon = lon;
        airports.park.elevation = elevation;
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
        TrafficRecord record;
        record.hexid = firstLiveHexid + static_cast<std::uint32_t>(engine.live.size());
        record.callsign = "TST" + std::to_string(engine.live.size());
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

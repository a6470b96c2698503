#pragma once
// A sky without a simulator: virtual ticks, a few known types, airlines and liveries, and the motion step run by
// hand. What the engine would send is looked at in the queues to the simulator.

#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "platform/random.h"
#include "platform/virtual_clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

inline TrafficRecord report(std::uint32_t hexid, double lat, double lon, double alt, double speed) {
    TrafficRecord r;
    r.hexid = hexid;
    r.acType = "A320";
    r.callsign = "DLH" + std::to_string(hexid % 1000);
    r.point.lat = lat;
    r.point.lon = lon;
    r.point.alt = alt;
    r.point.airborne = alt > 0;
    r.point.speed = speed;
    r.point.tas = speed;
    return r;
}

class Life : public testing::Test {
  protected:
    plat::ScopedVirtualClock clock;

    Life() {
        reset();
        app.simRunning.set();
        appLife.tickCount = 1000;
        refData.allModels = {"A320", "B744", "C172", "F16", "R44", "B738"};
        refData.largeModels = {"A320", "B738"};
        refData.heavyModels = {"B744"};
        refData.highPerfModels = {"F16"};
        refData.rotorModels = {"R44"};
        refData.icaoAirlines = {"DLH", "BAW", "AFR", "CTY"};
        refData.wingspanByCategory.fill(0.01);
        gf_indexLiveries({{"DLH", "A320", "FSLTL_A320_DLH", "D-AIXX", false},
                          {"BAW", "B744", "B744 BAW", "G-BNLY", false},
                          {"ZZZ", "A320", "A320 generic", "", false},
                          {"ZZZ", "C172", "C172 generic", "", false}});
        fresh();
        lf_presizeSimQueues();
        plat::seedRandom(1);
    }
    ~Life() override { reset(); }

    static void reset() {
        lf_resetEngine();
        engineLife = {};
        engineCounters = {};
        sim = SimLinkRun();
        fillingUpdates.clear();
        std::vector<SimMessage> left;
        gf_takeSimMessages(left);
        app = AppRun();
        appLife.tickCount = 0;
        airports = {};
        refData = RefData();
        gf_clearLiveryStores();
        gf_forgetNoMatches();
        gf_resetParametersToDefaults();
        gf_clearMessage();
        display = Display();
        const LockGuard held(trafficLock);
        feedQueue.records.clear();
    }

    static void fresh() { // an empty engine, the user far from everything
        lf_resetEngine();
        lf_presizeEngine();
        engine.user.lat = 30;
        engine.user.lon = -30;
        gf_setRange(20000); // and everything in range all the same
    }

    // One motion step without feed; a wait of n Ticks.
    static void tick(int n = 1) {
        for (; n > 0; --n) {
            lf_handleSimMessages();
            lf_updateLiveAircraft();
            lf_paceQueues();
            lf_serveSpawnRequest();
            appLife.tickCount = lf_tickAfter(appLife.tickCount, 1);
        }
    }

    static LiveAc& only() {
        EXPECT_EQ(engine.live.size(), 1u);
        return engine.live.front();
    }

    // An aircraft in the simulator, on its way north.
    static LiveAc& active(std::uint32_t hexid, std::uint32_t objectId, double lat, double lon,
                          double alt = 5000) {
        LiveAc ac = lf_makeLiveAc(report(hexid, lat, lon, alt, 200));
        ac.stream.front().dueTick = lf_tickAfter(appLife.tickCount, 100000);
        ac.lat = lat;
        ac.lon = lon;
        ac.alt = alt;
        ac.objectId = objectId;
        ac.onGround = alt <= 0;
        ac.fs = alt > 0 ? FlightState::flying : FlightState::taxi;
        ac.st = SimState::active;
        ac.title = "FSLTL_A320_DLH";
        return lf_appendLive(std::move(ac));
    }

    // A record in the buffer whose front point is due, with as many points as wanted on its way north.
    static LiveAc& due(std::uint32_t hexid, double lat, double alt = 5000, double speed = 200,
                       int points = 3) {
        LiveAc& ac = lf_appendLive(lf_makeLiveAc(report(hexid, lat, 8, alt, speed)));
        ac.stream.front().dueTick = appLife.tickCount;
        for (int i = 1; i < points; ++i) {
            StreamPoint p = ac.stream.back();
            p.lat += 0.01;
            p.dueTick = lf_tickAfter(p.dueTick, 300);
            ac.stream.pushBack(p);
        }
        return ac;
    }

    static void appear(std::uint32_t hexid, std::uint32_t objectId, double agl = 4000) {
        gf_postSimMessage({objectId, hexid, 0, SimMessageKind::liveAppeared, agl, 0});
    }
    static void goes(std::uint32_t objectId) {
        gf_postSimMessage({objectId, 0, 0, SimMessageKind::removed, 0, 0});
    }
    static void fails(std::uint32_t hexid, bool titleRefused) {
        gf_postSimMessage({0, hexid, titleRefused ? 1 : 0, SimMessageKind::creationFailed, 0, 0});
    }

    // Ticks until a record has left for the simulator and its object has become active.
    static void bringUp(std::uint32_t hexid, std::uint32_t objectId, double agl = 4000) {
        tick(60);
        ASSERT_FALSE(sim.creations.empty());
        sim.creations.clear();
        appear(hexid, objectId, agl);
        tick(202);
        ASSERT_TRUE(lf_findByHexid(hexid));
        ASSERT_EQ(lf_findByHexid(hexid)->st, SimState::active);
    }

    // The events to the simulator, and their data.
    static std::vector<std::pair<std::uint32_t, std::uint32_t>> sent(std::size_t first) {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> result;
        for (const QueuedEvent& e : sim.events)
            if (result.size() < first) result.emplace_back(e.event, e.data);
        return result;
    }
    static std::uint64_t notSpawned(NotSpawned why) {
        return engineCounters.notSpawned[static_cast<int>(why)];
    }
    static std::uint64_t removed(Removed why) { return engineCounters.removed[static_cast<int>(why)]; }
};

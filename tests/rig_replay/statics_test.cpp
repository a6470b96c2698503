// The watch over the static aircraft of a replay finds who is there twice and what stands in them.

#include "replay/staticwatch.h"

#include "engine/engine.h"
#include "simulator/world.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace rig {

class StaticWatching : public testing::Test {
  protected:
    World world;
    StaticWatch watch;
    StaticWatching() { lf_resetEngine(); }
    ~StaticWatching() override { lf_resetEngine(); }
    std::uint32_t object(double lat) {
        const std::uint32_t id = 100 + static_cast<std::uint32_t>(world.objects.size());
        SimObject& o = world.objects[id];
        o.id = id;
        o.lat = lat;
        o.lon = 8;
        return id;
    }
    ParkedAc& parked(const std::string& callsign, const std::string& other, const std::string& reg,
                     double lat) {
        ParkedAc ac;
        ac.hexid = static_cast<std::uint32_t>(engine.parked.size());
        ac.callsign = callsign + "*";
        ac.firstCallsign = callsign;
        ac.coupledCallsign = other;
        ac.regcode = reg;
        ac.radiusNm = 17 / metersPerNm;
        ac.st = SimState::active;
        ac.objectId = object(lat);
        engine.parked.push_back(ac);
        return engine.parked.back();
    }
    LiveAc& live(const std::string& callsign, const std::string& reg, double lat) {
        TrafficRecord record;
        record.hexid = firstLiveHexid + static_cast<std::uint32_t>(engine.live.size());
        record.callsign = callsign;
        record.regcode = reg;
        LiveAc& ac = lf_appendLive(lf_makeLiveAc(record));
        ac.radiusNm = 17 / metersPerNm;
        ac.onGround = true;
        ac.st = SimState::active;
        lf_setObjectId(ac, object(lat));
        return ac;
    }
    nlohmann::json look(int seconds) {
        for (int i = 0; i < seconds; ++i) watch.everySecond(i, world);
        return watch.report();
    }
};

TEST_F(StaticWatching, FindsWhoIsThereTwiceForTooLong) {
    engine.parked.reserve(8);
    parked("DLH1", "", "D-AIZA", 50);
    parked("DLH2", "DLH3", "", 50.01);
    parked("DLH4", "", "", 50.02);
    live("BAW1", "D-AIZA", 51); // the same aircraft
    live("DLH3_", "", 51.1);    // a ghost of its other flight
    live("DLH44", "", 51.2);
    engine.newArrivals = {1, 2};
    EXPECT_EQ(look(7)["pairs_too_long"], 0) << "five seconds, and one for each that waits";
    EXPECT_EQ(watch.report()["pairs"], 2);
    engine.parked[1].st = SimState::removingFromSim;
    const nlohmann::json report = look(1);
    EXPECT_EQ(report["pairs_too_long"], 1);
    EXPECT_EQ(report["pairs_told"][0]["why"], "D-AIZA");
    EXPECT_EQ(report["pair_seconds_max"], 8);
    EXPECT_EQ(report["most"], 3);
    EXPECT_EQ(report["most_live"], 3);
}

TEST_F(StaticWatching, FindsWhatStandsInAStaticAircraft) {
    engine.parked.reserve(8);
    parked("DLH1", "", "", 50);
    parked("DLH2", "", "", 50.01);
    live("DLH3", "", 50.01);
    live("DLH4", "", 50.02);
    live("DLH5", "", 50.02); // two live ones are another matter
    const nlohmann::json report = look(4);
    ASSERT_EQ(report["overlaps"].size(), 1u);
    EXPECT_EQ(report["overlap_seconds_max"], 4);
}

} // namespace rig

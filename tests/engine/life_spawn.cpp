// Who may appear, when, and as what: from the buffer to the creation, and what follows when the object is there.

#include "life_fixture.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr std::uint32_t hex = 4242424;
constexpr double metersNorth = 1 / metersPerNm / 60; // degrees of latitude

TEST_F(Life, AnAircraftIsCreatedLitAndFlownWhenItsObjectIsThere) {
    for (int i = 0; i < 4; ++i) {
        TrafficRecord r = report(hex, 50 + 0.02 * i, 8, 5000, 220);
        r.timestamp = 1000 + 20 * i;
        r.point.dueTick = 1300 + 2000 * i;
        r.point.vs = -1200;
        r.point.bank = 0.1;
        r.point.bankValid = true;
        lf_fileFeedRecord(r);
    }
    tick(200);
    EXPECT_EQ(only().st, SimState::buffer);
    tick(); // 100 ticks before it is due
    EXPECT_EQ(only().st, SimState::adding2sim);
    EXPECT_TRUE(sim.creations.empty()); // paced: at a 50th tick
    tick(50);
    ASSERT_EQ(sim.creations.size(), 1u);
    const CreationRecord& c = sim.creations.front();
    EXPECT_TRUE(c.tailNumber == "DLH424" && c.title == "FSLTL_A320_DLH");
    EXPECT_TRUE(c.hexid == hex && c.lat == 50 && c.alt == 5000 && c.onGround == 0 && c.airspeed == 0);
    EXPECT_NEAR(c.pitch, -3 + 2.2, 1e-9); // a descent counts half
    EXPECT_NEAR(c.bank, 0.1 * radToDeg, 1e-9);
    EXPECT_NEAR(c.heading, 0, 1e-6);
    EXPECT_TRUE(only().titleIsFsltl);

    appear(hex, 77, 3900);
    tick();
    EXPECT_EQ(only().agl, 3900);
    EXPECT_TRUE(sim.events.empty()); // airborne: its gear stays as it is
    tick(199);
    EXPECT_EQ(only().st, SimState::adding2sim);
    tick();
    EXPECT_EQ(only().st, SimState::active);
    EXPECT_THAT(sent(9), ElementsAre(Pair(evEngineStart, 0), Pair(evSpoilers, 0), Pair(evNavLights, 1),
                                     Pair(evBeaconLights, 1), Pair(evLandingLights, 1), Pair(evTaxiLights, 0),
                                     Pair(evStrobes, 1), Pair(evLogoLights, 1), Pair(evCabinLights, 1)));
    EXPECT_EQ(sim.events[0].objectId, 77u);
    EXPECT_EQ(engine.newArrivals.front(), hex);
    EXPECT_EQ(engineCounters.ready, 1u);
}

TEST_F(Life, AnAircraftOnTheGroundStartsWithItsGearDownAndTaxiLights) {
    due(hex, 50, 0, 12);
    bringUp(hex, 77, 8);
    EXPECT_TRUE(only().onGround && only().fs == FlightState::taxi); // no airport is current
    EXPECT_THAT(sent(12), ElementsAre(Pair(evGear, 1), Pair(evSpoilers, 0), Pair(evEngineStart, 0),
                                      Pair(evNavLights, 1), Pair(evBeaconLights, 1), Pair(evLandingLights, 0),
                                      Pair(evTaxiLights, 1), Pair(evStrobes, 0), Pair(evLogoLights, 1),
                                      Pair(evCabinLights, 1), Pair(evThrottle, 0), Pair(evFlaps, 3072)));
}

TEST_F(Life, AMovingAircraftOnTheGroundMayAppearThreeSecondsEarly) {
    for (const auto& [alt, speed, lead] : {std::tuple{0., 12., 300}, {0., 0., 100}, {5000., 200., 100}}) {
        fresh();
        LiveAc& ac = due(hex, 50, alt, speed);
        for (const int early : {1, 0}) {
            ac.stream[0].dueTick = lf_tickAfter(appLife.tickCount, lead + early);
            lf_checkSpawn(ac);
            EXPECT_EQ(ac.st, early ? SimState::buffer : SimState::adding2sim) << lead;
        }
    }
}

TEST_F(Life, ASingleReportIsNoTrackAndALaterOneStartsAnew) {
    due(hex, 50, 5000, 200, 1);
    tick();
    EXPECT_TRUE(engine.live.empty());
    EXPECT_EQ(notSpawned(NotSpawned::singlePoint), 1u);
    TrafficRecord r = report(hex, 51, 8, 5000, 200);
    lf_fileFeedRecord(r);
    EXPECT_EQ(only().stream.size(), 1u);
}

TEST_F(Life, AStreamThatLeavesTheGroundWaitsUntilItIsWhollyInTheAir) {
    LiveAc& ac = due(hex, 50, 5000, 150, 5);
    ac.stream[0].airborne = ac.stream[1].airborne = false;
    tick();
    EXPECT_EQ(only().stream.size(), 4u);
    tick(250);
    EXPECT_EQ(only().stream.size(), 3u);
    EXPECT_EQ(only().st, SimState::buffer);
    tick(300);
    EXPECT_EQ(only().st, SimState::adding2sim);
    EXPECT_EQ(only().fs, FlightState::flying);
}

TEST_F(Life, OnlyASafeDistanceFromTheUserLetsAnAircraftAppear) {
    const struct {
        const char* what;
        bool userOnGround, avoidUser;
        double userSpeed, userAlt, userAgl; // knots, feet
        double alt, speed, metersAway;      // of the front point, north of the user
        double targetHeading;
        bool gndRule, airRule;
        bool appears, avoidsAfter;
    } rows[] = {
        {"at 149 m", true, false, 0, 0, 0, 0, 5, 149, 0, true, true, false, false},
        {"at 151 m", true, false, 0, 0, 0, 0, 5, 151, 0, true, true, true, false},
        {"at 149 m, rule off", true, false, 0, 0, 0, 0, 5, 149, 0, false, true, true, false},
        {"airborne over the user", true, false, 0, 0, 0, 3000, 150, 10, 0, true, true, true, false},
        {"kept out, user rolls", true, true, 9, 0, 0, 3000, 150, 9000, 0, true, true, false, true},
        {"kept out, airborne", true, true, 8, 0, 0, 3000, 150, 10, 0, true, true, true, false},
        {"kept out, it rolls", true, true, 0, 0, 0, 0, 9, 9000, 0, true, true, false, true},
        {"kept out, at 499 m", true, true, 0, 0, 0, 0, 5, 499, 0, false, true, false, true},
        {"kept out, at 501 m", true, true, 0, 0, 0, 0, 5, 501, 0, true, true, true, false},
        {"in the air, rule off", false, true, 200, 3000, 3000, 3000, 200, 2000, 0, true, false, true, false},
        {"ahead on a line", false, false, 200, 3000, 3000, 5999, 200, 11000, 0, true, true, false, true},
        {"3000 feet above", false, false, 200, 3000, 3000, 6000, 200, 11000, 0, true, true, true, false},
        {"beyond 6 miles", false, false, 200, 3000, 3000, 3000, 200, 11130, 0, true, true, true, false},
        {"crossing far off", false, false, 200, 3000, 3000, 3000, 200, 11000, 1.5, true, true, true, false},
        {"crossing within 4000 ft", false, false, 200, 3000, 3000, 3000, 200, 1200, 1.5, true, true, false,
         true},
        {"on the ground, kept out", false, true, 200, 3000, 3000, 0, 5, 90000, 0, true, true, false, true},
        {"on the ground, new", false, false, 120, 500, 500, 0, 5, 900, 0, true, true, true, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        fresh();
        sim.userOnGround = row.userOnGround;
        engine.user.lat = 50;
        engine.user.lon = 8;
        engine.user.alt = row.userAlt;
        engine.user.agl = row.userAgl;
        engine.user.groundSpeed = row.userSpeed;
        COLLISION_USER_GND.value = row.gndRule;
        COLLISION_USER_AIR.value = row.airRule;
        LiveAc& ac = due(hex, 50 + row.metersAway * metersNorth, row.alt, row.speed);
        ac.avoidUser = row.avoidUser;
        ac.targetHeading = row.targetHeading;
        lf_checkSpawn(ac);
        EXPECT_EQ(ac.st == SimState::adding2sim, row.appears);
        EXPECT_EQ(ac.stream.size(), row.appears ? 3u : 2u);
        EXPECT_EQ(ac.avoidUser, row.avoidsAfter);
    }
}

TEST_F(Life, NobodyReappearsOnTheRunwayThatTheUserLandsOn) {
    for (const auto& [metersAhead, metersBeside, agl, appears] : {std::tuple{2000, 0, 900, false},
                                                                  {2000, 150, 900, false},
                                                                  {2000, 160, 900, true},
                                                                  {2000, 0, 1000, true},
                                                                  {2800, 0, 900, true}}) {
        fresh();
        engine.user.lat = 0;
        engine.user.lon = 8;
        engine.user.agl = agl;
        LiveAc& ac = due(hex, 1, 0, 5);
        ac.fs = FlightState::taxi; // it has been in the simulator
        ac.title = "B744 BAW";
        ac.lat = metersAhead * metersNorth;
        ac.lon = 8 + metersBeside * metersNorth;
        lf_checkSpawn(ac);
        EXPECT_EQ(ac.st == SimState::adding2sim, appears) << metersAhead << " " << metersBeside;
    }
}

TEST_F(Life, TheNearestAircraftWinUnderTheLimit) {
    MAX_LIVE.value = 3;
    engine.user.lat = 50;
    engine.user.lon = 8;
    for (std::uint32_t i = 0; i < 3; ++i) active(20000 + i, 100 + i, 50 + (2.0 + i) / 60, 8);
    engine.live.reserve(8);
    const auto appears = [](std::uint32_t hexid, double nm) {
        LiveAc& ac = due(hexid, 50 + nm / 60);
        lf_checkSpawn(ac);
        EXPECT_NE(ac.eraseNow, ac.st == SimState::adding2sim);
        return ac.st == SimState::adding2sim;
    };
    EXPECT_FALSE(appears(hex, 3.95)); // the farthest is at 4 miles, not beyond 4.05
    EXPECT_EQ(notSpawned(NotSpawned::liveLimit), 1u);
    EXPECT_TRUE(appears(hex + 1, 3.85));
    EXPECT_EQ(lf_findByHexid(20002)->st, SimState::removingFromSim);
    EXPECT_EQ(removed(Removed::farthest), 1u);
    EXPECT_FALSE(appears(hex + 2, 3.85)); // two active, one asked for: full again, and nobody farther
}

TEST_F(Life, ALongCreationQueueAndTheRangeThatHoldsNowKeepNewAircraftBack) {
    engine.user.lat = 50; // `due` places aircraft north of here, one minute per nautical mile
    engine.user.lon = 8;
    gf_setRange(40);
    const auto appears = [](std::uint32_t hexid, double nm, bool flewBefore = false) {
        LiveAc& ac = due(hexid, 50 + nm / 60);
        if (flewBefore) ac.fs = FlightState::flying, ac.title = "B744 BAW";
        lf_checkSpawn(ac);
        EXPECT_EQ(ac.stream.size(), ac.st == SimState::buffer ? 2u : 3u);
        return ac.st == SimState::adding2sim;
    };
    EXPECT_FALSE(appears(hex, 39.5));
    EXPECT_TRUE(appears(hex + 1, 38.5));
    for (int i = 0; i < 11; ++i) engine.creationQueue.emplace_back();
    EXPECT_FALSE(appears(hex + 2, 1));
    EXPECT_TRUE(appears(hex + 3, 1, true));
}

TEST_F(Life, NamesDecideWhoAppearsAndUnderWhichAirline) {
    refData.dbaseRegcodes.insert("D-AIXX", "DLH", "A320", "", true);
    refData.dbaseRegcodes.insert("G-BNLY", "BAW", "B744", "CTY", false);
    const struct {
        const char *callsign, *regcode, *blocked;
        bool appears;
        const char *callsignAfter, *airline, *type;
    } rows[] = {
        {"BAW12", "", "", true, "BAW12", "BAW", "A320"},
        {"GABCD", "G-ABCD", "", true, "GABCD", "PVT", "A320"},
        {"ABC12", "", "", true, "ABC12", "PVT", "A320"}, // no valid airline
        {"BAWXY", "", "", true, "BAWXY", "PVT", "A320"}, // no digit
        {"AFR12", "DAIXX", "", true, "AFR12", "DLH", "A320"},
        {"AFR12", "G-BNLY", "", true, "AFR12", "CTY", "B744"},
        {"@@@@@@@@", "D-AIXX", "", true, "D-AIXX", "DLH", "A320"},
        {"", "N123", "", true, "N123", "PVT", "A320"},
        {"BAW123456", "", "", false, "BAW123456", "", "A320"},
        {"", "", "", false, "", "", "A320"},
        {"BAW12", "", "BAW12", false, "BAW12", "", "A320"},
        {"BAW12", "", "BAW13", true, "BAW12", "BAW", "A320"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.callsign) + " " + row.regcode);
        fresh();
        BLOCK_CALLSIGN.set(row.blocked);
        LiveAc& ac = due(hex, 50);
        ac.callsign = row.callsign;
        ac.regcode = row.regcode;
        lf_checkSpawn(ac);
        EXPECT_EQ(ac.st == SimState::adding2sim, row.appears);
        EXPECT_EQ(ac.eraseNow, !row.appears);
        EXPECT_EQ(ac.callsign, row.callsignAfter);
        EXPECT_EQ(ac.airline, row.airline);
        EXPECT_EQ(ac.acType, row.type);
    }
    EXPECT_EQ(notSpawned(NotSpawned::noCallsign), 2u);
    EXPECT_EQ(notSpawned(NotSpawned::blocked), 1u);
}

TEST_F(Life, AGhostGivesWayToTheRealAircraftWhicheverComesFirst) {
    engine.live.reserve(8);
    LiveAc& ghost = active(20000, 100, 50, 8);
    ghost.callsign = "BAW12_";
    const auto comes = [](std::uint32_t hexid, const char* callsign) -> LiveAc& {
        LiveAc& ac = due(hexid, 51);
        ac.callsign = callsign;
        lf_checkSpawn(ac);
        EXPECT_NE(ac.eraseNow, ac.st == SimState::adding2sim);
        return ac;
    };
    LiveAc& real = comes(hex, "BAW12");
    EXPECT_EQ(real.st, SimState::adding2sim);
    EXPECT_EQ(ghost.st, SimState::removingFromSim);
    EXPECT_TRUE(engine.ghosts.contains("BAW12_"));
    EXPECT_TRUE(comes(20001, "BAW12_").eraseNow); // the real one has it for now
    real.st = SimState::removingFromSim;
    EXPECT_TRUE(comes(20002, "BAW12_").eraseNow); // and the list keeps it out for good
    EXPECT_EQ(notSpawned(NotSpawned::ghost), 2u);
    EXPECT_FALSE(comes(20003, "AFR1_").eraseNow); // a ghost of nobody is an aircraft
}

TEST_F(Life, AnAircraftWithoutALiveryIsNotAskedForAgainUntilForgotten) {
    const auto appears = [] {
        due(hex, 50).regcode = "D-AIXX";
        tick();
        return !engine.live.empty();
    };
    gf_clearLiveryStores();
    EXPECT_FALSE(appears() || appears());
    EXPECT_EQ(notSpawned(NotSpawned::noLivery), 2u);
    EXPECT_EQ(engine.noLivery.size(), 1u);
    gf_indexLiveries({{"DLH", "A320", "new", "", false}});
    EXPECT_FALSE(appears());
    lf_forgetTypesWithoutLivery();
    EXPECT_TRUE(appears());
    EXPECT_EQ(only().title, "new");
}

TEST_F(Life, AReturningAircraftKeepsItsTitleUnlessTheSimulatorRefusedIt) {
    engineLife.hexidTitles[hex] = "FSLTL_mine";
    LiveAc& ac = due(hex, 50);
    lf_checkSpawn(ac);
    EXPECT_EQ(ac.title, "FSLTL_mine");
    EXPECT_TRUE(ac.titleIsFsltl);
    fresh(); // titles outlive the run
    engine.failedTitles.insert("FSLTL_mine");
    LiveAc& back = due(hex, 50);
    lf_checkSpawn(back);
    EXPECT_EQ(back.title, "FSLTL_A320_DLH");
    EXPECT_EQ(engineLife.hexidTitles[hex], "FSLTL_A320_DLH");
}

TEST_F(Life, AtAnAirportWithoutStandsOnlyAMovingAircraftAppears) {
    for (const bool moves : {false, true}) {
        fresh();
        airports.park = {{"EDDF", "FRA", 50, 8, 364}, true};
        LiveAc& ac = due(hex, 50, 0, moves ? 12 : 0, 4);
        for (std::size_t i = 0; i < 4 && !moves; ++i) {
            ac.stream[i].lat = 50;
            ac.stream[i].stationary = i > 0;
        }
        lf_checkSpawn(ac);
        EXPECT_EQ(ac.st, moves ? SimState::adding2sim : SimState::buffer);
        EXPECT_EQ(ac.fs, moves ? FlightState::taxi : FlightState::birth);
        EXPECT_EQ(ac.stream.size(), moves ? 4u : 3u);
    }
}

TEST_F(Life, CreationsAndRemovalsArePacedAndStaticsComeLast) {
    for (std::uint32_t i = 1; i <= 3; ++i) engine.removalQueue.push_back(i);
    CreationRecord live, parked;
    live.hexid = hex;
    parked.hexid = 5;
    engine.creationQueue = {live, live};
    engine.staticCreationQueue = {parked};
    appLife.tickCount = 1001;
    std::vector<std::int32_t> removals, creations;
    for (int i = 0; i < 200; ++i) {
        lf_paceQueues();
        if (sim.removals.size() > removals.size()) removals.push_back(appLife.tickCount);
        if (sim.creations.size() > creations.size()) creations.push_back(appLife.tickCount);
        appLife.tickCount = appLife.tickCount + 1;
    }
    EXPECT_EQ(removals, (std::vector<std::int32_t>{1010, 1020, 1030}));
    EXPECT_EQ(creations, (std::vector<std::int32_t>{1050, 1100, 1150}));
    EXPECT_EQ(sim.creations.back().hexid, 5u);
}

} // namespace

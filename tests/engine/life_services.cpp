// Flight plan files, and the slower jobs: counts, automatic range, limit, block, arrivals.

#include "life_fixture.h"

#include "app/maincycle.h"
#include "support.h"

namespace {

constexpr std::uint32_t hex = 4242424;

class Plans : public Life {
  protected:
    Plans() {
        gf_buildFolders();
        std::filesystem::create_directories(folders.appData.parent_path());
        EXPECT_TRUE(lf_makeFlightPlanFolder());
        EXPECT_TRUE(lf_makeFlightPlanFolder()); // an old one is no trouble
    }
    ~Plans() override { gf_removeFlightPlanFolder(); }
    static LiveAc& routed(AcCategory category) {
        LiveAc& ac = active(hex, 4711, 50, 8);
        ac.category = category;
        ac.origin = "EDDF";
        ac.destination = "A&B";
        return ac;
    }
    static std::filesystem::path file() { return folders.flightPlans / "4711.pln"; }
};

TEST_F(Plans, TheFileIsWrittenByteByByteAndGoesWithItsAircraft) {
    MSFS_2020.value = false;
    LiveAc& ac = routed(AcCategory::heavy);
    lf_giveFlightPlan(ac);
    EXPECT_TRUE(ac.hasFlightPlan); // the 2024 simulator is not asked
    EXPECT_EQ(test::readFile(file()), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                      "<SimBase.Document Type=\"AceXML\" version=\"4,3\">\"\n"
                                      "<FlightPlan.FlightPlan>\n"
                                      "<FPType>IFR</FPType>\n"
                                      "<DepartureID>EDDF</DepartureID>\n"
                                      "<DestinationID>A&B</DestinationID>\n"
                                      "</FlightPlan.FlightPlan>\n"
                                      "</SimBase.Document>\n");
    ac.st = SimState::liveryRespawn;
    lf_objectRemoved(4711);
    EXPECT_TRUE(std::filesystem::exists(file())); // the aircraft goes on
    lf_setObjectId(only(), 4711);
    only().st = SimState::removingFromSim;
    lf_objectRemoved(4711);
    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_TRUE(engine.live.empty());
}

TEST_F(Plans, TheFlightRulesFollowTheCategoryAndNoRouteMeansNoFile) {
    MSFS_2020.value = false;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(categoryCount); ++i) {
        fresh();
        LiveAc& ac = routed(static_cast<AcCategory>(i));
        lf_giveFlightPlan(ac);
        const bool ifr = i >= 1 && i <= 3;
        EXPECT_NE(test::readFile(file()).find(ifr ? "<FPType>IFR<" : "<FPType>VFR<"), std::string::npos) << i;
    }
    std::filesystem::remove(file());
    only().origin.clear();
    lf_giveFlightPlan(only());
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(Plans, APlanThatIsNotAcceptedCostsOnlyItself) {
    MSFS_2020.value = true; // and no simulator to accept it
    LiveAc& ac = routed(AcCategory::large);
    lf_giveFlightPlan(ac);
    EXPECT_FALSE(ac.hasFlightPlan);
    EXPECT_TRUE(std::filesystem::exists(file()));
    test::writeFile(folders.flightPlans / "left over", "x");
    std::filesystem::create_directory(folders.flightPlans / "folder");
    EXPECT_TRUE(gf_removeFlightPlanFolder());
    EXPECT_FALSE(std::filesystem::exists(folders.flightPlans));
    EXPECT_TRUE(gf_removeFlightPlanFolder());
    MSFS_2020.value = false;
    lf_giveFlightPlan(ac); // there is no folder to write into
    EXPECT_FALSE(ac.hasFlightPlan);
}

TEST_F(Life, TheCountsTellWhoFliesAndWhoIsParked) {
    engine.live.reserve(8);
    active(20000, 100, 50, 8);
    active(20001, 101, 50, 8);
    active(20002, 102, 50, 8, 0).fs = FlightState::parked;
    due(20003, 50);
    engine.parked.resize(4);
    lf_refreshCounts();
    EXPECT_EQ(display.liveCount, 2u);
    EXPECT_EQ(display.parkedLive, 1u);
    EXPECT_EQ(display.parkedStatic, 4u);
}

TEST_F(Life, TheAutomaticRangeFollowsTheUsersHeight) {
    AUTO_RANGE_ABOVE_HEIGHT.value = 18000;
    AIRPORT_HEIGHT.value = 10000;
    struct Row {
        bool onGround;
        double alt;
        int range;
    };
    const Row rows[] = {{true, 30000, 10},
                        {false, 18001, 100},
                        {false, 18000, 40},
                        {false, 10001, 40},
                        {false, 10000, 40}}; // no park airport: as if far away
    for (const Row& row : rows) {
        sim.userOnGround = row.onGround;
        engine.user.alt = row.alt;
        lf_autoRange();
        EXPECT_EQ(app.rangeNm, row.range) << row.alt;
        EXPECT_EQ(app.rangeMeters, row.range * 1852) << row.alt;
        EXPECT_EQ(LATERAL_RANGE.value, LATERAL_RANGE.limited(row.range)) << row.alt;
    }
}

TEST_F(Life, ANewLimitAndABlockTakeTheirAircraftAtOnce) {
    engine.user.lat = 50;
    engine.user.lon = 8;
    for (std::uint32_t i = 0; i < 5; ++i) active(20000 + i, 100 + i, 50 + i, 8);
    lf_trimLive();
    EXPECT_EQ(lf_countActive(), 5u); // no limit
    MAX_LIVE.value = 3;
    lf_trimLive();
    EXPECT_EQ(lf_countActive(), 3u);
    for (std::uint32_t i = 0; i < 5; ++i)
        EXPECT_EQ(lf_findByHexid(20000 + i)->st, i < 3 ? SimState::active : SimState::removingFromSim) << i;

    engine.live[1].callsign = "BAW1234";
    BLOCK_CALLSIGN.set("BAW1234");
    lf_serveRequests(); // nobody asked
    EXPECT_EQ(engine.live[1].st, SimState::active);
    app.blockRequest.set();
    lf_serveRequests();
    EXPECT_EQ(engine.live[1].st, SimState::removingFromSim);
    EXPECT_FALSE(app.blockRequest);
}

TEST_F(Life, AnArrivalWhoseAircraftIsGoneDoesNotBlockTheNext) {
    engine.newArrivals = {1, 2, 3};
    for (int i = 0; i < 4; ++i) lf_serveNewArrival();
    EXPECT_TRUE(engine.newArrivals.empty());
}

TEST_F(Life, AFreshRunStartsEmptyAndKeepsTheTitles) {
    active(20000, 100, 50, 8);
    engine.ghosts.insert("X_");
    engine.noLivery.insert("x");
    engineLife.hexidTitles[1] = "t";
    lf_resetEngine();
    EXPECT_TRUE(engine.live.empty() && engine.ghosts.empty() && engine.noLivery.empty());
    EXPECT_EQ(lf_findByHexid(20000), nullptr);
    EXPECT_EQ(lf_findByObjectId(100), nullptr);
    EXPECT_EQ(engineLife.hexidTitles.size(), 1u);
}

} // namespace

// Flight plan files, and the slower jobs: counts, automatic range, limit, block, arrivals.

#include "life_fixture.h"

#include "app/maincycle.h"
#include "support.h"

#include <fmt/format.h>

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
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(categoryCount); ++i) {
        fresh();
        lf_giveFlightPlan(routed(static_cast<AcCategory>(i)));
        const bool ifr = i >= 1 && i <= 3;
        EXPECT_NE(test::readFile(file()).find(ifr ? "<FPType>IFR<" : "<FPType>VFR<"), std::string::npos) << i;
    }
    std::filesystem::remove(file());
    only().origin.clear();
    lf_giveFlightPlan(only());
    EXPECT_FALSE(std::filesystem::exists(file())) << "no route, no file";
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
    for (const auto& [onGround, alt, range] : {std::tuple{true, 30000, 10},
                                               {false, 18001, 100},
                                               {false, 18000, 40},
                                               {false, 5000, 40}}) { // no park airport: as if far away
        sim.userOnGround = onGround;
        engine.user.alt = alt;
        lf_autoRange();
        EXPECT_EQ(app.rangeNm, range) << alt;
        EXPECT_EQ(LATERAL_RANGE.value, LATERAL_RANGE.limited(range)) << alt;
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
    EXPECT_THAT(engine.removalQueue, testing::ElementsAre(104, 103));

    engine.live[1].callsign = "BAW1234";
    BLOCK_CALLSIGN.set("BAW1234");
    lf_serveRequests(); // nobody asked
    EXPECT_EQ(engine.live[1].st, SimState::active);
    app.blockRequest.set();
    lf_serveRequests();
    EXPECT_EQ(engine.live[1].st, SimState::removingFromSim);
    EXPECT_FALSE(app.blockRequest);
}

// ---- callsigns and object ids --------------------------------------------------------------------------------------

TEST_F(Life, ACallsignIsLookedUpAndItsAnswerGoesWithTheAircraft) {
    active(20001, 4711, 50, 8).callsign = "BAW1";
    active(20002, 4712, 51, 8).callsign = "BAW2";
    active(20003, 4713, 51, 8).callsign = "BAW3";
    engine.live[2].st = SimState::removingFromSim;
    const auto ask = [](const char* callsign) {
        CALLSIGN_2_OBJECTID.set(callsign);
        app.objectIdRequest.set();
        lf_serveRequests();
        return gf_displayText(DisplayText::objectId);
    };
    EXPECT_EQ(ask("BAW2"), "= 4712");
    removeAircraftFromSim(engine.live[0], Removed::other); // another
    EXPECT_EQ(gf_displayText(DisplayText::objectId), "= 4712");
    engine.live[1].callsign = "BAW2X"; // its livery changes with its name
    liveryRespawn(engine.live[1]);
    EXPECT_EQ(gf_displayText(DisplayText::objectId), "");
    EXPECT_EQ(CALLSIGN_2_OBJECTID.value(), "BAW2X") << "so that the user can ask again";

    engine.live[1].st = SimState::active;
    EXPECT_EQ(ask("BAW2X"), "= 4712");
    CALLSIGN_2_OBJECTID.set("BAW7"); // the user is already at the next, when the aircraft goes
    removeAircraftFromSim(engine.live[1], Removed::other);
    EXPECT_EQ(CALLSIGN_2_OBJECTID.value(), "BAW7");
    for (const char* const unknown : {"BAW7", "BAW3"}) {
        EXPECT_EQ(ask(unknown), "");
        EXPECT_EQ(gf_shownMessage(), fmt::format("callsign \"{}\" is unknown", unknown));
    }
    gf_clearMessage();
    EXPECT_EQ(ask(""), "") << "the box was emptied";
    EXPECT_EQ(gf_shownMessage(), "");
}

TEST_F(Life, TheCallsignFileListsWhatFliesAndGoesWithTheRun) {
    const test::ScratchFolder scratch;
    scratch.enter();
    gf_buildFolders();
    airportsLife.loaderByHand = true;
    const char* const callsigns[] = {"BAW1", "BAW22222", "BAW3", "BAW4"};
    for (std::uint32_t i = 0; i < 4; ++i) {
        LiveAc& ac = active(20001 + i, 4711 + i, 50, 8, i == 0 ? 5000 : 0);
        ac.callsign = callsigns[i];
        ac.airline = "BAW";
    }
    engine.live[1].fs = FlightState::parked;
    engine.live[1].standId = 1;
    engine.live[3].st = SimState::buffer;
    airports.file.stands.resize(1);
    airports.file.stands[0].seq = 1;
    airports.file.stands[0].id = "B24";
    test::writeFile(folders.callsignFile,
                    "an old one that is longer than what comes now, whatever comes now, I hope so, "
                    "and if not then let this line be still longer");
    lf_writeCallsignFile();
    lf_serveLoader();
    EXPECT_EQ(test::readFile("Callsign2ObjectId.txt"), "Air BAW1      BAW A320: 4711 \n"
                                                       "Gnd BAW22222  BAW A320: 4712 Parked at B24\n"
                                                       "Gnd BAW3      BAW A320: 4713 \n");
    lf_endEngineRun();
    EXPECT_FALSE(std::filesystem::exists(folders.callsignFile));
    std::filesystem::create_directories(folders.callsignFile / "no file");
    gf_removeCallsignFile(); // and a failure ends nothing
    airports.file = {};
}

TEST_F(Life, AnArrivalWhoseAircraftIsGoneDoesNotBlockTheNext) {
    engine.newArrivals = {1, 2, 3};
    for (int i = 0; i < 4; ++i) lf_serveNewArrival();
    EXPECT_TRUE(engine.newArrivals.empty());
}

} // namespace

// The road of a park airport: it comes into sight, is read, taken over, learned at, given up, saved and read again.

#include "airports_fixture.h"

#include "app/errors.h"
#include "feed/feed.h"

using testing::HasSubstr;
using testing::Not;

namespace test {

class ParkStep : public AirportsTest {
  protected:
    static bool enabled(const Parameter& p) { return plat::isEnabled(p.control.controlId); }
    static LiveAc& live(FlightState fs, SimState st, std::uint32_t objectId) {
        TrafficRecord record;
        record.hexid = firstLiveHexid + objectId;
        record.callsign = "BAW" + std::to_string(objectId);
        record.acType = "A320";
        LiveAc& ac = lf_appendLive(lf_makeLiveAc(record));
        ac.fs = fs;
        ac.st = st;
        if (objectId != 0) lf_setObjectId(ac, objectId);
        return ac;
    }
    static void learn(const std::string& standId, const std::string& key) {
        LiveAc ac;
        ac.airline = "BAW";
        ac.acType = "A320";
        ASSERT_NE(lf_newStandOption(*gf_standById(standId), ac, true, {2, 20}, key, "BAW1"), 0);
        airports.updates += 1;
    }
    static void leave() { // what was learned is saved
        lf_giveUpParkAirport();
        lf_serveLoader();
    }
    static void comeAgain() {
        step(true);
        step();
        ASSERT_TRUE(airports.park.loaded) << gf_shownMessage();
    }
};

// ---- on the ground ----------------------------------------------------------------------------------------------

TEST_F(ParkStep, TheAirportUnderTheUserIsBroughtUpWithoutAFileReadInAStep) {
    putStock("EDTT", baseFile(stand("A", 0, 20) + stand("B", 300, 20)));
    placeUser(0);
    lf_parkingStep(false);
    EXPECT_FALSE(airports.park.known()) << "the loader has not answered yet";
    step();
    EXPECT_EQ(airports.park.code, "EDTT");
    EXPECT_TRUE(airports.pending && !airports.park.loaded);
    EXPECT_FALSE(trafficReader.parkAirport.load().known) << "told when it is loaded";
    lf_parkingStep(false);
    EXPECT_TRUE(airports.pending) << "not read yet: the next step looks again";
    step();
    EXPECT_TRUE(airports.park.loaded && !airports.pending);
    EXPECT_EQ(trafficReader.parkAirport.load().elevation, 364);
    EXPECT_EQ(gf_standBySeq(2)->id, "B");
    EXPECT_EQ(gf_standText(engine.user.lat, engine.user.lon), "A");
    EXPECT_THAT(logText(),
                HasSubstr("User aircraft on the ground at EDTT (TST)\nThe park airport is EDTT (TST)\n"));
    EXPECT_TRUE(display.airportLoaded && display.standCount == 2);
    EXPECT_EQ(gf_displayText(DisplayText::airportName), "Testfield");
    EXPECT_TRUE(enabled(FLUSH_STATIC) && enabled(RE_READ) && enabled(LEARN_SOFT));
    EXPECT_EQ(airports.reservedStand, "A");
    lf_serveLoader();
    EXPECT_EQ(readFile(folders.myParkAirports), "EDTT,A\n");
    step();
    EXPECT_FALSE(display.staticWork);
    plat::headless::takeInvalid();
    lf_giveUpParkAirport();
    EXPECT_THAT(plat::headless::takeInvalid(),
                testing::Contains(testing::Field(&plat::Rect::top, gf_bandRect(Band::settings).top)))
        << "there is no next renewal";
}

TEST_F(ParkStep, AnAirportFartherDownTheListKeepsItsStandWhenTheUserIsOnNone) {
    writeFile(folders.myParkAirports, "EDFF\nEDTT,B\n");
    lf_readMyParkAirports();
    DESTINATION.set("EDFF"); // the list is not sorted by distance
    putStock("EDTT", baseFile(stand("A", 0, 20) + stand("B", 600, 20)));
    placeUser(300);
    comeAgain();
    lf_serveLoader();
    EXPECT_EQ(readFile(folders.myParkAirports), "EDFF\nEDTT,B\n");
    EXPECT_EQ(airports.parkAirports.size(), 2u);
}

TEST_F(ParkStep, TellsWhatIsMissingUnderTheUser) {
    placeUser(10000);
    step(true);
    EXPECT_EQ(gf_shownMessage(), "User aircraft on the ground, no airport in sight");
    placeUser(100);
    step(); // an answer for a place that the user has left is asked for again
    EXPECT_EQ(gf_shownMessage(), "User aircraft on the ground, no airport in sight");
    step();
    EXPECT_EQ(gf_shownMessage(), "User aircraft on the ground at EDTT (TST), no airport file found");
    EXPECT_FALSE(airports.park.known());
    engine.user.lat = engine.user.lon = 0;
    gf_clearMessage();
    step();
    EXPECT_EQ(gf_shownMessage(), "") << "no position, no step";
}

TEST_F(ParkStep, AFileThatCannotBeUsedGivesTheAirportUpAndIsTriedAgain) {
    placeUser(0);
    putStock("EDTT", "<meta/><parameters");
    step(true);
    step();
    EXPECT_THAT(gf_shownMessage(), HasSubstr("archive/stock/EDTT.xml could not be loaded: "));
    EXPECT_FALSE(airports.park.known() || airports.pending || trafficReader.parkAirport.load().known);
    writeFile(folders.myThirdparty / "EDTT.txt", "archive/unknown/EDTT.xml");
    step(true);
    step();
    EXPECT_EQ(gf_shownMessage(), "lf_readParkedFile EDTT has publisher:unknown, archive/unknown/EDTT.xml");
    std::filesystem::remove(folders.myThirdparty / "EDTT.txt");
    putStock("EDTT", baseFile(stand("A", 0, 20)));
    for (int i = 0; i < 3; ++i) step();
    EXPECT_TRUE(airports.park.loaded);
}

TEST_F(ParkStep, AnErrorForTheUserEndsTheRun) {
    bringUp(stand("A", 0, 20));
    lf_giveUpParkAirport();
    putStock("EDTT", baseFile(stand("A", 0, 20) + stand("A", 0, 20)));
    step(true);
    lf_serveLoader();
    EXPECT_THROW(lf_parkingStep(false), orvo::UserErrorException);
    EXPECT_FALSE(airports.park.loaded);
    lf_removeAllParked(); // as the closing does
    EXPECT_FALSE(std::filesystem::exists(folders.learnedStock / "EDTT.xml"));
}

// ---- in the air -------------------------------------------------------------------------------------------------

TEST_F(ParkStep, TheFirstOfTheListComesIntoSightAndGoesOutOfIt) {
    const double mile = 1852;
    putStock("EDTT", baseFile(stand("A", 0, 20)));
    writeFile(folders.myParkAirports, "EDFF\nEDTT,A\n");
    EXPECT_TRUE(lf_readMyParkAirports());
    AIRPORT_RANGE.value = 20;
    placeUser(-20.001 * mile, 3000);
    step();
    EXPECT_FALSE(airports.park.known());
    EXPECT_EQ(airports.parkAirports.front().code, "EDTT") << "sorted by distance";
    EXPECT_NEAR(gf_firstParkAirportNm(engine.user.lat, engine.user.lon), 20.001, 1e-6);
    placeUser(-19.9999 * mile, 18001);
    step();
    EXPECT_FALSE(airports.park.known()) << "too high";
    placeUser(-19.9999 * mile, 18000);
    step();
    EXPECT_EQ(gf_shownMessage(), "EDTT (TST) in sight at 20.0 nm");
    step();
    EXPECT_TRUE(airports.park.loaded);
    EXPECT_EQ(airports.reservedStand, "A") << "named in the list";
    step();
    EXPECT_TRUE(airports.park.loaded) << "neither left nor too high";
    placeUser(-20.5 * mile, 3000);
    step();
    EXPECT_FALSE(airports.park.known());
    EXPECT_THAT(logText(),
                HasSubstr(" EDTT (TST) is out of sight (20.5 nm), parked aircraft will be removed\n"));
}

TEST_F(ParkStep, ANearerAirportOfTheListTakesOver) {
    putStock("EDTT", baseFile(stand("A", 0, 20)));
    writeFile(folders.myParkAirports, "EDTT\nEDNN\n");
    lf_readMyParkAirports();
    placeUser(0, 3000);
    step();
    step();
    ASSERT_TRUE(airports.park.loaded);
    engine.user.lon = 8 + 12.0 / 60; // nearer to EDNN
    DESTINATION.set("EDTT");
    step();
    EXPECT_TRUE(airports.park.loaded) << "a destination keeps its place";
    DESTINATION.set("");
    engine.user.lat += 1e-6;
    step();
    EXPECT_FALSE(airports.park.known());
    EXPECT_THAT(logText(), HasSubstr("\n\n" + gf_shortTimeText() + " EDNN is in sight ("));
    EXPECT_THAT(logText(), HasSubstr(" nm), parked aircraft at EDTT (TST) will be removed first\n"));
    step();
    EXPECT_EQ(airports.park.code, "EDNN");
    step();
    EXPECT_EQ(gf_shownMessage(), "lf_readParkedFile EDNN not found");
    EXPECT_FALSE(airports.park.known());
}

TEST_F(ParkStep, WhatIsGivenUpWhileItIsReadIsNeverTakenOver) {
    putStock("EDTT", baseFile(stand("A", 0, 20)));
    placeUser(0);
    lf_parkingStep(true);
    ASSERT_TRUE(airports.pending);
    lf_giveUpParkAirport();
    lf_serveLoader();
    EXPECT_FALSE(lf_loadingDone());
    EXPECT_THAT(logText(), Not(HasSubstr("Airport file read")));
    EXPECT_TRUE(airports.file.stands.empty() && !airports.park.known());
}

// ---- what is learned --------------------------------------------------------------------------------------------

TEST_F(ParkStep, WhatWasLearnedIsSavedWhenTheAirportIsLeftAndReadAgain) {
    const auto path = folders.learnedStock / "EDTT.xml";
    bringUp(stand("A", 0, 20, "<opt reg=\"GXXXX\" airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"1\"/>") +
            stand("B", 300, 20));
    learn("B", "GBAFM");
    gf_standById("A")->radius = 25 / metersPerNm;
    gf_standById("A")->radiusChanged = true;
    PARK_FAKE.value = true;
    lf_giveUpParkAirport();
    EXPECT_FALSE(std::filesystem::exists(path)) << "nothing is written in a step";
    EXPECT_TRUE(!display.airportLoaded && !enabled(FLUSH_STATIC) &&
                gf_displayText(DisplayText::airportName).empty());
    lf_serveLoader();
    EXPECT_THAT(logText(),
                HasSubstr(gf_shortTimeText() + " \"" + plat::pathText(path) + "\" saved with 1 update \n"));
    const std::string text = readFile(path);
    EXPECT_THAT(text, HasSubstr("<parkpos id=\"A\" radius_change=\"true\" radius=\"25.0\" />"));
    EXPECT_THAT(text, HasSubstr("<parkpos id=\"B\">"));
    EXPECT_THAT(text, Not(HasSubstr("GXXXX"))) << "the base file has it";

    PARK_FAKE.value = false;
    MAX_LIVE.value = app.liveLimit = 100;
    comeAgain();
    EXPECT_EQ(gf_standById("B")->options.at(0).reg, "GBAFM");
    EXPECT_TRUE(gf_standById("A")->radiusChanged);
    EXPECT_TRUE(PARK_FAKE.value && plat::isChecked(PARK_FAKE.control.controlId));
    EXPECT_TRUE(enabled(parking_percentage));
    EXPECT_EQ(MAX_LIVE.value, -1) << "the file has no limit";
    EXPECT_EQ(airports.updates, 0u);
    EXPECT_EQ(airports.file.qfReal, gf_qualityFactor(airports.file.stands).real);

    learn("A", "GCCCC");
    learn("A", "GDDDD");
    app.parametersChanged = true;
    lf_removeAllParked();
    EXPECT_EQ(MAX_LIVE.value, 100) << "the user's own again";
    lf_endLoader();
    EXPECT_THAT(logText(), HasSubstr("saved with 2 updates and one or more parameter changes\n"));
    EXPECT_THAT(readFile(path), HasSubstr("GBAFM"));
    EXPECT_THAT(readFile(path), HasSubstr("GDDDD"));
    EXPECT_FALSE(std::filesystem::exists(folders.learnedStock / "EDTT.0.xml"));
    EXPECT_EQ(LAST_EPOCH_TIME.value, plat::utcSeconds());
}

TEST_F(ParkStep, WhatARenewalHasSetAsideIsSavedAndCountsAndNewNumbersGoOnBehindIt) {
    bringUp(stand("A", 0, 20));
    learn("A", "GBAFM");
    app.weekSlot.store({2, 20});
    {
        const LockGuard hold(trafficLock);
        trafficReader.seenCallsigns.insert("BAW1");
    }
    lf_adjustStatics();
    EXPECT_TRUE(airports.staticQueue.empty()) << "its flight is in the feed";
    EXPECT_GT(gf_qualityFactor(airports.file.stands).real, 0);
    learn("A", "GCCCC");
    EXPECT_EQ(gf_standById("A")->options.back().index, 2);
    leave();
    EXPECT_THAT(readFile(folders.learnedStock / "EDTT.xml"),
                testing::AllOf(HasSubstr("GBAFM"), HasSubstr("GCCCC")));
}

TEST_F(ParkStep, NothingIsSavedOverALearnedFileThatWasNotTakenInWhole) {
    const auto path = folders.learnedStock / "EDTT.xml", aside = folders.learnedStock / "EDTT.0.xml";
    const std::string partly =
        learnedFile("<parkpos id=\"gone\"><opt reg=\"GOLD\" day=\"1\" hh=\"1\"/></parkpos>");
    putLearned("EDTT", partly);
    bringUp(stand("A", 0, 20));
    EXPECT_EQ(readFile(path), partly) << "it is of use as it is";
    learn("A", "GBAFM");
    leave();
    EXPECT_EQ(readFile(aside), partly);
    EXPECT_THAT(readFile(path), HasSubstr("GBAFM"));

    // What was saved is read again, also when another file lies at the path that the base file has.
    writeFile(folders.mySimaddon / "EDTT.xml", baseFile(stand("A", 0, 20), "stock"));
    writeFile(folders.learnedSimaddon / "EDTT.xml", learnedFile(""));
    comeAgain();
    learn("A", "GCCCC");
    leave();
    EXPECT_THAT(readFile(path), testing::AllOf(HasSubstr("GBAFM"), HasSubstr("GCCCC")));
    EXPECT_EQ(readFile(aside), partly);

    // One that cannot be kept beside stays.
    putLearned("EDTT", partly);
    std::filesystem::remove(aside);
    std::filesystem::create_directories(aside / "full");
    comeAgain();
    learn("A", "GDDDD");
    leave();
    EXPECT_EQ(readFile(path), partly);
    EXPECT_THAT(logText(), HasSubstr("saving \"" + plat::pathText(path) + "\" did not succeed"));
}

TEST_F(ParkStep, WhatIsLearnedIsReadAgainWhereThePathOfTheFileAndItsPublisherLeadApart) {
    struct Row {
        const char *link, *publisher, *saved; // the file lies behind a link, or in a folder of the user's
    };
    for (const Row& row :
         {Row{nullptr, "stock", "stock/EDTT.xml"},
          Row{"archive/thirdparty/SomeOne/EDTT.xml", "Some One", "thirdparty/Some One/EDTT.xml"},
          Row{"elsewhere/EDTT.xml", "Some One", "thirdparty/Some One/EDTT.xml"}}) {
        const std::string base = baseFile(stand("A", 0, 20), row.publisher);
        if (row.link) {
            writeFile(folders.myThirdparty / "EDTT.txt", row.link);
            putOnServer(std::string("MSFS/") + row.link, base);
        } else {
            writeFile(folders.myThirdparty / "EDTT.xml", base);
        }
        const auto path = folders.learned / row.saved;
        std::filesystem::remove(path);
        placeUser(0);
        for (const char* key : {"GBAFM", "GCCCC"}) { // two visits, a week apart
            comeAgain();
            learn("A", key);
            leave();
        }
        const std::string text = readFile(path);
        EXPECT_THAT(text, HasSubstr("GBAFM")) << row.publisher;
        EXPECT_THAT(text, HasSubstr("GCCCC")) << row.publisher;
    }
}

TEST_F(ParkStep, ParametersOfTheLearnedFileAreSetInTheirOrder) {
    const auto set = [](const std::string& text) {
        putLearned("EDTT", learnedFile("", text));
        bringUp(stand("A", 0, 20));
        EXPECT_TRUE(airports.park.loaded);
    };
    app.savedRange = 40;
    set(parameter("LEARN_SOFT", "false") + parameter("MAX_LIVE", "301") + parameter("LATERAL_RANGE", "1") +
        parameter("AUTO_RANGE", "true") + parameter("PARK_SOFT", "no") + parameter("WEEK", "1") +
        parameter("parking_percentage", "150") + parameter("INITIAL_LOAD_ONLY", "t") +
        parameter("MAX_FIT", "9"));
    EXPECT_TRUE(!LEARN_SOFT.value && !PARK_SOFT.value && WEEK.value && INITIAL_LOAD_ONLY.value &&
                AUTO_RANGE.value);
    EXPECT_EQ(MAX_LIVE.value, 300);
    EXPECT_EQ(app.savedRange, 2) << "the automatic range keeps it";
    EXPECT_EQ(LATERAL_RANGE.value, 10) << "and takes its place at once";
    EXPECT_EQ(app.rangeNm, 10);
    EXPECT_THAT(lf_parkingParameters(),
                testing::Contains(testing::Pair(testing::StrEq("LATERAL_RANGE"), "2")));
    EXPECT_FALSE(enabled(LATERAL_RANGE));
    EXPECT_EQ(parking_percentage.value, 150) << "not limited";
    EXPECT_EQ(plat::getText(MAX_FIT_FL.control.controlId), "5.0");
    EXPECT_THAT(logText(),
                HasSubstr(fmt::format("{:24}: 9 (max number of half hours, is 5 hrs decimal)\n", "MAX_FIT")));
    EXPECT_THAT(logText(),
                HasSubstr(fmt::format("{:24}: false\n{:24}: 300\n{:24}: 2\n{:24}: true\n{:24}: true\n"
                                      "{:24}: false\n{:24}: 150\n{:24}: true\n",
                                      "LEARN_SOFT", "MAX_LIVE", "LATERAL_RANGE", "AUTO_RANGE", "WEEK",
                                      "PARK_SOFT", "parking_percentage", "INITIAL_LOAD_ONLY")));
    lf_giveUpParkAirport();
    app.savedRange = 35;
    set(parameter("LATERAL_RANGE", "60") + parameter("AUTO_RANGE", "false"));
    EXPECT_EQ(LATERAL_RANGE.value, 35) << "the stored range is restored";
    EXPECT_EQ(app.rangeNm, 35);
    EXPECT_TRUE(enabled(LATERAL_RANGE));
    EXPECT_EQ(parking_percentage.value, 30) << "absent";
    EXPECT_TRUE(WEEK.value) << "absent, it stays";

    // An airport that is not loaded sets nothing.
    lf_giveUpParkAirport();
    putLearned("EDTT", learnedFile("", parameter("WEEK", "false") + parameter("handmade", "1")));
    step(true);
    step();
    EXPECT_EQ(gf_shownMessage(), "no stands found");
    EXPECT_TRUE(WEEK.value);
}

TEST_F(ParkStep, LearningIsClosedWhereEnoughIsKnown) {
    std::string known, few;
    const std::string option = "<opt reg=\"G\" airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"1\"/>";
    for (int i = 0; i < 20; ++i) {
        known += stand("S" + std::to_string(i), i * 100, 20, option);
        if (i < 19) few = known;
    }
    putLearned("EDTT", learnedFile(""));
    bringUp(few);
    EXPECT_GE(airports.file.qfReal, 45);
    EXPECT_TRUE(airports.learnAllowed && LEARN_SOFT && enabled(LEARN_SOFT)) << "19 stands";
    lf_giveUpParkAirport();
    bringUp(known);
    EXPECT_FALSE(airports.learnAllowed || LEARN_SOFT || enabled(LEARN_SOFT));
    EXPECT_TRUE(app.parametersChanged) << "so that the airport's file remembers";
}

// ---- leaving ----------------------------------------------------------------------------------------------------

TEST_F(ParkStep, NoAircraftOfTheGroundOutlivesItsAirport) {
    bringUp(stand("A", 0, 20));
    live(FlightState::parked, SimState::active, 1).standId = 1;
    live(FlightState::taxi, SimState::adding2sim, 0); // still in the queue
    engine.creationQueue.push_back({});
    engine.creationQueue.back().hexid = engine.live.back().hexid;
    live(FlightState::takeOff, SimState::adding2sim, 0).callsign = "LATE"; // the simulator is at it
    engine.live.back().hexid += 77;
    live(FlightState::flying, SimState::active, 4);
    live(FlightState::parking, SimState::active, 5);
    lf_removeAllParked();
    EXPECT_THAT(engine.removalQueue, testing::ElementsAre(1));
    EXPECT_TRUE(engine.creationQueue.empty());
    ASSERT_EQ(engine.live.size(), 4u);
    for (const LiveAc& ac : engine.live) {
        EXPECT_EQ(ac.standId, 0u);
        if (ac.callsign == "LATE") {
            EXPECT_TRUE(ac.removeWhenSpawned);
        }
        EXPECT_EQ(ac.st == SimState::removingFromSim, ac.fs == FlightState::parked);
    }
    EXPECT_FALSE(airports.park.known() || trafficReader.parkAirport.load().known);
}

TEST_F(ParkStep, AClosingThatBreaksOffKeepsWhatWasLearned) {
    bringUp(stand("A", 0, 20));
    learn("A", "GBAFM");
    clock.onAdvance = [this](plat::SteadyNs) {
        clock.onAdvance = nullptr;
        throw std::runtime_error("broken off");
    };
    gf_requestStop(RunState::userClosed, 0);
    lf_closingDown();
    EXPECT_THAT(logText(), HasSubstr("lf_closingDown exception broken off"));
    EXPECT_THAT(readFile(folders.learnedStock / "EDTT.xml"), HasSubstr("\"GBAFM\""));
}

TEST_F(ParkStep, TheUsersLimitComesBackWithTheExcessRemoved) {
    putLearned("EDTT", learnedFile("", parameter("MAX_LIVE", "5")));
    app.liveLimit = MAX_LIVE.value = 1;
    bringUp(stand("A", 0, 20));
    EXPECT_EQ(MAX_LIVE.value, 5);
    for (std::uint32_t id : {1, 2}) {
        LiveAc& ac = live(FlightState::flying, SimState::active, id);
        ac.lat = 50 + 0.1 * id;
        ac.lon = 8;
    }
    lf_removeAllParked();
    EXPECT_EQ(MAX_LIVE.value, 1);
    EXPECT_THAT(engine.removalQueue, testing::ElementsAre(2)) << "the farthest";
}

} // namespace test

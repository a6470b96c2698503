// What each control does when it is used: the parameter, its place in the file, the message, what is asked of the worker.

#include "comma_locale.h"
#include "window_fixture.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

int timesLogged(const std::string& line) {
    const std::string text = MainWindow::logText();
    int count = 0;
    for (auto at = text.find(line); at != text.npos; at = text.find(line, at + 1)) ++count;
    return count;
}

// ---- check boxes -------------------------------------------------------------------------------------------------

TEST_F(OpenWindow, ACheckBoxChangesItsParameterItsPlaceInTheFileAndTheMessage) {
    struct Row {
        BoolParameter& parameter;
        const char *on, *off; // the message; "" clears the line, "-" leaves it
    };
    const char* const stays = "-";
    std::vector<Row> rows{
        {LIG_AUTOMATIC, "", "The liveries defined by your lfolder parameters will be scanned"},
        {LIG_PRIORITIZE, "Liveries in lower lfolders that are already available will be skipped", ""},
        {INITIAL_LOAD_ONLY,
         "Initial Load Only: static parked aircraft are generated once, no renewal every 20 minutes", ""},
        {COLLISION_LIVE_PARKED_GND, "",
         "Be aware, no collision avoidance with live aircraft vs parked static on the ground"},
        {COLLISION_USER_GND, "", "Be aware, no collision avoidance with user aircraft on the ground"},
        {COLLISION_USER_AIR, "", "Be aware, no collision avoidance with user aircraft in the air"},
        {SUPPRESS_STUB, "Exclude FSLTL-liveries titles ending with _STUB from scan", ""},
        {ALWAYS_ON_TOP, "Velloray's window will remain visible", ""},
        {AEROWINX, "Note: This mode is for Aerowinx PSX users only, please re-start Velloray", ""},
        {GUID_CHANGES, "",
         "Be aware, no more livery updates: you miss correct data for Learn, LittleNavMap, etc!"}};
    for (BoolParameter* const p :
         {&LOG, &LIGHT_AIRCRAFT, &HELICOPTERS, &HIGH_PERF_AIRCRAFT, &STRAIGHT_PBS_ONLY, &CALLSIGN_OBJECTIDS,
          &NAV_LIGHTS_WHILE_PARKED, &PARK_SOFT, &PARK_FAKE, &WEEK}) // no airport is loaded
        rows.push_back({*p, stays, stays});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.parameter.name);
        const bool before = row.parameter.value;
        for (const bool on : {!before, before}) {
            gf_showMessage("what stood there", false);
            plat::headless::takeInvalid();
            click(row.parameter);
            EXPECT_EQ(row.parameter.value, on);
            EXPECT_EQ(ticked(row.parameter), on);
            EXPECT_EQ(saved(row.parameter), on ? "true" : "false");
            const char* const message = on ? row.on : row.off;
            EXPECT_EQ(gf_shownMessage(), message == stays ? "what stood there" : message);
            const std::vector<Band> bands = bandsToPaint();
            EXPECT_THAT(bands, Contains(Band::settings));
            EXPECT_EQ(std::count(bands.begin(), bands.end(), Band::parking), &row.parameter == &WEEK);
        }
    }
    EXPECT_EQ(timesLogged("Be aware"), 0) << "those are on the screen alone";
    EXPECT_FALSE(app.parametersChanged || app.reparkRequest || app.stopRequested);
    EXPECT_FALSE(lf_HandleWMCOMMAND(4711));
}

TEST_F(OpenWindow, ACheckBoxCanReachOtherControlsAndTheWindow) {
    for (const bool on : {true, false}) {
        click(LIG_AUTOMATIC);
        EXPECT_EQ(enabled(AI_PACKAGE_ORDER), !on);
        click(ALWAYS_ON_TOP);
        EXPECT_EQ(plat::headless::isTopMost(), on);
    }
    click(NAV_LIGHTS_WHILE_PARKED);
    EXPECT_TRUE(app.navLightsRequest.take());
}

TEST_F(OpenWindow, AParkingSettingIsLookedAtInTheNextFifteenSeconds) {
    loadAirport();
    for (const auto& [second, left] : std::vector<std::pair<int, std::string>>{
             {0, "15 seconds"}, {1, "14 seconds"}, {29, "1 second"}, {30, "15 seconds"}}) {
        app.secondCount = second;
        for (BoolParameter* const p : {&PARK_SOFT, &PARK_FAKE, &WEEK}) {
            app.parametersChanged = false;
            click(*p);
            EXPECT_EQ(gf_shownMessage(), "Velloray will respond in " + left + " ...");
            EXPECT_TRUE(app.reparkRequest.take() && app.parametersChanged);
        }
    }
    INITIAL_LOAD_ONLY.value = true;
    click(WEEK);
    EXPECT_EQ(gf_shownMessage(), "");
    EXPECT_FALSE(app.reparkRequest) << "there will be no renewal";
    for (BoolParameter* const p : {&INITIAL_LOAD_ONLY, &LEARN_SOFT}) {
        plat::setEnabled(p->control.controlId, true);
        app.parametersChanged = false;
        click(*p);
        EXPECT_TRUE(app.parametersChanged) << p->name;
    }
}

// ---- the range ---------------------------------------------------------------------------------------------------

TEST_F(OpenWindow, TheAutomaticRangeGivesBackTheUsersOwn) {
    gf_setAutoRange(false);
    enter(LATERAL_RANGE, "25");
    EXPECT_EQ(app.rangeNm, 25);
    EXPECT_EQ(app.rangeMeters, 46300);
    click(AUTO_RANGE);
    EXPECT_TRUE(app.autoRangeRequest.take() && app.parametersChanged);
    EXPECT_TRUE(!enabled(LATERAL_RANGE) && enabled(AUTO_RANGE_ABOVE_HEIGHT));
    gf_takeAutoRange(100);
    EXPECT_EQ(box(LATERAL_RANGE), "100");
    EXPECT_EQ(app.rangeNm, 100);
    gf_showMessage("what stood there", false);
    click(AUTO_RANGE);
    EXPECT_EQ(gf_shownMessage(), "");
    EXPECT_EQ(LATERAL_RANGE.value, 25);
    EXPECT_EQ(box(LATERAL_RANGE), "25");
    EXPECT_EQ(app.rangeMeters, 46300);
    EXPECT_TRUE(enabled(LATERAL_RANGE) && !enabled(AUTO_RANGE_ABOVE_HEIGHT));
    EXPECT_FALSE(app.autoRangeRequest);
    gf_takeAutoRange(100); // the worker was still at it
    EXPECT_EQ(box(LATERAL_RANGE), "25");
    EXPECT_EQ(app.rangeNm, 25);
    EXPECT_EQ(saved(LATERAL_RANGE), "25");
    enter(LATERAL_RANGE, "80"); // typed, it is the one that comes back behind an airport's own
    gf_setAirportRange(60);
    gf_setAutoRange(false);
    EXPECT_EQ(LATERAL_RANGE.value, 80);
}

TEST_F(OpenWindow, TheUsersRangeOutlastsTheWorkerThatWorksOutAnother) {
    gf_setAutoRange(false);
    gf_setUserRange(25);
    std::atomic<bool> done{false};
    std::atomic<int> taken{0};
    std::thread worker([&] {
        for (; !done; ++taken) gf_takeAutoRange(100);
    });
    int lost = 0;
    for (int i = 0; i < 2000 || taken < 2000; ++i) {
        gf_setAutoRange(true);
        gf_setAutoRange(false);
        lost += LATERAL_RANGE.value != 25 || app.rangeNm != 25;
    }
    done = true;
    worker.join();
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(box(LATERAL_RANGE), "25");
    EXPECT_FALSE(ticked(AUTO_RANGE));
}

// ---- a new run ---------------------------------------------------------------------------------------------------

TEST_F(OpenWindow, AnotherSimulatorIsANewRunThatScansAgain) {
    for (const bool to2020 : {false, true}) {
        app = AppRun{};
        std::filesystem::create_directories(folders.scannedLiveries.parent_path());
        test::writeFile(folders.scannedLiveries, "x");
        for (BoolParameter* const p : {&SCAN_LIVERIES, &SCAN_AIRPORTS}) gf_setAndSave(*p, false);
        gf_setAndSave(MYSIMADDON24_VERSION, "1.2.3");
        ALL_INSTALL_PATH.set("a path");
        gf_showParameter(ALL_INSTALL_PATH);
        plat::headless::takeInvalid();
        click(MSFS_2020);
        EXPECT_THAT(bandsToPaint(), Contains(Band::status)) << "it names the simulator";
        EXPECT_EQ(saved(MSFS_2020), to2020 ? "true" : "false");
        EXPECT_FALSE(std::filesystem::exists(folders.scannedLiveries));
        EXPECT_TRUE(appLife.newLiveriesRequest.take() && appLife.newAirportsRequest.take());
        for (const BoolParameter* const p : {&SCAN_LIVERIES, &SCAN_AIRPORTS})
            EXPECT_TRUE(p->value && ticked(*p) && saved(*p) == "true") << p->name;
        const std::string message = std::string("Switching Simulator to MSFS 20") + (to2020 ? "20" : "24");
        EXPECT_EQ(gf_shownMessage(), message);
        EXPECT_EQ(timesLogged(message + "\n"), 1);
        EXPECT_EQ(box(ALL_INSTALL_PATH), "");
        EXPECT_EQ(saved(MYSIMADDON24_VERSION), to2020 ? "1.2.3" : "");
        EXPECT_EQ(app.runState, RunState::newSettings);
        EXPECT_EQ(app.restartDelay, 3);
    }
    app = AppRun{};
    gf_showError("150: No install path detected"); // then the log tells of it alone
    click(MSFS_2020);
    EXPECT_EQ(gf_shownError(), "150: No install path detected");
    EXPECT_EQ(timesLogged("Switching Simulator to MSFS 2024\n"), 2);
    app = AppRun{};
    std::filesystem::create_directories(folders.scannedLiveries / "no file"); // it cannot be deleted
    click(MSFS_2020);
    EXPECT_EQ(timesLogged("lf_HandleWMCOMMAND exception filesystem error: remove"), 1);
    EXPECT_FALSE(app.stopRequested);
}

TEST_F(OpenWindow, AWishToScanEndsTheRunUntilRealTrafficHasConnected) {
    struct Row {
        BoolParameter& parameter;
        Flag& request;
        const char *now, *what; // has changed
    };
    for (const Row& row :
         {Row{SCAN_LIVERIES, appLife.newLiveriesRequest, "Your liveries will be scanned",
              "AI aircraft models/liveries"},
          Row{SCAN_AIRPORTS, appLife.newAirportsRequest, "Your airports will be scanned", "airports"}}) {
        app = AppRun{};
        gf_setAndSave(row.parameter, false);
        click(row.parameter);
        EXPECT_EQ(gf_shownMessage(), row.now);
        EXPECT_EQ(timesLogged(std::string(row.now) + "\n"), 1);
        EXPECT_TRUE(row.request.take());
        EXPECT_EQ(app.runState, RunState::newSettings);
        EXPECT_EQ(app.restartDelay, 2);
        click(row.parameter);
        EXPECT_EQ(gf_shownMessage(), "");
        EXPECT_FALSE(row.request);

        app = AppRun{};
        app.rtNotYetConnected.clear();
        click(row.parameter);
        EXPECT_EQ(gf_shownMessage(), std::string(row.now) +
                                         " at the next start of Velloray, recommended after you "
                                         "have add/removed " +
                                         row.what);
        EXPECT_EQ(timesLogged("will be scanned at the next start"), 0);
        EXPECT_FALSE(row.request || app.stopRequested);
    }
}

TEST_F(OpenWindow, AWishToScanIsAskedForBeforeItCanBeTakenBack) {
    for (const auto& [parameter, request] :
         {std::pair<BoolParameter&, Flag&>{SCAN_LIVERIES, appLife.newLiveriesRequest},
          {SCAN_AIRPORTS, appLife.newAirportsRequest}}) {
        app = AppRun{};
        gf_setAndSave(parameter, false);
        std::atomic<bool> looks{false};
        bool asked = false;
        std::thread endOfScan([&] { // it would take back what it does not find asked for
            looks = true;
            while (!parameter) {}
            asked = request.isSet();
        });
        while (!looks) {}
        click(parameter);
        endOfScan.join();
        EXPECT_TRUE(asked) << parameter.name;
    }
}

// ---- buttons -----------------------------------------------------------------------------------------------------

TEST_F(OpenWindow, AButtonAsksOnce) {
    plat::setEnabled(RE_READ.control.controlId, true);
    plat::setEnabled(FLUSH_STATIC.control.controlId, true);
    plat::setEnabled(DESTINATION.control.controlId, true);
    click(RE_READ);
    EXPECT_TRUE(app.reReadRequest.take());
    EXPECT_FALSE(enabled(RE_READ) || enabled(DESTINATION));
    click(RE_READ);
    EXPECT_FALSE(app.reReadRequest) << "it is disabled";
    click(FLUSH_STATIC);
    EXPECT_TRUE(app.flushRequest);
    EXPECT_FALSE(enabled(FLUSH_STATIC));
    EXPECT_EQ(gf_shownMessage(), "All static parked aircraft will be removed ...");
    plat::setEnabled(UNBLOCK.control.controlId, true);
    click(UNBLOCK);
    EXPECT_EQ(gf_shownMessage(), "Nothing to block or unblock...");
    EXPECT_FALSE(app.blockRequest);
}

// ---- boxes with a number -----------------------------------------------------------------------------------------

struct NumberBox {
    IntParameter& parameter;
    int good, huge; // one that it takes, and what a huge one becomes
};

TEST_F(OpenWindow, ANumberBoxTakesWhatItCanAndTellsWhatItCannot) {
    loadAirport();
    gf_setAutoRange(false);
    for (const NumberBox& b :
         {NumberBox{AI_PACKAGE_ORDER, 3, 6}, NumberBox{MATCHING_DEPTH, 2, 4},
          NumberBox{LATERAL_RANGE, 25, 100}, NumberBox{AUTO_RANGE_ABOVE_HEIGHT, 20000, 49000},
          NumberBox{CUSTOM_MAX_PARK, 80, 500}, NumberBox{MAX_LIVE, 50, 300}, NumberBox{AIRPORT_RANGE, 9, 30},
          NumberBox{AIRPORT_HEIGHT, 3000, 45000}, NumberBox{parking_percentage, 55, 100}}) {
        IntParameter& p = b.parameter;
        SCOPED_TRACE(p.name);
        plat::setEnabled(p.control.controlId, true);
        const std::string name = p.name, good = std::to_string(b.good);
        const bool parks = &p == &CUSTOM_MAX_PARK || &p == &parking_percentage; // another message follows
        const auto holds = [&](int value, const std::string& message, const std::string& typed = "") {
            EXPECT_EQ(p.value, value);
            EXPECT_EQ(box(p), typed.empty() ? std::to_string(value) : typed);
            EXPECT_EQ(saved(p), p.stored ? std::to_string(value) : "");
            if (!parks || !message.starts_with("The new")) {
                EXPECT_EQ(gf_shownMessage(), message);
            }
            if (!message.empty()) {
                EXPECT_EQ(timesLogged(message + "\n"), message.starts_with("The new") ? 0 : 1) << message;
            }
        };
        enter(p, good);
        holds(b.good, "The new " + name + " is " + good);
        enter(p, good);
        holds(b.good, "Same " + name + " value " + good + ", no changes made");
        enter(p, "bad " + good);
        holds(b.good, "invalid input: bad " + good, "bad " + good); // for the user to mend
        plat::headless::escape(p.control.controlId);
        EXPECT_EQ(box(p), good);
        enter(p, "99999999999999999999");
        holds(b.good, "");
        enter(p, "  +1999999999 feet");
        holds(b.huge, "The new " + name + " is " + std::to_string(b.huge));
        const int initial = &p == &parking_percentage ? 0 : p.defaultValue;
        enter(p, "");
        holds(initial, "The new " + name + " is " + std::to_string(initial));
    }
    EXPECT_EQ(timesLogged("lf_processTbInt exception "), 9);
    EXPECT_EQ(saved(parking_percentage), "");
}

TEST_F(OpenWindow, ANumberIsTakenUpByWhoeverItIsFor) {
    enter(MAX_LIVE, "40");
    EXPECT_TRUE(app.trimLiveRequest.take());
    EXPECT_FALSE(app.parametersChanged);
    enter(MAX_LIVE, "40");
    EXPECT_FALSE(app.trimLiveRequest);
    enter(MATCHING_DEPTH, "2");
    EXPECT_FALSE(app.forgetTypesRequest) << "less is looked for";
    enter(MATCHING_DEPTH, "3");
    EXPECT_TRUE(app.forgetTypesRequest.take());
    enter(CUSTOM_MAX_PARK, "70");
    EXPECT_FALSE(app.reparkRequest) << "no airport is loaded";
    loadAirport();
    enter(CUSTOM_MAX_PARK, "71");
    EXPECT_TRUE(app.reparkRequest.take() && app.parametersChanged);
    EXPECT_EQ(gf_shownMessage(), "Velloray will respond in 15 seconds ...");
    app.parametersChanged = false;
    enter(parking_percentage, "80");
    EXPECT_TRUE(app.reparkRequest.take() && app.parametersChanged);
    app.parametersChanged = false;
    enter(MAX_LIVE, "41");
    EXPECT_TRUE(app.trimLiveRequest && app.parametersChanged);
}

TEST_F(OpenWindow, TheFitIsAMultipleOfHalfAnHour) {
    plat::setEnabled(MAX_FIT_FL.control.controlId, true);
    enter(MAX_FIT_FL, "7.3");
    EXPECT_EQ(MAX_FIT.value, 47) << "no airport is loaded";
    loadAirport();
    test::CommaLocale comma;
    const std::string will = "Velloray will respond in 15 seconds ...";
    struct Row {
        const char* typed;
        int maxFit;
        const char *box, *message;
    };
    for (const Row& row : {
             Row{"7.3", 14, "7.5", will.c_str()},
             Row{"7.5", 14, "7.5", "Same MAX_FIT_FL value 7.5, no changes made"},
             Row{"7.4", 14, "7.5", "The new MAX_FIT_FL is 7.5"}, // and nothing has changed
             Row{"0", 0, "0.5", will.c_str()},
             Row{"1e6", 47, "24.0", will.c_str()},
             Row{"3,9", 5, "3.0", will.c_str()}, // the point is a point
             Row{"one", 5, "one", "invalid input: one"},
             Row{"nan", 5, "nan", "invalid input: nan"},
             Row{"1e99", 5, "3.0", ""},
             Row{"", 47, "24.0", will.c_str()},
         }) {
        SCOPED_TRACE(row.typed);
        app.reparkRequest.clear();
        enter(MAX_FIT_FL, row.typed);
        EXPECT_EQ(MAX_FIT.value, row.maxFit);
        EXPECT_EQ(saved(MAX_FIT), std::to_string(row.maxFit));
        EXPECT_EQ(box(MAX_FIT_FL), row.box);
        EXPECT_EQ(gf_shownMessage(), row.message);
        EXPECT_EQ(app.reparkRequest.isSet(), row.message == will);
    }
    EXPECT_EQ(timesLogged("lf_processTbFloat exception "), 1);
}

// ---- boxes with a text -------------------------------------------------------------------------------------------

TEST_F(OpenWindow, ABlockedCallsignHasFourToEightCharacters) {
    const std::string huge(100000, 'A');
    struct Row {
        std::string typed, value, message;
        bool asks;
    };
    for (const Row& row :
         {Row{"", "", "", false}, Row{"baw", "", "callsign \"baw\" is not valid", false},
          Row{"baw123456", "", "callsign \"baw123456\" is not valid", false},
          Row{huge, "", "callsign \"" + huge + "\" is not valid", false},
          Row{"baw1", "BAW1", "live aircraft with callsign \"BAW1\" will be blocked", true},
          Row{"Baw1", "BAW1", "callsign \"BAW1\" was already set ...", false},
          Row{"x", "BAW1", "callsign \"x\" is not valid", false},
          Row{"klm12345", "KLM12345", "live aircraft with callsign \"KLM12345\" will be blocked", true},
          Row{"", "", "no more blocking of live aircraft \"KLM12345\"", true}}) {
        SCOPED_TRACE(row.typed.substr(0, 20));
        gf_showMessage("what stood there", false);
        enter(BLOCK_CALLSIGN, row.typed);
        EXPECT_EQ(BLOCK_CALLSIGN.value(), row.value);
        EXPECT_EQ(saved(BLOCK_CALLSIGN), row.value);
        EXPECT_EQ(box(BLOCK_CALLSIGN), row.value);
        EXPECT_EQ(gf_shownMessage(), row.message);
        EXPECT_TRUE(row.message.empty() || timesLogged(row.message + "\n") == 1);
        EXPECT_EQ(app.blockRequest.take(), row.asks);
        EXPECT_EQ(enabled(UNBLOCK), !row.value.empty());
    }
    enter(BLOCK_CALLSIGN, "KLM1");
    click(UNBLOCK);
    EXPECT_EQ(gf_shownMessage(), "no more blocking of live aircraft \"KLM1\"");
    EXPECT_EQ(box(BLOCK_CALLSIGN), "");
    EXPECT_TRUE(app.blockRequest && !enabled(UNBLOCK));
}

TEST_F(OpenWindow, ADestinationIsAnAirportOfTheDirectory) {
    loadAirport();
    airportsLife.directory = {{"EDDF", "FRA", 50, 8.5, 364}, {"EHAM", "AMS", 52.3, 4.76, -11}};
    plat::setEnabled(RE_READ.control.controlId, true);
    struct Row {
        std::string typed, value, message;
        bool asks, reRead;
    };
    for (const Row& row : {
             Row{"eha", "", "destination \"eha\" is not valid", false, true},
             Row{"zzzz", "", "destination \"ZZZZ\" is unknown ...", false, true},
             Row{"eham", "EHAM", "New destination: EHAM", true, false},
             Row{"EHAM", "EHAM", "destination \"EHAM\" was already set ...", false, false},
             Row{"EHAMX", "EHAM", "destination \"EHAMX\" is not valid", false, false},
             Row{"zzzy", "EHAM", "destination \"ZZZY\" is unknown ...", false, false},
             Row{"EDDF", "EDDF", "New destination: EDDF", true, false},
             Row{"", "", "destination set to empty", true, true},
         }) {
        SCOPED_TRACE(row.typed);
        enter(DESTINATION, row.typed);
        EXPECT_EQ(DESTINATION.value(), row.value);
        EXPECT_EQ(box(DESTINATION), row.value);
        EXPECT_EQ(gf_shownMessage(), row.message);
        EXPECT_EQ(timesLogged(row.message + "\n"), 1);
        EXPECT_EQ(app.destinationRequest.take(), row.asks);
        EXPECT_EQ(enabled(RE_READ), row.reRead);
    }
    EXPECT_EQ(saved(DESTINATION), "EDDF") << "for the next start";
    airportsLife.directory.clear();
}

TEST_F(OpenWindow, TheObjectIdIsAskedForACallsign) {
    loadAirport();
    gf_setDisplayText(DisplayText::objectId, "= 17");
    gf_showMessage("what stood there", false);
    for (const std::string callsign : {"BAW1", ""}) {
        enter(CALLSIGN_2_OBJECTID, callsign.empty() ? "" : "baw1");
        EXPECT_EQ(CALLSIGN_2_OBJECTID.value(), callsign);
        EXPECT_EQ(box(CALLSIGN_2_OBJECTID), callsign);
        EXPECT_TRUE(app.objectIdRequest.take());
        EXPECT_EQ(gf_displayText(DisplayText::objectId), "") << "it was another's";
    }
    EXPECT_EQ(gf_shownMessage(), "");
    enter(CALLSIGN_2_OBJECTID, "");
    EXPECT_FALSE(app.objectIdRequest);
}

TEST_F(OpenWindow, AnInstallPathIsThatOfTheSelectedSimulator) {
    loadAirport();
    const std::string path = plat::pathText(test::installSimulator(false));
    MSFS_2020.value = false;
    enter(ALL_INSTALL_PATH, path);
    EXPECT_EQ(MSFS_2024_INSTALL_PATH.value(), path);
    EXPECT_EQ(MSFS_INSTALL_PATH.value(), "");
    EXPECT_EQ(app.runState, RunState::newSettings);
    app = AppRun{};
    enter(ALL_INSTALL_PATH, std::string(5000, 'x')); // longer than any file system takes
    EXPECT_EQ(box(ALL_INSTALL_PATH), std::string(5000, 'x')) << "for the user to mend";
    EXPECT_TRUE(timesLogged("lf_stringBoxProc exception filesystem error") == 1 ||
                gf_shownMessage().starts_with("This install path does not exist: xxx"));
    EXPECT_FALSE(app.stopRequested);
}

TEST_F(OpenWindow, ATextThatIsNoUtf8IsNoneAndIsLogged) {
    enter(BLOCK_CALLSIGN, "Z\xFCRI1");
    EXPECT_EQ(BLOCK_CALLSIGN.value(), "");
    EXPECT_EQ(timesLogged("lf_getTextFromId conversion exception"), 1);
    BLOCK_CALLSIGN.set("Z\xFCRI2");
    gf_showParameter(BLOCK_CALLSIGN);
    EXPECT_EQ(box(BLOCK_CALLSIGN), "Z\xFCRI1") << "the control keeps its former text";
    EXPECT_EQ(timesLogged("gf_showParameter conversion exception"), 1);
}

} // namespace

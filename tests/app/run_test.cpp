// The ends of a run in virtual time, and whole runs with their real threads.

#include "app_fixture.h"

#include "app/errors.h"
#include "app/runcontrol.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/process.h"

#include <gmock/gmock.h>

#include <functional>
#include <pugixml.hpp>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::Field;

namespace {

// One thread plays worker and message loop: what the closing posts is kept, and things happen at given seconds.
class ClosingTest : public VirtualAppTest {
  protected:
    ClosingTest() {
        gf_readParameters();
        plat::WindowHandlers handlers;
        handlers.posted = [this](unsigned message) {
            posted.push_back(message);
            plat::quitLoop(0);
        };
        plat::openWindow("", 0, 0, 0, 0, handlers);
        start = clock.now;
        clock.onAdvance = [this](plat::SteadyNs now) {
            const std::string message = gf_shownMessage();
            if (message != (shown.empty() ? "" : shown.back())) shown.push_back(message);
            if (event && now - start >= eventAt) std::exchange(event, nullptr)();
        };
    }
    void at(double seconds, std::function<void()> what) {
        eventAt = static_cast<plat::SteadyNs>(seconds * 1e9);
        event = std::move(what);
    }
    double seconds() const { return static_cast<double>(clock.now - start) / 1e9; }
    unsigned takePosted() {
        plat::runLoop();
        return posted.back();
    }
    static std::string stored(const char* key) {
        pugi::xml_document document;
        document.load_file(folders.parameters.c_str());
        return document.child("parameters")
            .find_child_by_attribute("parameter", "name", key)
            .attribute("value")
            .value();
    }

    std::vector<std::string> shown;
    std::vector<unsigned> posted;
    plat::SteadyNs start = 0, eventAt = 0;
    std::function<void()> event;
};

} // namespace

TEST_F(ClosingTest, CountsDownWithAPluralUntilOne) {
    for (const int delay : {3, 0}) {
        app.restartDelay = delay;
        lf_restartCountdown();
        EXPECT_DOUBLE_EQ(seconds(), 3);
        EXPECT_EQ(timesLogged("Restarting after"), 1);
    }
    EXPECT_THAT(shown, ElementsAre("Restarting after 3 seconds", "Restarting after 2 seconds",
                                   "Restarting after 1 second"));
    EXPECT_TRUE(logged("Restarting after 3 seconds\n\n\n\n\n"));
}

TEST_F(ClosingTest, AFailedLinkRestartsWithoutItsScans) {
    for (const RunState state : {RunState::readerError, RunState::simConnectError}) {
        app = AppRun{};
        gf_setAndSave(SCAN_LIVERIES, true);
        gf_setAndSave(SCAN_AIRPORTS, true);
        gf_setAndSave(DESTINATION, "EGLL");
        gf_showError("an error of the run");
        gf_requestStop(state, 15);
        app.secondCount = 77;
        const double before = seconds();
        const std::uint32_t run = appLife.runNumber;
        lf_closingDown();
        EXPECT_EQ(takePosted(), messageStartRun);
        EXPECT_NEAR(seconds() - before, 15.5, 0.2);
        EXPECT_EQ(stored("SCAN_LIVERIES") + stored("SCAN_AIRPORTS") + stored("DESTINATION"), "falsefalse");
        EXPECT_EQ(app.runState, RunState::notYetSet);
        EXPECT_FALSE(gf_stopping());
        EXPECT_EQ(app.secondCount, 0);
        EXPECT_EQ(appLife.runNumber, run + 1);
        EXPECT_TRUE(appLife.restartAfterClose);
        EXPECT_EQ(gf_shownError(), "");
    }
    const std::string text = logText();
    const auto exiting = text.find("\nExiting: READER ERROR\n");
    const auto summary = text.find("live traffic livery matching summary"),
               prepare = text.find("Prepare for a restart ...");
    EXPECT_LT(exiting, summary);
    EXPECT_LT(summary, prepare);
    EXPECT_LT(prepare, text.find("Restarting after 15 seconds"));
}

TEST_F(ClosingTest, NewSettingsRestartAndKeepTheScans) {
    gf_setAndSave(SCAN_LIVERIES, true);
    gf_requestStop(RunState::newSettings, 2);
    lf_closingDown();
    EXPECT_EQ(takePosted(), messageStartRun);
    EXPECT_EQ(stored("SCAN_LIVERIES"), "true");
}

TEST_F(ClosingTest, ASimulatorThatWasClosedEndsTheProcessAtOnceAndANewFlightAfterTenSeconds) {
    gf_requestStop(RunState::simClosed, 0);
    lf_closingDown();
    EXPECT_EQ(takePosted(), messageEndProcess);
    EXPECT_LT(seconds(), 1);
    EXPECT_TRUE(logged("Exiting: SIM WAS CLOSED"));

    app = AppRun{};
    start = clock.now;
    gf_requestStop(RunState::newFlight, 0);
    lf_closingDown();
    EXPECT_EQ(takePosted(), messageEndProcess);
    EXPECT_NEAR(seconds(), 10.5, 0.2);
    EXPECT_TRUE(logged("New flight detected, Velloray will close, please restart manually ..."));
    EXPECT_EQ(shown.back(), "New flight detected, Velloray will close, please restart manually ...");
    EXPECT_FALSE(appLife.restartAfterClose);
}

TEST_F(ClosingTest, ClosingTheWindowEndsACountdownAndBarsTheNextRun) {
    at(5, gf_userClosesWindow);
    gf_requestStop(RunState::readerError, 15);
    lf_closingDown();
    EXPECT_EQ(takePosted(), messageEndProcess);
    EXPECT_LT(seconds(), 5.5);
    gf_startRunThread();
    EXPECT_EQ(takePosted(), messageEndProcess);
    EXPECT_EQ(timesLogged("Parameters"), 1) << "no run began";
}

TEST_F(ClosingTest, NewSettingsMendAnErrorOfTheSetUp) {
    std::filesystem::remove("docs");
    at(4, [] { gf_requestStop(RunState::newSettings, 3); });
    lf_startRun();
    EXPECT_EQ(takePosted(), messageStartRun);
    EXPECT_NEAR(seconds(), 7.5, 0.6);
    EXPECT_FALSE(logged("User closed Velloray"));
}

TEST_F(ClosingTest, StartedFromAnotherFolderItShowsTheErrorUntilTheWindowIsClosed) {
    std::filesystem::remove("docs");
    at(7, [] {
        EXPECT_EQ(gf_shownError(), "41: Velloray must be run from the Velloray folder!");
        EXPECT_FALSE(app.stopRequested);
        gf_userClosesWindow();
    });
    lf_startRun();
    EXPECT_EQ(takePosted(), messageEndProcess);
    EXPECT_NEAR(seconds(), 7.2, 0.5);
    EXPECT_TRUE(logged("Error 41: Velloray must be run from the Velloray folder!"));
    EXPECT_TRUE(logged("Exiting: SYSTEM ERROR") && logged("User closed Velloray"));
}

TEST_F(ClosingTest, AFolderThatCannotBeMadeIsASystemError) {
    std::filesystem::remove("input"); // comes with the installation and is not made
    LATERAL_RANGE.value = 25;
    gf_saveParameter(LATERAL_RANGE);
    gf_setAndSave(AUTO_RANGE, true);
    plat::headless::takeInvalid();
    at(2, [] {
        gf_setAutoRange(false);
        EXPECT_EQ(LATERAL_RANGE.value, 25) << "the range of the start is known whatever fails behind it";
        EXPECT_THAT(plat::headless::takeInvalid(),
                    Contains(Field(&plat::Rect::top, gf_bandRect(Band::status).top)))
            << "and so is the simulator, which the header names";
        gf_userClosesWindow();
    });
    lf_startRun();
    EXPECT_EQ(app.runState, RunState::systemError);
    EXPECT_TRUE(app.stopRequested);
    EXPECT_NE(logText().find(plat::pathText(folders.myRegcodes)), std::string::npos) << logText();
    EXPECT_TRUE(std::filesystem::is_directory("airports/learned/thirdparty"));
}

TEST_F(ClosingTest, AResetKeepsWhatOutlivesARun) {
    appLife.tickCount = 4711;
    engineLife.hexidTitles[0x4ca123] = "A title";
    simLife.userRadiusNm = 0.01;
    engine.ghosts.insert("BAW1_");
    engine.failedTitles.insert("Bad");
    engine.newArrivals.push_back(0x4ca123);
    gf_queueRemoval(17);
    gf_postSimMessage({});
    sim.userObjectId = 99;
    gf_publishParkAirport({{"EGLL", "LHR", 51.47, -0.46, 83}, true});
    gf_setDisplayText(DisplayText::userTitle, "my aircraft");
    display.liveryCount = 12;
    display.trafficMark = ReaderMark::live;
    display.feedConnected = true;
    app.rtNotYetConnected.clear();
    app.messageAge = 55;
    LATERAL_RANGE.value = 400; // never out of its limits afterwards
    gf_requestStop(RunState::newSettings, 0);
    lf_resetForRestart();
    EXPECT_TRUE(appLife.tickCount == 4711 && engineLife.hexidTitles.size() == 1);
    EXPECT_TRUE(simLife.userRadiusNm == 0.01 && display.liveryCount == 12);
    EXPECT_TRUE(engine.ghosts.empty() && engine.failedTitles.empty() && engine.newArrivals.empty());
    std::vector<SimMessage> messages;
    gf_takeSimMessages(messages);
    EXPECT_TRUE(messages.empty() && sim.removals.empty());
    EXPECT_EQ(sim.userObjectId, 2u);
    EXPECT_FALSE(airports.park.known() || trafficReader.parkAirport.load().known);
    EXPECT_EQ(gf_displayText(DisplayText::userTitle), "");
    EXPECT_EQ(display.trafficMark, ReaderMark::notStarted);
    EXPECT_TRUE(app.rtNotYetConnected && !display.feedConnected);
    EXPECT_EQ(app.messageAge, 0);
    EXPECT_EQ(LATERAL_RANGE.value, 100);
    EXPECT_EQ(app.rangeMeters, 185200);
    simLife.userRadiusNm = 0;
}

// ---- real threads ----------------------------------------------------------------------------------------------

namespace {

class ProcessTest : public AppTest {
  protected:
    ProcessTest() {
        test::prepareForRequestToEnd();
        gf_closeLog();
        appLife.dbaseRead = true; // no download server here
        refData.allModels = refData.largeModels = {"A320"};
        refData.icaoAirlines = {"BAW"};
        community = test::installSimulator() / "Community";
        installLivery("Test A320");
    }
    // In place of the one before.
    void installLivery(const std::string& title) const {
        const auto package = community / "aig-aitraffic-oci";
        std::filesystem::create_directories(package);
        test::writeFile(package / "aircraft.cfg", "[GENERAL]\nicao_type_designator=A320\n[FLTSIM.0]\ntitle=" +
                                                      title + "\nicao_airline=BAW\n");
    }
    ~ProcessTest() override { refData = RefData{}; }

    // Runs the process with `script` on a thread beside it; gives its exit code.
    static int run(const std::function<void()>& script) {
        std::thread user(script);
        const int code = gf_main();
        user.join();
        return code;
    }
    // Until the process has moved the log of the fixture away nobody reads it: on Windows it could not be moved then.
    static bool waitForLog(const std::string& part, int times) {
        for (int i = 0; i < 600; ++i) {
            if (std::filesystem::exists("Log0.txt") && timesLogged(part) >= times) return true;
            plat::sleepMs(50);
        }
        return false;
    }
    // The parts stand in the log in this order.
    static void expectInOrder(const std::vector<std::string>& parts) {
        const std::string text = logText();
        std::size_t place = 0;
        for (const std::string& part : parts) {
            place = text.find(part, place);
            ASSERT_NE(place, std::string::npos) << part << " is missing in\n" << text;
        }
    }

    std::filesystem::path community;
};

} // namespace

TEST_F(ProcessTest, RestartsForNewSettingsAndEndsWithTheWindow) {
    const int code = run([] {
        EXPECT_TRUE(waitForLog("Waiting for MSFS 2020 ...", 1));
        plat::headless::setPosition(123, 45);
        gf_requestStop(RunState::newSettings, 1);
        EXPECT_TRUE(waitForLog("Waiting for MSFS 2020 ...", 2));
        plat::headless::close();
    });
    EXPECT_EQ(code, 0);
    expectInOrder({" (utc) Velloray version 10.10.10 for MSFS 2020/2024\n", " Parameters ",
                   "\nRealTraffic not detected at this PC\n", " liveries scan automatic starts ",
                   " liveries scan ends ", "\n1 liveries read from ", "\nWaiting for MSFS 2020 ...\n",
                   "\nExiting: NEW SETTINGS\n", "\nPrepare for a restart ...\n",
                   "\nRestarting after 1 seconds\n\n\n\n\n", " Parameters ",
                   "\nProcessing scanned liveries skipped; already done in previous start-up\n",
                   "\nWaiting for MSFS 2020 ...\n", "\nExiting: USER CLOSED SIM\n"});
    const std::string text = logText();
    EXPECT_EQ(text.size() - text.rfind('\n', text.size() - 2), 26u) << "the time is the last line";
    EXPECT_NE(test::readFile(folders.parameters).find("name=\"MAIN_WINDOW_X\" value=\"123\""),
              std::string::npos);
    EXPECT_TRUE(simLife.thread.get_id() == std::thread::id()) << "the simulator thread has been joined";
}

TEST_F(ProcessTest, ADirectoryWithoutAnyAirportIsAnErrorForTheUser) {
    airportsLife.directory.clear();
    EXPECT_THAT(lf_readSetup,
                testing::ThrowsMessage<orvo::UserErrorException>(
                    "88: " + plat::pathText(folders.airportsXml) + " not loaded No airport found"));
}

// The window's thread only asks: what a run remembers of the titles are views of the store's own texts.
TEST_F(ProcessTest, TheStartOfARunForgetsTheLiveriesWhenAskedAndScansForAFileThatIsGone) {
    const auto aRun = [](int number) { EXPECT_TRUE(waitForLog("Waiting for MSFS 2020 ...", number)); };
    const int code = run([&] {
        aRun(1);
        installLivery("Another A320");
        gf_setAndSave(SCAN_LIVERIES, true);
        appLife.newLiveriesRequest.set();
        gf_requestStop(RunState::newSettings, 1);
        aRun(2);
        EXPECT_FALSE(SCAN_LIVERIES);
        std::filesystem::remove(folders.scannedLiveries);
        gf_requestStop(RunState::newSettings, 1);
        aRun(3);
        EXPECT_FALSE(SCAN_LIVERIES);
        EXPECT_TRUE(std::filesystem::exists(folders.scannedLiveries));
        std::filesystem::remove_all(community / "aig-aitraffic-oci");
        std::filesystem::remove(folders.scannedLiveries);
        gf_requestStop(RunState::newSettings, 1);
        EXPECT_TRUE(waitForLog("Exiting: SYSTEM ERROR", 1));
        EXPECT_TRUE(SCAN_LIVERIES) << "it is asked for until something is found";
        EXPECT_TRUE(gf_shownError().starts_with("43: Automatic scan has not found any liveries"));
        test::askThisProcessToEnd(); // like the window's close box
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(liveryStore.modelLiveries[0]["A320"], Titles{"Another A320"}) << "of the second scan";
    const std::string gone =
        "\nFile " + plat::pathText(folders.scannedLiveries) + " is gone, rescan liveries\n";
    expectInOrder({"Exiting: NEW SETTINGS", " liveries scan automatic starts ", "\n1 liveries read from ",
                   "Exiting: NEW SETTINGS", gone, " liveries scan automatic starts ", " liveries scan ends ",
                   "\nProcessing scanned liveries skipped", "Exiting: NEW SETTINGS", gone,
                   "\nError 43: Automatic scan", "User closed Velloray"});
}

TEST_F(ProcessTest, AnInstallationThatIsNotFoundIsTypedAndMendsTheRun) {
    std::filesystem::rename("config/Microsoft Flight Simulator", "elsewhere");
    constexpr int box = 32788;
    const std::filesystem::path packages = std::filesystem::absolute("elsewhere/Packages");
    const std::string typed = plat::pathText(packages / "Community");
    const int code = run([&] {
        EXPECT_TRUE(waitForLog("Error 150: No install path detected, type full path to your Community folder "
                               "above, and press Enter\n",
                               1));
        EXPECT_TRUE(waitForLog("Exiting: SYSTEM ERROR", 1));
        plat::headless::enter(box, "/not there");
        EXPECT_EQ(gf_shownMessage(), "This install path does not exist: /not there");
        EXPECT_EQ(gf_shownError(), "");
        plat::headless::enter(box, typed);
        EXPECT_TRUE(waitForLog("Restarting after 3 seconds", 1));
        EXPECT_TRUE(waitForLog("Waiting for MSFS 2020 ...", 1));
        EXPECT_EQ(plat::getText(box), plat::pathText(packages));
        plat::headless::close();
    });
    EXPECT_EQ(code, 0);
    EXPECT_FALSE(logged("User closed Velloray")) << "the wait has ended by itself";
    EXPECT_EQ(timesLogged("No UserCfg.opt found?"), 1) << "what is stored is not looked for again";
    EXPECT_EQ(MSFS_INSTALL_PATH.value(), plat::pathText(packages));
}

TEST_F(ProcessTest, AStoredCommunityFolderIsStrippedAndAFoundOneStored) {
    const std::filesystem::path other = "/x";
    for (const auto& [stored, found] : {std::pair{other / "Community", other},
                                        std::pair{std::filesystem::path(), community.parent_path()}}) {
        gf_resetParametersToDefaults();
        gf_readParameters();
        gf_setAndSave(MSFS_INSTALL_PATH, plat::pathText(stored));
        lf_readSetup();
        EXPECT_EQ(ALL_INSTALL_PATH.value(), plat::pathText(found));
        gf_resetParametersToDefaults();
        gf_readParameters();
        EXPECT_EQ(MSFS_INSTALL_PATH.value(), plat::pathText(found));
    }
}

// A restart asks for the data set of the 2024 simulator when there is none, whatever the other one has left in its folder.
TEST_F(ProcessTest, ASwitchToTheOtherSimulatorAsksForItsDataSet) {
    const std::string asked = "No mysimaddon version info found at the Velloray server?";
    std::filesystem::create_directories(folders.mySimaddon);
    test::writeFile(folders.mySimaddon / "EGLL.txt", "archive/simaddon/EGLL.xml\n");
    gf_readParameters();
    gf_setAndSave(MSFS_2020, false);
    gf_setAndSave(MSFS_2024_INSTALL_PATH, plat::pathText(community.parent_path()));
    gf_openLog();
    appLife.restartAfterClose.set();
    for (const char* installed : {"1.0.0", ""}) {
        gf_setAndSave(MYSIMADDON24_VERSION, installed);
        lf_readSetup();
        EXPECT_EQ(logged(asked), *installed == '\0');
    }
}

TEST_F(ProcessTest, ASecondInstanceEndsAtOnceAndLeavesTheLogAlone) {
    const plat::InstanceGuard first("Local\\$Velloray$");
    const std::string before = logText();
    EXPECT_EQ(gf_main(), -1);
    EXPECT_EQ(logText(), before);
    EXPECT_FALSE(std::filesystem::exists("Log0.txt"));
}

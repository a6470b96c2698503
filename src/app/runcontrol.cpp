// A run, from its start to the main cycle: set-up, stores, simulator, control link, readers. Its end is closing.cpp.
// Runs on the worker.

#include "app/runcontrol.h"

#include "airportscan/airportscan.h"
#include "app/app.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/maincycle.h"
#include "app/parameters.h"
#include "app/stop.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "liveries/liveries.h"
#include "platform/files.h"
#include "platform/window.h"
#include "simlink/simlink.h"
#include "updates/updates.h"
#include "window/window.h"

#include <filesystem>
#include <fmt/format.h>
#include <system_error>
#include <thread>

// The user may give the Community folder itself; the program wants the one that holds it.
static void lf_stripCommunity(StringParameter& p) {
    std::string path = p.value();
    const std::string folder = plat::pathText(std::filesystem::path("/Community").make_preferred());
    if (!path.ends_with(folder)) return;
    gf_setAndSave(p, path.erase(path.find(folder), folder.size()));
}

static void makeFolder(const std::filesystem::path& path) {
    if (!std::filesystem::exists(path)) std::filesystem::create_directory(path);
}

void lf_makeFolders() {
    for (const auto* path :
         {&folders.output, &folders.info, &folders.errors, &folders.airports, &folders.learned,
          &folders.learnedStock, &folders.learnedSimaddon, &folders.learnedThirdparty, &folders.mySimaddon,
          &folders.myThirdparty, &folders.myRegcodes})
        makeFolder(*path);
}

static std::uint32_t countEntries(const std::filesystem::path& folder) {
    std::uint32_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
    return count;
}

static void rememberProgramFolder() {
    std::error_code error;
    const std::filesystem::path current = std::filesystem::current_path(error);
    if (error) throw std::filesystem::filesystem_error("current_path()", error);
    gf_setAndSave(PROGRAM_INSTALL_PATH, plat::pathText(current));
}

static void showInstallPath() {
    StringParameter& selected = gf_installPathParameter();
    ALL_INSTALL_PATH.set(selected.value());
    plat::setEnabled(ALL_INSTALL_PATH.control.controlId, true);
    gf_showParameter(ALL_INSTALL_PATH);
    if (!selected.value().empty()) return;
    const std::filesystem::path found = gf_findPackagesPath();
    if (found.empty()) // the user types one, and lf_newSimPath takes it from there
        throw orvo::UserErrorException(150, "No install path detected, type full path to your Community "
                                            "folder above, and press Enter");
    gf_setAndSave(selected, plat::pathText(found));
    ALL_INSTALL_PATH.set(selected.value());
    gf_showParameter(ALL_INSTALL_PATH);
}

static void readDirectory() {
    if (!gf_readAirports()) // told like one that cannot be read
        throw orvo::UserErrorException(
            88, fmt::format("{} not loaded {}", plat::pathText(folders.airportsXml), "No airport found"));
}

static void lookForRealTraffic() {
    std::error_code ignored;
    appLife.realTrafficLocal = std::filesystem::exists(folders.realTrafficJar, ignored);
    gf_showMessage(fmt::format("RealTraffic {}detected at this PC", appLife.realTrafficLocal ? "" : "not "),
                   true);
}

void lf_readSetup() {
    gf_readParameters();
    gf_setUserRange(LATERAL_RANGE.value);
    gf_repaint(Band::status); // which simulator it is for
    gf_repaint(Band::settings);
    lf_stripCommunity(gf_installPathParameter());
    // The folder is about to be made; behind a switch it holds the links of the other simulator.
    const bool simaddonMissing = gf_simaddonMissing() || MYSIMADDON24_VERSION.value().empty();
    lf_makeFolders();
    app.liveLimit = MAX_LIVE.value;
    const bool restarted = appLife.restartAfterClose.isSet();
    if (!restarted) gf_checkProgramVersion();
    if (!MSFS_2020) {
        if (simaddonMissing) gf_checkSimaddon();
        if (!restarted) gf_checkSimaddon();
    }
    lf_controlsToStartState();
    rememberProgramFolder();
    lf_workOutWeekSlot();
    if (!appLife.dbaseRead) {
        gf_readDbase();
        appLife.dbaseRead = true;
    }
    readDirectory();
    showInstallPath();
    gf_repaint(Band::settings);
    lookForRealTraffic();
}

static void readLiveries() {
    if (appLife.newLiveriesRequest.take()) gf_clearLiveryStores();
    if (!SCAN_LIVERIES && !std::filesystem::exists(folders.scannedLiveries)) {
        gf_showMessage(
            fmt::format("File {} is gone, rescan liveries", plat::pathText(folders.scannedLiveries)), true);
        gf_setAndSave(SCAN_LIVERIES, true);
        gf_repaint(Band::settings);
    }
    gf_scanLiveries();
}

static void readAirports() {
    appLife.newAirportsRequest.clear();
    if (SCAN_AIRPORTS) {
        display.mySimaddonCount = 0;
        display.myThirdpartyCount = 0;
        gf_repaint(Band::status);
        lf_scanAirports();
    }
    lf_countTblo();
    display.mySimaddonCount = countEntries(folders.mySimaddon);
    display.myThirdpartyCount = countEntries(folders.myThirdparty);
    gf_repaint(Band::status);
    gf_repaint(Band::settings);
}

static void startReader(void (*reader)(std::uint32_t)) {
    std::thread(reader, appLife.runNumber.load()).detach();
}

static void connectToFeed() {
    if (!appLife.realTrafficLocal || AEROWINX) {
        display.feedConnected = true; // whoever drives RealTraffic does so without us
        gf_repaint(Band::status);
    } else {
        lf_openControlPort(PORT_NUMBER.value());
    }
    if (gf_stopping()) return;
    display.feedWaiting = false;
    gf_repaint(Band::status);
    if (AEROWINX) {
        controlLink.rtProfessional = false;
    } else {
        lf_waitForRealTraffic();
        if (controlLink.rtProfessional) lf_sendSimTime(sim.simTimeEpoch);
    }
}

void lf_runWorker() {
    display.feedConnected = false;
    display.simConnected = false;
    gf_repaint(Band::status);
    lf_presizeEngine();
    lf_presizeSimQueues();
    app.simConnectFailed.clear();
    gf_startSimThread();
    if (!lf_waitForUserAircraft()) return;
    connectToFeed();
    if (gf_stopping()) return;
    gf_enableTraffic(false);
    startReader(lf_qnhReader);
    if (!gf_sleepUnlessStopped(2000)) return;
    startReader(lf_trafficReader);
    lf_firstPosition();
    lf_waitForFirstReport();
    lf_workOutWeekSlot();
    lf_mainCycle();
}

static void runToItsEnd() {
    if (!std::filesystem::is_directory(folders.docs))
        throw orvo::UserErrorException(
            41, fmt::format("{} must be run from the {} folder!", programName, programName));
    lf_readSetup();
    readLiveries();
    if (gf_stopping()) return;
    readAirports();
    if (gf_stopping()) {
        lf_noteUserClosed();
        return;
    }
    lf_makeFlightPlanFolder();
    lf_readMyParkAirports();
    plat::setEnabled(RE_READ.control.controlId, true);
    plat::setEnabled(DESTINATION.control.controlId, true);
    if (const auto destination = gf_findAirport(DESTINATION.value())) lf_newDestination(*destination);
    plat::setTopMost(ALWAYS_ON_TOP.value);
    if (AUTO_RANGE) {
        lf_autoRange();
        plat::setEnabled(LATERAL_RANGE.control.controlId, false);
    }
    lf_runWorker();
}

void lf_startRun() {
    if (appLife.windowClosed) lf_noteUserClosed(); // it was closed while the run before was reset
    try {
        runToItsEnd();
    } catch (const orvo::UserErrorException& e) {
        // No flag is set: the closing shows the text until the user has acted.
        gf_showError(e.what());
        lf_noteSystemError();
    } catch (const fmt::format_error& e) {
        const std::string text = fmt::format("std::format error: {}", e.what());
        gf_showError(text);
        gf_fatalError(text);
    } catch (const std::exception& e) {
        if (gf_stopping())
            gf_logRaw(e.what()); // what a stop has cut short is no error to show
        else
            gf_fatalError(e.what());
    } catch (...) {
        gf_showError("Unknown exception");
        lf_noteSystemError();
    }
    lf_closingDown();
}

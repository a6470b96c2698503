// The end of a run: what was opened is closed in a fixed order, and then the process ends or the next run is prepared.
// Runs on the worker. Its log lines are raw, since a stop is under way.

#include "app/runcontrol.h"

#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/stop.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "liveries/liveries.h"
#include "platform/clock.h"
#include "platform/window.h"

#include <fmt/format.h>

static void showAndLog(const std::string& text) {
    gf_showMessage(text, false);
    gf_logRaw(text);
}

// Sleeps while the window is open: nobody waits for a closed one.
static void sleepUnlessClosed(std::int64_t ms) {
    constexpr std::int64_t pieceMs = 100;
    for (std::int64_t left = ms; left > 0 && !appLife.windowClosed; left -= pieceMs) plat::sleepMs(pieceMs);
}

// An error that the user must see stays until the window is closed, or until new settings mend it.
static void waitWithError() {
    constexpr std::int64_t lookMs = 500;
    while (app.runState != RunState::newSettings) {
        if (app.userClosing || appLife.windowClosed) {
            showAndLog(fmt::format("User closed {}", programName));
            return;
        }
        sleepUnlessClosed(lookMs);
    }
}

void lf_endThreads() {
    constexpr int longestWaitMs = 3000, stepMs = 50; // a reader looks at its stop flag twice a second
    gf_stopReaders();
    gf_stopSimThread(true);
    for (int waited = 0; !gf_readersFinished() && waited < longestWaitMs; waited += stepMs)
        plat::sleepMs(stepMs);
    lf_endLoader();
}

static void releaseRun() {
    gf_enableTraffic(false);
    gf_stopSimThread(false);
    gf_stopReaders();
    plat::sleepMs(500);
    gf_closeControlLink();
    if (app.runState == RunState::systemError) waitWithError();
    lf_endThreads();
    if (sim.storeUserStand.take()) gf_storeUserStand(); // the simulator thread asks for it as its last act
    if (airports.park.known()) lf_removeAllParked();
    lf_endLoader(); // both may have given it files to write
    lf_endEngineRun();
    gf_setAndSave(DESTINATION, "");
    gf_setAndSave(BLOCK_CALLSIGN, "");
    gf_writeMatchSummary();
    gf_logNoMatches();
}

static void prepareRestart(RunState state) {
    appLife.restartAfterClose.set();
    gf_clearError();
    gf_clearMessage();
    showAndLog("Prepare for a restart ...");
    if (state != RunState::newSettings) {
        // A run that failed for the sake of a link does not repeat its scans, unless the user has just asked for one.
        if (!appLife.newLiveriesRequest) gf_setAndSave(SCAN_LIVERIES, false);
        if (!appLife.newAirportsRequest) gf_setAndSave(SCAN_AIRPORTS, false);
    }
    lf_restartCountdown();
    lf_resetForRestart();
}

static void lastWords(RunState state) {
    constexpr std::int64_t readingMs = 10'000;
    appLife.restartAfterClose.clear();
    if (state != RunState::newFlight) return;
    showAndLog(fmt::format("New flight detected, {} will close, please restart manually ...", programName));
    sleepUnlessClosed(readingMs);
}

static void closeRun() {
    gf_logRaw(fmt::format("Exiting: {}", gf_runStateText(app.runState)));
    releaseRun();
    const RunState state = app.runState;
    if (state == RunState::newSettings || state == RunState::simConnectError ||
        state == RunState::readerError)
        prepareRestart(state);
    else
        lastWords(state);
    const bool again = appLife.restartAfterClose && !appLife.windowClosed;
    plat::postMessage(again ? messageStartRun : messageEndProcess);
}

static void closingFailed(const char* text) {
    showAndLog(fmt::format("{} exception {}", "lf_closingDown", text));
    try { // what was learned is kept whatever happens
        lf_giveUpParkAirport();
        lf_endLoader();
    } catch (const std::exception& e) {
        gf_logRaw(e.what());
    }
    gf_stopSimThread(false); // the end of the process joins it
    gf_stopReaders();
    lf_noteClosingFailed();
}

void lf_closingDown() {
    try {
        closeRun();
    } catch (const std::exception& e) {
        closingFailed(e.what());
    } catch (...) {
        closingFailed("Unknown exception");
    }
}

void lf_restartCountdown() {
    const std::int32_t delay = app.restartDelay;
    if (delay < 1) return;
    gf_logRaw(fmt::format("Restarting after {} seconds\n\n\n\n\n", delay));
    for (std::int32_t n = delay; n >= 1 && !appLife.windowClosed; --n) {
        gf_showMessage(fmt::format("Restarting after {} second{}", n, n == 1 ? "" : "s"), false);
        sleepUnlessClosed(1000);
    }
}

static void resetSimLink() {
    gf_dropUpdates();
    gf_takeSimMessages(engine.messages);
    engine.messages.clear();
    const LockGuard hold(simLock);
    sim = SimLinkRun{};
}

static void resetDisplay() {
    gf_clearDisplayTexts();
    Display fresh;
    fresh.liveryCount = display.liveryCount;
    fresh.mySimaddonCount = display.mySimaddonCount;
    fresh.myThirdpartyCount = display.myThirdpartyCount;
    display = fresh;
    for (const Band band : {Band::status, Band::parking, Band::message}) gf_repaint(band);
}

void lf_resetForRestart() {
    lf_resetReaders();
    resetSimLink();
    lf_resetEngine();
    lf_resetAirports();
    controlLink.rtProfessional = false;
    trafficReader.userPosition.store({});
    trafficReader.collectCallsigns.clear();
    resetDisplay();
    gf_removeCallsignFile();
    LATERAL_RANGE.value = LATERAL_RANGE.limited(LATERAL_RANGE.value);
    lf_freshRun();
}

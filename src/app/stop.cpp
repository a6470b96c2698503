// How a run stops: the first cause wins, its reason and delay are in place before the flag is seen, and what a thread
// of an earlier run still asks is ignored. Also the sleep that a stop ends. Every function: any thread.

#include "app/app.h"

#include "app/log.h"
#include "app/parameters.h"
#include "app/stop.h"
#include "platform/clock.h"
#include "platform/window.h"

#include <algorithm>
#include <fmt/format.h>

AppProcess appLife; // owner: app; each member says who writes it
AppRun app;         // owner: app; each member says who writes it

static Lock stopLock; // claims a stop: run number, state, delay and flags change together under it

// The run that the calling thread belongs to; 0 for the message loop and others whose stops always count.
static thread_local std::uint32_t threadRun = 0;

static bool ofAnOlderRun() { return threadRun != 0 && threadRun != appLife.runNumber; }

const char* gf_runStateText(RunState state) {
    switch (state) {
    case RunState::notYetSet: return "NOT YET SET";
    case RunState::simClosed: return "SIM WAS CLOSED";
    case RunState::newFlight: return "NEW FLIGHT";
    case RunState::newSettings: return "NEW SETTINGS";
    case RunState::userClosed: return "USER CLOSED SIM";
    case RunState::simConnectError: return "SIMCONNECT ERROR";
    case RunState::readerError: return "READER ERROR";
    case RunState::systemError: return "SYSTEM ERROR";
    }
    return "";
}

void gf_joinRun(std::uint32_t runNumber) { threadRun = runNumber; }

void gf_requestStop(RunState state, std::int32_t delaySeconds) {
    const LockGuard hold(stopLock);
    if (app.stopRequested || ofAnOlderRun()) return;
    // After a system error that set no flag, the run is already closing and shows its text: only new settings,
    // which can mend it, replace the reason.
    if (app.runState == RunState::systemError && state != RunState::newSettings) return;
    app.restartDelay = delaySeconds;
    app.runState = state;
    app.stopRequested.set();
}

void gf_fatalError(const std::string& text) {
    if (ofAnOlderRun()) return;
    gf_showError(text);
    gf_requestStop(RunState::systemError, 0);
}

void gf_readerStopped(const std::string& name, const std::string& text) {
    constexpr std::int32_t restartSeconds = 15;
    const std::string line = fmt::format("The {} has stopped with error: {}", name, text);
    gf_logRaw(line); // an ending thread's line: also while the run stops
    if (ofAnOlderRun()) return;
    gf_showMessage(line, false);
    gf_requestStop(RunState::readerError, restartSeconds);
}

void lf_noteSystemError() {
    const LockGuard hold(stopLock);
    if (app.runState == RunState::notYetSet) app.runState = RunState::systemError;
}

void lf_noteUserClosed() {
    const LockGuard hold(stopLock);
    if (app.runState == RunState::notYetSet) app.runState = RunState::userClosed;
    app.userClosing.set();
    app.stopRequested.set();
}

void lf_freshRun() {
    const LockGuard hold(stopLock);
    AppRun fresh;
    fresh.userClosing = app.userClosing;
    fresh.rangeNm = LATERAL_RANGE.value;
    fresh.rangeMeters = static_cast<std::int32_t>(LATERAL_RANGE.value * metersPerNm);
    fresh.stopRequested.set();
    app = fresh;
    appLife.runNumber += 1;
    app.userClosing.clear();
    app.stopRequested.clear();
}

// Nobody is left to end the process when a closing has failed: then the closed window does. One thread posts.
static void endWithoutWorker() {
    if (appLife.windowClosed && appLife.closingFailed.take()) plat::postMessage(messageEndProcess);
}

void lf_noteClosingFailed() {
    appLife.closingFailed.set();
    endWithoutWorker();
}

void gf_userClosesWindow() {
    gf_showMessage(fmt::format("Close window button clicked, closing {} ...", programName), false);
    appLife.windowClosed.set();
    lf_noteUserClosed();
    endWithoutWorker();
}

bool gf_stopping() { return app.stopRequested || app.userClosing || appLife.windowClosed; }

bool gf_sleepUnlessStopped(std::int64_t ms) {
    constexpr std::int64_t pieceMs = 100;
    for (std::int64_t left = ms; left > 0; left -= pieceMs) {
        if (gf_stopping()) return false;
        plat::sleepMs(std::min(left, pieceMs));
    }
    return !gf_stopping();
}

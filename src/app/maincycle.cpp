// The loop that moves the system. It has two clocks: a Tick every 10 ms of the steady clock, and the second step,
// once per second of the simulator, which follows the simulator's own message. The schedules of the second step are in
// schedules.cpp. All of it runs on the worker, or by hand on one thread: lf_beginCycle, then lf_cycleStep.

#include "app/maincycle.h"

#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "platform/clock.h"
#include "platform/window.h"

#include <algorithm>
#include <fmt/format.h>

static constexpr plat::SteadyNs oneMs = 1'000'000;
static constexpr plat::SteadyNs tickNs = 10 * oneMs;
static constexpr plat::SteadyNs silentSecondsNs = 1500 * oneMs; // a stop waits no longer for a second tick

static bool flightRuns() { return app.simRunning && !app.simConnectFailed; }

// Whether the simulator has a live aircraft, or something is on its way into it or out of it. The cycle must not stand
// then: what it does not move hangs in the sky.
static bool trafficIsMoving() {
    return !engine.removalQueue.empty() ||
           std::any_of(engine.live.begin(), engine.live.end(),
                       [](const LiveAc& ac) { return ac.st != SimState::buffer; }) ||
           std::any_of(engine.parked.begin(), engine.parked.end(),
                       [](const ParkedAc& ac) { return ac.st != SimState::active; });
}

static void sendPosition() {
    const UserBlock& u = engine.user;
    const UserPosition position{u.lat, u.lon, u.pitch, u.bank, u.heading, u.alt, u.groundSpeed};
    if (!lf_sendPosition(position, !trafficIsMoving())) return;
    if (!app.userClosing) lf_removeAllForLostFeed();
    lf_realTrafficGone();
}

static void tellReaderWhere() { trafficReader.userPosition.store({engine.user.lat, engine.user.lon}); }

void lf_firstPosition() {
    sendPosition();
    tellReaderWhere();
}

void lf_workOutWeekSlot() {
    const auto feedSeconds = static_cast<std::int64_t>(trafficReader.latestFeedTime);
    const bool feedRules =
        controlLink.rtProfessional && feedSeconds != 0; // a replayed moment has its own week
    app.weekSlot.store(gf_weekSlot(feedRules ? feedSeconds : plat::utcSeconds()));
}

// The order is part of the behaviour: what the simulator said before the aircraft move, what the aircraft asked for
// before new reports come in.
static void motionStep() {
    const std::int32_t tick = appLife.tickCount;
    lf_handleSimMessages();
    lf_updateLiveAircraft();
    lf_paceQueues(); // each 100 and 500 ms
    lf_fileFeedRecords();
    lf_serveSpawnRequest();
    if (tick % 20 == 0 && !app.simConnectFailed) gf_requestInRange(app.rangeMeters);
    if (tick % 100 == 0) {
        sendPosition();
        engine.user = gf_requestUserAircraft();
    }
    appLife.tickCount += 1;
}

void lf_secondStep() {
    if (app.flightPaused) {
        app.flightPaused = false;
        gf_logLine(fmt::format("{} Flight resumed", gf_shortTimeText()));
        gf_enableTraffic(true);
    }
    app.messageAge += 1;
    gf_expireMessage();
    lf_refreshCounts();
    lf_workOutWeekSlot();
    app.secondCount += 1;
    lf_serveNewArrival();
    lf_serveRequests();
    lf_userConflicts();
    lf_parkedConflicts();
}

SecondJobs lf_jobsOfSecond(std::int32_t second) {
    SecondJobs due;
    due.slowSchedule = second % 15 == 0;
    if (due.slowSchedule) return due;
    due.parkingStep = second % 16 == 0;
    due.readerWatch = second % 59 == 0;
    due.staticDoubles = second % 61 == 0;
    due.callsignFile = second % 62 == 0;
    return due;
}

static bool runSecond() {
    lf_secondStep();
    if (gf_stopping()) return false;
    const SecondJobs due = lf_jobsOfSecond(app.secondCount);
    if (due.parkingStep && !app.reparkFirstPhase) lf_parkingStep(false);
    if (due.readerWatch) lf_readerWatch();
    if (due.staticDoubles) lf_removeStaticDoubles();
    if (due.callsignFile && CALLSIGN_OBJECTIDS && MSFS_2020) lf_writeCallsignFile();
    if (due.slowSchedule) {
        tellReaderWhere();
        if (controlLink.rtProfessional) lf_sendSimTime(sim.simTimeEpoch);
        lf_slowSchedule(app.secondCount);
    }
    return true;
}

void lf_pausedStep() {
    constexpr std::int32_t passesPerSecond = 100;
    if (!app.flightPaused) {
        gf_enableTraffic(false);
        app.flightPaused = true;
        app.pauseCount = passesPerSecond;
        gf_dropUpdates();
        gf_logLine(fmt::format("{} Flight not running", gf_shortTimeText()));
    }
    lf_handleSimMessages();
    lf_serveRequests();
    if (--app.pauseCount % passesPerSecond == 0) sendPosition();
    if (app.pauseCount < 1) {
        app.pauseCount = passesPerSecond;
        lf_refreshCounts();
        lf_workOutWeekSlot();
    }
}

bool lf_cycleStep() {
    if (sim.storeUserStand.take()) gf_storeUserStand();
    if (!flightRuns()) {
        lf_pausedStep();
        return !gf_stopping();
    }
    motionStep();
    if (app.secondTick.take()) {
        app.lastSecondTick = plat::steadyNow();
        return runSecond();
    }
    // A stop waits for the simulator's second, so that the step is whole, but not for one that does not come.
    return !gf_stopping() || plat::steadyNow() - app.lastSecondTick < silentSecondsNs;
}

void lf_beginCycle() {
    lf_serveRequests(); // what was asked for while the run waited, the destination among it
    lf_parkingStep(true);
    lf_readerWatch();
    app.secondCount = 0;
    app.lastSecondTick = plat::steadyNow();
    lf_workOutWeekSlot();
    gf_enableTraffic(true);
    plat::setEnabled(CALLSIGN_2_OBJECTID.control.controlId, true);
}

namespace {
struct FineTimer { // also when an exception ends the cycle
    FineTimer() { plat::beginTimerResolution(); }
    ~FineTimer() { plat::endTimerResolution(); }
    FineTimer(const FineTimer&) = delete;
    FineTimer& operator=(const FineTimer&) = delete;
};
} // namespace

void lf_mainCycle() {
    lf_beginCycle();
    plat::SteadyNs deadline = plat::addSaturating(plat::steadyNow(), tickNs);
    const FineTimer fine;
    while (lf_cycleStep()) {
        // After a late pass the deadline lies behind, and passes follow without a sleep until it is ahead again.
        if (deadline - plat::steadyNow() >= oneMs) plat::sleepUntil(deadline);
        if (app.secondTick) deadline = plat::steadyNow(); // the Ticks follow the simulator's second
        deadline = plat::addSaturating(deadline, tickNs);
    }
}

// The session with the simulator: opening and closing it, the thread that dispatches, and the requests of the other
// threads. The tables of the set-up are in setup.cpp, what is sent with each frame in framestep.cpp, what arrives is
// handled in dispatch.cpp. Requests come from the worker; all else runs on the simulator thread.

#include "airports/airports.h"
#include "app/app.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/clock.h"
#include "simconnect/transport.h"
#include "simlink/dispatch.h"

#include <fmt/format.h>

#include <exception>

constexpr DWORD configIndex = 0;
constexpr std::int64_t nsPerMs = 1'000'000;
constexpr int noAircraftError = 73;   // comes when the worker waits no longer
constexpr int failedRequestDelay = 9; // seconds until the next run

// ---- open, dispatch, close -----------------------------------------------------------------------------------

bool lf_openSession() {
    HANDLE handle = nullptr;
    if (SimConnect_Open(&handle, programName, nullptr, 0, nullptr, configIndex) != S_OK) return false;
    LockGuard hold(simLock);
    lf_setUpSession(handle);
    sim.handle = handle;
    return true;
}

// The handle is changed by this thread alone, so it reads it without the lock. CallDispatch runs outside the lock:
// the handlers take it themselves.
bool lf_dispatchArrived() {
    if (!sim.handle) return false;
    DispatchContext context;
    const HRESULT result = SimConnect_CallDispatch(sim.handle, lf_dispatch, &context);
    if (context.raised) std::rethrow_exception(context.raised);
    return result == S_OK;
}

static bool lf_dropSession() {
    LockGuard hold(simLock);
    const HANDLE handle = sim.handle;
    sim.handle = nullptr;
    return SimConnect_Close(handle) == S_OK;
}

void lf_closeSession() {
    if (!sim.handle) return;
    const bool closed = lf_dropSession();
    if (closed)
        gf_logRaw("SimConnect closed ok");
    else
        gf_logAlert("Closing SimConnect failed?!");
}

// ---- the thread ----------------------------------------------------------------------------------------------

static bool lf_threadEnds() { return gf_stopping() || simLife.threadStop.isSet(); }

static void lf_waitBeforeRetry() {
    constexpr int steps = 10, stepMs = 100; // a second in all, and a stop is seen within a step
    for (int i = 0; i < steps && !lf_threadEnds(); ++i) plat::sleepMs(stepMs);
}

namespace {
struct TimerResolution {
    TimerResolution() { plat::beginTimerResolution(); }
    ~TimerResolution() { plat::endTimerResolution(); }
    TimerResolution(const TimerResolution&) = delete;
    TimerResolution& operator=(const TimerResolution&) = delete;
};
} // namespace

// Until the thread is told to end, or the connection has ended (false). Not until a stop: the closing of the run
// still wants answers, and then tells this thread.
static bool lf_dispatchLoop() {
    const TimerResolution fine;
    while (!simLife.threadStop.isSet()) {
        const plat::SteadyNs next = plat::steadyNow() + nsPerMs;
        if (!lf_dispatchArrived()) return false;
        plat::sleepUntil(next);
    }
    return true;
}

static void lf_markDisconnected() {
    app.simRunning.clear();
    display.simRunning = false;
    display.simConnected = false;
    gf_repaint(Band::status);
}

static void lf_runSession() {
    gf_showMessage(fmt::format("Waiting for MSFS 20{} ...", MSFS_2020 ? "20" : "24"), true);
    gf_repaint(Band::status);
    while (!lf_threadEnds()) {
        if (!lf_openSession()) {
            lf_waitBeforeRetry();
            continue;
        }
        if (lf_dispatchLoop()) return;
        if (display.simConnected) {
            app.simRunning.clear();
            gf_simGone();
            return;
        }
        // It went before it said that it is a simulator: the same as none.
        lf_dropSession();
        lf_waitBeforeRetry();
    }
}

void lf_simThread(std::uint32_t runNumber) {
    gf_joinRun(runNumber);
    simconnect::setCancelled(lf_threadEnds);
    const auto failed = [](const std::string& text) {
        gf_showError(text);
        app.simRunning.clear();
        gf_simGone();
    };
    try {
        lf_runSession();
    } catch (const orvo::UserErrorException& error) {
        gf_showError(error.what()); // the user must act; the worker waits for it
        if (error.number() == noAircraftError) gf_requestStop(RunState::systemError, 0);
    } catch (const std::exception& error) {
        failed(error.what());
    } catch (...) {
        failed(fmt::format("Exception in {}", "SimClient"));
    }
    lf_askToStoreUserStand();
    lf_markDisconnected();
    lf_closeSession();
}

void gf_startSimThread() {
    gf_stopSimThread(true);
    simLife.threadStop.clear();
    simLife.thread = std::thread(lf_simThread, appLife.runNumber.load());
}

void gf_stopSimThread(bool join) {
    simLife.threadStop.set();
    if (join && simLife.thread.joinable()) simLife.thread.join();
}

// ---- failures ------------------------------------------------------------------------------------------------

void gf_simRequestFailed() {
    gf_showMessage("SimConnect request error", true);
    app.simConnectFailed.set();
    gf_requestStop(RunState::simConnectError, failedRequestDelay);
}

void gf_simGone() {
    if (gf_stopping()) return;
    gf_logLine(fmt::format("{} Flight Simulator no longer connected, {} will stop ...", gf_shortTimeText(),
                           programName));
    gf_requestStop(RunState::simClosed, 0);
}

// ---- requests of the worker ----------------------------------------------------------------------------------

// A failure ends the run. The log comes after the lock is free. Without a session there is nobody to ask, and what
// ended the session has told the user already.
template <class Call> static void lf_request(const char* failureText, Call call) {
    bool failed = false;
    {
        LockGuard hold(simLock);
        if (!sim.handle || app.simConnectFailed) return;
        failed = call(sim.handle) != S_OK;
    }
    if (!failed) return;
    gf_logLine(failureText);
    gf_simRequestFailed();
}

static HRESULT lf_askUser(HANDLE handle, SimRequest request, SimDefinition definition,
                          SIMCONNECT_PERIOD period) {
    return SimConnect_RequestDataOnSimObject(handle, request, definition, SIMCONNECT_OBJECT_ID_USER, period);
}

UserBlock gf_requestUserAircraft() {
    lf_request("SimConnect request user ac position fails",
               [](HANDLE handle) { return lf_askUser(handle, reqUser, defUser, SIMCONNECT_PERIOD_ONCE); });
    UserBlock user;
    {
        LockGuard hold(simLock);
        user = sim.userBlock;
    }
    const std::string stand = gf_standText(user.lat, user.lon); // here, since stands are the worker's
    if (stand != gf_displayText(DisplayText::userStand)) {
        gf_setDisplayText(DisplayText::userStand, stand);
        gf_repaint(Band::status);
    }
    return user;
}

void gf_requestUserNames() {
    lf_request("SimConnect request user ac title fails",
               [](HANDLE handle) { return lf_askUser(handle, reqTitle, defTitle, SIMCONNECT_PERIOD_ONCE); });
    lf_request("SimConnect reques user ac model fails",
               [](HANDLE handle) { return lf_askUser(handle, reqModel, defModel, SIMCONNECT_PERIOD_ONCE); });
}

void gf_requestOnGround() {
    lf_request("SimConnect request ac gnd/air fails", [](HANDLE handle) {
        return lf_askUser(handle, reqOnGround, defOnGround, SIMCONNECT_PERIOD_SECOND);
    });
}

void gf_requestInRange(std::int32_t radiusMeters) {
    lf_request("SimConnect request ac within range fails", [&](HANDLE handle) {
        return SimConnect_RequestDataOnSimObjectType(handle, reqInRange, defInRange,
                                                     static_cast<DWORD>(radiusMeters),
                                                     SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    });
}

void gf_requestStaticCg(std::uint32_t objectId) {
    lf_request("SimConnect request StaticCG fails", [&](HANDLE handle) {
        return SimConnect_RequestDataOnSimObject(handle, reqStaticCg, defStaticCg, objectId,
                                                 SIMCONNECT_PERIOD_ONCE);
    });
}

void gf_allLightsToggle(std::uint32_t objectId) {
    lf_request("SimConnect gf_allLightsToggle fails", [&](HANDLE handle) {
        return SimConnect_TransmitClientEvent(handle, objectId, evAllLightsToggle, 0, simEventGroup, 0);
    });
}

bool gf_setFlightPlan(std::uint32_t objectId, const std::string& path) {
    LockGuard hold(simLock);
    return SimConnect_AISetAircraftFlightPlan(sim.handle, objectId, path.c_str(), reqFlightPlan) == S_OK;
}

// Like a position: one that is lost is not worth a stop.
void gf_setSpoilers(std::uint32_t objectId, const SpoilerBlock& block) {
    SpoilerBlock copy = block;
    LockGuard hold(simLock);
    if (objectId > sim.userObjectId)
        SimConnect_SetDataOnSimObject(sim.handle, defSpoilers, objectId, 0, 0, sizeof copy, &copy);
}

#pragma once
// The application frame: the process, the run, their state, and the ways to stop. A run is one pass of the worker
// thread from lf_startRun to lf_closingDown; the window and the log live longer.

#include "app/geo.h"
#include "platform/lock.h"
#include "platform/shared_values.h"

#include <cstdint>
#include <string>

enum class RunState : std::int32_t {
    notYetSet = 0,
    simClosed = 1,
    newFlight = 2,
    newSettings = 3,
    userClosed = 4,
    simConnectError = 5,
    readerError = 6,
    systemError = 7,
};
const char* gf_runStateText(RunState state); // "NOT YET SET", ...

constexpr const char* programName = "Velloray";
constexpr unsigned messageStartRun = 32769;   // posted to the window: start a run
constexpr unsigned messageEndProcess = 32770; // posted to the window: save its place and end

// A half hour of the week, UTC: day 1 (Monday) to 7 (Sunday), hh 0 to 47. The half hour changes 30 seconds early, and
// the day with it.
struct WeekSlot {
    std::int32_t day = 0, hh = 0;
    bool operator==(const WeekSlot&) const = default;
};
WeekSlot gf_weekSlot(std::int64_t utcSeconds);

// What lives as long as the process.
struct AppProcess {
    Flag windowClosed;      // the user closed the window; no reset clears it; ends countdowns, bars new runs
    Flag closingFailed;     // a closing ended in an exception: closing the window ends the process
    Flag restartAfterClose; // written by lf_closingDown; read by lf_readSetup: this run is a restart
    Relaxed<std::uint32_t> runNumber{
        1}; // of the present run; a stop asked by a thread of an older run is ignored
    Relaxed<std::int32_t>
        tickCount; // passes of the motion step, 10 ms each; worker writes; not reset by a run
    Flag
        newLiveriesRequest; // the window: what is known of the liveries is void; taken by the next run's start
    Flag newAirportsRequest;        // the same of the scan of add-on airports
    Relaxed<bool> realTrafficLocal; // RealTraffic is installed on this computer; worker, once per run
    bool dbaseRead = false;         // worker
};
extern AppProcess appLife; // owner: app

// What lives as long as a run; back to its start values by assignment in lf_resetForRestart.
struct AppRun {
    Flag stopRequested;    // the run is to end; every longer loop tests it
    Flag userClosing;      // the user closed the window in this run
    Flag simConnectFailed; // a SimConnect request failed in this run
    Flag simRunning;       // the simulator reports a running flight; simulator thread writes
    Flag secondTick;       // set by the simulator's once-per-second message; taken by the cycle
    Relaxed<RunState> runState{RunState::notYetSet};
    Relaxed<std::int32_t> restartDelay; // seconds of the countdown
    Flag rtNotYetConnected{true};       // RealTraffic has not connected in this run

    Relaxed<std::int32_t> secondCount; // second steps; worker
    Relaxed<std::int32_t> messageAge;  // second steps, never reset within a run; worker
    bool flightPaused = false;         // worker
    std::int32_t pauseCount = 100;     // worker
    std::int64_t lastSecondTick = 0;   // steady nanoseconds of the last second step; worker
    SeqLocked<WeekSlot> weekSlot;      // worker writes

    Relaxed<double> rangeNm{40}; // the range in force, nautical miles; see gf_setRange
    Relaxed<std::int32_t> rangeMeters{74080};
    Relaxed<std::int32_t> savedRange{40}; // the user's own, behind AUTO_RANGE; written under its lock
    std::int32_t liveLimit = -1;          // MAX_LIVE in force at the start; worker

    // Requests of the window, served by lf_serveRequests. Each is taken before it is served, and what it is about is
    // then read from the parameters, so that one that comes in meanwhile is served the next time.
    Flag reReadRequest;      // the list of park airports
    Flag flushRequest;       // all static aircraft go
    Flag blockRequest;       // BLOCK_CALLSIGN is new
    Flag objectIdRequest;    // CALLSIGN_2_OBJECTID is new
    Flag forgetTypesRequest; // MATCHING_DEPTH reaches further
    Flag navLightsRequest;   // NAV_LIGHTS_WHILE_PARKED is new
    Flag trimLiveRequest;    // MAX_LIVE is new
    Flag destinationRequest; // DESTINATION is new, or empty
    Flag autoRangeRequest;   // AUTO_RANGE is on
    Flag reparkRequest;      // a renewal of static parking; served in two visits of the 15-second schedule
    bool reparkFirstPhase = false;   // worker
    Relaxed<bool> parametersChanged; // a parking setting, since the learned file was last saved
};
extern AppRun app; // owner: app

// Stopping -----------------------------------------------------------------------------------------------------
// The one way to stop a run: the first cause wins. Reason and delay are in place before the flag is seen.
void gf_requestStop(RunState state, std::int32_t delaySeconds);
void gf_fatalError(const std::string& text);                             // shows the error; SYSTEM ERROR
void gf_readerStopped(const std::string& name, const std::string& text); // READER ERROR, a new run in 15 s
void gf_userClosesWindow();                                              // the close box, SIGTERM, SIGINT
bool gf_stopping();                          // a stop is under way, or the user closes the window
bool gf_sleepUnlessStopped(std::int64_t ms); // false as soon as a stop is seen, within 100 ms

// A thread that a run starts says so first, so that its stops count for that run alone.
void gf_joinRun(std::uint32_t runNumber);

// The range (range.cpp). LATERAL_RANGE, AUTO_RANGE and the saved range change together under one lock; any thread.
void gf_setRange(double nm); // both forms of the range
// LATERAL_RANGE, limited and shown, and both forms. The user's own is the one that comes back.
void gf_setUserRange(std::int32_t nm);
void gf_setAirportRange(std::int32_t nm);
void gf_setAutoRange(bool on);          // on: saves the user's range; off: gives it back. With both boxes
void gf_takeAutoRange(std::int32_t nm); // what the automatic range has found; nothing while it is off

// Runs ---------------------------------------------------------------------------------------------------------
void gf_startRunThread(); // message 32769: makes the worker
void gf_endProcess();     // message 32770: saves the window's place, closes the log, ends the loop
int gf_main();            // the process: guard, log, window, loop; its exit code

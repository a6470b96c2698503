#pragma once
// The one door to the simulator: the session and its thread, the queues to it and the messages from it. The
// simulator thread never runs the engine: what concerns aircraft leaves here as a SimMessage.

#include "app/geo.h"
#include "platform/lock.h"
#include "platform/shared_values.h"
#include "simconnect/SimConnect.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

struct StringParameter;

// Numbers of the program's definitions, events and requests.
enum SimDefinition : DWORD {
    defSpoilers = 401,
    defPosition = 402,
    defUser = 403,
    defInRange = 404,
    defStaticCg = 405,
    defLights = 406,
    defTitle = 407,
    defModel = 408,
    defOnGround = 409
};
enum SimEvent : DWORD {
    evSim = 201,
    evObjectAdded = 202,
    evObjectRemoved = 203,
    evFrame = 204,
    evFlightLoaded = 205,
    evBeaconLights = 206,
    evNavLights = 207,
    evTaxiLights = 208,
    evStrobes = 209,
    evLandingLights = 210,
    evCabinLights = 211,
    evLogoLights = 212,
    evAllLightsToggle = 213,
    evFreezeLatLon = 214,
    evFreezeAltitude = 215,
    evFreezeAttitude = 216,
    evFlaps = 217,
    evSpoilers = 218,
    evGear = 219,
    evEngineStart = 220,
    evEngineShutdown = 221,
    evThrottle = 222
};
enum SimRequest : DWORD {
    reqInRange = 101,
    reqStaticCg = 102,
    reqRelease = 103,
    reqCreate = 104,
    reqRemove = 105,
    reqTitle = 106,
    reqModel = 107,
    reqOnGround = 108,
    reqUser = 109,
    reqFlightPlan = 110
};
constexpr DWORD simEventGroup = 301;

#pragma pack(push, 1)
struct UserBlock {                                                         // definition 403, 96 bytes
    double lat = 0, lon = 0;                                               // degrees
    double pitch = 0, bank = 0, heading = 0;                               // radians
    double alt = 0, agl = 0;                                               // feet
    double groundSpeed = 0;                                                // knots
    std::int64_t zuluTime = 0, zuluDay = 0, zuluYear = 0, lightStates = 0; // seconds, day of year, year, mask
};
struct PositionBlock {           // definition 402, 64 bytes
    double lat, lon;             // degrees
    double pitch, bank, heading; // radians
    double alt;                  // feet
    double vsFps, tas;           // feet per second, knots
};
struct SpoilerBlock {                      // definition 401, 24 bytes
    double spoilers, throttle1, throttle2; // percent
};
#pragma pack(pop)
static_assert(sizeof(UserBlock) == 96 && sizeof(PositionBlock) == 64 && sizeof(SpoilerBlock) == 24);

struct PositionUpdate {
    PositionBlock block;
    std::uint32_t objectId;
};
struct QueuedEvent {
    std::uint32_t objectId, event, data;
};
struct CreationRecord {
    double lat = 0, lon = 0, alt = 0, pitch = 0, bank = 0, heading = 0; // degrees and feet
    std::uint32_t onGround = 0, airspeed = 0;
    std::string tailNumber; // the callsign
    std::string_view title; // owned by the livery store
    std::uint32_t hexid = 0;
};
struct PendingCreation {
    DWORD packetId = 0;
    std::uint32_t hexid = 0;
    bool givenUp = false;    // its object is removed should it still turn up
    std::string tailNumber;  // as the simulator gives it back, at most 12 bytes
    std::int64_t sentAt = 0; // steady nanoseconds; given up after 60 s
};

// From the simulator thread to the engine.
enum class SimMessageKind : std::int32_t {
    liveAppeared = 0,   // objectId, hexid, a = height above ground in feet
    staticAppeared = 1, // objectId, hexid
    removed = 2,        // objectId
    heightReport = 3, // objectId, hexid = on-ground flag, a = ground altitude, b = height above ground, feet
    staticCg = 4,     // objectId, a = centre of gravity above ground in feet, b = pitch in radians
    creationFailed = 6, // hexid; counter 1: the title itself is refused
};
struct SimMessage {
    std::uint32_t objectId = 0, hexid = 0;
    std::int32_t counter = 0;
    SimMessageKind kind = SimMessageKind::removed;
    double a = 0, b = 0;
};

extern Lock simLock; // every SimConnect call but CallDispatch, and all that is marked with it

// What lives for a run; reset by assignment under simLock. owner: simlink
struct SimLinkRun {
    // Guarded by simLock.
    HANDLE handle = nullptr;
    std::vector<PositionUpdate> draining; // the update queue that the frame step empties
    std::vector<QueuedEvent> events;
    std::vector<CreationRecord> creations;
    std::vector<std::uint32_t> removals;
    std::vector<PendingCreation> pending;
    std::vector<std::uint32_t> newObjects; // added, and not yet seen in an answer of request 101
    UserBlock userBlock;
    LatLon userPrevPosition; // of the last answer
    std::string userTitle;   // simulator thread alone

    // Read from any thread.
    Relaxed<bool> userOnGround, userOnGroundKnown;
    Relaxed<std::uint32_t> userObjectId{2};
    Relaxed<std::int64_t> simTimeEpoch; // seconds since 1970, UTC
    Relaxed<float> frameRate;           // frames per second
    std::int64_t lastFrameAt = 0;       // steady nanoseconds of the last frame step; guarded by simLock
    int framesCounted = 0;              // simulator thread
    std::uint64_t badMessages = 0;      // shorter than their record, or not finite; simulator thread
    Flag storeUserStand;                // the worker is to store the stand under the user
};
extern SimLinkRun sim;

struct SimLinkProcess {
    Relaxed<double> userRadiusNm;       // half the user's wing span; kept over a new run
    Relaxed<bool> userModelKnown{true}; // false: the largest span stands for it; kept over a new run
    std::thread thread;                 // worker: the simulator thread of the run, joined by the closing
    Flag threadStop;
};
extern SimLinkProcess simLife;

extern std::vector<PositionUpdate> fillingUpdates; // the engine fills it during a Tick; worker

void lf_presizeSimQueues();
void lf_simThread(std::uint32_t runNumber); // thread function
void gf_startSimThread();                   // an earlier one is asked to stop and joined first
void gf_stopSimThread(bool join);
// The same road by hand, on the caller's thread: open and set up (false: no simulator), then dispatch what arrived.
bool lf_openSession();
bool lf_dispatchArrived(); // raises what a handler raised; false: the connection has ended
void lf_closeSession();
std::int64_t gf_epochOfZulu(std::int64_t year, std::int64_t dayOfYear,
                            std::int64_t secondOfDay); // 1970 to 2100

UserBlock gf_requestUserAircraft(); // sends request 109; gives the answer to the call before
void gf_requestUserNames();
void gf_requestOnGround(); // the once-per-second message
void gf_requestInRange(std::int32_t radiusMeters);
void gf_requestStaticCg(std::uint32_t objectId);
bool gf_setFlightPlan(std::uint32_t objectId, const std::string& path);
void gf_setSpoilers(std::uint32_t objectId, const SpoilerBlock& block);
void gf_allLightsToggle(std::uint32_t objectId); // sent at once
void gf_simRequestFailed();
void gf_simGone();

// The installation of the selected simulator. Paths that cannot be looked at (other than "not there") throw
// std::filesystem::filesystem_error.
StringParameter& gf_installPathParameter();                   // its packages folder, without "Community"
const char* gf_simPackageId();                                // in the Store
const char* gf_simFolderName();                               // of the Steam edition
const char* gf_ownPackagesFolder();                           // "Official" or "Official2024"
std::filesystem::path gf_simSubFolder(std::string_view name); // below its packages folder
bool gf_isPackagesFolder(const std::filesystem::path& path);
std::filesystem::path gf_findPackagesPath(); // empty: none; called when the parameter is empty
// A path that the user has confirmed; "" clears the parameter. An accepted one asks for a new run. Message loop; for
// window/.
void lf_newSimPath(StringParameter& parameter, const std::string& text);

// Queues to the simulator, each call one hold of simLock. The frame step leaves out what names the user's aircraft.
void gf_queueEvent(std::uint32_t objectId, std::uint32_t event, std::uint32_t data);
void gf_queueEvents(const QueuedEvent* events, std::size_t count); // in order, under one hold
void gf_setNavLights(std::uint32_t objectId, bool on);
void gf_setCabinLights(std::uint32_t objectId, bool on);
void gf_queueCreation(CreationRecord record);
void gf_queueRemoval(std::uint32_t objectId);
void gf_exchangeUpdates(); // fillingUpdates with the draining queue; never waits at 50 frames or less
void gf_dropUpdates();     // empties both
void lf_frameStep();       // from the dispatch of a Frame event

// Messages to the engine, under a lock of their own.
void gf_postSimMessage(const SimMessage& message);
void gf_takeSimMessages(std::vector<SimMessage>& out); // replaces out; keeps both capacities

#pragma once
// Live aircraft: the records, the work lists, and the life of each aircraft from its first report to its removal.
// Everything here belongs to the worker; the simulator thread reaches it by SimMessages alone. Angles in radians,
// altitudes in feet, steps per tick of 10 ms, distances in nautical miles unless a name says otherwise. Records have
// no stable place: no pointer into a list survives a Tick.

#include "airports/airports.h"
#include "engine/stream.h"
#include "liveries/liveries.h"
#include "simlink/simlink.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

enum class FlightState : std::int32_t {
    pushingBack = 0, // moving backwards from a stand
    pushedBack = 1,  // push back finished, standing, waiting for the feed to move on
    taxi = 2,        // on the ground, following the stream
    takeOff = 3,     // rotation and first climb
    flying = 4,
    parking = 5, // driving to a chosen stand
    parked = 6,
    birth = 7, // new record, no livery and no simulator object yet
};
enum class SimState : std::int32_t {
    buffer = 0,          // exists only in the engine; its stream is filling
    adding2sim = 1,      // creation asked of the simulator, object not yet ready
    active = 2,          // an object in the simulator that the engine moves
    liveryRespawn = 3,   // its object is being removed so that it can be created again
    removingFromSim = 4, // its object is being removed for good
};
const char* gf_flightStateName(FlightState fs); // "pushing_back", ...
const char* gf_simStateName(SimState st);       // "buffer", ...

constexpr std::int32_t noThrustSent = 5, noFlapsSent = 4;

struct AcBase : AcIdentity {
    double radiusNm = 0;                     // half the size of the type
    double staticCg = 0;                     // centre of gravity above the ground, feet
    double staticPitch = 0;                  // of the model at rest
    double rotatePitch = 0, climbPitch = 0;  // end of rotation, first climb; negative is nose up
    double groundTurnRate = 0, turnRate = 0; // heading change on the ground per tick: normal, in force
    double climbStep = 0;                    // altitude change in take-off per tick
    double towSpeed = 0;                     // knots, push back and the last metres to a stand
    std::uint32_t hexid = 0;                 // 10001 and above: live; up to 10000: static
    AcCategory category = AcCategory::light;
    std::string_view title; // owned by the livery store; empty until matched
    std::int32_t flareTicks = 0, derotateTicks = 0, rotateTicks = 0, liftoffTicks = 0;
    bool cargo = false;                                  // a freighter
    bool titleIsFsltl = false;                           // throttle sign of such models differs
    std::uint32_t objectId = 0;                          // the simulator's; 0 when there is none
    double standLat = 0, standLon = 0, standHeading = 0; // degrees, degrees, radians; all 0 when none
    WeekSlot parkedSince;
    std::uint32_t standId = 0; // 0 when none
    SimState st = SimState::buffer;
    std::int32_t thrustIndex = noThrustSent; // last throttle setting sent, 0 to 4
    std::int32_t flapsIndex = noFlapsSent;   // last flaps setting sent, 0 to 3
    bool standCargo = false;
    bool removeWhenSpawned = false; // removal was asked while the simulator was still creating the object
    bool eraseNow = false;          // to be dropped from the list, it has no object
    bool eraseFromQueue = false;    // same, taken out of a creation queue
};

struct ParkedAc : AcBase {};

// A quadratic curve in local metres: north and east of its origin; NaN in the control point while none is in force.
struct GroundCurve {
    double originLat = 0, originLon = 0; // degrees
    double endNorth = 0, endEast = 0;
    double controlNorth = std::numeric_limits<double>::quiet_NaN();
    double controlEast = std::numeric_limits<double>::quiet_NaN();
    bool inForce() const { return !std::isnan(controlNorth); }
};

struct LiveAc : AcBase {
    // The position block, in the order of the simulator's definition.
    double lat = 0, lon = 0, pitch = 0, bank = 0, heading = 0, alt = 0, vsFps = 0, tas = 0;
    PointStream stream;
    double lastFeedTime = 0;      // seconds, of the last feed record taken
    std::int64_t parkedAt = 0;    // 100 ns units: parked, or last confirmed at its stand
    std::int32_t extendCount = 0; // points still to be invented; 0 none, negative: no more may be
    std::int32_t holdStart = 0;   // tick
    FlightState fs = FlightState::birth, fsPrev = FlightState::birth; // change fs through setFlightState
    bool feedAtStand = false, onGround = false, hasFlightPlan = false, avoidUser = false, holding = false;
    double latStep = 0, lonStep = 0, pitchStep = 0, bankStep = 0, headingStep = 0, altStep = 0; // per tick
    double vsTarget = 0, tasTarget = 0; // feet per minute and knots of the current segment
    GroundCurve curve;
    double curveT = 0, curveStep = 0; // place on the curve, 0 to 0.999999, and its step per tick
    double curveAngle = 0;            // degrees that the curve turns through
    StreamPoint savedPoint;           // to go to after a push back
    double lastParkLat = 0, lastParkLon = 0;
    std::int32_t dueLead = 1000,
                 dueLag = 1000;      // ticks that a segment's end may move before and behind the feed's
    std::int32_t takeoffCounter = 1; // ticks in rotation, counts down through 0 and on
    std::int32_t pushCounter = 0;
    std::int32_t recedeCount = 0;
    double targetHeading = 0;
    double agl = 2500.0;   // feet, from the simulator
    double aboveField = 0; // feet, in the flare
    double touchdownHeading = 0;
    double pushRefDist = 0;
    double firstParkDist = 0, lastParkDist = 0;
    double checkedLat = 0, checkedLon = 0; // place at the last check against static aircraft
    double headingError = 0;               // degrees between heading and targetHeading
    double forcedHeading = 0;
    bool forcedHeadingSet = false;
    bool pushTurnRight = false, pushTurnKnown = false;
    double fieldElevation = 0;
    bool fieldElevationSet = false;
    std::int32_t flareStage = 0; // 0 to 4
    bool landing = false, landed = false, towed = false, goingAround = false, departing = false;
    bool highLightsSet = false, lowLightsSet = false, derotating = false, landingRoll = false;
    bool leavingStand = false, headingLag = false;
};

// The old value goes to fsPrev; writing the value that fs already holds changes neither.
void setFlightState(LiveAc& ac, FlightState fs);

struct LearnedAc { // a sighting that was learned, so that the next one soon after is not
    std::uint32_t hexid = 0;
    WeekSlot slot;
};

struct StanceQuestion { // an object whose centre of gravity over the ground is to be asked for
    std::uint32_t objectId = 0;
    std::int32_t asked = 0; // tick
    int times = 0;
};

struct WaitRecord { // an object that appeared and gets its lights and start state
    SimMessage message;
};

struct ShownObject {      // the answer to the user's question for a callsign
    std::string callsign; // "" for none
    std::uint32_t objectId = 0;
};

// What lives for a run; reset by assignment. owner: engine; worker
struct EngineRun {
    std::vector<LiveAc> live;
    // The numbers by which records are found, in the order of `live`: a Tick can bring hundreds of height reports,
    // and these arrays are a few cache lines where the records are a megabyte. records.cpp alone keeps them right:
    // add with lf_appendLive, drop with lf_eraseLive or lf_compactLive, change an object id with lf_setObjectId.
    std::vector<std::uint32_t> liveHexids, liveObjectIds;
    std::vector<ParkedAc> parked;
    std::vector<std::uint32_t> spawnRequests; // hexids, last in first out
    std::deque<CreationRecord> creationQueue, staticCreationQueue;
    std::deque<std::uint32_t> removalQueue; // object ids
    std::vector<WaitRecord> waitList;
    std::vector<StanceQuestion> stanceQuestions; // the first is being asked, the others wait for its answer
    std::deque<std::uint32_t> newArrivals;       // hexids
    std::unordered_set<std::string> ghosts;      // callsigns with their "_"; never spawned again
    std::unordered_set<std::string> noLivery;    // model and regcode
    std::unordered_set<std::string, TextHash, std::equal_to<>> failedTitles; // refused by the simulator
    std::vector<TrafficRecord> taken;                                        // reports of this Tick
    std::vector<SimMessage> messages;                                        // of this Tick
    std::vector<LearnedAc> learned; // the last sighting of each aircraft
    ShownObject shownObject;        // in the window
    UserBlock user;                 // the worker's copy of the user's aircraft
    LatLon userCheckedAt;           // its place at the last conflict check on the ground
};
extern EngineRun engine;

// What lives as long as the process. owner: engine; worker
struct EngineProcess {
    std::unordered_map<std::uint32_t, std::string_view> hexidTitles; // a returning aircraft keeps its title
    std::array<std::uint32_t, 6> matchCounts{};                      // live aircraft per matching step
    std::set<std::string> failedCreations;                           // type and airline of refused titles
};
extern EngineProcess engineLife;

// Counters for the replay's report: nothing unknown passes without a trace. The reasons from `category` to
// `unknownType` are met while filing and count reports, the others count records.
enum class NotSpawned {
    emptyStream,
    singlePoint,
    ghost,
    liveLimit,
    blocked,
    noLivery,
    noCallsign,
    standTaken,
    category,
    nearGround,
    sameCallsign,
    unknownType,
    removed, // taken back while it was still in the buffer
    count
};
enum class Removed {
    streamEnd,
    range,
    conflict,
    farthest,
    stuck,
    feedGone,
    holdingOver,
    objectLost,
    simRemoved,
    liveryFailed,
    airportLeft, // the park airport was given up
    userConflict,
    standClaimed, // another aircraft has its stand, or parks too close to it
    feedJumped,   // away from its stand
    maxParked,
    stale, // parked, and not reported for too long
    ghost,
    other,
    count
};
extern const char* const notSpawnedNames[]; // "empty_stream", ...
extern const char* const removedNames[];    // "stream_end", ...
struct EngineCounters {
    std::uint64_t seen = 0, spawned = 0, ready = 0;
    std::uint64_t notSpawned[static_cast<int>(NotSpawned::count)] = {};
    std::uint64_t removed[static_cast<int>(Removed::count)] = {};
};
extern EngineCounters engineCounters; // owner: engine; worker; for the process

// ---- called by the main cycle, in this order in each Tick ------------------------------------------------------
void lf_presizeEngine();
void lf_handleSimMessages();  // takes and serves the simulator's messages, and the wait after creation
void lf_updateLiveAircraft(); // moves each aircraft, drops finished records, exchanges the update queues
void lf_paceQueues();         // removals and creations, by the tick counter
void lf_fileFeedRecords();    // at most 2 reports
void lf_serveSpawnRequest();  // one entry of the spawn requests to the creation queue

// ---- called by the second step and the schedules ----------------------------------------------------------------
void lf_serveNewArrival();                               // one entry of the list of new arrivals
void lf_userConflicts();                                 // aircraft in the way of the user
void lf_parkedConflicts();                               // static aircraft in the way of live ones
void lf_removeStaticDoubles();                           // every 61 seconds
void lf_removeBlocked();                                 // the first aircraft with BLOCK_CALLSIGN
void lf_findObjectId();                                  // of CALLSIGN_2_OBJECTID, for the window
void lf_forgetObjectId(const AcBase& ac, bool respawns); // its object goes: the look-up's answer is void
void lf_writeCallsignFile();                             // every 62 seconds; the loader thread writes
void gf_removeCallsignFile();                            // a failure is logged
void lf_trimLive();
void lf_autoRange();
void lf_refreshCounts();
void lf_removeAllForLostFeed(); // RealTraffic has gone
void lf_forgetTypesWithoutLivery();
void lf_endEngineRun(); // at the closing: ghost list, flight plans
void lf_resetEngine();  // the lists of a run; hexidTitles stay

// ---- records and filing (records.cpp, filing.cpp) ---------------------------------------------------------------
// Ticks are signed 32-bit numbers that may pass 2^31: sums and differences wrap.
inline std::int32_t lf_tickAfter(std::int32_t tick, std::int32_t ticks) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(tick) + static_cast<std::uint32_t>(ticks));
}
inline std::int32_t lf_ticksBetween(std::int32_t from, std::int32_t to) { // negative when `to` is earlier
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from));
}

struct CategoryLimits {
    double bank;                // largest, radians
    double bankRate, pitchRate; // largest, radians per tick
    double takeoffSpeed;        // knots, the lowest of a true take-off
};
const CategoryLimits& lf_categoryLimits(AcCategory category);

LiveAc lf_makeLiveAc(const TrafficRecord& record); // fields from the type and the category's constants
LiveAc& lf_appendLive(LiveAc&& ac);
void lf_eraseLive(std::size_t place); // the last record moves into its place
void lf_compactLive();                // drops what is flagged eraseNow or eraseFromQueue; keeps the order
void lf_compactParked();              // the same of the static list
void lf_setObjectId(LiveAc& ac, std::uint32_t id); // the one writer of a live aircraft's objectId
LiveAc* lf_findByHexid(std::uint32_t hexid);       // nullptr: not known
LiveAc* lf_findByObjectId(std::uint32_t objectId); // nullptr: not known, or 0
ParkedAc* lf_findParkedByHexid(std::uint32_t hexid);
void lf_clearStand(AcBase& ac);           // the stand fields, not the stand's mark
std::string lf_acLabel(const AcBase& ac); // callsign, registration, airline and type, for log lines
void lf_fileFeedRecord(TrafficRecord& record);
bool lf_matchFeedRecord(LiveAc& ac, TrafficRecord& record); // true when it belongs to ac, taken or dropped
void decodeExisting(LiveAc& ac, StreamPoint point);
void decodeNew(TrafficRecord& record);
bool lf_checkRepeat(LiveAc& ac, StreamPoint& point);

// ---- spawn, respawn, removal (spawn.cpp, identity.cpp, removal.cpp) ---------------------------------------------
void lf_checkSpawn(LiveAc& ac);
void spawnLiveAc(LiveAc& ac);
bool lf_objectReady(LiveAc& ac, const SimMessage& message);
void lf_activate(LiveAc& ac);
void removeAircraftFromSim(AcBase& ac, Removed why); // asked twice, it removes and counts once
void lf_beginRemoval(AcBase& ac);                    // its object goes; for the wait after creation
bool lf_removeFarthest(double beyondNm); // the active aircraft farthest from the user, if beyond that
std::size_t lf_countActive();
void liveryRespawn(LiveAc& ac);
bool lf_updateIdentity(LiveAc& ac, const TrafficRecord& record); // false: a respawn began
void lf_objectRemoved(std::uint32_t objectId);
void lf_liveryFailed(std::uint32_t hexid, bool titleRefused);
void lf_removeGhost(std::string_view callsign);
bool lf_realExists(std::string_view ghostCallsign);
bool lf_isGhostCallsign(std::string_view callsign); // ends in "_"
bool lf_validCallsign(std::string_view callsign);

// ---- motion (motion.cpp, air.cpp, landing.cpp, extend.cpp, ground.cpp, config.cpp) -------------------------------
bool updateLiveAc(LiveAc& ac); // one tick; true: the record is to be erased
void nextPosMain(LiveAc& ac);
void lf_setThrottle(AcBase& ac, int index);
void lf_setFlaps(AcBase& ac, int index);
void lf_setGear(LiveAc& ac, bool down);
void lf_setSpoilers(LiveAc& ac, std::uint32_t value);
void lf_setLights(std::uint32_t objectId,
                  const int (&values)[7]); // nav beacon landing taxi strobes logo cabin
bool checkExtendingSituations(LiveAc& ac, const StreamPoint& point);
bool checkNewPosDuringLanding(LiveAc& ac, StreamPoint& point);
void lf_goAroundAfterTouchdown(LiveAc& ac);
void lf_startTakeoffRoll(LiveAc& ac);
void removeSmallStop(LiveAc& ac, const StreamPoint& point);
bool lf_checkLeaveStand(LiveAc& ac, StreamPoint& point); // of a parked aircraft: true stores the point
void lf_onHeightReport(const SimMessage& message);
void lf_askStance(std::uint32_t objectId); // how it stands: now, or once the objects before it have answered
void lf_serveStanceQuestions();            // each Tick
void lf_onStaticCg(const SimMessage& message);
void lf_touchdown(LiveAc& ac);

// ---- stands and conflicts (parking.cpp, learning.cpp, conflicts.cpp); more in parking.h ----------------------------
void lf_parkedAtCreation(LiveAc& ac); // its object has appeared at its stand
void lf_shutDownAtStand(AcBase& ac);  // its systems, live or static
void lf_freeStand(const AcBase& ac);  // the stand's occupied mark; no stand: nothing
void lf_arrivalCheck(LiveAc& ac);     // the other flight of its turn-round; a static double goes
void lf_learnSoftStand(const LiveAc& ac, bool force); // it was seen near the airport, without a stand

// ---- flight plan files (flightplan.cpp) ---------------------------------------------------------------------------
std::string gf_planFileName(std::uint32_t objectId);
bool gf_writeFlightPlan(const std::string& pathUtf8, const LiveAc& ac);
void lf_giveFlightPlan(LiveAc& ac);
void lf_removeFlightPlan(const LiveAc& ac);
bool lf_makeFlightPlanFolder();
bool gf_removeFlightPlanFolder();

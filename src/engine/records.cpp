// The records of the engine: its global objects, the constants of each category, the making of a record from its
// first report, and the finding of records by their numbers. Keeps the number arrays beside the live list. Worker.

#include "engine/engine.h"
#include "engine/trace.h"

#include "platform/random.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <type_traits>

EngineRun engine;
EngineProcess engineLife;
EngineCounters engineCounters;
void (*engineTrace)(std::uint32_t hexid, std::string_view what) = nullptr;

const char* const notSpawnedNames[] = {"empty_stream", "single_point", "ghost",         "live_limit",
                                       "blocked",      "no_livery",    "no_callsign",   "stand_taken",
                                       "category",     "near_ground",  "same_callsign", "unknown_type",
                                       "removed"};
const char* const removedNames[] = {
    "stream_end",    "range",       "conflict",    "farthest",      "stuck",        "feed_gone",
    "holding_over",  "object_lost", "sim_removed", "livery_failed", "airport_left", "user_conflict",
    "stand_claimed", "feed_jumped", "max_parked",  "stale",         "ghost",        "other"};
static_assert(std::size(notSpawnedNames) == static_cast<std::size_t>(NotSpawned::count));
static_assert(std::size(removedNames) == static_cast<std::size_t>(Removed::count));

// Compaction and erasing move records about; a copy would allocate in a Tick.
static_assert(std::is_nothrow_move_constructible_v<LiveAc> && std::is_nothrow_move_assignable_v<LiveAc>);

const char* gf_flightStateName(FlightState fs) {
    static constexpr const char* names[] = {"pushing_back", "pushed_back", "taxi",   "take_off",
                                            "flying",       "parking",     "parked", "birth"};
    const auto i = static_cast<std::size_t>(fs);
    return i < std::size(names) ? names[i] : "?";
}

const char* gf_simStateName(SimState st) {
    static constexpr const char* names[] = {"buffer", "adding2sim", "active", "liveryrespawn",
                                            "removingfromsim"};
    const auto i = static_cast<std::size_t>(st);
    return i < std::size(names) ? names[i] : "?";
}

void setFlightState(LiveAc& ac, FlightState fs) {
    if (ac.fs == fs) return;
    lf_trace(ac.hexid, "{} -> {}", gf_flightStateName(ac.fs), gf_flightStateName(fs));
    ac.fsPrev = ac.fs;
    ac.fs = fs;
}

// ---- constants of the categories ---------------------------------------------------------------------------------

struct CategoryConstants {
    double rotatePitch, climbPitch; // degrees, negative is nose up
    double groundTurnRate;          // degrees per second
    std::int32_t flareTicks, derotateTicks, rotateTicks, liftoffTicks;
    double climbStep; // feet per tick
    double towSpeed;  // knots
};
static constexpr std::array<CategoryConstants, categoryCount> categoryConstants{{
    {-9, -15, 15, 250, 250, 100, 200, 0.5, 5},    // Light
    {-8, -18, 10, 300, 300, 200, 250, 0.75, 4.5}, // Buzjets
    {-6, -16.5, 7, 400, 350, 200, 300, 0.6, 4},   // Large
    {-5, -12.5, 5, 450, 450, 250, 400, 0.5, 3},   // Heavy
    {-6, -20, 10, 150, 150, 100, 200, 1.0, 4.5},  // HighPerf
    {-20, -30, 20, 100, 100, 100, 100, 0.75, 5},  // Rotorcraft
}};
static constexpr double perTick = degToRad / 100; // degrees per second to radians per tick
static constexpr std::array<CategoryLimits, categoryCount> categoryLimits{{
    {40 * degToRad, 3.5 * perTick, 1 * perTick, 90},
    {35 * degToRad, 2.75 * perTick, 0.85 * perTick, 110},
    {30 * degToRad, 2 * perTick, 0.75 * perTick, 140},
    {20 * degToRad, 1.5 * perTick, 0.5 * perTick, 150},
    {90 * degToRad, 10 * perTick, 3 * perTick, 220},
    {75 * degToRad, 6 * perTick, 3 * perTick, 0},
}};
static constexpr double rotatePitchSpread = 0.025, climbPitchSpread = 0.05; // so that no two climb alike

const CategoryLimits& lf_categoryLimits(AcCategory category) {
    return categoryLimits[static_cast<std::size_t>(category)];
}

static double lf_spread(double value, double part) {
    return value * (plat::randomEngine()() & 1 ? 1 + part : 1 - part);
}

LiveAc lf_makeLiveAc(const TrafficRecord& record) {
    LiveAc ac;
    static_cast<AcIdentity&>(ac) = record;
    ac.hexid = record.hexid;
    ac.category = gf_modelCategory(ac.acType);
    ac.radiusNm = gf_halfWingspanNm(ac.acType);
    const CategoryConstants& constants = categoryConstants[static_cast<std::size_t>(ac.category)];
    ac.rotatePitch = lf_spread(constants.rotatePitch, rotatePitchSpread) * degToRad;
    ac.climbPitch = lf_spread(constants.climbPitch, climbPitchSpread) * degToRad;
    ac.groundTurnRate = constants.groundTurnRate * perTick;
    ac.flareTicks = constants.flareTicks;
    ac.derotateTicks = constants.derotateTicks;
    ac.rotateTicks = constants.rotateTicks;
    ac.liftoffTicks = constants.liftoffTicks;
    ac.climbStep = constants.climbStep;
    ac.towSpeed = constants.towSpeed;
    ac.lastFeedTime = record.timestamp;
    ac.stream.pushBack(record.point);
    return ac;
}

// ---- the live list and its numbers -------------------------------------------------------------------------------

static void lf_renumber() {
    engine.liveHexids.clear();
    engine.liveObjectIds.clear();
    for (const LiveAc& ac : engine.live) {
        engine.liveHexids.push_back(ac.hexid);
        engine.liveObjectIds.push_back(ac.objectId);
    }
}

LiveAc& lf_appendLive(LiveAc&& ac) {
    engine.live.push_back(std::move(ac));
    engine.liveHexids.push_back(engine.live.back().hexid);
    engine.liveObjectIds.push_back(engine.live.back().objectId);
    return engine.live.back();
}

void lf_eraseLive(std::size_t place) {
    if (place + 1 < engine.live.size()) engine.live[place] = std::move(engine.live.back());
    engine.live.pop_back();
    lf_renumber();
}

void lf_compactLive() {
    const auto isDropped = [](const LiveAc& ac) { return ac.eraseNow || ac.eraseFromQueue; };
    // Without an object: the stand that it was to appear on is free again.
    for (const LiveAc& ac : engine.live)
        if (isDropped(ac) && ac.standId != 0) lf_freeStand(ac);
    std::erase_if(engine.live, isDropped);
    lf_renumber();
}

void lf_compactParked() {
    std::erase_if(engine.parked, [](const ParkedAc& ac) { return ac.eraseNow || ac.eraseFromQueue; });
}

void lf_setObjectId(LiveAc& ac, std::uint32_t id) {
    ac.objectId = id;
    for (std::size_t i = 0; i < engine.liveObjectIds.size() && i < engine.live.size(); ++i)
        if (&engine.live[i] == &ac) engine.liveObjectIds[i] = id;
}

static LiveAc* lf_findNumber(const std::vector<std::uint32_t>& numbers, std::uint32_t number) {
    if (numbers.size() != engine.live.size()) lf_renumber(); // a caller filled the list by hand
    const auto it = std::find(numbers.begin(), numbers.end(), number);
    return it == numbers.end() ? nullptr : &engine.live[static_cast<std::size_t>(it - numbers.begin())];
}

LiveAc* lf_findByHexid(std::uint32_t hexid) { return lf_findNumber(engine.liveHexids, hexid); }

LiveAc* lf_findByObjectId(std::uint32_t objectId) {
    return objectId == 0 ? nullptr : lf_findNumber(engine.liveObjectIds, objectId);
}

ParkedAc* lf_findParkedByHexid(std::uint32_t hexid) {
    for (ParkedAc& ac : engine.parked)
        if (ac.hexid == hexid) return &ac;
    return nullptr;
}

void lf_clearStand(AcBase& ac) {
    ac.standLat = ac.standLon = ac.standHeading = 0;
    ac.standId = 0;
    ac.standCargo = false;
}

std::string lf_acLabel(const AcBase& ac) {
    return fmt::format("{:8} {} {:3} {:4}", ac.callsign, ac.regcode, ac.airline, ac.acType);
}

// ---- the Tick of the list ----------------------------------------------------------------------------------------

void lf_updateLiveAircraft() {
    bool finished = false;
    for (LiveAc& ac : engine.live) finished |= updateLiveAc(ac);
    if (finished) lf_compactLive();
    gf_exchangeUpdates();
}

// ---- the run -----------------------------------------------------------------------------------------------------

void lf_presizeEngine() {
    constexpr std::size_t aircraft =
        1024; // far more than the simulator takes; none grows in an ordinary Tick
    constexpr std::size_t messages = 4096; // a late pass finds those of several requests
    engine.live.reserve(aircraft);
    engine.liveHexids.reserve(aircraft);
    engine.liveObjectIds.reserve(aircraft);
    engine.parked.reserve(aircraft);
    engine.spawnRequests.reserve(aircraft);
    engine.waitList.reserve(aircraft);
    engine.stanceQuestions.reserve(aircraft);
    engine.learned.reserve(aircraft);
    engine.taken.reserve(16);
    engine.messages.reserve(messages);
}

void lf_resetEngine() {
    engine = EngineRun();
    gf_forgetNoMatches();
}

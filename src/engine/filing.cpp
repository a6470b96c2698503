// Filing: a tested report is given to its aircraft, filtered, and put at the back of its position stream, or it
// becomes a new aircraft. Worker, at most two reports a Tick.

#include "engine/motion.h"
#include "engine/trace.h"

#include "app/log.h"
#include "app/parameters.h"

#include <cmath>
#include <fmt/format.h>

static constexpr std::size_t reportsPerTick = 2;             // a burst of the feed spreads over Ticks
static constexpr double meterAtOneKnot = 3600 / metersPerNm; // seconds

// ---- tests of a report -------------------------------------------------------------------------------------------

// Low traffic around the field is left to come nearer or to land: its first report would put it into the ground.
static bool lf_nearFieldLevel(double alt) {
    constexpr double top = 10000, margin = 120, noAirport = -1000; // feet
    const double elevation = airports.park.known() ? airports.park.elevation : noAirport;
    return alt > 0 && alt < top && std::abs(alt - elevation) <= margin;
}

static bool lf_speedJumps(double last, double now) {
    constexpr double slow = 5, fast = 80, factor = 10; // knots; below `slow` a ratio says nothing
    if (last > slow && now >= factor * last) return true;
    if (now > slow && last >= factor * now) return true;
    return (last <= slow && now >= fast) || (now <= slow && last >= fast);
}

static double lf_trackDiff(double a, double b) { return std::abs(std::remainder(a - b, 360)); }

// A report that only confirms the straight way ahead costs a segment and tells nothing.
static bool lf_tellsNothing(const StreamPoint& last, const StreamPoint& point, double dt) {
    constexpr double longest = 15; // seconds
    if (point.airborne)
        return point.speed > 120 && lf_trackDiff(point.track, last.track) <= 1 &&
               dt <= 450 * meterAtOneKnot / point.speed;
    if (point.speed > 30 || lf_trackDiff(point.track, last.track) > 2) return false;
    return dt <= (point.speed > 0 ? std::min(20 * meterAtOneKnot / point.speed, longest) : longest);
}

static bool lf_dropForStream(const LiveAc& ac, const TrafficRecord& record) {
    if (ac.stream.empty()) return false;
    const double dt = record.timestamp - ac.lastFeedTime;
    if (!(dt > 1.0)) return true; // also a report older than the last
    const StreamPoint& last = ac.stream.back();
    return lf_speedJumps(last.speed, record.point.speed) ||
           (ac.extendCount < 1 && lf_tellsNothing(last, record.point, dt));
}

bool lf_categoryOn(AcCategory category) {
    switch (category) {
    case AcCategory::light: return LIGHT_AIRCRAFT.value;
    case AcCategory::highPerf: return HIGH_PERF_AIRCRAFT.value;
    case AcCategory::rotorcraft: return HELICOPTERS.value;
    default: return true;
    }
}

static void lf_countDropped(NotSpawned why) { ++engineCounters.notSpawned[static_cast<int>(why)]; }

// ---- reports to aircraft -----------------------------------------------------------------------------------------

void lf_fileFeedRecords() {
    engine.taken.clear();
    gf_takeFeedRecords(engine.taken, reportsPerTick);
    for (TrafficRecord& record : engine.taken) {
        try {
            lf_fileFeedRecord(record);
        } catch (const std::exception& e) { // a bad report never stops a run
            gf_logLine(fmt::format("{}: {}", "lf_fileFeedRecord", e.what()));
        }
    }
}

static bool lf_flightKnown(const TrafficRecord& record) {
    if (record.callsign.empty()) return false;
    for (const LiveAc& ac : engine.live)
        if (ac.callsign == record.callsign && ac.acType == record.acType) return true;
    return false;
}

// False for a type that nothing is known about.
static bool lf_completeType(TrafficRecord& record) {
    if (gf_isValidModel(record.acType)) return true;
    const auto real = gf_lookupRegcode(record.regcode);
    if (!real || real->type.empty()) return false;
    record.acType = real->type;
    return true;
}

void lf_fileFeedRecord(TrafficRecord& record) {
    LiveAc* ac = lf_findByHexid(record.hexid);
    if (ac && lf_matchFeedRecord(*ac, record)) return;
    if (lf_flightKnown(record)) return lf_countDropped(NotSpawned::sameCallsign);
    if (!lf_completeType(record)) return lf_countDropped(NotSpawned::unknownType);
    decodeNew(record);
}

void decodeNew(TrafficRecord& record) {
    if (!lf_categoryOn(gf_modelCategory(record.acType))) return lf_countDropped(NotSpawned::category);
    if (lf_nearFieldLevel(record.point.alt)) return lf_countDropped(NotSpawned::nearGround);
    record.firstCallsign = record.callsign;
    record.coupledCallsign.clear();
    record.coupledSearched = false;
    lf_appendLive(lf_makeLiveAc(record));
    ++engineCounters.seen;
    lf_trace(record.hexid, "first seen as {} {} {}", record.callsign, record.regcode, record.acType);
}

bool lf_matchFeedRecord(LiveAc& ac, TrafficRecord& record) {
    if (ac.hexid != record.hexid) return false;
    if (ac.st == SimState::liveryRespawn || ac.st == SimState::removingFromSim) return true;
    if (lf_dropForStream(ac, record)) return true;
    if (ac.st == SimState::buffer && lf_nearFieldLevel(record.point.alt)) return true;
    if (!lf_updateIdentity(ac, record)) return true;
    ac.lastFeedTime = record.timestamp;
    decodeExisting(ac, record.point);
    return true;
}

// ---- points to streams -------------------------------------------------------------------------------------------

// Decides whether a point repeats the last one of the stream, marks it, and answers whether it may be stored.
bool lf_checkRepeat(LiveAc& ac, StreamPoint& point) {
    constexpr double samePlace = 0.00015; // degrees, the noise of a standing transponder
    if (ac.stream.empty()) return true;
    const StreamPoint& last = ac.stream.back();
    point.stationary = lf_samePlace(point, last);
    if (lf_isRotorcraft(ac)) return true;
    const bool near =
        std::abs(point.lat - last.lat) <= samePlace && std::abs(point.lon - last.lon) <= samePlace;
    if (near) {
        // In the air nothing stands still; on its take-off run an aircraft has not stopped again.
        if (point.airborne || (ac.st == SimState::active && !ac.onGround)) return false;
        const double rollingSpeed = point.stationary ? 30 : 50; // knots
        if (ac.departing && point.speed > 0 && last.speed >= rollingSpeed) return false;
        if (!point.stationary) { // the noise goes, the aircraft stays where it was
            point = last;
            point.stationary = true;
        }
        point.speed = 0;
        return true;
    }
    if (point.speed != 0) return true;
    return (!ac.departing && !point.airborne) || last.speed < 50;
}

static void lf_pushAfterLast(LiveAc& ac, StreamPoint& point) {
    if (!ac.stream.empty() && lf_ticksBetween(ac.stream.back().dueTick, point.dueTick) <= 0)
        point.dueTick = lf_tickAfter(ac.stream.back().dueTick, 1); // due ticks rise along a stream
    ac.stream.pushBack(point);
}

// The tail swings to the side that the feed shows first, and only while the straight part of the push lasts.
static void lf_notePushSide(LiveAc& ac, const StreamPoint& point) {
    if (STRAIGHT_PBS_ONLY || ac.pushCounter != 2) return;
    if (!point.headingValid && point.track == 0) return;
    const double direction = point.headingValid ? point.heading : point.track * degToRad;
    ac.pushTurnRight = gf_headingDiff(ac.heading, direction) > 0;
    ac.pushTurnKnown = true;
}

// True when the feed has moved on from where the push back left the aircraft.
static bool lf_leavesAfterPush(LiveAc& ac, StreamPoint& point) {
    const double d = gf_distanceNm(point.lat, point.lon, ac.lat, ac.lon);
    const bool leaves = (d > 2.75 * ac.radiusNm && d > ac.pushRefDist) || d > 6 * ac.radiusNm;
    if (!leaves) {
        if (!ac.holding) ac.holdStart = lf_now();
        ac.holding = true;
        ac.pushRefDist = d;
        return false;
    }
    point.stationary = false;
    if (ac.extendCount > 0) {
        ac.stream.front().dueTick = lf_tickAfter(lf_now(), 1);
        ac.extendCount = 0;
        lf_widenElasticity(ac);
    }
    ac.pushTurnKnown = false;
    ac.pushCounter = 0;
    setFlightState(ac, FlightState::taxi);
    lf_clearStand(ac);
    ac.holding = false;
    ac.holdStart = 0;
    return true;
}

// What the aircraft's state makes of a new point: false drops it.
static bool lf_stateTakes(LiveAc& ac, StreamPoint& point) {
    switch (ac.fs) {
    case FlightState::birth: return lf_checkRepeat(ac, point);
    case FlightState::parking:
    case FlightState::parked:
        if (ac.st == SimState::buffer || ac.st == SimState::adding2sim) return false;
        return lf_checkLeaveStand(ac, point);
    case FlightState::pushingBack: lf_notePushSide(ac, point); return false;
    case FlightState::pushedBack: return lf_leavesAfterPush(ac, point);
    default: break;
    }
    if (ac.landing || ac.landingRoll) return checkNewPosDuringLanding(ac, point);
    if (!lf_checkRepeat(ac, point)) return false;
    return ac.extendCount <= 0 || checkExtendingSituations(ac, point);
}

static bool lf_allStationary(const PointStream& stream) {
    for (std::size_t i = 0; i < stream.size(); ++i)
        if (!stream[i].stationary) return false;
    return true;
}

static void lf_shortenStops(LiveAc& ac, const StreamPoint& point) {
    if (point.airborne || ac.stream.empty() || !ac.stream.back().stationary) return;
    if (!point.stationary)
        removeSmallStop(ac, point);
    else if (ac.stream.size() >= 2 && lf_allStationary(ac.stream))
        ac.stream.cutToFront();
}

static void lf_followFeedOffTheGround(LiveAc& ac, const StreamPoint& point) {
    if (ac.st != SimState::active || !ac.onGround || ac.departing || ac.stream.empty()) return;
    const StreamPoint& last = ac.stream.back();
    if (ac.landingRoll) {
        if (point.airborne && last.airborne) lf_goAroundAfterTouchdown(ac);
    } else if (ac.fs == FlightState::taxi &&
               (point.airborne || (point.speed >= takeoffRollKnots && last.speed >= takeoffRollKnots)))
        lf_startTakeoffRoll(ac);
}

void decodeExisting(LiveAc& ac, StreamPoint point) {
    constexpr std::size_t mostPoints = 200; // more than any delay explains: the aircraft is stuck
    if (ac.stream.size() >= mostPoints) removeAircraftFromSim(ac, Removed::stuck);
    if (ac.holding && !ac.stream.empty()) {
        const StreamPoint& front = ac.stream.front();
        if (lf_distanceNm(point, front) * metersPerNm > HOLDING_THRESHOLD_METERS.value) {
            ac.holding = false;
            ac.holdStart = 0;
            return removeAircraftFromSim(ac, Removed::holdingOver);
        }
    }
    const bool unborn = ac.fs == FlightState::birth;
    if (!lf_stateTakes(ac, point)) return;
    if (unborn) return lf_pushAfterLast(ac, point);

    lf_shortenStops(ac, point);
    lf_followFeedOffTheGround(ac, point);
    lf_pushAfterLast(ac, point);
    if (ac.stream.size() == 2 && ac.stream[0].stationary && ac.stream[1].stationary) {
        ac.stream.front().dueTick = lf_tickAfter(lf_now(), 1);
        ac.stream.front().speed = ac.stream[1].speed;
    }
}

// Ground segments: what the aircraft does at the start of one (corner, arrival, throttle, take-off test, landing
// roll), the start of a take-off, and the removal of small stops from a stream. How long a segment takes and how it
// turns is in groundturns.cpp, the moves at a stand in standmoves.cpp. Worker.

#include "engine/motion.h"
#include "engine/trace.h"

#include "app/log.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <fmt/format.h>

static constexpr double metersInNm = 1 / metersPerNm;

// ---- push back -----------------------------------------------------------------------------------------------------

static void lf_endPushBack(LiveAc& ac) {
    constexpr double farAway = 900; // nautical miles: any distance of the feed is shorter
    ac.targetHeading = ac.heading;
    gf_queueEvent(ac.objectId, evEngineStart, 0);
    lf_setThrottle(ac, 0);
    lf_setFlaps(ac, 1);
    setFlightState(ac, FlightState::pushedBack);
    ac.pushCounter = 1;
    ac.pushRefDist = farAway;
    ac.extendCount = 0;
    ac.leavingStand = false;
}

// The straight part is done: the tail swings to the side that the feed has shown, or the push ends here.
static void lf_swingTail(LiveAc& ac) {
    constexpr double quarter = 90; // degrees
    if (ac.stream.size() > 2) {
        if (!ac.pushTurnKnown || ac.pushTurnRight) ac.stream.popBack();
        if (ac.pushTurnKnown && ac.pushTurnRight) ac.stream.pushBack(ac.savedPoint);
    }
    if (!ac.pushTurnKnown || ac.stream.size() < 3) return;
    lf_makeCurve(ac);
    ac.curveAngle = quarter;
}

static void lf_pushBackSegment(LiveAc& ac) {
    --ac.pushCounter;
    if (ac.pushCounter == 1)
        lf_swingTail(ac);
    else if (ac.pushCounter < 1)
        lf_endPushBack(ac);
}

// ---- corners -------------------------------------------------------------------------------------------------------

static bool lf_longSlowLeg(const StreamPoint& p0, const StreamPoint& p1) {
    constexpr double longNm = 50 * metersInNm;
    constexpr std::int32_t longTicks = 600;
    return lf_distanceNm(p0, p1) > longNm && p0.speed <= takeoffRollKnots &&
           lf_ticksBetween(p0.dueTick, p1.dueTick) >= longTicks;
}

static void lf_shapeCorner(LiveAc& ac) {
    constexpr double straight = 3, sharp = 45, uTurn = 160; // degrees
    PointStream& stream = ac.stream;
    if (stream.size() < 3) {
        if (ac.extendCount < 1) lf_splitOnSpeedJump(ac);
    } else if (stream[2].stationary) {
        lf_splitOnSpeedJump(ac);
    } else {
        const double angle = lf_absDegrees(ac.heading, lf_bearing(stream[1], stream[2]));
        if (angle > sharp && lf_longSlowLeg(stream[0], stream[1])) {
            lf_insertMidPoint(ac);
        } else if (angle > straight && angle <= uTurn && !lf_samePlace(stream[0], stream[2])) {
            lf_makeCurve(ac);
            ac.curveAngle = angle;
        } else {
            lf_splitOnSpeedJump(ac);
        }
    }
    ac.headingLag = false;
    if (!ac.curve.inForce()) {
        ac.headingError = lf_absDegrees(ac.heading, ac.targetHeading);
        ac.headingLag = ac.headingError > straight;
    }
}

// ---- the segment ---------------------------------------------------------------------------------------------------

static void lf_leaveStand(LiveAc& ac) {
    const StreamPoint& last = ac.stream.back();
    const double off =
        lf_absDegrees(ac.standHeading, gf_bearing(ac.standLat, ac.standLon, last.lat, last.lon));
    if (std::round(off) < 90)
        lf_pullOut(ac);
    else
        lf_pushBack(ac);
}

// An aircraft that comes to rest looks for a stand, unless it has just left one.
static void lf_lookForStand(LiveAc& ac) {
    constexpr double restKnots = 5, restNm = 35 * metersInNm;
    if (ac.fs != FlightState::taxi || !ac.stream.back().stationary || !airports.park.loaded) return;
    const bool leftStand = ac.fsPrev == FlightState::parked || ac.fsPrev == FlightState::pushingBack ||
                           ac.fsPrev == FlightState::pushedBack;
    if (leftStand && !ac.towed) return;
    const StreamPoint& last = ac.stream.back();
    if (ac.extendCount > 0)
        try2Park(ac, ac.landed);
    else if (ac.stream.second().speed <= restKnots &&
             gf_distanceNm(ac.lat, ac.lon, last.lat, last.lon) <= restNm)
        try2Park(ac, false);
}

void nextPosGround(LiveAc& ac) {
    switch (ac.fs) {
    case FlightState::pushingBack: lf_pushBackSegment(ac); break;
    case FlightState::pushedBack: break;
    case FlightState::parked:
        lf_widenElasticity(ac);
        if (ac.leavingStand) lf_leaveStand(ac);
        break;
    default:
        if (!ac.stream.second().stationary) lf_shapeCorner(ac);
        lf_lookForStand(ac);
    }
    lf_timeGroundSegment(ac);
}

static void lf_setRollThrottle(LiveAc& ac) { // from taxi power to take-off power as the speed rises
    const double from = ac.stream.front().speed, to = ac.stream.second().speed;
    if (lf_isRotorcraft(ac) || from >= 25 || to >= 30)
        lf_setThrottle(ac, 4);
    else if (from >= 20 || to >= 25)
        lf_setThrottle(ac, 2);
    else if (from >= 15 || to >= 20)
        lf_setThrottle(ac, 1);
    else
        lf_setThrottle(ac, 0);
}

static void lf_takeOffTest(LiveAc& ac) {
    constexpr double climbing = 256;  // feet per minute; more is no noise
    constexpr double leastRise = 0.1; // feet
    if (!ac.departing || ac.fs == FlightState::takeOff || ac.stream.front().speed < takeoffRollKnots) return;
    const double takeoffSpeed = lf_categoryLimits(ac.category).takeoffSpeed;
    bool allClimb = true, allAirborne = true, allFast = true;
    for (std::size_t i = 1; i < ac.stream.size(); ++i) {
        const StreamPoint& p = ac.stream[i];
        allClimb = allClimb && p.vs > climbing;
        allAirborne = allAirborne && p.airborne;
        allFast = allFast && p.speed >= takeoffSpeed;
    }
    if (!allClimb && !(allFast && allAirborne)) return;
    ac.altStep = ac.climbStep;
    if (allClimb && allAirborne)
        ac.altStep = std::max(ac.stream.second().alt - ac.alt, leastRise) / lf_segmentTicks(ac);
    lf_beginRotation(ac);
}

void lf_startGroundSegment(LiveAc& ac) {
    // One that appeared on a stand kept for the user has no state yet; it gets one as it drives away.
    if (ac.fs == FlightState::parked || ac.fs == FlightState::flying || ac.fs == FlightState::birth)
        setFlightState(ac, FlightState::taxi);
    else if (ac.departing)
        lf_setRollThrottle(ac);
    else if (ac.landingRoll)
        lf_landingRoll(ac);
    else
        lf_setIdleThrottle(ac);
    if (!ac.landingRoll && !ac.departing) lf_narrowElasticity(ac);
    if (ac.flareStage == 0 && ac.fs != FlightState::takeOff) {
        ac.pitch = ac.staticPitch;
        ac.bank = ac.pitchStep = ac.bankStep = 0;
    }
    if (ac.curve.inForce()) ac.curveStep = 1.0 / lf_segmentTicks(ac);
    ac.tasTarget = ac.stream.second().speed;
    if (ac.fs == FlightState::pushingBack) ac.tasTarget = -ac.tasTarget;
    ac.vsTarget = 0;
    lf_takeOffTest(ac);
}

void lf_startTakeoffRoll(LiveAc& ac) {
    if (ac.towed) gf_logLine("towed aircraft takes-off?");
    ac.departing = true;
    lf_trace(ac.hexid, "begins its take-off roll");
    lf_setThrottle(ac, 0);
    lf_setSpoilers(ac, 0);
    lf_setFlaps(ac, 1);
    ac.landing = ac.landed = ac.goingAround = false;
    lf_setLights(ac.objectId, {1, 1, 1, 1, 1, 1, 0});
    lf_widenElasticity(ac);
    if (!ac.airline.empty()) lf_learnSoftStand(ac, true);
}

void lf_beginRotation(LiveAc& ac) {
    ac.takeoffCounter = ac.rotateTicks;
    ac.bank = ac.bankStep = 0;
    ac.pitchStep = (ac.rotatePitch - ac.pitch) / std::max(ac.rotateTicks, 1);
    if (!ac.departing) lf_startTakeoffRoll(ac);
    setFlightState(ac, FlightState::takeOff);
    ac.headingStep = 0;
    ac.derotating = false;
    ac.flareStage = 0;
    lf_clearCurve(ac);
    if (!ac.landingRoll) return;
    ac.landingRoll = ac.landing = ac.landed = false; // touch and go
    lf_setThrottle(ac, 4);
    lf_setSpoilers(ac, 16383);
    lf_setFlaps(ac, 1);
}

void lf_landingRoll(LiveAc& ac) {
    constexpr double offRunway = 15; // degrees
    constexpr double slowKnots = 90;
    if (lf_absDegrees(ac.touchdownHeading, ac.heading) >= offRunway) {
        lf_trace(ac.hexid, "leaves the runway");
        lf_setFlaps(ac, 0);
        ac.landingRoll = false;
        ac.touchdownHeading = 0;
        lf_setIdleThrottle(ac);
        lf_setSpoilers(ac, 0);
        lf_stowSpoilers(ac);
        lf_setLights(ac.objectId, {1, 1, 0, 1, 0, 1, 1});
    } else if (ac.stream.front().speed <= slowKnots) {
        lf_setSpoilers(ac, 0);
        lf_stowSpoilers(ac);
        lf_setFlaps(ac, 1);
    }
}

// ---- small stops ---------------------------------------------------------------------------------------------------
// Short stops, and stops that end where they began, vanish from the stream. Places count from the back, from 1.

static const StreamPoint& lf_fromBack(const LiveAc& ac, std::size_t place) {
    return ac.stream[ac.stream.size() - place];
}

static void checkStops(LiveAc& ac, std::size_t place, const StreamPoint& point) {
    constexpr std::int32_t longTicks = 15 * ticksPerSecond;
    constexpr double awayNm = 22 * metersInNm;
    try {
        const StreamPoint& before = lf_fromBack(ac, place);
        if (lf_ticksBetween(before.dueTick, ac.stream.back().dueTick) >= longTicks &&
            lf_distanceNm(before, point) > awayNm)
            return;
        for (; place > 1; --place) ac.stream.popBack();
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{}: num:{} {}", "checkStops", place, e.what()));
    }
}

void removeSmallStop(LiveAc& ac, const StreamPoint& point) {
    constexpr std::size_t farthest = 6;
    try {
        if (ac.stream.size() < 3) return;
        for (std::size_t place = 2; place <= std::min(farthest, ac.stream.size()); ++place) {
            if (lf_fromBack(ac, place).stationary) continue;
            checkStops(ac, place, point);
            return;
        }
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{}: {}", "removeSmallStop", e.what()));
    }
}

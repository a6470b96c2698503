#pragma once
// What the files of aircraft motion share among themselves: tick arithmetic, the limits of each category, and the
// steps that one file calls in another. Worker. Terms used throughout: p0 is the front point of the stream, whose
// segment has just ended, p1 the point behind it, the target of the segment that starts; once p0 is popped, the
// target is the front point.

#include "engine/engine.h"

#include <algorithm>

// ---- ticks ---------------------------------------------------------------------------------------------------
inline std::int32_t lf_now() { return appLife.tickCount; }

constexpr std::int32_t ticksPerSecond = 100;
constexpr double ticksPerHour = 360000, ticksPerMinute = 6000;
constexpr std::int32_t leastSegmentTicks = 25; // shorter segments would look like jumps

// ---- elasticity: how far a segment's end may move from the feed's time, ticks ------------------------------------
constexpr std::int32_t elasticityLeast = 1000, elasticityStep = 100, elasticityWide = 3000,
                       lagOfDeparture = 5000;
inline void lf_narrowElasticity(LiveAc& ac) { // back towards the feed's time
    ac.dueLead = std::max(ac.dueLead - elasticityStep, elasticityLeast);
    ac.dueLag = std::max(ac.dueLag - elasticityStep, elasticityLeast);
}
inline void lf_widenElasticity(LiveAc& ac) { // after a gap or before a manoeuvre of our own
    ac.dueLag = ac.departing ? lagOfDeparture : elasticityWide;
    ac.dueLead = elasticityWide;
}

// ---- categories ----------------------------------------------------------------------------------------------
bool lf_categoryOn(
    AcCategory category); // the user wants it: asked of a new aircraft and at its first extension
inline bool lf_isRotorcraft(const AcBase& ac) { return ac.category == AcCategory::rotorcraft; }

// ---- small geometry --------------------------------------------------------------------------------------------
inline double lf_lonDifference(double from, double to) { // degrees, the short way across 180
    const double d = to - from;
    return d > 180 ? d - 360 : d < -180 ? d + 360 : d;
}
inline double lf_wrapLon(double lon) { return lon > 180 ? lon - 360 : lon < -180 ? lon + 360 : lon; }
inline bool lf_samePlace(const StreamPoint& a, const StreamPoint& b) {
    return a.lat == b.lat && a.lon == b.lon;
}
inline double lf_distanceNm(const StreamPoint& a, const StreamPoint& b) {
    return gf_distanceNm(a.lat, a.lon, b.lat, b.lon);
}
inline double lf_bearing(const StreamPoint& a, const StreamPoint& b) {
    return gf_bearing(a.lat, a.lon, b.lat, b.lon);
}
inline double lf_absDegrees(double fromHeading, double toHeading) { // 0 to 180
    return std::abs(gf_headingDiff(fromHeading, toHeading)) * radToDeg;
}
// Nose-up is negative: 3 degrees nose up in level flight, 2.2 more for each 600 feet per minute. Radians.
double lf_pitchOfClimb(double feetPerMinute); // the spawn uses it too

// ---- segments (motion.cpp) ---------------------------------------------------------------------------------------
void nextPos(LiveAc& ac);
void lf_aimAtTarget(LiveAc& ac); // latStep and lonStep from where the aircraft is to p1
std::int32_t lf_segmentTicks(LiveAc& ac);
double lf_segmentSpeed(const StreamPoint& p0, const StreamPoint& p1); // knots, at least 1
std::int32_t lf_flightTicks(double nm, double knots);                 // at least 25
void lf_setDueTick(LiveAc& ac, std::int32_t ticks);                   // p1's, inside the elasticity
void lf_stepPosition(LiveAc& ac);
void lf_queuePosition(const LiveAc& ac);

// ---- in the air (air.cpp) ------------------------------------------------------------------------------------------
void nextPosAir(LiveAc& ac);
void lf_startAirSegment(LiveAc& ac);
double lf_descentRate(LiveAc& ac); // feet per minute
bool lf_nearCurrentAirport(const LiveAc& ac);

// ---- take-off and landing (landing.cpp) ----------------------------------------------------------------------------
void lf_rotate(LiveAc& ac);
void lf_flare(LiveAc& ac);

// ---- invented points (extend.cpp) ----------------------------------------------------------------------------------
bool lf_extendStream(LiveAc& ac, Removed& why); // false: the aircraft is to go, for that reason
void lf_extrapolate(LiveAc& ac, std::int32_t count);

// ---- systems (config.cpp) ------------------------------------------------------------------------------------------
constexpr double lightsChangeFeet = 10000;
void lf_highConfig(LiveAc& ac);
void lf_lowConfig(LiveAc& ac); // below 10000 feet: lights, then clean or approach
void lf_setIdleThrottle(LiveAc& ac);
void lf_stowSpoilers(LiveAc& ac); // definition 401 back to 0, except for light aircraft

// ---- on the ground (ground.cpp, groundturns.cpp, standmoves.cpp) -----------------------------------------------------
constexpr double takeoffRollKnots = 43; // faster is no taxiing any more
void nextPosGround(LiveAc& ac);
void lf_startGroundSegment(LiveAc& ac);
void lf_beginRotation(LiveAc& ac);
void lf_landingRoll(LiveAc& ac);
void lf_timeGroundSegment(LiveAc& ac);
void lf_insertMidPoint(LiveAc& ac);
void lf_splitOnSpeedJump(LiveAc& ac);
void lf_makeCurve(LiveAc& ac);
void lf_clearCurve(LiveAc& ac);
void lf_stepOnCurve(LiveAc& ac);
void lf_turnTowards(LiveAc& ac, double wanted);
void lf_pullOut(LiveAc& ac);
void lf_pushBack(LiveAc& ac);
void try2Park(LiveAc& ac, bool wide); // looks for a stand at the end of the stream, and drives there
void lf_arriveAtStand(LiveAc& ac);    // parked, or on as `taxi`, or removed

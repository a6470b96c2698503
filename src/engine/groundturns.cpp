// How a ground segment turns and how long it takes: the curve through a corner, the heading that follows it, the end
// time and the turn rate that fits the turn to the segment, and the splitting of legs. Worker.

#include "engine/motion.h"

#include "app/log.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

static constexpr double metersPerDegree = 111132.95; // of latitude

// ---- the end of a segment ------------------------------------------------------------------------------------------

static void lf_timeStop(LiveAc& ac) {
    const StreamPoint& p0 = ac.stream.front();
    const std::int32_t pause =
        std::max(lf_ticksBetween(p0.dueTick, ac.stream.second().dueTick), leastSegmentTicks);
    const std::int32_t wait = lf_ticksBetween(lf_now(), p0.dueTick) + pause;
    lf_setDueTick(ac, std::max(wait, leastSegmentTicks));
}

// Makes the turn of `angle` degrees over `nm` fit the ticks of the segment.
static void lf_fitTurn(LiveAc& ac, double angle, double nm, std::int32_t ticks) {
    constexpr double sharp = 45, quarter = 90, slack = 1.2;
    constexpr double gentleDegrees = 10, sharpDegrees = 30, gentleMeters = 30;
    constexpr std::int32_t roomyElasticity = 2000;
    if (!(angle > 0 && nm > 0 && ac.turnRate > 0)) return;
    // Degrees over a hundred radians a tick: some 0.57 of the ticks that the turn takes at the normal rate.
    const double turnTicks = std::max(std::round(angle / ac.turnRate / 100), 1.0);
    const double ratio = ticks / turnTicks;
    if (angle > sharp) {
        ac.turnRate *= std::min(ratio, std::min(angle, quarter) / sharpDegrees);
        if (angle >= quarter) {
            ac.dueLead = std::max(ac.dueLead, roomyElasticity);
            ac.dueLag = std::max(ac.dueLag, roomyElasticity);
        }
        return;
    }
    double slower = ratio;
    if (ratio >= slack)
        slower = std::min({ratio * gentleDegrees / angle, ratio * gentleMeters / (nm * metersPerNm), ratio});
    if (slower != 0) ac.turnRate /= slower;
}

void lf_timeGroundSegment(LiveAc& ac) {
    const StreamPoint& p0 = ac.stream.front();
    const StreamPoint& p1 = ac.stream.second();
    if (p1.stationary) {
        lf_timeStop(ac);
        return;
    }
    ac.turnRate = ac.groundTurnRate;
    const double nm = lf_distanceNm(p0, p1);
    const std::int32_t ticks = lf_flightTicks(nm, lf_segmentSpeed(p0, p1));
    if (ac.curve.inForce() || ac.headingLag)
        lf_fitTurn(ac, ac.headingLag ? ac.headingError : ac.curveAngle, nm, ticks);
    lf_setDueTick(ac, ticks);
}

// ---- splitting -----------------------------------------------------------------------------------------------------

void lf_insertMidPoint(LiveAc& ac) {
    const StreamPoint& p0 = ac.stream.front();
    const StreamPoint& p1 = ac.stream.second();
    StreamPoint middle = p0;
    middle.lat = (p0.lat + p1.lat) / 2;
    middle.lon = lf_wrapLon(p0.lon + lf_lonDifference(p0.lon, p1.lon) / 2);
    middle.speed = (p0.speed + p1.speed) / 2;
    // Between two points on the ground it is on the ground, whatever their altitudes: those of a stand's points are not 0.
    middle.alt = p0.airborne || p1.airborne ? std::max((p0.alt + p1.alt) / 2, 0.0) : 0;
    middle.airborne = middle.alt > 0;
    middle.stationary = false;
    middle.dueTick = lf_tickAfter(p0.dueTick, lf_ticksBetween(p0.dueTick, p1.dueTick) / 2);
    ac.stream.insertAt(1, middle);
}

void lf_splitOnSpeedJump(LiveAc& ac) {
    constexpr double jumpKnots = 5, leastNm = 100 / metersPerNm;
    const StreamPoint& p0 = ac.stream.front();
    const StreamPoint& p1 = ac.stream.second();
    if (p0.speed <= 0 && p1.speed <= 0) return;
    if (std::abs(p0.speed - p1.speed) > jumpKnots && lf_distanceNm(p0, p1) >= leastNm) lf_insertMidPoint(ac);
}

// ---- curves --------------------------------------------------------------------------------------------------------

static double lf_metersPerLonDegree(double lat) {
    constexpr double least = 1e-6; // at a pole
    return metersPerDegree * std::max(std::cos(lat * degToRad), least);
}

void lf_clearCurve(LiveAc& ac) {
    ac.curve.controlNorth = ac.curve.controlEast = std::numeric_limits<double>::quiet_NaN();
    ac.curveT = 0;
}

// From where the aircraft is, past the corner at p1, to p2; p1 goes, so that the segment runs to p2.
void lf_makeCurve(LiveAc& ac) {
    PointStream& stream = ac.stream;
    const StreamPoint& p1 = stream[1];
    StreamPoint& p2 = stream[2];
    if (p2.speed == 0) p2.speed = (stream[0].speed + p1.speed) / 2;
    const double lonScale = lf_metersPerLonDegree(ac.lat);
    ac.curve.originLat = ac.lat;
    ac.curve.originLon = ac.lon;
    ac.curve.controlNorth = (p1.lat - ac.lat) * metersPerDegree;
    ac.curve.controlEast = lf_lonDifference(ac.lon, p1.lon) * lonScale;
    ac.curve.endNorth = (p2.lat - ac.lat) * metersPerDegree;
    ac.curve.endEast = lf_lonDifference(ac.lon, p2.lon) * lonScale;
    ac.curveT = 0;
    stream.eraseAt(1);
}

void lf_stepOnCurve(LiveAc& ac) {
    constexpr double last = 0.999999;
    ac.curveT = std::min(ac.curveT + ac.curveStep, last);
    if (!(ac.curveT >= 0 && ac.curveT <= 1)) {
        gf_logLine(fmt::format("{} error in curve at index: {:.2F}", ac.callsign, ac.curveT));
        return;
    }
    const GroundCurve& c = ac.curve;
    const double u = ac.curveT, v = 1 - u;
    ac.lat = c.originLat + (2 * u * v * c.controlNorth + u * u * c.endNorth) / metersPerDegree;
    ac.lon =
        c.originLon + (2 * u * v * c.controlEast + u * u * c.endEast) / lf_metersPerLonDegree(c.originLat);
    const double north = 2 * u * (c.endNorth - c.controlNorth) + 2 * v * c.controlNorth;
    const double east = 2 * u * (c.endEast - c.controlEast) + 2 * v * c.controlEast;
    if (north == 0 && east == 0) return; // no direction
    const double along = std::atan2(east, north);
    lf_turnTowards(ac, ac.fs == FlightState::pushingBack ? along + pi : along);
}

void lf_turnTowards(LiveAc& ac, double wanted) {
    constexpr double still = 0.5 * degToRad;
    const double turn = gf_headingDiff(ac.heading, gf_wrapHeading(wanted));
    if (std::abs(turn) <= still) return;
    // Not past the wanted heading, or a fast turn would swing about it.
    ac.heading = gf_wrapHeading(ac.heading + std::clamp(turn, -ac.turnRate, ac.turnRate));
}

// The motion of one aircraft: the tick, the start of a segment, and the steps that are added on each tick of it.
// A segment runs from where the aircraft is to the next point of its stream; everything that costs a sine or a
// division is worked out once at its start. Which rules a segment follows is decided in air.cpp and ground.cpp.
// Worker.

#include "engine/motion.h"

#include "app/log.h"

#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <stdexcept>
#include <string>

static std::string lf_describe(const char* where, const char* text, const LiveAc& ac) {
    return fmt::format("{}: {} {}, sz:{}, fs:{}, st:{}", where, text, lf_acLabel(ac), ac.stream.size(),
                       gf_flightStateName(ac.fs), gf_simStateName(ac.st));
}

static void lf_moveActive(LiveAc& ac) {
    if (ac.stream.empty()) {
        gf_logLine(
            fmt::format("{} stream empty ? {}, hexid:{}, objectid:{}, alt:{:.0f} ft, lalo:{}, TAS:{:.0f}",
                        "updateLiveAc", ac.callsign, ac.hexid, ac.objectId, ac.alt,
                        fmt::format("{:.5f} {:.5f}", ac.lat, ac.lon), ac.tas));
        removeAircraftFromSim(ac, Removed::streamEnd);
        return;
    }
    if (lf_ticksBetween(ac.stream.front().dueTick, lf_now()) >= 0) nextPosMain(ac);
    if (ac.st != SimState::active) return;
    const bool standing = ac.stream.front().stationary;
    ac.vsFps = ac.vsTarget / 60;
    ac.tas = standing ? 0 : ac.tasTarget;
    if (!standing) lf_stepPosition(ac);
    if (ac.objectId == 0) {
        gf_logLine(fmt::format("{} objectid=0? hexid: {},cs:{}, reg:{}, aimo:{} sz:{}", "updateLiveAc",
                               ac.hexid, ac.callsign, ac.regcode, ac.acType, ac.stream.size()));
        removeAircraftFromSim(ac, Removed::objectLost);
        return;
    }
    lf_queuePosition(ac);
}

bool updateLiveAc(LiveAc& ac) {
    try {
        if (ac.st == SimState::buffer)
            lf_checkSpawn(ac);
        else if (ac.st == SimState::active)
            lf_moveActive(ac);
    } catch (const std::exception& e) {
        gf_logLine(lf_describe("updateLiveAc", e.what(), ac));
    }
    return ac.eraseNow || ac.eraseFromQueue;
}

void lf_queuePosition(const LiveAc& ac) {
    fillingUpdates.push_back(
        {{ac.lat, ac.lon, ac.pitch, ac.bank, ac.heading, ac.alt, ac.vsFps, ac.tas}, ac.objectId});
}

// ---- the start of a segment --------------------------------------------------------------------------------------

// Each round ends, or drops a point, or uses up one of the points that may still be invented.
static void lf_nextSegment(LiveAc& ac) {
    for (;;) {
        if (ac.stream.size() >= 2) {
            if (ac.onGround || !ac.stream.second().stationary || lf_isRotorcraft(ac)) {
                nextPos(ac);
                return;
            }
            ac.stream.eraseAt(1); // a flying aircraft has no use for a stop
            continue;
        }
        Removed why = Removed::streamEnd;
        if (!lf_extendStream(ac, why)) {
            if (ac.fs != FlightState::parked) lf_learnSoftStand(ac, ac.fs != FlightState::flying);
            removeAircraftFromSim(ac, why);
            return;
        }
    }
}

void nextPosMain(LiveAc& ac) {
    try {
        lf_nextSegment(ac);
    } catch (const std::exception& e) {
        throw std::runtime_error(lf_describe("nextPosMain", e.what(), ac));
    }
}

void nextPos(LiveAc& ac) {
    lf_clearCurve(ac);
    {
        const StreamPoint& p0 = ac.stream.front();
        StreamPoint& p1 = ac.stream.second();
        if (!p1.stationary && lf_samePlace(p0, p1)) p1.stationary = true;
        if (!p1.stationary) ac.targetHeading = lf_bearing(p0, p1);
    }
    if (ac.onGround)
        nextPosGround(ac);
    else
        nextPosAir(ac);
    StreamPoint& p1 = ac.stream.second(); // looked up again: points may have come or gone
    if (p1.stationary) {
        ac.latStep = ac.lonStep = 0;
        if (!ac.landingRoll && !ac.departing) lf_narrowElasticity(ac);
    } else {
        // A target far behind the present time is flown to in the shortest segment, not skipped.
        if (lf_ticksBetween(lf_now(), p1.dueTick) < leastSegmentTicks)
            p1.dueTick = lf_tickAfter(lf_now(), leastSegmentTicks);
        lf_aimAtTarget(ac);
        if (ac.onGround)
            lf_startGroundSegment(ac);
        else
            lf_startAirSegment(ac);
    }
    ac.stream.popFront();
    if (ac.stream.empty()) {
        removeAircraftFromSim(ac, Removed::streamEnd);
        throw std::runtime_error(fmt::format("{} {} fs:{}, st:{} stream at the end is empty?", "nextPos",
                                             ac.callsign, gf_flightStateName(ac.fs), gf_simStateName(ac.st)));
    }
}

std::int32_t lf_segmentTicks(LiveAc& ac) {
    return std::max(lf_ticksBetween(lf_now(), ac.stream.second().dueTick), leastSegmentTicks);
}

void lf_aimAtTarget(LiveAc& ac) {
    const StreamPoint& p1 = ac.stream.second();
    const double ticks = lf_segmentTicks(ac);
    ac.latStep = (p1.lat - ac.lat) / ticks;
    ac.lonStep = lf_lonDifference(ac.lon, p1.lon) / ticks;
}

double lf_segmentSpeed(const StreamPoint& p0, const StreamPoint& p1) {
    double knots = (p0.speed + p1.speed) / 2;
    if (p0.speed == 0 && p1.speed == 0) {
        const double ticks = std::max(lf_ticksBetween(p0.dueTick, p1.dueTick), leastSegmentTicks);
        knots = lf_distanceNm(p0, p1) * ticksPerHour / ticks;
    }
    return std::max(knots, 1.0);
}

std::int32_t lf_flightTicks(double nm, double knots) {
    constexpr double most = 1e8; // eleven days: keeps the sum with any tick difference inside 32 bits
    const double ticks = std::round(nm * ticksPerHour / knots);
    return std::max(static_cast<std::int32_t>(std::min(ticks, most)), leastSegmentTicks);
}

void lf_setDueTick(LiveAc& ac, std::int32_t ticks) {
    StreamPoint& p1 = ac.stream.second();
    std::int64_t wait = ticks; // from now
    if (ac.extendCount < 1) {
        const std::int64_t wanted = lf_ticksBetween(lf_now(), p1.dueTick);
        wait = std::max(std::min(wait, wanted + ac.dueLag), wanted - ac.dueLead);
    }
    p1.dueTick = lf_tickAfter(lf_now(), static_cast<std::int32_t>(std::max<std::int64_t>(wait, 0)));
}

// ---- each tick ---------------------------------------------------------------------------------------------------

static void lf_stepHorizontally(LiveAc& ac) {
    if (ac.curve.inForce()) {
        lf_stepOnCurve(ac);
        return;
    }
    switch (ac.fs) {
    case FlightState::takeOff:
    case FlightState::flying:
    case FlightState::parked:
    case FlightState::birth: ac.heading = gf_wrapHeading(ac.heading + ac.headingStep); break;
    default:
        if (ac.fs == FlightState::parking || ac.headingLag) lf_turnTowards(ac, ac.targetHeading);
        if (ac.fs == FlightState::pushedBack) return;
    }
    ac.lat += ac.latStep;
    ac.lon += ac.lonStep;
}

// The nose comes down after touch down; the altitude belongs to the height reports.
static void lf_stepDerotation(LiveAc& ac) {
    ac.pitch += ac.pitchStep;
    if (ac.pitch >= ac.staticPitch) {
        ac.pitch = ac.staticPitch;
        ac.pitchStep = ac.bank = ac.bankStep = 0;
        ac.derotating = false;
        ac.flareStage = 0;
    }
    ac.bank += ac.bankStep;
}

static void lf_stepFlare(LiveAc& ac) {
    constexpr double flarePitch = -4 * degToRad;
    double next = ac.pitch + ac.pitchStep;
    const bool tooHigh = ac.pitchStep < 0 && next < flarePitch;
    const bool loweredToIt = ac.pitchStep > 0 && ac.pitch < flarePitch && next >= flarePitch;
    if (tooHigh || loweredToIt) {
        next = tooHigh ? std::min(ac.pitch, flarePitch) : flarePitch;
        ac.pitchStep = 0;
    }
    ac.pitch = next;
    ac.bank += ac.bankStep;
    ac.alt += ac.altStep;
}

static void lf_stepVertically(LiveAc& ac) {
    constexpr double flareWatchFeet = 400;
    if (ac.fs == FlightState::takeOff) {
        lf_rotate(ac);
        return;
    }
    if (ac.agl <= flareWatchFeet && ac.landing && !ac.onGround) lf_flare(ac);
    if (ac.derotating) {
        lf_stepDerotation(ac);
    } else if (ac.flareStage > 0) {
        lf_stepFlare(ac);
    } else if (!ac.onGround) {
        ac.pitch += ac.pitchStep;
        ac.bank += ac.bankStep;
        ac.alt += ac.altStep;
    } else {
        ac.pitch = ac.staticPitch;
        ac.bank = 0;
    }
}

void lf_stepPosition(LiveAc& ac) {
    lf_stepHorizontally(ac);
    lf_stepVertically(ac);
    ac.lon = lf_wrapLon(ac.lon);
}

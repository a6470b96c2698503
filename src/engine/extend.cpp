// What happens when the stream of an aircraft has run down to its last point: it waits on the ground, or flies and
// rolls on through invented points for a while, or goes; and how a real report ends that. Worker.

#include "engine/motion.h"
#include "engine/parking.h"
#include "engine/trace.h"

#include "app/log.h"
#include "app/parameters.h"

#include <algorithm>
#include <fmt/format.h>

// ---- waiting on the ground -----------------------------------------------------------------------------------------

static bool lf_crowded(const LiveAc& ac) {
    constexpr double room = 1.2; // of both radii
    return std::any_of(engine.live.begin(), engine.live.end(), [&](const LiveAc& other) {
        return &other != &ac && other.st == SimState::active && other.onGround &&
               other.fs == FlightState::taxi &&
               lf_isWithin(ac.lat, ac.lon, other.lat, other.lon, room * (ac.radiusNm + other.radiusNm));
    });
}

static bool lf_hold(LiveAc& ac, Removed& why) {
    constexpr std::int32_t waitTicks = 300, longWaitTicks = 3000;
    const std::int32_t held = ac.holding ? lf_ticksBetween(ac.holdStart, lf_now()) : 0;
    if (lf_crowded(ac)) {
        lf_trace(ac.hexid, "cannot wait: another aircraft taxies right beside it");
        ac.holding = false;
        ac.holdStart = 0;
        why = Removed::conflict;
        return false;
    }
    if (held > MAX_HOLDING_MINUTES.value * ticksPerMinute) {
        why = Removed::holdingOver;
        return false;
    }
    if (!ac.holding) {
        ac.holding = true;
        ac.holdStart = lf_now();
    } else if (held >= longWaitTicks && held < longWaitTicks + waitTicks) {
        lf_trace(ac.hexid, "waits where it stands: no report for half a minute");
    }
    ac.extendCount = 1;
    StreamPoint point = ac.stream.front();
    point.dueTick = lf_tickAfter(point.dueTick, waitTicks);
    point.speed = 0;
    point.stationary = true;
    ac.stream.pushBack(point);
    return true;
}

// ---- inventing points ----------------------------------------------------------------------------------------------

// How many points the first extension may invent; 0: none.
static std::int32_t lf_firstExtension(const LiveAc& ac, Removed& why) {
    constexpr std::int32_t inTheAir = 8, onTheGround = 10, atStand = 1;
    constexpr double edgeNm = 0.5; // an aircraft that leaves the range is let go
    if (!lf_categoryOn(ac.category)) return 0;
    if (ac.onGround) return ac.fs == FlightState::parked ? atStand : onTheGround;
    const UserBlock& user = engine.user;
    if (gf_isNoPosition(user.lat, user.lon)) return inTheAir;
    if (gf_distanceNm(ac.lat, ac.lon, user.lat, user.lon) < app.rangeNm - edgeNm) return inTheAir;
    why = Removed::range;
    return 0;
}

bool lf_extendStream(LiveAc& ac, Removed& why) {
    why = Removed::streamEnd;
    if (ac.fs == FlightState::parking) lf_arriveAtStand(ac);
    // Only what stands on its wheels can wait: a stop would be dropped again from the stream of a flying aircraft.
    const bool taxiing = ac.fs == FlightState::taxi && ac.onGround && !ac.departing && !ac.landingRoll;
    if (ac.fs == FlightState::pushedBack || taxiing) return lf_hold(ac, why);
    if (ac.extendCount < 0) return false;
    if (ac.extendCount == 1) {
        ac.extendCount = -1;
        return false;
    }
    const std::int32_t count = ac.extendCount > 1 ? ac.extendCount - 1 : lf_firstExtension(ac, why);
    if (count == 0) return false;
    lf_extrapolate(ac, count);
    return true;
}

static void lf_accelerate(StreamPoint& point, double knots) {
    if (knots <= 30)
        point.speed = 40;
    else if (knots <= 60)
        point.speed = 80;
    else if (knots <= 100)
        point.speed = 110;
    else if (knots <= 140)
        point.speed = 150, point.vs = 600;
    else if (knots <= 160)
        point.speed = 170, point.vs = 1200;
    else
        point.speed = 180, point.vs = 2400;
}

static void lf_slowDown(StreamPoint& point, double knots) {
    if (knots >= 140)
        point.speed = 100;
    else if (knots >= 100)
        point.speed = 80;
    else if (knots >= 80)
        point.speed = 60;
    else if (knots >= 60)
        point.speed = 30;
    else
        point.speed = 20;
    point.vs = 0;
}

static void lf_changeHeight(StreamPoint& point, double feetPerMinute, double feet) {
    point.vs = feetPerMinute;
    point.alt += feet;
    point.airborne = point.alt > 0;
    point.alt = std::max(point.alt, 0.0);
}

static void lf_moveAhead(const LiveAc& ac, StreamPoint& point, double seconds) {
    constexpr double secondsPerHour = 3600;
    constexpr double approachSink = -667, approachFeetPerSecond = 10.005; // some 5 % at 130 knots
    constexpr double takeoffClimb = 1500, takeoffFeetPerSecond = 25;
    const double feet = point.speed * seconds / secondsPerHour * feetPerNm;
    const LatLon ahead = gf_destination(point.lat, point.lon, ac.heading, feet);
    point.stationary = ahead.lat == point.lat && ahead.lon == point.lon;
    point.lat = ahead.lat;
    point.lon = ahead.lon;
    if (ac.landing && ac.flareStage == 0)
        lf_changeHeight(point, approachSink, -seconds * approachFeetPerSecond);
    else if (ac.fs == FlightState::takeOff)
        lf_changeHeight(point, takeoffClimb, seconds * takeoffFeetPerSecond);
}

void lf_extrapolate(LiveAc& ac, std::int32_t count) {
    constexpr std::int32_t groundSeconds = 3, airSeconds = 8, weekSeconds = 604800;
    constexpr double slower = 0.95, slowerLanding = 0.9, leastKnots = 1;
    constexpr std::int32_t steadyCount = 4; // below it a landing aircraft keeps its speed
    if (ac.extendCount < 1) lf_trace(ac.hexid, "its stream has run out: up to {} points are invented", count);
    ac.extendCount = count;
    StreamPoint point = ac.stream.front();
    const double knots = point.speed;
    const bool parked = ac.fs == FlightState::parked;
    if (point.stationary || parked || (ac.onGround && !ac.landingRoll && !ac.departing)) {
        point.stationary = true;
        point.speed = 0;
    } else if (ac.onGround && ac.departing) {
        lf_accelerate(point, knots);
    } else if (ac.onGround) {
        lf_slowDown(point, knots);
    } else if (!ac.landing || count >= steadyCount) {
        point.speed = std::max(knots * (ac.landing ? slowerLanding : slower), leastKnots);
    }
    const std::int32_t seconds = ac.onGround ? groundSeconds : airSeconds;
    if (!point.stationary && (point.speed > 0 || ac.departing)) lf_moveAhead(ac, point, seconds);
    point.dueTick = lf_tickAfter(point.dueTick, (parked ? weekSeconds : seconds) * ticksPerSecond);
    if (parked) { // nobody reports it any more: another one may claim its stand
        ac.feedAtStand = false;
        lf_freeStand(ac);
    }
    ac.stream.pushBack(point);
}

// ---- a real report arrives -----------------------------------------------------------------------------------------

bool checkExtendingSituations(LiveAc& ac, const StreamPoint& point) {
    constexpr double behind = 100; // degrees off the heading
    if (ac.stream.empty()) {
        gf_logLine(fmt::format("{} empty sz?", "checkExtendingSituations"));
        return false;
    }
    if (!ac.onGround && lf_absDegrees(ac.heading, lf_bearing(ac.stream.back(), point)) >= behind)
        return false;
    if (ac.extendCount > 1) lf_trace(ac.hexid, "reported again");
    ac.extendCount = 0;
    lf_widenElasticity(ac);
    ac.stream.front().dueTick = lf_tickAfter(lf_now(), 1);
    ac.holding = false;
    ac.holdStart = 0;
    return true;
}

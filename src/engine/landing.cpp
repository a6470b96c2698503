// Close to the runway the feed says too little: the flare, the touch down, the rotation and the first climb, and what
// a new report may do to an aircraft on its final approach or its landing roll. Worker.

#include "engine/motion.h"
#include "engine/trace.h"

#include "app/log.h"

#include <algorithm>
#include <fmt/format.h>
#include <stdexcept>

// ---- flare and touch down ----------------------------------------------------------------------------------------

static void lf_sink(LiveAc& ac, double feetPerTick, double feetPerMinute, int stage) {
    ac.altStep = feetPerTick;
    ac.stream.front().vs = ac.vsTarget = feetPerMinute;
    ac.flareStage = stage;
}

static double lf_flareHeight(LiveAc& ac) {
    if (!ac.fieldElevationSet && airports.park.known()) {
        ac.fieldElevation = airports.park.elevation;
        ac.fieldElevationSet = true;
    }
    ac.aboveField = ac.fieldElevationSet ? ac.alt - ac.fieldElevation : ac.agl;
    return std::min(ac.agl, ac.aboveField);
}

// Heights are those of the centre of gravity, which stands staticCg above the ground on its wheels.
void lf_flare(LiveAc& ac) {
    constexpr double heights[] = {30, 20, 10, 3}; // feet at which the stages begin
    constexpr double flarePitch = -4 * degToRad;
    if (ac.flareStage >= 4) return;
    if (ac.flareStage > 0) ac.fieldElevationSet = false;
    const double height = ac.flareStage == 0 ? lf_flareHeight(ac) : ac.agl;
    if (!(height <= ac.staticCg + heights[ac.flareStage])) return;
    switch (ac.flareStage) {
    case 0:
        ac.pitchStep = (flarePitch - ac.pitch) / std::max(ac.flareTicks, 1);
        lf_sink(ac, -0.1, -601, 1);
        break;
    case 1: lf_sink(ac, -0.075, -450, 2); break;
    case 2:
        lf_setThrottle(ac, 0);
        lf_sink(ac, -0.05, -300, 3);
        break;
    default: lf_sink(ac, -0.025, -150, 4);
    }
}

static void lf_beginLandingRoll(LiveAc& ac) {
    constexpr double full = 100; // percent
    lf_trace(ac.hexid, "touches down");
    ac.derotating = ac.landingRoll = true;
    ac.landing = false;
    ac.landed = true;
    ac.touchdownHeading = ac.heading;
    lf_setSpoilers(ac, 16383);
    if (ac.category != AcCategory::light) {
        // Reverse thrust: the sign of the lever is that of the models' makers.
        const double lever = ac.titleIsFsltl ? -full : full;
        gf_setSpoilers(ac.objectId, {full, lever, lever});
    }
    if (const double ticks = ac.derotateTicks; ticks > 0) {
        ac.pitchStep = (ac.staticPitch - ac.pitch) / ticks;
        ac.bankStep = (0 - ac.bank) / ticks;
    } else {
        gf_logLine(fmt::format("{} ! onGround slots {:.1F}", ac.callsign, ticks));
        ac.pitchStep = ac.staticPitch;
        ac.bankStep = 0;
    }
    engine.newArrivals.push_back(ac.hexid);
}

void lf_touchdown(LiveAc& ac) {
    if (ac.onGround || ac.takeoffCounter >= 2 || ac.st == SimState::removingFromSim ||
        ac.fs == FlightState::takeOff)
        return;
    if (ac.flareStage > 0 || ac.landing) lf_beginLandingRoll(ac);
    ac.onGround = true;
    ac.altStep = 0;
    ac.takeoffCounter = 1;
}

// ---- rotation and first climb ------------------------------------------------------------------------------------

static double lf_climbShare(std::int32_t counter) { // of altStep: the climb builds up
    if (counter == 0) return 0;
    if (counter > -100) return 0.1;
    if (counter > -200) return 0.2;
    return counter > -300 ? 0.5 : 1;
}

void lf_rotate(LiveAc& ac) {
    constexpr std::int32_t gearUpCounter = -300;
    constexpr double climbPowerFeet = 800; // where take-off power ends
    const std::int32_t counter = --ac.takeoffCounter;
    if (counter >= 1) {
        ac.onGround = false;
        if (ac.pitch > ac.rotatePitch) ac.pitch += ac.pitchStep;
        return;
    }
    ac.bank += ac.bankStep;
    if (ac.pitch > ac.climbPitch) ac.pitch += (ac.climbPitch - ac.rotatePitch) / std::max(ac.liftoffTicks, 1);
    ac.alt += ac.altStep * lf_climbShare(counter);
    if (counter == gearUpCounter) lf_setGear(ac, false);
    if (counter < gearUpCounter && ac.pitch <= ac.climbPitch) {
        ac.pitchStep = 0;
        if (ac.agl >= climbPowerFeet) {
            lf_setThrottle(ac, lf_isRotorcraft(ac) ? 4 : 3);
            setFlightState(ac, FlightState::flying);
            ac.takeoffCounter = 1;
        }
    }
}

void lf_goAroundAfterTouchdown(LiveAc& ac) {
    lf_trace(ac.hexid, "goes around after its touch down");
    setFlightState(ac, FlightState::taxi);
    ac.departing = true;
    lf_setThrottle(ac, 3);
    lf_setSpoilers(ac, 16383);
    lf_setFlaps(ac, 1);
    ac.landing = ac.landed = ac.goingAround = false;
    lf_setLights(ac.objectId, {1, 1, 1, 1, 1, 1, 0});
    lf_widenElasticity(ac); // the take-off test of the next ground segment does the rest
}

// ---- reports during approach and roll ------------------------------------------------------------------------------

bool checkNewPosDuringLanding(LiveAc& ac, StreamPoint& point) {
    constexpr double behind = 90, farBehind = 150; // degrees off the heading
    constexpr double taxiKnots = 40;               // an aircraft that slows down may speed up again below it
    PointStream& stream = ac.stream;
    if (stream.empty()) {
        gf_logLine(fmt::format("{} empty sz?", "checkNewPosDuringLanding"));
        return false;
    }
    const auto offHeading = [&] { return lf_absDegrees(ac.heading, lf_bearing(stream.back(), point)); };
    if (lf_samePlace(stream.back(), point)) return false;
    if (stream.size() >= 2 && offHeading() >= behind) {
        stream.popBack();
        if (stream.size() >= 2 && offHeading() >= behind) stream.popBack();
    }
    if (stream.size() == 1) {
        const double off = offHeading();
        if (ac.landing) {
            if (off >= behind) return false;
        } else if (off >= farBehind) {
            if (ac.extendCount > 0) return false;
            StreamPoint& here = stream.front();
            here.lat = ac.lat;
            here.lon = ac.lon;
            here.dueTick = lf_tickAfter(lf_now(), 1);
        }
    }
    if (ac.extendCount > 0) {
        ac.extendCount = 0;
        lf_widenElasticity(ac);
    }
    const StreamPoint& last = stream.back();
    point.stationary = lf_samePlace(last, point);
    if (!point.stationary && point.speed > last.speed && point.speed > taxiKnots) point.speed = last.speed;
    return true;
}

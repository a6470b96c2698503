// How the stand-in's objects move by themselves. What nobody has released flies straight on, as the simulator's AI
// would. What is released but not frozen drifts off in every part that is free, far enough for a person and a test
// to see that a freeze is missing. What is frozen stays exactly where it was written.

#include "app/geo.h"
#include "simulator/world.h"

#include <algorithm>
#include <cmath>

namespace rig {

static constexpr double feetPerSecondPerKnot = feetPerNm / 3600;

// The drift of what is released and not frozen.
static constexpr double driftKt = 6;         // to the right
static constexpr double driftSinkFps = 8;    // downwards, until the wheels touch
static constexpr double driftTurn = 0.025;   // radians a second, to the right
static constexpr double driftBank = -0.09;   // radians, right wing down
static constexpr double driftPitch = 0.05;   // radians, nose down
static constexpr double driftSettling = 0.5; // of the way to that attitude, a second

// The user's own moves; round figures of an airliner.
static constexpr double taxiKt = 15, rotateKt = 140, climbKt = 180, approachKt = 140;
static constexpr double accelerateKtPerSecond = 5, brakeKtPerSecond = 4;
static constexpr double climbFps = 33, descentFps = -11.7, flareFps = -3, flareFt = 40, climbFt = 3000;
static constexpr double climbPitch = -0.17, flarePitch = -0.07; // radians, nose up

static void advance(SimObject& o, double bearing, double feet) {
    if (feet == 0) return;
    const LatLon to = gf_destination(o.lat, o.lon, bearing, feet);
    o.lat = to.lat;
    o.lon = to.lon;
}

static double lowestAlt(const World& world, const SimObject& o) {
    return world.groundFt(o.lat, o.lon) + o.staticCg;
}

static double approach(double from, double to, double step) {
    return from < to ? std::min(to, from + step) : std::max(to, from - step);
}

static void drift(const World& world, SimObject& o, double seconds) {
    if (!o.frozenPosition) {
        advance(o, o.heading, o.trueAirspeed * feetPerSecondPerKnot * seconds);
        advance(o, o.heading + pi / 2, driftKt * feetPerSecondPerKnot * seconds);
    }
    if (!o.frozenAltitude) o.alt = std::max(o.alt - driftSinkFps * seconds, lowestAlt(world, o));
    if (!o.frozenAttitude) {
        const bool standing = world.onGround(o);
        const double part = std::min(1.0, driftSettling * seconds);
        o.heading = gf_wrapHeading(o.heading + driftTurn * seconds);
        o.pitch += ((standing ? o.staticPitch : driftPitch) - o.pitch) * part;
        o.bank += ((standing ? 0 : driftBank) - o.bank) * part;
    }
}

void moveFree(const World& world, SimObject& o, double seconds) {
    if (o.frozenPosition && o.frozenAltitude && o.frozenAttitude) return;
    if (o.released) {
        drift(world, o, seconds);
        return;
    }
    const bool standing = world.onGround(o);
    if (!o.frozenPosition) advance(o, o.heading, o.trueAirspeed * feetPerSecondPerKnot * seconds);
    if (!o.frozenAltitude)
        o.alt =
            standing ? lowestAlt(world, o) : std::max(o.alt + o.verticalSpeed * seconds, lowestAlt(world, o));
}

void moveUser(World& world, double seconds) {
    SimObject& own = world.user();
    const bool standing = world.onGround(own);
    switch (world.userMove) {
    case UserMove::straight: break;
    case UserMove::taxi:
        own.trueAirspeed = approach(own.trueAirspeed, taxiKt, accelerateKtPerSecond * seconds);
        break;
    case UserMove::takeoff:
        own.trueAirspeed = approach(own.trueAirspeed, climbKt, accelerateKtPerSecond * seconds);
        if (own.trueAirspeed >= rotateKt) {
            const bool level = world.heightFt(own) >= climbFt;
            own.verticalSpeed = level ? 0 : climbFps;
            own.pitch = approach(own.pitch, level ? 0 : climbPitch, 0.05 * seconds);
            own.gearDown = standing;
        }
        break;
    case UserMove::landing:
        own.gearDown = true;
        if (standing) {
            own.trueAirspeed = approach(own.trueAirspeed, 0, brakeKtPerSecond * seconds);
            own.verticalSpeed = 0;
            own.pitch = approach(own.pitch, own.staticPitch, 0.05 * seconds);
        } else {
            const bool flare = world.heightFt(own) < own.staticCg + flareFt;
            own.trueAirspeed = approach(own.trueAirspeed, approachKt, accelerateKtPerSecond * seconds);
            own.verticalSpeed = flare ? flareFps : descentFps;
            own.pitch = approach(own.pitch, flare ? flarePitch : 0, 0.05 * seconds);
        }
        break;
    }
    if (!own.frozenPosition) advance(own, own.heading, own.trueAirspeed * feetPerSecondPerKnot * seconds);
    if (!own.frozenAltitude) {
        const double lowest = lowestAlt(world, own);
        own.alt = standing && own.verticalSpeed <= 0
                      ? lowest
                      : std::max(own.alt + own.verticalSpeed * seconds, lowest);
    }
    own.groundSpeed = own.frozenPosition ? 0 : own.trueAirspeed;
    own.lastLat = own.lat;
    own.lastLon = own.lon;
}

} // namespace rig

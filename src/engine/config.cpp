// What the model of an aircraft shows: throttle, flaps, gear, spoilers and lights, sent as client events when they
// change, and the three configurations of flight by height. Worker.

#include "engine/motion.h"
#include "engine/trace.h"

#include <algorithm>

static constexpr std::uint32_t throttleValues[] = {0, 4914, 8191, 11468, 16383};
static constexpr std::uint32_t flapsValues[] = {0, 3072, 10240, 16383};

void lf_setThrottle(AcBase& ac, int index) {
    if (ac.thrustIndex == index) return;
    gf_queueEvent(ac.objectId, evThrottle, throttleValues[index]);
    ac.thrustIndex = index;
}

void lf_setFlaps(AcBase& ac, int index) {
    if (lf_isRotorcraft(ac) || ac.flapsIndex == index) return;
    gf_queueEvent(ac.objectId, evFlaps, flapsValues[index]);
    ac.flapsIndex = index;
}

void lf_setGear(LiveAc& ac, bool down) {
    if (!lf_isRotorcraft(ac)) gf_queueEvent(ac.objectId, evGear, down ? 1 : 0);
}

void lf_setSpoilers(LiveAc& ac, std::uint32_t value) {
    if (!lf_isRotorcraft(ac)) gf_queueEvent(ac.objectId, evSpoilers, value);
}

void lf_stowSpoilers(LiveAc& ac) {
    if (ac.category != AcCategory::light) gf_setSpoilers(ac.objectId, {0, 0, 0});
}

void lf_setLights(std::uint32_t objectId, const int (&values)[7]) {
    static constexpr std::uint32_t lights[7] = {evNavLights, evBeaconLights, evLandingLights, evTaxiLights,
                                                evStrobes,   evLogoLights,   evCabinLights};
    QueuedEvent events[7];
    for (int i = 0; i < 7; ++i) events[i] = {objectId, lights[i], static_cast<std::uint32_t>(values[i])};
    gf_queueEvents(events, 7);
}

// A rotor needs full power where a wing needs none.
static int lf_rotorOr(const LiveAc& ac, int index) { return lf_isRotorcraft(ac) ? 4 : index; }

void lf_setIdleThrottle(LiveAc& ac) { lf_setThrottle(ac, lf_rotorOr(ac, 0)); }

void lf_highConfig(LiveAc& ac) {
    if (ac.highLightsSet) return;
    ac.highLightsSet = true;
    ac.lowLightsSet = false;
    lf_setLights(ac.objectId, {1, 1, 0, 0, 0, 0, 1});
    lf_setThrottle(ac, lf_rotorOr(ac, 3));
    lf_setGear(ac, false);
    lf_setFlaps(ac, 0);
}

// Above the height at which an approach is configured. Vertical speeds in feet per minute.
static void lf_cleanConfig(LiveAc& ac) {
    constexpr double descending = -250, climbing = 400, notClimbing = 100, gearFeet = 2400, flaps2Feet = 2000;
    const double vs = ac.stream.front().vs;
    lf_narrowElasticity(ac);
    gf_setCabinLights(ac.objectId, true);
    ac.departing = ac.landing = false;
    if (vs <= descending && ac.thrustIndex == 3)
        lf_setThrottle(ac, lf_rotorOr(ac, 2));
    else if (vs > climbing && ac.thrustIndex == 4 && !lf_isRotorcraft(ac))
        lf_setThrottle(ac, 3);
    if (ac.agl >= gearFeet) {
        lf_setGear(ac, false);
        lf_setFlaps(ac, 0);
    } else if (vs <= notClimbing) {
        if (ac.flapsIndex == 0)
            lf_setFlaps(ac, 1);
        else if (ac.agl < flaps2Feet && ac.flapsIndex == 1)
            lf_setFlaps(ac, 2);
    }
}

static void lf_beginApproach(LiveAc& ac) {
    lf_setThrottle(ac, lf_rotorOr(ac, 1));
    lf_setFlaps(ac, 3);
    lf_setGear(ac, true);
    engine.newArrivals.push_back(ac.hexid);
    lf_trace(ac.hexid, "begins its approach");
    ac.landing = true;
    ac.goingAround = false;
    lf_freeStand(ac);
    lf_clearStand(ac);
    lf_widenElasticity(ac);
    ac.takeoffCounter = 1;
}

static void lf_goAround(LiveAc& ac) {
    lf_narrowElasticity(ac);
    lf_setThrottle(ac, 4);
    lf_setGear(ac, false);
    lf_trace(ac.hexid, "{}", ac.landing ? "goes around" : "climbs: gear and flaps up");
    ac.goingAround = true;
    ac.landing = false;
    lf_setFlaps(ac, 0);
    ac.flareStage = 0;
}

static void lf_approachConfig(LiveAc& ac) {
    constexpr double descending = -250, climbing = 600;
    const double vs = ac.stream.front().vs;
    gf_setCabinLights(ac.objectId, false);
    if (vs <= descending) {
        if (!ac.landing && lf_nearCurrentAirport(ac)) lf_beginApproach(ac);
        return;
    }
    // A first climb is steep as well, but no go-around: its gear comes up later.
    if (ac.goingAround || ac.fs == FlightState::takeOff) return;
    if (vs > climbing || (ac.landing && !lf_nearCurrentAirport(ac))) lf_goAround(ac);
}

void lf_lowConfig(LiveAc& ac) {
    constexpr double jetFeet = 2050, otherFeet = 625;
    if (!ac.lowLightsSet) {
        ac.lowLightsSet = true;
        ac.highLightsSet = false;
        lf_setLights(ac.objectId, {1, 1, 1, 1, 1, 1, 1});
    }
    const bool jet = ac.category == AcCategory::buzjets || ac.category == AcCategory::large ||
                     ac.category == AcCategory::heavy;
    if (ac.agl > (jet ? jetFeet : otherFeet))
        lf_cleanConfig(ac);
    else
        lf_approachConfig(ac);
}

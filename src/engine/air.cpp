// Airborne segments: when a segment ends, and the steps of altitude, pitch, bank and heading that lead through it.
// The last feet before the runway and the first ones after it are in landing.cpp. Worker.

#include "engine/motion.h"

#include "feed/feed.h"

#include <algorithm>
#include <cmath>

// The speed at which a segment from the air to the ground is flown when the feed has none for its start.
static constexpr double unknownApproachKnots = 100;
static constexpr double standardQnh = 1013; // hectopascals: no correction at or below it
static constexpr double leastDescent = -601, touchdownDescent = -600; // feet per minute
static constexpr double lowAglFeet = 1000;

double lf_pitchOfClimb(double feetPerMinute) {
    constexpr double levelDegrees = -3, degreesPerStep = 2.2, step = 600, mostClimb = 2400, mostSink = -3000;
    const double v =
        feetPerMinute > 0 ? std::min(feetPerMinute, mostClimb) : std::max(feetPerMinute, mostSink) / 2;
    return (levelDegrees - v / step * degreesPerStep) * degToRad;
}

bool lf_nearCurrentAirport(const LiveAc& ac) {
    constexpr double nearNm = 10;
    return airports.park.known() &&
           gf_distanceNm(ac.lat, ac.lon, airports.park.lat, airports.park.lon) <= nearNm;
}

void nextPosAir(LiveAc& ac) {
    const StreamPoint& p0 = ac.stream.front();
    const StreamPoint& p1 = ac.stream.second();
    if (p1.stationary) {
        if (lf_isRotorcraft(ac)) lf_timeGroundSegment(ac);
        return;
    }
    double knots = lf_segmentSpeed(p0, p1);
    if (ac.landing && !p1.airborne) knots = p0.speed > 0 ? p0.speed : unknownApproachKnots;
    lf_setDueTick(ac, lf_flightTicks(lf_distanceNm(p0, p1), knots));
}

double lf_descentRate(LiveAc& ac) {
    constexpr double lastFeet = 100, perHectopascal = 6;
    if (ac.agl <= lastFeet) return touchdownDescent;
    const double mean = (ac.stream.front().vs + ac.stream.second().vs) / 2;
    return std::min(mean - (qnhReader.currentQnh - standardQnh) * perHectopascal, leastDescent);
}

// The rate becomes that of the target, and of the segment.
static void lf_flyRate(LiveAc& ac, double feetPerMinute) {
    ac.stream.second().vs = ac.vsTarget = feetPerMinute;
    ac.altStep = feetPerMinute / ticksPerMinute;
}

static void lf_climbAway(LiveAc& ac) {
    const StreamPoint& p1 = ac.stream.second();
    ac.altStep = p1.alt > ac.alt ? std::min((p1.alt - ac.alt) / lf_segmentTicks(ac), ac.climbStep) : 0;
}

// In the air, while the feed already shows the aircraft on the ground, now and at the next point: either it
// touches and goes, and the engine has not yet brought it down, or it still has to be brought down.
static void lf_altStepGround(LiveAc& ac) {
    constexpr double climbingSum = 100;               // feet per minute, over the whole stream
    constexpr std::size_t firstPlace = 2, places = 8; // behind p1; farther ones are too late to be of use
    PointStream& stream = ac.stream;
    double sum = 0;
    for (std::size_t i = 0; i < stream.size(); ++i) sum += stream[i].vs;
    if (ac.landing || sum <= climbingSum) {
        lf_flyRate(ac, lf_descentRate(ac));
        lf_setGear(ac, true);
        return;
    }
    std::size_t found = firstPlace;
    const std::size_t end = std::min(firstPlace + places, stream.size() - 1);
    while (found < end && !stream[found].airborne) ++found;
    if (found < end) {
        for (; found > 1; --found) stream.eraseAt(1);
        nextPosAir(ac);
        StreamPoint& p1 = stream.second();
        p1.dueTick = lf_tickAfter(lf_now(), lf_segmentTicks(ac));
        lf_aimAtTarget(ac);
        ac.tasTarget = p1.tas;
        ac.vsTarget = p1.vs;
        lf_climbAway(ac);
    } else {
        lf_flyRate(ac, std::max(stream.second().vs, -leastDescent));
    }
    lf_setGear(ac, true);
}

static void lf_lastApproach(LiveAc& ac) {
    // The field's elevation is a target only on an approach to that field.
    if (qnhReader.currentQnh > standardQnh)
        lf_flyRate(ac, lf_descentRate(ac));
    else if (lf_nearCurrentAirport(ac))
        ac.altStep = (airports.park.elevation - ac.alt) / lf_segmentTicks(ac);
    else
        lf_flyRate(ac, leastDescent);
    lf_setGear(ac, true);
}

static void lf_startAltitude(LiveAc& ac) {
    constexpr double leastClimbStep = 0.2; // feet per tick: low and not landing, an aircraft goes up
    constexpr double level = 100;          // feet per minute, of both points together
    const StreamPoint& p0 = ac.stream.front();
    const StreamPoint& p1 = ac.stream.second();
    if (!p0.airborne) {
        if (p1.airborne)
            lf_climbAway(ac);
        else
            lf_altStepGround(ac);
        return;
    }
    if (!p1.airborne) {
        lf_lastApproach(ac);
        return;
    }
    const double step = (p1.alt - ac.alt) / lf_segmentTicks(ac);
    if (ac.landing) {
        if (p0.alt == p1.alt && ac.agl <= lowAglFeet && p0.vs + p1.vs <= level)
            lf_flyRate(ac, lf_descentRate(ac));
        else
            ac.altStep = step;
    } else {
        ac.altStep = std::min(ac.agl > lowAglFeet ? step : std::max(step, leastClimbStep), ac.climbStep);
    }
}

// The turn, in radians: to the reported heading near the ground, where the wind shows, otherwise towards the leg
// behind this one.
static double lf_headingChange(const LiveAc& ac) {
    constexpr double landingAglFeet = 2000;
    const StreamPoint& p1 = ac.stream[1];
    if (p1.trueHeadingSource && p1.bankValid && p1.headingValid &&
        ac.agl < (ac.landing ? landingAglFeet : lowAglFeet))
        return gf_headingDiff(ac.heading, p1.heading);
    for (std::size_t i = 2; i < ac.stream.size(); ++i)
        if (!lf_samePlace(p1, ac.stream[i])) return gf_headingDiff(ac.heading, lf_bearing(p1, ac.stream[i]));
    return 0;
}

static void lf_startTurn(LiveAc& ac) {
    const CategoryLimits& limits = lf_categoryLimits(ac.category);
    const StreamPoint& p1 = ac.stream.second();
    const double ticks = lf_segmentTicks(ac), turn = lf_headingChange(ac);
    ac.headingStep = turn / ticks;
    if (p1.bankValid) {
        ac.bankStep = (p1.bank - ac.bank) / ticks;
    } else {
        const double bank = -std::clamp(turn, -limits.bank, limits.bank); // a right turn banks negative
        ac.bankStep = std::clamp((bank - ac.bank) / ticks, -limits.bankRate, limits.bankRate);
    }
}

void lf_startAirSegment(LiveAc& ac) {
    if (ac.fs != FlightState::takeOff && ac.fs != FlightState::flying)
        setFlightState(ac, FlightState::flying);
    ac.tasTarget = ac.stream.second().tas;
    if (ac.flareStage <= 0) { // the flare has its own rates
        ac.vsTarget = ac.stream.second().vs;
        lf_startAltitude(ac);
    }
    if (ac.fs != FlightState::takeOff) {
        const double rate = lf_categoryLimits(ac.category).pitchRate;
        const double step = (lf_pitchOfClimb(ac.stream.second().vs) - ac.pitch) / lf_segmentTicks(ac);
        ac.pitchStep = std::clamp(step, -rate, rate);
    }
    lf_startTurn(ac);
    if (ac.stream.front().alt >= lightsChangeFeet)
        lf_highConfig(ac);
    else
        lf_lowConfig(ac);
}

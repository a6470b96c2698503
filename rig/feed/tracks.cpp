// Lays the ground path of a flight and flies it second by second.

#include "tracks.h"

#include "app/geo.h"

#include <algorithm>
#include <cmath>

namespace rig {

constexpr double feetPerMeter = feetPerNm / metersPerNm;
constexpr double meterPerSecondPerKnot = metersPerNm / 3600;
constexpr double glideSlope = 0.052408; // tangent of 3 degrees

static LatLon away(const LatLon& from, double bearing, double meters) {
    return gf_destination(from.lat, from.lon, bearing, meters * feetPerMeter);
}

// One piece of the ground path: straight, or a turn about a centre.
struct Leg {
    LatLon start;      // of a straight leg; of a turn its centre
    double bearing;    // radians: at the start of a straight leg; of a turn, from the centre to the start
    double length;     // metres along the path
    double radius = 0; // metres; 0: straight
    double side = 1;   // 1: a turn to the right, -1: to the left
};

static LatLon pointOn(const Leg& leg, double along) {
    if (leg.radius == 0) return away(leg.start, leg.bearing, along);
    return away(leg.start, leg.bearing + leg.side * along / leg.radius, leg.radius);
}

struct GroundPath {
    std::vector<Leg> legs;
    double length = 0;

    void add(const Leg& leg) {
        legs.push_back(leg);
        length += leg.length;
    }
    LatLon at(double along) const {
        std::size_t i = 0;
        while (i + 1 < legs.size() && along > legs[i].length) along -= legs[i++].length;
        return pointOn(legs[i], along);
    }
};

// A turn that begins at a point with a heading; gives the heading at its end.
static double addTurn(GroundPath& path, const LatLon& from, double heading, double side, double angle,
                      double radius) {
    const LatLon centre = away(from, heading + side * pi / 2, radius);
    path.add({centre, gf_bearing(centre, from), radius * angle, radius, side});
    return gf_wrapHeading(heading + side * angle);
}

// Fills in the headings: each from the fix before to the fix after, as long as the aircraft moves.
static void setHeadings(std::vector<TrueFix>& track, double startHeading) {
    constexpr double leastMoveNm = 0.5 / metersPerNm;
    double heading = startHeading;
    for (std::size_t i = 0; i < track.size(); ++i) {
        const TrueFix& a = track[i > 0 ? i - 1 : 0];
        const TrueFix& b = track[std::min(i + 1, track.size() - 1)];
        if (gf_distanceNm(a.lat, a.lon, b.lat, b.lon) > leastMoveNm)
            heading = gf_bearing(a.lat, a.lon, b.lat, b.lon);
        track[i].heading = track[i].course = heading * radToDeg;
    }
}

static TrueFix fixAt(const GroundPath& path, double along, double time) {
    const LatLon place = path.at(along);
    TrueFix fix;
    fix.time = time;
    fix.lat = place.lat;
    fix.lon = place.lon;
    return fix;
}

static double interpolate(const std::vector<std::pair<double, double>>& table, double x) {
    if (x <= table.front().first) return table.front().second;
    for (std::size_t i = 1; i < table.size(); ++i)
        if (x <= table[i].first)
            return table[i - 1].second + (table[i].second - table[i - 1].second) * (x - table[i - 1].first) /
                                             (table[i].first - table[i - 1].first);
    return table.back().second;
}

// Height over the threshold's level in feet, by the metres still to go to the touch-down point: a level-off, the
// glide path, and a flare that leaves about 120 feet a minute at the touch-down of a jet.
static double approachHeight(double toGo, double platformFt, double topFt) {
    constexpr double flareFt = 40, softness = 0.3;
    constexpr double descentFtPerMeter = 320 / metersPerNm;
    const double flareLength = flareFt * (2 - softness) / (glideSlope * feetPerMeter);
    if (toGo <= 0) return 0;
    if (toGo < flareLength) {
        const double x = toGo / flareLength;
        return flareFt * ((1 - softness) * x * x + softness * x);
    }
    const double glide = flareFt + (toGo - flareLength) * glideSlope * feetPerMeter;
    if (glide < platformFt) return glide;
    const double levelFrom = 15 * metersPerNm; // farther out the descent from the cruise goes on
    return std::clamp(platformFt + (toGo - levelFrom) * descentFtPerMeter, platformFt, topFt);
}

// The final approach, the turn onto it, and the leg from far away.
struct Approach {
    GroundPath path; // to the end of the roll-out, which is `rollOut` behind the threshold
    double toThreshold = 0, platform = 0, top = 0;
    std::vector<std::pair<double, double>> speeds; // by nautical miles to the threshold
};

static Approach layApproach(const KnownAirport& airport, const Performance& type, double rollOut,
                            Dice& dice) {
    constexpr double finalLength = 10 * metersPerNm, turnRadius = 2200; // metres
    const double course = airport.runwayBearing * degToRad;
    const LatLon threshold{airport.thresholdLat, airport.thresholdLon};
    // Backwards from the threshold.
    const LatLon onFinal = away(threshold, course + pi, finalLength);
    const double side = dice.oneIn(2) ? 1 : -1, angle = dice.between(20, 150) * degToRad;
    const LatLon centre = away(onFinal, course + side * pi / 2, turnRadius);
    const double fromCentre = course - side * pi / 2; // towards onFinal
    const LatLon turnStart = away(centre, fromCentre - side * angle, turnRadius);
    const double legLength = dice.between(35, 60) * metersPerNm;
    const LatLon start = away(turnStart, course - side * angle + pi, legLength);

    Approach approach;
    approach.path.add({start, gf_bearing(start, turnStart), legLength});
    approach.path.add({centre, fromCentre - side * angle, turnRadius * angle, turnRadius, side});
    approach.toThreshold = approach.path.length + finalLength;
    approach.path.add({onFinal, gf_bearing(onFinal, threshold), finalLength + rollOut});
    approach.speeds = {{0, type.approachKt},
                       {4, type.approachKt + 5},
                       {9, std::min(type.cruiseKt, type.approachKt + 40)},
                       {20, std::min(type.cruiseKt, 240.0)},
                       {60, std::min(type.cruiseKt, 310.0)}};
    return approach;
}

static void drawHeights(Approach& approach, const Performance& type, Dice& dice) {
    approach.platform = dice.between(2500, 3000);
    approach.top = std::min(type.cruiseFt, dice.between(9000, 16000));
}

std::vector<TrueFix> makeApproach(const KnownAirport& airport, const Performance& type, double thresholdTime,
                                  double rollOutM, double endKt, Dice& dice) {
    Approach approach = layApproach(airport, type, rollOutM, dice);
    drawHeights(approach, type, dice);
    const double touchDown = approach.toThreshold + touchDownPointM;
    const double endMps = endKt * meterPerSecondPerKnot;
    std::vector<TrueFix> track;
    double along = 0, time = 0, crossed = 0;
    double speedKt = interpolate(approach.speeds, approach.toThreshold / metersPerNm);
    for (; along < approach.path.length; ++time) {
        TrueFix fix = fixAt(approach.path, along, time);
        fix.onGround = along >= touchDown;
        fix.altFt = airport.elevationFt + approachHeight(touchDown - along, approach.platform, approach.top);
        fix.speedKt = speedKt;
        track.push_back(fix);
        if (along < approach.toThreshold) crossed = time;
        const double before = speedKt;
        if (fix.onGround) {
            const double left = std::max(1.0, approach.path.length - along),
                         mps = speedKt * meterPerSecondPerKnot;
            speedKt -= std::max(0.0, mps * mps - endMps * endMps) / (2 * left) / meterPerSecondPerKnot;
            speedKt = std::max(endKt, speedKt);
        } else {
            speedKt = interpolate(approach.speeds, std::max(0.0, approach.toThreshold - along) / metersPerNm);
        }
        along += (before + speedKt) / 2 * meterPerSecondPerKnot;
    }
    for (TrueFix& fix : track) fix.time += thresholdTime - crossed;
    setHeadings(track, approach.path.legs.front().bearing);
    return track;
}

std::vector<TrueFix> makeArrival(const KnownAirport& airport, const Performance& type, double thresholdTime,
                                 Dice& dice) {
    constexpr double exitKt = 25, taxiKt = 15;
    constexpr double braking = 1.8, exitRadius = 120, taxiBraking = 0.5; // metres, m/s²
    const double landingSpeed = type.approachKt * meterPerSecondPerKnot;
    const double exitSpeed = exitKt * meterPerSecondPerKnot;
    const double rollOut =
        touchDownPointM + (landingSpeed * landingSpeed - exitSpeed * exitSpeed) / (2 * braking) + 60;
    Approach approach = layApproach(airport, type, rollOut, dice);
    GroundPath& path = approach.path;
    const double toThreshold = approach.toThreshold;
    const LatLon exit = path.at(path.length);
    const double exitSide = dice.oneIn(2) ? 1 : -1;
    const double taxiHeading =
        addTurn(path, exit, airport.runwayBearing * degToRad, exitSide, pi / 3, exitRadius);
    path.add({path.at(path.length), taxiHeading, 250});

    // Time of the threshold from the start, so that it is crossed when it was asked for.
    drawHeights(approach, type, dice);
    const double touchDown = toThreshold + touchDownPointM;
    std::vector<TrueFix> track;
    double along = 0, time = 0, crossed = 0,
           speedKt = interpolate(approach.speeds, toThreshold / metersPerNm);
    constexpr int standingSeconds = 40; // reports go on a little at the stop
    for (int standing = 0; standing < standingSeconds; ++time) {
        TrueFix fix = fixAt(path, along, time);
        fix.onGround = along >= touchDown;
        fix.altFt = airport.elevationFt + approachHeight(touchDown - along, approach.platform, approach.top);
        fix.speedKt = speedKt;
        track.push_back(fix);
        if (along < toThreshold) crossed = time;
        const double before = speedKt;
        if (!fix.onGround) {
            speedKt = interpolate(approach.speeds, std::max(0.0, toThreshold - along) / metersPerNm);
        } else if (along + 100 < path.length) {
            const double floorKt = along < toThreshold + rollOut ? exitKt : taxiKt;
            speedKt = std::max(std::min(floorKt, speedKt), speedKt - braking / meterPerSecondPerKnot);
        } else {
            const double left = std::max(0.0, path.length - along);
            speedKt = std::min(speedKt, std::sqrt(2 * taxiBraking * left) / meterPerSecondPerKnot);
            if (speedKt < 1) {
                speedKt = 0;
                ++standing;
            }
        }
        along = std::min(path.length, along + (before + speedKt) / 2 * meterPerSecondPerKnot);
    }
    for (TrueFix& fix : track) fix.time += thresholdTime - crossed;
    setHeadings(track, path.legs.front().bearing);
    return track;
}

std::vector<TrueFix> makeDeparture(const KnownAirport& airport, const Performance& type, double rollTime,
                                   Dice& dice) {
    constexpr double acceleration = 2.0, airAcceleration = 0.6, turnRadius = 2800, reach = 70 * metersPerNm;
    constexpr double fastestBelowKt = 250, speedLimitFt = 10000, secondsToFullClimb = 8;
    const double course = airport.runwayBearing * degToRad;
    const LatLon threshold{airport.thresholdLat, airport.thresholdLon};
    GroundPath path;
    path.add({away(threshold, course, lineUpM), course, 3000 + dice.between(2, 5) * metersPerNm});
    const double heading = addTurn(path, path.at(path.length), course, dice.oneIn(2) ? 1 : -1,
                                   dice.between(10, 140) * degToRad, turnRadius);
    path.add({path.at(path.length), heading, reach});

    std::vector<TrueFix> track;
    const int lineUp = 10 + dice.below(20); // seconds on the runway before the roll
    double along = 0, speedKt = 0, height = 0, secondsInAir = 0;
    for (int second = -lineUp; along < path.length; ++second) {
        TrueFix fix = fixAt(path, along, rollTime + second);
        fix.onGround = height == 0;
        fix.altFt = airport.elevationFt + height;
        fix.speedKt = speedKt;
        track.push_back(fix);
        if (second < 0) continue;
        const double before = speedKt;
        if (speedKt < type.approachKt && height == 0) {
            speedKt += acceleration / meterPerSecondPerKnot;
        } else {
            const double limit =
                height < speedLimitFt ? std::min(type.cruiseKt, fastestBelowKt) : type.cruiseKt;
            speedKt = std::min(limit, speedKt + airAcceleration / meterPerSecondPerKnot);
            secondsInAir += 1;
            const double climb = type.climbFpm * std::min(1.0, secondsInAir / secondsToFullClimb);
            height = std::min(type.cruiseFt, height + climb / 60);
        }
        along += (before + speedKt) / 2 * meterPerSecondPerKnot;
    }
    setHeadings(track, course);
    return track;
}

std::vector<TrueFix> makeOverflight(const KnownAirport& airport, const Performance& type, double nearestTime,
                                    Dice& dice) {
    constexpr double half = 80 * metersPerNm, turnRadius = 25000;
    const LatLon centre{airport.lat, airport.lon};
    const double heading = dice.between(0, twoPi);
    const double side = dice.oneIn(2) ? 1 : -1;
    const LatLon nearest = away(centre, heading + side * pi / 2, dice.between(3, 55) * metersPerNm);
    const LatLon start = away(nearest, heading + pi, half);
    GroundPath path;
    path.add({start, gf_bearing(start, nearest), half});
    double onward = heading;
    if (dice.oneIn(2)) // a change of course at a way point
        onward = addTurn(path, nearest, heading, -side, dice.between(5, 30) * degToRad, turnRadius);
    path.add({path.at(path.length), onward, half});

    const double speedKt = type.cruiseKt + dice.between(-25, 25);
    const double altitude = type.cruiseFt + 1000 * dice.below(5);
    const double perSecond = speedKt * meterPerSecondPerKnot;
    std::vector<TrueFix> track;
    const double begin = nearestTime - half / perSecond;
    for (int second = 0; second * perSecond < path.length; ++second) {
        TrueFix fix = fixAt(path, second * perSecond, begin + second);
        fix.altFt = altitude;
        fix.speedKt = speedKt;
        track.push_back(fix);
    }
    setHeadings(track, path.legs.front().bearing);
    return track;
}

std::vector<TrueFix> makeLocalFlight(const KnownAirport& airport, const Performance& type, double startTime,
                                     double endTime, Dice& dice) {
    constexpr double turnRate = 3 * degToRad; // per second
    constexpr double farthestNm = 18;
    const LatLon home{airport.lat, airport.lon};
    const double speedKt = type.cruiseKt + dice.between(-8, 8);
    const double perSecond = speedKt * meterPerSecondPerKnot, radius = perSecond / turnRate;
    const double length = std::max(0.0, endTime - startTime) * perSecond;
    LatLon place = away(home, dice.between(0, twoPi), dice.between(4, farthestNm) * metersPerNm);
    double heading = dice.between(0, twoPi);
    GroundPath path;
    while (path.length < length) {
        const double leg = dice.between(2, 6) * metersPerNm;
        path.add({place, heading, leg});
        place = path.at(path.length);
        heading = gf_bearing(path.at(path.length - 100), place);
        // Far out the turn leads home, else anywhere.
        const double wanted = gf_distanceNm(place, home) > farthestNm
                                  ? gf_headingDiff(heading, gf_bearing(place, home))
                                  : dice.between(-2.5, 2.5);
        heading = addTurn(path, place, heading, wanted < 0 ? -1 : 1, std::fabs(wanted), radius);
        place = path.at(path.length);
    }
    const double altitude = airport.elevationFt + type.cruiseFt + dice.between(0, 1500);
    const double swell = dice.between(0, 300), period = dice.between(300, 900); // feet, seconds
    std::vector<TrueFix> track;
    for (int second = 0; startTime + second < endTime; ++second) {
        TrueFix fix = fixAt(path, second * perSecond, startTime + second);
        fix.altFt = altitude + swell * std::sin(twoPi * second / period);
        fix.speedKt = speedKt;
        track.push_back(fix);
    }
    setHeadings(track, path.legs.empty() ? 0 : path.legs.front().bearing);
    return track;
}

} // namespace rig

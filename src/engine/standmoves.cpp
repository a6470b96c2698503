// Moves that need a stand: looking for one after a stop, driving to it and arriving, the watch for the moment that
// the feed moves a parked aircraft away, and leaving forwards or backwards. Worker.

#include "engine/motion.h"
#include "engine/parking.h"
#include "engine/trace.h"

#include "app/log.h"
#include "app/parameters.h"
#include "platform/clock.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

static constexpr double metersInNm = 1 / metersPerNm;

// ---- to the stand --------------------------------------------------------------------------------------------------

static void lf_removeForParking(LiveAc& other, const LiveAc& ac) {
    lf_trace(other.hexid, "{} parks where it stands, or beside it", ac.callsign);
    removeAircraftFromSim(other, Removed::standClaimed);
}

static bool lf_isParkedAt(const LiveAc& other, std::uint32_t standId) {
    return other.standId == standId && other.fs == FlightState::parked && other.st == SimState::active;
}

static void lf_clearStandFor(const LiveAc& ac, const Stand& stand) {
    const auto standId = static_cast<std::uint32_t>(stand.seq);
    for (LiveAc& other : engine.live) {
        if (&other == &ac || !lf_isParkedAt(other, standId)) continue;
        gf_logLine(
            fmt::format("{:8}: {:8} removed, {} wants to park there", stand.id, other.callsign, ac.callsign));
        lf_removeForParking(other, ac);
    }
    for (const std::int32_t seq : stand.adjacent)
        for (LiveAc& other : engine.live) {
            const auto nextId = static_cast<std::uint32_t>(seq);
            const bool stands = lf_isParkedAt(other, nextId) ||
                                (other.standId == nextId && other.fs == FlightState::pushingBack &&
                                 other.st == SimState::active);
            if (&other == &ac || !stands || !lf_collidesAt(stand, ac.radiusNm, nextId, other.radiusNm))
                continue;
            gf_logLine(
                fmt::format("{:8}: {:8} removed by parking {} at adjacent and possibly colliding stand {}",
                            lf_standName(nextId), other.callsign, ac.callsign, stand.id));
            lf_removeForParking(other, ac);
        }
}

// The way from the last point to the stand of the aircraft, and a short stop there.
static void drive2Stand(LiveAc& ac, const Stand& stand) {
    constexpr std::int32_t leastTicks = 100, stopTicks = 50;
    if (ac.stream.empty()) return gf_logLine(fmt::format("{} empty sz?", "drive2Stand"));
    StreamPoint& last = ac.stream.back();
    last.speed = ac.towSpeed;
    const double nm = gf_distanceNm(last.lat, last.lon, stand.lat, stand.lon);
    const std::int32_t ticks = std::max(lf_flightTicks(nm, ac.towSpeed), leastTicks);
    StreamPoint place = last;
    place.lat = stand.lat;
    place.lon = stand.lon;
    place.bank = ac.bank;
    place.bankValid = true;
    place.headingValid = false;
    place.alt = ac.alt;
    place.speed = place.tas = ac.towSpeed;
    place.track = stand.heading * radToDeg;
    place.vs = 0;
    place.dueTick = lf_tickAfter(ac.stream.front().dueTick, ticks);
    place.airborne = false;
    place.stationary = lf_samePlace(last, place);
    ac.stream.pushBack(place);
    place.speed = place.tas = 0;
    place.stationary = true;
    place.dueTick = lf_tickAfter(place.dueTick, stopTicks);
    ac.stream.pushBack(place);
    ac.targetHeading = stand.heading;
    lf_clearCurve(ac); // it led through points that are no longer in the stream
    ac.holding = false;
    ac.holdStart = 0;
    if (ac.extendCount <= 0) return;
    ac.extendCount = 0;
    lf_widenElasticity(ac);
}

void try2Park(LiveAc& ac, bool wide) {
    constexpr double closeMeters = 20;
    if (ac.stream.empty()) return gf_logLine(fmt::format("{} empty sz?", "try2Park"));
    const StreamPoint& rest = ac.stream.back();
    if (rest.lat == ac.lastParkLat && rest.lon == ac.lastParkLon) return; // asked already
    ac.lastParkLat = rest.lat;
    ac.lastParkLon = rest.lon;
    Stand* stand = lf_findStand(rest.lat, rest.lon, ac, wide ? standSearchMeters : closeMeters, wide);
    if (!stand) return lf_trace(ac.hexid, "comes to rest, but on no known stand");
    if (lf_isKeptForUser(*stand)) return lf_trace(ac.hexid, "stand {} is kept for the user", stand->id);
    lf_clearStandFor(ac, *stand);
    lf_makeWay(ac, *stand);
    lf_takeStand(ac, *stand);
    ac.lastParkDist = 0; // what was seen at an earlier stand says nothing of this one
    ac.recedeCount = 0;
    lf_trace(ac.hexid, "drives to stand {}, {:.0f} m from where the feed stops", stand->id,
             gf_distanceNm(rest.lat, rest.lon, stand->lat, stand->lon) * metersPerNm);
    ac.stream.cutToFront();
    setFlightState(ac, FlightState::parking);
    drive2Stand(ac, *stand);
}

// ---- arrival -------------------------------------------------------------------------------------------------------

static bool lf_isTakenByAnother(const LiveAc& ac, const Stand& stand) {
    return stand.occupied || std::any_of(engine.live.begin(), engine.live.end(), [&](const LiveAc& other) {
               return &other != &ac && lf_isParkedAt(other, ac.standId);
           });
}

void lf_arriveAtStand(LiveAc& ac) {
    constexpr double onStandNm = 2 * metersInNm;
    Stand* stand = lf_standOf(ac);
    if (stand && lf_isTakenByAnother(ac, *stand)) {
        lf_trace(ac.hexid, "stand {} has been taken meanwhile", stand->id);
        ac.extendCount = 1; // no further point
        removeAircraftFromSim(ac, Removed::standClaimed);
        stand->occupied = true; // the removal took the mark of the one who stands there
        return;
    }
    if (!lf_isWithin(ac.lat, ac.lon, ac.standLat, ac.standLon, onStandNm)) {
        lf_trace(ac.hexid, "has not come to its stand");
        return setFlightState(ac, FlightState::taxi);
    }
    setFlightState(ac, FlightState::parked);
    ac.parkedSince = app.weekSlot.load();
    if (!stand) ac.standId = 0;
    if (ac.towed) gf_logLine(fmt::format("          towed aircraft {} parks", ac.callsign));
    ac.stream.front().stationary = true;
    lf_beginParked(ac, stand);
    lf_shutDownAtStand(ac);
    gf_logLine(fmt::format("{:8}: {:8} arrived at stand", lf_standName(ac.standId), ac.callsign));
    lf_trace(ac.hexid, "arrived at stand {}, {:.0f} degrees off its heading", lf_standName(ac.standId),
             lf_absDegrees(ac.standHeading, ac.heading));
    engine.newArrivals.push_back(ac.hexid);
    if (!stand || ac.airline.empty() || ac.standCargo != ac.cargo) return;
    if (!lf_addRealStandOption(ac.standId, ac, ac.parkedSince, false)) return;
    lf_noteLearned(ac.hexid, ac.parkedSince);
    lf_enforceMaxPark(0);
}

// ---- the watch while parked ----------------------------------------------------------------------------------------

// Whether a movement away from the stand is a tow to another one: too soon after the landing for a next flight.
static bool lf_isTow(const LiveAc& ac) {
    constexpr std::int32_t weekTicks =
        604800 * ticksPerSecond; // added to the due tick when the aircraft parked
    const std::int32_t since = lf_tickAfter(ac.stream.front().dueTick, -weekTicks);
    const std::int32_t ticks = lf_ticksBetween(since, lf_now());
    switch (ac.category) {
    case AcCategory::buzjets: return ticks < 90000;
    case AcCategory::large: return ticks < 150000;
    case AcCategory::heavy: return ticks < 360000;
    default: return false;
    }
}

static void lf_standLeft(LiveAc& ac) {
    if (ac.extendCount > 0) {
        if (ac.fs == FlightState::parked) {
            ac.towed = ac.landed && lf_isTow(ac);
            ac.landed = false;
            if (ac.towed) lf_trace(ac.hexid, "is towed: it leaves too soon for a flight");
        }
        ac.stream.front().dueTick = lf_tickAfter(lf_now(), 1);
        ac.extendCount = 0;
        lf_widenElasticity(ac);
    }
    const WeekSlot slot = app.weekSlot.load();
    const std::uint32_t standId = lf_standOf(ac) ? ac.standId : 0; // 0: it is not of the present airport
    if (!ac.airline.empty() && ac.standCargo == ac.cargo && lf_addRealStandOption(standId, ac, slot, true))
        lf_noteLearned(ac.hexid, slot);
    lf_freeStand(ac);
}

// True when a report near the stand shows that the aircraft goes: it recedes for the third time, or far enough.
static bool lf_recedes(LiveAc& ac, double d) {
    constexpr double noiseNm = 3 * metersInNm;
    constexpr std::int32_t often = 3;
    if (ac.lastParkDist == 0) {
        ac.firstParkDist = ac.lastParkDist = d;
        ac.recedeCount = 0;
    } else if (d >= ac.lastParkDist + noiseNm) {
        ++ac.recedeCount;
        ac.lastParkDist = d;
        const double away = d - ac.firstParkDist;
        if ((ac.recedeCount >= often && away >= ac.radiusNm / 2) || away > ac.radiusNm) return true;
    } else if (d <= ac.lastParkDist - noiseNm) {
        ac.recedeCount = 0;
    }
    ac.leavingStand = false;
    return false;
}

bool lf_checkLeaveStand(LiveAc& ac, StreamPoint& point) {
    constexpr double nearNm = 85 * metersInNm, nearAfterDrivingNm = 170 * metersInNm,
                     jumpNm = 200 * metersInNm;
    ac.feedAtStand = true;
    const double d = gf_distanceNm(ac.standLat, ac.standLon, point.lat, point.lon);
    if (d <= (ac.fsPrev == FlightState::parking ? nearAfterDrivingNm : nearNm)) {
        ac.parkedAt = plat::utcNow();
        if (!lf_recedes(ac, d)) return false;
    } else if (ac.fs == FlightState::parking) {
        lf_trace(ac.hexid, "is reported elsewhere on its way to stand {}", lf_standName(ac.standId));
        setFlightState(ac, FlightState::taxi);
        point.stationary = false;
        return true;
    } else if (d > jumpNm) {
        if (ac.st != SimState::active) return true;
        lf_trace(ac.hexid, "its reports jumped {:.0f} m from stand {}", d * metersPerNm,
                 lf_standName(ac.standId));
        removeAircraftFromSim(ac, Removed::feedJumped);
        return false;
    }
    lf_trace(ac.hexid, "leaves stand {}: reported {:.0f} m from it", lf_standName(ac.standId),
             d * metersPerNm);
    point.stationary = false;
    ac.leavingStand = true;
    if (ac.fsPrev != FlightState::parked) {
        lf_standLeft(ac);
        setFlightState(ac, FlightState::parked);
    }
    return true;
}

// ---- away from the stand -------------------------------------------------------------------------------------------

static StreamPoint lf_towPoint(const LiveAc& ac, const LatLon& place, std::int32_t ticksFromNow) {
    StreamPoint point = ac.stream.front();
    point.lat = place.lat;
    point.lon = place.lon;
    point.speed = point.tas = ac.towSpeed;
    point.vs = 0;
    point.dueTick = lf_tickAfter(lf_now(), ticksFromNow);
    point.stationary = point.airborne = false;
    return point;
}

static void lf_startToMove(LiveAc& ac) {
    ac.extendCount = 0;
    ac.stream.front().speed = ac.towSpeed;
    ac.targetHeading = ac.heading;
    // Left over from the way to the stand: the one would turn the aircraft as it leaves, the other would have it wait
    // since then for its feed to move on.
    ac.headingLag = false;
    ac.holding = false;
    ac.holdStart = 0;
}

void lf_pullOut(LiveAc& ac) {
    ac.leavingStand = false;
    const double nm = 2 * ac.radiusNm;
    const LatLon ahead = gf_destination(ac.standLat, ac.standLon, ac.standHeading, nm * feetPerNm);
    const StreamPoint point = lf_towPoint(ac, ahead, lf_flightTicks(nm, ac.towSpeed));
    lf_startToMove(ac);
    ac.stream.cutToFront();
    ac.stream.pushBack(point);
    lf_trace(ac.hexid, "pulls out of stand {}", lf_standName(ac.standId));
    setFlightState(ac, FlightState::taxi);
    lf_setLights(ac.objectId, {1, 1, 0, 1, 0, 1, 0});
    gf_queueEvent(ac.objectId, evEngineStart, 0);
    lf_setThrottle(ac, 0);
    lf_setFlaps(ac, 1);
    if (LOG) gf_logLine(fmt::format("{:8}: {:8} pulling out", lf_standName(ac.standId), ac.callsign));
}

// Straight back for a length, and then a quarter turn of the tail to the side that the feed will have shown: the
// points behind the straight part lead to the one side, savedPoint to the other.
void lf_pushBack(LiveAc& ac) {
    constexpr double radii = 2.5; // of the stand
    ac.extendCount = 0;
    const Stand* stand = lf_standOf(ac);
    if (!stand) return;
    const double tail = gf_wrapHeading(ac.standHeading + pi);
    const double nm = radii * stand->radius;
    const LatLon back = gf_destination(ac.lat, ac.lon, tail, nm * feetPerNm);
    const std::int32_t ticks = lf_flightTicks(nm, ac.towSpeed);
    const StreamPoint end = lf_towPoint(ac, back, ticks);
    lf_startToMove(ac);
    ac.stream.cutToFront();
    ac.stream.pushBack(end);
    lf_insertMidPoint(ac);
    const StreamPoint middle = ac.stream.second();
    const auto beside = [&](double bearing) {
        const LatLon place = gf_destination(back.lat, back.lon, bearing, ac.radiusNm * feetPerNm);
        const double way = gf_distanceNm(middle.lat, middle.lon, place.lat, place.lon);
        return lf_towPoint(ac, place, ticks / 2 + lf_flightTicks(way, ac.towSpeed));
    };
    ac.savedPoint = beside(tail + pi / 2);
    ac.stream.pushBack(beside(tail - pi / 2));
    lf_trace(ac.hexid, "is pushed back from stand {}", lf_standName(ac.standId));
    lf_setLights(ac.objectId, {1, 1, 0, 1, 0, 1, 0});
    setFlightState(ac, FlightState::pushingBack);
    ac.pushCounter = 2;
}

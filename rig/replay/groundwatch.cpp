// Watches the ground, Tick by Tick. Changes nothing.

#include "replay/groundwatch.h"

#include "engine/parking.h"
#include "simulator/world.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rig {

namespace {

constexpr double metersPerSecondPerKnot = metersPerNm / 3600;
constexpr int ticksPerSample = 10, ticksPerOverlapLook = 50;
constexpr double sampleS = 0.1, overlapLookS = 0.5;
constexpr double settledS = 0.2;  // the simulator shows a state that much later
constexpr double feedSlackS = 15; // the program is not exactly its delay behind the feed
constexpr double pauseS = 1;      // a movement that goes on after less is the same one

bool isGroundState(FlightState fs) { return fs != FlightState::takeOff && fs != FlightState::flying; }

} // namespace

void collectShown(const World& world, std::vector<Shown>& result) {
    result.clear();
    for (const LiveAc& ac : engine.live) {
        if (ac.st != SimState::active || ac.objectId == 0) continue;
        const auto found = world.objects.find(ac.objectId);
        if (found == world.objects.end()) continue;
        const SimObject& object = found->second;
        Shown s;
        s.hexid = ac.hexid;
        s.objectId = ac.objectId;
        s.callsign = ac.callsign;
        s.shape = {object.lat, object.lon, object.heading, ac.radiusNm * metersPerNm};
        s.altFt = object.alt;
        s.wheelsFt = world.heightFt(object) - object.staticCg;
        s.speedKt = std::max(
            {ac.stream.empty() ? 0 : ac.stream.front().speed, std::abs(ac.tas), std::abs(ac.tasTarget)});
        s.fs = ac.fs;
        s.onGround = ac.onGround;
        s.landingRoll = ac.landingRoll;
        s.rotorcraft = ac.category == AcCategory::rotorcraft;
        if (ac.standId != 0) s.stand = lf_standName(ac.standId);
        result.push_back(std::move(s));
    }
}

// ---- one aircraft ------------------------------------------------------------------------------------------------

void GroundWatch::beginTrack(Track& t, const Shown& s, double time) {
    constexpr double besideM = 20;
    const bool waits = metersBetween(t.pushEnd.lat, t.pushEnd.lon, s.shape.lat, s.shape.lon) < besideM &&
                       s.fs != FlightState::parked;
    const int pushed = waits ? t.pushed : -1; // its object was exchanged while it waited
    const CrossShape pushEnd = t.pushEnd;
    t = {};
    t.pushed = pushed;
    t.pushEnd = pushEnd;
    t.shown = true;
    t.appearedAt = t.stateSince = t.movedAt = t.rolledAt = time;
    t.last = s;
    t.last.fs = FlightState::birth; // so that its first state is a change
    t.sample = s.shape;
    t.sampleState = s.fs;
}

void GroundWatch::changeState(Track& t, const Shown& s, double time) {
    const FlightState was = t.last.fs;
    t.stateSince = time;
    if (t.push >= 0) {
        pushBacks[static_cast<std::size_t>(t.push)].ended = gf_flightStateName(s.fs);
        t.pushed = t.push;
        t.pushEnd = s.shape;
        pushBacks[static_cast<std::size_t>(t.push)].endHeading = s.shape.heading;
        t.push = -1;
    }
    if (t.leg >= 0) {
        legs[static_cast<std::size_t>(t.leg)].to = time;
        t.leg = -1;
    }
    if (s.fs == FlightState::pushingBack) {
        t.pushed = -1;
        t.push = static_cast<int>(pushBacks.size());
        t.pushHeading = s.shape.heading;
        pushBacks.push_back({time, s.hexid, s.callsign, s.stand, 0, 0, ""});
    }
    if (s.fs == FlightState::taxi && s.onGround) {
        t.leg = static_cast<int>(legs.size());
        legs.push_back({time, time, s.hexid, 0, 0});
    }
    if (s.fs == FlightState::takeOff) takeOffs.push_back({time, s.hexid, s.callsign, ""});
    if (s.fs != FlightState::parked || s.stand.empty()) return;
    if (was == FlightState::parking) {
        Arrival arrival{time, s.hexid, s.callsign, s.stand, -1};
        double lat = 0, lon = 0;
        if (tracks && tracks->place(s.hexid, startFeedTime + time, lat, lon))
            arrival.fromFeedStopM = metersBetween(lat, lon, s.shape.lat, s.shape.lon);
        arrivals.push_back(std::move(arrival));
    }
    if (was == FlightState::parking || was == FlightState::birth)
        stood.push_back({time, s.hexid, s.stand, was == FlightState::parking});
}

void GroundWatch::watchTick(Track& t, const Shown& s, double time) {
    const double moved = metersBetween(t.last.shape.lat, t.last.shape.lon, s.shape.lat, s.shape.lon);
    const double turned = std::abs(gf_headingDiff(t.last.shape.heading, s.shape.heading)) * radToDeg;
    const bool parked = s.fs == FlightState::parked && t.last.fs == s.fs && time - t.stateSince > settledS;
    constexpr double stillM = 0.01, stillDeg = 0.1;
    if (moved > 0) {
        constexpr double longestFrameS = 0.25, speedMargin = 1.5;
        const double frameS = std::clamp(time - t.movedAt, 0.01, longestFrameS);
        const double beyond = moved - speedMargin * s.speedKt * metersPerSecondPerKnot * frameS;
        if (s.onGround && beyond > 5)
            jumps.push_back(
                {time, s.hexid, s.callsign, fmt::format("{:.0f} m in {}", moved, gf_flightStateName(s.fs))});
        t.movedAt = time;
    }
    if (parked && moved > stillM) {
        if (time - t.parkedMovedAt > pauseS)
            movesWhileParked.push_back({time, s.hexid, s.callsign, fmt::format("{:.2f} m", moved)});
        t.parkedMovedAt = time;
    }
    if (parked && turned > stillDeg) {
        if (time - t.parkedTurnedAt > pauseS)
            turnsWhileParked.push_back({time, s.hexid, s.callsign, fmt::format("{:.1f} degrees", turned)});
        t.parkedTurnedAt = time;
    }
    if (s.landingRoll && !t.last.landingRoll) {
        touchDowns.push_back({time, s.hexid, s.callsign, s.shape.radiusM, s.rotorcraft});
    }
}

void GroundWatch::drive(Track& t, const Shown& s, Slip& slip, double alongM, double sidewaysM, double movedM,
                        double time) {
    constexpr double slowestM = 5 / 3.6 * sampleS; // 5 km/h; below it noise is no slip
    constexpr double rolledBackM = 0.5, stillM = 0.02;
    if (movedM > slowestM) {
        slip.drivenM += movedM;
        slip.sidewaysM += sidewaysM;
    }
    if (movedM < stillM) return;
    if (alongM > 0) {
        t.backM = 0;
        return;
    }
    const double before = t.backM;
    t.backM += movedM;
    if (before >= rolledBackM || t.backM < rolledBackM) return;
    ++slip.reversals;
    reversals.push_back({time, s.hexid, s.callsign, gf_flightStateName(s.fs)});
}

void GroundWatch::watchPush(Track& t, const Shown& s, double movedM) {
    constexpr double firstM = 15, drivenOnM = 40;
    const CrossShape& now = s.shape;
    if (t.push >= 0) {
        PushBack& push = pushBacks[static_cast<std::size_t>(t.push)];
        push.movedM += movedM;
        if (push.movedM <= firstM)
            push.noseTurnDeg =
                std::max(push.noseTurnDeg, std::abs(gf_headingDiff(t.pushHeading, now.heading)) * radToDeg);
    }
    if (t.pushed < 0 || s.fs == FlightState::pushedBack ||
        metersBetween(t.pushEnd.lat, t.pushEnd.lon, now.lat, now.lon) < drivenOnM)
        return;
    const double way = gf_bearing(t.pushEnd.lat, t.pushEnd.lon, now.lat, now.lon);
    pushBacks[static_cast<std::size_t>(t.pushed)].wayOffNoseDeg =
        std::abs(gf_headingDiff(t.pushEnd.heading, way)) * radToDeg;
    t.pushed = -1;
}

void GroundWatch::watchSample(Track& t, const Shown& s, double time) {
    const CrossShape &a = t.sample, &b = s.shape;
    const double metersPerDegree = 60 * metersPerNm;
    const double north = (b.lat - a.lat) * metersPerDegree,
                 east = (b.lon - a.lon) * metersPerDegree * std::cos(a.lat * degToRad);
    const double moved = std::hypot(north, east), turned = gf_headingDiff(a.heading, b.heading);
    const double heading = a.heading + turned / 2; // in the middle of the step
    const double along = north * std::cos(heading) + east * std::sin(heading);
    const double sideways = std::abs(east * std::cos(heading) - north * std::sin(heading));
    constexpr double creepM = 0.02;
    if (moved > creepM) t.rolledAt = time;
    const bool sameState = s.fs == t.sampleState && time - t.stateSince > settledS;
    if (sameState && s.onGround) {
        if (s.fs == FlightState::taxi) {
            constexpr double rollKnots = 30;
            const double reversalsBefore = taxi.reversals;
            drive(t, s, taxi, along, sideways, moved, time);
            if (moved / sampleS < rollKnots * metersPerSecondPerKnot && moved > 5 / 3.6 * sampleS) {
                slowTaxi.drivenM += moved;
                slowTaxi.sidewaysM += sideways;
            }
            slowTaxi.reversals += taxi.reversals - static_cast<int>(reversalsBefore);
        }
        if (s.fs == FlightState::parking) drive(t, s, toStand, along, sideways, moved, time);
    } else {
        t.backM = 0;
    }
    if (t.leg >= 0) {
        legs[static_cast<std::size_t>(t.leg)].drivenM += moved;
        legs[static_cast<std::size_t>(t.leg)].turnDeg += std::abs(turned) * radToDeg;
    }
    watchPush(t, s, moved);
    if (s.onGround && isGroundState(s.fs) && std::abs(s.wheelsFt) > heightErrorFtMax) {
        heightErrorFtMax = std::abs(s.wheelsFt);
        heightErrorAt = {time, s.hexid, s.callsign, gf_flightStateName(s.fs)};
    }
    t.sample = b;
    t.sampleState = s.fs;
}

void GroundWatch::vanish(Track& t, double time, bool atEnd) {
    vanished.push_back({time, t.last.hexid, t.last.callsign, t.last.stand, t.last.fs, t.last.onGround,
                        time - t.rolledAt < pauseS, time - t.appearedAt, atEnd});
    if (t.push >= 0) pushBacks[static_cast<std::size_t>(t.push)].ended = atEnd ? "still at it" : "removed";
    if (t.leg >= 0) legs[static_cast<std::size_t>(t.leg)].to = time;
    t.push = t.leg = -1;
    t.shown = false;
}

// ---- all of them -------------------------------------------------------------------------------------------------

void GroundWatch::lookForOverlaps(double time, const std::vector<Shown>& shown, const CrossShape* user) {
    std::vector<OverlapWatch::Body> bodies;
    if (user) bodies.push_back({userHexid, *user});
    for (const Shown& s : shown)
        if (s.onGround && isGroundState(s.fs)) bodies.push_back({s.hexid, s.shape});
    const double delayed = startFeedTime + time - feedDelayS;
    overlaps.look(time, overlapLookS, bodies, [&](std::uint32_t a, std::uint32_t b, double reachM) {
        return tracks && tracks->closest(a, b, delayed - feedSlackS, delayed + feedSlackS) < reachM;
    });
}

void GroundWatch::afterTick(double time, const std::vector<Shown>& shown, const CrossShape* user) {
    const bool sampleDue = ++ticks % ticksPerSample == 0;
    for (auto& [hexid, t] : aircraft) t.seen = false;
    for (const Shown& s : shown) {
        Track& t = aircraft[s.hexid];
        if (t.shown && t.last.objectId != s.objectId) vanish(t, time, false);
        if (!t.shown) beginTrack(t, s, time);
        t.seen = true;
        if (sampleDue) callsigns[s.hexid] = s.callsign;
        if (s.fs != t.last.fs) changeState(t, s, time);
        watchTick(t, s, time);
        if (sampleDue) watchSample(t, s, time);
        t.last = s;
    }
    for (auto& [hexid, t] : aircraft)
        if (t.shown && !t.seen) vanish(t, time, false);
    if (ticks % ticksPerOverlapLook == 0) lookForOverlaps(time, shown, user);
}

void GroundWatch::finish(double time) {
    for (auto& [hexid, t] : aircraft)
        if (t.shown) vanish(t, time, true);
}

} // namespace rig

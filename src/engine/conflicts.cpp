// One of two aircraft goes: those in the way of the user's aircraft, static ones in the way of live ones, and the
// second image of an aircraft that is there already. Each check runs once a second and removes by flag, so no list
// changes under it. Worker.

#include "engine/parking.h"
#include "engine/trace.h"

#include "app/log.h"
#include "app/parameters.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

static const char* lf_whereabouts(const LiveAc& ac) { return ac.onGround ? "on ground" : "airborne"; }

// ---- the user's aircraft -------------------------------------------------------------------------------------------

static bool lf_onUsersRunway(const LiveAc& ac, const UserBlock& user) {
    constexpr double lowFeet = 500, aheadNm = 1, besideFeet = 50;
    if (!(user.agl < lowFeet) || !lf_isWithin(user.lat, user.lon, ac.lat, ac.lon, aheadNm)) return false;
    const double course = gf_bearing(user.lat, user.lon, ac.lat, ac.lon);
    return lf_feetBeside(gf_distanceNm(user.lat, user.lon, ac.lat, ac.lon), course - user.heading) <=
           besideFeet;
}

static bool lf_fliesThroughUser(const LiveAc& ac, const UserBlock& user) {
    constexpr double nearNm = 4, levelFeet = 1000, besideFeet = 700;
    if (!(std::abs(ac.alt - user.alt) < levelFeet) ||
        !lf_isWithin(user.lat, user.lon, ac.lat, ac.lon, nearNm))
        return false;
    const double course = gf_bearing(user.lat, user.lon, ac.lat, ac.lon);
    return lf_feetBeside(gf_distanceNm(user.lat, user.lon, ac.lat, ac.lon), ac.heading - course) <=
           besideFeet;
}

bool lf_userAirConflict(LiveAc& ac) {
    if (ac.st != SimState::active) return false;
    const bool conflict =
        ac.onGround ? lf_onUsersRunway(ac, engine.user) : lf_fliesThroughUser(ac, engine.user);
    if (!conflict) return false;
    lf_trace(ac.hexid, "{}",
             ac.onGround ? "stands where the user is about to land" : "flies into the user's aircraft");
    removeAircraftFromSim(ac, Removed::userConflict);
    return true;
}

static void lf_userGroundConflicts() {
    constexpr double room = 1.15, roomToStatic = 1.1; // of both radii
    const UserBlock& user = engine.user;
    const double radius = simLife.userRadiusNm;
    const bool moved = user.lat != engine.userCheckedAt.lat || user.lon != engine.userCheckedAt.lon;
    engine.userCheckedAt = {user.lat, user.lon};
    for (LiveAc& ac : engine.live) {
        if (!ac.onGround || ac.st != SimState::active) continue;
        if (!lf_isWithin(user.lat, user.lon, ac.lat, ac.lon, room * (radius + ac.radiusNm))) continue;
        lf_trace(ac.hexid, "touches the user's aircraft");
        return removeAircraftFromSim(ac, Removed::userConflict);
    }
    if (!moved) return;
    for (ParkedAc& parked : engine.parked) {
        if (parked.st != SimState::active) continue;
        const double nm = roomToStatic * (radius + parked.radiusNm);
        if (lf_isWithin(user.lat, user.lon, parked.standLat, parked.standLon, nm))
            return removeAircraftFromSim(parked, Removed::conflict);
    }
}

void lf_userConflicts() {
    if (gf_isNoPosition(engine.user.lat, engine.user.lon)) return;
    if (sim.userOnGround) {
        if (COLLISION_USER_GND) lf_userGroundConflicts();
    } else if (COLLISION_USER_AIR) {
        for (LiveAc& ac : engine.live)
            if (lf_userAirConflict(ac)) return;
    }
}

// ---- live and static aircraft --------------------------------------------------------------------------------------

static void lf_removeStaticInTheWay(const LiveAc& ac, double largestRadius) {
    constexpr double room = 1.1; // of both radii
    const NearBox box(ac.lat, ac.lon, room * (ac.radiusNm + largestRadius));
    for (ParkedAc& parked : engine.parked) {
        if (parked.st != SimState::active || box.excludes(parked.standLat, parked.standLon)) continue;
        const double nm = room * (ac.radiusNm + parked.radiusNm);
        if (!lf_isWithin(ac.lat, ac.lon, parked.standLat, parked.standLon, nm)) continue;
        if (LOG)
            gf_logLine(fmt::format("{:8}: {:8} removed for collision avoidance with live {}",
                                   lf_standName(parked.standId), parked.callsign, ac.callsign));
        return removeAircraftFromSim(parked, Removed::conflict);
    }
}

void lf_parkedConflicts() {
    if (!COLLISION_LIVE_PARKED_GND || engine.parked.empty()) return;
    double largestRadius = 0;
    for (const ParkedAc& parked : engine.parked) largestRadius = std::max(largestRadius, parked.radiusNm);
    for (LiveAc& ac : engine.live) {
        const bool drives = ac.onGround && (ac.fs == FlightState::taxi || ac.fs == FlightState::parking);
        const bool moved = ac.lat != ac.checkedLat || ac.lon != ac.checkedLon;
        if (!drives || !moved || ac.st != SimState::active || ac.departing || ac.landingRoll) continue;
        ac.checkedLat = ac.lat;
        ac.checkedLon = ac.lon;
        lf_removeStaticInTheWay(ac, largestRadius);
    }
}

// A live aircraft takes its stand: what stands there, or too close to it, goes.
static void lf_clearStaticFrom(const LiveAc& ac, ParkedAc& parked) {
    const bool waits =
        parked.st == SimState::adding2sim &&
        std::any_of(engine.staticCreationQueue.begin(), engine.staticCreationQueue.end(),
                    [&](const CreationRecord& record) { return record.hexid == parked.hexid; });
    if (LOG && (waits || parked.st == SimState::active)) {
        const bool same =
            lf_sameText(parked.firstCallsign, ac.callsign) || lf_sameText(parked.regcode, ac.regcode);
        gf_logLine(fmt::format("{}{:8}: {:8} {} makes way for{} {} {}", waits ? "queued " : "",
                               lf_standName(parked.standId), parked.callsign, parked.regcode,
                               same ? " the same live version" : "", ac.callsign, ac.regcode));
    }
    if (parked.st == SimState::adding2sim || parked.st == SimState::active)
        removeAircraftFromSim(parked, Removed::conflict);
}

void lf_makeWay(const LiveAc& ac, const Stand& stand) {
    const auto standId = static_cast<std::uint32_t>(stand.seq);
    const auto onStand = std::find_if(engine.parked.begin(), engine.parked.end(),
                                      [&](const ParkedAc& parked) { return parked.standId == standId; });
    if (onStand != engine.parked.end()) lf_clearStaticFrom(ac, *onStand);
    lf_compactParked();
    for (const std::int32_t seq : stand.adjacent) {
        const auto nextId = static_cast<std::uint32_t>(seq);
        const auto beside =
            std::find_if(engine.parked.begin(), engine.parked.end(), [&](const ParkedAc& parked) {
                return parked.standId == nextId && parked.st == SimState::active;
            });
        if (beside == engine.parked.end() || !lf_collidesAt(stand, ac.radiusNm, nextId, beside->radiusNm))
            continue;
        if (LOG)
            gf_logLine(fmt::format("{:8}: {:8} removed by {} parking at adjacent stand {}",
                                   lf_standName(nextId), beside->callsign, ac.callsign,
                                   lf_standName(standId)));
        removeAircraftFromSim(*beside, Removed::conflict);
    }
}

// ---- the same aircraft twice ---------------------------------------------------------------------------------------

static bool lf_isFlightOf(const ParkedAc& parked, std::string_view callsign) {
    return lf_sameText(callsign, parked.firstCallsign) || lf_sameText(callsign, parked.coupledCallsign);
}

static std::string_view lf_realCallsign(const LiveAc& ac) { // that of a ghost less its mark
    std::string_view callsign = ac.callsign;
    if (lf_isGhostCallsign(callsign)) callsign.remove_suffix(1);
    return callsign;
}

static bool lf_isSameFlight(const LiveAc& ac, const ParkedAc& parked) {
    return lf_isFlightOf(parked, ac.callsign) || lf_isFlightOf(parked, ac.coupledCallsign) ||
           lf_isFlightOf(parked, lf_realCallsign(ac));
}

bool lf_isImage(const LiveAc& ac, const ParkedAc& parked) {
    return lf_sameText(ac.regcode, parked.regcode) || lf_isSameFlight(ac, parked);
}

bool lf_sameAircraft(const LiveAc& ac, const ParkedAc& parked) {
    if (parked.st != SimState::active || !lf_isImage(ac, parked)) return false;
    if (lf_sameText(ac.regcode, parked.regcode)) {
        if (LOG)
            gf_logLine(fmt::format("{:8}: {:8} {} removed, new {} {} has same regcode {}",
                                   lf_standName(parked.standId), parked.callsign, parked.regcode,
                                   lf_whereabouts(ac), ac.callsign, ac.regcode));
        return true;
    }
    if (LOG) {
        std::string_view shown = parked.callsign; // that of a static aircraft ends in "*"
        if (shown.ends_with('*')) shown.remove_suffix(1);
        const bool same = shown == ac.callsign || shown == lf_realCallsign(ac);
        gf_logLine(fmt::format("{:8}: {:8} \"{} {}\" removed, new {} {} \"{} {}\" has {} callsign",
                               lf_standName(parked.standId), parked.callsign, parked.firstCallsign,
                               parked.coupledCallsign, lf_whereabouts(ac), ac.callsign, ac.firstCallsign,
                               ac.coupledCallsign, same ? "same" : "coupled"));
    }
    return true;
}

void lf_arrivalCheck(LiveAc& ac) {
    if (!ac.coupledSearched) {
        lf_searchForCoupledCsAroundThisTime(app.weekSlot.load(), ac);
        ac.coupledSearched = true;
        if (!ac.coupledCallsign.empty())
            lf_trace(ac.hexid, "is flight {} and {} of one turn-round", ac.firstCallsign, ac.coupledCallsign);
    }
    if (ac.callsign.empty()) return;
    for (ParkedAc& parked : engine.parked) // one may bear its registration, another one its flight
        if (lf_sameAircraft(ac, parked)) removeAircraftFromSim(parked, Removed::conflict);
}

static bool lf_isStaticDouble(const LiveAc& ac, const ParkedAc& parked) {
    const std::string& name = parked.callsign; // that of a static aircraft ends in "*"
    const bool sameFlight = !ac.callsign.empty() && name.size() == ac.callsign.size() + 1 &&
                            name.back() == '*' && name.starts_with(ac.callsign);
    return sameFlight || lf_sameText(ac.regcode, parked.regcode);
}

void lf_removeStaticDoubles() {
    for (const LiveAc& ac : engine.live) {
        if (!ac.onGround || ac.st != SimState::active) continue;
        for (ParkedAc& parked : engine.parked) {
            if (parked.st != SimState::active || !lf_isStaticDouble(ac, parked)) continue;
            removeAircraftFromSim(parked, Removed::conflict);
            break;
        }
    }
}

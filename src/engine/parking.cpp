// Stands as the life of an aircraft meets them: the search for one, the claims of several aircraft on one, and an
// aircraft that appears on its stand. How it gets there and leaves is in standmoves.cpp. Worker.

#include "engine/parking.h"

#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/motion.h"
#include "engine/trace.h"
#include "platform/clock.h"
#include "platform/random.h"

#include <algorithm>
#include <fmt/format.h>
#include <limits>

// ---- the search ----------------------------------------------------------------------------------------------------

bool lf_fitsStand(const AcBase& ac, const Stand& stand) {
    constexpr double rounding = 1e-9; // of radii that were converted from metres
    return ac.radiusNm - stand.radius <= sizeToleranceNm + rounding;
}

bool lf_namesFlight(const StandOption& option, const AcBase& ac) {
    if (option.index == 0 || option.real != 1) return false;
    return lf_sameText(option.cs, ac.callsign) || lf_sameText(option.cs2, ac.callsign) ||
           (lf_sameText(option.airl, ac.airline) && lf_sameText(option.type, ac.acType));
}

static bool lf_flightWasSeenAt(const Stand& stand, const AcBase& ac) {
    return !ac.callsign.empty() && std::any_of(stand.options.begin(), stand.options.end(),
                                               [&](const StandOption& o) { return lf_namesFlight(o, ac); });
}

void lf_noteUpdate() {
    airports.updates += 1;
    gf_repaint(Band::parking);
}

static void lf_growStand(Stand& stand, const AcBase& ac) {
    constexpr double lessNm = 1 / metersPerNm; // it then fits this type, and not yet the next larger one
    lf_trace(ac.hexid, "stand {} grows to {:.1f} m", stand.id, (ac.radiusNm - lessNm) * metersPerNm);
    stand.radius = ac.radiusNm - lessNm;
    stand.radiusChanged = true;
    lf_noteUpdate();
}

Stand* lf_findStand(double lat, double lon, const AcBase& ac, double radiusMeters, bool wide) {
    constexpr double growNm = 20 / metersPerNm, wideNm = 85 / metersPerNm,
                     far = std::numeric_limits<double>::max();
    const double nearNm = radiusMeters / metersPerNm;
    const NearBox box(lat, lon, std::max(nearNm, wideNm));
    Stand *best = nullptr, *grown = nullptr, *candidate = nullptr;
    double bestNm = far, candidateNm = far;
    for (Stand& stand : airports.file.stands) {
        if (stand.occupied || box.excludes(stand.lat, stand.lon)) continue;
        const double d = gf_distanceNm(lat, lon, stand.lat, stand.lon);
        if (d <= nearNm && d < bestNm) {
            const bool fits = lf_fitsStand(ac, stand);
            if (!fits && d > growNm) continue;
            best = &stand;
            bestNm = d;
            wide = false;
            if (!fits) grown = &stand;
        } else if (wide && d <= wideNm && d < candidateNm && lf_fitsStand(ac, stand) &&
                   lf_flightWasSeenAt(stand, ac)) {
            candidate = &stand;
            candidateNm = d;
        }
    }
    if (!best) best = candidate;
    if (!best || best->heli != (ac.category == AcCategory::rotorcraft)) return nullptr;
    if (best == grown) lf_growStand(*best, ac);
    return best;
}

// ---- whose it is ---------------------------------------------------------------------------------------------------

Stand* lf_standOf(const AcBase& ac) {
    constexpr double sameNm = 1 / metersPerNm;
    Stand* stand = gf_standBySeq(ac.standId);
    const bool placed = ac.standLat != 0 || ac.standLon != 0;
    if (stand && placed && !lf_isWithin(ac.standLat, ac.standLon, stand->lat, stand->lon, sameNm))
        return nullptr;
    return stand;
}

std::string_view lf_standName(std::uint32_t standId) {
    if (standId == 0) return "sid==0?";
    const Stand* stand = gf_standBySeq(standId);
    return stand ? std::string_view(stand->id) : "unknown";
}

void lf_takeStand(AcBase& ac, const Stand& stand) {
    ac.standLat = stand.lat;
    ac.standLon = stand.lon;
    ac.standHeading = stand.heading;
    ac.standId = static_cast<std::uint32_t>(stand.seq);
    ac.standCargo = stand.cargo;
}

void lf_freeStand(const AcBase& ac) {
    if (Stand* stand = lf_standOf(ac)) stand->occupied = false;
}

bool lf_isKeptForUser(const Stand& stand) {
    constexpr double nearNm = 100 / metersPerNm; // beyond the reach of the search for the user's stand
    if (lf_sameText(stand.id, airports.reservedStand)) return true;
    return sim.userOnGround && lf_isWithin(engine.user.lat, engine.user.lon, stand.lat, stand.lon, nearNm) &&
           gf_userStand() == &stand;
}

static std::string_view lf_withoutLast(std::string_view text) {
    return text.substr(0, text.size() - !text.empty());
}

static void lf_yield(LiveAc& holder, const StandClaim& claim) {
    lf_trace(holder.hexid, "gives its stand {} to {}", lf_standName(claim.standId), claim.callsign);
    removeAircraftFromSim(holder, Removed::standClaimed);
}

bool lf_claimStand(StandClaim& claim, LiveAc& other) {
    const bool stands = other.fs == FlightState::parked || other.fs == FlightState::pushingBack ||
                        other.fs == FlightState::pushedBack;
    if (other.standId != claim.standId || !stands || other.st != SimState::active) return false;
    const std::string_view mine = claim.callsign, its = other.callsign, place = lf_standName(claim.standId);
    const bool ghost = lf_isGhostCallsign(mine), itsGhost = lf_isGhostCallsign(its);
    if (lf_sameText(mine, its)) {
        gf_logLine(fmt::format("{:8}: {:8} ac with same callsign {} wants it, remove existing ... ", place,
                               its, mine));
        lf_yield(other, claim);
    } else if (lf_sameText(lf_withoutLast(mine), its)) { // the new one is its ghost
        claim.granted = false;
    } else if (lf_sameText(lf_withoutLast(its), mine) || (itsGhost && !ghost)) {
        gf_logLine(fmt::format("{:8}: {:8} ghost, replace by {}", place, its, mine));
        lf_yield(other, claim);
    } else if ((!itsGhost && ghost) || other.feedAtStand) {
        claim.granted = false;
    } else {
        gf_logLine(
            fmt::format("{:8}: {:8} removed because another live {} wants the stand ...", place, its, mine));
        lf_yield(other, claim);
    }
    return true;
}

bool lf_collidesAt(const Stand& stand, double radiusNm, std::uint32_t neighbourId, double neighbourRadiusNm) {
    constexpr double room = 1.1;
    const Stand* neighbour = gf_standBySeq(neighbourId);
    if (!neighbour || (neighbour->lat == 0 && neighbour->lon == 0)) return true; // nobody knows
    return room * (radiusNm + neighbourRadiusNm) >=
           gf_distanceNm(stand.lat, stand.lon, neighbour->lat, neighbour->lon);
}

bool lf_adjacentConflict(const Stand& stand, const LiveAc& ac) {
    for (const std::int32_t seq : stand.adjacent)
        for (const LiveAc& other : engine.live) {
            if (other.standId != static_cast<std::uint32_t>(seq) || other.st != SimState::active) continue;
            if (other.fs != FlightState::parked && other.fs != FlightState::pushingBack) continue;
            if (lf_sameText(other.callsign, ac.callsign)) continue;
            if (!lf_collidesAt(stand, ac.radiusNm, other.standId, other.radiusNm)) continue;
            lf_trace(ac.hexid, "would collide at stand {} with {} at {}", stand.id, other.callsign,
                     lf_standName(other.standId));
            return true;
        }
    return false;
}

// ---- at the stand --------------------------------------------------------------------------------------------------

void lf_beginParked(LiveAc& ac, Stand* stand) {
    ac.parkedAt = plat::utcNow();
    ac.lastParkDist = 0;
    ac.recedeCount = 0;
    ac.leavingStand = false; // left over from a push back that found no stand
    if (!stand) return;
    stand->occupied = true;
    lf_applyCargoRule(ac, *stand);
}

void lf_applyCargoRule(const LiveAc& ac, Stand& stand) {
    if (!ac.cargo || ac.standCargo) return;
    stand.cargo = stand.cargoChanged = true;
    lf_noteUpdate();
    gf_logLine(fmt::format("{} stand: {}, cargo attribute set to true, {} parked here", airports.park.code,
                           stand.id, ac.callsign));
}

void lf_shutDownAtStand(AcBase& ac) {
    std::uniform_int_distribution<int> oneInTen(0, 9);
    lf_setThrottle(ac, 0);
    lf_setFlaps(ac, 0);
    gf_queueEvent(ac.objectId, evEngineShutdown, 0);
    const bool cabin = !ac.standCargo && !(RANDOM && oneInTen(plat::randomEngine()) == 0);
    lf_setLights(ac.objectId, {NAV_LIGHTS_WHILE_PARKED ? 1 : 0, 0, 0, 0, 0, 1, cabin ? 1 : 0});
}

// ---- an aircraft that appears on a stand ---------------------------------------------------------------------------

static bool lf_mayHaveStand(LiveAc& ac, const Stand& stand) {
    StandClaim claim{static_cast<std::uint32_t>(stand.seq), ac.callsign};
    for (LiveAc& other : engine.live)
        if (lf_claimStand(claim, other)) break;
    if (!claim.granted) lf_trace(ac.hexid, "may not have stand {}: another aircraft keeps it", stand.id);
    return claim.granted && !lf_adjacentConflict(stand, ac);
}

void lf_spawnAtStand(LiveAc& ac, Stand& stand) {
    if (lf_isKeptForUser(stand)) {
        lf_trace(ac.hexid, "stand {} is kept for the user", stand.id);
        return;
    }
    if (!lf_mayHaveStand(ac, stand)) return lf_giveUp(ac, NotSpawned::standTaken);
    lf_makeWay(ac, stand);
    lf_takeStand(ac, stand);
    setFlightState(ac, FlightState::parked);
    lf_beginParked(ac, &stand);
    ac.stream.cutToFront();
    StreamPoint& place = ac.stream.front();
    place.stationary = true;
    place.speed = 0;
    place.lat = stand.lat;
    place.lon = stand.lon;
    place.track = stand.heading * radToDeg;
    lf_trace(ac.hexid, "stands on {}", stand.id);
    lf_addRealStandOption(ac.standId, ac, app.weekSlot.load(), false);
    lf_enforceMaxPark(1);
}

void lf_parkedAtCreation(LiveAc& ac) {
    ac.parkedSince = app.weekSlot.load();
    if (ac.standId == 0) return;
    const std::string_view place = lf_standName(ac.standId);
    gf_logLine(fmt::format("{:8}: {:8} parks", place, ac.callsign));
    if (lf_standOf(ac)) lf_dropPlanned(ac.standId);
    for (ParkedAc& parked : engine.parked) {
        if (parked.standId != ac.standId || parked.st != SimState::active) continue;
        gf_logLine(fmt::format("{:8}: {:8} parks over static {} ? static will be removed ...", place,
                               ac.callsign, parked.callsign));
        removeAircraftFromSim(parked, Removed::standClaimed);
    }
}

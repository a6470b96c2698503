// One static aircraft after the other, from the end of the queue to the simulator, and what takes them away again.
// Worker.

#include "airports/statics.h"

#include "app/log.h"
#include "app/parameters.h"
#include "engine/motion.h"
#include "engine/parking.h"
#include "engine/trace.h"

#include <algorithm>
#include <fmt/format.h>

// ---- may it stand there -------------------------------------------------------------------------------------------

static std::string_view lf_nameOf(const StaticCandidate& candidate) {
    return candidate.cs.empty() ? candidate.cs2 : candidate.cs;
}

static bool lf_isBeside(const Stand& stand, std::uint32_t standId) {
    return std::find(stand.adjacent.begin(), stand.adjacent.end(), static_cast<std::int32_t>(standId)) !=
           stand.adjacent.end();
}

static bool lf_isTakenByLive(const Stand& stand, const StaticCandidate& candidate) {
    for (const LiveAc& ac : engine.live) {
        if (ac.fs != FlightState::parking && ac.fs != FlightState::parked) continue;
        const bool here = ac.standId == static_cast<std::uint32_t>(stand.seq);
        if ((!here && !lf_isBeside(stand, ac.standId)) || !lf_standOf(ac)) continue;
        if (LOG && here)
            gf_logLine(fmt::format("{:8}: no static parking for {}, live aircraft {} standing here", stand.id,
                                   lf_nameOf(candidate), ac.callsign));
        else if (LOG)
            gf_logLine(
                fmt::format("{:8}: no static parking for {}, live aircraft {} is adjacent at {}, possibly "
                            "colliding",
                            stand.id, lf_nameOf(candidate), ac.callsign, lf_standName(ac.standId)));
        return true;
    }
    return false;
}

// One that taxies or waits there, wherever it belongs.
static bool lf_touchesLive(const Stand& stand, const StaticCandidate& candidate) {
    const double radius = gf_halfWingspanNm(candidate.type);
    return std::any_of(engine.live.begin(), engine.live.end(), [&](const LiveAc& ac) {
        return ac.onGround && ac.st == SimState::active &&
               lf_isWithin(ac.lat, ac.lon, stand.lat, stand.lon, ac.radiusNm + radius);
    });
}

static bool lf_isTakenByStatic(const Stand& stand, const StaticCandidate& candidate) {
    for (const ParkedAc& ac : engine.parked) {
        const bool here = ac.standId == static_cast<std::uint32_t>(stand.seq);
        if ((!here && !lf_isBeside(stand, ac.standId)) || !lf_standOf(ac)) continue;
        if (LOG)
            gf_logLine(
                fmt::format("{:8}: no static parking for {}, static aircraft {} is adjacent at {}, possibly "
                            "colliding",
                            stand.id, lf_nameOf(candidate), ac.callsign, lf_standName(ac.standId)));
        return true;
    }
    return false;
}

// The simulator tells of new objects within the range alone: one beyond it would stand there unknown for ever.
static bool lf_isOutOfRange(const Stand& stand) {
    return !lf_isWithin(engine.user.lat, engine.user.lon, stand.lat, stand.lon, app.rangeNm);
}

// The candidates beyond the range wait until the user has come nearer.
static std::vector<StaticCandidate>::reverse_iterator lf_lastInRange() {
    return std::find_if(
        airports.staticQueue.rbegin(), airports.staticQueue.rend(), [](const StaticCandidate& candidate) {
            const Stand* stand = gf_standBySeq(static_cast<std::uint32_t>(candidate.standSeq));
            return !stand || !lf_isOutOfRange(*stand);
        });
}

bool lf_canPlaceStatics() { return lf_lastInRange() != airports.staticQueue.rend(); }

// ---- the aircraft -------------------------------------------------------------------------------------------------

std::string lf_detcs(const StaticCandidate& candidate, std::uint32_t serial) {
    if (candidate.cs.empty()) return fmt::format("{}{}*", candidate.airl, serial);
    std::string callsign(
        lf_flightOf(candidate.staysOn || candidate.cs2.empty() ? candidate.cs : candidate.cs2));
    if (callsign.empty()) {
        gf_logLine(fmt::format("{} callsign is empty..", "lf_detcs"));
        return {};
    }
    if (!callsign.ends_with('*')) callsign += '*';
    return callsign;
}

static std::uint32_t lf_nextSerial() {
    constexpr std::uint32_t serials = 10'000; // live aircraft have higher numbers
    for (std::uint32_t tried = 0; tried < serials; ++tried) {
        airports.staticSerial = (airports.staticSerial + 1) % serials;
        if (!lf_findParkedByHexid(airports.staticSerial)) break;
    }
    return airports.staticSerial;
}

// A nameless aircraft is called by its number, which can be that of a flight.
static bool lf_isNameFree(std::string_view callsign) {
    const std::string_view flight = callsign.substr(0, callsign.size() - 1);
    return std::none_of(engine.parked.begin(), engine.parked.end(),
                        [&](const ParkedAc& ac) { return ac.callsign == callsign; }) &&
           std::none_of(engine.live.begin(), engine.live.end(),
                        [&](const LiveAc& ac) { return ac.callsign == flight; });
}

static ParkedAc lf_makeParkedAc(const StaticCandidate& candidate, const Stand& stand) {
    ParkedAc ac;
    constexpr int namesTried = 50;
    ac.hexid = lf_nextSerial();
    for (int i = 0; i < namesTried && candidate.cs.empty() && !lf_isNameFree(lf_detcs(candidate, ac.hexid));
         ++i)
        ac.hexid = lf_nextSerial();
    ac.airline = candidate.airl;
    ac.acType = candidate.type;
    ac.callsign = lf_detcs(candidate, ac.hexid);
    ac.firstCallsign = lf_flightOf(candidate.cs);
    ac.coupledCallsign = lf_flightOf(candidate.cs2);
    ac.regcode = candidate.reg;
    ac.category = gf_modelCategory(ac.acType);
    ac.radiusNm = gf_halfWingspanNm(ac.acType);
    lf_takeStand(ac, stand);
    ac.parkedSince = lf_slotBack(app.weekSlot.load(), candidate.fit);
    return ac;
}

static bool lf_isThereLive(const ParkedAc& ac) {
    return std::any_of(engine.live.begin(), engine.live.end(), [&](const LiveAc& live) {
        return live.st != SimState::removingFromSim && lf_isImage(live, ac);
    });
}

static CreationRecord lf_creationOf(const ParkedAc& ac) {
    CreationRecord record;
    record.lat = ac.standLat;
    record.lon = ac.standLon;
    record.heading = ac.standHeading * radToDeg;
    record.onGround = 1;
    record.tailNumber = ac.callsign;
    record.title = ac.title;
    record.hexid = ac.hexid;
    return record;
}

void lf_placeNextStatic() {
    const auto next = lf_lastInRange();
    if (next == airports.staticQueue.rend()) return;
    const StaticCandidate candidate = std::move(*next);
    airports.staticQueue.erase(std::next(next).base());
    const Stand* stand = gf_standBySeq(static_cast<std::uint32_t>(candidate.standSeq));
    if (!stand) return gf_logLine(fmt::format("stand with id {} not found", candidate.standSeq));
    if (lf_isTakenByLive(*stand, candidate) || lf_touchesLive(*stand, candidate) ||
        lf_isTakenByStatic(*stand, candidate))
        return;
    ParkedAc ac = lf_makeParkedAc(candidate, *stand);
    // What has changed while it waited: a category that was switched off, an aircraft that has come by itself.
    if (ac.callsign.empty() || !lf_isNameFree(ac.callsign) || !lf_categoryOn(ac.category) ||
        lf_isThereLive(ac))
        return;
    if (!gf_matchStaticLivery(ac, stand->cargo, stand->id)) return;
    ac.st = SimState::adding2sim;
    lf_trace(ac.hexid, "is to stand on {} as {} {} {}", stand->id, ac.callsign, ac.regcode, ac.acType);
    engine.staticCreationQueue.push_back(lf_creationOf(ac));
    engine.parked.push_back(std::move(ac));
}

// ---- away ---------------------------------------------------------------------------------------------------------

void lf_dropPlanned(std::uint32_t standId) {
    std::erase_if(airports.staticQueue, [&](const StaticCandidate& candidate) {
        return static_cast<std::uint32_t>(candidate.standSeq) == standId;
    });
}

void gf_flushStatics() {
    airports.staticQueue.clear();
    for (ParkedAc& ac : engine.parked) removeAircraftFromSim(ac, Removed::airportLeft);
    lf_compactParked();
}

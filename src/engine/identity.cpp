// Who an aircraft is, as its later reports tell it: route, registration and callsign, and the respawn of an aircraft
// whose look has to change. Worker.

#include "engine/engine.h"
#include "engine/trace.h"

#include "app/log.h"
#include "app/parameters.h"

#include <fmt/format.h>

static bool lf_takeText(std::string& stored, const std::string& text) { // true: changed
    if (text.empty() || stored == text) return false;
    stored = text;
    return true;
}

static void lf_setCallsign(LiveAc& ac, const std::string& callsign) {
    ac.callsign = ac.firstCallsign = callsign;
    ac.coupledCallsign.clear();
}

static void lf_takeWhileBuffered(LiveAc& ac, const TrafficRecord& record) {
    lf_takeText(ac.origin, record.origin);
    lf_takeText(ac.destination, record.destination);
    if (!record.callsign.empty() && record.callsign != ac.callsign) lf_setCallsign(ac, record.callsign);
    lf_takeText(ac.regcode, record.regcode);
}

static bool lf_updateRoute(LiveAc& ac, const TrafficRecord& record) {
    const bool known = !ac.origin.empty() && !ac.destination.empty();
    const bool newRoute = known && !record.origin.empty() && !record.destination.empty() &&
                          record.origin != ac.origin && record.destination != ac.destination;
    bool changed = false;
    if (ac.origin.empty()) changed |= lf_takeText(ac.origin, record.origin);
    if (ac.destination.empty()) changed |= lf_takeText(ac.destination, record.destination);
    if (!newRoute) return changed;
    const std::string& here = airports.park.code;
    if (!here.empty() && ac.origin == here && record.destination == here)
        return changed; // a round trip turned over
    ac.origin = record.origin;
    ac.destination = record.destination;
    if (ac.onGround && ac.fs != FlightState::parked && ac.fs != FlightState::parking) {
        setFlightState(ac, FlightState::taxi);
        ac.targetHeading = ac.heading;
    }
    return true;
}

// ---- registration ------------------------------------------------------------------------------------------------

static bool lf_newLivery(LiveAc& ac) { // its title is to be looked for again
    if (!GUID_CHANGES) return true;    // it keeps its object, so it must keep its title and its state
    engineLife.hexidTitles.erase(ac.hexid);
    ac.title = {};
    setFlightState(ac, FlightState::birth);
    return true;
}

static bool lf_newLiveryOf(LiveAc& ac, const std::string& airline, const std::string& type) {
    ac.airline = airline;
    if (!type.empty()) ac.acType = type;
    return lf_newLivery(ac);
}

// True when a registration that differs from the stored one asks for another livery.
static bool lf_otherLivery(LiveAc& ac, const TrafficRecord& record) {
    const auto real = gf_lookupRegcode(record.regcode);
    const bool isOfReal = real && real->airl == ac.airline && real->type == ac.acType;
    const bool isOfOperator = real && !real->opr.empty() && real->opr == ac.airline;
    const std::string operating = !real ? "" : real->opr.empty() ? real->airl : real->opr;
    if (!ac.regcode.empty() && ac.regcode != ac.callsign) {
        if (!real || isOfReal || isOfOperator) return false;
        const std::string airline = gf_airlineOfCallsign(record.callsign, record.regcode);
        if (airline.empty()) return false;
        return (airline == real->airl || airline == real->opr) && lf_newLiveryOf(ac, operating, real->type);
    }
    const std::string_view title = gf_titleOfRegcode(record.regcode);
    if (!title.empty()) {
        if (title == ac.title) return false;
        return real ? lf_newLiveryOf(ac, real->airl, real->type) : lf_newLivery(ac);
    }
    return real && !isOfReal && !isOfOperator && lf_newLiveryOf(ac, operating, real->type);
}

static bool lf_updateLivery(LiveAc& ac, const TrafficRecord& record) {
    if (record.regcode.empty() || record.regcode == ac.regcode) return false;
    const bool changed = lf_otherLivery(ac, record);
    ac.regcode = record.regcode;
    return changed;
}

// ---- callsign ----------------------------------------------------------------------------------------------------

enum class CallsignChange { none, changed, refused };

static CallsignChange lf_updateCallsign(LiveAc& ac, const TrafficRecord& record) {
    const std::string& callsign = record.callsign;
    if (callsign.empty() || callsign == ac.callsign || callsign == ac.regcode) return CallsignChange::none;
    if (lf_realExists(callsign)) return CallsignChange::refused;
    lf_setCallsign(ac, callsign); // before its ghosts go: it may have borne that ghost's name itself
    if (!lf_isGhostCallsign(callsign)) lf_removeGhost(callsign);
    return CallsignChange::changed;
}

bool lf_updateIdentity(LiveAc& ac, const TrafficRecord& record) {
    if (ac.departing || ac.landing) return true;
    if (ac.st == SimState::buffer) {
        lf_takeWhileBuffered(ac, record);
        return true;
    }
    if (ac.st != SimState::active || ac.fs == FlightState::pushingBack || ac.extendCount >= 1) return true;
    bool changed = lf_updateRoute(ac, record);
    changed |= lf_updateLivery(ac, record);
    const CallsignChange callsign = lf_updateCallsign(ac, record);
    if (callsign == CallsignChange::refused) return false;
    changed |= callsign == CallsignChange::changed;
    if (!changed || !GUID_CHANGES) return true;
    if (LOG) gf_logLine(fmt::format("          {} respawns", lf_acLabel(ac)));
    liveryRespawn(ac);
    return false;
}

// ---- respawn -----------------------------------------------------------------------------------------------------

// Keeps the aircraft where it is in the world while its object is exchanged.
static void lf_standForRespawn(LiveAc& ac) {
    StreamPoint here = ac.stream.front();
    if (ac.fs == FlightState::parked) {
        here.stationary = true;
        here.track = ac.heading * radToDeg;
        ac.stream.cutToFront();
        ac.stream.front() = here;
    } else {
        here.stationary = here.lat == ac.lat && here.lon == ac.lon;
        here.lat = ac.lat;
        here.lon = ac.lon;
        here.bank = ac.bank;
        here.bankValid = true;
        here.alt = ac.alt;
    }
    here.dueTick = lf_tickAfter(appLife.tickCount, 1);
    ac.stream.pushFront(here);
}

void liveryRespawn(LiveAc& ac) {
    try {
        lf_standForRespawn(ac);
    } catch (const std::exception& e) {
        return gf_logLine(fmt::format("{}: {}", "liveryRespawn", e.what()));
    }
    lf_trace(ac.hexid, "respawns as {} {} {}", ac.callsign, ac.regcode, ac.acType);
    ac.forcedHeading = ac.heading;
    ac.forcedHeadingSet = true;
    lf_forgetObjectId(ac, true);
    if (ac.objectId != 0) {
        ac.st = SimState::liveryRespawn;
        engine.removalQueue.push_back(ac.objectId);
        return;
    }
    gf_logLine(fmt::format("{} removing act {} with objectid=0 ?", "liveryRespawn", lf_acLabel(ac)));
    ac.st = SimState::buffer; // no removal will be reported
}

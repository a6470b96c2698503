#pragma once
// Stands as live aircraft use them: which one an aircraft gets and who keeps it, what is learned from it, and how
// many may park. The stands belong to the park airport, and so does their `occupied` mark; an aircraft holds one by
// `standId`. Worker.

#include "engine/engine.h"

#include <cmath>

// Callsigns and registrations: two empty ones say nothing of two aircraft.
inline bool lf_sameText(std::string_view a, std::string_view b) { return !a.empty() && a == b; }

// ---- distances -----------------------------------------------------------------------------------------------------

// A box around a place that holds all places within `nm` of it: most of the others are told without a sine.
struct NearBox {
    double lat, lon, latReach, lonReach; // degrees
    NearBox(double atLat, double atLon, double nm) : lat(atLat), lon(atLon) {
        constexpr double minutes = 60, roomy = 1.01, nearPole = 0.01; // there meridians are no measure
        const double cosLat = std::cos(lat * degToRad);
        latReach = nm / minutes * roomy;
        lonReach = cosLat > nearPole ? latReach / cosLat : 360;
    }
    bool excludes(double otherLat, double otherLon) const {
        constexpr double halfTurn = 180;
        const double east = std::abs(otherLon - lon);
        return std::abs(otherLat - lat) > latReach ||
               (east > halfTurn ? 2 * halfTurn - east : east) > lonReach;
    }
};
inline bool lf_isWithin(double lat1, double lon1, double lat2, double lon2, double nm) {
    constexpr double minutes = 60, slack = 1e-6; // a minute of latitude is a nautical mile
    return std::abs(lat2 - lat1) * minutes <= nm + slack && gf_distanceNm(lat1, lon1, lat2, lon2) <= nm;
}

// From a place to a line: the place lies so far from a point of the line, and by that angle off its course.
inline double lf_feetBeside(double distanceNm, double angle) {
    return std::abs(distanceNm * std::sin(angle)) * feetPerNm;
}

// ---- the stand of an aircraft (parking.cpp) --------------------------------------------------------------------------

constexpr double standSearchMeters = 55; // an aircraft that stands there is taken to be on the stand
constexpr double sizeToleranceNm =
    1.8 / metersPerNm; // a stand fits an aircraft whose radius exceeds it by this

bool lf_fitsStand(const AcBase& ac, const Stand& stand);
bool lf_namesFlight(const StandOption& option,
                    const AcBase& ac); // a real sighting of this flight, or of its kind
// The stand for an aircraft at a place; nullptr for none. A stand that is too small grows when the aircraft is right
// on it. With `wide`, a stand farther off where this flight has been seen counts when there is none near.
Stand* lf_findStand(double lat, double lon, const AcBase& ac, double radiusMeters, bool wide);

struct StandClaim {
    std::uint32_t standId = 0;
    std::string_view callsign; // of the new aircraft
    bool granted = true;
};
// Asked of each aircraft before a stand is taken; true when `other` holds it and so has decided. It may be removed.
bool lf_claimStand(StandClaim& claim, LiveAc& other);
bool lf_adjacentConflict(const Stand& stand, const LiveAc& ac);
bool lf_collidesAt(const Stand& stand, double radiusNm, std::uint32_t neighbourId, double neighbourRadiusNm);
bool lf_isKeptForUser(const Stand& stand); // the reserved one, or the user's aircraft stands on it

Stand* lf_standOf(const AcBase& ac); // nullptr: none, or it is one of an airport that is no longer in use
std::string_view lf_standName(std::uint32_t standId); // its id, for log lines
void lf_takeStand(AcBase& ac, const Stand& stand);    // the stand's place to the aircraft's record
void lf_beginParked(LiveAc& ac, Stand* stand); // the mark, and the start of the watch; nullptr as lf_standOf
void lf_applyCargoRule(const LiveAc& ac, Stand& stand);
void lf_noteUpdate();                           // one more change to what is known of the stands
void lf_spawnAtStand(LiveAc& ac, Stand& stand); // for spawnLiveAc; may refuse it, or leave it in `birth`
void lf_giveUp(LiveAc& ac, NotSpawned why);     // spawn.cpp; the record is dropped

// ---- who makes way (conflicts.cpp, counts.cpp) -----------------------------------------------------------------------

void lf_makeWay(const LiveAc& ac, const Stand& stand);     // static aircraft leave a stand and its neighbours
bool lf_isImage(const LiveAc& ac, const ParkedAc& parked); // both show one real aircraft or one flight
bool lf_sameAircraft(const LiveAc& ac, const ParkedAc& parked); // the same, of an active one; tells why
bool lf_userAirConflict(LiveAc& ac);                            // true: it was removed
void lf_enforceMaxPark(std::int32_t extra);                     // 1 when an aircraft is about to be added
void lf_removeOldestParked(std::size_t count);

// ---- learning (learning.cpp) -----------------------------------------------------------------------------------------

bool lf_addRealStandOption(std::uint32_t standId, const LiveAc& ac, WeekSlot slot, bool leaving);
bool lf_addSoftStandOption(std::uint32_t standId, const LiveAc& ac, bool replace, WeekSlot slot);
bool lf_learnedRecently(std::uint32_t hexid, WeekSlot slot, bool force); // true: learn it now
void lf_noteLearned(std::uint32_t hexid, WeekSlot slot);
Stand* lf_searchSoftStand(WeekSlot slot, const LiveAc& ac, bool retry);
void lf_searchForCoupledCsAroundThisTime(WeekSlot slot, LiveAc& ac);

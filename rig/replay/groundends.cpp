// How landings ended. No state.

#include "replay/groundends.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rig {

namespace {

constexpr double standReachM = 55, standToleranceM = 1.8; // as the program's own search has them
constexpr double longRestS =
    300; // a silence or a rest of that length ends an aircraft's stay on the taxiways
constexpr double restM = 20;

// Where the feed's aircraft came to its end after a landing: its last report before it is silent or rests for long.
const FeedFix* stopAfter(const std::vector<FeedFix>& track, double time) {
    const FeedFix *last = nullptr, *restsAt = nullptr;
    for (const FeedFix& fix : track) {
        if (fix.time < time || !fix.onGround) continue;
        if (last && fix.time - last->time > longRestS) break;
        last = &fix;
        if (!restsAt || metersBetween(restsAt->lat, restsAt->lon, fix.lat, fix.lon) > restM) restsAt = &fix;
        if (fix.time - restsAt->time > longRestS) break;
    }
    return last;
}

const StandPlace* nearestFitting(const std::vector<StandPlace>& stands, const TouchDown& ac,
                                 const FeedFix& at, double& meters) {
    const StandPlace* best = nullptr;
    meters = standReachM;
    for (const StandPlace& stand : stands) {
        const double m = metersBetween(stand.lat, stand.lon, at.lat, at.lon);
        if (m > meters || ac.radiusM - stand.radiusM > standToleranceM || stand.heli != ac.rotorcraft)
            continue;
        best = &stand;
        meters = m;
    }
    return best;
}

void findEnd(const GroundWatch& watch, double until, LandingOutcome& outcome) {
    const TouchDown& down = outcome.touchDown;
    const auto isIts = [&](const auto& e) {
        return e.hexid == down.hexid && e.time > down.time && e.time < until;
    };
    const auto arrival = std::find_if(watch.arrivals.begin(), watch.arrivals.end(), isIts);
    if (arrival != watch.arrivals.end()) {
        outcome.end = LandingEnd::parked;
        outcome.stand = arrival->stand;
        return;
    }
    const auto end = std::find_if(watch.vanished.begin(), watch.vanished.end(), isIts);
    if (end == watch.vanished.end() || end->atEnd) return;
    outcome.end = end->moving ? LandingEnd::vanishedMoving : LandingEnd::standing;
}

} // namespace

const char* landingEndName(LandingEnd end) {
    switch (end) {
    case LandingEnd::parked: return "parked";
    case LandingEnd::standing: return "standing";
    case LandingEnd::vanishedMoving: return "vanished moving";
    case LandingEnd::underWay: return "under way";
    }
    return "";
}

std::vector<LandingOutcome> landingOutcomes(const GroundWatch& watch, const std::vector<StandPlace>& stands) {
    std::vector<LandingOutcome> result;
    for (std::size_t i = 0; i < watch.touchDowns.size(); ++i) {
        LandingOutcome outcome;
        outcome.touchDown = watch.touchDowns[i];
        const TouchDown& down = outcome.touchDown;
        double until = std::numeric_limits<double>::max(); // its next landing
        for (std::size_t j = i + 1; j < watch.touchDowns.size(); ++j)
            if (watch.touchDowns[j].hexid == down.hexid) until = std::min(until, watch.touchDowns[j].time);
        findEnd(watch, until, outcome);
        const auto* track = watch.tracks ? watch.tracks->of(down.hexid) : nullptr;
        const FeedFix* stop =
            track ? stopAfter(*track, watch.startFeedTime + down.time - watch.feedDelayS) : nullptr;
        double meters = 0;
        if (const StandPlace* stand = stop ? nearestFitting(stands, down, *stop, meters) : nullptr) {
            outcome.fittingStand = stand->id;
            outcome.feedStopM = meters;
        }
        result.push_back(std::move(outcome));
    }
    return result;
}

double feedTurn(const FeedTracks& tracks, std::uint32_t hexid, double from, double to) {
    constexpr double stepM = 50; // shorter steps turn by their noise
    const auto* track = tracks.of(hexid);
    if (!track) return 0;
    const FeedFix* last = nullptr;
    double turn = 0, course = 0;
    bool courseKnown = false;
    for (const FeedFix& fix : *track) {
        if (fix.time < from || fix.time > to) continue;
        if (!last) last = &fix;
        if (metersBetween(last->lat, last->lon, fix.lat, fix.lon) < stepM) continue;
        const double next = gf_bearing(last->lat, last->lon, fix.lat, fix.lon);
        if (courseKnown) turn += std::abs(gf_headingDiff(course, next)) * radToDeg;
        course = next;
        courseKnown = true;
        last = &fix;
    }
    return turn;
}

} // namespace rig

#pragma once
// How landings ended, and what the feed said of the same way: worked out after a replay.

#include "replay/groundwatch.h"

#include <string>
#include <vector>

namespace rig {

struct StandPlace {
    std::string id;
    double lat = 0, lon = 0; // degrees
    double heading = 0;      // radians
    double radiusM = 0;
    bool heli = false;
};

enum class LandingEnd { parked, standing, vanishedMoving, underWay }; // underWay: when the replay ended

struct LandingOutcome {
    TouchDown touchDown;
    LandingEnd end = LandingEnd::underWay;
    std::string stand;        // the one it parked on; "" for none
    std::string fittingStand; // the nearest that fits, within 55 m of where the feed stopped; "" for none
    double feedStopM = -1;    // its distance from there
};
const char* landingEndName(LandingEnd end);

std::vector<LandingOutcome> landingOutcomes(const GroundWatch& watch, const std::vector<StandPlace>& stands);

// Degrees that the feed's own track turned from one time of the feed to another, by its places 50 m and more apart.
double feedTurn(const FeedTracks& tracks, std::uint32_t hexid, double from, double to);

} // namespace rig

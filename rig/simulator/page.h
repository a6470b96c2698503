#pragma once
// What the stand-in shows of its world: a map page, the world as JSON, and the tracks that the page draws.

#include "refdata/stands.h"
#include "simulator/session.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace rig {

// The way of each object over the last minutes; note() after each frame, under the hub's lock.
struct Tracks {
    struct Point {
        double lat, lon; // degrees
    };
    void note(const World& world);
    std::map<std::uint32_t, std::deque<Point>> points; // by object id, oldest first
    double nextAt = 0;                                 // World::elapsed
};

// The user, all objects, counts; UTF-8 whatever the titles hold. An object at rest on a stand has its name.
std::string worldJson(const SimHub& hub, const std::vector<StandRow>& stands = {});
std::string standsJson(const std::vector<StandRow>& stands);
std::string tracksJson(const Tracks& tracks);
std::string journalText(const SimHub& hub); // a line each
extern const char* const mapPage;           // HTML, without anything from elsewhere

} // namespace rig

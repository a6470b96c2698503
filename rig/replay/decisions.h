#pragma once
// What the engine decided on each aircraft of a replay, in its own words, with the time. Listening costs the program's
// Tick nothing that is counted: the listener keeps its own time and allocations, for the player to take off.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace rig {

struct Decision {
    double time; // replay seconds
    std::string what;
};

// One at a time: it is the engine's listener from construction to destruction. One thread.
class Decisions {
  public:
    Decisions();
    ~Decisions();
    Decisions(const Decisions&) = delete;
    Decisions& operator=(const Decisions&) = delete;

    double now = 0; // replay seconds; the player sets it before each Tick
    std::map<std::uint32_t, std::vector<Decision>> of;
    // Why its object went at that time or the last seconds before: "stream_end", ..., or "respawn", which exchanges it
    // for another callsign or look; "" for no reason heard.
    std::string whyRemoved(std::uint32_t hexid, double time) const;

    double costUs = 0; // of listening, so far
    std::uint64_t costAllocations = 0;
};

} // namespace rig

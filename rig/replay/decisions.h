#pragma once
// What the engine decided on each aircraft of a replay, in its own words, with the time. Listening costs the program's
// Tick nothing that is counted: the listener keeps its own time and allocations, for the player to take off.

#include "feed/feed.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace rig {

struct Decision {
    double time; // replay seconds
    std::string what;
};

// What the program made of the feed's lines of one aircraft.
struct LineFates {
    std::int64_t kept = 0;
    std::array<std::int64_t, static_cast<std::size_t>(Drop::count)> dropped{};
    void count(int sign);           // the reader's counters: taken off before a line, added behind it
    std::string whyDropped() const; // "type 452, position 1"; "" for none
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
    // The last such reason in that time; "" for none.
    std::string lastRemoval(std::uint32_t hexid, double from, double to) const;

    std::map<std::uint32_t, LineFates> lines; // the player counts them

    double costUs = 0; // of listening, so far
    std::uint64_t costAllocations = 0;
};

} // namespace rig

#pragma once
// Watches the static aircraft of a replay: that nobody is there twice, that nothing stands in them, and how they are
// placed. Each second, by what the simulator shows; the names are compared by rules of its own.

#include "engine/engine.h"
#include "feed/recording.h"
#include "refdata/stands.h"
#include "replay/overlaps.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace rig {

struct World;

struct Twice { // one real aircraft or flight, shown by two objects
    double since = 0;
    int seconds = 0, allowed = 0; // one for each arrival that waits, and five
    std::string first, second, why;
};

class StaticWatch {
  public:
    void everySecond(double time, const World& world);
    void afterTick(double time, const World& world); // counts creations

    std::size_t most = 0, mostLive = 0;
    std::uint64_t creationsTooSoon = 0; // within less than half a second, less a frame
    OverlapWatch overlaps;              // of pairs with a static aircraft; its number is its serial
    std::vector<Twice> pairs;           // that have ended, and those that still are there
    nlohmann::json report() const;
    std::string table() const; // for people

  private:
    void lookForPairs(double time, const World& world);
    void lookForOverlaps(double time, const World& world);

    std::map<std::pair<std::uint32_t, std::uint32_t>, std::size_t> open; // by object ids: place in `pairs`
    std::size_t creations = 0;
    double createdAt = -10;
};

// What stood at an airport in the weeks before, made up: on each stand one aircraft after the other that fits, day and
// night, one in ten of them with the names of an aircraft of the feed. Throws std::runtime_error when it cannot be written.
void writeMadeLearnedFile(const std::filesystem::path& path, const StandTable& airport, std::size_t wanted,
                          const std::vector<TimedLine>& feed, std::uint32_t seed);

} // namespace rig

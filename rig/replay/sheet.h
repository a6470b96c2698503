#pragma once
// One sheet per aircraft on demand: its way over the stands, heading, speed and altitude over time beside the feed's
// own, and what the engine decided on it, in words.

#include "replay/decisions.h"
#include "replay/groundends.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace rig {

struct SheetPoint {                  // of what the simulator shows
    double time;                     // replay seconds
    double lat, lon, altFt, heading; // degrees, feet, radians
    FlightState fs;
    bool onGround;
};

struct SheetTrack {
    std::vector<SheetPoint> points;
    std::vector<std::string> callsigns; // in their order
};

class SheetLog {
  public:
    // Addresses of six hexadecimal digits, or callsigns.
    explicit SheetLog(const std::vector<std::string>& wanted);
    void afterTick(double time, const std::vector<Shown>& shown);
    // Those asked for, with what was shown of them. One that never appeared is in it when it was asked for by address.
    std::map<std::uint32_t, const SheetTrack*> wanted() const;

  private:
    // Of all aircraft: a callsign may come late in the life of one.
    std::map<std::uint32_t, SheetTrack> tracks;
    std::vector<std::uint32_t> hexids;
    std::vector<std::string> callsigns;
    std::uint64_t ticks = 0;
};

struct SheetInput {
    const SheetLog& log;
    const Decisions& decisions;
    const FeedTracks& feed;
    const std::vector<StandPlace>& stands;
    double startFeedTime = 0, feedDelayS = 30;
};

// "aircraft-3442B5.html" and, in numbers, "aircraft-3442B5.csv"; gives their number.
int writeSheets(const SheetInput& input, const std::filesystem::path& folder);

} // namespace rig

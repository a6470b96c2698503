#pragma once
// What the feed itself said of each aircraft: the yardstick of the replay's report.

#include "app/geo.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace rig {

double metersBetween(double lat1, double lon1, double lat2, double lon2); // of places near each other

struct FeedFix {
    double time;     // seconds since 1970
    double lat, lon; // degrees
    double alt;      // feet; 0 or below on the ground
    double speed;    // knots
    bool onGround;
};

// Where an aircraft stands against the feed's track at a moment.
struct TrackOffset {
    double acrossM;    // distance to the track, metres
    double delayS;     // seconds that it is behind the moment asked for; negative: ahead
    double verticalFt; // height above the track, feet
    double speedKt;    // the feed's speed there
    bool onGround;     // likewise, before and behind that place
};

class FeedTracks {
  public:
    std::uint32_t add(std::string_view line); // a line of the feed, its aircraft; others are ignored, 0
    void add(std::uint32_t hexid, const FeedFix& fix); // ignored when it is not later than the last one
    bool empty() const { return tracks.empty(); }
    const std::vector<FeedFix>* of(std::uint32_t hexid) const;
    // False when the feed has no track there: its reports around that moment, or around the nearest place, are more
    // than 30 seconds apart, or the place lies beyond an end of the track.
    bool offset(std::uint32_t hexid, double time, double lat, double lon, double alt,
                TrackOffset& result) const;
    // Between its reports, and at the first or last one before and after them; false without any.
    bool place(std::uint32_t hexid, double time, double& lat, double& lon) const;
    // Metres between two at their nearest in that time; huge when one has no reports.
    double closest(std::uint32_t a, std::uint32_t b, double from, double to) const;
    const FeedFix* firstGroundFixAfter(std::uint32_t hexid, double time) const;

  private:
    std::unordered_map<std::uint32_t, std::vector<FeedFix>> tracks;
};

} // namespace rig

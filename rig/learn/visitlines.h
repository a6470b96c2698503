#pragma once
// The feed lines of a visit: the last miles of the approach, the way to the stand, and later from it and off. Each
// aircraft drives as if it were alone.

#include "feed/groundpath.h"
#include "feed/groundtraffic.h"
#include "learn/schedule.h"

#include <vector>

namespace rig {

class VisitLines {
  public:
    VisitLines(const GroundPlan& where, const KnownAirport& airport, double startTime, std::uint32_t seed);
    // Append the lines, in no order; the visit learns when it truly came to its stand.
    bool arrive(Visit& visit, std::vector<TimedLine>& lines); // false: no way leads there
    bool leave(const Visit& visit, std::vector<TimedLine>& lines);

    static constexpr double seenBeforeLandingS = 200, seenBeforeLeavingS = 200;

  private:
    Spot spotOf(std::size_t node) const { return plane.spot(plan.nodes[node].place); }
    Spot standSpot(std::size_t stand) const {
        return plane.spot({plan.stands[stand].lat, plan.stands[stand].lon});
    }
    void addGround(Flight& flight, const GroundTrack& track, double firstTime) const;
    void report(const Flight& flight, std::vector<TimedLine>& lines);

    const GroundPlan& plan;
    const KnownAirport home;
    double start; // seconds since 1970
    Dice dice;
    LocalPlane plane;
    std::size_t landingRunway = 0, takeOffRunway = 0;
    std::vector<std::size_t> holds;
};

} // namespace rig

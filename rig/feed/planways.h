#pragma once
// Pieces of ways over a ground plan: from node to node, off a runway, onto one.

#include "generator.h"
#include "groundpath.h"
#include "groundplan.h"

#include <vector>

namespace rig {

constexpr double taxiMps = 9, laneMps = 5, exitMps = 12, entryMps = 7, standMps = 2.5, pushMps = 1.6,
                 towMps = 4;
constexpr double turnRadiusM = 40, pushRadiusM = 28;

// The shortest way from a node to another behind the corners that are there; false when there is none.
bool addPlanNodes(const GroundPlan& plan, const LocalPlane& plane, std::vector<Corner>& corners,
                  std::size_t from, std::size_t to, double mostMps);
KnownAirport runwayAirport(const KnownAirport& home, const PlanRunway& runway, const LatLon& threshold);
// The exits that an aircraft with this approach speed can brake for, the nearest first.
std::vector<const PlanEdge*> usableExits(const GroundPlan& plan, const PlanRunway& runway,
                                         double approachMps);
const PlanEdge* entryFrom(const GroundPlan& plan, std::size_t hold,
                          const PlanRunway& runway); // nullptr: none

} // namespace rig

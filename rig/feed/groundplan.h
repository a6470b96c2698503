#pragma once
// The ground of an airport as the traffic generator drives on it: runways, one-way taxiways and lanes, and the way to and
// from each stand. Read from tables that docs/rig.md describes.

#include "refdata/stands.h"

#include "app/geo.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace rig {

struct PlanRunway { // one direction of a runway
    std::string name;
    LatLon threshold;
    double heading = 0; // true, degrees
    double lengthM = 0, widthM = 0;
};

enum class NodeKind {
    taxi,
    hold,  // the holding point of a runway
    runway // on a centre line
};

struct PlanNode {
    std::string id;
    LatLon place;
    NodeKind kind = NodeKind::taxi;
    std::vector<std::string> runways; // hold: for which direction; runway: on which
};

enum class EdgeKind {
    taxiway,
    lane,  // beside stands: slow, and aircraft are pushed onto it
    exit,  // from a centre line, for landings in one direction
    entry, // from a holding point to a centre line, for take-offs in one direction
};

struct PlanEdge {                 // driven from `from` to `to` only
    std::size_t from = 0, to = 0; // places in the list of nodes
    EdgeKind kind = EdgeKind::taxiway;
    std::string taxiway; // for people
    std::string runway;  // exit, entry: the direction
    double meters = 0;
};

enum class Leave {
    push,   // backwards to `to`, where it stands with the nose along the lane
    through // forwards to `to`
};

struct PlanStand : StandRow {
    std::size_t node = 0; // the way to the stand leaves the lane here
    Leave leave = Leave::push;
    std::size_t to = 0;
};

struct GroundPlan {
    std::string code, name;
    LatLon place;
    double elevationFt = 0; // feet, of all of it
    std::vector<PlanRunway> runways;
    std::vector<PlanNode> nodes;
    std::vector<PlanEdge> edges;
    std::vector<PlanStand> stands;
    std::vector<std::vector<std::size_t>> edgesFrom; // by node: places in the list of edges
};

bool hasGroundPlan(const std::filesystem::path& folder, const std::string& code);
GroundPlan readGroundPlan(const std::filesystem::path& folder,
                          const std::string& code); // throws std::runtime_error

// The nodes of the shortest way, both ends included; empty when there is none.
std::vector<std::size_t> shortestWay(const GroundPlan& plan, std::size_t from, std::size_t to);

} // namespace rig

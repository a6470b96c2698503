// Ways over a ground plan.

#include "planways.h"

#include "tracks.h"

#include <algorithm>

namespace rig {

bool addPlanNodes(const GroundPlan& plan, const LocalPlane& plane, std::vector<Corner>& corners,
                  std::size_t from, std::size_t to, double mostMps) {
    const std::vector<std::size_t> nodes = shortestWay(plan, from, to);
    if (nodes.empty()) return false;
    if (corners.empty()) corners.push_back({plane.spot(plan.nodes[from].place), 0});
    for (std::size_t i = 1; i < nodes.size(); ++i) {
        const auto& edges = plan.edgesFrom[nodes[i - 1]];
        const auto edge = std::find_if(edges.begin(), edges.end(),
                                       [&](std::size_t e) { return plan.edges[e].to == nodes[i]; });
        const EdgeKind kind = plan.edges[*edge].kind;
        if (kind == EdgeKind::exit || kind == EdgeKind::entry) return false;
        corners.push_back({plane.spot(plan.nodes[nodes[i]].place),
                           std::min(mostMps, kind == EdgeKind::lane ? laneMps : taxiMps)});
    }
    return true;
}

KnownAirport runwayAirport(const KnownAirport& home, const PlanRunway& runway, const LatLon& threshold) {
    KnownAirport result = home;
    result.thresholdLat = threshold.lat;
    result.thresholdLon = threshold.lon;
    result.runwayBearing = runway.heading;
    result.runwayLengthM = runway.lengthM;
    return result;
}

std::vector<const PlanEdge*> usableExits(const GroundPlan& plan, const PlanRunway& runway,
                                         double approachMps) {
    constexpr double softest = 0.6, hardest = 2.0; // m/s²
    std::vector<const PlanEdge*> exits;
    const auto meters = [&](const PlanEdge& edge) {
        return gf_distanceNm(runway.threshold, plan.nodes[edge.from].place) * metersPerNm;
    };
    for (const PlanEdge& edge : plan.edges) {
        if (edge.kind != EdgeKind::exit || edge.runway != runway.name) continue;
        const double braking =
            (approachMps * approachMps - exitMps * exitMps) / 2 / (meters(edge) - touchDownPointM);
        if (meters(edge) > touchDownPointM && braking > softest && braking < hardest) exits.push_back(&edge);
    }
    std::sort(exits.begin(), exits.end(),
              [&](const PlanEdge* a, const PlanEdge* b) { return meters(*a) < meters(*b); });
    return exits;
}

const PlanEdge* entryFrom(const GroundPlan& plan, std::size_t hold, const PlanRunway& runway) {
    for (const std::size_t e : plan.edgesFrom[hold])
        if (plan.edges[e].kind == EdgeKind::entry && plan.edges[e].runway == runway.name)
            return &plan.edges[e];
    return nullptr;
}

} // namespace rig

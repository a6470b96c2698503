// Lays the ways of a visit and lets a receiver report them.

#include "learn/visitlines.h"

#include "feed/planways.h"
#include "feed/reports.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace rig {

static constexpr double mpsPerKnot = metersPerNm / 3600;

VisitLines::VisitLines(const GroundPlan& where, const KnownAirport& airport, double startTime,
                       std::uint32_t seed)
    : plan(where), home(airport), start(startTime), dice(seed + 1), plane(where.place) {
    for (std::size_t i = 1; i < plan.runways.size(); ++i)
        if (std::fabs(
                gf_headingDiff(plan.runways[i].heading * degToRad, plan.runways[0].heading * degToRad)) < 1)
            takeOffRunway = i;
    for (std::size_t i = 0; i < plan.nodes.size(); ++i)
        if (plan.nodes[i].kind == NodeKind::hold &&
            plan.nodes[i].runways.front() == plan.runways[takeOffRunway].name)
            holds.push_back(i);
    if (holds.empty()) throw std::runtime_error("a ground plan without holding points");
}

void VisitLines::addGround(Flight& flight, const GroundTrack& track, double firstTime) const {
    for (const GroundFix& fix : track) {
        const LatLon place = plane.place(fix.at);
        const TrueFix truth{firstTime + fix.second,
                            place.lat,
                            place.lon,
                            home.elevationFt,
                            fix.heading * radToDeg,
                            fix.mps / mpsPerKnot,
                            true,
                            fix.course * radToDeg};
        if (flight.track.empty() || truth.time > flight.track.back().time) flight.track.push_back(truth);
    }
}

void VisitLines::report(const Flight& flight, std::vector<TimedLine>& lines) {
    Reporter reporter(dice, home, 0, std::numeric_limits<double>::max(), false);
    reporter.report(flight, lines);
}

bool VisitLines::arrive(Visit& visit, std::vector<TimedLine>& lines) {
    constexpr double beforeExitM = 60;
    const PlanRunway& runway = plan.runways[landingRunway];
    const Performance& type = visit.who.by->performance;
    const auto exits = usableExits(plan, runway, type.approachKt * mpsPerKnot);
    if (exits.empty()) return false;
    const PlanEdge& exit = *exits.front();
    std::vector<Corner> corners{{{}, 0}, {spotOf(exit.from), exitMps}, {spotOf(exit.to), exitMps}};
    if (!addPlanNodes(plan, plane, corners, exit.to, plan.stands[visit.stand].node, taxiMps)) return false;
    corners.push_back({standSpot(visit.stand), standMps});
    corners.front().at = moved(corners[1].at, runway.heading * degToRad + pi, beforeExitM);
    const GroundWay way = layWay(corners, turnRadiusM, true);

    Flight flight = visit.who;
    const double toExit = gf_distanceNm(runway.threshold, plan.nodes[exit.from].place) * metersPerNm;
    flight.track = makeApproach(runwayAirport(home, runway, runway.threshold), type, start + visit.landsAt,
                                toExit - beforeExitM, way.points.front().mostMps / mpsPerKnot, dice);
    std::erase_if(flight.track,
                  [&](const TrueFix& fix) { return fix.time < start + visit.landsAt - seenBeforeLandingS; });
    if (flight.track.empty()) return false;
    GroundTrack track = driveWay(way, 0, flight.track.back().speedKt * mpsPerKnot, {});
    const double firstTime = flight.track.back().time;
    visit.from = firstTime + track.back().second - start;
    const int staysOn = 30 + dice.below(60); // seconds, the transponder
    for (int i = 0; i < staysOn; ++i) {
        track.push_back(track.back());
        ++track.back().second;
        track.back().mps = 0;
    }
    addGround(flight, track, firstTime);
    flight.destination = home.iata;
    report(flight, lines);
    return true;
}

bool VisitLines::leave(const Visit& visit, std::vector<TimedLine>& lines) {
    const PlanStand& stand = plan.stands[visit.stand];
    const PlanRunway& runway = plan.runways[takeOffRunway];
    const std::size_t hold = dice.oneOf(holds);
    const PlanEdge* entry = entryFrom(plan, hold, runway);
    if (!entry) return false;
    const double heading = stand.heading * degToRad;
    GroundTrack track;
    for (int second = -static_cast<int>(seenBeforeLeavingS) + dice.below(100); second < 0; ++second)
        track.push_back({second, standSpot(visit.stand), heading, heading, 0});
    std::vector<Corner> corners;
    if (stand.leave == Leave::push) {
        const GroundWay push =
            layWay({{standSpot(visit.stand), 0}, {spotOf(stand.node), pushMps}, {spotOf(stand.to), pushMps}},
                   pushRadiusM, true);
        GroundTrack back = driveWay(push, 0, 0, {});
        for (GroundFix& fix : back) fix.heading = gf_wrapHeading(fix.course + pi);
        track.insert(track.end(), back.begin(), back.end());
    } else {
        corners = {{standSpot(visit.stand), 0}, {spotOf(stand.to), standMps}};
    }
    constexpr int pauseS = 40;
    for (int i = 0; i < pauseS; ++i) {
        track.push_back(track.back());
        ++track.back().second;
        track.back().mps = 0;
    }
    if (!addPlanNodes(plan, plane, corners, stand.to, hold, taxiMps)) return false;
    constexpr double onRunwayM = 45;
    const Spot node = spotOf(entry->to), lineUp = moved(node, runway.heading * degToRad, onRunwayM);
    corners.push_back({node, entryMps});
    corners.push_back({lineUp, entryMps});
    const GroundTrack taxi = driveWay(layWay(corners, turnRadiusM, true), track.back().second, 0, {});
    track.insert(track.end(), taxi.begin() + 1, taxi.end());

    Flight flight = visit.who;
    flight.callsign = visit.leavesAs;
    flight.origin = home.iata;
    addGround(flight, track, start + visit.to);
    const LatLon threshold = plane.place(moved(lineUp, runway.heading * degToRad + pi, lineUpM));
    constexpr double readyS = 10, seenInAirS = 90, rollS = 45;
    const double roll = flight.track.back().time + readyS;
    for (const TrueFix& fix :
         makeDeparture(runwayAirport(home, runway, threshold), flight.by->performance, roll, dice))
        if (fix.time >= roll && fix.time < roll + rollS + seenInAirS) flight.track.push_back(fix);
    report(flight, lines);
    return true;
}

} // namespace rig

// Finds the ways of a day's movements: to a stand, from a stand and off, from stand to stand.

#include "airportmoves.h"

#include "planways.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace rig {

namespace {

constexpr double metersPerSecondPerKnot = metersPerNm / 3600;

bool fitsBetween(const std::set<int>& times, int second, int spacing) {
    const auto next = times.lower_bound(second);
    return (next == times.end() || *next - second >= spacing) &&
           (next == times.begin() || second - *std::prev(next) >= spacing);
}

void standOn(GroundTrack& track, int until) {
    while (track.back().second < until) {
        track.push_back(track.back());
        ++track.back().second;
        track.back().mps = 0;
    }
}

GroundTrack shifted(GroundTrack track, int seconds) {
    for (GroundFix& fix : track) fix.second += seconds;
    return track;
}

} // namespace

// ---- ways ------------------------------------------------------------------------------------------------------------

std::vector<Pause> DayPlan::taxiPauses(const GroundWay& way) {
    constexpr double oneIn = 9;
    if (!dice.oneIn(oneIn)) return {};
    return {{way.length() * dice.between(0.2, 0.8), dice.between(20, 70)}};
}

// Its reports vanish before a turn and come back behind the next but one.
void DayPlan::addSilence(Flight& flight, const GroundWay& way, const GroundTrack& track) {
    constexpr double oneIn = 7, beforeM = 40;
    if (way.turns.size() < 2 || !dice.oneIn(oneIn)) return;
    const auto turn = dice.index(way.turns.size() - 1);
    double along = 0, from = 0;
    for (std::size_t i = 1; i < track.size(); ++i) {
        along += metersBetween(track[i - 1].at, track[i].at);
        if (from == 0 && along >= way.turns[turn] - beforeM) from = timeOf(track[i].second);
        if (along < way.turns[turn + 1] + beforeM && i + 1 < track.size()) continue;
        flight.silences.emplace_back(from, timeOf(track[i].second));
        return;
    }
}

void DayPlan::addTrack(Flight& flight, const GroundTrack& track) const {
    for (const GroundFix& fix : track) {
        const LatLon place = plane.place(fix.at);
        TrueFix truth{timeOf(fix.second),
                      place.lat,
                      place.lon,
                      home.elevationFt,
                      fix.heading * radToDeg,
                      fix.mps / metersPerSecondPerKnot,
                      true,
                      fix.course * radToDeg};
        if (!flight.track.empty() && truth.time <= flight.track.back().time) continue;
        flight.track.push_back(truth);
    }
}

GroundTrack DayPlan::groundPart(const std::vector<TrueFix>& fixes, double belowFt) const {
    GroundTrack track;
    for (const TrueFix& fix : fixes)
        if (fix.altFt < home.elevationFt + belowFt)
            track.push_back({static_cast<int>(std::lround(fix.time - wishes.startTime)),
                             plane.spot({fix.lat, fix.lon}), fix.heading * degToRad, fix.course * degToRad,
                             fix.speedKt * metersPerSecondPerKnot});
    return track;
}

// ---- landings --------------------------------------------------------------------------------------------------------

std::optional<Lacks> DayPlan::land(int second) {
    Fleet fleet;
    bool cargo = false, ramp = false;
    constexpr int choices = 4;
    std::vector<std::size_t> stands;
    for (int i = 0; i < choices && stands.empty(); ++i) {
        if (!chooseLanding(fleet, cargo, ramp)) continue;
        const Fleet one{dice.oneOf(fleet)};
        stands = freeStands(one.front()->spanM / 2, cargo, ramp, second);
        if (!stands.empty()) fleet = one;
    }
    if (stands.empty()) return Lacks::stand;
    const Flight who = newFlight(fleet);
    // The narrowest that fit, in an order of chance.
    std::stable_sort(stands.begin(), stands.end(), [&](std::size_t a, std::size_t b) {
        return plan.stands[a].radiusM < plan.stands[b].radiusM;
    });
    constexpr double slackM = 4;
    const double narrowest = plan.stands[stands.front()].radiusM;
    while (plan.stands[stands.back()].radiusM > narrowest + slackM) stands.pop_back();
    dice.shuffle(stands);
    constexpr std::size_t standsTried = 2;
    if (stands.size() > standsTried) stands.resize(standsTried);

    const PlanRunway& runway = plan.runways[landingRunway];
    std::vector<const PlanEdge*> exits =
        usableExits(plan, runway, who.by->performance.approachKt * metersPerSecondPerKnot);
    constexpr std::size_t exitsTried = 2;
    if (exits.size() > exitsTried) exits.resize(exitsTried);
    constexpr int latest = 90, step = 6;
    for (int at = second; at < second + latest; at += step) {
        if (!fitsBetween(landings, at, spacing)) continue;
        for (const std::size_t stand : stands)
            for (const PlanEdge* exit : exits)
                if (landAt(who, stand, *exit, at)) return std::nullopt;
    }
    return Lacks::way;
}

bool DayPlan::landAt(const Flight& who, std::size_t stand, const PlanEdge& exit, int second) {
    const PlanRunway& runway = plan.runways[landingRunway];
    const double halfSpanM = who.by->spanM / 2;
    constexpr double beforeExitM = 60, overFt = 60;
    std::vector<Corner> corners{{{}, 0}, {spotOf(exit.from), exitMps}, {spotOf(exit.to), exitMps}};
    if (!addPlanNodes(plan, plane, corners, exit.to, plan.stands[stand].node, taxiMps)) return false;
    corners.push_back({standSpot(stand), standMps});
    const Spot exitSpot = corners[1].at;
    corners.front().at = moved(exitSpot, runway.heading * degToRad + pi, beforeExitM);
    const double exitKt = layWay(corners, turnRadiusM, true).points.front().mostMps / metersPerSecondPerKnot;

    Flight flight = who;
    const double toExit = gf_distanceNm(runway.threshold, plan.nodes[exit.from].place) * metersPerNm;
    flight.track = makeApproach(runwayAirport(home, runway, runway.threshold), who.by->performance,
                                timeOf(second), toExit - beforeExitM, exitKt, dice);
    const GroundTrack roll = groundPart(flight.track, overFt);
    if (roll.empty() || !traffic.isFree(roll, halfSpanM, 2)) return false;
    corners.front().at = roll.back().at;
    const GroundWay way = layWay(corners, turnRadiusM, true);
    const auto driven = traffic.drive(way, halfSpanM, roll.back().second, roll.back().mps, taxiPauses(way));
    if (!driven || driven->mayStay < forever) return false;

    landings.insert(second);
    traffic.addMoving(halfSpanM, roll);
    traffic.addMoving(halfSpanM, driven->track);
    addTrack(flight, driven->track);
    flight.destination = home.iata;
    flight.origin = desk.otherAirport();
    if (wishes.faults) addSilence(flight, way, driven->track);
    const int parked = driven->track.back().second;
    TrueMove move;
    move.kind = MoveKind::landing;
    move.hexid = flight.hexid;
    move.callsign = flight.callsign;
    move.to = plan.stands[stand].id;
    move.start = timeOf(second);
    move.end = timeOf(parked);
    events.moves.push_back(move);
    flights.push_back(std::move(flight));
    park(who, stand, parked, parked + turnRoundSeconds(*who.by), true, static_cast<int>(flights.size()) - 1);
    return true;
}

// ---- departures ------------------------------------------------------------------------------------------------------

std::optional<Lacks> DayPlan::depart(int second) {
    std::vector<std::size_t> ready;
    for (std::size_t i = 0; i < stays.size(); ++i)
        if (stays[i].leftAt == forever && stays[i].ready <= second) ready.push_back(i);
    std::stable_sort(ready.begin(), ready.end(),
                     [&](std::size_t a, std::size_t b) { return stays[a].ready < stays[b].ready; });
    if (dice.oneIn(2)) // those that landed do not wait for all that stood there before
        std::stable_partition(ready.begin(), ready.end(), [&](std::size_t i) { return stays[i].landed; });
    if (ready.empty()) return Lacks::aircraft;
    constexpr std::size_t tried = 3;
    if (ready.size() > tried) ready.resize(tried);
    // The first push back that is free, and a few later ones when it then does not get through.
    constexpr int latest = 420, step = 15, waysTried = 4;
    for (const std::size_t i : ready) {
        int ways = 0;
        for (int at = second; at < second + latest && ways < waysTried; at += step) {
            GroundTrack track;
            TrueMove move;
            if (!leaveStand(stays[i], at, 25 + dice.below(50), track, move)) continue;
            ++ways;
            const std::size_t hold = holds[static_cast<std::size_t>(holdTurn++) % holds.size()];
            if (departAt(stays[i], at, hold, std::move(track), move)) return std::nullopt;
        }
    }
    return Lacks::way;
}

// The push back and the pause behind it, or the pause alone.
bool DayPlan::leaveStand(const Stay& stay, int second, int pauseS, GroundTrack& track, TrueMove& move) const {
    const PlanStand& stand = plan.stands[stay.stand];
    constexpr double marginM = 4;
    const Spot at = standSpot(stay.stand);
    move.hexid = stay.who.hexid;
    move.from = stand.id;
    move.start = timeOf(second);
    if (stand.leave == Leave::push) {
        const GroundWay way =
            layWay({{at, 0}, {spotOf(stand.node), pushMps}, {spotOf(stand.to), pushMps}}, pushRadiusM, true);
        track = driveWay(way, second, 0, {});
        for (GroundFix& fix : track) fix.heading = gf_wrapHeading(fix.course + pi);
        const double turned = gf_headingDiff(way.points.front().course, way.points.back().course);
        move.push =
            turned > 0 ? PushSide::left : PushSide::right; // the course turns the tail's way, backwards
        move.pushEnd = timeOf(track.back().second);
        move.pushHeading = track.back().heading * radToDeg;
        move.tailFirst = !stay.who.sendsHeading;
    } else {
        const double heading = stand.heading * degToRad;
        track = {{second, at, heading, heading, 0}};
    }
    standOn(track, track.back().second + pauseS);
    return traffic.isFree(track, stay.who.by->spanM / 2, marginM, stay.standing);
}

// From the holding point onto the runway, and off: as soon as the runway and the way to it are free.
bool DayPlan::takeOff(const Stay& stay, std::size_t hold, const Driven& taxi, RunwayUse& use) {
    const PlanRunway& runway = plan.runways[takeOffRunway];
    const double course = runway.heading * degToRad, halfSpanM = stay.who.by->spanM / 2;
    const PlanEdge* entry = entryFrom(plan, hold, runway);
    if (!entry) return false;
    constexpr double onRunwayM = 45, straightOnM = 25, lowFt = 60;
    const Spot node = spotOf(entry->to), lineUp = moved(node, course, onRunwayM);
    const Spot ahead = moved(spotOf(hold), taxi.track.back().course, straightOnM);
    const GroundWay way = layWay({{spotOf(hold), 0}, {ahead, entryMps}, {node, entryMps}, {lineUp, entryMps}},
                                 turnRadiusM, true);
    const GroundTrack onto = driveWay(way, 0, 0, {});
    const int ontoS = onto.back().second, readyS = 2 + dice.below(spacing / 4);
    const LatLon threshold = plane.place(moved(lineUp, course + pi, lineUpM));
    use.climb = makeDeparture(runwayAirport(home, runway, threshold), stay.who.by->performance,
                              wishes.startTime, dice);
    std::erase_if(use.climb, [&](const TrueFix& fix) { return fix.time < wishes.startTime; });
    const GroundTrack roll = groundPart(use.climb, lowFt);

    const int atHold = taxi.track.back().second;
    constexpr int longestHold = 600, leastHold = 3, marginS = 5, step = 2;
    constexpr double besideM = 2;
    for (use.rollAt = atHold + leastHold + ontoS + readyS;; use.rollAt += step) {
        use.leaves = use.rollAt - readyS - ontoS;
        if (use.leaves > atHold + longestHold || use.leaves > taxi.mayStay - marginS) return false;
        if (!fitsBetween(takeOffs, use.rollAt, spacing)) continue;
        use.onto = shifted(onto, use.leaves);
        standOn(use.onto, use.rollAt - 1);
        use.roll = shifted(roll, use.rollAt);
        if (!traffic.isFree(use.onto, halfSpanM, besideM, stay.standing) ||
            !traffic.isFree(use.roll, halfSpanM, besideM, stay.standing))
            continue;
        for (TrueFix& fix : use.climb) fix.time += use.rollAt;
        return true;
    }
}

// From a stand that it has left, to the holding point and off.
bool DayPlan::departAt(Stay& stay, int second, std::size_t hold, GroundTrack track, TrueMove move) {
    const PlanStand& stand = plan.stands[stay.stand];
    const double halfSpanM = stay.who.by->spanM / 2;
    move.kind = MoveKind::departure;
    std::vector<Corner> corners;
    if (stand.leave == Leave::through) corners = {{standSpot(stay.stand), 0}, {spotOf(stand.to), standMps}};
    if (!addPlanNodes(plan, plane, corners, stand.to, hold, taxiMps)) return false;
    const GroundWay way = layWay(corners, turnRadiusM, true);
    constexpr double longestWait = 420;
    const auto driven = traffic.drive(way, halfSpanM, track.back().second, 0, taxiPauses(way), stay.standing);
    if (!driven || driven->waitedS > longestWait) return false;

    RunwayUse use;
    if (!takeOff(stay, hold, *driven, use)) return false;
    track.insert(track.end(), driven->track.begin() + 1, driven->track.end());
    standOn(track, use.leaves - 1);
    track.insert(track.end(), use.onto.begin(), use.onto.end());

    stay.leftAt = second;
    traffic.leaves(stay.standing, second - 1);
    takeOffs.insert(use.rollAt);
    Flight flight = stay.who;
    if (flight.callsign != "null" || stay.landed) desk.nameFlight(flight);
    flight.origin = home.iata;
    flight.destination = desk.otherAirport();
    if (wishes.faults) addSilence(flight, way, driven->track);
    addTrack(flight, track);
    std::copy_if(use.climb.begin(), use.climb.end(), std::back_inserter(flight.track),
                 [&](const TrueFix& fix) { return fix.time <= timeOf(last); });
    track.insert(track.end(), use.roll.begin(), use.roll.end());
    traffic.addMoving(halfSpanM, std::move(track));
    move.callsign = flight.callsign;
    move.turnRound = stay.landed;
    move.end = std::find_if(use.climb.begin(), use.climb.end(), [](const TrueFix& fix) {
                   return !fix.onGround;
               })->time;
    stay.move = events.moves.size();
    events.moves.push_back(move);
    stay.outbound = static_cast<int>(flights.size());
    flights.push_back(std::move(flight));
    constexpr double ghostOneIn = 10;
    if (wishes.faults && dice.oneIn(ghostOneIn)) addGhost(stay, move.callsign, second);
    return true;
}

// ---- tows and ghosts -------------------------------------------------------------------------------------------------

// One that has time goes to another stand, by a tug and without a callsign.
bool DayPlan::tow(int second) {
    constexpr int time = 900;
    for (std::size_t i = 0; i < stays.size(); ++i) {
        if (stays[i].leftAt < forever || stays[i].since > second || stays[i].ready < second + time) continue;
        const Stay stay = stays[i];
        const PlanStand& stand = plan.stands[stay.stand];
        const double halfSpanM = stay.who.by->spanM / 2;
        const auto free = freeStands(halfSpanM, stand.cargo, stand.ramp && !stand.cargo, second);
        GroundTrack track;
        TrueMove move;
        if (free.empty() || stand.leave != Leave::push || !leaveStand(stay, second, 20, track, move))
            continue;
        const std::size_t to = dice.oneOf(free);
        std::vector<Corner> corners;
        if (!addPlanNodes(plan, plane, corners, stand.to, plan.stands[to].node, towMps)) continue;
        corners.push_back({standSpot(to), standMps});
        const GroundWay way = layWay(corners, turnRadiusM, true);
        const auto driven = traffic.drive(way, halfSpanM, track.back().second, 0, {}, stay.standing);
        if (!driven || driven->mayStay < forever) continue;
        track.insert(track.end(), driven->track.begin() + 1, driven->track.end());
        const int parked = track.back().second;
        stays[i].leftAt = second;
        traffic.leaves(stay.standing, second - 1);
        Flight flight = stay.who;
        flight.callsign = flight.flightNumber = "null";
        addTrack(flight, track);
        traffic.addMoving(halfSpanM, std::move(track));
        move.kind = MoveKind::tow;
        move.callsign = flight.callsign;
        move.to = plan.stands[to].id;
        move.end = timeOf(parked);
        stays[i].move = events.moves.size();
        events.moves.push_back(move);
        stays[i].outbound = static_cast<int>(flights.size());
        flights.push_back(std::move(flight));
        park(stay.who, to, parked, std::max(stay.ready, parked + 300), stay.landed,
             static_cast<int>(flights.size()) - 1);
        return true;
    }
    return false;
}

} // namespace rig

// Plans the movements of a day in the order of time. One runway is for landings and another for take-offs; the seed
// chooses them and their direction.

#include "airportday.h"

#include "groundtraffic.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <queue>
#include <set>
#include <stdexcept>

namespace rig {

namespace {

constexpr double metersPerSecondPerKnot = metersPerNm / 3600;
constexpr int warmUp = 1800;      // seconds before the start, so that aircraft are on their ways by then
constexpr int approachSeen = 600; // landings so long after the end are seen on their approach
constexpr double taxiMps = 9, laneMps = 5, exitMps = 12, entryMps = 7, standMps = 2.5, pushMps = 1.6,
                 towMps = 4;
constexpr double turnRadiusM = 40, pushRadiusM = 28;

using Fleet = std::vector<const Operator*>; // to choose from

struct Stay { // of an aircraft on a stand
    Flight who;
    std::size_t stand = 0;
    int since = 0;                   // seconds from the start
    int ready = 0;                   // leaves then or later
    int leftAt = forever;            // as planned
    bool landed = false;             // today
    std::size_t standing = 0;        // its number in the ground traffic
    int inbound = -1, outbound = -1; // places in the list of flights
    std::size_t move = 0;            // the one that leaves, in the list of moves
};

enum class Due { landing, departure, tow };
struct Slot {
    int second;
    int number; // decides between slots of one second
    Due due;
    int attempt;
    bool operator>(const Slot& other) const {
        return std::pair(second, number) > std::pair(other.second, other.number);
    }
};

class Day {
  public:
    Day(const GroundPlan& where, const KnownAirport& airport, const DayWishes& wished, FlightDesk& names,
        Dice& chance, std::vector<Flight>& result, TrueEvents& truth);
    void make();

  private:
    // Who and where to
    Fleet fleetFor(double leastSpanM, double mostSpanM, bool cargo, bool ramp) const;
    bool chooseLanding(Fleet& fleet, bool& cargo, bool& ramp);
    Flight newFlight(const Fleet& fleet);
    std::vector<std::size_t> freeStands(double halfSpanM, bool cargo, bool ramp, int second) const;
    int turnRoundSeconds(const Operator& by);
    void fillStands();

    // Ways
    Spot spotOf(std::size_t node) const { return plane.spot(plan.nodes[node].place); }
    Spot standSpot(std::size_t stand) const {
        return plane.spot({plan.stands[stand].lat, plan.stands[stand].lon});
    }
    bool addNodes(std::vector<Corner>& corners, std::size_t from, std::size_t to, double mostMps) const;
    std::vector<Pause> taxiPauses(const GroundWay& way);
    void addSilence(Flight& flight, const GroundWay& way, const GroundTrack& track);
    void addTrack(Flight& flight, const GroundTrack& track) const;
    GroundTrack groundPart(const std::vector<TrueFix>& fixes, double belowFt) const;

    // Movements; false: not at that time
    bool land(int second, std::string& why);
    bool landAt(const Flight& who, std::size_t stand, const PlanEdge& exit, int second, bool landedRamp);
    bool depart(int second, std::string& why);
    bool departAt(Stay& stay, int second, std::size_t hold, GroundTrack track, TrueMove move);
    bool leaveStand(const Stay& stay, int second, int pauseS, GroundTrack& track, TrueMove& move) const;
    bool tow(int second);
    void park(Flight who, std::size_t stand, int since, int ready, bool landed, int inbound);
    void addGhost(const Stay& stay, const std::string& callsign, int left);
    void addStray(int second);
    void reportStays();
    void standReports(Flight& flight, const Stay& stay, int from, int to, bool atEnd) const;

    double timeOf(int second) const { return wishes.startTime + second; }
    KnownAirport runwayAirport(const PlanRunway& runway, const LatLon& threshold) const;

    const GroundPlan& plan;
    const KnownAirport& home;
    const DayWishes& wishes;
    FlightDesk& desk;
    Dice& dice;
    std::vector<Flight>& flights;
    TrueEvents& events;
    LocalPlane plane;
    GroundTraffic traffic;
    std::vector<Stay> stays;
    std::vector<std::vector<std::size_t>> excludes; // by stand: others that cannot be in use beside it
    std::size_t landingRunway = 0, takeOffRunway = 0;
    std::vector<std::size_t> holds; // of the take-off runway
    std::set<int> landings, takeOffs;
    int last = 0; // second of the end
    int spacing = 60, holdTurn = 0, ghosts = 0;
};

Day::Day(const GroundPlan& where, const KnownAirport& airport, const DayWishes& wished, FlightDesk& names,
         Dice& chance, std::vector<Flight>& result, TrueEvents& truth)
    : plan(where), home(airport), wishes(wished), desk(names), dice(chance), flights(result), events(truth),
      plane(where.place), last(static_cast<int>(wished.minutes * 60)) {
    // The first direction is the seed's; the other runway is the one that is used in about the same direction.
    if (plan.runways.empty()) throw std::runtime_error("a ground plan without runways");
    landingRunway = static_cast<std::size_t>(dice.below(static_cast<int>(plan.runways.size())));
    takeOffRunway = landingRunway;
    for (std::size_t i = 0; i < plan.runways.size(); ++i)
        if (i != landingRunway &&
            std::fabs(gf_headingDiff(plan.runways[i].heading * degToRad,
                                     plan.runways[landingRunway].heading * degToRad)) < 1)
            takeOffRunway = i;
    if (takeOffRunway == landingRunway)
        throw std::runtime_error("a ground plan needs two runways side by side");
    for (std::size_t i = 0; i < plan.nodes.size(); ++i)
        if (plan.nodes[i].kind == NodeKind::hold &&
            plan.nodes[i].runways.front() == plan.runways[takeOffRunway].name)
            holds.push_back(i);
    // Denser than real runways are at 24 s, but then that is how many were asked for.
    constexpr double densest = 24, widest = 75, share = 0.75;
    spacing = static_cast<int>(std::clamp(share * 2 * 3600 / wishes.movements, densest, widest));
    excludes.resize(plan.stands.size());
    for (std::size_t i = 0; i < plan.stands.size(); ++i)
        for (std::size_t j = 0; j < plan.stands.size(); ++j)
            if (i != j && metersBetween(standSpot(i), standSpot(j)) <
                              plan.stands[i].radiusM + plan.stands[j].radiusM - 0.5)
                excludes[i].push_back(j);
}

// ---- who and where to ------------------------------------------------------------------------------------------------

Fleet Day::fleetFor(double leastSpanM, double mostSpanM, bool cargo, bool ramp) const {
    Fleet fleet;
    for (const Operator& by : cargo ? freighters() : ramp ? businessJets() : airliners())
        if (by.spanM >= leastSpanM && by.spanM <= mostSpanM) fleet.push_back(&by);
    return fleet;
}

// Freight, business jets, wide bodies from everywhere, and the airlines of the country.
bool Day::chooseLanding(Fleet& fleet, bool& cargo, bool& ramp) {
    constexpr std::uint32_t country = 0xA00000, countryEnd = 0xB00000;
    constexpr double wideM = 40;
    const double kind = dice.between(0, 1);
    cargo = kind < 0.06;
    ramp = !cargo && kind < 0.14;
    const bool wide = kind > 0.8;
    fleet = fleetFor(wide && !ramp ? wideM : 0, 1000, cargo, ramp);
    if (cargo || ramp || wide) return !fleet.empty();
    fleet.erase(std::remove_if(fleet.begin(), fleet.end(),
                               [](const Operator* by) {
                                   return by->firstHexid < country || by->firstHexid >= countryEnd;
                               }),
                fleet.end());
    return !fleet.empty();
}

Flight Day::newFlight(const Fleet& fleet) {
    Flight flight =
        desk.newFlight(*fleet[static_cast<std::size_t>(dice.below(static_cast<int>(fleet.size())))]);
    if (!wishes.faults) return flight;
    flight.sendsHeading = dice.oneIn(3);
    const int rest = dice.below(3);
    flight.restTrack = rest == 0 ? RestTrack::chance : rest == 1 ? RestTrack::zero : RestTrack::last;
    if (dice.oneIn(2)) flight.driftM = dice.oneIn(6) ? dice.between(10, 20) : dice.between(2, 8);
    const double rate = dice.between(0, 1);
    flight.intervalRate = rate < 0.3 ? 0.4 : rate < 0.9 ? 1 : dice.between(2, 3); // 1 s to 15 s
    return flight;
}

std::vector<std::size_t> Day::freeStands(double halfSpanM, bool cargo, bool ramp, int second) const {
    constexpr int soon = 90; // before one that has landed gets there
    std::vector<bool> taken(plan.stands.size());
    for (const Stay& stay : stays) {
        if (stay.leftAt <= second + soon) continue;
        taken[stay.stand] = true;
        for (const std::size_t other : excludes[stay.stand]) taken[other] = true;
    }
    std::vector<std::size_t> result;
    for (std::size_t i = 0; i < plan.stands.size(); ++i) {
        const PlanStand& stand = plan.stands[i];
        if (!taken[i] && !stand.heli && stand.cargo == cargo && (stand.ramp && !stand.cargo) == ramp &&
            stand.radiusM >= halfSpanM)
            result.push_back(i);
    }
    return result;
}

int Day::turnRoundSeconds(const Operator& by) {
    constexpr double wideM = 40, jetM = 32;
    const double minutes = by.spanM > wideM  ? dice.between(45, 80)
                           : by.spanM > jetM ? dice.between(25, 45)
                                             : dice.between(20, 35);
    return static_cast<int>(minutes * 60);
}

// What stands there at the beginning; some of it for the whole day.
void Day::fillStands() {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < plan.stands.size(); ++i) order.push_back(i);
    for (std::size_t i = order.size(); i > 1; --i)
        std::swap(order[i - 1], order[static_cast<std::size_t>(dice.below(static_cast<int>(i)))]);
    const std::size_t wanted = plan.stands.size() * 62 / 100;
    for (const std::size_t i : order) {
        if (stays.size() >= wanted) break;
        const PlanStand& stand = plan.stands[i];
        const bool ramp = stand.ramp && !stand.cargo;
        const auto free = freeStands(0, stand.cargo, ramp, -warmUp);
        if (stand.heli || std::find(free.begin(), free.end(), i) == free.end()) continue;
        constexpr double slackM = 12; // of the span
        auto fleet = fleetFor(2 * stand.radiusM - slackM, 2 * stand.radiusM, stand.cargo, ramp);
        if (fleet.empty()) fleet = fleetFor(0, 2 * stand.radiusM, stand.cargo, ramp);
        if (fleet.empty()) continue;
        const int ready = dice.oneIn(8) ? forever : static_cast<int>(dice.between(-warmUp, 2700));
        park(newFlight(fleet), i, -warmUp, ready, false, -1);
    }
}

void Day::park(Flight who, std::size_t stand, int since, int ready, bool landed, int inbound) {
    Stay stay;
    stay.who = std::move(who);
    stay.stand = stand;
    stay.since = since;
    stay.ready = ready;
    stay.landed = landed;
    stay.inbound = inbound;
    stay.standing = traffic.addStanding(standSpot(stand), stay.who.by->spanM / 2, since);
    stays.push_back(std::move(stay));
}

// ---- ways ------------------------------------------------------------------------------------------------------------

// The shortest way from a node to another; the first corner stands already when it is not empty.
bool Day::addNodes(std::vector<Corner>& corners, std::size_t from, std::size_t to, double mostMps) const {
    const std::vector<std::size_t> nodes = shortestWay(plan, from, to);
    if (nodes.empty()) return false;
    if (corners.empty()) corners.push_back({spotOf(from), 0});
    for (std::size_t i = 1; i < nodes.size(); ++i) {
        const auto& edges = plan.edgesFrom[nodes[i - 1]];
        const auto edge = std::find_if(edges.begin(), edges.end(),
                                       [&](std::size_t e) { return plan.edges[e].to == nodes[i]; });
        const EdgeKind kind = plan.edges[*edge].kind;
        if (kind == EdgeKind::exit || kind == EdgeKind::entry) return false;
        corners.push_back({spotOf(nodes[i]), std::min(mostMps, kind == EdgeKind::lane ? laneMps : taxiMps)});
    }
    return true;
}

std::vector<Pause> Day::taxiPauses(const GroundWay& way) {
    constexpr double oneIn = 9;
    if (!dice.oneIn(oneIn)) return {};
    return {{way.length() * dice.between(0.2, 0.8), dice.between(20, 70)}};
}

// Its reports vanish before a turn and come back behind the next but one.
void Day::addSilence(Flight& flight, const GroundWay& way, const GroundTrack& track) {
    constexpr double oneIn = 7, beforeM = 40;
    if (way.turns.size() < 2 || !dice.oneIn(oneIn)) return;
    const auto turn = static_cast<std::size_t>(dice.below(static_cast<int>(way.turns.size()) - 1));
    double along = 0, from = 0;
    for (std::size_t i = 1; i < track.size(); ++i) {
        along += metersBetween(track[i - 1].at, track[i].at);
        if (from == 0 && along >= way.turns[turn] - beforeM) from = timeOf(track[i].second);
        if (along < way.turns[turn + 1] + beforeM && i + 1 < track.size()) continue;
        flight.silences.emplace_back(from, timeOf(track[i].second));
        return;
    }
}

void Day::addTrack(Flight& flight, const GroundTrack& track) const {
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

GroundTrack Day::groundPart(const std::vector<TrueFix>& fixes, double belowFt) const {
    GroundTrack track;
    for (const TrueFix& fix : fixes)
        if (fix.altFt < home.elevationFt + belowFt)
            track.push_back({static_cast<int>(std::lround(fix.time - wishes.startTime)),
                             plane.spot({fix.lat, fix.lon}), fix.heading * degToRad, fix.course * degToRad,
                             fix.speedKt * metersPerSecondPerKnot});
    return track;
}

KnownAirport Day::runwayAirport(const PlanRunway& runway, const LatLon& threshold) const {
    KnownAirport result = home;
    result.thresholdLat = threshold.lat;
    result.thresholdLon = threshold.lon;
    result.runwayBearing = runway.heading;
    result.runwayLengthM = runway.lengthM;
    return result;
}

// ---- landings --------------------------------------------------------------------------------------------------------

bool fitsBetween(const std::set<int>& times, int second, int spacing) {
    const auto next = times.lower_bound(second);
    return (next == times.end() || *next - second >= spacing) &&
           (next == times.begin() || second - *std::prev(next) >= spacing);
}

bool Day::land(int second, std::string& why) {
    Fleet fleet;
    bool cargo = false, ramp = false;
    constexpr int choices = 4;
    std::vector<std::size_t> stands;
    Flight who;
    for (int i = 0; i < choices && stands.empty(); ++i) {
        if (!chooseLanding(fleet, cargo, ramp)) continue;
        Fleet one{fleet[static_cast<std::size_t>(dice.below(static_cast<int>(fleet.size())))]};
        stands = freeStands(one.front()->spanM / 2, cargo, ramp, second);
        if (!stands.empty()) fleet = one;
    }
    why = "stand";
    if (stands.empty()) return false;
    why = "way";
    who = newFlight(fleet);
    // The narrowest that fit, in an order of chance.
    std::stable_sort(stands.begin(), stands.end(), [&](std::size_t a, std::size_t b) {
        return plan.stands[a].radiusM < plan.stands[b].radiusM;
    });
    constexpr double slackM = 4;
    const double narrowest = plan.stands[stands.front()].radiusM;
    while (plan.stands[stands.back()].radiusM > narrowest + slackM) stands.pop_back();
    for (std::size_t i = stands.size(); i > 1; --i)
        std::swap(stands[i - 1], stands[static_cast<std::size_t>(dice.below(static_cast<int>(i)))]);
    constexpr std::size_t standsTried = 2;
    if (stands.size() > standsTried) stands.resize(standsTried);

    std::vector<const PlanEdge*> exits;
    const PlanRunway& runway = plan.runways[landingRunway];
    const double mps = who.by->performance.approachKt * metersPerSecondPerKnot;
    for (const PlanEdge& edge : plan.edges) {
        if (edge.kind != EdgeKind::exit || edge.runway != runway.name) continue;
        constexpr double softest = 0.6, hardest = 2.0; // m/s²
        const double meters = gf_distanceNm(runway.threshold, plan.nodes[edge.from].place) * metersPerNm;
        const double braking = (mps * mps - exitMps * exitMps) / 2 / (meters - touchDownPointM);
        if (meters > touchDownPointM && braking > softest && braking < hardest) exits.push_back(&edge);
    }
    std::sort(exits.begin(), exits.end(), [&](const PlanEdge* a, const PlanEdge* b) {
        return gf_distanceNm(runway.threshold, plan.nodes[a->from].place) <
               gf_distanceNm(runway.threshold, plan.nodes[b->from].place);
    });
    constexpr std::size_t exitsTried = 2;
    if (exits.size() > exitsTried) exits.resize(exitsTried);
    constexpr int latest = 90, step = 6;
    for (int at = second; at < second + latest; at += step) {
        if (!fitsBetween(landings, at, spacing)) continue;
        for (const std::size_t stand : stands)
            for (const PlanEdge* exit : exits)
                if (landAt(who, stand, *exit, at, ramp)) return true;
    }
    return false;
}

bool Day::landAt(const Flight& who, std::size_t stand, const PlanEdge& exit, int second, bool) {
    const PlanRunway& runway = plan.runways[landingRunway];
    const double halfSpanM = who.by->spanM / 2;
    constexpr double beforeExitM = 60, overFt = 60;
    std::vector<Corner> corners{{{}, 0}, {spotOf(exit.from), exitMps}, {spotOf(exit.to), exitMps}};
    if (!addNodes(corners, exit.to, plan.stands[stand].node, taxiMps)) return false;
    corners.push_back({standSpot(stand), standMps});
    const Spot exitSpot = corners[1].at;
    corners.front().at = moved(exitSpot, runway.heading * degToRad + pi, beforeExitM);
    const double exitKt = layWay(corners, turnRadiusM, true).points.front().mostMps / metersPerSecondPerKnot;

    Flight flight = who;
    const double toExit = gf_distanceNm(runway.threshold, plan.nodes[exit.from].place) * metersPerNm;
    flight.track = makeApproach(runwayAirport(runway, runway.threshold), who.by->performance, timeOf(second),
                                toExit - beforeExitM, exitKt, dice);
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

bool Day::depart(int second, std::string& why) {
    std::vector<std::size_t> ready;
    for (std::size_t i = 0; i < stays.size(); ++i)
        if (stays[i].leftAt == forever && stays[i].ready <= second) ready.push_back(i);
    std::stable_sort(ready.begin(), ready.end(),
                     [&](std::size_t a, std::size_t b) { return stays[a].ready < stays[b].ready; });
    if (dice.oneIn(2)) // those that landed do not wait for all that stood there before
        std::stable_partition(ready.begin(), ready.end(), [&](std::size_t i) { return stays[i].landed; });
    why = ready.empty() ? "aircraft" : "way";
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
            if (departAt(stays[i], at, hold, std::move(track), move)) return true;
        }
    }
    return false;
}

// The push back and the pause behind it, or the pause alone.
bool Day::leaveStand(const Stay& stay, int second, int pauseS, GroundTrack& track, TrueMove& move) const {
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
    for (int i = 0; i < pauseS; ++i) {
        GroundFix fix = track.back();
        ++fix.second;
        fix.mps = 0;
        track.push_back(fix);
    }
    return traffic.isFree(track, stay.who.by->spanM / 2, marginM, stay.standing);
}

// From a stand that it has left, to the holding point and off.
bool Day::departAt(Stay& stay, int second, std::size_t hold, GroundTrack track, TrueMove move) {
    const PlanRunway& runway = plan.runways[takeOffRunway];
    const PlanStand& stand = plan.stands[stay.stand];
    const double halfSpanM = stay.who.by->spanM / 2;
    move.kind = MoveKind::departure;
    std::vector<Corner> corners;
    if (stand.leave == Leave::through) corners = {{standSpot(stay.stand), 0}, {spotOf(stand.to), standMps}};
    if (!addNodes(corners, stand.to, hold, taxiMps)) return false;
    const GroundWay way = layWay(corners, turnRadiusM, true);
    constexpr double longestWait = 420;
    const auto driven = traffic.drive(way, halfSpanM, track.back().second, 0, taxiPauses(way), stay.standing);
    if (!driven || driven->waitedS > longestWait) return false;

    // From the holding point onto the runway, and off.
    const auto& entries = plan.edgesFrom[hold];
    const auto entry = std::find_if(entries.begin(), entries.end(), [&](std::size_t e) {
        return plan.edges[e].kind == EdgeKind::entry && plan.edges[e].runway == runway.name;
    });
    if (entry == entries.end()) return false;
    constexpr double onRunwayM = 45;
    const Spot node = spotOf(plan.edges[*entry].to);
    const Spot lineUp = moved(node, runway.heading * degToRad, onRunwayM);
    constexpr double straightOnM = 25;
    const Spot ahead = moved(spotOf(hold), driven->track.back().course, straightOnM);
    const GroundWay entryWay = layWay(
        {{spotOf(hold), 0}, {ahead, entryMps}, {node, entryMps}, {lineUp, entryMps}}, turnRadiusM, true);
    GroundTrack onto = driveWay(entryWay, 0, 0, {});
    const int ontoS = onto.back().second, readyS = 2 + dice.below(spacing / 4);
    const LatLon threshold = plane.place(moved(lineUp, runway.heading * degToRad + pi, lineUpM));
    std::vector<TrueFix> climb =
        makeDeparture(runwayAirport(runway, threshold), stay.who.by->performance, wishes.startTime, dice);
    climb.erase(std::remove_if(climb.begin(), climb.end(),
                               [&](const TrueFix& fix) { return fix.time < wishes.startTime; }),
                climb.end());
    const GroundTrack roll = groundPart(climb, 60);

    const int atHold = driven->track.back().second;
    constexpr int longestHold = 600, leastHold = 3;
    const auto shifted = [](GroundTrack all, int seconds) {
        for (GroundFix& fix : all) fix.second += seconds;
        return all;
    };
    const auto standOn = [](GroundTrack& all, int until) {
        while (all.back().second < until) {
            all.push_back(all.back());
            ++all.back().second;
            all.back().mps = 0;
        }
    };
    constexpr int marginS = 5, step = 2;
    int rollAt = atHold + leastHold + ontoS + readyS;
    for (;; rollAt += step) {
        const int leaves = rollAt - readyS - ontoS;
        if (leaves > atHold + longestHold || leaves > driven->mayStay - marginS) return false;
        if (!fitsBetween(takeOffs, rollAt, spacing)) continue;
        GroundTrack rest = shifted(onto, leaves);
        standOn(rest, rollAt - 1);
        const GroundTrack off = shifted(roll, rollAt);
        rest.insert(rest.end(), off.begin(), off.end());
        if (!traffic.isFree(rest, halfSpanM, 2, stay.standing)) continue;
        track.insert(track.end(), driven->track.begin() + 1, driven->track.end());
        standOn(track, leaves - 1);
        track.insert(track.end(), rest.begin(), rest.end() - static_cast<std::ptrdiff_t>(off.size()));
        break;
    }

    stay.leftAt = second;
    traffic.leaves(stay.standing, second - 1);
    takeOffs.insert(rollAt);
    Flight flight = stay.who;
    if (flight.callsign != "null" || stay.landed) desk.nameFlight(flight);
    flight.origin = home.iata;
    flight.destination = desk.otherAirport();
    if (wishes.faults) addSilence(flight, way, driven->track);
    addTrack(flight, track);
    for (TrueFix fix : climb) {
        fix.time += rollAt;
        if (fix.time > timeOf(last)) break;
        flight.track.push_back(fix);
    }
    GroundTrack whole = track;
    const GroundTrack off = shifted(roll, rollAt);
    whole.insert(whole.end(), off.begin(), off.end());
    traffic.addMoving(halfSpanM, std::move(whole));
    move.callsign = flight.callsign;
    move.turnRound = stay.landed;
    const auto airborne =
        std::find_if(climb.begin(), climb.end(), [](const TrueFix& fix) { return !fix.onGround; });
    move.end = airborne->time + rollAt;
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
bool Day::tow(int second) {
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
        const std::size_t to = free[static_cast<std::size_t>(dice.below(static_cast<int>(free.size())))];
        std::vector<Corner> corners;
        if (!addNodes(corners, stand.to, plan.stands[to].node, towMps)) continue;
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

constexpr std::uint32_t ghostHexids = 0xF10000;

// A worse source still sees it on its stand: under another address, with the mark of such sources or without a name.
void Day::addGhost(const Stay& stay, const std::string& callsign, int left) {
    Flight ghost = stay.who;
    ghost.hexid = ghostHexids + static_cast<std::uint32_t>(ghosts++);
    ghost.callsign = callsign == "null" || dice.oneIn(3) ? "null" : callsign + "_";
    if (ghost.callsign == "null") ghost.registration = "null"; // registers do not know that address
    ghost.multilateration = true;
    const int from = left + dice.below(40), to = from + 90 + dice.below(400);
    const double heading = plan.stands[stay.stand].heading * degToRad;
    GroundTrack track;
    for (int second = from; second < to; ++second)
        track.push_back({second, standSpot(stay.stand), heading, heading, 0});
    addTrack(ghost, track);
    TrueMove move;
    move.kind = MoveKind::ghost;
    move.hexid = ghost.hexid;
    move.callsign = ghost.callsign;
    move.from = move.to = plan.stands[stay.stand].id;
    move.start = timeOf(from);
    move.end = timeOf(to - 1);
    events.moves.push_back(move);
    flights.push_back(std::move(ghost));
}

// A few reports of an aircraft somewhere beside all ways.
void Day::addStray(int second) {
    Flight ghost = newFlight(fleetFor(0, 1000, false, false));
    ghost.hexid = ghostHexids + static_cast<std::uint32_t>(ghosts++);
    if (dice.oneIn(2)) ghost.callsign = "null";
    const Spot at{dice.between(-1500, 1500), dice.between(-1500, 1500)};
    const double course = dice.between(0, twoPi), mps = dice.oneIn(2) ? 0 : dice.between(2, 15);
    GroundTrack track;
    const int seconds = 6 + dice.below(20);
    for (int i = 0; i < seconds; ++i)
        track.push_back({second + i, moved(at, course, i * mps), course, course, mps});
    addTrack(ghost, track);
    TrueMove move;
    move.kind = MoveKind::ghost;
    move.hexid = ghost.hexid;
    move.callsign = ghost.callsign;
    move.start = timeOf(second);
    move.end = timeOf(second + seconds - 1);
    events.moves.push_back(move);
    flights.push_back(std::move(ghost));
}

// ---- reports from stands ---------------------------------------------------------------------------------------------

void Day::standReports(Flight& flight, const Stay& stay, int from, int to, bool atEnd) const {
    const double heading = plan.stands[stay.stand].heading;
    const LatLon place = plane.place(standSpot(stay.stand));
    std::vector<TrueFix> fixes;
    for (int second = std::max(from, -60); second <= std::min(to, last); ++second)
        fixes.push_back({timeOf(second), place.lat, place.lon, home.elevationFt, heading, 0, true, heading});
    flight.track.insert(atEnd ? flight.track.end() : flight.track.begin(), fixes.begin(), fixes.end());
}

// Transponders go off some time after the arrival and on before the departure; some stay on, and then the callsign
// changes between.
void Day::reportStays() {
    for (Stay& stay : stays) {
        const int left = std::min(stay.leftAt, last);
        const bool comes = stay.inbound >= 0, leaves = stay.outbound >= 0;
        constexpr double staysOnOneIn = 4, shortOneIn = 4;
        const bool staysOn = dice.oneIn(staysOnOneIn);
        int off = stay.since + (dice.oneIn(2) ? 10 + dice.below(80) : 120 + dice.below(700));
        int on = left - (dice.oneIn(shortOneIn) ? dice.below(10) : 60 + dice.below(360));
        const int length = left - stay.since;
        if (staysOn || (comes && leaves && off >= on)) {
            const int change = left - std::min(length / 2, 240 + dice.below(480));
            off = leaves ? (comes ? change : stay.since) : last;
            on = comes ? change + 1 : stay.since + 1;
        }
        off = std::min(off, left - 1);
        on = std::max(on, stay.since + 1);
        if (comes)
            standReports(flights[static_cast<std::size_t>(stay.inbound)], stay, stay.since + 1, off, true);
        if (leaves) standReports(flights[static_cast<std::size_t>(stay.outbound)], stay, on, left - 1, false);
        if (comes || leaves || !staysOn) continue;
        Flight flight = stay.who; // stands there all day
        standReports(flight, stay, -60, last, true);
        flights.push_back(std::move(flight));
    }
}

// ---- the day ---------------------------------------------------------------------------------------------------------

void Day::make() {
    fillStands();
    std::priority_queue<Slot, std::vector<Slot>, std::greater<>> slots;
    int number = 0;
    const double interval = 2 * 3600.0 / wishes.movements; // of landings, and of departures
    const auto addSlots = [&](Due due, double first, double end, double each) {
        constexpr double jitter = 0.35;
        for (double at = first; at < end; at += each)
            slots.push({static_cast<int>(at + each * dice.between(-jitter, jitter)), number++, due, 0});
    };
    addSlots(Due::landing, -warmUp, last + approachSeen, interval);
    addSlots(Due::departure, -warmUp + interval / 2, last, interval);
    constexpr double towInterval = 540, strayInterval = 420;
    addSlots(Due::tow, 120, last, towInterval);
    if (wishes.faults)
        for (double at = 200; at < last; at += strayInterval * dice.between(0.5, 1.5))
            addStray(static_cast<int>(at));
    while (!slots.empty()) {
        Slot slot = slots.top();
        slots.pop();
        if (slot.due == Due::tow) {
            tow(slot.second);
            continue;
        }
        std::string why;
        const bool landing = slot.due == Due::landing;
        if (slot.attempt == 0) ++events.wanted;
        if (landing ? land(slot.second, why) : depart(slot.second, why)) continue;
        constexpr int attempts = 8, later = 30;
        if (++slot.attempt < attempts) {
            slot.second += later;
            slots.push(slot);
        } else if (why == "stand") {
            ++events.noStand;
        } else {
            ++(why == "aircraft" ? events.noAircraft : events.noWay);
        }
    }
    reportStays();
    std::stable_sort(events.moves.begin(), events.moves.end(),
                     [](const TrueMove& a, const TrueMove& b) { return a.start < b.start; });
}

} // namespace

void makeAirportDay(const GroundPlan& plan, const KnownAirport& home, const DayWishes& wishes,
                    FlightDesk& desk, Dice& dice, std::vector<Flight>& flights, TrueEvents& events) {
    Day(plan, home, wishes, desk, dice, flights, events).make();
}

} // namespace rig

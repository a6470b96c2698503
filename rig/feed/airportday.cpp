// Plans the movements of a day in the order of time. One runway is for landings and another for take-offs; the seed
// chooses them and their direction.

#include "airportmoves.h"

#include <algorithm>
#include <cmath>
#include <queue>
#include <stdexcept>

namespace rig {

namespace {

constexpr int warmUp = 1800;      // seconds before the start, so that aircraft are on their ways by then
constexpr int approachSeen = 600; // landings so long after the end are seen on their approach

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

} // namespace

DayPlan::DayPlan(const GroundPlan& where, const KnownAirport& airport, const DayWishes& wished,
                 FlightDesk& names, Dice& chance, std::vector<Flight>& result, TrueEvents& truth)
    : plan(where), home(airport), wishes(wished), desk(names), dice(chance), flights(result), events(truth),
      plane(where.place), last(static_cast<int>(wished.minutes * 60)) {
    // The first direction is the seed's; the other runway is the one that is used in about the same direction.
    if (plan.runways.empty()) throw std::runtime_error("a ground plan without runways");
    landingRunway = dice.index(plan.runways.size());
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

Fleet DayPlan::fleetFor(double leastSpanM, double mostSpanM, bool cargo, bool ramp) const {
    Fleet fleet;
    for (const Operator& by : cargo ? freighters() : ramp ? businessJets() : airliners())
        if (by.spanM >= leastSpanM && by.spanM <= mostSpanM) fleet.push_back(&by);
    return fleet;
}

// Freight, business jets, wide bodies from everywhere, and the airlines of the country.
bool DayPlan::chooseLanding(Fleet& fleet, bool& cargo, bool& ramp) {
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

Flight DayPlan::newFlight(const Fleet& fleet) {
    Flight flight = desk.newFlight(*dice.oneOf(fleet));
    if (!wishes.faults) return flight;
    flight.sendsHeading = dice.oneIn(3);
    const int rest = dice.below(3);
    flight.restTrack = rest == 0 ? RestTrack::chance : rest == 1 ? RestTrack::zero : RestTrack::last;
    if (dice.oneIn(2)) flight.driftM = dice.oneIn(6) ? dice.between(10, 20) : dice.between(2, 8);
    const double rate = dice.between(0, 1);
    flight.intervalRate = rate < 0.3 ? 0.4 : rate < 0.9 ? 1 : dice.between(2, 3); // 1 s to 15 s
    return flight;
}

std::vector<std::size_t> DayPlan::freeStands(double halfSpanM, bool cargo, bool ramp, int second) const {
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

int DayPlan::turnRoundSeconds(const Operator& by) {
    return static_cast<int>(turnRoundMinutes(by, dice) * 60);
}

// What stands there at the beginning; some of it for the whole day.
void DayPlan::fillStands() {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < plan.stands.size(); ++i) order.push_back(i);
    dice.shuffle(order);
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

void DayPlan::park(Flight who, std::size_t stand, int since, int ready, bool landed, int inbound) {
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

constexpr std::uint32_t ghostHexids = 0xF10000;

// A worse source still sees it on its stand: under another address, with the mark of such sources or without a name.
void DayPlan::addGhost(const Stay& stay, const std::string& callsign, int left) {
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
void DayPlan::addStray(int second) {
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

void DayPlan::standReports(Flight& flight, const Stay& stay, int from, int to, bool atEnd) const {
    const double heading = plan.stands[stay.stand].heading;
    const LatLon place = plane.place(standSpot(stay.stand));
    std::vector<TrueFix> fixes;
    for (int second = std::max(from, -60); second <= std::min(to, last); ++second)
        fixes.push_back({timeOf(second), place.lat, place.lon, home.elevationFt, heading, 0, true, heading});
    flight.track.insert(atEnd ? flight.track.end() : flight.track.begin(), fixes.begin(), fixes.end());
}

// Transponders go off some time after the arrival and on before the departure; some stay on, and then the callsign
// changes between.
void DayPlan::reportStays() {
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

void DayPlan::make() {
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
        constexpr int attempts = 8, later = 30;
        if (slot.due == Due::tow) {
            if (!tow(slot.second) && ++slot.attempt < attempts) {
                slot.second += later;
                slots.push(slot);
            }
            continue;
        }
        if (slot.attempt == 0) ++events.wanted;
        const auto lacks = slot.due == Due::landing ? land(slot.second) : depart(slot.second);
        if (!lacks) continue;
        if (++slot.attempt < attempts) {
            slot.second += later;
            slots.push(slot);
        } else {
            ++(*lacks == Lacks::stand      ? events.noStand
               : *lacks == Lacks::aircraft ? events.noAircraft
                                           : events.noWay);
        }
    }
    reportStays();
    std::stable_sort(events.moves.begin(), events.moves.end(),
                     [](const TrueMove& a, const TrueMove& b) { return a.start < b.start; });
}

void makeAirportDay(const GroundPlan& plan, const KnownAirport& home, const DayWishes& wishes,
                    FlightDesk& desk, Dice& dice, std::vector<Flight>& flights, TrueEvents& events) {
    DayPlan(plan, home, wishes, desk, dice, flights, events).make();
}

} // namespace rig

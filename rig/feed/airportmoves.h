#pragma once
// The planner behind makeAirportDay: who stands where, and one movement after the other. airportday.cpp decides who moves
// when, airportmoves.cpp finds the ways.

#include "airportday.h"

#include "groundtraffic.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace rig {

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

enum class Lacks { stand, aircraft, way };

struct RunwayUse { // from the holding point until it is off the ground
    GroundTrack onto, roll;
    std::vector<TrueFix> climb; // the roll and what follows
    int leaves = 0, rollAt = 0; // seconds: the holding point, the place of the line-up
};

class DayPlan {
  public:
    DayPlan(const GroundPlan& where, const KnownAirport& airport, const DayWishes& wished, FlightDesk& names,
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
    std::vector<Pause> taxiPauses(const GroundWay& way);
    void addSilence(Flight& flight, const GroundWay& way, const GroundTrack& track);
    void addTrack(Flight& flight, const GroundTrack& track) const;
    GroundTrack groundPart(const std::vector<TrueFix>& fixes, double belowFt) const;

    // Movements; false, or what they lack: not at that time
    std::optional<Lacks> land(int second);
    bool landAt(const Flight& who, std::size_t stand, const PlanEdge& exit, int second);
    std::optional<Lacks> depart(int second);
    bool departAt(Stay& stay, int second, std::size_t hold, GroundTrack track, TrueMove move);
    bool takeOff(const Stay& stay, std::size_t hold, const Driven& taxi, RunwayUse& use);
    bool leaveStand(const Stay& stay, int second, int pauseS, GroundTrack& track, TrueMove& move) const;
    bool tow(int second);
    void park(Flight who, std::size_t stand, int since, int ready, bool landed, int inbound);
    void addGhost(const Stay& stay, const std::string& callsign, int left);
    void addStray(int second);
    void reportStays();
    void standReports(Flight& flight, const Stay& stay, int from, int to, bool atEnd) const;

    double timeOf(int second) const { return wishes.startTime + second; }

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
} // namespace rig

#pragma once
// Watches the aircraft on the ground as the simulator shows them, and keeps what the report tells of it. What an
// aircraft is doing (taxiing, parked, ...) is the engine's word; where it is, is the simulator's.

#include "engine/engine.h"
#include "replay/feedtrack.h"
#include "replay/overlaps.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace rig {

struct World;

struct Shown { // one live aircraft that the engine moves
    std::uint32_t hexid = 0, objectId = 0;
    std::string callsign;
    CrossShape shape; // of the simulator's object
    double altFt = 0;
    double wheelsFt = 0; // over the ground; 0 while it stands on it
    double speedKt = 0;  // the highest that its segment allows
    FlightState fs = FlightState::birth;
    bool onGround = false, landingRoll = false, rotorcraft = false;
    std::string stand; // its id; "" for none
};

struct Slip { // of aircraft that drive, metres
    double drivenM = 0, sidewaysM = 0;
    int reversals = 0; // rolled back by half a metre and more
    double ratio() const { return drivenM > 0 ? sidewaysM / drivenM : 0; }
};

struct Event {       // something to look at, or to hold against the feed afterwards
    double time = 0; // replay seconds
    std::uint32_t hexid = 0;
    std::string callsign, what;
};

struct PushBack {
    double time = 0;
    std::uint32_t hexid = 0;
    std::string callsign, stand;
    double movedM = 0, noseTurnDeg = 0; // in the first 15 m
    std::string ended;                  // the next state, or "removed"
    // Between the nose at its end and the way of the next 40 m, degrees; above 90 it was pushed to the wrong side.
    // Negative while it has not driven so far.
    double wayOffNoseDeg = -1;
    double endHeading = 0; // radians: of the nose at its end
};

struct TaxiLeg { // from one change of state to the next
    double from = 0, to = 0;
    std::uint32_t hexid = 0;
    double drivenM = 0, turnDeg = 0;
};

struct Arrival { // at a stand, driving
    double time = 0;
    std::uint32_t hexid = 0;
    std::string callsign, stand;
    double fromFeedStopM = -1; // from the feed's last place; negative when it has none
};

struct Stood { // came to stand on a stand, driving there or by appearing
    double time = 0;
    std::uint32_t hexid = 0;
    std::string stand;
    bool drove = false;
};

struct Vanish {
    double time = 0;
    std::uint32_t hexid = 0;
    std::string callsign, stand;
    FlightState fs = FlightState::birth;
    bool onGround = false, moving = false;
    double shownS = 0;  // since it appeared
    bool atEnd = false; // it was there when the replay ended
};

struct TouchDown {
    double time = 0;
    std::uint32_t hexid = 0;
    std::string callsign;
    double radiusM = 0;
    bool rotorcraft = false;
};

class GroundWatch {
  public:
    double feedDelayS = 30;
    const FeedTracks* tracks = nullptr; // the feed's, or the true ones where they are known; may be null
    double startFeedTime = 0;           // the feed's clock at replay second 0

    // After each Tick, with all that is shown then and the user's aircraft when it stands on the ground.
    void afterTick(double time, const std::vector<Shown>& shown, const CrossShape* user);
    void finish(double time); // what still goes on, ends

    std::vector<Event> movesWhileParked, turnsWhileParked, jumps, reversals;
    Slip taxi, toStand; // above 5 km/h; the last metres to a stand apart
    Slip slowTaxi;      // the part of `taxi` below 30 knots: rolls on the runway left out
    double heightErrorFtMax = 0;
    Event heightErrorAt; // where that was
    std::vector<PushBack> pushBacks;
    std::vector<TaxiLeg> legs;
    std::vector<Arrival> arrivals;
    std::vector<Stood> stood;
    std::vector<Event> takeOffs;
    std::vector<Vanish> vanished;
    std::vector<TouchDown> touchDowns;
    std::map<std::uint32_t, std::string> callsigns; // the last of each
    OverlapWatch overlaps;

  private:
    struct Track {
        bool shown = false, seen = false; // seen: in this Tick
        Shown last;
        double appearedAt = 0, stateSince = 0;
        double movedAt = 0;  // by anything
        double rolledAt = 0; // faster than a creep
        double parkedMovedAt = -10,
               parkedTurnedAt = -10; // of the last event, so that one movement counts once
        CrossShape sample;           // ten times a second
        FlightState sampleState = FlightState::birth;
        double backM = 0; // rolled back without a pause
        double pushHeading = 0;
        int push = -1, leg = -1; // places in the lists
        int pushed = -1;         // the push back after which it has not driven on yet
        CrossShape pushEnd;
    };
    void beginTrack(Track& t, const Shown& s, double time);
    void changeState(Track& t, const Shown& s, double time);
    void watchTick(Track& t, const Shown& s, double time);
    void watchPush(Track& t, const Shown& s, double movedM);
    void watchSample(Track& t, const Shown& s, double time);
    void drive(Track& t, const Shown& s, Slip& slip, double alongM, double sidewaysM, double movedM,
               double time);
    void vanish(Track& t, double time, bool atEnd);
    void lookForOverlaps(double time, const std::vector<Shown>& shown, const CrossShape* user);

    std::map<std::uint32_t, Track> aircraft;
    std::uint64_t ticks = 0;
};

// What the simulator shows of the engine's active aircraft.
void collectShown(const World& world, std::vector<Shown>& result);

} // namespace rig

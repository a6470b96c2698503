#pragma once
// Weeks of visits at an airport: which flight stands on which stand from when to when. Most come back each week at the
// same time, at their stand or at another one; some come once. They are late or early, and now and then of another type.

#include "feed/flights.h"
#include "feed/groundplan.h"

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace rig {

struct ScheduleWishes {
    int movements = 40; // landings and take-offs an hour
    int weeks = 2;      // and a day behind them
    std::uint32_t seed = 1;
    double weeklyAtStand = 0.70, weeklyElsewhere = 0.15; // of all flights; the rest comes once
    double delayMinutes = 20;                            // standard deviation
    double otherType = 0.10;
};

struct Visit {
    Flight who; // of the aircraft; its callsign is that of the arrival
    std::string leavesAs;
    std::size_t stand = 0;
    double landsAt = 0;      // seconds from the start: over the threshold
    double from = 0, to = 0; // on the stand
};

class Schedule {
  public:
    Schedule(const GroundPlan& where, const ScheduleWishes& wished);
    std::vector<Visit> visits; // in the order of their landings
    int withoutStand = 0;      // flights for which there was none

  private:
    enum class Habit { weeklyAtStand, weeklyElsewhere, once };
    struct Slot { // of a week
        double at = 0;
        const Operator* by = nullptr;
        Habit habit = Habit::once;
        std::size_t stand = nowhere;
        double stayS = 0;
        std::string arrives, leaves;
    };
    static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);
    struct Aircraft {
        Flight who;
        double busyUntil = 0;
    };

    const Operator& anyOperator();
    const Operator& otherTypeOf(const Operator& by);
    void name(Slot& slot);
    Aircraft& aircraftOf(const Operator& by, double at);
    bool isFree(std::size_t stand, double from, double to, double apartS) const;
    std::size_t freeStand(const Operator& by, double from, double to, double apartS);
    void makeSlots();
    void makeVisits();

    const GroundPlan& plan;
    const ScheduleWishes wishes;
    Dice dice;
    FlightDesk desk;
    std::vector<Slot> slots;
    std::map<const Operator*, std::vector<Aircraft>> fleets;
    std::map<std::string, int> numbers; // of flights, by airline
    std::deque<Operator> madeOperators; // an airline with a type that the tables do not give it
    std::vector<std::vector<std::pair<double, double>>> taken; // by stand
    std::vector<std::vector<std::size_t>> excludes;
    std::vector<std::string> homes; // by stand: the airline that has it; "": nobody yet
};

} // namespace rig

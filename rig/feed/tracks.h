#pragma once
// The true tracks of generated flights, one fix a second: a ground path of straight legs and turns, flown by speed
// and height profiles of each kind of flight.

#include "generator.h"

#include <random>
#include <utility>

namespace rig {

// Chance that gives the same on every system, which the distributions of the standard library do not.
class Dice {
  public:
    explicit Dice(std::uint32_t seed) : engine(seed) {}
    double between(double low, double high) { return low + (high - low) * (engine() * (1.0 / 4294967296.0)); }
    int below(int count) { return static_cast<int>(between(0, count)); }
    bool oneIn(double count) { return between(0, count) < 1; }
    template <typename List> auto& oneOf(List& list) {
        return list[index(list.size())];
    } // not of an empty one
    template <typename List> void shuffle(List& list) {
        for (std::size_t i = list.size(); i > 1; --i) std::swap(list[i - 1], list[index(i)]);
    }
    std::size_t index(std::size_t count) { return static_cast<std::size_t>(below(static_cast<int>(count))); }

  private:
    std::mt19937 engine;
};

struct Performance {
    double approachKt; // over the threshold; also the speed of lift-off
    double cruiseKt;   // ground speed at cruise
    double cruiseFt;   // typical cruise altitude
    double climbFpm;
};

// Each track begins or is centred at the given time; none has an end before its flight is over.
std::vector<TrueFix> makeArrival(const KnownAirport& airport, const Performance& type, double thresholdTime,
                                 Dice& dice);
// The same up to a place on the runway `rollOutM` behind the threshold, where it has the speed `endKt`; the last fix is
// less than a second before that place. On the ground it brakes evenly.
std::vector<TrueFix> makeApproach(const KnownAirport& airport, const Performance& type, double thresholdTime,
                                  double rollOutM, double endKt, Dice& dice);
constexpr double touchDownPointM = 350; // behind the threshold
constexpr double lineUpM = 60;          // behind the threshold the take-off begins
std::vector<TrueFix> makeDeparture(const KnownAirport& airport, const Performance& type, double rollTime,
                                   Dice& dice);
std::vector<TrueFix> makeOverflight(const KnownAirport& airport, const Performance& type, double nearestTime,
                                    Dice& dice);
std::vector<TrueFix> makeLocalFlight(const KnownAirport& airport, const Performance& type, double startTime,
                                     double endTime, Dice& dice); // light aircraft and helicopters

} // namespace rig

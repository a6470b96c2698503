#pragma once
// What static parking shows on a day that the program has not seen, held against who truly stands there, stand by stand
// and half hour by half hour; and two simple guesses beside it.

#include "learn/schedule.h"

#include <array>
#include <string>
#include <vector>

namespace rig {

struct Occupant { // of a stand at a moment; empty: nobody
    std::string airline, type;
    bool there() const { return !type.empty(); }
};
using Apron = std::vector<Occupant>; // by stand of the plan

struct Agreement {
    std::size_t stands = 0, sameState = 0;                 // in all; occupied or not as shown
    std::size_t standing = 0;                              // truly occupied
    std::size_t both = 0;                                  // and shown as occupied
    std::size_t airlineAndType = 0, airline = 0, size = 0; // of those
    void add(const Apron& truth, const Apron& shown);
};

// Who stood there for longest between two moments, in seconds from the start.
Apron trueApron(const GroundPlan& plan, const std::vector<Visit>& visits, double from, double to);
std::size_t countOccupied(const Apron& apron);

// On the stands that were in use for longest: who stood there for longest, whatever the hour.
Apron usualApron(const GroundPlan& plan, const std::vector<Visit>& visits, double until, std::size_t wanted);
Apron randomApron(const GroundPlan& plan, Dice& dice, std::size_t wanted); // a type that fits, of anybody

// A line of the table, in percent; an empty stand that is shown empty agrees in all.
std::string agreementLine(const char* name, const Agreement& agreement);
std::string agreementHead();

} // namespace rig

#pragma once
// A day at an airport with a ground plan: who lands when and parks where, who leaves, is towed, or only seems to be
// there. Everything on the ground is planned among all that was planned before, so that no two aircraft ever overlap.

#include "flights.h"
#include "groundplan.h"

namespace rig {

struct DayWishes {
    int movements = 60;   // landings and take-offs an hour, half of each
    double startTime = 0; // seconds since 1970
    double minutes = 30;
    bool faults = true; // drift, silences, ghosts
};

// Adds the flights, those of one aircraft in the order of time, and what they truly do.
void makeAirportDay(const GroundPlan& plan, const KnownAirport& home, const DayWishes& wishes,
                    FlightDesk& desk, Dice& dice, std::vector<Flight>& flights, TrueEvents& events);

} // namespace rig

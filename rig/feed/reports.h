#pragma once
// Turns true tracks into feed lines as receivers would report them, with what a real feed has besides: gaps, noise,
// drift, bursts, vehicles and garbage.

#include "flights.h"

namespace rig {

class Reporter {
  public:
    Reporter(Dice& chance, const KnownAirport& where, double startTime, double endTime, bool withFaults);
    void report(const Flight& flight, std::vector<TimedLine>& lines); // of the time from start to end
    void addGarbage(std::vector<TimedLine>& lines);                   // about one line in fifty
    void holdBack(std::vector<TimedLine>& lines); // silence for seconds now and then, then all at once

  private:
    struct Standing; // what a flight's reports do while it stands
    std::string lineOf(const Flight& flight, std::size_t at, Standing& standing);

    Dice& dice;
    const KnownAirport& airport;
    double start, end; // seconds since 1970
    bool faults;
};

} // namespace rig

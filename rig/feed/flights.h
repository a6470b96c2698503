#pragma once
// What a generated flight is called and how it reports, beside where it is; and who hands out addresses, registrations
// and callsigns, each once.

#include "fleet.h"
#include "generator.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace rig {

enum class RestTrack { last, zero, chance }; // the track that a transponder sends while it stands

struct Flight {
    const Operator* by = nullptr; // of the table
    std::uint32_t hexid = 0;
    std::string callsign, registration, type, origin = "null", destination = "null", flightNumber = "null";
    bool multilateration = false; // positions wander
    bool fullReports = false;     // true heading, roll and airspeed while in the air
    // On the ground of an airport with a plan:
    RestTrack restTrack = RestTrack::last;
    bool sendsHeading = false; // on the ground: where its nose points, not where it goes
    double driftM = 0;         // how far positions drift while it stands
    double intervalRate = 1;   // times the usual seconds between two reports
    std::vector<std::pair<double, double>> silences; // seconds since 1970: no reports between
    std::vector<TrueFix> track;
};

class FlightDesk {
  public:
    FlightDesk(Dice& chance, bool withFaults, std::string homeIata);
    Flight newFlight(const std::vector<Operator>& fleet); // of one of them, by chance; the table must stay
    Flight newFlight(const Operator& by);                 // likewise
    void nameFlight(Flight& flight);                      // another callsign and flight number
    std::string otherAirport();                           // the IATA code of one

  private:
    std::string newRegistration(const char* pattern);
    Dice& dice;
    bool faults;
    std::string home;
    std::set<std::string> registrations; // each once
    int made = 0, named = 0;
};

const KnownAirport* knownAirportAt(std::size_t place); // nullptr behind the last one

} // namespace rig

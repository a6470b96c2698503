#pragma once
// Who flies in generated traffic: airlines with types that they really have, and how those types perform.

#include "tracks.h"

namespace rig {

struct Operator {
    const char* airline;      // ICAO code; "" for private aircraft, whose callsign is the registration
    const char* iata;         // "" for none
    const char* type;         // ICAO designator
    const char* registration; // "?" a letter, "#" a digit of chance
    std::uint32_t firstHexid; // of the country's block of addresses
    const char* category;     // emitter category
    Performance performance;
    double spanM; // metres, of the wing
};

double turnRoundMinutes(const Operator& by, Dice& dice); // on the stand between two flights

const std::vector<Operator>& airliners();
const std::vector<Operator>& freighters();
const std::vector<Operator>& lightAircraft();
const std::vector<Operator>& helicopters();
const std::vector<Operator>& businessJets();

} // namespace rig

// Hands out addresses, registrations and callsigns.

#include "flights.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace rig {

FlightDesk::FlightDesk(Dice& chance, bool withFaults, std::string homeIata)
    : dice(chance), faults(withFaults), home(std::move(homeIata)) {}

// "null" when all that the pattern allows seem to be taken.
std::string FlightDesk::newRegistration(const char* pattern) {
    constexpr int attempts = 60;
    for (int i = 0; i < attempts; ++i) {
        std::string text = pattern;
        for (char& c : text) {
            if (c == '?') c = static_cast<char>('A' + dice.below(26));
            if (c == '#') c = static_cast<char>('0' + dice.below(10));
        }
        if (registrations.insert(text).second) return text;
    }
    return "null";
}

std::string FlightDesk::otherAirport() {
    int count = 0;
    while (knownAirportAt(static_cast<std::size_t>(count))) ++count;
    const int first = dice.below(count);
    const KnownAirport* chosen = knownAirportAt(static_cast<std::size_t>(first));
    return chosen->iata == home ? knownAirportAt(static_cast<std::size_t>((first + 1) % count))->iata
                                : chosen->iata;
}

void FlightDesk::nameFlight(Flight& flight) {
    ++named;
    if (*flight.by->airline == 0) {
        flight.callsign.clear();
        std::copy_if(flight.registration.begin(), flight.registration.end(),
                     std::back_inserter(flight.callsign), [](char c) { return c != '-'; });
        return;
    }
    const int number = 100 + named * 61 % 9900; // none twice among 9900 flights
    flight.callsign = fmt::format("{}{}", flight.by->airline, number);
    if (*flight.by->iata) flight.flightNumber = fmt::format("{}{}", flight.by->iata, number);
}

Flight FlightDesk::newFlight(const std::vector<Operator>& fleet) { return newFlight(dice.oneOf(fleet)); }

Flight FlightDesk::newFlight(const Operator& by) {
    Flight flight;
    flight.by = &by;
    flight.hexid = flight.by->firstHexid + static_cast<std::uint32_t>(++made * 7 + dice.below(7));
    flight.registration = newRegistration(flight.by->registration);
    flight.type = flight.by->type;
    nameFlight(flight);
    flight.fullReports = dice.oneIn(4);
    if (faults) { // what real registers and transponders leave out
        flight.multilateration = dice.oneIn(8);
        if (dice.oneIn(20)) flight.type = "null";
        if (dice.oneIn(20)) flight.registration = "null";
        if (dice.oneIn(30)) flight.callsign = "null";
    }
    return flight;
}

} // namespace rig

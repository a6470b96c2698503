// The record of the current park airport, and its view for the feed reader. Worker.

#include "airports/airports.h"

#include "feed/feed.h"

#include <fmt/format.h>

AirportsRun airports;

void gf_publishParkAirport(const ParkAirport& airport) {
    airports.park = airport;
    trafficReader.parkAirport.store({airport.lat, airport.lon, airport.elevation, airport.known()});
}

void lf_resetAirports() {
    airports = AirportsRun{};
    gf_publishParkAirport({});
}

std::string gf_airportLabel(const Airport& airport) {
    const std::string code = airport.code.empty() ? "?" : airport.code;
    return airport.iata.empty() ? code : fmt::format("{} ({})", code, airport.iata);
}

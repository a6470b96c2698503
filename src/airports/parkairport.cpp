// The record of the current park airport, and its view for the feed reader. Worker.

#include "airports/airports.h"

#include "feed/feed.h"

AirportsRun airports;

void gf_publishParkAirport(const ParkAirport& airport) {
    airports.park = airport;
    trafficReader.parkAirport.store({airport.lat, airport.lon, airport.elevation, airport.known()});
}

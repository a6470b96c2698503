#pragma once
// Makes plausible traffic around an airport, as feed lines whose true tracks are known. The same options give the
// same traffic, to the byte.

#include "recording.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace rig {

struct GeneratorOptions {
    std::string airport;      // ICAO code of a known airport; empty: the position below
    double lat = 0, lon = 0;  // degrees; used when no airport is named
    double elevationFt = 0;   // feet; likewise
    int flights = 40;         // aircraft of all kinds
    std::uint32_t seed = 1;   // decides everything
    double startTime = 1.7e9; // seconds since 1970 of the first line
    double minutes = 30;      // length of the traffic
    bool faults = true; // gaps, position noise, bursts, garbage lines and ghosts; false: clean reports only
};

// Where an aircraft truly was, once a second; each report is of one of these seconds.
struct TrueFix {
    double time = 0;         // seconds since 1970
    double lat = 0, lon = 0; // degrees
    double altFt = 0;        // feet above sea level; on the ground the airport's elevation
    double heading = 0;      // true, degrees
    double speedKt = 0;      // ground speed, knots
    bool onGround = false;
};

struct GeneratedTraffic {
    std::vector<TimedLine> lines;                        // in the order of time
    std::map<std::uint32_t, std::vector<TrueFix>> truth; // by hexid, in the order of time
};

struct KnownAirport {
    const char *code, *iata;
    double lat, lon, elevationFt;      // of the airport: degrees, feet
    double thresholdLat, thresholdLon; // of the landing runway: degrees
    double runwayBearing;              // true, degrees, in the direction of landing
    double runwayLengthM;
};
const KnownAirport* findKnownAirport(const std::string& code); // nullptr for an unknown one
std::string knownAirportCodes();                               // "EDDF, EGLL, ..."

GeneratedTraffic generateTraffic(const GeneratorOptions& options); // throws std::runtime_error

} // namespace rig

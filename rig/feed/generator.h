#pragma once
// Makes plausible traffic around an airport, as feed lines whose true tracks are known. The same options give the
// same traffic, to the byte.

#include "recording.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace rig {

struct GeneratorOptions {
    std::string airport;     // ICAO code of a known airport; empty: the position below
    double lat = 0, lon = 0; // degrees; used when no airport is named
    double elevationFt = 0;  // feet; likewise
    int flights = 40;        // aircraft of all kinds; with movements those that only pass or fly around
    // Landings and take-offs an hour, with all that they do on the ground; 0: none. Only where the airport has a
    // ground plan, in `plans`.
    int movements = 0;
    std::filesystem::path plans; // folder of ground plans
    std::uint32_t seed = 1;      // decides everything
    double startTime = 1.7e9;    // seconds since 1970 of the first line
    double minutes = 30;         // length of the traffic
    bool faults = true; // gaps, position noise, bursts, garbage lines and ghosts; false: clean reports only
};

// Where an aircraft truly was, once a second; each report is of one of these seconds.
struct TrueFix {
    double time = 0;         // seconds since 1970
    double lat = 0, lon = 0; // degrees
    double altFt = 0;        // feet above sea level; on the ground the airport's elevation
    double heading = 0;      // true, degrees: of the nose
    double speedKt = 0;      // ground speed, knots
    bool onGround = false;
    double course = 0; // true, degrees: of the motion; while it stands that of the last one
};

enum class MoveKind {
    landing,   // to a stand
    departure, // from a stand
    tow,       // from one stand to another
    ghost      // reports where no aircraft is
};
enum class PushSide { none, left, right }; // to which the tail goes, as the pilot sees it

// What an aircraft truly did on the ground of an airport with a plan. Times in seconds since 1970.
struct TrueMove {
    MoveKind kind = MoveKind::landing;
    std::uint32_t hexid = 0;
    std::string callsign;
    std::string from, to; // stands; "" for a runway
    double start = 0; // landing: on the threshold; departure, tow: leaves the stand; ghost: its first report
    double end = 0;   // landing, tow: at rest on the stand; departure: off the ground; ghost: its last report
    PushSide push = PushSide::none;
    double reportedS =
        0;              // departure, tow: so long before its start its reports from the stand begin, seconds
    double pushEnd = 0; // it stands behind the push back
    double pushHeading = 0; // of the nose then, true, degrees
    bool tailFirst =
        false; // its reports had the course of the push back as their track, not the nose's heading
    bool turnRound = false; // departure: of one that landed before
};

struct TrueEvents {
    std::vector<TrueMove> moves; // in the order of their starts
    int wanted = 0;              // movements that were asked for
    int noStand = 0, noAircraft = 0,
        noWay = 0; // of them not placed: every stand taken, no aircraft ready, no room
    int notPlaced() const { return noStand + noAircraft + noWay; }
};

struct GeneratedTraffic {
    std::vector<TimedLine> lines;                        // in the order of time
    std::map<std::uint32_t, std::vector<TrueFix>> truth; // by hexid, in the order of time
    TrueEvents events;                                   // of movements at an airport with a plan
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

// Makes traffic: schedules flights around an airport, turns their true tracks into feed lines as receivers would
// report them, and adds what a real feed has besides: gaps, noise, bursts, ghosts, vehicles and garbage.

#include "generator.h"

#include "fleet.h"
#include "tracks.h"

#include "app/geo.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>
#include <stdexcept>

namespace rig {

static const KnownAirport knownAirports[] = {
    // codes, position and elevation of the airport, threshold, bearing and length of a runway
    {"EDDF", "FRA", 50.0267, 8.5584, 364, 50.0451, 8.5870, 249.6, 4000},
    {"EDDM", "MUC", 48.3538, 11.7861, 1487, 48.3448, 11.8045, 263.5, 4000},
    {"EGLL", "LHR", 51.4707, -0.4599, 83, 51.4777, -0.4333, 269.7, 3900},
    {"EHAM", "AMS", 52.3086, 4.7639, -11, 52.3626, 4.7117, 183.2, 3800},
    {"KJFK", "JFK", 40.6394, -73.7793, 13, 40.6254, -73.7703, 30.6, 2560},
    {"KLAX", "LAX", 33.9425, -118.4080, 125, 33.9374, -118.3828, 262.8, 3380},
    {"KSFO", "SFO", 37.6198, -122.3748, 13, 37.6135, -122.3572, 297.9, 3600},
    {"LEBL", "BCN", 41.2971, 2.0785, 12, 41.3058, 2.1035, 245.5, 3350},
    {"LFBO", "TLS", 43.6291, 1.3638, 499, 43.6185, 1.3726, 323.7, 3500},
    {"LSZH", "ZRH", 47.4581, 8.5481, 1417, 47.4815, 8.5360, 135.9, 3300},
    {"YSSY", "SYD", -33.9461, 151.1770, 21, -33.9644, 151.1806, 346.9, 3950},
};

const KnownAirport* findKnownAirport(const std::string& code) {
    const auto found = std::find_if(std::begin(knownAirports), std::end(knownAirports),
                                    [&](const KnownAirport& a) { return code == a.code; });
    return found == std::end(knownAirports) ? nullptr : found;
}

std::string knownAirportCodes() {
    std::string codes;
    for (const KnownAirport& airport : knownAirports) {
        if (!codes.empty()) codes += ", ";
        codes += airport.code;
    }
    return codes;
}

// A runway to the west through the position that was given.
static KnownAirport madeAirport(const GeneratorOptions& options) {
    constexpr double bearing = 270, length = 3500, thresholdFt = 5700; // the position is the middle
    const LatLon threshold = gf_destination(options.lat, options.lon, pi / 2, thresholdFt);
    return {"null",        "null",        options.lat, options.lon, options.elevationFt,
            threshold.lat, threshold.lon, bearing,     length};
}

// What a flight is called and how it reports, beside where it is.
struct Flight {
    const Operator* by = nullptr;
    std::uint32_t hexid = 0;
    std::string callsign, registration, type, origin = "null", destination = "null", flightNumber = "null";
    bool multilateration = false; // positions wander
    bool fullReports = false;     // true heading, roll and airspeed while in the air
    std::vector<TrueFix> track;
};

class Generator {
  public:
    explicit Generator(const GeneratorOptions& o)
        : options(o), dice(o.seed), airport(chooseAirport(o)), end(o.startTime + o.minutes * 60) {}
    GeneratedTraffic make();

  private:
    static KnownAirport chooseAirport(const GeneratorOptions& o);
    std::string newRegistration(const char* pattern);
    std::string otherAirport();
    Flight newFlight(const std::vector<Operator>& fleet);
    void schedule(std::vector<Flight>& flights);
    void report(const Flight& flight, std::vector<TimedLine>& lines);
    std::string lineOf(const Flight& flight, std::size_t at);
    void addGarbage(std::vector<TimedLine>& lines);
    void holdBack(std::vector<TimedLine>& lines);

    const GeneratorOptions& options;
    std::set<std::string> registrations; // each once
    Dice dice;
    KnownAirport airport;
    double end; // seconds since 1970
    int made = 0;
};

KnownAirport Generator::chooseAirport(const GeneratorOptions& o) {
    if (o.airport.empty()) return madeAirport(o);
    const KnownAirport* known = findKnownAirport(o.airport);
    if (!known)
        throw std::runtime_error("no airport \"" + o.airport + "\"; known are " + knownAirportCodes());
    return *known;
}

// "null" when all that the pattern allows seem to be taken.
std::string Generator::newRegistration(const char* pattern) {
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

std::string Generator::otherAirport() {
    const auto count = static_cast<int>(std::size(knownAirports));
    const int first = dice.below(count);
    const KnownAirport& chosen = knownAirports[first];
    return std::string(chosen.code) == airport.code ? knownAirports[(first + 1) % count].iata : chosen.iata;
}

Flight Generator::newFlight(const std::vector<Operator>& fleet) {
    Flight flight;
    flight.by = &fleet[static_cast<std::size_t>(dice.below(static_cast<int>(fleet.size())))];
    flight.hexid = flight.by->firstHexid + static_cast<std::uint32_t>(++made * 7 + dice.below(7));
    flight.registration = newRegistration(flight.by->registration);
    flight.type = flight.by->type;
    if (*flight.by->airline == 0) {
        std::copy_if(flight.registration.begin(), flight.registration.end(),
                     std::back_inserter(flight.callsign), [](char c) { return c != '-'; });
    } else {
        const int number = 100 + made * 61 % 9900; // none twice among 9900 flights
        flight.callsign = fmt::format("{}{}", flight.by->airline, number);
        if (*flight.by->iata) flight.flightNumber = fmt::format("{}{}", flight.by->iata, number);
    }
    flight.fullReports = dice.oneIn(4);
    if (options.faults) { // what real registers and transponders leave out
        flight.multilateration = dice.oneIn(8);
        if (dice.oneIn(20)) flight.type = "null";
        if (dice.oneIn(20)) flight.registration = "null";
        if (dice.oneIn(30)) flight.callsign = "null";
    }
    return flight;
}

void Generator::schedule(std::vector<Flight>& flights) {
    constexpr double runwaySpacing = 80; // seconds between two uses of the runway
    constexpr double approachLead = 600; // flights of the end of the traffic are seen early
    const double first = options.startTime - 40, span = end + approachLead - first;
    const int slots = static_cast<int>(span / runwaySpacing);
    const int wanted = options.flights * 6 / 10; // of all flights use the runway, if there is time
    const int runwayFlights = std::min(slots, wanted);
    for (int i = 0; i < options.flights; ++i) {
        const bool usesRunway = i < runwayFlights;
        const int kind = i % 10;
        if (usesRunway) {
            Flight flight = newFlight(kind == 3 ? freighters() : kind == 7 ? businessJets() : airliners());
            const double slot = first + span / runwayFlights * i + dice.between(-8, 8);
            const Performance& type = flight.by->performance;
            if (i % 2 == 0) {
                flight.track = makeArrival(airport, type, slot, dice);
                flight.destination = airport.iata;
                flight.origin = otherAirport();
            } else {
                flight.track = makeDeparture(airport, type, slot, dice);
                flight.origin = airport.iata;
                flight.destination = otherAirport();
            }
            flights.push_back(std::move(flight));
        } else if (kind == 4 || kind == 8) {
            Flight flight = newFlight(kind == 4 ? lightAircraft() : helicopters());
            const double from = dice.between(options.startTime - 300, end - 120);
            flight.track =
                makeLocalFlight(airport, flight.by->performance, from, from + dice.between(600, 2400), dice);
            flights.push_back(std::move(flight));
        } else {
            Flight flight = newFlight(kind == 9 ? freighters() : airliners());
            flight.track = makeOverflight(airport, flight.by->performance,
                                          dice.between(options.startTime - 200, end + 300), dice);
            flights.push_back(std::move(flight));
        }
    }
    if (!options.faults) return;
    // Ghosts: a second, worse source of the same flight, under its callsign with a mark and another address.
    const std::size_t real = flights.size();
    for (std::size_t i = 5; i < real; i += 25) {
        if (flights[i].callsign == "null") continue;
        Flight ghost = flights[i];
        ghost.callsign += '_';
        ghost.hexid = 0xF00000 + static_cast<std::uint32_t>(i);
        ghost.multilateration = true;
        flights.push_back(std::move(ghost));
    }
}

std::string Generator::lineOf(const Flight& flight, std::size_t at) {
    constexpr double gravity = 9.80665, metersPerSecondPerKnot = metersPerNm / 3600;
    const TrueFix& fix = flight.track[at];
    const TrueFix& before = flight.track[at > 0 ? at - 1 : 0];
    const TrueFix& after = flight.track[std::min(at + 1, flight.track.size() - 1)];
    const double seconds = std::max(1.0, after.time - before.time);
    const double climb = fix.onGround ? 0 : (after.altFt - before.altFt) / seconds * 60;
    const double turn = gf_headingDiff(before.heading * degToRad, after.heading * degToRad) / seconds;

    LatLon place{fix.lat, fix.lon};
    if (flight.multilateration)
        place = gf_destination(fix.lat, fix.lon, dice.between(0, twoPi), dice.between(0, 40)); // feet
    const bool full = flight.fullReports && !fix.onGround;
    const double roll = std::atan(turn * fix.speedKt * metersPerSecondPerKnot / gravity) * radToDeg;
    const std::string attitude =
        full ? fmt::format("{:.0f},{:.0f},-1,{:.1f},{:.1f},{:.2f},{:.2f}", fix.speedKt * 0.75, fix.speedKt,
                           turn * radToDeg, roll == -1 ? -1.01 : roll, fix.heading, fix.heading)
             : std::string("-1,-1,-1,-1,-1,-1,-1");
    const double reported = fix.onGround ? 0 : fix.altFt;
    return fmt::format(
        "RTTFC,{},{:.5f},{:.5f},{:.0f},{:.0f},{},{:.2f},{:.2f},{},{},{},{},{},{:.1f},X,{},{},{:.0f},"
        "{},-1,none,{},-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,{:.0f},0",
        flight.hexid, place.lat, place.lon, reported, climb, fix.onGround ? 1 : 0, fix.heading, fix.speedKt,
        flight.callsign, flight.type, flight.registration, flight.origin, flight.destination, fix.time,
        flight.flightNumber, flight.multilateration ? "mlat" : "adsb_icao", reported, attitude,
        flight.by->category, reported);
}

// One flight's reports: every 2 to 4 s in the air and 3 to 5 s on the ground, with a gap now and then.
void Generator::report(const Flight& flight, std::vector<TimedLine>& lines) {
    double next = flight.track.front().time + dice.between(0, 3);
    for (std::size_t i = 0; i < flight.track.size(); ++i) {
        const TrueFix& fix = flight.track[i];
        if (fix.time < next || fix.time < options.startTime || fix.time >= end) continue;
        lines.push_back({fix.time, lineOf(flight, i)});
        next = fix.time + (fix.onGround ? dice.between(2.5, 5) : dice.between(1.5, 4));
        if (options.faults && dice.oneIn(100)) next += dice.between(25, 110);
    }
}

// Vehicles, lines of other kinds and broken ones, about one in fifty.
void Generator::addGarbage(std::vector<TimedLine>& lines) {
    constexpr int oneIn = 50;
    const std::size_t real = lines.size();
    for (std::size_t i = 0; i < real; ++i) {
        if (!dice.oneIn(oneIn)) continue;
        const TimedLine& whole = lines[i];
        std::string bad;
        switch (dice.below(7)) {
        case 0:
            bad = fmt::format("XTRAFFICPSX,{},{:.3f},{:.3f},0,0,1,0,0", 1 + dice.below(100), airport.lat,
                              airport.lon);
            break;
        case 1: bad = whole.line.substr(0, whole.line.size() / 2); break;
        case 2:
            bad = fmt::format(
                "RTTFC,{},{:.5f},{:.5f},0,0,1,0.00,5.00,TUG {},GRND,null,null,null,{:.1f},X,null,"
                "adsb_icao,-1,-1,-1,-1,-1,-1,-1,-1,-1,none,C2,-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,-1,0",
                0x3FF000 + dice.below(200), airport.lat, airport.lon, dice.below(30), whole.time);
            break;
        case 3:
            bad = fmt::format(
                "RTTFC,{},{:.5f},{:.5f},0,0,1,0.00,5.00,FIRE VEH {},null,null,null,null,{:.1f},X,null",
                0x3FE000 + dice.below(200), airport.lat, airport.lon, dice.below(30), whole.time);
            break;
        case 4: bad = fmt::format("RTTFC,{},nan,inf,,,,,{}", whole.line.size(), whole.line); break;
        case 5: bad = "{\"QNH\":1013}"; break;
        default: bad = std::string(static_cast<std::size_t>(1 + dice.below(60)), ','); break;
        }
        lines.push_back({whole.time, std::move(bad)});
    }
}

// Every few minutes the feed falls silent for some seconds and then sends all at once.
void Generator::holdBack(std::vector<TimedLine>& lines) {
    for (double begin = options.startTime + dice.between(60, 240); begin < end;
         begin += dice.between(240, 480)) {
        const double release = begin + dice.between(4, 9);
        for (TimedLine& line : lines)
            if (line.time >= begin && line.time < release) line.time = release;
    }
}

GeneratedTraffic Generator::make() {
    std::vector<Flight> flights;
    schedule(flights);
    GeneratedTraffic traffic;
    for (Flight& flight : flights) {
        // Times to the tenth of a second, as the feed gives them.
        const double shift = std::round(flight.track.front().time * 10) / 10 - flight.track.front().time;
        for (TrueFix& fix : flight.track) fix.time += shift;
        report(flight, traffic.lines);
        traffic.truth[flight.hexid] = std::move(flight.track);
    }
    if (options.faults) {
        addGarbage(traffic.lines);
        holdBack(traffic.lines);
    }
    std::stable_sort(traffic.lines.begin(), traffic.lines.end(),
                     [](const TimedLine& a, const TimedLine& b) { return a.time < b.time; });
    return traffic;
}

GeneratedTraffic generateTraffic(const GeneratorOptions& options) {
    if (options.flights < 1 || options.minutes <= 0) throw std::runtime_error("no flights to generate");
    return Generator(options).make();
}

} // namespace rig

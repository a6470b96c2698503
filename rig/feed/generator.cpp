// Makes traffic: schedules flights around an airport, turns their true tracks into feed lines as receivers would
// report them, and adds what a real feed has besides: gaps, noise, bursts, ghosts, vehicles and garbage.

#include "generator.h"

#include "airportday.h"
#include "fleet.h"
#include "flights.h"
#include "reports.h"
#include "tracks.h"

#include "app/geo.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>

namespace rig {

static const KnownAirport knownAirports[] = {
    // codes, position and elevation of the airport, threshold, bearing and length of a runway
    {"EDDF", "FRA", 50.0267, 8.5584, 364, 50.0451, 8.5870, 249.6, 4000},
    {"EDDM", "MUC", 48.3538, 11.7861, 1487, 48.3448, 11.8045, 263.5, 4000},
    {"EGLL", "LHR", 51.4707, -0.4599, 83, 51.4777, -0.4333, 269.7, 3900},
    {"EHAM", "AMS", 52.3086, 4.7639, -11, 52.3626, 4.7117, 183.2, 3800},
    {"KIAD", "IAD", 38.9445, -77.4558, 312, 38.955346, -77.436014, 180.55, 3505},
    {"KJFK", "JFK", 40.6394, -73.7793, 13, 40.6254, -73.7703, 30.6, 2560},
    {"KLAX", "LAX", 33.9425, -118.4080, 125, 33.9374, -118.3828, 262.8, 3380},
    {"KSFO", "SFO", 37.6198, -122.3748, 13, 37.6135, -122.3572, 297.9, 3600},
    {"LEBL", "BCN", 41.2971, 2.0785, 12, 41.3058, 2.1035, 245.5, 3350},
    {"LFBO", "TLS", 43.6291, 1.3638, 499, 43.6185, 1.3726, 323.7, 3500},
    {"LSZH", "ZRH", 47.4581, 8.5481, 1417, 47.4815, 8.5360, 135.9, 3300},
    {"YSSY", "SYD", -33.9461, 151.1770, 21, -33.9644, 151.1806, 346.9, 3950},
};

const KnownAirport* knownAirportAt(std::size_t place) {
    return place < std::size(knownAirports) ? &knownAirports[place] : nullptr;
}

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

class Generator {
  public:
    explicit Generator(const GeneratorOptions& o)
        : options(o), dice(o.seed), airport(chooseAirport(o)), end(o.startTime + o.minutes * 60),
          desk(dice, o.faults, airport.iata) {}
    GeneratedTraffic make();

  private:
    static KnownAirport chooseAirport(const GeneratorOptions& o);
    void schedule(std::vector<Flight>& flights);

    const GeneratorOptions& options;
    Dice dice;
    KnownAirport airport;
    double end; // seconds since 1970
    FlightDesk desk;
};

KnownAirport Generator::chooseAirport(const GeneratorOptions& o) {
    if (o.airport.empty()) return madeAirport(o);
    const KnownAirport* known = findKnownAirport(o.airport);
    if (!known)
        throw std::runtime_error("no airport \"" + o.airport + "\"; known are " + knownAirportCodes());
    return *known;
}

void Generator::schedule(std::vector<Flight>& flights) {
    constexpr double runwaySpacing = 80; // seconds between two uses of the runway
    constexpr double approachLead = 600; // flights of the end of the traffic are seen early
    const double first = options.startTime - 40, span = end + approachLead - first;
    const int slots = static_cast<int>(span / runwaySpacing);
    const int wanted = options.movements > 0
                           ? 0
                           : options.flights * 6 / 10; // of all flights use the runway, if there is time
    const int runwayFlights = std::min(slots, wanted);
    for (int i = 0; i < options.flights; ++i) {
        const bool usesRunway = i < runwayFlights;
        const int kind = i % 10;
        if (usesRunway) {
            Flight flight = desk.newFlight(kind == 3   ? freighters()
                                           : kind == 7 ? businessJets()
                                                       : airliners());
            const double slot = first + span / runwayFlights * i + dice.between(-8, 8);
            const Performance& type = flight.by->performance;
            if (i % 2 == 0) {
                flight.track = makeArrival(airport, type, slot, dice);
                flight.destination = airport.iata;
                flight.origin = desk.otherAirport();
            } else {
                flight.track = makeDeparture(airport, type, slot, dice);
                flight.origin = airport.iata;
                flight.destination = desk.otherAirport();
            }
            flights.push_back(std::move(flight));
        } else if (kind == 4 || kind == 8) {
            Flight flight = desk.newFlight(kind == 4 ? lightAircraft() : helicopters());
            const double from = dice.between(options.startTime - 300, end - 120);
            flight.track =
                makeLocalFlight(airport, flight.by->performance, from, from + dice.between(600, 2400), dice);
            flights.push_back(std::move(flight));
        } else {
            Flight flight = desk.newFlight(kind == 9 ? freighters() : airliners());
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

GeneratedTraffic Generator::make() {
    std::vector<Flight> flights;
    schedule(flights);
    GeneratedTraffic traffic;
    if (options.movements > 0) {
        const DayWishes wishes{options.movements, options.startTime, options.minutes, options.faults};
        makeAirportDay(readGroundPlan(options.plans, options.airport), airport, wishes, desk, dice, flights,
                       traffic.events);
    }
    Reporter reporter(dice, airport, options.startTime, end, options.faults);
    for (Flight& flight : flights) {
        if (flight.track.empty()) continue;
        // Times to the tenth of a second, as the feed gives them.
        const double shift = std::round(flight.track.front().time * 10) / 10 - flight.track.front().time;
        for (TrueFix& fix : flight.track) fix.time += shift;
        reporter.report(flight, traffic.lines);
        auto& truth =
            traffic.truth[flight.hexid]; // an aircraft may have several flights, one after the other
        truth.insert(truth.end(), flight.track.begin(), flight.track.end());
        flight.track = {};
    }
    if (options.faults) {
        reporter.addGarbage(traffic.lines);
        reporter.holdBack(traffic.lines);
    }
    std::stable_sort(traffic.lines.begin(), traffic.lines.end(),
                     [](const TimedLine& a, const TimedLine& b) { return a.time < b.time; });
    return traffic;
}

GeneratedTraffic generateTraffic(const GeneratorOptions& options) {
    if (options.flights < (options.movements > 0 ? 0 : 1) || options.minutes <= 0)
        throw std::runtime_error("no flights to generate");
    if (options.movements > 0 && !hasGroundPlan(options.plans, options.airport))
        throw std::runtime_error("no ground plan of \"" + options.airport + "\" for movements");
    return Generator(options).make();
}

} // namespace rig

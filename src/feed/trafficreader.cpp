// The traffic reader: tests a line of the feed field by field and queues what passes as a TrafficRecord. Most of the
// world's traffic leaves it at the range test, so nothing is copied or allocated before a line is kept. Runs on the
// reader's own thread, or by hand on the thread of a replay.

#include "feed/feed.h"

#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>

TrafficReader trafficReader;

const std::array<const char*, static_cast<std::size_t>(Drop::count)> dropNames{
    "vehicle", "fields",        "timestamp", "position", "range",      "registration", "type",
    "heading", "hexid",         "speed",     "altitude", "callsign",   "anonymous",    "groundElsewhere",
    "track",   "verticalSpeed", "roll",      "airspeed", "notEnabled", "queueFull",    "exception"};

// The fields of a line, by index.
enum Field : std::size_t {
    hexidField = 1,
    latField = 2,
    lonField = 3,
    altitudeField = 4,
    verticalSpeedField = 5,
    trackField = 7,
    speedField = 8,
    callsignField = 9,
    typeField = 10,
    registrationField = 11,
    originField = 12,
    destinationField = 13,
    timeField = 14,
    sourceField = 17,
    airspeedField = 20,
    rollField = 23,
    headingField = 25,
    categoryField = 28,
};

constexpr std::size_t maxRegistration = 12;   // characters
constexpr std::size_t maxType = 4;            // characters of a type designator
constexpr double groundTestCeilingFt = 14000; // no airport lies higher
constexpr double unknownElevationFt =
    -1000;                            // below any airport, so that low aircraft are not taken for grounded
constexpr double alwaysGroundKt = 35; // nothing flies so slowly
constexpr double parkAirportRadiusNm = 5; // aircraft on the ground farther away do not exist

static bool lf_isNull(std::string_view text) { return text == "null"; }
static std::string_view lf_nullAsEmpty(std::string_view text) {
    return lf_isNull(text) ? std::string_view() : text;
}

template <std::size_t n>
static bool lf_isOneOf(std::string_view text, const std::array<std::string_view, n>& list) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// Balloons, vehicles, gliders and the like. A line without a category only needs a type.
static bool lf_isUnwantedType(std::string_view type, std::string_view category) {
    static constexpr std::array<std::string_view, 5> categories{"B1", "B2", "B4", "C1", "C2"};
    static constexpr std::array<std::string_view, 9> types{"BALL", "EMER", "GLID", "GRND", "GND",
                                                           "PARA", "SERV", "SHIP", "VENT"};
    if (type.empty()) return true;
    if (category.empty() || lf_isNull(category)) return false;
    return lf_isOneOf(category, categories) || type.size() > maxType || lf_isOneOf(type, types);
}

// The altitude, or 0 for an aircraft that must be on the ground: the feed's own ground mark is not to be relied on.
static double lf_correctedAltitude(double altitudeFt, double speedKt, double elevationFt) {
    if (altitudeFt <= 0) return 0;
    if (altitudeFt < groundTestCeilingFt) {
        const double above = altitudeFt - elevationFt;
        if (above <= 0) return 0;
        if ((above <= 45 && speedKt <= 120) || (above <= 90 && speedKt <= 80) ||
            (above <= 120 && speedKt <= 43))
            return 0;
    }
    return speedKt <= alwaysGroundKt ? 0 : altitudeFt;
}

static double lf_estimatedAirspeed(double altitudeFt) {
    if (altitudeFt <= 2000) return 180;
    if (altitudeFt <= 5000) return 220;
    if (altitudeFt <= 10000) return 250;
    if (altitudeFt <= 20000) return 350;
    return 430;
}

// The number at the start of the field; what follows it is ignored. Stricter than the readers of files: no blank and
// no plus may stand before it.
static bool lf_number(std::string_view text, double& number) {
    double value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc()) return false;
    if (!std::isfinite(value)) return false;
    number = value;
    return true;
}

static bool lf_parseHexid(std::string_view text, std::uint32_t& hexid) {
    return std::from_chars(text.data(), text.data() + text.size(), hexid).ec == std::errc();
}

// The first fields of a line; what follows the last one that is read is not looked at. False when there are fewer.
// The commas are found eight characters at a time, the first in the lowest byte, as on every machine that runs a simulator.
static bool lf_splitLine(std::string_view line,
                         std::array<std::string_view, TrafficReader::fieldCount>& fields) {
    constexpr std::uint64_t ones = 0x0101010101010101, highs = 0x8080808080808080, commas = ones * ',';
    const char* const begin = line.data();
    const std::size_t length = line.size();
    std::size_t field = 0, start = 0, at = 0;
    for (; at + 8 <= length; at += 8) {
        std::uint64_t word;
        std::memcpy(&word, begin + at, 8);
        word ^= commas;
        // The exact test for zero bytes: no carry runs from one byte into the next.
        std::uint64_t found = ~(((word & ~highs) + ~highs) | word | ~highs);
        while (found != 0) {
            const std::size_t comma = at + static_cast<std::size_t>(std::countr_zero(found)) / 8;
            found &= found - 1;
            fields[field] = {begin + start, comma - start};
            start = comma + 1;
            if (++field == fields.size()) return true;
        }
    }
    for (; at < length; ++at) {
        if (begin[at] != ',') continue;
        fields[field] = {begin + start, at - start};
        start = at + 1;
        if (++field == fields.size()) return true;
    }
    fields[field] = {begin + start, length - start};
    return ++field == fields.size();
}

void TrafficReader::onDatagram() {
    if (data.find(" VEH") != std::string_view::npos) {
        dropped[static_cast<std::size_t>(Drop::vehicle)] += 1;
        return;
    }
    if (!lf_splitLine(data, fields)) {
        dropped[static_cast<std::size_t>(Drop::fields)] += 1;
        return;
    }
    processLine();
}

Drop TrafficReader::processLine() {
    Drop result = Drop::exception;
    try {
        result = testLine();
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("exception in processLine: {}", e.what()));
    }
    if (result == Drop::count)
        kept += 1;
    else
        dropped[static_cast<std::size_t>(result)] += 1;
    return result;
}

Drop TrafficReader::testLine() {
    double timestamp = 0, lat = 0, lon = 0;
    if (!lf_number(fields[timeField], timestamp)) return Drop::timestamp;
    latestFeedTime = timestamp; // whatever becomes of the line
    if (!lf_number(fields[latField], lat) || !lf_number(fields[lonField], lon) || std::fabs(lat) > 90 ||
        std::fabs(lon) > 180 || gf_isNoPosition(lat, lon))
        return Drop::position;
    const auto [userLat, userLon] = userPosition.load();
    if (gf_distanceNm(userLat, userLon, lat, lon) > app.rangeNm) return Drop::range;

    std::string_view registration = fields[registrationField];
    if (registration.size() > maxRegistration) return Drop::registration;
    registration = lf_nullAsEmpty(registration);

    std::string_view callsign = fields[callsignField];
    const bool anonymised = callsign.find('@') != std::string_view::npos;
    if (collectCallsigns && !callsign.empty() && !lf_isNull(callsign) && !anonymised) {
        const LockGuard guard(trafficLock);
        seenCallsigns.emplace(callsign);
    }

    std::string_view type = fields[typeField];
    if (lf_isNull(type) || type == "0" || type == "ZZZZ") type = {};
    if (lf_isUnwantedType(type, fields[categoryField])) return Drop::type;

    StreamPoint point;
    point.lat = lat;
    point.lon = lon;
    if (fields[sourceField] == "adsb_icao") {
        double heading = 0;
        if (!lf_number(fields[headingField], heading) || heading > 360) return Drop::heading;
        if (heading >= 0) {
            // North is 2π, so that the engine can tell it from a missing heading.
            point.heading = heading == 0 ? twoPi : heading * degToRad;
            point.headingValid = point.trueHeadingSource = true;
        }
    }

    std::uint32_t hexid = 0;
    if (!lf_parseHexid(fields[hexidField], hexid) || hexid < firstLiveHexid) return Drop::hexid;

    double altitude = 0;
    if (!lf_number(fields[speedField], point.speed)) return Drop::speed;
    if (!lf_number(fields[altitudeField], altitude)) return Drop::altitude;
    const ParkAirportView park = parkAirport.load();
    point.alt = lf_correctedAltitude(altitude, point.speed, park.known ? park.elevation : unknownElevationFt);
    point.airborne = point.alt > 0;

    callsign = anonymised ? std::string_view() : lf_nullAsEmpty(callsign);
    if (callsign == "ERARMTR0" || callsign == "AIRPORT1") return Drop::callsign;
    if (callsign.empty() && registration.empty()) return Drop::anonymous;
    if (!point.airborne && (!park.known || gf_distanceNm(park.lat, park.lon, lat, lon) > parkAirportRadiusNm))
        return Drop::groundElsewhere;

    if (!fields[trackField].empty() && !lf_number(fields[trackField], point.track)) return Drop::track;
    if (point.track == 0 && point.headingValid) point.track = point.heading * radToDeg;
    if (!lf_number(fields[verticalSpeedField], point.vs)) return Drop::verticalSpeed;
    if (point.airborne) {
        double roll = 0;
        if (!lf_number(fields[rollField], roll)) return Drop::roll;
        point.bankValid = roll != -1 && roll != 0;
        point.bank = point.bankValid ? -roll * degToRad : roll;
    }
    if (!lf_number(fields[airspeedField], point.tas)) return Drop::airspeed;
    if (point.tas == -1) point.tas = lf_estimatedAirspeed(point.alt);

    TrafficRecord record;
    record.acType = type;
    record.callsign = callsign;
    record.regcode = registration;
    record.origin = lf_nullAsEmpty(fields[originField]);
    record.destination = lf_nullAsEmpty(fields[destinationField]);
    record.timestamp = timestamp;
    record.hexid = hexid;
    record.point = point;

    const LockGuard guard(trafficLock);
    if (!feedQueue.trafficEnabled) return Drop::notEnabled;
    if (feedQueue.records.size() >= feedQueueLimit) return Drop::queueFull;
    // Unsigned, so that a process that runs for months wraps instead of overflowing.
    record.point.dueTick = static_cast<std::int32_t>(static_cast<std::uint32_t>(appLife.tickCount.load()) +
                                                     static_cast<std::uint32_t>(feedDelayTicks));
    feedQueue.records.push_back(std::move(record));
    return Drop::count;
}

void TrafficReader::onStopped() {
    display.trafficMark = ReaderMark::notStarted;
    gf_repaint(Band::status);
    gf_logRaw("Traffic Reader has stopped");
    if (!LOG) return;
    std::string counts = fmt::format("Traffic Reader: {} lines kept; dropped:", kept.load());
    for (std::size_t i = 0; i < dropped.size(); ++i)
        if (dropped[i] != 0) counts += fmt::format(" {} {}", dropNames[i], dropped[i].load());
    gf_logRaw(counts);
}

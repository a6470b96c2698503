// Parking rows of airport files of the form apt.dat: rows of a number and words, an airport's row before all of its others.

#include "files.h"
#include "refdata/csv.h"
#include "refdata/stands.h"

#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string_view>

namespace rig {

namespace {

// Half the widest span that the width codes of parking rows stand for, metres; as ICAO's code letters end.
const std::map<std::string, double> radiusOfWidth = {{"A", 7.5}, {"B", 12},   {"C", 18},
                                                     {"D", 26},  {"E", 32.5}, {"F", 40}};

class AptReader {
  public:
    void line(std::string_view text, std::size_t number);
    void endAirport();
    std::vector<StandTable> airports;

  private:
    std::string word();
    std::string rest(); // of the line
    void startAirport();
    void fact();
    void parking(bool old);
    void parkingMore();

    std::string_view left;
    std::size_t lineNumber = 0;
    bool inAirport = false, hasDatumLat = false, hasDatumLon = false;
    StandTable airport;
};

std::string AptReader::word() {
    const std::size_t from = std::min(left.find_first_not_of(" \t\r"), left.size());
    const std::size_t end = std::min(left.find_first_of(" \t\r", from), left.size());
    const std::string text(left.substr(from, end - from));
    left.remove_prefix(end);
    return text;
}

std::string AptReader::rest() {
    const std::size_t from = left.find_first_not_of(" \t\r"), last = left.find_last_not_of(" \t\r");
    return from == std::string_view::npos ? std::string() : std::string(left.substr(from, last + 1 - from));
}

void AptReader::startAirport() { // elevation, two unused numbers, code, name
    endAirport();
    inAirport = true;
    airport.elevationFt = wholeNumber(word()).value_or(0);
    word();
    word();
    airport.code = word();
    airport.name = rest();
}

void AptReader::fact() {
    const std::string key = word(), value = rest();
    if (key == "icao_code" && !value.empty()) airport.code = value;
    const auto number = wholeNumber(value);
    if (!number) return;
    if (key == "datum_lat") airport.lat = *number, hasDatumLat = true;
    if (key == "datum_lon") airport.lon = *number, hasDatumLon = true;
}

void AptReader::parking(bool old) { // latitude, longitude, heading, and unless old: kind, aircraft; name
    const auto lat = wholeNumber(word()), lon = wholeNumber(word()), heading = wholeNumber(word());
    const std::string kind = old ? "" : word(), aircraft = old ? "" : word();
    StandRow stand;
    stand.id = rest();
    if (!lat || !lon || !heading || std::fabs(*lat) > 90 || std::fabs(*lon) > 180 || *heading < -360 ||
        *heading > 720 || kind == "misc")
        return;
    if (stand.id.empty()) stand.id = fmt::format("Parking {}", airport.stands.size() + 1);
    stand.lat = *lat;
    stand.lon = *lon;
    stand.heading = std::fmod(*heading + 360, 360);
    stand.line = lineNumber;
    const auto holds = [&](const char* what) { return aircraft.find(what) != std::string::npos; };
    stand.heli = aircraft == "helos";
    stand.ramp = !stand.heli && kind != "gate";
    // Until the next row says better: by the largest aircraft that uses it.
    stand.radiusM = radiusOfWidth.at(holds("heavy")        ? "E"
                                     : holds("jets")       ? "C"
                                     : holds("turboprops") ? "B"
                                                           : "A");
    if (old || holds("all")) stand.radiusM = radiusOfWidth.at("C");
    airport.stands.push_back(stand);
}

void AptReader::parkingMore() { // of the stand before: width, use, airlines
    if (airport.stands.empty()) return;
    StandRow& stand = airport.stands.back();
    const std::string width = word(), use = word();
    if (const auto found = radiusOfWidth.find(width); found != radiusOfWidth.end())
        stand.radiusM = found->second;
    if (stand.heli) return;
    stand.cargo = use == "cargo";
    if (use == "cargo" || use == "general_aviation" || use == "military") stand.ramp = true;
    if (use == "airline") stand.ramp = false;
}

void AptReader::endAirport() {
    if (inAirport && !airport.stands.empty()) {
        if (!hasDatumLat || !hasDatumLon) {
            airport.lat = airport.lon = 0;
            for (const StandRow& stand : airport.stands) {
                airport.lat += stand.lat / static_cast<double>(airport.stands.size());
                airport.lon += stand.lon / static_cast<double>(airport.stands.size());
            }
        }
        airports.push_back(std::move(airport));
    }
    airport = StandTable{};
    inAirport = hasDatumLat = hasDatumLon = false;
}

void AptReader::line(std::string_view text, std::size_t number) {
    left = text;
    lineNumber = number;
    const std::string code = word();
    if (code == "1") {
        startAirport();
    } else if (code == "16" || code == "17" || code == "99") { // seaplane base, heliport, the end
        endAirport();
    } else if (inAirport) {
        if (code == "1302") fact();
        if (code == "1300") parking(false);
        if (code == "1301") parkingMore();
        if (code == "15") parking(true);
    }
}

} // namespace

std::vector<StandTable> readAptDat(const std::filesystem::path& file) {
    AptReader reader;
    std::string text; // what is left of a line over the end of a block
    std::size_t number = 0;
    readPlainOrGzip(file, [&](std::string_view block) {
        text.append(block);
        std::size_t from = 0;
        for (std::size_t end; (end = text.find('\n', from)) != std::string::npos; from = end + 1)
            reader.line(std::string_view(text).substr(from, end - from), ++number);
        text.erase(0, from);
    });
    reader.line(text, ++number);
    reader.endAirport();
    return std::move(reader.airports);
}

} // namespace rig

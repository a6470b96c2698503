// The directory of airports: read once in the start sequence, then looked up by code and by place. The names of
// airports are read for a scan alone. Where two airports lie so close together that their reference points say little,
// their stands decide, and for that airport files are read: that part runs on the loader thread.

#include "airports/airports.h"

#include "airports/reading.h"
#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "liveries/refdata.h"
#include "platform/files.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <pugixml.hpp>
#include <stdexcept>

AirportsProcess airportsLife;

static TextMap<std::string> names; // by code; owner: the scan of the airports

static constexpr std::size_t usualCount = 44000; // airports of a simulator
static constexpr double noStandNm = 100;         // farther than any stand that matters
static constexpr int directoryError = 88;

// ---- reading ----------------------------------------------------------------------------------------------------

static double lf_strictNumber(pugi::xml_node element, const char* name) {
    const std::string_view text = element.attribute(name).value();
    double value = 0;
    if (gf_parseDouble(text, value)) return value;
    const auto start = text.find_first_of("-0123456789.");
    if (start != text.npos) {
        const auto result = std::from_chars(text.data() + start, text.data() + text.size(), value);
        if (result.ec == std::errc::result_out_of_range)
            throw std::out_of_range("stod argument out of range");
    }
    throw std::invalid_argument("invalid stod argument");
}

std::vector<Airport> lf_readDirectoryDocument(const pugi::xml_document& document,
                                              const std::string& pathText) {
    const pugi::xml_node root = document.child("airports");
    if (!root) throw std::runtime_error(fmt::format("{} not found", pathText));
    std::vector<Airport> result;
    result.reserve(usualCount);
    for (const pugi::xml_node element : root.children("airport")) {
        Airport airport;
        airport.elevation = lf_strictNumber(element, "alt");
        airport.lat = lf_strictNumber(element, "lat");
        airport.lon = lf_strictNumber(element, "lon");
        airport.iata = element.attribute("iata").value();
        airport.code = element.attribute("code").value();
        result.push_back(std::move(airport));
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const Airport& a, const Airport& b) { return a.code < b.code; });
    gf_logLine(fmt::format("{} airports read from \"{}\"", result.size(), pathText));
    result.shrink_to_fit();
    return result;
}

static std::vector<Airport> lf_readDirectory(const std::filesystem::path& path) {
    pugi::xml_document document;
    const std::string failure = lf_loadXml(path, document);
    if (!failure.empty())
        throw std::runtime_error(fmt::format("{} not loaded {}", plat::pathText(path), failure));
    return lf_readDirectoryDocument(document, plat::pathText(path));
}

bool gf_readAirports() {
    if (airportsLife.directoryRead) return !airportsLife.directory.empty();
    try {
        airportsLife.directory = lf_readDirectory(folders.airportsXml);
    } catch (const std::exception& e) {
        throw orvo::UserErrorException(directoryError, e.what());
    }
    airportsLife.directoryRead = true;
    return !airportsLife.directory.empty();
}

bool gf_readAirportNames() {
    names.clear();
    pugi::xml_document document;
    lf_loadXml(folders.airportNamesXml, document); // without it the table stays empty, which is no error
    for (const pugi::xml_node element : document.child("AirportNames").children("airport"))
        names.try_emplace(element.attribute("ICAO").value(), element.attribute("name").value());
    gf_logLine(fmt::format("{} airport names read from \"{}\"", names.size(),
                           plat::pathText(folders.airportNamesXml)));
    return !names.empty();
}

void gf_clearAirportNames() { names.clear(); }

// ---- looking up -------------------------------------------------------------------------------------------------

std::optional<std::string> gf_airportName(std::string_view code) {
    const auto found = names.find(code);
    return found == names.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Airport> gf_findAirport(std::string_view code) {
    const auto& all = airportsLife.directory;
    const auto found =
        std::lower_bound(all.begin(), all.end(), code,
                         [](const Airport& a, std::string_view c) { return std::string_view(a.code) < c; });
    if (found == all.end() || found->code != code) return std::nullopt;
    return *found;
}

std::string gf_airportLabel(const Airport& airport) {
    const std::string code = airport.code.empty() ? "?" : airport.code;
    return airport.iata.empty() ? code : fmt::format("{} ({})", code, airport.iata);
}

// ---- the closest ------------------------------------------------------------------------------------------------

// The nearest stand of a parsed file; its id goes to standId.
static double lf_closestStandNm(const pugi::xml_node& stands, LatLon from, std::string& standId) {
    double best = noStandNm;
    for (const pugi::xml_node element : stands.children("parkpos")) {
        const double nm = gf_distanceNm(from, lf_position(element));
        if (!(nm < best)) continue;
        best = nm;
        standId = element.attribute("id").value();
    }
    return best;
}

static double lf_destStandNm(const std::string& code, LatLon from, std::string& standId) {
    const std::string path = gf_locateAirportFile(code);
    if (path.empty()) return noStandNm;
    const std::filesystem::path fetched = "airport.xml";
    const bool local = lf_isLocalPath(path);
    if (!local) {
        const std::string failure = lf_fetch(path, fetched);
        if (!failure.empty()) {
            gf_logLine(failure);
            return noStandNm;
        }
    }
    pugi::xml_document document;
    lf_loadXml(local ? plat::textPath(path) : fetched, document);
    std::error_code ignored;
    std::filesystem::remove(fetched, ignored);
    return lf_closestStandNm(document.child("parkpositions"), from, standId);
}

double gf_readDestApfForClosestStand(const std::string& code, double lat, double lon, std::string& standId) {
    try {
        return lf_destStandNm(code, {lat, lon}, standId);
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{}: {}", "gf_readDestApfForClosestStand", e.what()));
        return noStandNm;
    }
}

std::optional<Airport> gf_findClosestAirport(double lat, double lon) {
    constexpr double reachNm = 5;
    constexpr double reachDegrees = reachNm / 60 + 0.001; // a coarse test: a minute of latitude is a mile
    const Airport *closest = nullptr, *neighbour = nullptr;
    double best = noStandNm;
    for (const Airport& airport : airportsLife.directory) {
        if (airport.lat > lat + reachDegrees || airport.lat < lat - reachDegrees) continue;
        const double nm = gf_distanceNm(lat, lon, airport.lat, airport.lon);
        if (nm > reachNm || !(nm < best)) continue;
        if (closest) neighbour = closest;
        closest = &airport;
        best = nm;
    }
    if (!closest) return std::nullopt;
    if (!neighbour) return *closest;
    gf_logLine(fmt::format("Airport {} is closest, neighbour is {}", closest->code, neighbour->code));
    std::string stand, neighbourStand;
    const double d1 = gf_readDestApfForClosestStand(closest->code, lat, lon, stand);
    const double d2 = gf_readDestApfForClosestStand(neighbour->code, lat, lon, neighbourStand);
    if (!(d2 < d1)) return *closest;
    gf_logLine(fmt::format(
        "Airport {} is closest, but stand {} at neighbouring airport {} is closest at {:.0F} meters ...",
        closest->code, neighbourStand, neighbour->code, d2 * metersPerNm));
    return *neighbour;
}

// Reading of stand tables. Rows of such tables come from people and machines, so each one is tested for sense.

#include "refdata/stands.h"

#include "app/geo.h"
#include "platform/files.h"
#include "refdata/csv.h"
#include "refdata/publictables.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace rig {

constexpr double leastRadiusM = 1, mostRadiusM = 200; // as for stands in sceneries; both ends excluded
constexpr double codeARadiusM = 7.6;                  // up to it no airliner fits
constexpr double farthestNm = 6;                      // of a stand from its airport
constexpr double samePlaceNm = 0.5 / metersPerNm;
constexpr double lowestFt = -1500, highestFt = 16000; // of an airport

std::string readStandRow(const CsvReader& in, StandRow& stand, std::string& complaint) {
    const auto lat = wholeNumber(in.field("lat")), lon = wholeNumber(in.field("lon"));
    const auto heading = wholeNumber(in.field("heading")), radius = wholeNumber(in.field("radius_m"));
    stand.id = in.field("id");
    if (stand.id.empty()) return "no id";
    if (!lat || !lon || std::fabs(*lat) > 90 || std::fabs(*lon) > 180 || gf_isNoPosition(*lat, *lon))
        return fmt::format("stand \"{}\" has no position", stand.id);
    if (!heading || *heading < -360 || *heading > 720)
        return fmt::format("stand \"{}\" has no heading", stand.id);
    if (!radius || *radius <= leastRadiusM || *radius >= mostRadiusM)
        return fmt::format("stand \"{}\" has no radius between {:.0f} and {:.0f} metres", stand.id,
                           leastRadiusM, mostRadiusM);
    stand.lat = *lat;
    stand.lon = *lon;
    stand.heading = std::fmod(*heading + 360, 360);
    stand.radiusM = *radius;
    // The simulator's own cargo stands are ramps, too, its military ones ramps alone.
    const std::string kind = in.field("kind", false);
    stand.heli = kind == "heli";
    stand.cargo = kind == "cargo";
    stand.ramp = kind == "ga" || kind == "cargo" || kind == "mil-cargo" || kind == "mil-fighter" ||
                 (kind.empty() && stand.radiusM <= codeARadiusM);
    if (!stand.heli && !stand.ramp && !kind.empty() && kind != "gate")
        complaint = fmt::format("kind \"{}\" of stand \"{}\" is unknown, taken for a gate", kind, stand.id);
    return "";
}

bool isAirportCode(const std::string& text) {
    return text.size() >= 3 && text.size() <= 4 && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
           });
}

// "" for a file that is no table of one airport
static std::string codeOfFile(const std::filesystem::path& file) {
    std::filesystem::path name = file.filename();
    if (name.extension() == ".gz") name = name.stem();
    const std::string code = plat::pathText(name.stem());
    return name.extension() == ".csv" && isAirportCode(code) ? code : std::string();
}

namespace {

class Reading {
  public:
    explicit Reading(const std::filesystem::path& inputFolder) : directory(inputFolder) {}
    void readIndex(const std::filesystem::path& file);
    void readTable(const std::filesystem::path& file);
    void readFolder(const std::filesystem::path& folder);
    void readAptFile(const std::filesystem::path& file);
    void knowAirports(const std::vector<AirportRow>& airports);
    void nextSource();                             // airports that have stands by now take no others
    StandTables finish(const std::string& places); // throws when there is none

    StandTables result;

  private:
    void complain(const std::filesystem::path& file, std::size_t line, const std::string& text) {
        result.complaints.push_back(
            fmt::format("{}, line {}: {}", plat::pathText(file.filename()), line, text));
    }
    void readDirectory();
    StandTable* airportOf(const std::string& code); // nullptr: nothing is known of it
    void take(StandTable& airport, StandRow&& stand, const std::filesystem::path& file, std::size_t line);

    std::filesystem::path directory;
    bool directoryRead = false;
    std::map<std::string, StandTable> facts;    // by code, without stands
    std::map<std::string, std::size_t> indexOf; // code to place in the result
    std::map<std::string, std::size_t> idLines; // "CODE id" to its line
    std::set<std::string> unknown, settled;
};

void Reading::readIndex(const std::filesystem::path& file) {
    if (!std::filesystem::exists(file)) return;
    for (CsvReader in(file); in.next();) {
        const auto lat = wholeNumber(in.field("lat")), lon = wholeNumber(in.field("lon")),
                   elevation = wholeNumber(in.field("elev_ft"));
        const std::string code = in.field("icao");
        if (!isAirportCode(code) || !lat || !lon || std::fabs(*lat) > 90 || std::fabs(*lon) > 180 ||
            !elevation || *elevation < lowestFt || *elevation > highestFt)
            complain(file, in.line(),
                     fmt::format("airport \"{}\" needs a code, a position and an elevation", code));
        else
            facts[code] = {code, in.field("name"), in.field("source_date", false), *lat, *lon, *elevation,
                           {}};
    }
}

// What the index does not say.
void Reading::readDirectory() {
    if (std::exchange(directoryRead, true)) return;
    pugi::xml_document places, names;
    const auto file = directory / "airports_msfs.xml", namesFile = directory / "airports_msfs_names.xml";
    if (!places.load_file(file.c_str()) || !names.load_file(namesFile.c_str()))
        throw std::runtime_error(fmt::format("no airport directory in \"{}\"", plat::pathText(directory)));
    std::map<std::string, std::string> nameOf;
    for (const auto& node : names.child("AirportNames").children("airport"))
        nameOf.emplace(node.attribute("ICAO").value(), node.attribute("name").value());
    for (const auto& node : places.child("airports").children("airport")) {
        const std::string code = node.attribute("code").value();
        const auto lat = wholeNumber(node.attribute("lat").value()),
                   lon = wholeNumber(node.attribute("lon").value()),
                   elevation = wholeNumber(node.attribute("alt").value());
        if (lat && lon && elevation)
            facts.try_emplace(code, StandTable{code, nameOf[code], "", *lat, *lon, *elevation, {}});
    }
}

StandTable* Reading::airportOf(const std::string& code) {
    if (const auto found = indexOf.find(code); found != indexOf.end()) return &result.airports[found->second];
    if (facts.count(code) == 0) readDirectory();
    const auto found = facts.find(code);
    if (found == facts.end()) return nullptr;
    indexOf[code] = result.airports.size();
    return &result.airports.emplace_back(found->second);
}

void Reading::take(StandTable& airport, StandRow&& stand, const std::filesystem::path& file,
                   std::size_t line) {
    if (gf_distanceNm(airport.lat, airport.lon, stand.lat, stand.lon) > farthestNm) {
        complain(file, line, fmt::format("stand \"{}\" is not at {}", stand.id, airport.code));
        return;
    }
    const auto [known, isNew] = idLines.emplace(airport.code + ' ' + stand.id, line);
    if (!isNew) {
        complain(file, line, fmt::format("stand \"{}\" stands in line {} already", stand.id, known->second));
        return;
    }
    const auto same = std::find_if(airport.stands.begin(), airport.stands.end(), [&](const StandRow& other) {
        return gf_distanceNm(other.lat, other.lon, stand.lat, stand.lon) < samePlaceNm;
    });
    if (same != airport.stands.end())
        complain(file, line, fmt::format("stand \"{}\" has the place of \"{}\"", stand.id, same->id));
    else
        airport.stands.push_back(std::move(stand));
}

void Reading::readTable(const std::filesystem::path& file) {
    CsvReader in(file);
    const std::string codeOfAll = in.has("icao") ? std::string() : codeOfFile(file);
    if (!in.has("icao") && codeOfAll.empty())
        throw std::runtime_error(fmt::format("\"{}\" is named by no airport code and has no column \"icao\"",
                                             plat::pathText(file)));
    while (in.next()) {
        const std::string code = codeOfAll.empty() ? in.field("icao") : codeOfAll;
        if (settled.count(code) > 0) continue;
        StandTable* airport = isAirportCode(code) ? airportOf(code) : nullptr;
        if (!airport) {
            if (unknown.insert(code).second)
                complain(file, in.line(),
                         fmt::format("airport \"{}\" is neither in an index nor in the directory", code));
            continue;
        }
        StandRow stand;
        std::string slip;
        const std::string wrong = readStandRow(in, stand, slip);
        if (!wrong.empty()) {
            complain(file, in.line(), wrong);
            continue;
        }
        if (!slip.empty()) complain(file, in.line(), slip);
        take(*airport, std::move(stand), file, in.line());
    }
}

void Reading::readFolder(const std::filesystem::path& folder) {
    readIndex(folder / "index.csv");
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_regular_file() && !codeOfFile(entry.path()).empty()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        try {
            readTable(file);
        } catch (const std::exception& e) {
            result.complaints.push_back(e.what());
        }
    }
}

// Names of stands are not unique in such files.
void Reading::readAptFile(const std::filesystem::path& file) {
    for (StandTable& told : readAptDat(file)) {
        if (!isAirportCode(told.code) || settled.count(told.code) > 0 || indexOf.count(told.code) > 0)
            continue;
        std::vector<StandRow> stands = std::move(told.stands);
        told.stands.clear();
        StandTable& airport = *airportOf(facts.try_emplace(told.code, std::move(told)).first->first);
        for (StandRow& stand : stands) {
            const std::string id = stand.id;
            for (int copy = 2; idLines.count(airport.code + ' ' + stand.id) > 0; ++copy)
                stand.id = fmt::format("{} {}", id, copy);
            take(airport, std::move(stand), file, stand.line);
        }
    }
}

void Reading::knowAirports(const std::vector<AirportRow>& airports) {
    directoryRead = true; // there is no other
    for (const AirportRow& row : airports)
        facts.try_emplace(row.code,
                          StandTable{row.code, row.name, "", row.lat, row.lon, row.elevationFt, {}});
}

void Reading::nextSource() {
    for (const auto& airport : result.airports)
        if (!airport.stands.empty()) settled.insert(airport.code);
}

StandTables Reading::finish(const std::string& places) {
    std::erase_if(result.airports, [&](const StandTable& airport) {
        if (airport.stands.empty())
            result.complaints.push_back(fmt::format("{} is left without a good stand", airport.code));
        return airport.stands.empty();
    });
    if (result.airports.empty())
        throw std::runtime_error(
            fmt::format("no stands in \"{}\"{}", places,
                        result.complaints.empty() ? std::string() : ": " + result.complaints.front()));
    return std::move(result);
}

} // namespace

StandTables readStandTables(const std::filesystem::path& place, const std::filesystem::path& directory) {
    Reading reading(directory);
    if (std::filesystem::is_directory(place)) {
        reading.readFolder(place);
    } else {
        reading.readIndex(place.parent_path() / "index.csv");
        reading.readTable(place);
    }
    return reading.finish(plat::pathText(place));
}

StandTables readStandTables(const std::vector<std::filesystem::path>& places,
                            const std::vector<AirportRow>& airports) {
    Reading reading({});
    reading.knowAirports(airports);
    std::string names;
    for (const auto& place : places) {
        names += (names.empty() ? "" : ", ") + plat::pathText(place.filename());
        if (std::filesystem::is_directory(place))
            reading.readFolder(place);
        else if (isAptDat(place))
            reading.readAptFile(place);
        else
            reading.readTable(place);
        reading.nextSource();
    }
    return reading.finish(names);
}

} // namespace rig

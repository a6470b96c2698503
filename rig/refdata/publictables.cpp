// Public tables: what each file is, and the airport directory made of them.

#include "refdata/publictables.h"

#include "files.h"
#include "platform/files.h"
#include "refdata/csv.h"
#include "refdata/stands.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <stdexcept>

namespace rig {

namespace fs = std::filesystem;

namespace {

enum class Form { airports, aircraft, types, airlines, similar, cargoTypes, fixes, stands, unknown };
constexpr std::array<const char*, 9> formNames = {"airports", "aircraft",      "types",
                                                  "airlines", "similar types", "cargo types",
                                                  "fixes",    "stands",        "nothing known, passed over"};

// Enough of a file to see its form, plain or unpacked.
std::string beginningOf(const fs::path& file) {
    struct Enough {};
    constexpr std::size_t most = 4096;
    std::string text;
    try {
        readPlainOrGzip(file, [&](std::string_view block) {
            text.append(block.substr(0, most - text.size()));
            if (text.size() >= most) throw Enough();
        });
    } catch (const Enough&) {}
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    return text;
}

bool beginsAptDat(const std::string& text) {
    // "I" or "A" for the byte order, then a line that begins with the number of the form: 850, 1000, 1100, ...
    const std::size_t end = text.find('\n');
    if (end == std::string::npos || end > 2 || (text[0] != 'I' && text[0] != 'A')) return false;
    const std::size_t digits = std::min(text.find_first_not_of("0123456789", end + 1), text.size()) - end - 1;
    return digits == 3 || digits == 4;
}

Form formOf(const fs::path& file) {
    const std::string text = beginningOf(file);
    if (beginsAptDat(text)) return Form::stands;
    if (!text.empty() && (text[0] == '{' || text[0] == '[')) return Form::aircraft;
    std::set<std::string> columns;
    std::string name;
    for (const char c : text.substr(0, text.find('\n'))) {
        if (c == ',') {
            columns.insert(name);
            name.clear();
        } else if (c != '"' && c != '\'' && c != '\r') {
            name += c;
        }
    }
    columns.insert(name);
    const auto has = [&](const char* column) { return columns.count(column) > 0; };
    if (has("radius_m") && has("heading")) return Form::stands;
    if ((has("ident") || has("icao")) && (has("latitude_deg") || has("lat"))) return Form::airports;
    if (has("registration") || has("reg")) return Form::aircraft;
    if (has("designator")) return has("class") ? Form::types : Form::cargoTypes;
    if (has("icao") && has("cargo")) return Form::airlines;
    if (has("types")) return Form::similar;
    if (has("wrong") && has("right")) return Form::fixes;
    return Form::unknown;
}

bool isFolderOfStands(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.is_regular_file() && entry.path().filename() != "index.csv" &&
            formOf(entry.path()) == Form::stands)
            return true;
    return false;
}

void sortFile(const fs::path& file, PublicFiles& files) {
    const Form form = formOf(file);
    RefTableFiles::Files* const to[] = {
        &files.airports,       &files.tables.registrations, &files.tables.types, &files.tables.airlines,
        &files.tables.similar, &files.tables.cargoTypes,    &files.tables.fixes, &files.stands};
    if (form != Form::unknown) to[static_cast<std::size_t>(form)]->push_back(file);
    files.told.push_back(
        fmt::format("{}: {}", plat::pathText(file.filename()), formNames[static_cast<std::size_t>(form)]));
}

std::vector<fs::path> sortedEntries(const fs::path& folder) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::directory_iterator(folder)) entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    return entries;
}

std::string textOf(const CsvReader& in, std::initializer_list<const char*> columns) {
    for (const char* column : columns)
        if (in.has(column)) return in.field(column);
    return {};
}

} // namespace

bool isAptDat(const fs::path& file) { return beginsAptDat(beginningOf(file)); }

PublicFiles sortPublicFiles(const std::vector<fs::path>& places) {
    PublicFiles files;
    for (const fs::path& place : places) {
        if (!fs::is_directory(place)) {
            sortFile(place, files);
            continue;
        }
        if (isFolderOfStands(place) && fs::exists(place / "index.csv")) {
            files.stands.push_back(place);
            files.told.push_back(fmt::format("{}: a folder of stands", plat::pathText(place.filename())));
            continue;
        }
        // A folder of stand tables tells of few airports, and of those well: it counts first.
        for (const auto& entry : sortedEntries(place)) {
            if (!fs::is_directory(entry) || !isFolderOfStands(entry)) continue;
            files.stands.push_back(entry);
            files.told.push_back(fmt::format("{}: a folder of stands", plat::pathText(entry.filename())));
        }
        for (const auto& entry : sortedEntries(place))
            if (fs::is_regular_file(entry)) sortFile(entry, files);
    }
    return files;
}

std::vector<AirportRow> readAirportRows(const std::vector<fs::path>& files) {
    constexpr double lowestFt = -1500, highestFt = 16000;
    std::map<std::string, AirportRow> airports;
    std::set<std::string> leftOut;
    for (const auto& file : files) {
        for (CsvReader in(file); in.next();) {
            const std::string ident = textOf(in, {"ident", "icao"}),
                              gps = textOf(in, {"icao_code", "gps_code"});
            const std::string code = isAirportCode(gps) ? gps : ident; // the one that pilots use comes first
            const std::string kind = textOf(in, {"kind", "type"});
            const auto lat = wholeNumber(textOf(in, {"latitude_deg", "lat"})),
                       lon = wholeNumber(textOf(in, {"longitude_deg", "lon"})),
                       elevation = wholeNumber(textOf(in, {"elevation_ft", "elev_ft"}));
            if (kind == "closed" || kind == "heliport" || kind == "balloonport") leftOut.insert(code);
            if (!isAirportCode(code) || !lat || !lon || !elevation || std::fabs(*lat) > 90 ||
                std::fabs(*lon) > 180 || *elevation < lowestFt || *elevation > highestFt)
                continue;
            airports.try_emplace(code, AirportRow{code, textOf(in, {"iata_code", "iata"}),
                                                  in.field("name", false), *lat, *lon, *elevation});
        }
    }
    std::vector<AirportRow> rows;
    for (auto& [code, row] : airports)
        if (leftOut.count(code) == 0) rows.push_back(std::move(row));
    return rows;
}

static void saveXml(const pugi::xml_document& document, const fs::path& file) {
    if (!document.save_file(file.c_str(), "", pugi::format_default | pugi::format_no_declaration))
        throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(file)));
}

void writeAirportDirectory(const std::vector<AirportRow>& airports, const fs::path& folder) {
    constexpr int digits = 5; // of a coordinate: a metre
    const auto shortest = [=](double value) {
        std::string text = fmt::format("{:.{}f}", value, digits);
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
        return text == "-0" ? std::string("0") : text;
    };
    fs::create_directories(folder);
    pugi::xml_document places, names;
    pugi::xml_node list = places.append_child("airports"), nameList = names.append_child("AirportNames");
    for (const AirportRow& row : airports) {
        pugi::xml_node airport = list.append_child("airport");
        airport.append_attribute("code") = row.code.c_str();
        if (!row.iata.empty()) airport.append_attribute("iata") = row.iata.c_str();
        airport.append_attribute("lat") = shortest(row.lat).c_str();
        airport.append_attribute("lon") = shortest(row.lon).c_str();
        airport.append_attribute("alt") = std::lround(row.elevationFt);
        pugi::xml_node name = nameList.append_child("airport");
        name.append_attribute("ICAO") = row.code.c_str();
        name.append_attribute("name") = row.name.c_str();
    }
    saveXml(places, folder / "airports_msfs.xml");
    saveXml(names, folder / "airports_msfs_names.xml");
}

} // namespace rig

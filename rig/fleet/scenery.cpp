// Sceneries of a fleet: packages in the habits of real ones, with an airport of the directory each. Who made one is told
// by its folder, by its manifest in one of several ways, or by nothing.

#include "files.h"
#include "fleet/bgl.h"
#include "fleet/parts.h"
#include "platform/files.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <numbers>
#include <stdexcept>

namespace fs = std::filesystem;

namespace rig {

std::vector<SceneryPlace> readSceneryPlaces() {
    const fs::path path = sourceFolder() / "install" / "input" / "airports_msfs.xml";
    pugi::xml_document document;
    if (!document.load_file(path.c_str()))
        throw std::runtime_error(fmt::format("cannot read \"{}\"", plat::pathText(path)));
    std::vector<SceneryPlace> places;
    constexpr double farthest = 60; // degrees; stands of a grid do not fit near the poles
    for (const pugi::xml_node airport : document.child("airports").children("airport")) {
        SceneryPlace place{airport.attribute("code").value(), airport.attribute("lat").as_double(),
                           airport.attribute("lon").as_double(), airport.attribute("alt").as_double()};
        // Airports whose real stands the rig has stay as they are.
        const bool known = fs::exists(sourceFolder() / "rig" / "airports" / (place.code + ".csv"));
        if (place.code.size() == 4 && std::abs(place.lat) < farthest && !known)
            places.push_back(std::move(place));
    }
    if (places.empty()) throw std::runtime_error("a fleet with sceneries needs the airport directory");
    return places;
}

static std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

static std::string manifestText(const std::string& title, const std::string& manufacturer,
                                const std::string& creator) {
    return fmt::format(
        "{{\r\n  \"dependencies\": [],\r\n  \"content_type\": \"SCENERY\",\r\n  \"title\": \"{}\",\r\n"
        "  \"manufacturer\": \"{}\",\r\n  \"creator\": \"{}\",\r\n"
        "  \"package_version\": \"1.0.0\",\r\n  \"minimum_game_version\": \"1.18.9\"\r\n}}",
        title, manufacturer, creator);
}

static BglPosition positionAt(const SceneryPlace& place, double east, double north) {
    constexpr double metresPerDegree = 111'120;
    BglPosition position;
    position.lat = place.lat + north / metresPerDegree;
    position.lon = place.lon + east / metresPerDegree / std::cos(place.lat * std::numbers::pi / 180);
    return position;
}

// Gates in rows, then ramps and what is no stand; some share a number, as those of one gate with several lines do.
static std::vector<BglPosition> positionsOf(const SceneryPlace& place, Chance& chance) {
    std::vector<BglPosition> positions;
    const std::size_t gates = chance.below(40), ramps = 1 + chance.below(40);
    constexpr double spacing = 60; // metres
    for (std::size_t i = 0; i < gates + ramps; ++i) {
        BglPosition p = positionAt(place, spacing * static_cast<double>(i % 20),
                                   3 * spacing * static_cast<double>(i / 20));
        const bool gate = i < gates;
        const int letters[] = {10, 12, 13, 14};
        const int ramp[] = {0, 1, 1, 1, 2, 6, 8};
        p.name = gate ? chance.of(letters) : chance.of(ramp);
        p.type = static_cast<int>(gate ? 8 + chance.below(4) : 1 + chance.below(7));
        p.number = static_cast<int>(1 + i - (chance.percent(8) ? std::min<std::size_t>(i, 1) : 0));
        p.radius =
            gate ? 16 + static_cast<float>(chance.below(30)) : 5 + static_cast<float>(chance.below(12));
        p.heading = static_cast<float>(chance.below(360));
        p.airlineCodes = gate && chance.percent(30) ? static_cast<int>(1 + chance.below(5)) : 0;
        positions.push_back(p);
    }
    positions.push_back(positionAt(place, -spacing, 0));
    positions.back().type = 13; // vehicles
    return positions;
}

// So many as become stands: all of these names and numbers are sound, and none is there eight times.
static std::size_t standsOf(const std::vector<BglPosition>& positions) {
    std::map<std::pair<int, int>, std::size_t> sameId;
    for (const BglPosition& p : positions)
        if (p.type != 13) ++sameId[{p.name, p.number}];
    std::size_t count = 0;
    for (const auto& [id, number] : sameId) count += std::min<std::size_t>(number, 7);
    return count;
}

static std::string noise(std::size_t bytes, Chance& chance) {
    std::string text(bytes, '\0');
    for (char& c : text) c = static_cast<char>(chance.below(256));
    return text;
}

SceneryWriter::SceneryWriter(FleetWriter& writer, const RefTables& refTables, fs::path ownPackages,
                             std::size_t least, Chance& chanceOf)
    : out(writer), tables(refTables), official(std::move(ownPackages)), leastBytes(least), chance(chanceOf),
      places(readSceneryPlaces()) {
    chance.shuffle(places);
    // The simulator's own extra airports are met there, and nowhere else.
    std::stable_partition(places.begin(), places.end(), [&](const SceneryPlace& place) {
        return std::find(tables.simaddons.begin(), tables.simaddons.end(), place.code) !=
               tables.simaddons.end();
    });
}

void SceneryWriter::file(const fs::path& path, std::string bytes) {
    if (bytes.size() < leastBytes) bytes.resize(leastBytes, '\x7F');
    FleetWriter::file(path, bytes);
    ++out.summary.sceneryFiles;
}

void SceneryWriter::airportFile(const fs::path& path, const SceneryPlace& place,
                                const std::string& publisher) {
    constexpr double mmPerFoot = 304.8;
    constexpr std::uint32_t names = 0x13, models = 0x2B, objects = 0x25; // section types
    BglAirport airport;
    airport.ident = place.code;
    airport.altitudeMm = static_cast<std::uint32_t>(std::llround(place.elevationFt * mmPerFoot));
    for (std::size_t i = chance.below(3); i > 0; --i) {
        const BglPosition at = positionAt(place, -100 * static_cast<double>(i), 200);
        airport.helipads.push_back({at.lat, at.lon, 12 + static_cast<float>(i)});
    }
    airport.positions = positionsOf(place, chance);
    airport.otherParts = 1 + chance.below(30);
    std::vector<BglSection> sections{{3, 1, {bglAirport(airport)}},
                                     {names, 1, {bglRecord(0x19, noise(54, chance))}},
                                     {models, 1, {noise(200 + chance.below(3000), chance)}},
                                     {objects, 1, {noise(400 + chance.below(3000) / 4 * 4, chance)}}};
    std::rotate(sections.begin(), sections.begin() + static_cast<std::ptrdiff_t>(chance.below(3)),
                sections.end());
    std::swap(sections.front(), sections[chance.below(2)]);
    for (BglSection& section : sections) // records start on whole words
        for (std::string& subsection : section.subsections)
            if (&section != &sections.back()) subsection.resize((subsection.size() + 3) / 4 * 4);
    file(path, bglFile(sections, noise(chance.below(7), chance)));
    out.summary.airports.push_back(
        {path, place.code, publisher, standsOf(airport.positions) + airport.helipads.size()});
}

// In six ways, one after the other.
SceneryWriter::Publisher SceneryWriter::publisherOf(std::size_t number, const SceneryPlace& place) {
    const std::string code = lowerCase(place.code), title = place.code + " airport";
    std::vector<std::vector<std::string>> known;
    for (const auto& names : tables.publishers)
        if (names.front() != "simaddon") known.push_back(names);
    const bool nobody = known.empty();
    const auto& names = nobody ? tables.publishers.front() : chance.of(known);
    std::string written = chance.of(names);
    if (chance.percent(50)) written[0] = static_cast<char>(std::toupper(written[0]));
    switch (nobody ? 3 + number % 2 : number % 6) {
    case 0: return {fmt::format("{}-airport-{}", written, code), names.front(), manifestText(title, "", "")};
    case 1: return {"airport-" + code, names.front(), manifestText(title, written + " Ltd", "someone")};
    case 2: return {"airport-" + code, names.front(), manifestText(title, "someone", written)};
    case 3: return {"handmade-" + code, "unknown", manifestText(title, "Somebody", "Somebody Else")};
    case 4: return {code, "unknown", ""};
    default: return {"scenery-of-" + code, names.front(), manifestText(title, written, ""), true};
    }
}

void SceneryWriter::writeOfficial(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const SceneryPlace& place = places[nextPlace++];
        const fs::path package =
            official /
            fmt::format("{}-airport-{}-city", i % 2 == 0 ? "microsoft" : "Asobo", lowerCase(place.code));
        FleetWriter::file(package / "manifest.json", manifestText(place.code, "Asobo Studio", "Microsoft"));
        airportFile(package / "scenery" / "world" / "scenery" / (lowerCase(place.code) + ".bgl"), place,
                    "simaddon");
    }
}

void SceneryWriter::writePackages(std::size_t count) {
    constexpr std::size_t others = 9; // files without an airport, of each package
    constexpr std::uint32_t shapes = 0x65;
    const std::size_t own = official.empty() ? 0 : count / 4;
    if (count > places.size()) throw std::runtime_error("there are not so many airports in the directory");
    writeOfficial(own);
    for (std::size_t i = own; i < count; ++i) {
        const SceneryPlace& place = places[nextPlace++];
        const Publisher publisher = publisherOf(i, place);
        const fs::path package = out.summary.packages / "Community" / publisher.package,
                       scenery = package / "scenery" / (chance.percent(50) ? "world/scenery" : "");
        if (!publisher.manifest.empty())
            FleetWriter::file((publisher.deep ? package / "scenery" : package) / "manifest.json",
                              publisher.manifest);
        airportFile(scenery / (chance.percent(50) ? place.code + ".bgl" : "objects.BGL"), place,
                    publisher.name);
        for (std::size_t n = 0; n < others; ++n)
            file(scenery / fmt::format("CVX{:04}.BGL", n),
                 bglFile({{shapes, 1, {noise(100 + chance.below(500), chance)}}}));
    }
}

} // namespace rig

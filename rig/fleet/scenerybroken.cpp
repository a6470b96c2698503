// Scenery files with one defect each, as they are met, and with what a reader of files must expect besides.

#include "fleet/bgl.h"
#include "fleet/parts.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <limits>
#include <stdexcept>

namespace fs = std::filesystem;

namespace rig {

static std::vector<BglPosition> gates(std::size_t count) {
    std::vector<BglPosition> positions;
    for (std::size_t i = 0; i < count; ++i) {
        BglPosition p;
        p.name = 10;
        p.number = static_cast<int>(i + 1);
        p.lon += 0.001 * static_cast<double>(i);
        positions.push_back(p);
    }
    return positions;
}

static BglAirport airportOf(const std::string& ident, std::size_t stands) {
    BglAirport airport;
    airport.ident = ident;
    airport.positions = gates(stands);
    return airport;
}

static std::string fileOf(const std::string& records, const std::string& tail = "") {
    return bglFile({{3, 1, {records}}}, tail);
}

// Each in a file of its own in the package, with the airports that a scan finds in it.
void SceneryWriter::broken(const std::string& name, const std::string& bytes,
                           const std::vector<std::pair<std::string, std::size_t>>& airports, bool read) {
    const fs::path path = brokenFolder / name;
    FleetWriter::file(path, bytes);
    ++out.summary.sceneryFiles;
    for (const auto& [code, stands] : airports)
        out.summary.airports.push_back({path, code, "unknown", stands});
    if (!read) out.summary.notRead.push_back(path);
}

void SceneryWriter::writeBroken(std::size_t round) {
    if (round * 40 + 40 > 36 * 36) throw std::runtime_error("no more than 32 rounds of broken sceneries");
    std::size_t used = round * 40;
    const auto code = [&] { // codes that no directory holds
        constexpr const char* digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
        const std::string text = fmt::format("QX{}{}", digits[used / 36], digits[used % 36]);
        ++used;
        return text;
    };
    brokenFolder = out.summary.packages / "Community" / fmt::format("odd-scenery-{}", round) / "scenery";
    std::string a = code(), b = code();
    const bool is2020 = !official.empty();

    // What is in order, however odd.
    broken("two-airports.bgl", fileOf(bglAirport(airportOf(a, 2)) + bglAirport(airportOf(b, 3))),
           {{a, 2}, {b, 3}});
    a = code(), b = code();
    broken("two-subsections.bgl",
           bglFile({{3, 1, {bglAirport(airportOf(a, 2)), bglAirport(airportOf(b, 1))}}}), {{a, 2}, {b, 1}});
    a = code();
    broken("odd-size.bgl", fileOf(bglAirport(airportOf(a, 1)), "end"), {{a, 1}});
    a = code(), b = code();
    broken("short-identifiers.bgl",
           fileOf(bglAirport(airportOf("YBF", 2)) + bglAirport(airportOf(a, 2)) +
                  bglAirport(airportOf("QXABC", 2))),
           {{a, 2}});
    BglAirport below = airportOf(a = code(), 1), high = airportOf(b = code(), 1);
    below.altitudeMm = static_cast<std::uint32_t>(-2500);
    high.altitudeMm = 4'061'000;
    broken("altitudes.bgl", fileOf(bglAirport(below) + bglAirport(high)), {{a, 1}, {b, 1}});
    BglAirport equal = airportOf(a = code(), 9);
    for (BglPosition& p : equal.positions) p.number = 5;
    broken("one-name-for-all.bgl", fileOf(bglAirport(equal)), {{a, 7}});
    BglAirport airlines = airportOf(a = code(), 3);
    airlines.positions[0].airlineCodes = 255;
    airlines.positions[2].number = 4095;
    broken("airline-codes.bgl", fileOf(bglAirport(airlines)), {{a, 3}});
    BglAirport odd = airportOf(a = code(), 9);
    const float radii[] = {1, 200, 0, -1, std::numeric_limits<float>::quiet_NaN()};
    for (std::size_t i = 0; i < std::size(radii); ++i) odd.positions[i].radius = radii[i];
    odd.positions[5].lat = odd.positions[5].lon = 0;
    odd.positions[6].type = 0;
    odd.positions[7].heading = 0;
    odd.helipads = {{50, 8.1, 20}, {0, 0, 20}, {50, 8.1, 20}};
    odd.behind = bglHelipad({50, 8.2, 20});
    broken("positions-left-out.bgl", fileOf(bglAirport(odd)), {{a, 3}});
    a = code();
    broken("wide-entries.bgl", bglFile({{3, 0x10001, {bglAirport(airportOf(a, 1))}}}), {});
    broken("no-stands.bgl", fileOf(bglAirport(airportOf(code(), 0))), {});
    const std::string back = bglRecord(0x32, std::string(38, '\0'), -44);
    a = code();
    broken("backward-record.bgl",
           fileOf(bglAirport(airportOf(a, 1)) + back + bglAirport(airportOf(code(), 1))), {{a, 1}});
    BglAirport sizeless = airportOf(a = code(), 0);
    sizeless.helipads = {{50, 8, 20}};
    sizeless.behind = bglRecord(0x33, std::string(30, '\0'), 0) + bglParking(gates(2));
    broken("sizeless-part.bgl", fileOf(bglAirport(sizeless)), {{a, 1}});

    // The 2024 kind: with that simulator the file is read no further.
    a = code(), b = code();
    const std::string of2024 = bglRecord(0x113, std::string(94, '\x11'));
    broken("kind-of-2024.bgl", fileOf(bglAirport(airportOf(a, 2)) + of2024 + bglAirport(airportOf(b, 2))),
           is2020 ? std::vector<std::pair<std::string, std::size_t>>{{a, 2}, {b, 2}}
                  : std::vector<std::pair<std::string, std::size_t>>{{a, 2}},
           is2020);

    // What cannot be read, or not to its end.
    const std::string sound = fileOf(bglAirport(airportOf(code(), 4)));
    broken("cut-positions.bgl", sound.substr(0, sound.size() - 100), {}, false);
    broken("cut-airport.bgl", sound.substr(0, 56 + 20 + 16 + 60), {}, false);
    broken("cut-table.bgl", sound.substr(0, 80), {}, false);
    broken("empty.bgl", "", {});
    broken("head-alone.bgl", sound.substr(0, 56), {});
    broken("no-bgl.bgl", "This is a text with the name of a scenery.\n", {});
    std::string head = sound;
    head[4] = 20;
    broken("other-head.bgl", head, {});
    std::string many = sound;
    many.replace(20, 4, bglWord(0x7FFFFFFF));
    broken("too-many-sections.bgl", many, {});
    std::string wild = sound;
    wild.replace(56 + 12, 4, bglWord(0xFFFFFFF0));
    broken("table-beyond-the-file.bgl", wild, {}, false);

    // What a scan does not look into.
    const std::string unseen = fileOf(bglAirport(airportOf(code(), 1)));
    for (const char* name : {"mixed-case.Bgl", "AFCAD Updates/seen.bgl", "statics/seen.bgl",
                             "my_heliports.bgl", "aircraft/seen.bgl", "bgl", "seen.bgl.off"})
        broken(name, unseen, {});
    a = code();
    broken("Aircraft/seen.BGL", fileOf(bglAirport(airportOf(a, 1))), {{a, 1}}); // the case matters
    // Packages whose manifest says nothing, and one that has none.
    const std::pair<const char*, const char*> manifests[] = {
        {"array", "[{\"manufacturer\": \"orbx\"}]"},
        {"number", "{\"manufacturer\": 12, \"creator\": null}"},
        {"cut", "{\"manufacturer\": \"orb"},
        {"nested", "{\"x\": {\"manufacturer\": \"orbx\"}}"},
        {"blank", "{\"manufacturer\": \"\", \"creator\": \" \"}"}};
    for (const auto& [name, text] : manifests) {
        brokenFolder = out.summary.packages / "Community" / fmt::format("odd-manifest-{}-{}", name, round);
        FleetWriter::file(brokenFolder / "manifest.json", text);
        a = code();
        broken("seen.bgl", fileOf(bglAirport(airportOf(a, 1))), {{a, 1}});
    }
}

} // namespace rig

// The airport files of a download tree, by the program's own writer.

#include "airports/airports.h"
#include "app/geo.h"
#include "platform/files.h"
#include "refdata/stands.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <cmath>
#include <stdexcept>

namespace rig {

// The road by which the program asks for a file of this kind, in both editions of the simulator.
static std::filesystem::path stockFile(const std::string& code) {
    return std::filesystem::path("MSFS") / "archive" / "stock" / (code + ".xml");
}

// The writer notes the time at which it writes; the same table is to give the same file.
static void noteDate(const std::filesystem::path& path, const std::string& date) {
    pugi::xml_document document;
    if (!document.load_file(path.c_str()))
        throw std::runtime_error(fmt::format("cannot read \"{}\"", plat::pathText(path)));
    auto note = document.child("meta").find_child_by_attribute("info", "name", "date");
    note.attribute("value") = date.c_str();
    if (!note || !document.save_file(path.c_str()))
        throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(path)));
}

void writeAirportFiles(const std::vector<StandTable>& airports, const std::filesystem::path& tree) {
    constexpr int asGenerated = 1; // all that is known of each stand, and nothing learned
    for (const auto& table : airports) {
        AirportFile airport;
        airport.code = table.code;
        airport.airportName = table.name;
        airport.publisher = "stock";
        airport.altitude = static_cast<std::int32_t>(std::lround(table.elevationFt));
        for (const auto& row : table.stands) {
            Stand& stand = airport.stands.emplace_back();
            stand.id = row.id;
            stand.lat = row.lat;
            stand.lon = row.lon;
            stand.heading = row.heading * degToRad;
            stand.radius = row.radiusM / metersPerNm;
            stand.cargo = row.cargo;
            stand.ramp = row.ramp;
            stand.heli = row.heli;
            stand.seq = static_cast<std::int32_t>(airport.stands.size());
        }
        const auto path = tree / stockFile(table.code);
        std::filesystem::create_directories(path.parent_path());
        if (!gf_writeAirportFile(airport, path, asGenerated))
            throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(path)));
        if (!table.date.empty()) noteDate(path, table.date);
    }
}

} // namespace rig

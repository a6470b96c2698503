// The airport of a replay. No state.

#include "replay/place.h"

#include "airports/airports.h"
#include "feed/generator.h"
#include "files.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace rig {

namespace {

namespace fs = std::filesystem;

// The table of one airport out of a folder, or the folder itself.
fs::path narrowed(const fs::path& tables, const std::string& code) {
    for (const char* ending : {".csv", ".csv.gz"})
        if (const fs::path one = tables / (code + ending); fs::is_directory(tables) && fs::exists(one))
            return one;
    return tables;
}

bool readFrom(const fs::path& tables, const std::string& code, StandTable& result) {
    StandTables read = readStandTables(tables, sourceFolder() / "install/input");
    const auto found = std::find_if(read.airports.begin(), read.airports.end(),
                                    [&](const StandTable& airport) { return airport.code == code; });
    if (found == read.airports.end()) return false;
    result = std::move(*found);
    return true;
}

} // namespace

StandTable findReplayAirport(const std::string& code, const fs::path& tables) {
    StandTable airport;
    if (!tables.empty()) {
        if (readFrom(narrowed(tables, code), code, airport)) return airport;
        throw std::runtime_error(
            fmt::format("--stands \"{}\" has no stands of \"{}\"", plat::pathText(tables), code));
    }
    for (const fs::path& folder : {sharedFolder() / "refdata/stands", sourceFolder() / "rig/airports"})
        if (const fs::path table = narrowed(folder, code); table != folder && readFrom(table, code, airport))
            return airport;
    const KnownAirport* known = findKnownAirport(code);
    if (!known)
        throw std::runtime_error("--airport \"" + code +
                                 "\" has no table of stands and is unknown; known: " + knownAirportCodes());
    airport.code = known->code;
    airport.lat = known->lat;
    airport.lon = known->lon;
    airport.elevationFt = known->elevationFt;
    return airport;
}

void placeNorthOf(const StandTable& airport, double nm, double& lat, double& lon) {
    lat = airport.lat;
    lon = airport.lon;
    const auto north = std::max_element(airport.stands.begin(), airport.stands.end(),
                                        [](const StandRow& a, const StandRow& b) { return a.lat < b.lat; });
    if (north != airport.stands.end()) {
        lat = north->lat;
        lon = north->lon;
    }
    constexpr double nmPerDegree = 60;
    lat += nm / nmPerDegree;
}

} // namespace rig

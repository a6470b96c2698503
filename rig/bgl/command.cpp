// rig bgl: what the program's own decoder makes of a compiled scenery file, for people who look into one.

#include "airportscan/bgl.h"
#include "app/geo.h"
#include "options.h"
#include "platform/files.h"
#include "rig.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <stdexcept>

namespace rig {

static constexpr const char* usage = R"(usage: rig bgl FILE... [options]
What the program's decoder makes of BGL files: airports with their stands, then the lines for the scan log.
  --edition 2020|2024  which simulator is selected (2020)
  --json               as JSON, an object a line
No publisher is looked for: each airport counts as one that no archive holds.
)";

static BglFindings decode(const std::filesystem::path& path, bool is2020) {
    BglFile file(path);
    WordBuffer buffer;
    const auto words = file.read(buffer);
    if (!words) throw std::runtime_error(fmt::format("can't read \"{}\"", plat::pathText(path)));
    return gf_decodeBgl(*words, plat::pathText(path),
                        {is2020, [](AirportFile&, std::vector<std::string>&) { return AirportIdentity{}; }});
}

static void printJson(const std::string& path, const BglFindings& findings) {
    nlohmann::ordered_json json;
    json["file"] = path;
    json["airports"] = nlohmann::ordered_json::array();
    for (const FoundAirport& airport : findings.airports) {
        nlohmann::ordered_json stands = nlohmann::ordered_json::array();
        for (const Stand& stand : airport.file.stands)
            stands.push_back({{"id", stand.id},
                              {"lat", stand.lat},
                              {"lon", stand.lon},
                              {"heading_deg", stand.heading * radToDeg},
                              {"radius_m", stand.radius * metersPerNm},
                              {"ramp", stand.ramp},
                              {"cargo", stand.cargo},
                              {"heli", stand.heli}});
        json["airports"].push_back({{"code", airport.file.code},
                                    {"altitude_ft", airport.file.altitude},
                                    {"stands", std::move(stands)}});
    }
    json["not_recognised"] = findings.notRecognised;
    json["failure"] = findings.failure;
    json["log"] = findings.lines;
    // What is not UTF-8 in a path is shown as a replacement.
    fmt::print("{}\n", json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

static void printTable(const std::string& path, const BglFindings& findings) {
    fmt::print("{}\n", path);
    for (const FoundAirport& airport : findings.airports) {
        const auto& stands = airport.file.stands;
        fmt::print("\n{}  altitude {} ft, {} stand{}\n", airport.file.code, airport.file.altitude,
                   stands.size(), stands.size() == 1 ? "" : "s");
        if (!stands.empty())
            fmt::print("  {:10} {:>11} {:>12} {:>9} {:>8}\n", "id", "latitude", "longitude", "heading",
                       "radius m");
        for (const Stand& stand : stands)
            fmt::print("  {:10} {:11.6f} {:12.6f} {:9.1f} {:8.1f} {}{}{}\n", stand.id, stand.lat, stand.lon,
                       stand.heading * radToDeg, stand.radius * metersPerNm, stand.ramp ? " ramp" : "",
                       stand.cargo ? " cargo" : "", stand.heli ? " heli" : "");
    }
    if (findings.airports.empty()) fmt::print("\nno airport\n");
    if (findings.notRecognised) fmt::print("\nan airport of the 2024 kind, which is not read\n");
    if (!findings.failure.empty()) fmt::print("\nnot read to its end: {}\n", findings.failure);
    if (!findings.lines.empty()) fmt::print("\nlog:\n");
    for (const std::string& line : findings.lines) fmt::print("  {}\n", line);
}

int runBgl(const std::vector<std::string>& arguments) {
    const Options options(arguments, {"edition"}, {"json", "help"});
    if (options.has("help") || options.rest.empty()) {
        fmt::print(options.has("help") ? stdout : stderr, "{}", usage);
        return options.has("help") ? 0 : 2;
    }
    const std::string edition = options.text("edition", "2020");
    if (edition != "2020" && edition != "2024") throw std::runtime_error("--edition is 2020 or 2024");
    for (const std::string& path : options.rest) {
        const BglFindings findings = decode(plat::textPath(path), edition == "2020");
        options.has("json") ? printJson(path, findings) : printTable(path, findings);
    }
    return 0;
}

} // namespace rig

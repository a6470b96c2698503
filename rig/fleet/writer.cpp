// The installation around the liveries: the folders of each form, the simulator's settings file, the packages.

#include "app/parameters.h"
#include "fleet/parts.h"
#include "platform/files.h"
#include "simlink/simlink.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>

namespace fs = std::filesystem;

namespace rig {

// ---- files -----------------------------------------------------------------------------------------------------

void FleetWriter::file(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    out.close();
    if (!out) throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(path)));
}

static const char* packageName(Family family, bool is2020) {
    switch (family) {
    case Family::aig: return is2020 ? "aig-aitraffic-oci-beta" : "aig-aitraffic-oci";
    case Family::fsltl: return "fsltl-traffic-base";
    case Family::jf: return is2020 ? "justflight-aircraft-traffic-fleet-1" : "justflight-fstraffic-module";
    case Family::user:
    case Family::ivao: return "user-aitraffic";
    }
    return "";
}

FleetWriter::FleetWriter(fs::path root, bool is2020) {
    summary.packages = std::move(root);
    for (const Family family : {Family::aig, Family::fsltl, Family::jf, Family::user, Family::ivao}) {
        auto& path = packages[static_cast<std::size_t>(family)];
        path = summary.packages / "Community" / packageName(family, is2020);
        fs::create_directories(path);
        file(path / "manifest.json",
             fmt::format(
                 "{{\n  \"dependencies\": [],\n  \"content_type\": \"AIRCRAFT\",\n  \"title\": \"{}\",\n"
                 "  \"creator\": \"rig fleet\",\n  \"package_version\": \"1.0.0\"\n}}\n",
                 packageName(family, is2020)));
    }
}

const fs::path& FleetWriter::package(Family family) const {
    return packages[static_cast<std::size_t>(family)];
}

fs::path FleetWriter::airplanes(Family family) const {
    // The pack for one network comes under either of two names.
    return package(family) / (family == Family::ivao ? "ivao_x-csl" : "") / "SimObjects" / "Airplanes";
}

void FleetWriter::cfg(const fs::path& folder, const std::string& bytes, std::size_t sections,
                      const char* name) {
    file(folder / name, bytes);
    ++summary.files;
    summary.sections += sections;
}

// ---- sound liveries --------------------------------------------------------------------------------------------

// Few repaints a file here, a whole fleet there, as the families do.
static std::size_t liveriesPerFile(Family family, Chance& chance) {
    switch (family) {
    case Family::aig: return 1 + chance.below(7);
    case Family::fsltl: return 1 + chance.below(2);
    case Family::jf: return 10 + chance.below(31);
    case Family::user: return 1 + chance.below(3);
    case Family::ivao: return 3 + chance.below(8);
    }
    return 1;
}

static std::string folderName(Family family, const PlannedLivery& first, std::size_t number) {
    const std::string airline = first.airline.empty() ? "ZZZZ" : first.airline;
    switch (family) {
    case Family::aig: return fmt::format("AIGAIM_{}_{}_{}", airline, first.type, number);
    case Family::fsltl: return fmt::format("FSLTL_{}_{}_{}", first.type, airline, number);
    case Family::jf: return fmt::format("JF_{}_{}", first.type, number);
    case Family::user: return fmt::format("{} {}", first.type, number);
    case Family::ivao: return "IVAO_" + first.type; // the model is read from it
    }
    return "";
}

static void writeLiveries(FleetWriter& out, std::vector<PlannedLivery> liveries, Chance& chance) {
    std::map<std::pair<Family, std::string>, std::vector<PlannedLivery>> groups; // family and type
    for (auto& livery : liveries) {
        out.titles.insert(livery.title);
        groups[{livery.family, livery.type}].push_back(std::move(livery));
    }
    std::size_t number = 0;
    for (const auto& [key, group] : groups) {
        const Family family = key.first;
        for (std::size_t at = 0; at < group.size();) {
            const std::size_t count = family == Family::ivao
                                          ? group.size() // one folder for each model
                                          : std::min(liveriesPerFile(family, chance), group.size() - at);
            const std::vector<PlannedLivery> part(group.begin() + static_cast<std::ptrdiff_t>(at),
                                                  group.begin() + static_cast<std::ptrdiff_t>(at + count));
            const fs::path folder = out.airplanes(family) / folderName(family, part.front(), ++number);
            constexpr const char* names[] = {"aircraft.cfg", "aircraft.CFG", "Aircraft.cfg"};
            out.cfg(folder, cfgText(part, chance), count, chance.percent(90) ? names[0] : chance.of(names));
            if (family == Family::ivao)
                for (const auto& livery : part)
                    fs::create_directories(folder / ("texture." + livery.airline));
            at += count;
        }
    }
    out.summary.liveries += liveries.size();
}

// ---- the installation ------------------------------------------------------------------------------------------

namespace {
struct Place {
    fs::path packages, userCfg; // the latter empty for none
    const char* distributor;    // below the simulator's own packages folder
};
} // namespace

static Place placeOf(const FleetOptions& options) {
    const fs::path roaming = options.folder / "config" / gf_simFolderName(), local = options.folder / "data";
    const fs::path drive = options.folder / "drive" / "MSFS";
    const fs::path cache = local / "Packages" / gf_simPackageId() / "LocalCache";
    const fs::path dashboard =
        local / "Packages" / "Microsoft.FlightDashboard_8wekyb3d8bbwe" / "LocalCache" / "UserCfg.opt";
    switch (options.form) {
    case FleetForm::steam: return {roaming / "Packages", "", "Steam"};
    case FleetForm::store: return {cache / "Packages", cache / "UserCfg.opt", "OneStore"};
    case FleetForm::drive: return {drive, roaming / "UserCfg.opt", "Steam"};
    case FleetForm::dashboard: return {drive, dashboard, "Steam"};
    case FleetForm::boxed: return {drive, local / "MSFSPackages" / "UserCfg.opt", "OneStore"};
    }
    return {};
}

static std::string userCfgText(const fs::path& packages) {
    std::string text;
    for (const char* line : {"Version 66", "{Graphics", "\tVersion 1.1.0", "\t{Video", "\t\tFullscreen 0",
                             "\t\tResolution 1920 1080", "\t}", "}", "{Traffic", "\tAircraft 0", "}"})
        (text += line) += "\r\n";
    return text + fmt::format("InstalledPackagesPath \"{}\"\r\n", plat::pathText(packages));
}

FleetSummary writeFleet(const RefTables& tables, const FleetOptions& wanted) {
    FleetOptions options = wanted;
    options.folder = fs::absolute(options.folder);
    // The folders' names are those that the program looks for; its setting is put back.
    const bool before = MSFS_2020.value;
    MSFS_2020.value = options.is2020;
    const Place place = placeOf(options);
    const char* const own = gf_ownPackagesFolder();
    MSFS_2020.value = before;
    if (fs::exists(place.packages))
        throw std::runtime_error(fmt::format("\"{}\" is there already", plat::pathText(place.packages)));

    Chance chance(options.seed);
    FleetWriter out(place.packages, options.is2020);
    for (const char* package : {"fs-base", "fs-base-genericairports"})
        fs::create_directories(place.packages / own / place.distributor / package);
    if (!place.userCfg.empty()) FleetWriter::file(place.userCfg, userCfgText(place.packages));
    writeLiveries(out, planLiveries(tables, options.liveries, chance), chance);
    for (std::size_t round = 0; round < options.brokenRounds; ++round) writeBroken(out, tables, round);
    if (options.sceneries > 0) {
        SceneryWriter sceneries(out, tables,
                                options.is2020 ? place.packages / own / place.distributor : fs::path(),
                                options.sceneryBytes, chance);
        sceneries.writePackages(options.sceneries);
        for (std::size_t round = 0; round < options.brokenRounds; ++round) sceneries.writeBroken(round);
    }

    std::string titles;
    for (const auto& title : out.titles) (titles += title) += '\n';
    FleetWriter::file(options.folder / "titles.txt", titles);
    return out.summary;
}

} // namespace rig

// Where the selected simulator keeps its packages: found without help at the start of a run, on the worker, or typed
// by the user, on the thread of the message loop. The found place lives in its parameter alone.

#include "app/app.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "platform/files.h"
#include "platform/process.h"
#include "simlink/simlink.h"

#include <fmt/format.h>

#include <iterator>

namespace fs = std::filesystem;

static constexpr std::string_view communityFolder = "Community";

StringParameter& gf_installPathParameter() { return MSFS_2020 ? MSFS_INSTALL_PATH : MSFS_2024_INSTALL_PATH; }

const char* gf_simPackageId() {
    return MSFS_2020 ? "Microsoft.FlightSimulator_8wekyb3d8bbwe" : "Microsoft.Limitless_8wekyb3d8bbwe";
}

const char* gf_simFolderName() {
    return MSFS_2020 ? "Microsoft Flight Simulator" : "Microsoft Flight Simulator 2024";
}

const char* gf_ownPackagesFolder() { return MSFS_2020 ? "Official" : "Official2024"; }

fs::path gf_simSubFolder(std::string_view name) {
    return plat::textPath(gf_installPathParameter().value()) / plat::textPath(name);
}

bool gf_isPackagesFolder(const fs::path& path) {
    return !path.empty() && fs::exists(path) && fs::exists(path / communityFolder) &&
           fs::exists(path / gf_ownPackagesFolder());
}

// ---- the search ------------------------------------------------------------------------------------------------

static fs::path lf_localData() {
    const fs::path path = plat::localDataFolder();
    if (path.empty()) gf_logLine("Could not find the a Local Appdata path");
    return path;
}

static fs::path lf_roamingData() {
    const fs::path path = plat::roamingDataFolder();
    if (path.empty()) gf_logLine("Could not find the AppData path");
    return path;
}

static fs::path lf_steamPackages() {
    const fs::path path = lf_roamingData() / gf_simFolderName() / "Packages";
    if (!fs::exists(path)) return {};
    gf_logLine(fmt::format("Steam packages:{}", plat::pathText(path)));
    return path;
}

// The first of the known places that exists; the last one when none does.
static fs::path lf_userCfgPath() {
    const fs::path local = lf_localData(), roaming = lf_roamingData();
    const struct Candidate {
        fs::path path;
        const char* missing;
    } candidates[] = {
        {local / "Packages" / gf_simPackageId() / "LocalCache" / "UserCfg.opt", "no Store"},
        {roaming / gf_simFolderName() / "UserCfg.opt", "no Steam1"},
        {local / "Packages" / "Microsoft.FlightDashboard_8wekyb3d8bbwe" / "LocalCache" / "UserCfg.opt",
         "no Steam2"},
        {local / "MSFSPackages" / "UserCfg.opt", "no Boxed"},
    };
    for (const Candidate& c : candidates) {
        if (fs::exists(c.path)) return c.path;
        gf_logLine(fmt::format("MSFS detection, {}:{}", c.missing, plat::pathText(c.path)));
    }
    return std::end(candidates)[-1].path;
}

// Without a quote the whole line; else what the first two quotes enclose, "" when there is no second one.
static std::string_view gf_quotedPart(std::string_view line) {
    const auto first = line.find('"');
    if (first == line.npos) return line;
    const auto second = line.find('"', first + 1);
    return second == line.npos ? std::string_view() : line.substr(first + 1, second - first - 1);
}

static fs::path lf_packagesFromUserCfg() {
    const fs::path file = lf_userCfgPath();
    if (!fs::exists(file)) {
        gf_logLine("No UserCfg.opt found?");
        return {};
    }
    fs::path result;
    for (const std::string& line : gf_readLines(file).value_or(std::vector<std::string>())) {
        if (line.find("InstalledPackagesPath") == line.npos) continue;
        result = plat::textPath(gf_quotedPart(line));
        break; // the first such line alone counts
    }
    if (!fs::exists(result)) result.clear();
    gf_logLine(fmt::format("UserCfg.opt: InstalledPackagesPath={}",
                           result.empty() ? "???" : plat::pathText(result)));
    return result;
}

fs::path gf_findPackagesPath() {
    for (const auto& road : {lf_steamPackages, lf_packagesFromUserCfg})
        if (const fs::path path = road(); gf_isPackagesFolder(path)) return path;
    return {};
}

// ---- what the user types ---------------------------------------------------------------------------------------

// The text without its Community folder, as the parameter keeps it; "" when no Community folder is meant.
static std::string lf_packagesOfTyped(const std::string& text, const fs::path& path) {
    if (path.stem() != communityFolder) return fs::exists(path / communityFolder) ? text : "";
    const auto at = text.find(communityFolder);
    const std::string shortened = at == 0 || at == text.npos ? "" : text.substr(0, at - 1);
    return fs::exists(plat::textPath(shortened) / communityFolder) ? shortened : "";
}

void lf_newSimPath(StringParameter& parameter, const std::string& text) {
    constexpr std::int32_t restartSeconds = 3;
    gf_clearError();
    gf_clearMessage();
    if (text.empty()) {
        if (!parameter.value().empty()) gf_setAndSave(parameter, "");
        return;
    }
    const fs::path path = plat::textPath(text);
    if (!fs::exists(path)) {
        gf_showMessage(fmt::format("This install path does not exist: {}", text), true);
        return;
    }
    const std::string packages = lf_packagesOfTyped(text, path);
    if (packages.empty()) {
        gf_showMessage("This path exists but is not a path to Community ...", true);
        return;
    }
    gf_setAndSave(parameter, packages);
    gf_showMessage(fmt::format("Community path found, {} will restart ...", programName), true);
    gf_requestStop(RunState::newSettings, restartSeconds);
}

// The scan of the installed liveries: which folders, in which order of priority, and what becomes of the findings. The
// search through a folder is the business of scan.h. Worker, in the start sequence; a stop ends it between any two
// folders, and leaves neither a file nor a cleared request, so that the next start scans again.

#include "liveries/building.h"

#include "app/app.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "liveries/regcodes.h"
#include "liveries/scan.h"
#include "platform/files.h"
#include "simlink/simlink.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <system_error>
#include <tuple>

constexpr int errorNothingAutomatic = 43, errorNoFolder = 48, errorNothingFound = 53;

// ---- the folders -------------------------------------------------------------------------------------------------

struct TrafficFamily { // of AI packages, told by a part of the folder's path
    const char* name;
    std::vector<const char*> keys; // in the order tried
};

static const TrafficFamily& lf_family(char initial) {
    static const TrafficFamily aig2020{"AIG", {"aig-aitraffic-oci-beta", "aig-aitraffic-oci"}},
        aig2024{"AIG", {"aig-aitraffic-oci"}}, fsltl{"FSLTL", {"fsltl-traffic-base"}},
        justFlight{"JF", {"justflight-aircraft-traffic-fleet", "justflight-fstraffic-module"}},
        user{"user-aitraffic", {"user-aitraffic"}};
    switch (initial) {
    case 'A': return MSFS_2020 ? aig2020 : aig2024;
    case 'F': return fsltl;
    case 'J': return justFlight;
    default: return user;
    }
}

static bool lf_belongsTo(const TrafficFamily& family, const std::string& path) {
    if (path.find("_CVT_") != std::string::npos) return false;
    return std::any_of(family.keys.begin(), family.keys.end(),
                       [&](const char* key) { return path.find(key) != std::string::npos; });
}

// Sorted, so that the same packages give the same folders everywhere. A folder that cannot be read has none.
static std::vector<std::filesystem::path> lf_entriesOf(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> entries;
    std::error_code error;
    for (std::filesystem::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
        entries.push_back(i->path());
    std::sort(entries.begin(), entries.end());
    return entries;
}

std::vector<std::filesystem::path> gf_automaticFolders() {
    // By AI_PACKAGE_ORDER, from 1 on. The user's own packages come last in each.
    static const char* const orders[] = {"AFJU", "AJFU", "FAJU", "FJAU", "JAFU", "JFAU"};
    std::vector<std::filesystem::path> found;
    const std::filesystem::path community = gf_simSubFolder("Community");
    if (community.empty()) return found;
    const auto entries = lf_entriesOf(community);
    for (const char* initial = orders[AI_PACKAGE_ORDER.value - 1]; *initial; ++initial) {
        const TrafficFamily& family = lf_family(*initial);
        const auto entry = std::find_if(entries.begin(), entries.end(), [&](const auto& path) {
            return lf_belongsTo(family, plat::pathText(path));
        });
        if (entry == entries.end()) continue;
        gf_logLine(
            fmt::format("Automatic {} scan found folder: \"{}\"", family.name, plat::pathText(*entry)));
        found.push_back(*entry);
    }
    return found;
}

static std::vector<std::filesystem::path> lf_manualFolders() {
    std::vector<std::filesystem::path> folderList;
    for (const auto* parameter : {&lfolder0, &lfolder1, &lfolder2, &lfolder3, &lfolder4, &lfolder5, &lfolder6,
                                  &lfolder7, &lfolder8, &lfolder9}) {
        const std::string text = parameter->value();
        if (!text.empty()) folderList.push_back(plat::textPath(text));
    }
    if (folderList.empty())
        throw orvo::UserErrorException(errorNoFolder,
                                       "Set lfolder parameter(-s) to your liveries first, see Manual 5.1 (or "
                                       "check Liveries automatic)");
    return folderList;
}

// ---- the search --------------------------------------------------------------------------------------------------

static void lf_scanOneFolder(const std::filesystem::path& folder, std::int32_t& priority,
                             std::vector<Livery>& liveries) {
    constexpr std::int32_t lowestPriority = 10;
    if (folder.empty()) return;
    const std::string text = plat::pathText(folder);
    std::error_code error;
    const auto status = std::filesystem::status(folder, error);
    if (!std::filesystem::exists(status)) return gf_logLine(text + " does not exist, skipped!");
    if (!std::filesystem::is_directory(status)) return gf_logLine(text + " is not a folder name, skipped!");
    priority = std::min(priority + 1, lowestPriority);
    const std::size_t before = liveries.size();
    if (!gf_stopping()) gf_searchFolder(priority, folder, liveries);
    const std::size_t added = liveries.size() - before;
    if (liveries.empty())
        gf_logLine(fmt::format("No liveries {}", "found in " + text));
    else
        gf_logLine(fmt::format("{} liverie{} {}", added, added == 1 ? "" : "s", "found in " + text));
}

static void lf_dropLowerPriorities(std::vector<Livery>& liveries) {
    TextMap<TextMap<std::int32_t>> best; // airline, model
    for (const Livery& livery : liveries) {
        const auto place = best[livery.airl].try_emplace(livery.type, livery.priority).first;
        place->second = std::min(place->second, livery.priority);
    }
    std::erase_if(liveries, [&](const Livery& l) { return l.priority > best[l.airl][l.type]; });
}

static void lf_dropDoubles(std::vector<Livery>& liveries) {
    const auto same = [](const Livery& a, const Livery& b) {
        return std::tie(a.title, a.airl, a.type, a.atcid, a.cargo) ==
               std::tie(b.title, b.airl, b.type, b.atcid, b.cargo);
    };
    liveries.erase(std::unique(liveries.begin(), liveries.end(), same), liveries.end());
}

static void lf_writeLiveriesFile(const std::vector<Livery>& liveries) {
    pugi::xml_document document;
    gf_writeMeta(document);
    auto list = document.append_child("liveries");
    for (const Livery& livery : liveries) {
        auto element = list.append_child("liv");
        element.append_attribute("airl") = livery.airl.c_str();
        element.append_attribute("type") = livery.type.c_str();
        if (livery.cargo) element.append_attribute("cargo") = "true";
        element.append_attribute("title") = livery.title.c_str();
        if (!livery.atcid.empty()) element.append_attribute("atcid") = livery.atcid.c_str();
    }
    if (gf_saveXml(document, folders.scannedLiveries))
        gf_logLine(
            fmt::format("{} liveries in {}", liveries.size(), plat::pathText(folders.scannedLiveries)));
}

static void lf_forgetFormerScan() {
    std::error_code ignored;
    gf_clearScanLists();
    gf_deleteScanReports();
    std::filesystem::remove(folders.scannedLiveries, ignored);
    gf_readDontUseTitles();
}

static bool lf_foundNothing() {
    display.liveryCount = 0;
    gf_repaint(Band::status);
    gf_clearScanLists();
    gf_clearMessage();
    return false;
}

bool gf_runFolderScan(const std::vector<std::filesystem::path>& folderList) {
    std::vector<Livery> liveries;
    std::int32_t priority = 0;
    lf_forgetFormerScan();
    for (const auto& folder : folderList)
        if (!gf_stopping()) lf_scanOneFolder(folder, priority, liveries);
    if (gf_stopping()) { // what has been found is not all
        gf_clearScanLists();
        return true;
    }
    if (liveries.empty()) return lf_foundNothing();
    if (folderList.size() > 1) gf_logLine(fmt::format("{} in total", liveries.size()));
    for (Livery& livery : liveries) gf_checkLiveryCode(livery);
    if (LIG_PRIORITIZE) lf_dropLowerPriorities(liveries);
    lf_sortLiveries(liveries);
    lf_dropDoubles(liveries);
    lf_writeLiveriesFile(liveries);
    gf_writeScanReports();
    gf_clearScanLists();
    gf_clearMessage();
    return true;
}

// ---- the whole ---------------------------------------------------------------------------------------------------

static std::string lf_scanHeadline(std::string_view text) {
    return fmt::format("\n++++++++++++++++++++++++ liveries scan {} ++++++++++++++++++++++++++++++++", text);
}

bool lf_scanInstalledLiveries() {
    const bool automatic = LIG_AUTOMATIC.value;
    gf_setDisplayText(DisplayText::simLabel, MSFS_2020 ? "MSFS" : "MSFS2024");
    gf_repaint(Band::status);
    gf_showMessage(
        fmt::format("Scanning {} for liveries ...", LIG_PRIORITIZE && !automatic ? "prioritized " : ""),
        false);
    gf_logLine(lf_scanHeadline(automatic ? "automatic starts" : "manual starts"));
    const bool found = gf_runFolderScan(automatic ? gf_automaticFolders() : lf_manualFolders());
    if (gf_stopping()) return false;
    if (!found && automatic)
        throw orvo::UserErrorException(errorNothingAutomatic,
                                       "Automatic scan has not found any liveries, switch off automatic and "
                                       "set lfolder parameter(-s), Manual 5.1");
    if (!found) throw orvo::UserErrorException(errorNothingFound, "no liveries found");
    gf_setAndSave(SCAN_LIVERIES, appLife.newLiveriesRequest.isSet()); // asked for again just now
    gf_logLine(lf_scanHeadline("ends") + "\n");
    return true;
}

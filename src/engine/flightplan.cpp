// Flight plan files: a live aircraft that knows its route carries it inside the simulator, in a file without way
// points that lives as long as its object. Worker; never holds a lock over a file.

#include "engine/engine.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/files.h"

#include <filesystem>
#include <fmt/format.h>
#include <fstream>

namespace fs = std::filesystem;

static bool lf_exists(const fs::path& path) {
    std::error_code error;
    const bool there = fs::exists(path, error);
    if (error) throw fs::filesystem_error("exists", path, error);
    return there;
}

static bool lf_fliesIfr(AcCategory category) {
    return category == AcCategory::buzjets || category == AcCategory::large || category == AcCategory::heavy;
}

static fs::path lf_planPath(std::uint32_t objectId) {
    return folders.flightPlans / gf_planFileName(objectId);
}

std::string gf_planFileName(std::uint32_t objectId) { return fmt::format("{}.pln", objectId); }

bool gf_writeFlightPlan(const std::string& pathUtf8, const LiveAc& ac) {
    std::ofstream out(plat::textPath(pathUtf8), std::ios::binary | std::ios::trunc);
    if (!out) return false;
    // The stray quote behind the second line belongs to the format.
    out << fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<SimBase.Document Type=\"AceXML\" version=\"4,3\">\"\n"
                       "<FlightPlan.FlightPlan>\n"
                       "<FPType>{}</FPType>\n"
                       "<DepartureID>{}</DepartureID>\n"
                       "<DestinationID>{}</DestinationID>\n"
                       "</FlightPlan.FlightPlan>\n"
                       "</SimBase.Document>\n",
                       lf_fliesIfr(ac.category) ? "IFR" : "VFR", ac.origin, ac.destination);
    return static_cast<bool>(out.flush());
}

void lf_giveFlightPlan(LiveAc& ac) {
    if (ac.origin.empty() || ac.destination.empty()) return;
    const std::string path = plat::pathText(lf_planPath(ac.objectId));
    // The 2024 simulator is not given the file; it stands, and goes with the aircraft.
    ac.hasFlightPlan = gf_writeFlightPlan(path, ac) && (!MSFS_2020 || gf_setFlightPlan(ac.objectId, path));
    if (!ac.hasFlightPlan) gf_logAlert(fmt::format("{} creating a flight plan failed", lf_acLabel(ac)));
}

void lf_removeFlightPlan(const LiveAc& ac) {
    const fs::path path = lf_planPath(ac.objectId);
    if (!lf_exists(path)) return;
    std::error_code error;
    fs::remove(path, error);
    if (error) throw fs::filesystem_error("remove", path, error);
}

static void lf_makeFolder(const fs::path& path) {
    if (lf_exists(path)) return;
    std::error_code error;
    fs::create_directory(path, error);
    if (error) throw fs::filesystem_error("create_directory", path, error);
}

bool lf_makeFlightPlanFolder() {
    lf_makeFolder(folders.appData);
    lf_makeFolder(folders.flightPlans);
    return lf_exists(folders.flightPlans);
}

bool gf_removeFlightPlanFolder() {
    try {
        if (lf_exists(folders.flightPlans)) fs::remove_all(folders.flightPlans);
    } catch (const std::exception& e) {
        gf_logRaw(fmt::format("gf_removeFlightPlanFolder: {}", e.what())); // the run goes on closing
    }
    return !lf_exists(folders.flightPlans);
}

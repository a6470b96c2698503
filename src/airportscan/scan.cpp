// The scan of add-on airports as a whole: which folders, what of the last scan goes first, and what is left behind. The
// search through a folder is in search.cpp. Worker, in the start sequence.

#include "airportscan/airportscan.h"

#include "app/app.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "platform/files.h"
#include "platform/flush.h"
#include "simlink/simlink.h"

#include <fmt/format.h>

#include <system_error>

namespace fs = std::filesystem;

AirportScan airportScan;

static constexpr int errorFormerResults = 5;

static std::vector<fs::path> lf_packageFolders() {
    std::vector<fs::path> list;
    if (gf_installPathParameter().value().empty()) return list;
    if (MSFS_2020) list.push_back(gf_simSubFolder("Official"));
    list.push_back(gf_simSubFolder("Community"));
    return list;
}

// With MSFS 2024 the simaddon folder holds a data set that was downloaded.
static void lf_forgetFormerAirports() {
    try {
        if (MSFS_2020) lf_emptyFolder(folders.mySimaddon);
        lf_emptyFolder(folders.myThirdparty);
    } catch (const fs::filesystem_error& e) {
        throw orvo::UserErrorException(errorFormerResults, e.what());
    }
}

// What is for the user to look at; the program never reads it.
static void lf_forgetFormerReports() {
    std::error_code failed;
    fs::remove(folders.airportsScanLog, failed);
    try {
        if (fs::exists(folders.tblo)) lf_emptyFolder(folders.tblo);
    } catch (const fs::filesystem_error& e) {
        failed = e.code();
    }
    if (failed) gf_logLine(formerFilesLeft);
}

// True when it has found an airport.
static bool lf_runScan(const std::vector<fs::path>& list, ScanResults& results) {
    constexpr std::size_t usualLines = 2048;
    results.log.reserve(usualLines);
    airportScan.succeeded = false;
    airportScan.tbloCount = 0;
    for (const fs::path& folder : list)
        if (!gf_stopping()) lf_scanFolder(folder, results);
    results.writeGenerated();
    if (gf_writeReportLines(results.log, folders.airportsScanLog))
        gf_logLine(plat::pathText(folders.airportsScanLog) + " written");
    if (gf_stopping()) return false;
    gf_clearMessage();
    if (!lf_gatherForLearning()) results.complete = false;
    for (const auto& folder : {folders.mySimaddon, folders.myThirdparty, folders.tblo})
        plat::flushFilesOf(folder);
    if (airportScan.succeeded) gf_logLine("Airports scan successful");
    return airportScan.succeeded;
}

void lf_scanAirports() {
    gf_showMessage("Scanning for addon airports ...", false);
    gf_logLine(
        fmt::format("\n++++++++++++++++++++++++ airports scan {} starts +++++++++++++++++++++++++++++", ""));
    gf_readAirportNames();
    lf_forgetFormerAirports();
    lf_forgetFormerReports();
    ScanResults results;
    const bool found = lf_runScan(lf_packageFolders(), results);
    gf_clearAirportNames();
    if (gf_stopping()) return; // what has been found is not all
    if (!found) gf_showMessage("Warning: Scan has not found any add-on airports", true);
    if (!results.complete)
        gf_showMessage("Warning: Not all results of the scan could be written, the next start scans again",
                       true);
    // Or it was asked for again just now.
    gf_setAndSave(SCAN_AIRPORTS, !results.complete || appLife.newAirportsRequest.isSet());
    gf_logLine("-------------------------- airports scan ends    ----------------------------\n");
}

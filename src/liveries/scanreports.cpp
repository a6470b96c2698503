// The report files of the scan, its summary, and the check of a livery's codes against the registrations of the
// reference data. Worker.

#include "liveries/scan.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>

namespace fs = std::filesystem;

struct ReportKind {
    const char* fileName;
    bool error;          // its file lies in the folder of errors
    bool sorted;         // else in order of arrival
    const char* summary; // with the count, its plural's ending and the path
};
static constexpr std::array<ReportKind, scanReportCount> reportKinds{{
    {"InvalidAirlineCodes.txt", true, true, "{0} invalid airline code{1}, see {2}"},
    {"InvalidAircraftCodes.txt", true, true, "{0} invalid model code{1}, see {2}"},
    {"Fixes.txt", true, false, "{0} code fixes, see {2}"},
    {"InvalidAircraftCfgFiles.txt", true, true, "{0} invalid aircraft.cfg files, see {2}"},
    {"IncompleFltsimSections.txt", true, true, "{0} incomplete [fltsim.x] sections, see {2}"},
    {"AircraftCfgWithNoFltsimSection.txt", false, true, "{0} empty aircraft.cfg files, see {2}"},
    {"AirlineModelConversions.txt", false, false,
     "{0} liveries updated with real live data from dbase, see {2}"},
}};

fs::path gf_scanReportPath(ScanReport report) {
    const ReportKind& kind = reportKinds[static_cast<std::size_t>(report)];
    return (kind.error ? folders.errors : folders.info) / kind.fileName;
}

void gf_deleteScanReports() {
    const auto tell = [](const fs::path& path, const std::error_code& failed) {
        if (failed)
            gf_logLine(fmt::format("could not delete {}: {}", plat::pathText(path), failed.message()));
    };
    std::error_code failed;
    for (const auto& path :
         {gf_scanReportPath(ScanReport::emptyFile), folders.info / "LiveriesSkippedOnPriority.txt"}) {
        fs::remove(path, failed);
        tell(path, failed);
    }
    fs::remove_all(folders.errors, failed);
    tell(folders.errors, failed);
}

static void lf_logSummary(const char* headline, bool errors) {
    bool first = true;
    for (std::size_t i = 0; i < scanReportCount; ++i) {
        const std::size_t count = scanReports.lines[i].size();
        if (reportKinds[i].error != errors || count == 0) continue;
        if (first) gf_logLine(headline);
        first = false;
        gf_logLine(fmt::format(fmt::runtime(reportKinds[i].summary), count, count == 1 ? "" : "s",
                               plat::pathText(gf_scanReportPath(static_cast<ScanReport>(i)))));
    }
    if (first && errors) gf_logLine("\nNo errors");
}

void gf_writeScanReports() {
    for (std::size_t i = 0; i < scanReportCount; ++i) {
        auto& lines = scanReports.lines[i];
        if (lines.empty()) continue;
        if (reportKinds[i].sorted) std::sort(lines.begin(), lines.end());
        gf_writeReportLines(lines, gf_scanReportPath(static_cast<ScanReport>(i)));
    }
    lf_logSummary("\nErrors:", true);
    lf_logSummary("\nInformation:", false);
}

void gf_checkLiveryCode(Livery& livery) {
    const auto known = gf_lookupRegcode(livery.atcid);
    if (!known) return;
    auto& conversions = scanReports.lines[static_cast<std::size_t>(ScanReport::conversions)];
    const std::string& airline = known->opr.empty() ? known->airl : known->opr;
    if (livery.cargo != known->cargo)
        conversions.push_back(
            fmt::format("{:80} {} cargo {} => {}", livery.title, livery.atcid, livery.cargo, known->cargo));
    livery.cargo = known->cargo;
    // An empty field of the record says nothing.
    const auto replace = [&](std::string& field, const char* name, const std::string& value) {
        if (value.empty() || field == value) return;
        conversions.push_back(
            fmt::format("{:80} {} {} {} => {}", livery.title, livery.atcid, name, field, value));
        field = value;
    };
    replace(livery.airl, "airl", airline);
    replace(livery.type, "model", known->type);
}

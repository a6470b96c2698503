#pragma once
// The scan of the user's folders: every aircraft.cfg below them, read by a pool of workers, each acceptable
// [fltsim.x] section a livery, and report files on what cannot be accepted. Called by the worker before the main
// cycle; the walk and the collecting run on the calling thread, the reading on the pool.

#include "liveries/liveries.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Which report file a line belongs to, in the order of the summary.
enum class ScanReport {
    invalidAirline,
    invalidModel,
    fixes,
    invalidFile,
    incompleteSection,
    emptyFile,
    conversions
};
constexpr std::size_t scanReportCount = 7;

struct
    ScanReports { // of the scan under way; owner: liveries, worker (the pool's findings are merged in walk order)
    std::array<std::vector<std::string>, scanReportCount> lines;
};
extern ScanReports scanReports;
extern std::vector<std::string>
    dontUseTitles; // titles that must not become liveries; filled before the search

// Appends the liveries of a folder tree, in walk order whatever the timing. Ends early, with what it has, when a
// stop is requested.
void gf_searchFolder(std::int32_t priority, const std::filesystem::path& folder,
                     std::vector<Livery>& liveries);
void gf_checkLiveryCode(Livery& livery); // brings it in line with the registrations of the reference data
std::filesystem::path gf_scanReportPath(ScanReport report);
void gf_deleteScanReports(); // the files of the former scan
void gf_writeScanReports();  // each non-empty list to its file, and the summary to the log
void gf_clearScanLists();    // the reports, the used titles and dontUseTitles
// Of one file's bytes, for the fuzz target: nothing is read from the disk.
void gf_liveriesOfCfg(std::string_view bytes, const std::filesystem::path& path, std::int32_t priority,
                      std::vector<Livery>& liveries);

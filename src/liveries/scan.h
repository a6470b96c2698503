#pragma once
// The scan of the user's folders: every aircraft.cfg below them, read by a pool of workers, each acceptable
// [fltsim.x] section a livery, and report files on what cannot be accepted. Called by the worker before the main
// cycle; the walk and the collecting run on the calling thread, the reading on the pool.

#include "liveries/liveries.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
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

// Of the scan under way. Owner: liveries; worker. The pool's findings are merged in walk order.
struct ScanReports {
    std::array<std::vector<std::string>, scanReportCount> lines;
};
extern ScanReports scanReports;
extern std::vector<std::string>
    dontUseTitles;           // titles that must not become liveries; filled before the search
extern unsigned scanThreads; // of the pool; 0 (always, but for tests) as many as the machine runs at once

// Appends the liveries of a folder tree, in walk order whatever the timing; entries of a folder are sorted by their
// text's bytes. Of liveries with one title, in all searches since gf_clearScanLists, the first stands. Links to
// folders are followed, but not to where the search is or has been. Ends early, with what it has, when a stop is
// requested. What cannot be read is logged and passed over.
void gf_searchFolder(std::int32_t priority, const std::filesystem::path& folder,
                     std::vector<Livery>& liveries);
std::string
gf_fileOfTitle(std::string_view title); // its aircraft.cfg in the scan under way; for rig liveries

void gf_checkLiveryCode(Livery& livery); // brings it in line with the registrations of the reference data
std::filesystem::path gf_scanReportPath(ScanReport report);
void gf_deleteScanReports(); // the files of the former scan but the conversions, and the folder of errors
void gf_writeScanReports();  // each non-empty list to its file, and the summary to the log
void gf_clearScanLists();    // the reports, the used titles and dontUseTitles

// Of one file's bytes, as the search would for a file at that path. For the fuzz target: nothing is read from the disk,
// but that IVAO packages are looked through for their texture folders.
void gf_liveriesOfCfg(std::string_view bytes, const std::filesystem::path& path, std::int32_t priority,
                      std::vector<Livery>& liveries);

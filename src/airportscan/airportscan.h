#pragma once
// Add-on airports: the scan of the simulator's packages, once per start when SCAN_AIRPORTS asks for it, for sceneries
// that bring an airport. What it finds makes the program use the fitting airport file in place of the stock one: a link
// file for an airport whose prepared file lies on the server, a file made of the scenery itself for any other.

#include "airportscan/bgl.h"
#include "airportscan/publishers.h"
#include "platform/shared_values.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct AirportScan {                 // lives as long as the process; owner: airportscan; worker writes
    Relaxed<bool> succeeded;         // the last scan has made a link or a file
    Relaxed<std::int32_t> tbloCount; // airports that wait in TBLO to be sent in; the window shows it
};
extern AirportScan airportScan;

// ---- for run control (scan.cpp); worker, in the start sequence -----------------------------------------------------
// The whole scan. A stop ends it within a second or so; then, and when something could not be written, SCAN_AIRPORTS stays
// on, so that the next start scans again. Throws orvo::UserErrorException 5 when the airports of the last scan cannot be
// listed.
void lf_scanAirports();
void lf_countTblo(); // what lies there, for the window

// ---- of one file (identity.cpp); any thread ---------------------------------------------------------------------------
struct TbloEntry {
    std::string code, text;
};
struct GeneratedFile {       // of an airport that is to become one
    std::size_t airport = 0; // its place in the findings
    bool simaddon = false;
    std::string code, text; // of the whole file
    std::string line;       // for the scan log, once it is written
};
struct SceneryFindings : BglFindings {
    std::string pathText;
    std::vector<GeneratedFile> generated; // in file order, as far as they came
    std::optional<TbloEntry> tblo;        // of an airport that cannot be read
};

struct KnownPublisher {
    PublisherResult result;
    std::vector<std::string> lines; // that were told when it was found
};

// What is known of an airport of the file: the publisher, and where its prepared file is. Stores the publisher and the
// path in the record. The publisher is looked for once for each file, which `known` keeps.
class SceneryIdentity {
  public:
    explicit SceneryIdentity(std::string path) : pathText(std::move(path)) {}
    AirportIdentity lf_identifyAirport(AirportFile& airport, std::vector<std::string>& lines);
    // Of a file that holds an airport of a kind that cannot be read: which one it is by the names around it.
    void lf_notRecognised(SceneryFindings& findings);

  private:
    std::string pathText;
    std::optional<KnownPublisher> known;
};

// ---- the search (search.cpp); worker and its pool ------------------------------------------------------------------
bool lf_isExcludedPath(std::string_view pathText);
SceneryFindings lf_decodeBgl(const std::filesystem::path& path, WordBuffer& buffer); // throws nothing

// What the scan under way has found, in walk order.
struct ScanResults {
    std::vector<std::string> log; // lines for the scan log
    bool complete = true;         // all that was to be written is
    struct Generated {
        GeneratedFile file;
        std::size_t logPlace = 0; // its line
    };
    // To be written, by folder (simaddon or not) and code. One that comes again takes the place of the earlier one.
    std::map<std::pair<bool, std::string>, Generated> generated;

    void lf_scanLog(std::string line) { log.push_back(std::move(line)); }
    void take(SceneryFindings&& found); // writes the links and the entries in TBLO
    void toGenerate(GeneratedFile&& file);
    void writeGenerated(); // the rest, once all has been searched; nothing when a stop is under way

  private:
    // Notes in the log and above what could not be written; nothing of it stays.
    bool write(const std::string& text, const std::filesystem::path& path);
    std::string write(const GeneratedFile& file); // its line
};
void lf_scanFolder(const std::filesystem::path& folder, ScanResults& results);

// ---- offline learning (tblo.cpp); worker -----------------------------------------------------------------------------
void lf_emptyFolder(const std::filesystem::path& folder); // throws std::filesystem::filesystem_error
// Airports of third parties whose stock file has learned traffic are copied to TBLO. False when a copy failed.
bool lf_gatherForLearning();
inline constexpr const char* formerFilesLeft =
    "problems with removing previous files (maybe still open?)"; // a line of the log

#pragma once
// The installed liveries, and which of them an aircraft gets. Filled during the start sequence, read by the worker.

#include "liveries/refdata.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

struct AcBase;
struct LiveAc;
namespace pugi {
class xml_document;
}

struct Livery {
    std::string airl;  // ICAO airline code; "ZZZ" a generic livery of the model, "PVT" a private aircraft
    std::string type;  // ICAO model code
    std::string title; // by which the simulator creates the object
    std::string atcid; // registration of this livery, may be empty
    bool cargo = false;
    std::int32_t priority = 0; // 1 for the first scanned folder, up to 10; 0 when read from the file
};

struct TitleEntry {
    std::string title;
    bool cargo = false;
};
using Titles = std::vector<std::string_view>;
struct AirlineSimilar { // a model that an airline has no liveries of
    std::string_view model;
    const std::vector<std::string>* similar; // similar models that it has liveries of
};

// What is installed, and the look-ups that matching needs. Owner: liveries. Written by the worker before the main
// cycle, only read afterwards. airlineLiveries owns the title texts and does not move once it is built: every
// other member, and every aircraft, holds views of them. Lists stand in the order of airline, model, title.
struct LiveryStore {
    TextMap<TextMap<std::vector<TitleEntry>>> airlineLiveries;    // airline, model
    std::array<TextMap<TextMap<Titles>>, 2> liveryIndex;          // [cargo]: airline, model
    std::array<TextMap<Titles>, 2> modelLiveries;                 // [cargo]: model, over all airlines
    TextMap<std::string_view> regcodeTitles;                      // registration
    std::unordered_set<std::string_view, TextHash> specialTitles; // worn by their own registrations alone
    TextMap<std::vector<std::string>> similarWithLiveries;        // model: similar models that have liveries
    TextMap<std::vector<AirlineSimilar>> airlineSimilar;          // airline: by model, ascending
    std::set<std::vector<std::string>> similarLists;              // that those share
    std::vector<std::string> lightModelPool, buzjetModelPool, rotorModelPool;
    bool processed = false; // indexing has been done in this process
};
extern LiveryStore liveryStore;

// The store (scan, file, indexing) -------------------------------------------------------------------------------
void gf_scanLiveries(); // scans if SCAN_LIVERIES asks for it, then indexes. Throws orvo::UserErrorException
// The packages that an automatic scan takes, in the order of priority. For rig liveries.
std::vector<std::filesystem::path> gf_automaticFolders();
bool gf_runFolderScan(const std::vector<std::filesystem::path>& folders); // false: no livery found
void gf_readLiveriesFile(
    std::vector<Livery>& liveries); // "LiveriesScanned.xml"; throws orvo::UserErrorException
// Of a parsed document; appends, but for a livery without a title. For gf_readLiveriesFile and the fuzz target.
void gf_readLiveriesDocument(const pugi::xml_document& document, std::vector<Livery>& liveries);
void gf_processScannedLiveries(); // reads the file and builds the store, once per process
// The building alone, of any list, without the registration files; for tests and tools.
void gf_indexLiveries(std::vector<Livery> liveries);
// With hexidTitles and failedTitles, which speak of the same titles. The similar models stay: the first list of a
// model counts for the process.
void gf_clearLiveryStores();

// Matching; worker -------------------------------------------------------------------------------------------------
bool gf_titleForLiveAc(LiveAc& ac); // true when ac.title is set afterwards
// For static aircraft: may come with a title; takes the stand's cargo flag. True when ac.title is set afterwards.
bool gf_matchStaticLivery(AcBase& ac, bool standCargo, std::string_view standName);
std::string_view
gf_titleOfRegcode(std::string_view regcode); // the title registered for this aircraft; "" for none
std::size_t gf_randomIndex(std::size_t n);   // 0 when RANDOM is off or n is below 2
void gf_noteLiveryFailure(const AcBase& ac); // for the matching summary
void gf_writeMatchSummary();
void gf_logNoMatches(); // "No match found for:"
void gf_forgetNoMatches();

#pragma once
// The installed liveries, and which of them an aircraft gets. Filled during the start sequence, read by the worker.

#include "liveries/refdata.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct AcBase;

struct Livery {
    std::string airl;  // ICAO airline code; "ZZZ" a generic livery of the model, "PVT" a private aircraft
    std::string type;  // ICAO model code
    std::string title; // by which the simulator creates the object
    std::string atcid; // registration of this livery, may be empty
    bool cargo = false;
    std::int32_t priority = 0; // 1 for the first scanned folder, up to 10; 0 when read from the file
};

struct LiveryStore {             // owner: liveries; worker
    std::vector<Livery> scanned; // owns the titles; never changed while aircraft hold views of them
    TextMap<std::vector<std::string_view>> modelTitles;
    std::array<std::vector<std::string_view>, categoryCount> categoryTitles;
};
extern LiveryStore liveryStore;

void gf_scanLiveries(); // the store from "LiveriesScanned.xml"; shows the count
bool gf_readScannedLiveries(const std::string& pathUtf8, std::vector<Livery>& out); // the file alone
// Of a parsed document; appends. For gf_readScannedLiveries and the fuzz target.
void gf_readLiveriesDocument(const pugi::xml_document& document, std::vector<Livery>& out);
void gf_setLiveries(std::vector<Livery> liveries);
void gf_clearLiveryStores();
// Provisional: a title of the same type, else of the same category, that the simulator has not refused; "" when there
// is none, and the type then counts as one without a livery. The view stays valid until the stores are cleared.
std::string_view gf_titleForLiveAc(const AcBase& ac);
std::string_view
gf_titleOfRegcode(std::string_view regcode); // the title registered for this aircraft; "" for none
void gf_noteLiveryFailure(const AcBase& ac); // for the matching summary
void gf_logMatchingSummary();
void gf_logNoMatches(); // "No match found for:"
void gf_forgetNoMatches();

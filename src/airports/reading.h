#pragma once
// How an airport is read away from the worker: into a plain result that the worker takes over by move. Nothing here
// touches the park airport, a parameter or the window; what is to be told and set stands in the result, in its order.
// Called by the files of this folder, the scan of sceneries and the fuzz targets alone.

#include "airports/airports.h"

#include <functional>
#include <pugixml.hpp>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct BoolParameter;
struct IntParameter;

struct ReadingStep {
    enum class Kind { log, show, setFlag, setNumber };
    Kind kind = Kind::log;
    std::string text; // to log, or to show and log
    BoolParameter* flag = nullptr;
    IntParameter* number = nullptr;
    std::int32_t value = 0;
};

struct AirportReading {
    std::string code;  // of the airport that was asked for
    std::string path;  // of its base file: local, or on the server
    std::string error; // why the airport cannot be used; empty: it can
    int userError = 0; // number of an error that ends the run, with `error` as its text; 0: none
    AirportFile file;
    bool learnedRead = false;           // parameters came with it
    std::filesystem::path learnedPath;  // empty: no learned file belongs to this airport
    std::filesystem::path learnedWhole; // the learned file that was taken in whole
    std::vector<ReadingStep> steps;

    void log(std::string text) { steps.push_back({ReadingStep::Kind::log, std::move(text), {}, {}, 0}); }
    void show(std::string text) { steps.push_back({ReadingStep::Kind::show, std::move(text), {}, {}, 0}); }
};

// ---- the directory (directory.cpp) ----------------------------------------------------------------------------------
std::vector<Airport> lf_readDirectoryDocument(const pugi::xml_document& document,
                                              const std::string& pathText); // throws std::exception

// ---- finding (locate.cpp) -------------------------------------------------------------------------------------------
struct Located {
    std::string path;               // "" for none
    std::vector<std::string> texts; // to log
};
Located lf_locate(const std::string& code);        // throws std::filesystem::filesystem_error
bool lf_exists(const std::filesystem::path& path); // throws std::filesystem::filesystem_error
bool lf_isLocalPath(std::string_view path);        // below the program folder, not on the server
// Fetches a server path to a file. The text of the failure, "" for success; then no file is left.
std::string lf_fetch(const std::string& path, const std::filesystem::path& target);
std::string lf_linkTarget(std::string_view line); // of a link file; "" when there is none in it
void lf_forgetMissingFiles();                     // for a new run
// A publisher's name as one folder's name, so that no name leads out of the folder of learned files.
std::string lf_publisherFolder(std::string_view publisher);
bool lf_isLearnedPath(const std::filesystem::path& path); // below the folder of learned files
std::filesystem::path
lf_savedLearnedPath(const AirportFile& file); // where what is learned is saved (writeapf.cpp)

// ---- reading (readapf.cpp, learnedfile.cpp) -------------------------------------------------------------------------
// Reads the file of a path, its learned file included, into a result whose code is set. The text of what went wrong,
// which is result.error too. Throws orvo::UserErrorException 65 and 94.
std::string gf_readApf(const std::string& path, AirportReading& result);
void lf_readBaseDocument(const pugi::xml_document& document,
                         AirportReading& result); // throws as gf_readApf does
void lf_readLearned(AirportReading& result);      // the file at its learnedPath
// The same of a document that is built already; `whole` is the file that counts as taken in whole when it is.
void lf_takeLearned(const pugi::xml_document& document, const std::filesystem::path& whole,
                    AirportReading& result);
// False when something of it was left out. Throws orvo::UserErrorException 94.
bool lf_takeLearnedDocument(const pugi::xml_document& document, const std::string& pathText,
                            AirportReading& result);
void lf_finishStands(std::vector<Stand>& stands); // numbers and neighbours

// What reads the elements of both kinds of file, into a list of stands. `whole` falls when something had to be left out.
struct StandReader {
    AirportReading& result;
    std::vector<Stand>& stands;
    bool whole = true;

    void leaveOut(std::string text);    // which it logs
    void showLeftOut(std::string text); // which it shows and logs
    bool hasRoom(const Stand& stand);   // for one more option
    bool readStand(pugi::xml_node element,
                   std::int32_t origin); // false: it has no position, and is not added
    StandOption readOption(pugi::xml_node element, std::int32_t index, std::int32_t origin);
    void readAll(const pugi::xml_document& document); // with origin 1; throws orvo::UserErrorException 94
};
LatLon lf_position(pugi::xml_node element); // degrees; 0, 0 when missing or none on earth
double lf_radiusNm(pugi::xml_node element); // of metres in the file; 0 for one that no stand has
double lf_number(pugi::xml_node element, const char* attribute); // 0 when missing or no number
// The value of a parameter of the file; nullptr when it is not there.
const char* lf_fileParameter(const pugi::xml_document& document, const char* name);
// Loads a file of bounded size. The parser's description of the failure, "" for success.
std::string lf_loadXml(const std::filesystem::path& path, pugi::xml_document& document);
std::string lf_qualityText(std::int32_t real, std::int32_t soft);

// ---- writing (writeapf.cpp) -----------------------------------------------------------------------------------------
using ParameterTexts = std::vector<std::pair<const char*, std::string>>;
ParameterTexts lf_parkingParameters(); // name and value, in the file's order; worker
bool lf_writeAirportFile(const AirportFile& file, const std::filesystem::path& path, int kind,
                         const ParameterTexts& parameters);
void lf_retrySaves(); // of learned files that could not be written; on whichever thread does the loader's work
void lf_dropSaves();  // those that still wait, for tests: they outlive a run
// Takes what was learned at the airport from the save of it that waits: it is newer than what lies on the disk.
bool lf_takeWaitingSave(AirportReading& result); // false: none waits
// What a scan generates: the text of the file, from any thread, and its writing, which flushes nothing. Hundreds are
// written at once, and all can be made again.
std::string lf_scannedFileText(const AirportFile& file);
bool lf_writeScannedFile(const std::string& text, const std::filesystem::path& path); // logs
// EHAM.0.xml becomes a copy of EHAM.xml, in the place of an older such file. False when that cannot be done.
bool lf_copyAside(const std::filesystem::path& path);

// ---- the loader thread (loader.cpp) ---------------------------------------------------------------------------------
// Questions to it, by the worker. A new one of a kind takes the place of the one before, whose answer is dropped.
void lf_startLoading(const std::string& code);
bool lf_loadingDone();                      // the answer waits to be taken
bool lf_takeLoaded(AirportReading& result); // false: not read yet
void lf_dropLoading();                      // nobody waits for it any more

struct GroundAnswer {
    LatLon asked;                   // position of the question
    std::optional<Airport> airport; // at which an aircraft on the ground stands there
    bool hasFile = false;
};
void lf_askGround(LatLon position); // nothing when a question is under way
bool lf_takeGroundAnswer(GroundAnswer& answer);
void lf_awaitGroundAnswer(); // a moment, and not for a Tick

// ---- the list and the reserved stand (parklist.cpp, parkairport.cpp); worker ------------------------------------------
void lf_reserveStand(const std::string& id); // and shows it
bool lf_bringToFront(std::string_view code); // of the list; false: it is not in it
void lf_rememberParkStand();                 // writes the first of the list into the user's file
bool lf_keepDestinationFirst();              // false: there is none
void lf_sortParkAirports();                  // by the distance from the user, unless a destination rules

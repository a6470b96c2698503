#pragma once
// Airports and parking: the directory of airports, airport files with their stands, what is learned about stands, and
// the choice of the park airport. At most one airport is the park airport; its stands belong to the worker.

#include "app/app.h"

#include <bitset>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct AcBase;
struct LiveAc;

// ---- records ----------------------------------------------------------------------------------------------------
struct Airport { // one row of the directory, which is sorted by code and never changes once it is loaded
    std::string code, iata;  // ICAO; IATA, may be empty
    double lat = 0, lon = 0; // degrees
    double elevation = 0;    // feet
};

using HalfHours = std::bitset<48>; // bit n: n times 30 minutes after 00:00 UTC

struct StandOption {        // one learned occupation: one aircraft on one weekday
    std::string airl, type; // ICAO codes
    std::string reg;        // key of the aircraft: its registration, else its callsign
    std::string cs, cs2;    // callsign at arrival, without a trailing "_"; that of the next flight
    HalfHours hours;
    std::int32_t index = 0;  // from 1 within the stand; 0: dead, skipped everywhere and never written
    std::int32_t day = 0;    // 1 to 7
    std::int32_t origin = 0; // 1 from the base file or a handmade one, 0 learned here
    std::int32_t real = 0;   // 1 seen at the stand, 0 soft: only seen at the airport
};

struct StandVisit { // a sighting in progress
    WeekSlot start;
    std::int32_t index = 0; // of the option that it began
};

struct Stand {
    std::vector<StandOption> options;
    std::unordered_map<std::uint32_t, StandVisit> realSeen, softSeen; // by hexid
    std::string id;                                                   // unique in the file
    std::vector<std::int32_t> adjacent; // seq numbers of the stands that can collide with this one
    double lat = 0, lon = 0;            // degrees
    double heading = 0;                 // radians
    double radius = 0;                  // nautical miles
    std::int32_t seq = 0;               // from 1, in file order; its place in the list plus 1
    bool manual = false;                // made by hand in the learned file
    bool radiusChanged = false, cargoChanged = false; // differs from the base file
    bool taken = false, blocked = false;              // in the current calculation of static parking
    bool occupied = false; // a live aircraft has appeared on it or reached it, and its stream still runs
    bool reserved = false; // kept free for the user's aircraft
    bool cargo = false, ramp = false, heli = false;
};

struct AirportFile { // the header and the stands of one airport
    std::string code, airportName, bglPath, publisher, manufacturer, creator, title;
    std::int32_t altitude = 0;             // feet
    std::int32_t qfReal = -1, qfSoft = -1; // quality factors, 0 to 100; -1: none
    std::int32_t trafficWeeks = 0;         // weeks of traffic behind the learned data
    bool handmade = false;
    std::vector<Stand> stands; // in file order
};

struct ParkAirportEntry {    // one line of the user's list
    std::string code, stand; // the stand to keep free, may be empty
    double lat = 0, lon = 0; // degrees
    double distanceNm = 0;   // from the user; 0 until worked out
};

struct StaticCandidate { // a static aircraft to be placed
    std::int32_t standSeq = 0;
    std::int32_t fit = 0;   // half hours before now at which its option matched
    std::string airl, type; // as in the option, and so the next three
    std::string cs, cs2, reg;
    bool staysOn = true; // shown as the flight that has come; false: as the one that leaves
};

// The airport whose stands are in use. Published as a whole to the feed reader.
struct ParkAirport : Airport {
    bool loaded = false; // its file is read; without it no aircraft appears on the ground there

    bool known() const { return !code.empty(); }
};

// What lives for a run. owner: airports; worker
struct AirportsRun {
    ParkAirport park;
    AirportFile file;                   // of the park airport; empty while none is loaded
    Relaxed<std::uint32_t> updates;     // to the learned data since the last save; the window reads it
    std::filesystem::path learnedWhole; // the learned file that was taken in whole; empty: none was
    bool learnAllowed = false;          // soft learning, by the quality of what is known
    bool pending = false;               // the park airport's file is being read
    std::int32_t maxParked = 0; // aircraft that may stand parked, live and static; 0 or below: no limit
    std::vector<StaticCandidate> staticQueue; // to be placed, the best fit last
    std::int32_t realFit = -1, softFit = -1; // half hours back that the last calculation went; -1: not at all
    std::uint32_t staticSerial = 0;          // number of the last static aircraft
    std::list<ParkAirportEntry> parkAirports;
    std::string reservedStand; // id; "" for none
    LatLon sortedFor;          // user position of the last sort
};
extern AirportsRun airports;

// What lives as long as the process.
struct AirportsProcess {
    std::vector<Airport> directory; // filled once, in the start sequence; read-only afterwards
    bool directoryRead = false;
    // Set by a test or the replay while no loader runs: no loader thread is started, and what it would do is done on
    // the caller's thread by lf_serveLoader, in virtual time.
    bool loaderByHand = false;
};
extern AirportsProcess airportsLife; // owner: airports

// ---- the directory (directory.cpp); any thread once it is loaded --------------------------------------------------
bool gf_readAirports();     // once per process; throws orvo::UserErrorException 88
bool gf_readAirportNames(); // at the start of a scan
void gf_clearAirportNames();
std::optional<std::string> gf_airportName(std::string_view code);
std::optional<Airport> gf_findAirport(std::string_view code);
std::string gf_airportLabel(const Airport& airport);                  // "EHAM (AMS)"
std::optional<Airport> gf_findClosestAirport(double lat, double lon); // reads airport files: not for a Tick
double gf_readDestApfForClosestStand(const std::string& code, double lat, double lon, std::string& standId);

// ---- airport files (locate.cpp, readapf.cpp, learnedfile.cpp, writeapf.cpp) ----------------------------------------
std::string gf_locateAirportFile(const std::string& code); // "" for none; may ask the server: not for a Tick
std::string gf_learnedPath(const std::string& path, const std::string& publisher);
bool gf_writeAirportFile(const AirportFile& file, const std::filesystem::path& path,
                         int kind); // 0 learned, 1 scanned
void gf_saveLearned();              // takes the file of the park airport, to be written by the loader thread
HalfHours gf_hours2bitset(std::string_view text);
std::string gf_bitset2hours(HalfHours hours);

// ---- stands; worker -----------------------------------------------------------------------------------------------
Stand* gf_standBySeq(std::uint32_t seq); // nullptr: none such
Stand* gf_standById(std::string_view id);
const Stand*
gf_userStand(); // the nearest within 55 m of the user on the ground, whatever its size; nullptr for none
std::string gf_standText(double lat, double lon); // id of the nearest within 55 m; "" for none

// ---- learning (options.cpp); worker -------------------------------------------------------------------------------
std::int32_t lf_newStandOption(Stand& stand, const AcBase& ac, bool real, WeekSlot slot,
                               const std::string& key,
                               std::string_view callsign); // its index; 0: none made
bool lf_fillVisit(WeekSlot slot, Stand& stand, StandVisit& visit, const AcBase& ac, const std::string& key,
                  bool real);
void lf_setCoupledCs(Stand& stand, std::int32_t index, std::string_view callsign);
struct Quality {
    std::int32_t real = -1, soft = -1;
};
Quality gf_qualityFactor(const std::vector<Stand>& stands);

// ---- the park airport (parkairport.cpp, loader.cpp); worker ---------------------------------------------------------
void gf_publishParkAirport(const ParkAirport& airport); // stores it, and hands it to the feed reader
void lf_resetAirports();                                // back to the start values, for a new run
bool lf_readMyParkAirports();                           // false: a code is unknown
bool lf_setParkAirport(const std::string& code);
void lf_parkingStep(bool firstTime);
std::string lf_readParkedFile(); // takes over what the loader thread has read; the text of what went wrong
bool lf_rereadParkAirports();
void lf_removeAllParked();
void lf_giveUpParkAirport();
double gf_firstParkAirportNm(double lat, double lon); // distance to the first park airport; 10000 without one
void gf_storeUserStand();
void lf_setDestination(const Airport& airport); // makes it the first of the list
void lf_newDestination(const Airport& airport); // stores and shows it, and asks for the above; any thread
void lf_serveDestination();                     // the request for it, or for none

// ---- the loader thread (loader.cpp) ---------------------------------------------------------------------------------
void lf_serveLoader(); // by hand: all that waits for it, on the caller's thread; for a test and the replay
// File work that is done in any case, in the order in which it is given: at the end at the latest, on the caller's
// thread when the loader has ended. Worker.
void lf_postFileWork(std::function<void()> work);
void lf_endLoader(); // joins it; what must still be written is written, the rest dropped. For the closing

// ---- static parking (statics.h has the insides); worker ------------------------------------------------------------
std::int32_t gf_wantedParked(); // aircraft that are to stand parked; publishes it and the percentage
void lf_calculateStatics();     // for an airport that has just been read
void lf_adjustStatics();        // the renewal
void lf_placeNextStatic();      // one from the end of the queue, for the creation queue
bool lf_canPlaceStatics();      // one in the queue is within range
void lf_dropPlanned(std::uint32_t standId); // nothing more is to be placed there
void gf_flushStatics();                     // all static aircraft go, and those that wait
enum class WorkText { disabled, calculating, none };
void lf_beginStaticWork(WorkText text = WorkText::disabled); // the busy flag; its controls are disabled
void lf_endStaticWork();
void gf_collectCallsigns(); // anew, for the next calculation
void lf_cancelRenewal();

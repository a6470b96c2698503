#pragma once
// An installed simulator on the disk: the files by which a program finds its packages folder, and below it livery
// packages with aircraft.cfg files and sceneries with BGL files, in the habits of real ones. The same tables, options and seed give the same files.

#include "liveries/scan.h"
#include "refdata/refdata.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace rig {

// Where the packages are, and what names the place.
enum class FleetForm {
    steam,     // the folder of the Steam edition itself
    store,     // UserCfg.opt of the Store edition, packages beside it
    drive,     // UserCfg.opt of the Steam edition, packages on a drive of their own
    dashboard, // UserCfg.opt of the simulator's dashboard, packages on a drive of their own
    boxed      // UserCfg.opt of the boxed edition, packages on a drive of their own
};

struct FleetOptions {
    // Gets "config" and "data", which are the user's folders ($XDG_CONFIG_HOME, $XDG_DATA_HOME) of whoever is to find
    // the installation, "drive" where the form has one, and "titles.txt".
    std::filesystem::path folder;
    bool is2020 = true;
    FleetForm form = FleetForm::steam;
    std::size_t liveries = 2000;  // that a scan finds in sound files
    std::size_t sceneries = 0;    // packages with an airport, and one or more in the rest of their files
    std::size_t brokenRounds = 1; // each writes one of every kind of file that a scan reports or passes over
    std::size_t sceneryBytes = 0; // that each scenery file has at least; what is added means nothing
    std::uint32_t seed = 1;
};

// An airport of a scenery, as a scan with the edition of the fleet finds it.
struct FleetAirport {
    std::filesystem::path file;
    std::string code, publisher; // the latter by the tables' names; "unknown" where nothing tells
    std::size_t stands = 0;      // helipads too
};

struct FleetSummary {
    std::filesystem::path packages;      // the folder that holds "Community"
    std::size_t files = 0, sections = 0; // aircraft.cfg files that a scan reaches, and their sections
    std::size_t liveries = 0;            // that a scan makes of them, those of broken files included
    std::array<std::size_t, scanReportCount> reports{}; // lines that a scan writes, by ScanReport
    std::vector<FleetAirport> airports;                 // in no order; those of broken files included
    std::size_t sceneryFiles = 0;                       // BGL files, whatever is in them
    std::vector<std::filesystem::path> notRead;         // those that a scan cannot read, or not to their end
};

// Throws std::runtime_error when there is an installation of that form already or a file cannot be written.
FleetSummary writeFleet(const RefTables& tables, const FleetOptions& options);

} // namespace rig

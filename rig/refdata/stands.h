#pragma once
// Tables of stands: plain tables in, airports with their stands out, and the airport files of a download tree.

#include <filesystem>
#include <string>
#include <vector>

namespace rig {

class CsvReader;

struct StandRow {
    std::string id;
    double lat = 0, lon = 0; // degrees
    double heading = 0;      // true, degrees, 0 to below 360: where the nose of the parked aircraft points
    double radiusM = 0;      // metres: half the widest span that fits
    bool cargo = false, ramp = false, heli = false;
};

struct StandTable {
    std::string code, name;
    std::string date;        // of the table, as its index says; may be empty
    double lat = 0, lon = 0; // degrees
    double elevationFt = 0;  // feet
    std::vector<StandRow> stands;
};

struct StandTables {
    std::vector<StandTable> airports;    // each with at least one stand
    std::vector<std::string> complaints; // what was left out and why, with file and line
};

// A stand of the reader's row; what is wrong with it comes as a text, which is empty when the row is good. `complaint`
// may also name a slip that does not spoil the row.
std::string readStandRow(const CsvReader& in, StandRow& stand, std::string& complaint);

// `place` is one table, named CODE.csv or with a column "icao", or a folder of tables CODE.csv; each may be gzip.
// What the airports are called and where they are says an "index.csv" beside the tables, else the airport directory in
// the folder `directory`. Bad rows and tables are left out with a complaint; throws std::runtime_error when no good one
// is left.
StandTables readStandTables(const std::filesystem::path& place, const std::filesystem::path& directory);

// The airport files of a download tree, for both editions of the simulator. Throws std::runtime_error.
void writeAirportFiles(const std::vector<StandTable>& airports, const std::filesystem::path& tree);

} // namespace rig

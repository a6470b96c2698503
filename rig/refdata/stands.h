#pragma once
// Tables of stands: plain tables in, airports with their stands out, and the airport files of a download tree.

#include <filesystem>
#include <string>
#include <vector>

namespace rig {

struct AirportRow;
class CsvReader;

struct StandRow {
    std::string id;
    double lat = 0, lon = 0; // degrees
    double heading = 0;      // true, degrees, 0 to below 360: where the nose of the parked aircraft points
    double radiusM = 0;      // metres: half the widest span that fits
    bool cargo = false, ramp = false, heli = false;
    std::size_t line = 0; // in an apt.dat, from 1
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

bool isAirportCode(const std::string& text); // three or four capital letters or digits

// A stand of the reader's row; what is wrong with it comes as a text, which is empty when the row is good. `complaint`
// may also name a slip that does not spoil the row.
std::string readStandRow(const CsvReader& in, StandRow& stand, std::string& complaint);

// `place` is one table, named CODE.csv or with a column "icao", or a folder of tables CODE.csv; each may be gzip.
// What the airports are called and where they are says an "index.csv" beside the tables, else the airport directory in
// the folder `directory`. Bad rows and tables are left out with a complaint; throws std::runtime_error when no good one
// is left.
StandTables readStandTables(const std::filesystem::path& place, const std::filesystem::path& directory);

// The same of several tables, folders of tables and files of the form apt.dat; of an airport that several tell of the first
// counts. `airports` say where each is; one that they do not know is taken as an apt.dat has it, else left out.
StandTables readStandTables(const std::vector<std::filesystem::path>& places,
                            const std::vector<AirportRow>& airports);

// The airports of a file of the form apt.dat (docs/data-server.md) that have parking rows; the elevation is that of the
// airport's row, the place its datum, else the middle of the stands. Plain or gzip. Throws std::runtime_error.
std::vector<StandTable> readAptDat(const std::filesystem::path& file);

// The airport files of a download tree, for both editions of the simulator. Throws std::runtime_error.
void writeAirportFiles(const std::vector<StandTable>& airports, const std::filesystem::path& tree);

} // namespace rig

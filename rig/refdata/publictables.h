#pragma once
// Tables as people can download them, told apart by what is in them: airports, aircraft registers, types, airlines, stands.
// docs/data-server.md says which.

#include "refdata/refdata.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rig {

struct AirportRow {
    std::string code, iata, name; // the last two may be empty
    double lat = 0, lon = 0;      // degrees
    double elevationFt = 0;       // feet
};

struct PublicFiles {
    RefTableFiles tables;                                // empty for what there is none of
    std::vector<std::filesystem::path> airports, stands; // tables, folders of tables, apt.dat
    std::vector<std::string> told;                       // each file and what it is taken for
};

// Each place is a file, or a folder whose files are looked at, those of a folder of stand tables in it as one. Throws
// std::runtime_error for a place that is not there.
PublicFiles sortPublicFiles(const std::vector<std::filesystem::path>& places);

bool isAptDat(const std::filesystem::path& file);

// Sorted by code; of an airport that several tables tell of the first counts, but closed ones, heliports and balloonports
// are left out whoever tells of them.
std::vector<AirportRow> readAirportRows(const std::vector<std::filesystem::path>& files);

// "airports_msfs.xml" and "airports_msfs_names.xml". Throws std::runtime_error.
void writeAirportDirectory(const std::vector<AirportRow>& airports, const std::filesystem::path& folder);

} // namespace rig

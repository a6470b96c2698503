#pragma once
// Registers of aircraft in the forms in which people publish them: comma-separated with a header line, one JSON object with
// the addresses as its keys, an array of objects, or one object a line. Plain or gzip.

#include <filesystem>
#include <functional>
#include <string>

namespace rig {

struct RegisterRow {
    std::string registration; // a series with brackets counts as well
    std::string type;         // ICAO designator; may be empty or anything
    std::string airline;      // ICAO code of the operator; may be empty or anything
    std::string cargo;        // "" when the register does not tell
};

// Aircraft without a registration are left out. Throws std::runtime_error for a file that is no register.
void readRegister(const std::filesystem::path& file, const std::function<void(RegisterRow&&)>& take);

} // namespace rig

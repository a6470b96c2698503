#pragma once
// The airport of a replay: where it is, and the stands that the program is to find in its download tree.

#include "refdata/stands.h"

#include <filesystem>
#include <string>

namespace rig {

// The airport of that code with its stands. `tables` is a table of stands or a folder of them; when it is empty, the
// shared tables are looked through and then those of the project, and an airport without stands may come back, as it
// may stand in the directory alone. Throws std::runtime_error for an airport that nobody knows, or that is not in
// `tables`.
StandTable findReplayAirport(const std::string& code, const std::filesystem::path& tables);

// A place so far north of the airport's northernmost stand, or of the airport itself.
void placeNorthOf(const StandTable& airport, double nm, double& lat, double& lon);

} // namespace rig

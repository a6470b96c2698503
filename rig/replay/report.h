#pragma once
// The replay's table and its report.json.

#include "replay/groundreport.h"
#include "replay/measure.h"
#include "replay/trueevents.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <filesystem>
#include <string>

namespace rig {

struct Cost {
    double ticksOver10ms = 0, allocationsPerTick = 0, peakRssMb = 0;
    double simulatedS = 0, realS = 0;
    std::uint64_t ticks = 0;
};

struct ReportInput {
    const Measure& measure;
    const GroundInput& ground;
    Cost cost;
    std::uint64_t lines = 0;
    std::uint64_t digest = 0;
    std::uint64_t created = 0, refused = 0, removed = 0; // by the simulator
    std::string title;                                   // what was played, for the table's head
    const TrueEvents* events = nullptr;                  // of generated movements; else null
    double endFeedTime = 0;                              // of the last line
};

nlohmann::json makeReport(const ReportInput& input);
std::string reportTable(const ReportInput& input, const nlohmann::json& report);

// Three SVG files: tracks over the ground, those on the ground over the stands, altitude profiles of arrivals and
// departures.
void drawPictures(const Measure& measure, const std::vector<StandPlace>& stands,
                  const std::filesystem::path& folder);

} // namespace rig

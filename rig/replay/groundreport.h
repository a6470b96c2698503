#pragma once
// What the report tells of the ground: its part of report.json, and its rows in the table.

#include "replay/decisions.h"
#include "replay/groundends.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

struct GroundInput {
    const GroundWatch& watch;
    const Decisions& decisions;
    std::vector<StandPlace> stands; // of the park airport, as they were when it was loaded
    std::string airport;            // the park airport that the program chose; "" for none
};

using TableRow = std::function<void(std::string_view name, const std::string& text)>;

void addGroundReport(const GroundInput& input, nlohmann::json& report); // to its "ground", and "removals"
void groundTable(const nlohmann::json& report, const TableRow& row);

} // namespace rig

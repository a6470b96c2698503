#pragma once
// What generated aircraft truly did on the ground, held against what the program showed of it: worked out after a replay.

#include "feed/generator.h"
#include "replay/decisions.h"
#include "replay/groundwatch.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <string>
#include <string_view>

namespace rig {

struct TrueEventsInput {
    const TrueEvents& events;
    const GroundWatch& watch;
    const Decisions& decisions;
    double endFeedTime = 0; // the feed's last line; what truly ends in the minute before it is left out
};

// The part "truth"."events" of the report. Only what begins after the first line counts.
nlohmann::json trueEventsReport(const TrueEventsInput& input);
void trueEventsTable(const nlohmann::json& part,
                     const std::function<void(std::string_view name, const std::string& text)>& row);

} // namespace rig

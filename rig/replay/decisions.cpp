// Listens to the engine's decisions.

#include "replay/decisions.h"

#include "engine/trace.h"
#include "replay/alloc_count.h"

#include <fmt/format.h>

#include <chrono>
#include <string_view>

namespace rig {

namespace {

Decisions* listener = nullptr;

// As the engine's trace says it.
constexpr std::string_view removedWord = "removed: ", respawnWord = "respawns as ";

void hear(std::uint32_t hexid, std::string_view what) {
    using Clock = std::chrono::steady_clock; // the program's clock is virtual here
    const auto start = Clock::now();
    const auto allocations = allocationCount();
    listener->of[hexid].push_back({listener->now, std::string(what)});
    listener->costAllocations += allocationCount() - allocations;
    listener->costUs += std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

} // namespace

Decisions::Decisions() {
    listener = this;
    engineTrace = hear;
}

Decisions::~Decisions() {
    engineTrace = nullptr;
    listener = nullptr;
}

void LineFates::count(int sign) {
    kept += sign * static_cast<std::int64_t>(trafficReader.kept.load());
    for (std::size_t i = 0; i < dropped.size(); ++i)
        dropped[i] += sign * static_cast<std::int64_t>(trafficReader.dropped[i].load());
}

std::string LineFates::whyDropped() const {
    std::string text;
    for (std::size_t i = 0; i < dropped.size(); ++i)
        if (dropped[i] > 0)
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", dropNames[i], dropped[i]);
    return text;
}

std::string Decisions::whyRemoved(std::uint32_t hexid, double time) const {
    constexpr double longestS = 2; // from the decision to the object's end as the report sees it
    return lastRemoval(hexid, time - longestS, time);
}

std::string Decisions::lastRemoval(std::uint32_t hexid, double from, double to) const {
    const auto found = of.find(hexid);
    if (found == of.end()) return {};
    for (auto d = found->second.rbegin(); d != found->second.rend(); ++d) {
        if (d->time > to) continue;
        if (d->time < from) break;
        if (d->what.starts_with(respawnWord)) return "respawn";
        if (d->what.starts_with(removedWord)) return d->what.substr(removedWord.size());
    }
    return {};
}

} // namespace rig

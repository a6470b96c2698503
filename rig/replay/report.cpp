// The replay's table and its report.json. The names in the file are read by other tools and stay.

#include "replay/report.h"

#include "feed/feed.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace rig {

namespace {

using nlohmann::json;

json spreadOf(const Spread& s) {
    return {{"median", s.median()}, {"p95", s.quantile(0.95)}, {"max", s.max()}};
}

json fidelityOf(const Fidelity& f) {
    return {{"across_m", spreadOf(f.acrossM)},
            {"delay_s", spreadOf(f.delayS)},
            {"vertical_ft", spreadOf(f.verticalFt)},
            {"samples", f.acrossM.values.size()}};
}

json evennessOf(const Evenness& e) {
    const double n = static_cast<double>(e.count);
    const double mean = n > 0 ? e.sum / n : 0;
    const double variance = n > 0 ? std::max(0.0, e.sumOfSquares / n - mean * mean) : 0;
    return {{"fps", e.fps}, {"samples", e.count}, {"mean", mean}, {"spread", std::sqrt(variance)}};
}

template <class Counts> json stepsOf(const Counts& counts) {
    json result = json::object();
    for (std::size_t i = 0; i < counts.size(); ++i) result[std::to_string(i + 1)] = counts[i];
    return result;
}

// "1: 12 (40%), 2: 18 (60%)"
std::string shares(const json& counts) {
    double total = 0;
    for (const auto& [name, count] : counts.items()) total += count.get<double>();
    std::string text;
    for (const auto& [name, count] : counts.items())
        if (count != 0)
            text += fmt::format("{}{}: {} ({:.0f}%)", text.empty() ? "" : ", ", name,
                                count.get<std::uint64_t>(), 100 * count.get<double>() / total);
    return text.empty() ? "none" : text;
}

json reasons(const char* const* names, const std::uint64_t* counts, int count) {
    json result = json::object();
    for (int i = 0; i < count; ++i) result[names[i]] = counts[i];
    return result;
}

} // namespace

json makeReport(const ReportInput& input) {
    const Measure& m = input.measure;
    json dropped = json::object();
    for (std::size_t i = 0; i < dropNames.size(); ++i)
        dropped[dropNames[i]] = trafficReader.dropped[i].load();
    json evenness = json::array();
    for (const auto& e : m.evenness) evenness.push_back(evennessOf(e));
    json landings = json::array();
    for (const auto& l : m.landings)
        landings.push_back({{"callsign", l.callsign},
                            {"time_s", l.time},
                            {"from_ground_fix_m", l.fromGroundFixM},
                            {"sink_fpm", l.sinkFpm},
                            {"wheel_error_ft_max", l.wheelErrorFtMax}});

    json report;
    report["feed"] = {{"lines", input.lines}, {"kept", trafficReader.kept.load()}, {"dropped", dropped}};
    report["aircraft"] = {
        {"seen", engineCounters.seen},
        {"spawned", engineCounters.spawned},
        {"not_spawned",
         reasons(notSpawnedNames, engineCounters.notSpawned, static_cast<int>(NotSpawned::count))},
        {"removed", reasons(removedNames, engineCounters.removed, static_cast<int>(Removed::count))},
        {"alive_max", m.aliveMax},
        {"alive_median", m.aliveOverTime.median()}};
    report["appear_s"] = {{"median", m.appearS.median()}, {"p95", m.appearS.quantile(0.95)}};
    report["fidelity"] = {{"air", fidelityOf(m.air)},
                          {"ground", fidelityOf(m.ground)},
                          {"air_empty_queue", {{"delay_s", spreadOf(m.airQueueEmpty.delayS)}}}};
    if (!m.truth.empty())
        report["truth"] = {{"air", fidelityOf(m.airTruth)},
                           {"ground", fidelityOf(m.groundTruth)},
                           {"taxi", fidelityOf(m.taxiTruth)},
                           {"left_behind_s", m.leftBehindSeconds}};
    if (input.events)
        report["truth"]["events"] =
            trueEventsReport({*input.events, input.ground.watch, input.ground.decisions, input.endFeedTime});
    report["smooth"] = {{"moves_over_5m", m.movesOver5m},
                        {"moves_over_50m", m.movesOver50m},
                        {"altitude_step_ft_max", m.altitudeStepMax},
                        {"heading_rate_dps_max", m.headingRateMax},
                        {"pitch_rate_dps_max", m.pitchRateMax},
                        {"bank_rate_dps_max", m.bankRateMax},
                        {"touchdown_fpm", spreadOf(m.touchdownFpm)},
                        {"evenness", evenness}};
    report["ground"] = {{"landings", m.landingCount}, {"takeoffs", m.takeoffCount}};
    addGroundReport(input.ground, report);
    report["identity"] = {{"duplicates", m.duplicateSeconds},         {"ghosts_shown", m.ghostSeconds},
                          {"steps", stepsOf(engineLife.matchCounts)}, {"returned", m.returned},
                          {"looks_changed", m.looksChanged},          {"looks_exchanged", m.looksExchanged}};
    report["landings"] = landings;
    report["simulator"] = {
        {"created", input.created}, {"refused", input.refused}, {"removed", input.removed}};
    const Cost& c = input.cost;
    report["cost"] = {
        {"tick_us",
         {{"median", m.tickUs.median()}, {"p99", m.tickUs.quantile(0.99)}, {"max", m.tickUs.max()}}},
        {"ticks_over_10ms", c.ticksOver10ms},
        {"allocations_per_tick", c.allocationsPerTick},
        {"peak_rss_mb", c.peakRssMb},
        {"creations_per_s", c.simulatedS > 0 ? static_cast<double>(input.created) / c.simulatedS : 0},
        {"speed", c.realS > 0 ? c.simulatedS / c.realS : 0}};
    report["digest"] = fmt::format("{:016x}", input.digest);
    return report;
}

std::string reportTable(const ReportInput& input, const json& report) {
    std::string out;
    const auto row = [&](std::string_view name, const std::string& text) {
        out += fmt::format("{:26} {}\n", name, text);
    };
    const auto counts = [](const json& object) {
        std::string text;
        for (const auto& [name, count] : object.items())
            if (count.is_number() && count != 0)
                text += fmt::format("{}{} {}", text.empty() ? "" : ", ", name, count.get<std::uint64_t>());
        return text.empty() ? std::string("none") : text;
    };
    const auto spread = [](const json& s) {
        return fmt::format("median {:.1f}  p95 {:.1f}  max {:.1f}", s["median"].get<double>(),
                           s["p95"].get<double>(), s["max"].get<double>());
    };
    out += input.title + "\n";
    row("feed lines",
        fmt::format("{} read, {} kept", input.lines, report["feed"]["kept"].get<std::uint64_t>()));
    row("  dropped", counts(report["feed"]["dropped"]));
    const json& aircraft = report["aircraft"];
    row("aircraft",
        fmt::format("{} seen, {} spawned, {} alive at most, {} in the median",
                    aircraft["seen"].get<std::uint64_t>(), aircraft["spawned"].get<std::uint64_t>(),
                    aircraft["alive_max"].get<int>(), aircraft["alive_median"].get<double>()));
    row("  not spawned", counts(aircraft["not_spawned"]));
    row("  removed", counts(aircraft["removed"]));
    row("first report to object, s",
        fmt::format("median {:.1f}  p95 {:.1f}", report["appear_s"]["median"].get<double>(),
                    report["appear_s"]["p95"].get<double>()));
    for (const char* yardstick : {"fidelity", "truth"}) {
        if (!report.contains(yardstick)) continue;
        const std::string_view against = yardstick == std::string_view("truth") ? " (true tracks)" : "";
        for (const char* where : {"air", "ground"}) {
            const json& f = report[yardstick][where];
            row(fmt::format("{}{}: {} samples", where, against, f["samples"].get<std::uint64_t>()), "");
            row("  across the track, m", spread(f["across_m"]));
            row("  behind the feed, s", spread(f["delay_s"]));
            row("  above or below, ft", spread(f["vertical_ft"]));
        }
    }
    if (report.contains("truth")) {
        const json& taxi = report["truth"]["taxi"];
        row(fmt::format("taxi (true tracks): {} samples", taxi["samples"].get<std::uint64_t>()), "");
        row("  across the track, m", spread(taxi["across_m"]));
        row("  behind the feed, s", spread(taxi["delay_s"]));
        row("on the ground while flying", fmt::format("{} s", report["truth"]["left_behind_s"].get<int>()));
    }
    row("air, empty queue: behind, s", spread(report["fidelity"]["air_empty_queue"]["delay_s"]));
    const json& s = report["smooth"];
    row("moves beyond speed",
        fmt::format("{} above 5 m, {} above 50 m", s["moves_over_5m"].get<std::uint64_t>(),
                    s["moves_over_50m"].get<std::uint64_t>()));
    row("largest altitude step, ft", fmt::format("{:.2f}", s["altitude_step_ft_max"].get<double>()));
    row("largest rates, deg/s",
        fmt::format("heading {:.1f}  pitch {:.1f}  bank {:.1f}", s["heading_rate_dps_max"].get<double>(),
                    s["pitch_rate_dps_max"].get<double>(), s["bank_rate_dps_max"].get<double>()));
    for (const auto& e : s["evenness"])
        row(fmt::format("evenness at {:.0f} fps", e["fps"].get<double>()),
            fmt::format("mean {:.3f}  spread {:.3f}", e["mean"].get<double>(), e["spread"].get<double>()));
    row("landings, take-offs", fmt::format("{}, {}", input.measure.landingCount, input.measure.takeoffCount));
    for (const auto& l : input.measure.landings)
        row("  " + l.callsign,
            fmt::format("at {:.0f} s, {:.0f} m from the feed's first ground report, {:.0f} ft/min, wheels "
                        "within {:.2f} ft afterwards",
                        l.time, l.fromGroundFixM, l.sinkFpm, l.wheelErrorFtMax));
    groundTable(report, row);
    if (input.events) trueEventsTable(report["truth"]["events"], row);
    row("alive twice",
        fmt::format("{} s; ghosts shown {} s", input.measure.duplicateSeconds, input.measure.ghostSeconds));
    row("liveries by step", shares(report["identity"]["steps"]));
    row("returning aircraft",
        fmt::format("{}, {} with another look; {} looks exchanged on purpose", input.measure.returned,
                    input.measure.looksChanged, input.measure.looksExchanged));
    row("simulator", counts(report["simulator"]));
    const json& c = report["cost"];
    row("tick, us", fmt::format("median {:.0f}  p99 {:.0f}  max {:.0f}; {} above 10 ms",
                                c["tick_us"]["median"].get<double>(), c["tick_us"]["p99"].get<double>(),
                                c["tick_us"]["max"].get<double>(), c["ticks_over_10ms"].get<double>()));
    row("allocations per tick", fmt::format("{:.2f}", c["allocations_per_tick"].get<double>()));
    row("memory, speed", fmt::format("{:.0f} MB, {:.0f} times real time", c["peak_rss_mb"].get<double>(),
                                     c["speed"].get<double>()));
    row("digest", report["digest"].get<std::string>());
    return out;
}

} // namespace rig

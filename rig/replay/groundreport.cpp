// The ground in report.json and in the table. Times in the file are replay seconds; `feed_time` is the feed's own, at
// which the real aircraft did what is shown 30 seconds later.

#include "replay/groundreport.h"

#include "replay/measure.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <set>

namespace rig {

namespace {

using nlohmann::json;

constexpr double longOverlapS = 2;

double rounded(double v) { return std::round(v * 1000) / 1000; }

json spreadOf(const Spread& s) {
    return {{"median", s.median()}, {"p95", s.quantile(0.95)}, {"max", s.max()}};
}

json slipOf(const Slip& s) {
    return {{"slip_ratio", s.ratio()}, {"driven_m", s.drivenM}, {"reversals", s.reversals}};
}

double feedTime(const GroundWatch& w, double time) {
    return std::round(w.startFeedTime + time - w.feedDelayS);
}

json eventsOf(const std::vector<Event>& events) {
    json list = json::array();
    for (const Event& e : events)
        list.push_back(
            {{"time", rounded(e.time)}, {"hexid", e.hexid}, {"callsign", e.callsign}, {"what", e.what}});
    return list;
}

std::string nameOf(const GroundWatch& w, std::uint32_t hexid) {
    if (hexid == userHexid) return "the user";
    const auto found = w.callsigns.find(hexid);
    return found == w.callsigns.end() ? std::string() : found->second;
}

void addOverlaps(const GroundWatch& w, json& ground) {
    std::set<std::pair<std::uint32_t, std::uint32_t>> pairs, userPairs;
    double seconds = 0, userSeconds = 0;
    int ownLong = 0; // longer than 2 s, and not the feed's
    json list = json::array();
    for (const Overlap& o : w.overlaps.all()) {
        const bool user = o.a == userHexid;
        (user ? userPairs : pairs).insert({o.a, o.b});
        (user ? userSeconds : seconds) += o.seconds;
        if (o.seconds <= longOverlapS) continue;
        if (!user && !o.inFeed) ++ownLong;
        list.push_back({{"time", rounded(o.since)},
                        {"seconds", o.seconds},
                        {"a", nameOf(w, o.a)},
                        {"b", nameOf(w, o.b)},
                        {"in_feed", o.inFeed}});
    }
    ground["overlap_pairs"] = pairs.size();
    ground["overlap_seconds"] = seconds;
    ground["overlaps_not_in_feed"] = ownLong;
    ground["user_overlap_pairs"] = userPairs.size();
    ground["user_overlap_seconds"] = userSeconds;
    ground["overlaps"] = list;
}

void addPushBacks(const GroundWatch& w, json& ground) {
    constexpr double shownM = 5;
    json list = json::array();
    Spread turn;
    int shown = 0, wrongSide = 0;
    for (const PushBack& p : w.pushBacks) {
        if (p.movedM >= shownM) {
            ++shown;
            turn.add(p.noseTurnDeg);
            constexpr double asideDeg = 90;
            if (p.wayOffNoseDeg > asideDeg) ++wrongSide;
        }
        list.push_back({{"feed_time", feedTime(w, p.time)},
                        {"callsign", p.callsign},
                        {"stand", p.stand},
                        {"moved_m", rounded(p.movedM)},
                        {"nose_turn_deg", rounded(p.noseTurnDeg)},
                        {"way_off_nose_deg", rounded(p.wayOffNoseDeg)},
                        {"then", p.ended}});
    }
    ground["pushbacks"] = shown;
    ground["pushbacks_to_wrong_side"] = wrongSide;
    ground["push_nose_turn_deg"] = spreadOf(turn);
    ground["push_list"] = list;
}

void addLegs(const GroundWatch& w, json& ground) {
    constexpr double shortM = 50;
    Spread turn, beyond;
    for (const TaxiLeg& leg : w.legs) {
        if (leg.drivenM < shortM) continue;
        turn.add(leg.turnDeg);
        constexpr double slackS = 15; // the program is not exactly its delay behind the feed
        const double from = w.startFeedTime + leg.from - w.feedDelayS - slackS,
                     to = w.startFeedTime + leg.to - w.feedDelayS + slackS;
        if (w.tracks) beyond.add(leg.turnDeg - feedTurn(*w.tracks, leg.hexid, from, to));
    }
    ground["leg_turn_deg"] = spreadOf(turn);
    ground["leg_turn_beyond_feed_deg"] = spreadOf(beyond);
    ground["legs"] = turn.values.size();
}

void addLandings(const GroundInput& input, json& ground) {
    json list = json::array();
    int near = 0, nearParked = 0;
    std::map<std::string, int> ends, nearEnds;
    for (const char* name : {"parked", "standing", "vanished moving", "under way"})
        ends[name] = nearEnds[name] = 0;
    for (const LandingOutcome& o : landingOutcomes(input.watch, input.stands)) {
        ++ends[landingEndName(o.end)];
        if (!o.fittingStand.empty()) {
            ++near;
            ++nearEnds[landingEndName(o.end)];
            if (o.end == LandingEnd::parked) ++nearParked;
        }
        list.push_back({{"feed_time", feedTime(input.watch, o.touchDown.time)},
                        {"callsign", o.touchDown.callsign},
                        {"end", landingEndName(o.end)},
                        {"stand", o.stand},
                        {"fitting_stand", o.fittingStand},
                        {"feed_stop_m", rounded(o.feedStopM)}});
    }
    ground["landing_ends"] = ends;
    ground["landings_near_stand"] = near;
    ground["landings_near_stand_parked"] = nearParked;
    ground["landings_near_stand_ends"] = nearEnds;
    ground["landing_list"] = list;
    Spread fromStop;
    for (const Arrival& a : input.watch.arrivals)
        if (a.fromFeedStopM >= 0) fromStop.add(a.fromFeedStopM);
    ground["arrivals"] = input.watch.arrivals.size();
    ground["stand_from_feed_stop_m"] = spreadOf(fromStop);
}

void addRemovals(const GroundInput& input, json& report) {
    json list = json::array();
    int unexplained = 0;
    for (const Vanish& v : input.watch.vanished) {
        if (v.atEnd) continue;
        const std::string why = input.decisions.whyRemoved(v.hexid, v.time);
        if (why.empty() || why == "other") ++unexplained;
        list.push_back({{"time", rounded(v.time)},
                        {"callsign", v.callsign},
                        {"state", gf_flightStateName(v.fs)},
                        {"on_ground", v.onGround},
                        {"moving", v.moving},
                        {"stand", v.stand},
                        {"shown_s", rounded(v.shownS)},
                        {"why", why}});
    }
    report["ground"]["removals_unexplained"] = unexplained;
    report["removals"] = list;
}

} // namespace

void addGroundReport(const GroundInput& input, json& report) {
    const GroundWatch& w = input.watch;
    json& ground = report["ground"];
    ground["airport"] = input.airport;
    ground["stands"] = input.stands.size();
    ground["moves_while_parked"] = w.movesWhileParked.size();
    ground["turns_while_parked"] = w.turnsWhileParked.size();
    ground["reversals"] = w.taxi.reversals;
    ground["slip_ratio"] = w.taxi.ratio();
    ground["slip"] = {
        {"taxi", slipOf(w.taxi)}, {"below_30_kt", slipOf(w.slowTaxi)}, {"to_stand", slipOf(w.toStand)}};
    ground["moves_over_5m"] = w.jumps.size();
    ground["height_error_ft_max"] = w.heightErrorFtMax;
    ground["height_error_at"] = eventsOf({w.heightErrorAt})[0];
    ground["parked"] = w.stood.size();
    ground["events"] = {{"moves_while_parked", eventsOf(w.movesWhileParked)},
                        {"turns_while_parked", eventsOf(w.turnsWhileParked)},
                        {"reversals", eventsOf(w.reversals)},
                        {"moves_over_5m", eventsOf(w.jumps)}};
    addOverlaps(w, ground);
    addPushBacks(w, ground);
    addLegs(w, ground);
    addLandings(input, ground);
    addRemovals(input, report);
}

void groundTable(const json& report, const TableRow& row) {
    const json& g = report["ground"];
    const auto number = [&](const char* name) { return g[name].get<double>(); };
    const auto spread = [&](const char* name) {
        const json& s = g[name];
        return fmt::format("median {:.1f}  p95 {:.1f}  max {:.1f}", s["median"].get<double>(),
                           s["p95"].get<double>(), s["max"].get<double>());
    };
    const auto slip = [&](const char* name) {
        const json& s = g["slip"][name];
        return fmt::format("slip {:.2f} % of {:.0f} m, {} reversals", 100 * s["slip_ratio"].get<double>(),
                           s["driven_m"].get<double>(), s["reversals"].get<int>());
    };
    row("park airport",
        fmt::format("{}, {} stands", g["airport"].get<std::string>().empty() ? "none" : g["airport"],
                    g["stands"].get<int>()));
    row("while parked", fmt::format("{:.0f} moves, {:.0f} turns", number("moves_while_parked"),
                                    number("turns_while_parked")));
    row("taxi", slip("taxi"));
    row("  below 30 knots", slip("below_30_kt"));
    row("  last metres to a stand", slip("to_stand"));
    row("turn per taxi leg, deg", fmt::format("{:.0f} legs, {}", number("legs"), spread("leg_turn_deg")));
    row("  more than the feed's", spread("leg_turn_beyond_feed_deg"));
    row("ground moves above 5 m", fmt::format("{:.0f}", number("moves_over_5m")));
    const double heightError = number("height_error_ft_max");
    row("wheels off the ground, ft", heightError < 1
                                         ? fmt::format("{:.2f}", heightError)
                                         : fmt::format("{:.2f}, {} at {:.0f} s in {}", heightError,
                                                       g["height_error_at"]["callsign"].get<std::string>(),
                                                       g["height_error_at"]["time"].get<double>(),
                                                       g["height_error_at"]["what"].get<std::string>()));
    row("overlaps",
        fmt::format("{:.0f} pairs, {:.1f} s; above 2 s and not in the feed: {:.0f}; with the user: "
                    "{:.0f} pairs, {:.1f} s",
                    number("overlap_pairs"), number("overlap_seconds"), number("overlaps_not_in_feed"),
                    number("user_overlap_pairs"), number("user_overlap_seconds")));
    row("push backs",
        fmt::format("{:.0f}, {:.0f} to the wrong side; nose turn in the first 15 m, deg: {}",
                    number("pushbacks"), number("pushbacks_to_wrong_side"), spread("push_nose_turn_deg")));
    for (const auto& p : g["push_list"])
        row("  " + p["callsign"].get<std::string>(),
            fmt::format(
                "feed time {:.0f}, stand {}, {:.0f} m, nose {:.1f} deg, then {}{}",
                p["feed_time"].get<double>(), p["stand"].get<std::string>(), p["moved_m"].get<double>(),
                p["nose_turn_deg"].get<double>(), p["then"].get<std::string>(),
                p["way_off_nose_deg"].get<double>() < 0 ? std::string()
                                                        : fmt::format(", drives on {:.0f} deg off its nose",
                                                                      p["way_off_nose_deg"].get<double>())));
    row("stood on stands",
        fmt::format("{:.0f}, {:.0f} by driving there; from the feed's stop, m: {}", number("parked"),
                    number("arrivals"), spread("stand_from_feed_stop_m")));
    const auto ends = [&](const char* name) {
        std::string text;
        for (const auto& [end, count] : g[name].items())
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", end, count.get<int>());
        return text;
    };
    row("landings ended", ends("landing_ends"));
    row("  feed stops at a stand",
        fmt::format("{:.0f}: {}", number("landings_near_stand"), ends("landings_near_stand_ends")));
    std::map<std::string, int> why;
    for (const auto& r : report["removals"]) {
        const std::string reason = r["why"].get<std::string>();
        ++why[(reason.empty() ? "unexplained" : reason) + (r["moving"].get<bool>() ? " (moving)" : "")];
    }
    std::string text;
    for (const auto& [reason, count] : why)
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", reason, count);
    row("objects removed",
        fmt::format("{}; {:.0f} unexplained", text.empty() ? "none" : text, number("removals_unexplained")));
}

} // namespace rig

// Holds true events against what was shown. An event is shown `feedDelayS` after it is true, within a slack for reports
// that are missing.

#include "replay/trueevents.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace rig {

namespace {

using nlohmann::json;

constexpr double lateS = 180;  // an event may be shown so much before or after its time
constexpr double leadInS = 60; // aircraft that are just being found at the beginning do not count
constexpr double leadOutS = 60;

class Comparison {
  public:
    explicit Comparison(const TrueEventsInput& all) : in(all) {}
    json result();

  private:
    double shownTime(double trueTime) const { // replay seconds
        return trueTime - in.watch.startFeedTime + in.watch.feedDelayS;
    }
    bool counts(const TrueMove& move) const {
        return shownTime(move.start) > firstShownS + leadInS && move.end < in.endFeedTime - leadOutS;
    }
    json why(const TrueMove& move, double from, double to) const; // replay seconds
    double leavesAgain(const TrueMove& after) const;              // true time; huge when it stays
    template <typename List> auto shown(const List& list, std::uint32_t hexid, double trueTime) const {
        return std::find_if(list.begin(), list.end(), [&](const auto& e) {
            return e.hexid == hexid && std::fabs(e.time - shownTime(trueTime)) < lateS;
        });
    }
    void parking(const TrueMove& move, json& part);
    void push(const TrueMove& move, json& part);
    void ghost(const TrueMove& move, json& part);
    void takeOff(const TrueMove& move, json& part);

    static constexpr double firstShownS = 50; // replay seconds: lead and delay
    const TrueEventsInput& in;
};

double Comparison::leavesAgain(const TrueMove& after) const {
    for (const TrueMove& move : in.events.moves)
        if (move.hexid == after.hexid && move.start > after.start) return move.start;
    return std::numeric_limits<double>::max();
}

// Why an aircraft is not shown as it should be: none of its lines was taken, or it was removed in that time.
json Comparison::why(const TrueMove& move, double from, double to) const {
    const auto lines = in.decisions.lines.find(move.hexid);
    const bool dropped = lines != in.decisions.lines.end() && lines->second.kept == 0;
    return {{"callsign", move.callsign},
            {"hexid", move.hexid},
            {"feed_time", move.start},
            {"dropped", dropped ? lines->second.whyDropped() : ""},
            {"removed", in.decisions.lastRemoval(move.hexid, from, to)}};
}

// Where it stood on a stand between the end of the way and the next departure.
void Comparison::parking(const TrueMove& move, json& part) {
    const double from = shownTime(move.start), to = shownTime(leavesAgain(move));
    std::string outcome = "not_parked", stand;
    for (const Stood& stood : in.watch.stood) {
        if (stood.hexid != move.hexid || stood.time <= from || stood.time >= to) continue;
        stand = stood.stand;
        outcome = stood.stand != move.to ? "on_another_stand"
                  : stood.drove          ? "on_its_stand"
                                         : "appeared_on_its_stand";
        if (stood.stand == move.to) break;
    }
    const auto isIts = [&](const Vanish& v) { return v.hexid == move.hexid && v.time > from && v.time < to; };
    if (outcome == "not_parked" && move.kind == MoveKind::landing &&
        shown(in.watch.touchDowns, move.hexid, move.start) == in.watch.touchDowns.end() &&
        std::none_of(in.watch.vanished.begin(), in.watch.vanished.end(), isIts))
        outcome = "not_shown";
    part[outcome] = part[outcome].get<int>() + 1;
    if (outcome == "on_its_stand") return;
    json one = why(move, from, to);
    one["true_stand"] = move.to;
    one["stand"] = stand;
    one["outcome"] = outcome;
    part["list"].push_back(std::move(one));
}

void Comparison::push(const TrueMove& move, json& part) {
    const auto found =
        std::find_if(in.watch.pushBacks.begin(), in.watch.pushBacks.end(), [&](const PushBack& p) {
            constexpr double shownM = 5;
            return p.hexid == move.hexid && p.movedM >= shownM &&
                   std::fabs(p.time - shownTime(move.start)) < lateS;
        });
    const auto add = [&](const char* name) { part[name] = part[name].get<int>() + 1; };
    std::string outcome = "not_shown";
    if (found != in.watch.pushBacks.end()) {
        const double off =
            std::fabs(gf_headingDiff(found->endHeading, move.pushHeading * degToRad)) * radToDeg;
        constexpr double asMeantDeg = 45, wrongDeg = 135;
        add("shown");
        outcome = off < asMeantDeg ? "right_side" : off < wrongDeg ? "straight" : "wrong_side";
    }
    constexpr double neededS = 45; // the delay, and time for the creation
    if (outcome == "not_shown" && move.reportedS < neededS) outcome = "not_reported_in_time";
    add(outcome.c_str());
    if (outcome == "wrong_side" && move.tailFirst) add("wrong_side_tail_first");
    if (outcome != "right_side")
        part["list"].push_back({{"callsign", move.callsign},
                                {"hexid", move.hexid},
                                {"feed_time", move.start},
                                {"stand", move.from},
                                {"outcome", outcome}});
}

void Comparison::ghost(const TrueMove& move, json& part) {
    double seconds = 0;
    for (const Vanish& v : in.watch.vanished)
        if (v.hexid == move.hexid) seconds += v.shownS;
    part["true"] = part["true"].get<int>() + 1;
    if (seconds == 0) return;
    part["shown"] = part["shown"].get<int>() + 1;
    part["shown_s"] = part["shown_s"].get<double>() + seconds;
    if (move.callsign == "null") part["shown_unnamed_s"] = part["shown_unnamed_s"].get<double>() + seconds;
    part["list"].push_back({{"callsign", move.callsign}, {"hexid", move.hexid}, {"shown_s", seconds}});
}

// One that is not shown has lines of which none is taken, or was removed on its way and came back in the air.
void Comparison::takeOff(const TrueMove& move, json& part) {
    if (shown(in.watch.takeOffs, move.hexid, move.end) != in.watch.takeOffs.end()) {
        part["shown"] = part["shown"].get<int>() + 1;
        return;
    }
    json one = why(move, shownTime(move.start), shownTime(move.end) + lateS);
    one["feed_time"] = move.end;
    if (one["dropped"] != "") part["dropped"] = part["dropped"].get<int>() + 1;
    part["list"].push_back(std::move(one));
}

json Comparison::result() {
    const json parked = {{"true", 0},
                         {"on_its_stand", 0},
                         {"appeared_on_its_stand", 0},
                         {"not_parked", 0},
                         {"on_another_stand", 0},
                         {"not_shown", 0},
                         {"list", json::array()}};
    json landings = parked, tows = parked;
    json pushes = {{"true", 0},
                   {"shown", 0},
                   {"right_side", 0},
                   {"straight", 0},
                   {"wrong_side", 0},
                   {"wrong_side_tail_first", 0},
                   {"not_shown", 0},
                   {"not_reported_in_time", 0},
                   {"list", json::array()}};
    json takeOffs = {{"true", 0}, {"shown", 0}, {"dropped", 0}, {"list", json::array()}};
    json ghosts = {
        {"true", 0}, {"shown", 0}, {"shown_s", 0.0}, {"shown_unnamed_s", 0.0}, {"list", json::array()}};
    const auto count = [](json& part) { part["true"] = part["true"].get<int>() + 1; };
    int turnRounds = 0;
    for (const TrueMove& move : in.events.moves) {
        if (!counts(move)) continue;
        switch (move.kind) {
        case MoveKind::landing:
            count(landings);
            parking(move, landings);
            break;
        case MoveKind::tow:
            count(tows);
            parking(move, tows);
            break;
        case MoveKind::ghost: ghost(move, ghosts); break;
        case MoveKind::departure:
            turnRounds += move.turnRound;
            count(takeOffs);
            takeOff(move, takeOffs);
            break;
        }
        if (move.push == PushSide::none) continue;
        count(pushes);
        push(move, pushes);
    }
    int extra = 0; // at no time near a true one
    for (const PushBack& p : in.watch.pushBacks) {
        constexpr double shownM = 5;
        const bool meant =
            std::any_of(in.events.moves.begin(), in.events.moves.end(), [&](const TrueMove& move) {
                return move.hexid == p.hexid && move.push != PushSide::none &&
                       std::fabs(p.time - shownTime(move.start)) < lateS;
            });
        if (!meant && p.movedM >= shownM) ++extra;
    }
    pushes["without_a_true_one"] = extra;
    return {{"landings", landings},
            {"tows", tows},
            {"pushbacks", pushes},
            {"takeoffs", takeOffs},
            {"ghosts", ghosts},
            {"turn_rounds", turnRounds},
            {"movements_wanted", in.events.wanted},
            {"movements_not_placed", in.events.notPlaced()}};
}

} // namespace

json trueEventsReport(const TrueEventsInput& input) { return Comparison(input).result(); }

void trueEventsTable(const json& part,
                     const std::function<void(std::string_view name, const std::string& text)>& row) {
    const auto number = [](const json& from, const char* name) { return from[name].get<int>(); };
    for (const char* kind : {"landings", "tows"}) {
        const json& p = part[kind];
        row(fmt::format("true {}", kind),
            fmt::format(
                "{}: {} parked on their stand, {} appeared there, {} on another, {} not parked, {} not shown",
                number(p, "true"), number(p, "on_its_stand"), number(p, "appeared_on_its_stand"),
                number(p, "on_another_stand"), number(p, "not_parked"), number(p, "not_shown")));
    }
    const json& pushes = part["pushbacks"];
    row("true push backs",
        fmt::format("{}: {} shown, {} to their side, {} straight, {} to the wrong side ({} of them reported "
                    "tail first); {} not shown "
                    "that were not reported in time, {} others; {} shown without a true one",
                    number(pushes, "true"), number(pushes, "shown"), number(pushes, "right_side"),
                    number(pushes, "straight"), number(pushes, "wrong_side"),
                    number(pushes, "wrong_side_tail_first"), number(pushes, "not_reported_in_time"),
                    number(pushes, "not_shown"), number(pushes, "without_a_true_one")));
    const json& takeOffs = part["takeoffs"];
    row("true take-offs",
        fmt::format(
            "{}: {} shown, {} of which no line was taken, {} removed on their way; {} after a turn-round",
            number(takeOffs, "true"), number(takeOffs, "shown"), number(takeOffs, "dropped"),
            std::count_if(takeOffs["list"].begin(), takeOffs["list"].end(),
                          [](const json& one) { return one["removed"] != ""; }),
            number(part, "turn_rounds")));
    const json& ghosts = part["ghosts"];
    row("true ghosts", fmt::format("{}: {} shown, {:.0f} s, {:.0f} of them without callsign and registration",
                                   number(ghosts, "true"), number(ghosts, "shown"),
                                   ghosts["shown_s"].get<double>(), ghosts["shown_unnamed_s"].get<double>()));
}

} // namespace rig

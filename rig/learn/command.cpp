// rig learn: weeks of generated traffic at an airport through the real program in virtual time, so that a learned file
// comes out, and then a day on which nothing is in the feed and static parking shows what it has learned.

#include "airports/airports.h"
#include "app/app.h"
#include "app/folders.h"
#include "app/maincycle.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "files.h"
#include "learn/compare.h"
#include "learn/visitlines.h"
#include "options.h"
#include "platform/files.h"
#include "replay/place.h"
#include "replay/stage.h"
#include "replay/staticwatch.h"
#include "rig.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <queue>

namespace rig {

namespace {

const char* const help =
    "usage: rig learn ICAO [OPTIONS]     an airport with a ground plan in rig/airports\n"
    "  --weeks W          of traffic (default 2), and a day behind them that is compared\n"
    "  --days D           that many days in place of weeks; for a short try\n"
    "  --movements N      landings and take-offs an hour (default 40)\n"
    "  --seed S           of all chance (default 1)\n"
    "  --save FILE        the learned file that comes out\n"
    "  --made N           plays nothing: a made file, out of which N aircraft are shown at any hour\n"
    "  --out DIR          report.json and the program's Log.txt\n";

constexpr double dayS = 86400, halfHourS = 1800;
constexpr double monday = 1'699'833'600;
constexpr std::int64_t tickNs = 10'000'000;

using RealClock = std::chrono::steady_clock; // for the cost alone

// The visits' feed lines as their time comes, so that weeks of them never lie in memory.
class VisitFeed {
  public:
    VisitFeed(Schedule& planned, VisitLines& maker, double startTime, double endS)
        : schedule(planned), lines(maker), start(startTime), end(endS) {}

    void deliver(double now) { // seconds from the start
        for (; next < schedule.visits.size() &&
               schedule.visits[next].landsAt - VisitLines::seenBeforeLandingS <= now &&
               schedule.visits[next].landsAt < end;
             ++next) {
            Visit& visit = schedule.visits[next];
            if (lines.arrive(visit, made)) leaving.push({visit.to, next});
        }
        for (; !leaving.empty() && leaving.top().first - VisitLines::seenBeforeLeavingS <= now; leaving.pop())
            if (leaving.top().first < end) lines.leave(schedule.visits[leaving.top().second], made);
        for (TimedLine& line : made) waiting.emplace(line.time, std::move(line.line));
        made.clear();
        for (; !waiting.empty() && waiting.begin()->first <= start + now;
             waiting.erase(waiting.begin()), ++count)
            trafficReader.takeDatagram(waiting.begin()->second);
    }
    std::size_t count = 0;

  private:
    using Leave = std::pair<double, std::size_t>;
    Schedule& schedule;
    VisitLines& lines;
    double start, end;
    std::size_t next = 0;
    std::vector<TimedLine> made;
    std::multimap<double, std::string> waiting;
    std::priority_queue<Leave, std::vector<Leave>, std::greater<>> leaving;
};

void pass(Stage& stage) {
    stage.clock.advance(tickNs);
    if (!lf_cycleStep()) throw std::runtime_error("the program has stopped, see its log");
}

void passSecond(Stage& stage) {
    constexpr int ticks = 100;
    for (int i = 0; i < ticks; ++i) pass(stage);
    lf_serveLoader();
}

Apron shownApron(const GroundPlan& plan) {
    Apron apron(plan.stands.size());
    for (const ParkedAc& ac : engine.parked) {
        const Stand* stand = gf_standBySeq(ac.standId);
        if (!stand || ac.st != SimState::active) continue;
        for (std::size_t i = 0; i < plan.stands.size(); ++i)
            if (plan.stands[i].id == stand->id) apron[i] = {ac.airline, ac.acType};
    }
    return apron;
}

struct Result {
    Agreement program, usual, random;
    std::size_t wanted = 0;
    double percentage = 0, shown = 0;
};

Result compareDay(Stage& stage, const GroundPlan& plan, const std::vector<Visit>& visits, double dayStart,
                  std::uint32_t seed) {
    constexpr int halfHours = 48;
    constexpr double lookS =
        1500; // into each half hour: the renewals of twenty minutes have been placed by then
    Result result;
    Dice dice(seed + 2);
    std::vector<Apron> truth;
    double occupied = 0;
    for (int hh = 0; hh < halfHours; ++hh) {
        truth.push_back(trueApron(plan, visits, dayStart + hh * halfHourS, dayStart + (hh + 1) * halfHourS));
        occupied += static_cast<double>(countOccupied(truth.back())) / halfHours;
    }
    result.percentage = std::round(100 * occupied / static_cast<double>(plan.stands.size()));
    result.wanted = static_cast<std::size_t>(
        std::lround(result.percentage / 100 * static_cast<double>(plan.stands.size())));
    parking_percentage.value = static_cast<int>(result.percentage);
    INITIAL_LOAD_ONLY.value = false;
    app.reparkRequest.set();
    const Apron usual = usualApron(plan, visits, dayStart, result.wanted);
    for (int hh = 0; hh < halfHours; ++hh) {
        const double at = dayStart + hh * halfHourS + lookS;
        while (stage.replaySeconds() < at) passSecond(stage);
        const Apron shown = shownApron(plan);
        result.shown += static_cast<double>(countOccupied(shown)) / halfHours;
        result.program.add(truth[static_cast<std::size_t>(hh)], shown);
        result.usual.add(truth[static_cast<std::size_t>(hh)], usual);
        result.random.add(truth[static_cast<std::size_t>(hh)], randomApron(plan, dice, result.wanted));
    }
    return result;
}

nlohmann::json toJson(const Agreement& a) {
    return {{"stands", a.stands},
            {"same_state", a.sameState},
            {"standing", a.standing},
            {"both", a.both},
            {"airline_and_type", a.airlineAndType},
            {"airline", a.airline},
            {"size", a.size}};
}

} // namespace

int runLearn(const std::vector<std::string>& arguments) {
    const Options options(arguments, {"weeks", "days", "movements", "seed", "save", "made", "out"}, {"help"});
    if (options.has("help")) {
        std::fputs(help, stdout);
        return 0;
    }
    if (options.rest.size() != 1) throw std::runtime_error("one airport with a ground plan (see --help)");
    const std::string code = options.rest[0];
    const KnownAirport* home = findKnownAirport(code);
    const auto plans = sourceFolder() / "rig" / "airports";
    if (!home || !hasGroundPlan(plans, code)) throw std::runtime_error("no ground plan of \"" + code + "\"");
    const GroundPlan plan = readGroundPlan(plans, code);

    if (options.has("made")) {
        if (!options.has("save")) throw std::runtime_error("--made needs --save, its file");
        AUTO_RANGE.value = false; // who looks at the airport wants to see who comes
        LATERAL_RANGE.value = 30;
        writeMadeLearnedFile(std::filesystem::absolute(options.path("save")),
                             findReplayAirport(code, plans / (code + ".csv")),
                             static_cast<std::size_t>(options.integer("made", 0, 0, 500)), {},
                             static_cast<std::uint32_t>(options.integer("seed", 1, 0, 4294967295)));
        return 0;
    }
    ScheduleWishes wishes;
    wishes.movements = static_cast<int>(options.integer("movements", 40, 1, 300));
    wishes.weeks = static_cast<int>(options.integer("weeks", 2, 1, 52));
    wishes.seed = static_cast<std::uint32_t>(options.integer("seed", 1, 0, 4294967295));
    const double learnS = options.has("days") ? dayS * static_cast<double>(options.integer("days", 1, 1, 364))
                                              : wishes.weeks * 7 * dayS;
    Schedule schedule(plan, wishes);

    const StandTable airport = findReplayAirport(code, plans / (code + ".csv"));
    StageOptions stageOptions;
    stageOptions.seed = stageOptions.world.seed = wishes.seed;
    stageOptions.fps = 5; // nothing is looked at between
    stageOptions.startUtc = stageOptions.world.utc = monday;
    stageOptions.world.groundFt = stageOptions.world.userAlt = airport.elevationFt;
    placeNorthOf(airport, 2, stageOptions.world.userLat, stageOptions.world.userLon);
    stageOptions.airports.push_back(airport);
    const std::filesystem::path save =
        options.has("save") ? std::filesystem::absolute(options.path("save")) : std::filesystem::path();
    if (options.has("out")) {
        stageOptions.out = std::filesystem::absolute(options.path("out"));
        std::filesystem::create_directories(stageOptions.out);
    }
    Stage stage(stageOptions);
    LOG.value = false;
    parking_percentage.value = 0; // no static aircraft while it learns, and no limit on live ones
    INITIAL_LOAD_ONLY.value = true;
    while (!airports.park.loaded) {
        passSecond(stage);
        if (stage.replaySeconds() > 120) throw std::runtime_error("the program does not load the airport");
    }
    parking_percentage.value = 0;

    VisitLines lines(plan, *home, monday, wishes.seed);
    VisitFeed feed(schedule, lines, monday, learnS);
    const auto realStart = RealClock::now();
    double told = 0;
    while (stage.replaySeconds() < learnS) {
        constexpr int ticks = 100;
        for (int i = 0; i < ticks; ++i) {
            feed.deliver(stage.replaySeconds());
            pass(stage);
        }
        lf_serveLoader();
        if (stage.replaySeconds() < told + dayS) continue;
        told += dayS;
        const double realS = std::chrono::duration<double>(RealClock::now() - realStart).count();
        std::fprintf(stderr, "day %.0f: %zu lines, %u updates, %.0f times real time\n", told / dayS,
                     feed.count, airports.updates.load(), stage.replaySeconds() / realS);
    }
    const double realS = std::chrono::duration<double>(RealClock::now() - realStart).count();
    const std::uint32_t updates = airports.updates;
    lf_removeAllParked(); // which saves
    lf_serveLoader();
    const auto learned = folders.learnedStock / (code + ".xml");
    if (!save.empty())
        std::filesystem::copy_file(learned, save, std::filesystem::copy_options::overwrite_existing);

    const double again = stage.replaySeconds();
    while (!airports.park.loaded) {
        passSecond(stage);
        if (stage.replaySeconds() > again + 120)
            throw std::runtime_error("the program does not load what it has learned");
    }
    std::size_t optionCount = 0;
    for (const Stand& stand : airports.file.stands) optionCount += stand.options.size();
    const Result day = compareDay(stage, plan, schedule.visits, learnS, wishes.seed);

    std::string text = fmt::format("{}: {:.0f} days of {} movements an hour, seed {}\n", code, learnS / dayS,
                                   wishes.movements, wishes.seed);
    text += fmt::format("{} feed lines, {} updates, {} options learned, {} visits without a stand\n",
                        feed.count, updates, optionCount, schedule.withoutStand);
    text += fmt::format("{:.0f} s, {:.0f} times real time\n\n", realS, learnS / realS);
    text += fmt::format(
        "the day behind them, with {:.0f} % of the stands wanted, {:.1f} shown on average, in percent:\n",
        day.percentage, day.shown);
    text += agreementHead();
    text += agreementLine("static parking", day.program);
    text += agreementLine("the usual occupant", day.usual);
    text += agreementLine("a random type that fits", day.random);
    std::fputs(text.c_str(), stdout);
    if (!stageOptions.out.empty()) {
        const nlohmann::json report = {{"airport", code},
                                       {"days", learnS / dayS},
                                       {"movements", wishes.movements},
                                       {"seed", wishes.seed},
                                       {"lines", feed.count},
                                       {"updates", updates},
                                       {"options", optionCount},
                                       {"speed", learnS / realS},
                                       {"percentage", day.percentage},
                                       {"program", toJson(day.program)},
                                       {"usual", toJson(day.usual)},
                                       {"random", toJson(day.random)}};
        std::ofstream(stageOptions.out / "report.json", std::ios::binary) << report.dump(2) << "\n";
    }
    return 0;
}

} // namespace rig

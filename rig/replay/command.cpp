// rig replay: plays a recording or generated traffic through the real program in virtual time and reports.

#include "app/app.h"
#include "app/folders.h"
#include "app/maincycle.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "feed/generator.h"
#include "feed/generatoroptions.h"
#include "options.h"
#include "platform/files.h"
#include "platform/process.h"
#include "replay/alloc_count.h"
#include "replay/groundreport.h"
#include "replay/measure.h"
#include "replay/place.h"
#include "replay/report.h"
#include "replay/sheet.h"
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

namespace rig {

namespace {

const char* const help =
    "usage: rig replay RECORDING [OPTIONS]\n"
    "       rig replay --generate ICAO [--flights N] [--movements N] [OPTIONS]\n"
    "  --airport ICAO       where the user stands, so that the program chooses it as its park airport\n"
    "  --stands PLACE       its stands: a table or a folder of tables; default: the shared ones, then "
    "rig/airports\n"
    "  --user LAT,LON,ALT,HEADING,ground|air   the user's aircraft; default 2 nm off the airport's stands\n"
    "  --slope PERCENT,TOWARDS   the ground rises towards this direction, from the airport or else the user "
    "on\n"
    "  --minutes M          length; default: the whole recording\n"
    "  --clean              no gaps, noise, bursts, ghosts and garbage in generated traffic\n"
    "  --range NM           radius of traffic; default: the program chooses\n"
    "  --fleet N            liveries of the installation that the program scans (default 2000)\n"
    "  --liveries FILE      a LiveriesScanned.xml instead\n"
    "  --statics N          a made learned file of the airport, so that N static aircraft are wanted\n"
    "  --keep-clear         static aircraft leave before a live one that taxies touches them\n"
    "  --seed S             of all chance (default 1)\n"
    "  --fps F              frames per second of the simulator (default 30)\n"
    "  --out DIR            report.json, tracks.svg, ground.svg, profiles.svg and the program's Log.txt\n"
    "  --aircraft WHICH     also a sheet of this aircraft, by its address of six hexadecimal digits or a "
    "callsign;\n"
    "                       may be given several times\n";

constexpr double tickS = 0.01;
constexpr std::int64_t tickNs = 10'000'000;
constexpr double leadS = 20; // before the first line: the program has found its park airport by then
constexpr double userOffNm = 2;
constexpr double drainS = 40; // after the last line: the program flies 30 s behind the feed

using RealClock = std::chrono::steady_clock; // for the cost alone

struct Input {
    std::vector<TimedLine> lines;
    FeedTracks truth;  // of generated traffic
    TrueEvents events; // likewise
    std::string title;
};

Input loadInput(const Options& options) {
    Input input;
    if (options.has("generate")) {
        const GeneratorOptions wanted = generatorOptions(options);
        GeneratedTraffic traffic = generateTraffic(wanted);
        tellNotPlaced(traffic.events);
        input.events = std::move(traffic.events);
        input.lines = std::move(traffic.lines);
        for (const auto& [hexid, fixes] : traffic.truth)
            for (const TrueFix& fix : fixes)
                input.truth.add(hexid, {fix.time, fix.lat, fix.lon, fix.altFt, fix.speedKt, fix.onGround});
        input.title = fmt::format(
            "{} generated flights{} at {}, seed {}", wanted.flights,
            wanted.movements > 0 ? fmt::format(" and {} movements an hour", wanted.movements) : "",
            wanted.airport, wanted.seed);
    } else {
        if (options.rest.size() != 1)
            throw std::runtime_error("one recording, or --generate ICAO (see --help)");
        const std::filesystem::path file = plat::textPath(options.rest[0]);
        input.lines = loadRecording(file);
        input.title = plat::pathText(file.filename());
    }
    return input;
}

// "LAT,LON,ALT,HEADING,ground|air"
void placeUser(WorldSettings& world, const std::string& text) {
    double lat = 0, lon = 0, alt = 0, heading = 0;
    char where[8] = "";
    if (std::sscanf(text.c_str(), "%lf,%lf,%lf,%lf,%7s", &lat, &lon, &alt, &heading, where) != 5 ||
        (std::string(where) != "ground" && std::string(where) != "air") || !(std::abs(lat) <= 90) ||
        !(std::abs(lon) <= 180))
        throw std::runtime_error("--user takes LAT,LON,ALT,HEADING,ground|air, not \"" + text + "\"");
    world.userLat = lat;
    world.userLon = lon;
    world.userAlt = alt;
    world.userHeading = heading;
    world.userOnGround = std::string(where) == "ground";
    if (world.userOnGround) world.groundFt = alt;
}

class Player {
  public:
    Player(Stage& where, Measure& what, GroundWatch& onGround, Decisions& heard, SheetLog& forSheets,
           const std::vector<TimedLine>& all, double start)
        : stage(where), measure(what), ground(onGround), decisions(heard), sheets(forSheets), lines(all),
          startTime(start) {}

    void play(double seconds) {
        const auto realStart = RealClock::now();
        for (double time = 0; time < seconds; time = stage.replaySeconds()) {
            stage.clock.advance(tickNs);
            const double now = stage.replaySeconds();
            deliver(startTime + now);
            decisions.now = now;
            if (!pass()) break;
            lf_serveLoader();
            if (airportCode.empty() && airports.park.loaded) noteAirport();
            watchGround(now);
            measure.afterTick(now, startTime + now);
            statics.afterTick(now, stage.hub.world);
            if (std::floor(now) != std::floor(now - tickS)) {
                measure.everySecond(now, startTime + now);
                statics.everySecond(now, stage.hub.world);
            }
            ++cost.ticks;
        }
        ground.finish(stage.replaySeconds());
        cost.simulatedS = stage.replaySeconds();
        cost.realS = std::chrono::duration<double>(RealClock::now() - realStart).count();
        cost.allocationsPerTick =
            cost.ticks ? static_cast<double>(allocations) / static_cast<double>(cost.ticks) : 0;
        cost.peakRssMb = static_cast<double>(plat::peakMemoryBytes()) / (1 << 20);
    }

    Cost cost;
    StaticWatch statics;
    std::size_t next = 0;    // line to deliver
    std::string airportCode; // of the park airport that the program chose
    std::vector<StandPlace> stands;

  private:
    void noteAirport() { // stands may grow later
        airportCode = airports.park.code;
        for (const Stand& stand : airports.file.stands)
            stands.push_back(
                {stand.id, stand.lat, stand.lon, stand.heading, stand.radius * metersPerNm, stand.heli});
    }

    void watchGround(double now) {
        const World& world = stage.hub.world;
        const SimObject& user = world.user();
        const CrossShape userShape{user.lat, user.lon, user.heading, simLife.userRadiusNm * metersPerNm};
        collectShown(world, shown);
        sheets.afterTick(now, shown);
        ground.afterTick(now, shown, world.onGround(user) ? &userShape : nullptr);
    }

    void deliver(double feedTime) {
        for (; next < lines.size() && lines[next].time <= feedTime; ++next) {
            LineFates& fates = decisions.lines[measure.tracks.add(lines[next].line)];
            fates.count(-1);
            trafficReader.takeDatagram(lines[next].line);
            fates.count(1);
        }
    }

    bool pass() {
        const auto allocationsBefore = allocationCount() - decisions.costAllocations;
        const double listeningBefore = decisions.costUs;
        const auto start = RealClock::now();
        const bool goOn = lf_cycleStep();
        const double us = std::chrono::duration<double, std::micro>(RealClock::now() - start).count() -
                          (decisions.costUs - listeningBefore);
        allocations += allocationCount() - decisions.costAllocations - allocationsBefore;
        measure.tickUs.add(us);
        if (us > 10000) cost.ticksOver10ms += 1;
        return goOn;
    }

    Stage& stage;
    Measure& measure;
    GroundWatch& ground;
    Decisions& decisions;
    SheetLog& sheets;
    std::vector<Shown> shown;
    const std::vector<TimedLine>& lines;
    double startTime;
    std::uint64_t allocations = 0;
};

} // namespace

int runReplay(const std::vector<std::string>& arguments) {
    const Options options(arguments,
                          {"generate", "flights", "movements", "airport", "user", "minutes", "range",
                           "liveries", "fleet", "statics", "seed", "slope", "fps", "out", "stands",
                           "aircraft"},
                          {"help", "clean", "keep-clear"});
    if (options.has("help")) {
        std::fputs(help, stdout);
        return 0;
    }
    Input input = loadInput(options);
    StandTable airport; // without a code: none
    if (options.has("airport")) airport = findReplayAirport(options.text("airport"), options.path("stands"));
    StageOptions stageOptions;
    stageOptions.seed = static_cast<std::uint32_t>(options.integer("seed", 1, 0, 4294967295));
    stageOptions.world.seed = stageOptions.seed;
    stageOptions.fps = options.number("fps", 30, 5, 240);
    stageOptions.rangeNm = static_cast<int>(options.integer("range", 0, 2, 100));
    stageOptions.startUtc = std::floor(input.lines.front().time) - leadS;
    stageOptions.world.utc = stageOptions.startUtc;
    if (options.has("liveries")) stageOptions.liveries = std::filesystem::absolute(options.path("liveries"));
    constexpr std::int64_t mostLiveries = 200'000;
    stageOptions.fleet = static_cast<std::size_t>(options.integer("fleet", 2000, 1, mostLiveries));
    if (options.has("user")) {
        placeUser(stageOptions.world, options.text("user"));
    } else if (!airport.code.empty()) {
        placeNorthOf(airport, userOffNm, stageOptions.world.userLat, stageOptions.world.userLon);
        stageOptions.world.userAlt = airport.elevationFt;
    } else {
        throw std::runtime_error("--user or --airport says where the user is (see --help)");
    }
    if (!airport.code.empty()) stageOptions.world.groundFt = airport.elevationFt;
    if (options.has("slope")) {
        const WorldSettings& world = stageOptions.world;
        const bool atAirport = !airport.code.empty();
        stageOptions.world.slope = parseSlope(options.text("slope"), atAirport ? airport.lat : world.userLat,
                                              atAirport ? airport.lon : world.userLon);
    }
    if (!airport.stands.empty()) stageOptions.airports.push_back(airport);
    if (options.has("aircraft") && !options.has("out"))
        throw std::runtime_error("--aircraft needs --out, the folder for its sheet");
    if (options.has("out")) {
        stageOptions.out = std::filesystem::absolute(options.path("out"));
        std::filesystem::create_directories(stageOptions.out);
    }

    double seconds = input.lines.back().time - stageOptions.startUtc + drainS;
    if (options.has("minutes"))
        seconds = std::min(seconds, leadS + 60 * options.number("minutes", 0, 0.1, 1440));

    Measure measure;
    measure.truth = std::move(input.truth);
    Stage stage(stageOptions);
    measure.world = &stage.hub.world;
    GroundWatch ground;
    ground.tracks = measure.truth.empty() ? &measure.tracks : &measure.truth;
    ground.startFeedTime = stageOptions.startUtc;
    Decisions decisions;
    SheetLog sheets(options.all("aircraft"));
    COLLISION_LIVE_PARKED_GND.value = options.has("keep-clear");
    if (options.has("statics")) {
        if (airport.stands.empty()) throw std::runtime_error("--statics needs --airport, with stands");
        writeMadeLearnedFile(folders.learnedStock / (airport.code + ".xml"), airport,
                             static_cast<std::size_t>(options.integer("statics", 0, 0, 500)), input.lines,
                             stageOptions.seed);
    }
    Player player(stage, measure, ground, decisions, sheets, input.lines, stageOptions.startUtc);
    player.play(seconds);

    const World& world = stage.hub.world;
    const GroundInput groundInput{ground, decisions, player.stands, player.airportCode};
    const ReportInput reportInput{measure,
                                  groundInput,
                                  player.cost,
                                  player.next,
                                  stage.digest,
                                  world.createdCount,
                                  world.refusedCount,
                                  world.removedCount,
                                  input.title,
                                  input.events.wanted > 0 ? &input.events : nullptr,
                                  input.lines.back().time};
    nlohmann::json report = makeReport(reportInput);
    report["statics"] = player.statics.report();
    std::fputs(reportTable(reportInput, report).c_str(), stdout);
    if (player.statics.most > 0) std::fputs(player.statics.table().c_str(), stdout);
    if (!stageOptions.out.empty()) {
        std::ofstream(stageOptions.out / "report.json", std::ios::binary) << report.dump(2) << "\n";
        drawPictures(measure, player.stands, stageOptions.out);
        writeSheets(
            {sheets, decisions, measure.tracks, player.stands, stageOptions.startUtc, measure.feedDelayS},
            stageOptions.out);
    }
    return 0;
}

} // namespace rig

// rig replay: plays a recording or generated traffic through the real program in virtual time and reports.

#include "app/app.h"
#include "app/maincycle.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "feed/generator.h"
#include "options.h"
#include "platform/files.h"
#include "platform/process.h"
#include "replay/alloc_count.h"
#include "replay/measure.h"
#include "replay/report.h"
#include "replay/stage.h"
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
    "       rig replay --generate ICAO [--flights N] [OPTIONS]\n"
    "  --airport ICAO       the current park airport: reports from the ground and landings there (no stands "
    "yet)\n"
    "  --user LAT,LON,ALT,HEADING,ground|air   the user's aircraft; default 2 nm north of the airport\n"
    "  --minutes M          length; default: the whole recording\n"
    "  --range NM           radius of traffic; default: the program chooses\n"
    "  --fleet N            liveries of the installation that the program scans (default 2000)\n"
    "  --liveries FILE      a LiveriesScanned.xml instead\n"
    "  --seed S             of all chance (default 1)\n"
    "  --fps F              frames per second of the simulator (default 30)\n"
    "  --out DIR            report.json, tracks.svg, profiles.svg and the program's Log.txt\n";

constexpr double tickS = 0.01;
constexpr std::int64_t tickNs = 10'000'000;
constexpr double drainS = 40; // after the last line: the program flies 30 s behind the feed

using RealClock = std::chrono::steady_clock; // for the cost alone

struct Input {
    std::vector<TimedLine> lines;
    std::string title;
};

Input loadInput(const Options& options) {
    Input input;
    if (options.has("generate")) {
        GeneratorOptions wanted;
        wanted.airport = options.text("generate");
        wanted.flights = static_cast<int>(options.integer("flights", 40, 1, 2000));
        wanted.seed = static_cast<std::uint32_t>(options.integer("seed", 1, 0, 4294967295));
        wanted.minutes = options.number("minutes", 30, 0.1, 1440);
        input.lines = generateTraffic(wanted).lines;
        input.title =
            fmt::format("{} generated flights at {}, seed {}", wanted.flights, wanted.airport, wanted.seed);
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

ParkAirport airportOf(const Options& options) {
    ParkAirport park;
    if (!options.has("airport")) return park;
    const KnownAirport* known = findKnownAirport(options.text("airport"));
    if (!known)
        throw std::runtime_error("--airport \"" + options.text("airport") +
                                 "\" is unknown; known: " + knownAirportCodes());
    park.code = known->code;
    park.lat = known->lat;
    park.lon = known->lon;
    park.elevation = known->elevationFt;
    return park;
}

class Player {
  public:
    Player(Stage& where, Measure& what, const std::vector<TimedLine>& all, double start)
        : stage(where), measure(what), lines(all), startTime(start) {}

    void play(double seconds) {
        const auto realStart = RealClock::now();
        for (double time = 0; time < seconds; time = stage.replaySeconds()) {
            stage.clock.advance(tickNs);
            deliver(startTime + stage.replaySeconds());
            if (!pass()) break;
            const double now = stage.replaySeconds();
            measure.afterTick(now, startTime + now);
            if (std::floor(now) != std::floor(now - tickS)) measure.everySecond(now, startTime + now);
            ++cost.ticks;
        }
        cost.simulatedS = stage.replaySeconds();
        cost.realS = std::chrono::duration<double>(RealClock::now() - realStart).count();
        cost.allocationsPerTick =
            cost.ticks ? static_cast<double>(allocations) / static_cast<double>(cost.ticks) : 0;
        cost.peakRssMb = static_cast<double>(plat::peakMemoryBytes()) / (1 << 20);
    }

    Cost cost;
    std::size_t next = 0; // line to deliver

  private:
    void deliver(double feedTime) {
        for (; next < lines.size() && lines[next].time <= feedTime; ++next) {
            measure.tracks.add(lines[next].line);
            trafficReader.takeDatagram(lines[next].line);
        }
    }

    bool pass() {
        const auto allocationsBefore = allocationCount();
        const auto start = RealClock::now();
        const bool goOn = lf_cycleStep();
        const double us = std::chrono::duration<double, std::micro>(RealClock::now() - start).count();
        allocations += allocationCount() - allocationsBefore;
        measure.tickUs.add(us);
        if (us > 10000) cost.ticksOver10ms += 1;
        return goOn;
    }

    Stage& stage;
    Measure& measure;
    const std::vector<TimedLine>& lines;
    double startTime;
    std::uint64_t allocations = 0;
};

} // namespace

int runReplay(const std::vector<std::string>& arguments) {
    const Options options(arguments,
                          {"generate", "flights", "airport", "user", "minutes", "range", "liveries", "fleet",
                           "seed", "fps", "out"},
                          {"help"});
    if (options.has("help")) {
        std::fputs(help, stdout);
        return 0;
    }
    const Input input = loadInput(options);
    const ParkAirport park = airportOf(options);
    StageOptions stageOptions;
    stageOptions.seed = static_cast<std::uint32_t>(options.integer("seed", 1, 0, 4294967295));
    stageOptions.world.seed = stageOptions.seed;
    stageOptions.fps = options.number("fps", 30, 5, 240);
    stageOptions.rangeNm = static_cast<int>(options.integer("range", 0, 2, 100));
    stageOptions.startUtc = std::floor(input.lines.front().time);
    stageOptions.world.utc = stageOptions.startUtc;
    if (options.has("liveries")) stageOptions.liveries = std::filesystem::absolute(options.path("liveries"));
    constexpr std::int64_t mostLiveries = 200'000;
    stageOptions.fleet = static_cast<std::size_t>(options.integer("fleet", 2000, 1, mostLiveries));
    if (options.has("user")) {
        placeUser(stageOptions.world, options.text("user"));
    } else if (park.known()) {
        stageOptions.world.userLat = park.lat + 2.0 / 60;
        stageOptions.world.userLon = park.lon;
        stageOptions.world.userAlt = park.elevation;
    } else {
        throw std::runtime_error("--user or --airport says where the user is (see --help)");
    }
    if (park.known()) stageOptions.world.groundFt = park.elevation;
    if (options.has("out")) {
        stageOptions.out = std::filesystem::absolute(options.path("out"));
        std::filesystem::create_directories(stageOptions.out);
    }

    double seconds = input.lines.back().time - stageOptions.startUtc + drainS;
    if (options.has("minutes")) seconds = std::min(seconds, 60 * options.number("minutes", 0, 0.1, 1440));

    Measure measure;
    measure.groundElevationFt = stageOptions.world.groundFt;
    Stage stage(stageOptions);
    if (park.known()) gf_publishParkAirport(park);
    Player player(stage, measure, input.lines, stageOptions.startUtc);
    player.play(seconds);

    const World& world = stage.hub.world;
    const ReportInput reportInput{measure,
                                  player.cost,
                                  player.next,
                                  stage.digest,
                                  world.createdCount,
                                  world.refusedCount,
                                  world.removedCount,
                                  input.title};
    const nlohmann::json report = makeReport(reportInput);
    std::fputs(reportTable(reportInput, report).c_str(), stdout);
    if (!stageOptions.out.empty()) {
        std::ofstream(stageOptions.out / "report.json", std::ios::binary) << report.dump(2) << "\n";
        drawPictures(measure, stageOptions.out);
    }
    return 0;
}

} // namespace rig

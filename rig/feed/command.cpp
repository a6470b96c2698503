// rig feed: a stand-in for RealTraffic.

#include "files.h"
#include "generator.h"
#include "generatoroptions.h"
#include "options.h"
#include "player.h"
#include "recording.h"
#include "rig.h"
#include "simulator/script.h"

#include "platform/clock.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace rig {

static const char* const usage =
    R"(usage: rig feed RECORDING [options]
       rig feed --generate ICAO [options]
       rig feed --at LAT,LON,ELEVATION [options]

Plays traffic to UDP port 49005 and the weather to 49004, on this computer, and connects to the program's control
link. A recording is a text file, plain or .gz, with one feed line per line and its time in field 14.

  --now              times of the recording moved to the present
  --from MINUTES     leave out the beginning of the recording, or of the generated traffic
  --minutes MINUTES  length to play (generated traffic: 30)
  --speed X          times the pace of the recording (1)
  --loop             at the end once more, with later times
  --seconds N        end after N seconds
  --qnh HPA          the weather (1013)
  --control PORT     the program's port of the control link (10747)
  --no-control       no control link
  --level 1|2        edition that is reported; 2 is the professional one (1)
  --generate ICAO    makes traffic around that airport
  --at LAT,LON,FEET  makes traffic around that place
  --flights N        how many aircraft to make (40); with --movements those that pass or fly around (20)
  --movements N      landings and take-offs an hour, with stands, push backs and taxiing, at an airport whose
                     ground is known (KIAD)
  --seed S           the same seed makes the same traffic (1)
  --clean            no gaps, noise, bursts, ghosts and garbage in it
  --save FILE        writes the lines to a file instead of playing them
  --script FILE      lines of a second and a verb
  --journal FILE     what happened, and what the program sent; "-" for the screen
)";

GeneratorOptions generatorOptions(const Options& options) {
    constexpr int passing = 20;
    GeneratorOptions wanted;
    wanted.airport = options.text("generate");
    wanted.movements = static_cast<int>(options.integer("movements", 0, 1, 400));
    wanted.flights = static_cast<int>(
        options.integer("flights", wanted.movements > 0 ? passing : wanted.flights, 0, 5000));
    wanted.seed = static_cast<std::uint32_t>(options.integer("seed", wanted.seed, 0, 4294967295));
    wanted.minutes = options.number("minutes", wanted.minutes, 0.1, 1440);
    wanted.faults = !options.has("clean");
    wanted.plans = sourceFolder() / "rig" / "airports";
    return wanted;
}

void tellNotPlaced(const TrueEvents& events) {
    if (events.wanted == 0) return;
    fmt::print("{} movements, {} of them not placed", events.wanted, events.notPlaced());
    if (events.notPlaced() > 0)
        fmt::print(": {} for want of a stand, {} of an aircraft, {} of room", events.noStand,
                   events.noAircraft, events.noWay);
    fmt::print("\n");
}

static void takePlace(const std::string& text, GeneratorOptions& options) {
    const char* at = text.data();
    const char* const end = at + text.size();
    double* const numbers[] = {&options.lat, &options.lon, &options.elevationFt};
    for (double* const number : numbers) {
        const auto [next, error] = std::from_chars(at, end, *number);
        const bool last = number == numbers[2];
        if (error != std::errc() || (last ? next != end : next == end || *next != ','))
            throw std::runtime_error("--at takes latitude,longitude,elevation, not \"" + text + "\"");
        at = last ? next : next + 1;
    }
}

static std::vector<TimedLine> generate(const Options& options) {
    GeneratorOptions wanted = generatorOptions(options);
    if (options.has("at")) takePlace(options.text("at"), wanted);
    const double from = options.number("from", 0, 0, 1440);
    const double now = static_cast<double>(plat::utcSeconds());
    wanted.startTime = now - 60 * from;
    wanted.minutes += from;
    GeneratedTraffic traffic = generateTraffic(wanted);
    tellNotPlaced(traffic.events);
    auto& lines = traffic.lines;
    lines.erase(lines.begin(), std::find_if(lines.begin(), lines.end(),
                                            [&](const TimedLine& line) { return line.time >= now; }));
    return std::move(lines);
}

static std::vector<TimedLine> load(const Options& options) {
    std::vector<TimedLine> lines = loadRecording(plat::textPath(options.rest.front()));
    const double from = lines.front().time + 60 * options.number("from", 0, 0, 100000);
    const double to = from + 60 * options.number("minutes", 100000, 0.1, 100000);
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [&](const TimedLine& line) { return line.time < from || line.time >= to; }),
                lines.end());
    if (lines.empty()) throw std::runtime_error("the recording has no line in that part");
    if (options.has("now")) shiftTimes(lines, static_cast<double>(plat::utcSeconds()) - lines.front().time);
    return lines;
}

static void save(const std::vector<TimedLine>& lines, const std::filesystem::path& path) {
    std::ofstream out(path, std::ios::binary);
    for (const TimedLine& line : lines) out << line.line << '\n';
    out.close();
    if (!out) throw std::runtime_error("cannot write \"" + plat::pathText(path) + "\"");
    fmt::print("{} lines written to {}\n", lines.size(), plat::pathText(path));
}

static Script loadScript(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read the script \"" + plat::pathText(path) + "\"");
    return parseScript({std::istreambuf_iterator<char>(in), {}});
}

int runFeed(const std::vector<std::string>& arguments) {
    const Options options(arguments,
                          {"from", "minutes", "speed", "seconds", "qnh", "control", "level", "generate", "at",
                           "flights", "movements", "seed", "save", "script", "journal"},
                          {"help", "now", "loop", "no-control", "clean"});
    if (options.has("help")) {
        fmt::print("{}\n{}", usage, feedVerbs);
        return 0;
    }
    const int sources = static_cast<int>(options.rest.size()) + options.has("generate") + options.has("at");
    if (sources != 1) throw std::runtime_error("one recording, --generate or --at is needed (see --help)");

    PlayerSettings settings;
    std::ofstream journal;
    if (options.text("journal") == "-") {
        settings.journal = &std::cout;
    } else if (options.has("journal")) {
        journal.open(options.path("journal"), std::ios::binary);
        if (!journal)
            throw std::runtime_error("cannot write the journal \"" + options.text("journal") + "\"");
        settings.journal = &journal;
    }
    settings.speed = options.number("speed", settings.speed, 0.01, 1000);
    settings.loop = options.has("loop");
    settings.qnh = static_cast<int>(options.integer("qnh", settings.qnh, 0, 10000));
    settings.level = static_cast<int>(options.integer("level", settings.level, 1, 2));
    settings.control =
        options.has("no-control")
            ? std::uint16_t(0)
            : static_cast<std::uint16_t>(options.integer("control", settings.control, 1, 65535));
    const double limit = options.number("seconds", 1e9, 0, 1e9);
    Script script = options.has("script") ? loadScript(options.path("script")) : Script();

    std::vector<TimedLine> lines = options.rest.empty() ? generate(options) : load(options);
    if (options.has("save")) {
        save(lines, options.path("save"));
        return 0;
    }
    fmt::print("playing {} lines, {:.1f} minutes\n", lines.size(),
               (lines.back().time - lines.front().time) / 60 / settings.speed);
    std::fflush(stdout);

    FeedPlayer player(std::move(lines), settings);
    constexpr int stepMs = 10;
    while (player.step() && player.seconds() < limit) {
        for (; script.next < script.lines.size() && script.lines[script.next].due <= player.seconds();
             ++script.next)
            player.tell(script.lines[script.next].text);
        plat::sleepMs(stepMs);
    }
    fmt::print("{} lines sent", player.sent);
    if (const ControlClient* link = player.link()) {
        fmt::print(", {} connections, {} positions received", link->visits, link->positions);
        if (link->positions > 0)
            fmt::print(", the last {:.4f}, {:.4f}, {:.0f} ft", link->position.lat, link->position.lon,
                       link->position.altFt);
    }
    fmt::print("\n");
    return 0;
}

} // namespace rig

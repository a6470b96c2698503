// The verbs of the stand-in and its scripts.

#include "simulator/script.h"

#include "app/geo.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <stdexcept>

namespace rig {

const char* const simulatorVerbs =
    R"(verbs, in a script behind the second at which they are due, or by POST /script:
  pause | resume                  the user's pause
  sim 0|1                         the flight stands or runs ("Sim" event)
  flight-loaded NAME              a flight file was loaded
  user LAT,LON,ALT,HDG,ground|air[,SPEED]
  user-taxi | user-takeoff | user-landing | user-stop
  user-event NAME [DATA]          the user pulls a lever, e.g. user-event GEAR_SET 1
  add-object TITLE                an object of the simulator's own, a mile east of the user
  remove-object ID                the simulator removes an object by itself
  ground FEET | utc SECONDS       elevation of the ground; simulator time
  fail title TEXT                 titles that hold TEXT can't be created
  fail creations                  creations get no answer at all
  fail late SECONDS               all output waits
  fail drop                       data answers and assigned ids are left out
  fail silent                     nothing is sent any more
  fail split                      output leaves in single bytes
  fail close                      all connections break
  fail none                       all faults end
  quit                            the simulator ends
)";

static std::string_view nextWord(std::string_view& rest) {
    const auto begin = rest.find_first_not_of(" \t\r");
    if (begin == std::string_view::npos) {
        rest = {};
        return {};
    }
    rest.remove_prefix(begin);
    const std::string_view word = rest.substr(0, rest.find_first_of(" \t\r"));
    rest.remove_prefix(word.size());
    const auto behind = rest.find_first_not_of(" \t\r");
    rest.remove_prefix(behind == std::string_view::npos ? rest.size() : behind);
    while (!rest.empty() && (rest.back() == '\r' || rest.back() == ' ' || rest.back() == '\t'))
        rest.remove_suffix(1);
    return word;
}

static double number(std::string_view text, double low, double high) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(value >= low && value <= high))
        throw std::runtime_error(fmt::format("\"{}\" is no number from {} to {}", text, low, high));
    return value;
}

void parseUserPlace(std::string_view text, WorldSettings& settings) {
    constexpr std::size_t fewest = 5, most = 6;
    std::vector<std::string_view> fields;
    for (std::string_view rest = text;;) {
        const auto comma = rest.find(',');
        fields.push_back(rest.substr(0, comma));
        if (comma == std::string_view::npos) break;
        rest.remove_prefix(comma + 1);
    }
    if (fields.size() < fewest || fields.size() > most || (fields[4] != "ground" && fields[4] != "air"))
        throw std::runtime_error(
            fmt::format("\"{}\" is not of the form LAT,LON,ALT,HDG,ground|air[,SPEED]", text));
    settings.userLat = number(fields[0], -90, 90);
    settings.userLon = number(fields[1], -180, 180);
    settings.userAlt = number(fields[2], -2000, 100'000);
    settings.userHeading = number(fields[3], -360, 360);
    settings.userOnGround = fields[4] == "ground";
    const double flying = 120; // knots, so that an aircraft in the air stays there
    settings.userSpeed = fields.size() == most   ? number(fields[5], 0, 3000)
                         : settings.userOnGround ? 0
                                                 : flying;
}

static void addOwnObject(World& world, std::string_view title) {
    constexpr double mileOfLatitude = 1.0 / 60;
    CreationRequest request;
    request.title = title;
    request.tailNumber = "SIM1";
    const SimObject& own = world.user();
    request.lat = own.lat;
    request.lon = own.lon + mileOfLatitude / std::max(0.1, std::cos(own.lat * degToRad));
    request.alt = own.alt;
    request.onGround = world.onGround(own);
    request.airspeed = request.onGround ? 0 : own.trueAirspeed;
    world.create(std::move(request));
}

static void startUserMove(World& world, UserMove move) {
    if (move == UserMove::taxi || move == UserMove::takeoff)
        if (!world.onGround(world.user())) putOnGround(world, world.user());
    world.userMove = move;
}

static void fail(SimHub& hub, std::string_view rest) {
    const std::string_view kind = nextWord(rest);
    constexpr double longest = 3600;
    if (kind == "title" && !rest.empty())
        hub.world.refusedTitles.emplace_back(rest);
    else if (kind == "creations")
        hub.world.creationsVanish = true;
    else if (kind == "late")
        hub.faults.late = number(rest, 0, longest);
    else if (kind == "drop")
        hub.faults.dropAnswers = true;
    else if (kind == "silent")
        hub.faults.silent = true;
    else if (kind == "split")
        hub.faults.split = true;
    else if (kind == "close")
        hub.closeConnections();
    else if (kind == "none") {
        hub.faults = {};
        hub.world.creationsVanish = false;
        hub.world.refusedTitles.clear();
    } else
        throw std::runtime_error("no such fault");
}

static void carryOut(SimHub& hub, std::string_view verb, std::string_view rest) {
    World& world = hub.world;
    constexpr double lowestGround = -2000, highestGround = 30'000, lastUtc = 4'102'444'800; // year 2100
    if (verb == "pause" || verb == "resume") {
        hub.setPaused(verb == "pause");
    } else if (verb == "sim") {
        hub.setRunning(number(rest, 0, 1) != 0);
    } else if (verb == "flight-loaded" && !rest.empty()) {
        hub.flightLoaded(std::string(rest));
    } else if (verb == "user") {
        WorldSettings place;
        parseUserPlace(rest, place);
        world.placeUser(place.userLat, place.userLon, place.userAlt, place.userHeading, place.userOnGround,
                        place.userSpeed);
    } else if (verb == "user-taxi") {
        startUserMove(world, UserMove::taxi);
    } else if (verb == "user-takeoff") {
        startUserMove(world, UserMove::takeoff);
    } else if (verb == "user-landing") {
        startUserMove(world, UserMove::landing);
    } else if (verb == "user-stop") {
        startUserMove(world, UserMove::straight);
        world.user().trueAirspeed = world.user().verticalSpeed = 0;
    } else if (verb == "user-event") {
        const std::string name(nextWord(rest));
        const double data = rest.empty() ? 0 : number(rest, -16384, 16383);
        if (!hub.userEvent(name, static_cast<std::uint32_t>(static_cast<std::int32_t>(data))))
            throw std::runtime_error("no such event");
    } else if (verb == "add-object" && !rest.empty()) {
        addOwnObject(world, rest);
    } else if (verb == "remove-object") {
        if (!world.remove(static_cast<std::uint32_t>(number(rest, 0, 4294967295.0))))
            throw std::runtime_error("no such object");
    } else if (verb == "ground") {
        world.settings.groundFt = number(rest, lowestGround, highestGround);
    } else if (verb == "utc") {
        world.utc = number(rest, 0, lastUtc);
    } else if (verb == "fail") {
        fail(hub, rest);
    } else if (verb == "quit") {
        hub.quit();
    } else {
        throw std::runtime_error("no such verb, or something is missing behind it");
    }
}

void tellSimulator(SimHub& hub, std::string_view line) {
    std::string_view rest = line;
    const std::string_view verb = nextWord(rest);
    hub.note(fmt::format("told: {}", line));
    try {
        carryOut(hub, verb, rest);
    } catch (const std::exception& e) {
        throw std::runtime_error(fmt::format("\"{}\": {}", line, e.what()));
    }
}

Script parseScript(const std::string& text) {
    Script script;
    constexpr double lastSecond = 1e6;
    std::size_t at = 0;
    for (int lineNumber = 1; at < text.size(); ++lineNumber) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::string_view rest = std::string_view(text).substr(at, end - at);
        at = end + 1;
        const std::string_view time = nextWord(rest);
        if (time.empty() || time.front() == '#') continue;
        try {
            if (rest.empty()) throw std::runtime_error("no verb");
            script.lines.push_back({number(time, 0, lastSecond), std::string(rest)});
        } catch (const std::exception& e) {
            throw std::runtime_error(fmt::format("script line {}: {}", lineNumber, e.what()));
        }
    }
    std::stable_sort(script.lines.begin(), script.lines.end(),
                     [](const Script::Line& a, const Script::Line& b) { return a.due < b.due; });
    return script;
}

void runScript(Script& script, SimHub& hub) {
    while (script.next < script.lines.size() && script.lines[script.next].due <= hub.world.elapsed) {
        try {
            tellSimulator(hub, script.lines[script.next++].text);
        } catch (const std::exception& e) {
            hub.note(fmt::format("  not done: {}", e.what()));
        }
    }
}

} // namespace rig

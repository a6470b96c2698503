// rig simulator: options, start and end of the stand-in.

#include "files.h"
#include "options.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/process.h"
#include "rig.h"
#include "simulator/page.h"
#include "simulator/server.h"
#include "simulator/web.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>

namespace rig {

static const char* const help = R"(usage: rig simulator [options]
A simulator that speaks SimConnect over TCP on loopback.
  --edition 2020|2024       which simulator it plays (2020)
  --port N                  0: any free port (0); printed as "listening on 127.0.0.1:PORT"
  --ready-file FILE         also writes that address to FILE
  --user LAT,LON,ALT,HDG,ground|air[,SPEED]   the user's aircraft
  --title TEXT --model TEXT its title and model
  --titles FILE|FOLDER      titles that can be created: one a line, or a LiveriesScanned.xml, or a folder that
                            holds one or the other; without it all but those that begin with "No Such"
  --ground FEET             elevation of the ground (13, or --user's ALT for ground)
  --slope PERCENT,TOWARDS   the ground rises from the user on towards this direction (level)
  --utc SECONDS             simulator time, seconds since 1970 (the real time)
  --fps N                   frames a second (30)
  --creation-delay MIN,MAX  seconds that a creation takes (0.2,1.0)
  --gaps                    leave out object numbers
  --seed N                  of the delays and gaps (1)
  --stands TABLE            stands of airports, for the map page and /world.json
  --http PORT               map page, /world.json, /journal, POST /script; 0: any free port
  --script FILE             lines of: second verb
  --journal FILE            what the clients did, as it happens
  --seconds N               ends by itself
)";

// Thrown texts name the file.
static void readTitles(const std::filesystem::path& path, std::set<std::string>& titles) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error(fmt::format("can't read \"{}\"", plat::pathText(path)));
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    const auto first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (first != std::string::npos && text[first] == '<') {
        pugi::xml_document document;
        const auto result = document.load_buffer(text.data(), text.size());
        if (!result)
            throw std::runtime_error(fmt::format("\"{}\": {}", plat::pathText(path), result.description()));
        for (const auto& found : document.select_nodes("//liv/@title"))
            titles.insert(found.attribute().value());
    } else {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
            if (!line.empty()) titles.insert(line);
        }
    }
}

static std::set<std::string> readAllTitles(const std::filesystem::path& path) {
    std::set<std::string> titles;
    if (std::filesystem::is_directory(path)) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
            const auto extension = entry.path().extension();
            if (entry.is_regular_file() && (extension == ".txt" || extension == ".xml"))
                readTitles(entry.path(), titles);
        }
    } else {
        readTitles(path, titles);
    }
    if (titles.empty()) throw std::runtime_error(fmt::format("no titles in \"{}\"", plat::pathText(path)));
    return titles;
}

static WorldSettings settingsOf(const Options& options) {
    WorldSettings settings;
    settings.seed = static_cast<std::uint32_t>(options.integer("seed", 1, 0, 4294967295));
    settings.idGaps = options.has("gaps");
    settings.userTitle = options.text("title", settings.userTitle);
    settings.userModel = options.text("model", settings.userModel);
    if (options.has("titles")) settings.titles = readAllTitles(options.path("titles"));
    if (options.has("user")) {
        parseUserPlace(options.text("user"), settings);
        // An aircraft that stands somewhere tells how high the ground is there.
        if (settings.userOnGround) settings.groundFt = settings.userAlt;
    }
    constexpr double lowest = -2000, highest = 30'000, lastUtc = 4'102'444'800; // feet; year 2100
    settings.groundFt = options.number("ground", settings.groundFt, lowest, highest);
    if (options.has("slope"))
        settings.slope = parseSlope(options.text("slope"), settings.userLat, settings.userLon);
    settings.utc = options.number("utc", static_cast<double>(plat::utcSeconds()), 0, lastUtc);
    if (options.has("creation-delay")) {
        const std::string text = options.text("creation-delay");
        const auto comma = text.find(',');
        constexpr double longest = 600;
        const auto part = [&](const std::string& value) {
            return Options({"--creation-delay", value}, {"creation-delay"}, {})
                .number("creation-delay", 0, 0, longest);
        };
        settings.creationDelayMin = part(text.substr(0, comma));
        settings.creationDelayMax =
            comma == std::string::npos ? settings.creationDelayMin : part(text.substr(comma + 1));
        if (settings.creationDelayMax < settings.creationDelayMin)
            throw std::runtime_error("--creation-delay takes MIN,MAX");
    }
    return settings;
}

static Edition editionOf(const Options& options) {
    const std::string edition = options.text("edition", "2020");
    if (edition == "2020") return Edition::msfs2020;
    if (edition == "2024") return Edition::msfs2024;
    throw std::runtime_error("--edition is 2020 or 2024");
}

static Script scriptOf(const Options& options) {
    if (!options.has("script")) return {};
    std::ifstream in(options.path("script"), std::ios::binary);
    if (!in) throw std::runtime_error(fmt::format("can't read \"{}\"", options.text("script")));
    return parseScript({std::istreambuf_iterator<char>(in), {}});
}

static std::vector<StandRow> standsOf(const Options& options) {
    std::vector<StandRow> stands;
    if (!options.has("stands")) return stands;
    for (const StandTable& airport :
         readStandTables(options.path("stands"), sourceFolder() / "install/input").airports)
        stands.insert(stands.end(), airport.stands.begin(), airport.stands.end());
    return stands;
}

static std::unique_ptr<WebServer> webOf(const Options& options, SimServer& server) {
    if (!options.has("http")) return nullptr;
    const auto locked = [&server](auto answer) {
        return [&server, answer] {
            const LockGuard guard(server.hubLock);
            return answer();
        };
    };
    const auto stands = std::make_shared<const std::vector<StandRow>>(standsOf(options));
    constexpr std::int64_t lastPort = 65535;
    auto web = std::make_unique<WebServer>(
        static_cast<std::uint16_t>(options.integer("http", 0, 0, lastPort)),
        WebServer::Answers{locked([&server, stands] { return worldJson(server.hub, *stands); }),
                           locked([&server] { return tracksJson(server.tracks); }),
                           [stands] { return standsJson(*stands); },
                           locked([&server] { return journalText(server.hub); }),
                           [&server](const std::string& line) -> std::string {
                               const LockGuard guard(server.hubLock);
                               try {
                                   tellSimulator(server.hub, line.substr(0, line.find('\n')));
                                   return "";
                               } catch (const std::exception& e) {
                                   return e.what();
                               }
                           }});
    std::printf("map on http://127.0.0.1:%u/\n", web->port());
    return web;
}

// Writes the journal's new lines.
static void saveJournal(std::ofstream& file, const SimHub& hub, std::uint64_t& written) {
    if (!file.is_open() || written == hub.journalCount) return;
    const std::uint64_t waiting = std::min<std::uint64_t>(hub.journalCount - written, hub.journal.size());
    for (std::size_t i = hub.journal.size() - waiting; i < hub.journal.size(); ++i)
        file << hub.journal[i] << '\n';
    file.flush();
    written = hub.journalCount;
}

static std::string summary(const World& world, const SimHub& hub) {
    std::size_t flying = 0, standing = 0;
    for (const auto& [id, object] : world.objects)
        if (id != userObjectId) ++(world.onGround(object) ? standing : flying);
    return fmt::format(
        "{:.0f} s: {} aircraft created, {} refused, {} removed, {} positions; {} in the air and {} "
        "on the ground; {} clients",
        world.elapsed, world.createdCount, world.refusedCount, world.removedCount, hub.positionsReceived,
        flying, standing, hub.openClients());
}

int runSimulator(const std::vector<std::string>& arguments) {
    const Options options(arguments,
                          {"edition", "port", "ready-file", "user", "title", "model", "titles", "ground",
                           "utc", "fps", "creation-delay", "seed", "slope", "http", "stands", "script",
                           "journal", "seconds"},
                          {"gaps", "help"});
    if (options.has("help")) {
        std::printf("%s%s", help, simulatorVerbs);
        return 0;
    }
    if (!options.rest.empty()) throw std::runtime_error("unexpected \"" + options.rest.front() + "\"");
    constexpr double slowest = 1, fastest = 500, longestRun = 1e7; // frames a second, seconds
    const double seconds = options.number("seconds", longestRun, 0, longestRun);
    const auto hub = std::make_unique<SimHub>(settingsOf(options), editionOf(options));
    std::ofstream journal;
    if (options.has("journal")) {
        journal.open(options.path("journal"), std::ios::binary | std::ios::trunc);
        if (!journal) throw std::runtime_error("can't write \"" + options.text("journal") + "\"");
    }
    static std::atomic<bool> stop{false};
    plat::onTerminationRequest([] { stop = true; });

    SimServer server(*hub, static_cast<std::uint16_t>(options.integer("port", 0, 0, 65535)),
                     options.number("fps", 30, slowest, fastest), scriptOf(options));
    const std::unique_ptr<WebServer> web = webOf(options, server);
    const std::string address = fmt::format("127.0.0.1:{}", server.port());
    std::printf("listening on %s\n", address.c_str());
    std::fflush(stdout);
    if (options.has("ready-file")) {
        // Beside and renamed, so that who waits for it never sees half of it.
        const std::filesystem::path ready = options.path("ready-file");
        std::filesystem::path part = ready;
        part += ".part";
        std::ofstream(part, std::ios::binary) << address << '\n';
        std::filesystem::rename(part, ready);
    }

    std::uint64_t written = 0;
    bool alive = true;
    while (alive && !stop) {
        alive = server.step();
        const LockGuard guard(server.hubLock);
        saveJournal(journal, *hub, written);
        if (hub->world.elapsed >= seconds) alive = false;
    }
    std::string end;
    {
        const LockGuard guard(server.hubLock);
        end = summary(hub->world, *hub);
    }
    server.closeAll();
    {
        const LockGuard guard(server.hubLock);
        saveJournal(journal, *hub, written);
    }
    std::printf("%s\n", end.c_str());
    return 0;
}

} // namespace rig

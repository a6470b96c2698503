// rig server: the command.

#include "options.h"
#include "platform/clock.h"
#include "rig.h"
#include "server/server.h"

#include <fmt/format.h>

#include <limits>

namespace rig {

constexpr const char* usage = R"(usage: rig server --root DIR [--port P] [options]
Serves a download tree over HTTP on this computer alone.
  --root DIR       the folder
  --port P         (8099); 0 takes a free one
  --fault KIND     404=PATH, truncate=PATH:BYTES, stall=PATH:SECONDS or reset=PATH; several with blanks between
  --seconds N      ends after N seconds; without it, on a signal
  --journal FILE   a line for each request
)";

int runServer(const std::vector<std::string>& arguments) {
    const Options options(arguments, {"root", "port", "fault", "seconds", "journal"}, {"help"});
    if (options.has("help") || !options.has("root")) {
        fmt::print(options.has("help") ? stdout : stderr, "{}", usage);
        return options.has("help") ? 0 : 2;
    }
    constexpr std::int64_t defaultPort = 8099, lastPort = 65535;
    constexpr double longest = 1e7;
    DownloadServer server(options.path("root"),
                          static_cast<int>(options.integer("port", defaultPort, 0, lastPort)),
                          options.path("journal"));
    const std::string faults = options.text("fault");
    for (std::size_t start = 0; start < faults.size();) {
        const std::size_t end = std::min(faults.find(' ', start), faults.size());
        if (end > start) server.addFault(parseFault(faults.substr(start, end - start)));
        start = end + 1;
    }
    fmt::print("serving {} at {}\n", options.text("root"), server.url());
    std::fflush(stdout);
    plat::sleepMs(static_cast<std::int64_t>(1000 * options.number("seconds", longest, 0, longest)));
    for (const auto& line : server.journal()) fmt::print("{}\n", line);
    return 0;
}

} // namespace rig

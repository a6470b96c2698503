#pragma once
// The page's HTTP server on a loopback port. Its handlers run on the HTTP library's threads.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace rig {

class WebServer {
  public:
    // What a request gives; each is called from any thread.
    struct Answers {
        std::function<std::string()> world, tracks, stands, journal;
        std::function<std::string(const std::string& line)> script; // "": done, else what is wrong
    };
    // port 0: any free one. Throws std::runtime_error when it can't listen.
    WebServer(std::uint16_t port, Answers answers);
    ~WebServer(); // ends and joins
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;
    std::uint16_t port() const { return boundPort; }

  private:
    struct Inside;
    std::unique_ptr<Inside> inside;
    std::uint16_t boundPort = 0;
};

} // namespace rig

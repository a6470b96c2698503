#pragma once
// RealTraffic's end of the control link: a TCP client that connects again and again, answers the version request and
// keeps what the program tells.

#include "platform/clock.h"
#include "platform/sockets.h"

#include <functional>
#include <string>

namespace rig {

class ControlClient {
  public:
    struct Position {
        double lat = 0, lon = 0; // degrees
        double altFt = 0;
    };

    // Level 2 is the professional edition. The journal takes one line per event.
    ControlClient(std::uint16_t port, int level, std::function<void(const std::string&)> journal);
    ~ControlClient();
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;

    void step();                     // connects when it is time to, reads and answers; does not wait
    void dropFor(plat::SteadyNs ns); // closes the connection and stays away
    bool connected() const { return socket != plat::noSocket; }

    Position position;             // as last told
    int positions = 0, visits = 0; // positions received, connections made

  private:
    void takeLine(const std::string& line);
    void close(const char* why);

    std::uint16_t port;
    int level;
    std::function<void(const std::string&)> journal;
    plat::Socket socket = plat::noSocket;
    plat::SteadyNs nextAttempt = 0;
    std::string pending; // received, without a line end yet
};

} // namespace rig

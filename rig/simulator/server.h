#pragma once
// The stand-in on the network: a TCP server on loopback around a hub, with a clock that gives it its frames.

#include "platform/lock.h"
#include "platform/sockets.h"
#include "simulator/page.h"
#include "simulator/script.h"
#include "simulator/session.h"

#include <cstdint>
#include <map>
#include <string>

namespace rig {

class SimServer {
  public:
    // Listens; port 0 is any free one. Throws std::runtime_error when it can't.
    SimServer(SimHub& hub, std::uint16_t port, double fps, Script script = {});
    ~SimServer();
    SimServer(const SimServer&) = delete;
    SimServer& operator=(const SimServer&) = delete;
    std::uint16_t port() const { return plat::localPort(listener); }

    // Waits for the next frame's time and carries it out: connections, bytes in, the hub's frame, bytes out. False
    // once the simulator has ended and its clients have been told. One thread calls it, all the time.
    bool step() EXCLUDES(hubLock);

    void closeAll()
        EXCLUDES(hubLock); // the simulator quits: QUIT to all, what is left is sent, streams closed

    // For the other threads: the hub and the tracks only under this lock.
    Lock hubLock;
    SimHub& hub;   // guarded by hubLock
    Tracks tracks; // guarded by hubLock

  private:
    struct Connection {
        plat::Socket socket = plat::noSocket;
        std::string unsent;
        bool ended = false; // its stream is over
    };
    void acceptAll() REQUIRES(hubLock);
    void readFrom(int client, Connection& connection) REQUIRES(hubLock);
    void writeTo(int client, Connection& connection) REQUIRES(hubLock);

    double frameSeconds;
    Script script;
    plat::Socket listener = plat::noSocket;
    std::map<int, Connection> connections;     // by the hub's client number
    std::int64_t lastFrame = 0, nextFrame = 0; // steady nanoseconds
};

} // namespace rig

#pragma once
// Connects the program's client library to a simulator in the same process: no sockets, the caller drives both.

#include "simconnect/transport.h"
#include "simulator/session.h"

#include <memory>
#include <string>

namespace rig {

// A client of its own at the hub, which must outlive it; dropped when the transport goes. One thread with the hub.
std::unique_ptr<simconnect::Transport> connectInProcess(SimHub& hub);

} // namespace rig

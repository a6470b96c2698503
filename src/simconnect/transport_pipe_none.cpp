// Where the system has no named pipes of the simulator's kind: then it is reached over TCP alone. Any thread.

#include "simconnect/session.h"

namespace simconnect {

std::unique_ptr<Transport> connectPipe(const Endpoint&) { return nullptr; }
std::unique_ptr<Transport> connectLocal() { return nullptr; }

} // namespace simconnect

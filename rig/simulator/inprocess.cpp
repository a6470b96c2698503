// The stream between a client library and a hub in the same process.

#include "simulator/inprocess.h"

#include <algorithm>
#include <cstring>

namespace rig {

namespace {

class InProcessTransport : public simconnect::Transport {
  public:
    explicit InProcessTransport(SimHub& h) : hub(h), client(h.addClient()) {}
    ~InProcessTransport() override { hub.dropClient(client); }
    InProcessTransport(const InProcessTransport&) = delete;
    InProcessTransport& operator=(const InProcessTransport&) = delete;

    bool send(std::span<const char> bytes) override {
        hub.receive(client, bytes);
        return hub.isOpen(client);
    }

    int receive(std::span<char> buffer) override {
        if (taken == waiting.size()) {
            waiting = hub.takeOutput(client);
            taken = 0;
        }
        std::size_t count = std::min(buffer.size(), waiting.size() - taken);
        if (hub.faults.split) count = std::min<std::size_t>(count, 1);
        if (count == 0) return hub.isOpen(client) ? 0 : -1;
        std::memcpy(buffer.data(), waiting.data() + taken, count);
        taken += count;
        return static_cast<int>(count);
    }

  private:
    SimHub& hub;
    int client;
    std::string waiting; // taken from the hub and not yet read
    std::size_t taken = 0;
};

} // namespace

std::unique_ptr<simconnect::Transport> connectInProcess(SimHub& hub) {
    if (hub.ended()) return nullptr;
    return std::make_unique<InProcessTransport>(hub);
}

} // namespace rig

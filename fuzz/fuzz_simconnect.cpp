// Received bytes, in reads of changing size, through the client library into the handlers of the simulator link.

#include "platform/virtual_clock.h"
#include "simconnect/transport.h"
#include "simlink/simlink.h"

#include <algorithm>
#include <cstring>

namespace {

std::span<const std::uint8_t> arriving;

struct Stub : simconnect::Transport {
    bool send(std::span<const char>) override { return true; }
    int receive(std::span<char> buffer) override {
        if (arriving.empty()) return -1;
        const std::size_t count = std::min({arriving.size(), buffer.size(), std::size_t{arriving[0]} + 1});
        std::memcpy(buffer.data(), arriving.data(), count);
        arriving = arriving.subspan(count);
        return static_cast<int>(count);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static plat::ScopedVirtualClock clock;
    arriving = {data, size};
    sim = SimLinkRun{};
    lf_presizeSimQueues();
    // A creation under way and an object not yet seen, so that answers find something.
    sim.pending.push_back({77, 10001, false, "DLH4AB", clock.now});
    sim.newObjects = {17};
    simconnect::setOpener([](DWORD) { return std::make_unique<Stub>(); });
    lf_openSession();
    for (bool more = true; more;) try {
            more = lf_dispatchArrived();
            clock.advance(1'000'000);
        } catch (const std::exception&) {} // as the thread's guard would
    lf_closeSession();
    return 0;
}

// Packets from a client of the stand-in simulator. The input's first byte says in how many pieces the rest arrives.

#include "simulator/session.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    rig::WorldSettings settings;
    settings.creationDelayMin = settings.creationDelayMax = 0;
    rig::SimHub hub(settings);
    const int client = hub.addClient();
    std::span<const char> rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t piece = std::max<std::size_t>(1, rest.size() / (1u + data[0] % 8));
    while (!rest.empty()) {
        const std::size_t count = std::min(piece, rest.size());
        hub.receive(client, rest.first(count));
        rest = rest.subspan(count);
        hub.frame(0.5);
    }
    hub.frame(1);
    if (!hub.takeOutput(client).empty() && hub.journal.empty())
        std::abort(); // who is answered is in the journal
    if (hub.world.objects.empty() || hub.world.count() > rig::maxObjects) std::abort();
    return 0;
}

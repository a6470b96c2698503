// A frame step with 300 position updates, sent to a peer on a loopback TCP connection that reads all it gets: the time
// of the step as the simulator thread sees it, and the system calls that it sends with.

#include "app/app.h"
#include "platform/sockets.h"
#include "simconnect/transport.h"
#include "simlink/simlink.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t updates = 300;

std::string lf_frameMessage() {
    const std::uint32_t head[] = {32, 5, SIMCONNECT_RECV_ID_EVENT_FRAME, 0xFFFFFFFF, evFrame, 0};
    const float rates[] = {60, 1};
    std::string text(32, '\0');
    std::memcpy(text.data(), head, sizeof head);
    std::memcpy(text.data() + sizeof head, rates, sizeof rates);
    return text;
}

// The peer: a thread that drains. It finds the program by the SimConnect.cfg of a folder of its own.
class Peer {
  public:
    Peer() : oldFolder(std::filesystem::current_path()) {
        folder = std::filesystem::temp_directory_path() / "velloray-bench-framestep";
        std::filesystem::create_directories(folder);
        std::filesystem::current_path(folder);
        plat::Socket listener = plat::listenTcp("0", true).socket;
        std::ofstream("SimConnect.cfg") << "[SimConnect]\nPort=" << plat::localPort(listener) << "\n";
        if (!lf_openSession()) throw std::runtime_error("no session");
        socket = plat::acceptTcp(listener);
        plat::closeSocket(listener);
        drain = std::thread([this] {
            std::vector<char> buffer(1 << 20);
            while (plat::receiveBytes(socket, buffer).count > 0) {}
        });
    }
    ~Peer() {
        lf_closeSession();
        drain.join();
        plat::closeSocket(socket);
        std::filesystem::current_path(oldFolder);
        std::filesystem::remove_all(folder);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    void say(const std::string& bytes) { plat::sendBytes(socket, bytes); }

  private:
    std::filesystem::path oldFolder, folder;
    plat::Socket socket = plat::noSocket;
    std::thread drain;
};

void BM_FrameStep(benchmark::State& state) {
    lf_presizeSimQueues();
    Peer peer;
    const std::string frame = lf_frameMessage();
    unsigned long long calls = 0, most = 0;
    for (auto step : state) {
        state.PauseTiming();
        for (std::uint32_t i = 0; i < updates; ++i) fillingUpdates.push_back({{}, 10 + i});
        gf_exchangeUpdates();
        const auto before = simconnect::sendCalls();
        peer.say(frame);
        state.ResumeTiming();
        while (!sim.draining.empty() && lf_dispatchArrived()) {}
        state.PauseTiming();
        const auto used = simconnect::sendCalls() - before;
        calls += used;
        most = std::max(most, used);
        state.ResumeTiming();
    }
    state.counters["calls_mean"] = static_cast<double>(calls) / static_cast<double>(state.iterations());
    state.counters["calls_max"] = static_cast<double>(most);
    if (most > 4) state.SkipWithError("more than 4 system calls in a frame step");
}
BENCHMARK(BM_FrameStep)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();

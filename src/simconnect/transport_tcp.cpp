// The stream over TCP, to a simulator on this computer or another. Any thread connects.

#include "platform/clock.h"
#include "platform/sockets.h"
#include "simconnect/session.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace simconnect {

constexpr int connectSliceMs = 250; // of connecting, between two looks at the stop
constexpr int sendSliceMs = 50;
constexpr std::int64_t nsPerMs = 1'000'000;

namespace {

// One thread sends and one receives; the socket never blocks.
class TcpTransport : public Transport {
  public:
    TcpTransport(plat::Socket connected, std::size_t limit) : socket(connected), receiveLimit(limit) {}
    ~TcpTransport() override {
        plat::closeSocket(socket);
        plat::stopSockets();
    }
    TcpTransport(const TcpTransport&) = delete;
    TcpTransport& operator=(const TcpTransport&) = delete;
    std::size_t maxReceiveSize() const override { return receiveLimit; }

    bool send(std::span<const char> bytes) override {
        const plat::SteadyNs until = plat::steadyNow() + sendMs * nsPerMs;
        int slices = sendMs / sendSliceMs; // beside the clock, since a wait may end early
        while (!bytes.empty()) {
            countSendCall();
            const plat::Transfer sent = plat::sendBytes(socket, bytes);
            if (sent.count < 0 && sent.error != plat::wouldBlock) return false;
            bytes = bytes.subspan(static_cast<std::size_t>(std::max(sent.count, 0)));
            if (sent.count > 0) continue;
            if (slices == 0 || plat::steadyNow() >= until) return false;
            const int ready = plat::waitWritable(socket, sendSliceMs);
            if (ready < 0) return false;
            if (ready == 0) --slices;
        }
        return true;
    }

    int receive(std::span<char> buffer) override {
        const plat::Transfer got = plat::receiveBytes(socket, buffer);
        if (got.count > 0) return got.count;
        return got.count < 0 && got.error == plat::wouldBlock ? 0 : -1;
    }

  private:
    plat::Socket socket;
    const std::size_t receiveLimit;
};

} // namespace

// A refusal comes at once; a host that says nothing is asked anew in each slice, so that a stop is seen in between.
static plat::Socket lf_connect(const std::string& host, std::uint16_t port, int longestMs) {
    for (int spent = 0; spent < longestMs && !connectCancelled(); spent += connectSliceMs) {
        const plat::SteadyNs begin = plat::steadyNow();
        const plat::Socket socket = plat::connectTcp(host, port, connectSliceMs);
        if (socket != plat::noSocket) return socket;
        if (plat::steadyNow() - begin < (connectSliceMs - 1) * nsPerMs) break;
    }
    return plat::noSocket;
}

std::unique_ptr<Transport> connectTcp(const Endpoint& endpoint, int longestMs) {
    std::uint16_t port = 0;
    const std::string& text = endpoint.port;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc{} || end != text.data() + text.size() || port == 0) return nullptr;
    std::string host = endpoint.address;
    if (host.empty() || host == ".") host = endpoint.protocol == Protocol::ipv6 ? "::1" : "127.0.0.1";

    if (plat::startSockets() != 0) return nullptr;
    plat::Socket socket = lf_connect(host, port, longestMs);
    if (socket == plat::noSocket || !plat::setNonBlocking(socket, true)) {
        plat::closeSocket(socket);
        plat::stopSockets();
        return nullptr;
    }
    if (endpoint.disableNagle) plat::setNoDelay(socket); // slower without it, but it works
    return std::make_unique<TcpTransport>(socket, endpoint.maxReceiveSize);
}

} // namespace simconnect

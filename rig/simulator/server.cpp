// Sockets and the frame clock of the stand-in. One thread calls step(); web threads may take the lock in between.

#include "simulator/server.h"

#include "platform/clock.h"

#include <array>
#include <cstddef>
#include <fmt/format.h>
#include <stdexcept>

namespace rig {

static constexpr double nsPerSecond = 1e9;
static constexpr std::size_t readAtOnce = 256 * 1024;    // bytes
static constexpr std::size_t mostReadInFrame = 4u << 20; // of one client, so that none holds up the frame
static constexpr std::size_t mostUnsent = 64u << 20;     // a client that does not read is closed
static constexpr int lastBytesMs = 500;                  // for the bytes behind a QUIT

SimServer::SimServer(SimHub& h, std::uint16_t port, double fps, Script s)
    : hub(h), frameSeconds(1 / fps), script(std::move(s)) {
    if (plat::startSockets() != 0) throw std::runtime_error("no sockets");
    const plat::ListenResult result = plat::listenTcp(std::to_string(port), true);
    listener = result.socket;
    if (listener == plat::noSocket) {
        plat::stopSockets();
        throw std::runtime_error(
            fmt::format("can't listen on port {} ({}, error {})", port, result.step, result.error));
    }
    lastFrame = plat::steadyNow();
    nextFrame = lastFrame + static_cast<std::int64_t>(frameSeconds * nsPerSecond);
}

SimServer::~SimServer() {
    for (auto& [client, connection] : connections) plat::closeSocket(connection.socket);
    plat::closeSocket(listener);
    plat::stopSockets();
}

void SimServer::acceptAll() {
    while (plat::waitReadable(listener, 0) == 1) {
        plat::Socket socket = plat::acceptTcp(listener);
        if (socket == plat::noSocket) return;
        if (!plat::setNonBlocking(socket, true)) {
            plat::closeSocket(socket);
            continue;
        }
        plat::setNoDelay(socket);
        connections[hub.addClient()].socket = socket;
    }
}

void SimServer::readFrom(int client, Connection& connection) {
    static thread_local std::array<char, readAtOnce> buffer;
    for (std::size_t total = 0; total < mostReadInFrame;) {
        const plat::Transfer got = plat::receiveBytes(connection.socket, buffer);
        if (got.count > 0) {
            hub.receive(client, {buffer.data(), static_cast<std::size_t>(got.count)});
            total += static_cast<std::size_t>(got.count);
            continue;
        }
        connection.ended = got.count == 0 || got.error != plat::wouldBlock;
        return;
    }
}

void SimServer::writeTo(int client, Connection& connection) {
    connection.unsent += hub.takeOutput(client);
    std::size_t at = 0;
    while (at < connection.unsent.size()) {
        const std::size_t piece = hub.faults.split ? 1 : connection.unsent.size() - at;
        const plat::Transfer sent =
            plat::sendBytes(connection.socket, {connection.unsent.data() + at, piece});
        if (sent.count <= 0) {
            connection.ended = connection.ended || sent.error != plat::wouldBlock;
            break;
        }
        at += static_cast<std::size_t>(sent.count);
    }
    connection.unsent.erase(0, at);
    if (connection.unsent.size() > mostUnsent) {
        hub.note(fmt::format("client #{} does not read, closed", client));
        connection.ended = true;
    }
    if (!hub.isOpen(client)) connection.ended = true;
}

bool SimServer::step() {
    plat::sleepUntil(nextFrame);
    const std::int64_t now = plat::steadyNow();
    const std::int64_t frameNs = static_cast<std::int64_t>(frameSeconds * nsPerSecond);
    nextFrame = now - nextFrame > frameNs ? now + frameNs : nextFrame + frameNs; // late frames are left out

    const LockGuard guard(hubLock);
    acceptAll();
    for (auto& [client, connection] : connections) readFrom(client, connection);
    runScript(script, hub);
    hub.frame(static_cast<double>(now - lastFrame) / nsPerSecond);
    lastFrame = now;
    tracks.note(hub.world);
    for (auto entry = connections.begin(); entry != connections.end();) {
        auto& [client, connection] = *entry;
        writeTo(client, connection);
        if (!connection.ended) {
            ++entry;
            continue;
        }
        plat::closeSocket(connection.socket);
        hub.dropClient(client);
        entry = connections.erase(entry);
    }
    return !hub.ended();
}

void SimServer::closeAll() {
    const LockGuard guard(hubLock);
    hub.quit();
    for (auto& [client, connection] : connections) {
        writeTo(client, connection);
        if (!connection.unsent.empty() && plat::waitWritable(connection.socket, lastBytesMs) == 1)
            writeTo(client, connection);
        plat::closeSocket(connection.socket);
        hub.dropClient(client);
    }
    connections.clear();
}

} // namespace rig

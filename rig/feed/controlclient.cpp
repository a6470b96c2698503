// The stand-in's end of the control link. One thread.

#include "controlclient.h"

#include "app/geo.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <utility>
#include <vector>

namespace rig {

constexpr plat::SteadyNs retryAfter = 1'000'000'000;
constexpr int connectLimitMs = 200;
constexpr std::size_t longestLine = 65536; // bytes; more without a line end is no control link

ControlClient::ControlClient(std::uint16_t p, int l, std::function<void(const std::string&)> j)
    : port(p), level(l), journal(std::move(j)) {
    plat::startSockets();
}

ControlClient::~ControlClient() {
    plat::closeSocket(socket);
    plat::stopSockets();
}

void ControlClient::close(const char* why) {
    if (socket != plat::noSocket) journal(fmt::format("control link closed: {}", why));
    plat::closeSocket(socket);
    pending.clear();
    nextAttempt = plat::steadyNow() + retryAfter;
}

void ControlClient::dropFor(plat::SteadyNs ns) {
    close("told to");
    nextAttempt = plat::steadyNow() + ns;
}

void ControlClient::step() {
    if (socket == plat::noSocket) {
        if (plat::steadyNow() < nextAttempt) return;
        nextAttempt = plat::steadyNow() + retryAfter;
        socket = plat::connectTcp("127.0.0.1", port, connectLimitMs);
        if (socket == plat::noSocket) return;
        plat::setNonBlocking(socket, true);
        ++visits;
        journal("control link connected");
    }
    std::array<char, 4096> block;
    while (socket != plat::noSocket && plat::waitReadable(socket, 0) == 1) {
        const plat::Transfer got = plat::receiveBytes(socket, block);
        if (got.count <= 0) return close(got.count == 0 ? "by the program" : "broken");
        pending.append(block.data(), static_cast<std::size_t>(got.count));
        for (std::size_t end; (end = pending.find("\r\n")) != std::string::npos;) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 2);
            takeLine(line);
        }
        if (pending.size() > longestLine) return close("no line ends");
    }
}

// The semicolon-separated numbers behind the "="; fewer than asked for when one is none.
static std::vector<double> numbersOf(const std::string& line) {
    std::vector<double> numbers;
    const char* at = line.data() + line.find('=') + 1;
    const char* const end = line.data() + line.size();
    while (at < end) {
        double value = 0;
        const auto [next, error] = std::from_chars(at, end, value);
        if (error != std::errc()) break;
        numbers.push_back(value);
        at = next < end && *next == ';' ? next + 1 : end;
    }
    return numbers;
}

void ControlClient::takeLine(const std::string& line) {
    journal("received " + line);
    if (line == "Qs999=version") {
        const std::string answer = fmt::format(R"({{"level":{},"version":"10.0.0 stand-in"}})", level);
        plat::sendBytes(socket, answer);
    } else if (line.compare(0, 6, "Qs121=") == 0) {
        const std::vector<double> numbers = numbersOf(line);
        if (numbers.size() != 7) return journal("a position line without seven numbers");
        position = {numbers[5] * radToDeg, numbers[6] * radToDeg, numbers[3] / 1000};
        ++positions;
    }
}

} // namespace rig

// The control link: a TCP server with RealTraffic as its one client. It tells RealTraffic where the user is, so that
// the feed covers that region, and asks for its edition. Runs on the worker, which it may hold up while RealTraffic is
// awaited; every wait is bounded or ends on a stop.

#include "feed/feed.h"

#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "platform/clock.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

ControlLink controlLink;

constexpr int waitStepMs = 250;      // how soon a wait sees a stop
constexpr int answerLimitMs = 10000; // for the answer to the version request
constexpr int sendLimitMs = 500;     // for a client that does not read; longer than that, it counts as gone
constexpr int timedOut = 10060;      // Winsock number
constexpr std::size_t answerSize = 16384; // bytes; an answer that fills it is not taken
constexpr int professionalLevel = 2;
constexpr const char* versionRequest = "Qs999=version\r\n";

static std::string lf_listenFailure(const plat::ListenResult& result, const std::string& port) {
    const std::string_view step = result.step;
    const std::string error = gf_winsockErrorText(result.error);
    if (step == "resolve") return "getaddrinfo failed with error " + error;
    if (step == "socket") return "socket failed with error " + error;
    if (step == "mode") return "ioctlsocket failed with error " + error;
    if (step == "option") return "setsockopt(SO_REUSEADDR) failed";
    if (step == "bind") return "Bind failed at port " + port + " with error " + error;
    return "listen failed with error " + error;
}

void lf_openControlPort(const std::string& port) {
    if (const int error = plat::startSockets(); error != 0)
        throw std::runtime_error("WSAStartup failed with error " + gf_winsockErrorText(error));
    const plat::ListenResult result = plat::listenTcp(port, false);
    if (*result.step != 0) {
        plat::stopSockets();
        throw std::runtime_error(lf_listenFailure(result, port));
    }
    controlLink.listenSocket = result.socket;
    controlLink.socketsStarted = true;
}

bool waitForClient(bool hold) {
    if (controlLink.clientConnected || controlLink.listenSocket == plat::noSocket) return false;
    int ready = 0;
    do {
        if (gf_stopping()) return false;
        ready = plat::waitReadable(controlLink.listenSocket, hold ? waitStepMs : 0);
    } while (hold && ready == 0);
    if (ready <= 0) return false;
    plat::Socket client = plat::acceptTcp(controlLink.listenSocket);
    if (client == plat::noSocket) return false;
    const auto interrupted = [&](const char* call) {
        const std::string text = fmt::format("{} {} failed with error {}", "waitForClient", call,
                                             gf_winsockErrorText(plat::lastSocketError()));
        gf_logLine(fmt::format("waitForClient interrupted: {}", text));
        plat::closeSocket(client);
        return false;
    };
    if (!plat::setNoDelay(client)) return interrupted("setsockopt");
    // A client that reads nothing must not hold up the worker for ever.
    if (!plat::setNonBlocking(client, true)) return interrupted("ioctlsocket");
    controlLink.clientSocket = client;
    controlLink.clientLost = false;
    controlLink.clientConnected.set();
    return true;
}

// 0, or the error that ended it.
static int lf_sendWhole(std::string_view text) {
    const plat::SteadyNs limit = plat::steadyNow() + sendLimitMs * plat::SteadyNs(1'000'000);
    while (!text.empty()) {
        const plat::Transfer sent = plat::sendBytes(controlLink.clientSocket, text);
        if (sent.count > 0) {
            text.remove_prefix(static_cast<std::size_t>(sent.count));
            continue;
        }
        if (sent.count < 0 && sent.error != plat::wouldBlock) return sent.error;
        if (plat::steadyNow() >= limit) return timedOut;
        // A virtual clock stands still in this wait, so the wait itself ends the matter as well.
        if (plat::waitWritable(controlLink.clientSocket, sendLimitMs) <= 0) return timedOut;
    }
    return 0;
}

bool sendDataPacket(std::string_view text) {
    if (controlLink.clientSocket == plat::noSocket) return false;
    const int error = lf_sendWhole(text);
    if (error == 0) return true;
    gf_logRaw(fmt::format("sendDataPacket to RealTraffic failed: {}", gf_winsockErrorText(error)));
    controlLink.clientLost = true;
    controlLink.clientConnected.clear();
    plat::closeSocket(controlLink.clientSocket);
    gf_logRaw("RealTraffic client socket closed");
    return false;
}

std::string lf_receiveLine() {
    if (controlLink.clientSocket == plat::noSocket) return {};
    for (int waited = 0; waited < answerLimitMs && !gf_stopping(); waited += waitStepMs) {
        if (plat::waitReadable(controlLink.clientSocket, waitStepMs) == 0) continue;
        std::string text(answerSize, '\0');
        const plat::Transfer got = plat::receiveBytes(controlLink.clientSocket, text);
        if (got.count < 0) {
            gf_logLine(fmt::format("receive: {}", gf_winsockErrorText(got.error)));
            return {};
        }
        if (static_cast<std::size_t>(got.count) >= answerSize) {
            gf_logLine(fmt::format("receive: buffer overrun: {}", got.count));
            return {};
        }
        text.resize(static_cast<std::size_t>(got.count));
        return text;
    }
    return {};
}

static void lf_setLinkMark(bool connected) {
    display.feedConnected = connected;
    gf_repaint(Band::status);
}

void lf_waitForRealTraffic() {
    if (!appLife.realTrafficLocal) return;
    gf_showMessage(fmt::format("Waiting for RealTraffic to connect to {} ...", programName), true);
    lf_resetReaders();
    do {
        if (!waitForClient()) {
            if (!app.userClosing) gf_clearMessage(); // what the closing of the window says stays
            return;
        }
    } while (!sendDataPacket(versionRequest)); // one that is gone already is no RealTraffic
    const std::string answer = lf_receiveLine();
    if (gf_stopping()) return;
    lf_readEdition(answer);
    lf_setLinkMark(true);
    app.rtNotYetConnected.clear();
    gf_logLine("RealTraffic connected");
    gf_clearMessage();
}

void lf_readEdition(const std::string& text) {
    controlLink.rtProfessional = false;
    if (text.empty()) gf_showMessage("No RealTraffic version received?", true);
    std::string header;
    const auto answer = nlohmann::json::parse(text, nullptr, false);
    if (answer.is_object()) {
        const auto level = answer.find("level"), version = answer.find("version");
        controlLink.rtProfessional =
            level != answer.end() && level->is_number_integer() && *level == professionalLevel;
        const std::string versionText =
            version != answer.end() && version->is_string() ? version->get<std::string>() : std::string();
        header = fmt::format("RT{} edition: {}", controlLink.rtProfessional ? " prof" : " stnd", versionText);
    }
    gf_setDisplayText(DisplayText::feedText, header);
    gf_repaint(Band::status);
}

std::string gf_positionLine(const UserPosition& user) {
    constexpr double angleScale = 100000, numberScale = 1000; // as RealTraffic wants them
    return fmt::format("Qs121={:.0};{:.0};{:.6f};{:.0};{};{:.6f};{:.6f}\r\n", user.pitch * angleScale,
                       user.bank * angleScale, user.heading, user.alt * numberScale,
                       user.groundSpeed * numberScale, user.lat * degToRad, user.lon * degToRad);
}

static std::string lf_goneText() {
    return fmt::format("{} RealTraffic gone? Wait for RealTraffic to re-connect ...", gf_shortTimeText());
}

bool lf_sendPosition(const UserPosition& user, bool hold) {
    if (!appLife.realTrafficLocal || gf_isNoPosition(user.lat, user.lon)) return false;
    if (!controlLink.clientConnected && !controlLink.clientLost) {
        if (app.runState != RunState::notYetSet || controlLink.listenSocket == plat::noSocket) return false;
        if (hold) gf_showMessage(lf_goneText(), false); // the one of the loss may have had its time
        if (!waitForClient(hold)) return false;
        lf_setLinkMark(true);
        gf_logLine(fmt::format("{} RealTraffic re-connected", gf_shortTimeText()));
        gf_clearMessage();
        return false; // the position goes out at the next second
    }
    // A loss that another send has met is told here.
    if (!controlLink.clientLost && sendDataPacket(gf_positionLine(user))) return false;
    controlLink.clientLost = false;
    lf_setLinkMark(false);
    return true;
}

void lf_realTrafficGone() {
    lf_resetReaders();
    gf_showMessage(lf_goneText(), true);
}

void lf_sendSimTime(std::int64_t seconds) {
    constexpr std::int64_t msPerSecond = 1000;
    if (controlLink.clientConnected && seconds >= 1)
        sendDataPacket(fmt::format("Qs123={}\r\n", seconds * msPerSecond));
}

// A connection closed with unread data in it is reset, and what was sent last may be lost with it.
static void lf_readRest() {
    std::array<char, 4096> rest;
    for (int i = 0; i < 64 && plat::receiveBytes(controlLink.clientSocket, rest).count > 0; ++i) {}
}

void gf_closeControlLink() {
    if (controlLink.clientConnected && sendDataPacket("exit\r\n")) lf_readRest();
    controlLink.clientConnected.clear();
    controlLink.clientLost = false;
    plat::closeSocket(controlLink.listenSocket);
    plat::closeSocket(controlLink.clientSocket);
    if (controlLink.socketsStarted) plat::stopSockets();
    controlLink.socketsStarted = false;
}

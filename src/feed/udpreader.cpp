// What the two UDP readers share: the port, the receive loop, the test for repeated datagrams, and the thread
// functions with their guard. What a datagram means is in trafficreader.cpp and qnhreader.cpp. Runs on the reader's
// own thread.

#include "feed/feed.h"

#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "platform/clock.h"

#include <fmt/format.h>

#include <stdexcept>

constexpr int receiveWaitMs = 500; // a stop is seen within this time
constexpr int claimWaitMs = 5000;  // for the thread of the run before to end
constexpr int claimStepMs = 50;

void UdpReader::start(std::uint16_t port) {
    if (const int error = plat::startSockets(); error != 0)
        throw std::runtime_error(fmt::format("WSA startup error: {}", gf_winsockErrorText(error)));
    socketsStarted = true;
    socket = plat::openUdp();
    if (socket == plat::noSocket)
        throw std::runtime_error(fmt::format("failed to create the socket, error: {}",
                                             gf_winsockErrorText(plat::lastSocketError())));
    if (!plat::bindUdp(socket, port, appLife.realTrafficLocal))
        throw std::runtime_error(fmt::format("bind to stream socket failed, error: {}",
                                             gf_winsockErrorText(plat::lastSocketError())));
    // A datagram that is announced may yet be thrown away for its checksum: then the receive must not wait.
    plat::setNonBlocking(socket, true);
}

void UdpReader::closePort() {
    plat::closeSocket(socket);
    if (socketsStarted) plat::stopSockets();
    socketsStarted = false;
}

void UdpReader::run() {
    while (!stopFlag && appLife.runNumber == ofRun) {
        const int ready = plat::waitReadable(socket, receiveWaitMs);
        if (ready == 0) continue;
        if (ready < 0)
            throw std::runtime_error(
                fmt::format("receive error: {}", gf_winsockErrorText(plat::lastSocketError())));
        const plat::Transfer got = plat::receiveDatagram(socket, buffer);
        if (got.overrun) {
            takeDatagram({buffer.data(), buffer.size()});
        } else if (got.count >= 0) {
            takeDatagram({buffer.data(), static_cast<std::size_t>(got.count)});
        } else if (got.error != plat::wouldBlock) {
            throw std::runtime_error(fmt::format("receive error: {}", gf_winsockErrorText(got.error)));
        }
    }
    plat::closeSocket(socket);
    onStopped();
}

void UdpReader::takeDatagram(std::string_view datagram) {
    if (datagram.empty()) return;
    if (datagram.size() >= bufferSize) {
        gf_logLine(fmt::format("buffer overrun: {} bytes", datagram.size()));
        return;
    }
    datagramCount += 1;
    if (!appLife.realTrafficLocal) {
        // In a network the same datagram may come by two ways.
        if (datagram == lastDatagram) return;
        lastDatagram.assign(datagram);
    }
    data = datagram;
    onDatagram();
}

// `finished` is a claim on the reader: taken by its thread at the start, given back at its end.
static bool lf_claim(UdpReader& reader) {
    for (int waited = 0; !reader.finished.take(); waited += claimStepMs) {
        if (waited >= claimWaitMs) return false;
        plat::sleepMs(claimStepMs);
    }
    return true;
}

static void lf_runReader(UdpReader& reader, const char* name, std::uint16_t port, bool bothMarks,
                         std::uint32_t runNumber) {
    gf_joinRun(runNumber);
    if (!lf_claim(reader)) {
        gf_readerStopped(name, "the reader of the run before has not ended");
        gf_logRaw(fmt::format("{} disconnected", name));
        return;
    }
    try {
        reader.ofRun = runNumber;
        reader.lastDatagram.clear(); // of another run: its repetition would be news
        reader.start(port);
        if (bothMarks) display.trafficMark = ReaderMark::live;
        display.weatherMark = ReaderMark::live;
        gf_repaint(Band::status);
        gf_logLine(fmt::format("{} connected", name));
        reader.run();
        reader.closePort();
    } catch (const std::exception& e) {
        reader.closePort();
        gf_readerStopped(name, e.what());
    }
    gf_logRaw(fmt::format("{} disconnected", name));
    reader.finished.set();
}

void lf_trafficReader(std::uint32_t runNumber) {
    lf_runReader(trafficReader, "Traffic Reader", trafficPort, true, runNumber);
}

void lf_qnhReader(std::uint32_t runNumber) {
    lf_runReader(qnhReader, "QNH Reader", qnhPort, false, runNumber);
}

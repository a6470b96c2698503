// What Linux alone brings about on one computer: an attempt to connect that is not answered, and a port that a listener
// keeps to itself. Windows lets two listeners share it when both allow reuse.

#include "platform/sockets.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

TEST(Tcp, TellsThatAnotherListenerHasThePort) {
    plat::Socket first = plat::listenTcp("0", true).socket;
    const plat::ListenResult second = plat::listenTcp(std::to_string(plat::localPort(first)), false);
    EXPECT_STREQ(second.step, "bind");
    EXPECT_EQ(second.error, plat::addressInUse);
    plat::closeSocket(first);
}

TEST(Tcp, ConnectingGivesUpAfterItsTime) {
    // A listener that accepts nobody, its queue full: the system leaves further attempts without an answer.
    plat::Socket full = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(static_cast<int>(full), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(static_cast<int>(full), 0), 0);
    const std::uint16_t port = plat::localPort(full);
    plat::Socket filler = plat::connectTcp("127.0.0.1", port, 2000);
    EXPECT_NE(filler, plat::noSocket);

    const auto start = Clock::now();
    EXPECT_EQ(plat::connectTcp("127.0.0.1", port, 150), plat::noSocket);
    EXPECT_EQ(plat::lastSocketError(), 10060);
    EXPECT_GE(msSince(start), 140);
    EXPECT_LT(msSince(start), 1500);
    plat::closeSocket(filler);
    plat::closeSocket(full);
}

} // namespace

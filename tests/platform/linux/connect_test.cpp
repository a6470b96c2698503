// An attempt to connect that is not answered, which Linux brings about on one computer.

#include "platform/sockets.h"

#include <gtest/gtest.h>

#include <chrono>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
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

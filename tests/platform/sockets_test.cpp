// Sockets over the loopback, with real threads where a peer is needed.

#include "platform/sockets.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using plat::Socket;
using Clock = std::chrono::steady_clock;

class StartedSockets : public testing::Environment {
    void SetUp() override { ASSERT_EQ(plat::startSockets(), 0); }
    void TearDown() override { plat::stopSockets(); }
};
[[maybe_unused]] const testing::Environment* const startedSockets =
    testing::AddGlobalTestEnvironment(new StartedSockets);

constexpr int soon = 2000; // ms; far longer than any of this takes

// Closes its socket when it goes.
struct Owned {
    Socket s = plat::noSocket;
    Owned(Socket socket) : s(socket) {}
    ~Owned() { plat::closeSocket(s); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    operator Socket() const { return s; }
};

std::string receiveAll(Socket s) {
    std::string all;
    std::array<char, 4096> buffer;
    for (;;) {
        const plat::Transfer t = plat::receiveBytes(s, buffer);
        if (t.count <= 0) return all;
        all.append(buffer.data(), static_cast<std::size_t>(t.count));
    }
}

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

TEST(Udp, TellsADatagramThatFillsTheBufferFromOneThatIsTooLarge) {
    const Owned reader(plat::openUdp()), sender(plat::openUdp());
    ASSERT_TRUE(plat::bindUdp(reader, 0, true));
    const std::uint16_t port = plat::localPort(reader);
    std::vector<char> buffer(16384);
    for (const auto& [sent, count, overrun] : std::vector<std::tuple<int, int, bool>>{{0, 0, false},
                                                                                      {1, 1, false},
                                                                                      {16383, 16383, false},
                                                                                      {16384, 16384, false},
                                                                                      {20000, 16384, true}}) {
        ASSERT_TRUE(plat::sendDatagram(sender, port, std::vector<char>(static_cast<std::size_t>(sent), 'x')));
        ASSERT_EQ(plat::waitReadable(reader, soon), 1);
        const plat::Transfer t = plat::receiveDatagram(reader, buffer);
        EXPECT_EQ(t.count, count) << sent;
        EXPECT_EQ(t.overrun, overrun) << sent;
        EXPECT_EQ(t.error, 0);
    }
    EXPECT_EQ(plat::waitReadable(reader, 0), 0);
    EXPECT_FALSE(plat::sendDatagram(sender, port, std::vector<char>(70'000)));
    EXPECT_EQ(plat::lastSocketError(), plat::messageTooLong);
}

TEST(Udp, KeepsABurstOfTheFeed) {
    const Owned reader(plat::openUdp()), sender(plat::openUdp());
    ASSERT_TRUE(plat::bindUdp(reader, 0, true));
    constexpr int lines = 200; // what comes while the reader's thread is not scheduled
    const std::vector<char> line(250, 'x');
    for (int i = 0; i < lines; ++i) ASSERT_TRUE(plat::sendDatagram(sender, plat::localPort(reader), line));
    std::array<char, 1000> buffer;
    int received = 0;
    while (plat::waitReadable(reader, 50) == 1 && plat::receiveDatagram(reader, buffer).count > 0) ++received;
    EXPECT_EQ(received, lines);
}

TEST(Udp, AnAnswerThatNobodyListensDoesNotEndAReader) {
    const Owned reader(plat::openUdp());
    ASSERT_TRUE(plat::bindUdp(reader, 0, true));
    std::uint16_t deadPort = 0;
    {
        const Owned gone(plat::openUdp());
        ASSERT_TRUE(plat::bindUdp(gone, 0, true));
        deadPort = plat::localPort(gone);
    }
    std::array<char, 100> buffer;
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(plat::sendDatagram(reader, deadPort, std::string_view("anybody?")));
        if (plat::waitReadable(reader, 50) == 1) {
            EXPECT_EQ(plat::receiveDatagram(reader, buffer).count, 0);
        }
    }
    EXPECT_TRUE(plat::sendDatagram(reader, plat::localPort(reader), std::string_view("hello")));
    ASSERT_EQ(plat::waitReadable(reader, soon), 1);
    EXPECT_EQ(plat::receiveDatagram(reader, buffer).count, 5);
}

TEST(Udp, TellsAPortInUse) {
    const Owned first(plat::openUdp()), second(plat::openUdp());
    ASSERT_TRUE(plat::bindUdp(first, 0, false));
    EXPECT_FALSE(plat::bindUdp(second, plat::localPort(first), false));
    EXPECT_EQ(plat::lastSocketError(), plat::addressInUse);
}

TEST(Tcp, NamesTheStepAtWhichListeningFailed) {
    for (const char* bad : {"", "http", "70000", "-1", "10747x", " 10747"}) {
        const plat::ListenResult result = plat::listenTcp(bad, true);
        EXPECT_EQ(result.socket, plat::noSocket) << bad;
        EXPECT_STREQ(result.step, "resolve") << bad;
        EXPECT_NE(result.error, 0) << bad;
    }
}

TEST(Tcp, ListensAgainOnAPortWhoseLastConnectionHasJustEnded) {
    std::string port = "0";
    for (int round = 0; round < 3; ++round) {
        const plat::ListenResult result = plat::listenTcp(port, true);
        ASSERT_STREQ(result.step, "");
        const Owned listener(result.socket);
        port = std::to_string(plat::localPort(listener));
        const Owned client(plat::connectTcp("127.0.0.1", plat::localPort(listener), soon));
        Owned server(plat::acceptTcp(listener));
        plat::closeSocket(server.s); // first, so that the port is left waiting on this side
    }
}

// A connected pair and what it came from.
struct Pair {
    Owned listener{plat::listenTcp("0", true).socket};
    Owned client{plat::connectTcp("localhost", plat::localPort(listener), soon)};
    Owned server{plat::acceptTcp(listener)};
};

TEST(Tcp, CarriesALongTextBothWaysAndTellsTheEnd) {
    Pair pair;
    ASSERT_NE(pair.client, plat::noSocket);
    ASSERT_NE(pair.server, plat::noSocket);
    EXPECT_TRUE(plat::setNoDelay(pair.client));
    const std::string text(2'000'000, 'q');
    std::thread peer([&] {
        const std::string got = receiveAll(pair.server);
        EXPECT_EQ(got.size(), text.size());
    });
    for (std::string_view left = text; !left.empty();) {
        const plat::Transfer t = plat::sendBytes(pair.client, left);
        ASSERT_GT(t.count, 0);
        left.remove_prefix(static_cast<std::size_t>(t.count));
    }
    plat::closeSocket(pair.client.s);
    peer.join();
    EXPECT_EQ(plat::waitReadable(pair.server, 0), 1); // the end can be read
    std::array<char, 10> buffer;
    EXPECT_EQ(plat::receiveBytes(pair.server, buffer).count, 0);
}

TEST(Tcp, WritingToAPeerThatHasGoneIsAnErrorAndNoSignal) {
    Pair pair;
    plat::closeSocket(pair.client.s);
    int error = 0;
    for (int i = 0; i < 100 && error == 0; ++i) {
        error = plat::sendBytes(pair.server, std::string_view("Qs121=\r\n")).error;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_TRUE(error == plat::connectionReset || error == 10053) << error;
    EXPECT_EQ(plat::lastSocketError(), error);
}

TEST(Tcp, ANonBlockingSocketTellsThatItWouldHaveToWait) {
    Pair pair;
    ASSERT_TRUE(plat::setNonBlocking(pair.server, true));
    std::array<char, 65536> buffer{};
    EXPECT_EQ(plat::receiveBytes(pair.server, buffer).error, plat::wouldBlock);
    std::size_t sent = 0;
    plat::Transfer t;
    while ((t = plat::sendBytes(pair.server, buffer)).count > 0) sent += static_cast<std::size_t>(t.count);
    EXPECT_EQ(t.error, plat::wouldBlock);
    EXPECT_EQ(plat::waitWritable(pair.server, 20), 0);
    std::thread drain([&] {
        for (std::size_t got = 0; got < sent;)
            got += static_cast<std::size_t>(plat::receiveBytes(pair.client, buffer).count);
    });
    EXPECT_EQ(plat::waitWritable(pair.server, soon), 1);
    drain.join();
}

TEST(Tcp, ConnectingFailsFastWhereNobodyListens) {
    std::uint16_t port = 0;
    {
        const Owned listener(plat::listenTcp("0", true).socket);
        port = plat::localPort(listener);
    }
    const auto start = Clock::now();
    EXPECT_EQ(plat::connectTcp("127.0.0.1", port, soon), plat::noSocket);
    EXPECT_EQ(plat::lastSocketError(), 10061);
    EXPECT_EQ(plat::connectTcp("localhost", port, soon), plat::noSocket);
    EXPECT_LT(msSince(start), 1000);
}

TEST(Tcp, ANameThatNobodyKnowsFailsWithinItsTime) {
    const auto start = Clock::now();
    EXPECT_EQ(plat::connectTcp("no-such-host.invalid", 500, 1000), plat::noSocket);
    EXPECT_NE(plat::lastSocketError(), 0);
    EXPECT_LT(msSince(start), 2500);
}

TEST(Sockets, AClosedHandleIsNoSocketAndClosingTwiceIsHarmless) {
    Socket s = plat::openUdp();
    const Socket copy = s;
    plat::closeSocket(s);
    EXPECT_EQ(s, plat::noSocket);
    plat::closeSocket(s);
    EXPECT_EQ(plat::waitReadable(copy, 0), -1);
    EXPECT_EQ(plat::lastSocketError(), 10038);
    std::array<char, 10> buffer;
    EXPECT_EQ(plat::receiveDatagram(copy, buffer).error, 10038);
    EXPECT_EQ(plat::acceptTcp(plat::noSocket), plat::noSocket);
}

TEST(Sockets, TheLastErrorIsEachThreadsOwn) {
    EXPECT_EQ(plat::acceptTcp(plat::noSocket), plat::noSocket);
    EXPECT_EQ(plat::lastSocketError(), 10038);
    std::thread([] {
        EXPECT_EQ(plat::lastSocketError(), 0);
        EXPECT_STREQ(plat::listenTcp("x", true).step, "resolve");
    }).join();
    EXPECT_EQ(plat::lastSocketError(), 10038);
}

} // namespace

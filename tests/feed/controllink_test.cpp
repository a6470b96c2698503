// The control link, with a real TCP client in RealTraffic's place.

#include "feed_fixture.h"

#include <fmt/format.h>
#include <thread>

class ControlLinkTest : public FeedTest {
  protected:
    ControlLinkTest() {
        lf_openControlPort("0");
        port = plat::localPort(controlLink.listenSocket);
    }
    ~ControlLinkTest() override { plat::closeSocket(client); }
    void connect() { client = plat::connectTcp("127.0.0.1", port, 1000); }

    // What the program has sent up to a text that must be in it; waits a second at most.
    std::string received(const std::string& upTo) {
        std::string text;
        std::array<char, 4096> block;
        while (text.find(upTo) == std::string::npos && plat::waitReadable(client, 1000) == 1) {
            const plat::Transfer got = plat::receiveBytes(client, block);
            if (got.count <= 0) break;
            text.append(block.data(), static_cast<std::size_t>(got.count));
        }
        return text;
    }
    // Connects and answers the version request, as RealTraffic does.
    std::thread realTraffic(const std::string& answer) {
        return std::thread([this, answer] {
            connect();
            EXPECT_EQ(received("\r\n"), "Qs999=version\r\n");
            if (!answer.empty())
                plat::sendBytes(client, answer);
            else
                plat::closeSocket(client);
        });
    }
    // Sends positions until the loss shows: the first packets after it may still go into the void.
    static bool lossShows() {
        for (int i = 0; i < 100; ++i) {
            if (lf_sendPosition(user)) return true;
            plat::sleepMs(10);
        }
        return false;
    }

    static constexpr UserPosition user{50, 8, 0.01, -0.02, 1.5, 35000, 100};
    std::uint16_t port = 0;
    plat::Socket client = plat::noSocket;
};

TEST_F(FeedTest, FormatsThePositionLine) {
    EXPECT_EQ(gf_positionLine({45, -90, 0.0123, -0.0456, 3.14159265, 35000, 100}),
              "Qs121=1e+03;-5e+03;3.141593;4e+07;100000;0.785398;-1.570796\r\n");
    EXPECT_EQ(gf_positionLine({0, 0, 0, 0.00002, 0, 0, 0.0125}),
              "Qs121=0;2;0.000000;0;12.5;0.000000;0.000000\r\n");
    EXPECT_EQ(gf_positionLine({0, 0, 0.00094, 0, 0, 1, 461.234}),
              "Qs121=9e+01;0;0.000000;1e+03;461234;0.000000;0.000000\r\n");
}

TEST_F(FeedTest, GivesSocketErrorsTheirTexts) {
    EXPECT_EQ(gf_winsockErrorText(10040), "10040 Messenger too long");
    EXPECT_EQ(gf_winsockErrorText(11004), "11004 No host data of that type was found");
    EXPECT_EQ(gf_winsockErrorText(0), "0 Unknown errror code");
}

TEST_F(FeedTest, ReadsTheEditionWhateverTheAnswerHolds) {
    const struct {
        const char* answer;
        bool professional;
        const char* header;
    } rows[] = {
        {R"({"level":2,"version":"10.1.2"})", true, "RT prof edition: 10.1.2"},
        {R"({"level":1,"version":"10.1.2"})", false, "RT stnd edition: 10.1.2"},
        {R"({"version":"9"})", false, "RT stnd edition: 9"},
        {R"({"level":3})", false, "RT stnd edition: "},
        {R"({"level":"2","version":7})", false, "RT stnd edition: "},
        {R"({"level":2.0,"version":null})", false, "RT stnd edition: "},
        {R"([2])", false, ""},
        {R"({"level":2)", false, ""},
        {"", false, ""},
    };
    for (const auto& row : rows) {
        controlLink.rtProfessional = !row.professional;
        gf_setDisplayText(DisplayText::feedText, "old");
        lf_readEdition(row.answer);
        EXPECT_EQ(controlLink.rtProfessional, row.professional) << row.answer;
        EXPECT_EQ(gf_displayText(DisplayText::feedText), row.header) << row.answer;
    }
    EXPECT_TRUE(logged("No RealTraffic version received?"));
    EXPECT_EQ(gf_shownMessage(), "No RealTraffic version received?");
}

TEST_F(ControlLinkTest, GoesTheWholeRoadWithAClient) {
    std::thread other = realTraffic(R"({"level":2,"version":"10.1"})");
    trafficReader.datagramCount = 5;
    lf_waitForRealTraffic();
    other.join();
    EXPECT_TRUE(controlLink.clientConnected && controlLink.rtProfessional && display.feedConnected);
    EXPECT_FALSE(app.rtNotYetConnected);
    EXPECT_EQ(trafficReader.datagramCount, 0u);
    EXPECT_EQ(gf_shownMessage(), "");
    EXPECT_TRUE(logged("Waiting for RealTraffic to connect to Velloray ..."));
    EXPECT_TRUE(logged("RealTraffic connected"));
    EXPECT_FALSE(waitForClient()) << "one client at a time";

    lf_sendSimTime(0);
    lf_sendSimTime(1700000000);
    EXPECT_FALSE(lf_sendPosition({0.0005, 0.01, 0, 0, 0, 0, 0})) << "no position is not sent";
    EXPECT_FALSE(lf_sendPosition(user));
    EXPECT_EQ(received(gf_positionLine(user)), "Qs123=1700000000000\r\n" + gf_positionLine(user));

    plat::sendBytes(client, std::string_view("chatter that nobody reads"));
    gf_requestStop(RunState::userClosed, 0);
    gf_closeControlLink();
    EXPECT_EQ(received("exit\r\n"), "exit\r\n");
    EXPECT_EQ(plat::waitReadable(client, 1000), 1);
    std::array<char, 16> block;
    EXPECT_EQ(plat::receiveBytes(client, block).count, 0) << "closed in order";
    EXPECT_EQ(controlLink.listenSocket, plat::noSocket);
}

TEST_F(ControlLinkTest, NoticesAVanishedClientAndTakesItBack) {
    connect();
    ASSERT_TRUE(waitForClient());
    display.feedConnected = true;
    trafficReader.takeDatagram(feedLine());
    plat::closeSocket(client);
    ASSERT_TRUE(lossShows());
    EXPECT_FALSE(display.feedConnected || controlLink.clientConnected);
    EXPECT_EQ(controlLink.clientSocket, plat::noSocket);
    EXPECT_TRUE(logged("RealTraffic client socket closed"));
    EXPECT_EQ(timesLogged("sendDataPacket to RealTraffic failed: 100"), 1);
    lf_realTrafficGone();
    EXPECT_TRUE(takeRecords().empty());
    EXPECT_EQ(timesLogged(" RealTraffic gone? Wait for RealTraffic to re-connect ...\n"), 1);

    connect();
    EXPECT_FALSE(lf_sendPosition(user)) << "this second is for the connection alone";
    EXPECT_TRUE(controlLink.clientConnected && display.feedConnected);
    EXPECT_EQ(timesLogged(" RealTraffic re-connected\n"), 1);
    EXPECT_EQ(gf_shownMessage(), "");
    EXPECT_FALSE(lf_sendPosition(user));
    EXPECT_EQ(received("\r\n"), gf_positionLine(user));

    // A loss that the time of the simulator meets is told with the next position.
    plat::closeSocket(client);
    ASSERT_TRUE(soon([] {
        lf_sendSimTime(5);
        return !controlLink.clientConnected;
    }));
    EXPECT_TRUE(lf_sendPosition(user));
    EXPECT_FALSE(display.feedConnected);
    app.runState = RunState::readerError; // in a run that ends nobody is waited for
    EXPECT_FALSE(lf_sendPosition(user));
}

TEST_F(ControlLinkTest, GivesUpAClientThatReadsNothing) {
    connect();
    ASSERT_TRUE(waitForClient());
    const std::string block(1 << 20, 'x');
    const auto begin = plat::steadyNow();
    int packets = 0;
    while (packets < 200 && sendDataPacket(block)) ++packets;
    EXPECT_LT(packets, 200);
    EXPECT_FALSE(controlLink.clientConnected);
    EXPECT_LT(plat::steadyNow() - begin, 10'000'000'000);
    EXPECT_TRUE(logged("sendDataPacket to RealTraffic failed: 10060 Connection timed out")) << logText();
}

TEST_F(ControlLinkTest, StopsWaitingForAClientWhenTheRunStops) {
    std::thread stopper([] {
        plat::sleepMs(100);
        gf_requestStop(RunState::userClosed, 0);
    });
    const auto begin = plat::steadyNow();
    lf_waitForRealTraffic();
    stopper.join();
    EXPECT_LT(plat::steadyNow() - begin, 2'000'000'000);
    EXPECT_FALSE(controlLink.clientConnected);
    EXPECT_TRUE(app.rtNotYetConnected);
    EXPECT_EQ(gf_shownMessage(), "");

    // A silent client is not waited for longer than the run lasts either.
    app.stopRequested.clear();
    connect();
    ASSERT_TRUE(waitForClient());
    app.stopRequested.set();
    EXPECT_EQ(lf_receiveLine(), "");
}

TEST_F(ControlLinkTest, TakesAnAnswerThatFitsItsBufferOnly) {
    connect();
    ASSERT_TRUE(waitForClient());
    const auto answer = [this](std::size_t size) {
        plat::sendBytes(client, std::string(size, 'a'));
        plat::sleepMs(100); // all of it is there
        return lf_receiveLine().size();
    };
    EXPECT_EQ(answer(10), 10u);
    EXPECT_EQ(answer(16383), 16383u);
    EXPECT_EQ(answer(16384), 0u);
    EXPECT_TRUE(logged("receive: buffer overrun: 16384"));
    plat::closeSocket(client);
    EXPECT_EQ(lf_receiveLine(), "");
}

TEST_F(FeedTest, KeepsTheLinkShutWithRealTrafficOnAnotherComputerAndTellsOfABadPort) {
    appLife.realTrafficLocal = false;
    lf_waitForRealTraffic();
    EXPECT_FALSE(lf_sendPosition({50, 8, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(waitForClient());
    EXPECT_EQ(timesLogged("RealTraffic"), 0);
    gf_closeControlLink();
    EXPECT_THAT([] { lf_openControlPort("no port"); },
                testing::ThrowsMessage<std::runtime_error>(
                    "getaddrinfo failed with error 10109 Unknown errror code"));
}

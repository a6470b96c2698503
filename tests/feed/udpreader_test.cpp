// The receive loop and the reader threads, over real sockets.

#include "feed_fixture.h"

#include <thread>

// The traffic reader's loop on a port that the system chose.
class UdpReaderTest : public FeedTest {
  protected:
    UdpReaderTest() {
        trafficReader.start(0);
        port = plat::localPort(trafficReader.socket);
        trafficReader.ofRun = appLife.runNumber;
        sender = plat::openUdp();
    }
    ~UdpReaderTest() override {
        trafficReader.stopFlag.set();
        if (thread.joinable()) thread.join();
        trafficReader.closePort();
        plat::closeSocket(sender);
    }
    void run() {
        thread = std::thread([] { trafficReader.run(); });
    }
    void send(const std::string& text) { ASSERT_TRUE(plat::sendDatagram(sender, port, text)); }

    std::uint16_t port = 0;
    plat::Socket sender = plat::noSocket;
    std::thread thread;
};

// Grows a line to a size with more fields that are not read.
static std::string padded(std::size_t size) {
    std::string line = feedLine();
    line.resize(size, ',');
    return line;
}

TEST_F(UdpReaderTest, TakesDatagramsBelowItsBufferAndIgnoresLargerOnes) {
    run();
    send(padded(16383));
    send(padded(16384));
    send(padded(20000));
    send(feedLine());
    ASSERT_TRUE(soon([] { return trafficReader.kept == 2; })) << logText();
    EXPECT_EQ(trafficReader.datagramCount, 2u);
    EXPECT_EQ(timesLogged("buffer overrun: 16384 bytes\n"), 2);
    EXPECT_FALSE(trafficReader.stopFlag);
}

TEST_F(UdpReaderTest, EndsOnItsStopFlagOrWithItsRunAndSaysSoDuringAStop) {
    display.trafficMark = ReaderMark::live;
    run();
    gf_requestStop(RunState::userClosed, 0);
    gf_stopReaders();
    thread.join();
    EXPECT_EQ(display.trafficMark.load(), ReaderMark::notStarted);
    EXPECT_EQ(trafficReader.socket, plat::noSocket);
    EXPECT_TRUE(logged("Traffic Reader has stopped"));

    // A reader whose run is over ends although its stop was forgotten.
    lf_resetReaders();
    trafficReader.start(0);
    run();
    appLife.runNumber += 1;
    thread.join();
    EXPECT_EQ(timesLogged("Traffic Reader has stopped"), 2);
}

TEST_F(FeedTest, SkipsARepeatedDatagramOnlyFromAnotherComputer) {
    const std::string line = feedLine(), other = feedLine({{9, "DLH2B"}});
    for (int i = 0; i < 2; ++i) trafficReader.takeDatagram(line);
    EXPECT_EQ(takeRecords().size(), 2u);
    appLife.realTrafficLocal = false;
    for (const std::string& datagram : {line, line, other, other, line}) trafficReader.takeDatagram(datagram);
    EXPECT_EQ(takeRecords().size(), 3u);
    EXPECT_EQ(trafficReader.datagramCount, 7u) << "good or bad, all count";
}

TEST_F(FeedTest, ASocketThatFailsEndsTheRunWithAReaderError) {
    // Somebody else has the port; when another program of the same kind holds it already, so much the better.
    plat::Socket other = plat::openUdp();
    plat::bindUdp(other, trafficPort, true);
    lf_trafficReader(appLife.runNumber);
    plat::closeSocket(other);
    EXPECT_EQ(app.runState.load(), RunState::readerError);
    EXPECT_EQ(app.restartDelay, 15);
    EXPECT_TRUE(app.stopRequested);
    EXPECT_TRUE(logged(
        "The Traffic Reader has stopped with error: bind to stream socket failed, error: 10048 Address "
        "already in use"))
        << logText();
    EXPECT_TRUE(logged("Traffic Reader disconnected") && trafficReader.finished);
    EXPECT_EQ(trafficReader.socket, plat::noSocket);

    // The receive fails: the same road.
    trafficReader.ofRun = appLife.runNumber;
    plat::Socket closed = plat::openUdp();
    trafficReader.socket = closed;
    plat::closeSocket(closed);
    EXPECT_THAT([] { trafficReader.run(); }, testing::ThrowsMessage<std::runtime_error>(
                                                 "receive error: 10038 Socket operation on non-socket"));
    trafficReader.socket = plat::noSocket;
}

TEST_F(FeedTest, AReaderThreadLivesThroughItsRun) {
    plat::Socket probe = plat::openUdp();
    const bool free = plat::bindUdp(probe, qnhPort, true);
    plat::closeSocket(probe);
    if (!free) GTEST_SKIP() << "the weather port of this computer is in use";
    std::thread thread(lf_qnhReader, appLife.runNumber.load());
    ASSERT_TRUE(soon([] { return logged("QNH Reader connected"); }));
    EXPECT_FALSE(gf_readersFinished());
    EXPECT_EQ(display.weatherMark.load(), ReaderMark::live);
    EXPECT_EQ(display.trafficMark.load(), ReaderMark::notStarted);
    plat::Socket sender = plat::openUdp();
    plat::sendDatagram(sender, qnhPort, std::string_view(R"({"QNH":995})"));
    EXPECT_TRUE(soon([] { return qnhReader.currentQnh == 995; }));
    plat::closeSocket(sender);
    gf_requestStop(RunState::userClosed, 0);
    gf_stopReaders();
    EXPECT_TRUE(soon([] { return gf_readersFinished(); }));
    thread.join();
    EXPECT_TRUE(logged("QNH Reader has stopped\nQNH Reader disconnected")) << logText();
}

// The loader as a thread of its own. These tests wait for wall time, since that is what they test.

#include "airports_fixture.h"

#include "platform/sockets.h"

#include <atomic>
#include <thread>

using testing::HasSubstr;

namespace test {

class Loader : public AirportsTest {
  protected:
    Loader() {
        plat::setClock(nullptr);
        airportsLife.loaderByHand = false;
    }
    ~Loader() override {
        lf_endLoader();
        plat::setClock(&clock);
    }
    template <class Test> static bool within(double seconds, Test test) {
        const auto end = plat::steadyNow() + static_cast<plat::SteadyNs>(seconds * 1e9);
        while (!test() && plat::steadyNow() < end) plat::sleepMs(1);
        return test();
    }
};

// Accepts connections and never says a word.
class SilentServer {
  public:
    SilentServer() : listener(plat::listenTcp("0", true)) {
        thread = std::thread([this] {
            while (!ends)
                if (plat::waitReadable(listener.socket, 10) > 0) {
                    plat::acceptTcp(listener.socket); // stays open to the end of the process
                    ++accepted;
                }
        });
    }
    ~SilentServer() {
        ends = true;
        thread.join();
        plat::closeSocket(listener.socket);
    }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;
    std::string url() const { return fmt::format("http://127.0.0.1:{}/", plat::localPort(listener.socket)); }
    std::atomic<int> accepted{0};

  private:
    plat::ListenResult listener;
    std::atomic<bool> ends{false};
    std::thread thread;
};

TEST_F(Loader, GivingUpAndAskingAgainWhileItReadsTakesOverTheLastAlone) {
    std::string stands;
    for (int i = 0; i < 300; ++i) stands += stand("S" + std::to_string(i), i * 50, 20);
    putStock("EDTT", baseFile(stands));
    putStock("EDNN", baseFile(stand("N", 0, 20)));
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(lf_setParkAirport("EDTT"));
        lf_startLoading("EDTT");
        if (round % 3 == 0) plat::sleepMs(round % 5);
        lf_giveUpParkAirport();
        ASSERT_TRUE(lf_setParkAirport("EDNN"));
        lf_startLoading("EDNN");
        ASSERT_TRUE(within(10, [] { return lf_loadingDone(); }));
        ASSERT_EQ(lf_readParkedFile(), "");
        EXPECT_EQ(airports.file.stands.at(0).id, "N");
        lf_giveUpParkAirport();
        EXPECT_FALSE(lf_loadingDone());
    }
}

TEST_F(Loader, AStopEndsATransferThatWaitsAndLosesNoSave) {
    const SilentServer server;
    gf_setDownloadBase(server.url());
    writeFile(folders.mySimaddon / "EDTT.xml", baseFile(stand("A", 0, 20), "simaddon"));
    placeUser(0);
    lf_parkingStep(true);
    ASSERT_TRUE(within(10, [] { return lf_loadingDone(); }));
    lf_parkingStep(false);
    ASSERT_TRUE(airports.park.loaded);
    airports.updates = 3;
    lf_startLoading("EDNN"); // its transfer waits for ever
    ASSERT_TRUE(within(10, [&] { return server.accepted > 0; }));
    lf_giveUpParkAirport(); // its save stands in line behind
    gf_requestStop(RunState::simClosed, 0);
    const auto start = plat::steadyNow();
    lf_endLoader();
    EXPECT_LT(plat::steadyNow() - start, 3'000'000'000) << "nobody waits for the server's time-out";
    EXPECT_TRUE(std::filesystem::exists(folders.learnedSimaddon / "EDTT.xml"));
    EXPECT_THAT(logText(), HasSubstr("saved with 3 updates"));
}

} // namespace test

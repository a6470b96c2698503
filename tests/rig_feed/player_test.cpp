// Recordings from files, and the player with real sockets on the other side.

#include "feed/player.h"
#include "rig.h"
#include "support.h"

#include "app/app.h"
#include "platform/clock.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <array>

using namespace rig;

static std::string lineAt(const std::string& time) {
    return "RTTFC,20000,50.1,8.1,5000,0,0,90,250,DLH1,A320,D-AIZA,FRA,BCN," + time + ",X,LH1";
}

static std::string failureOf(const std::string& path) {
    try {
        loadRecording(path);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "";
}

TEST(Recording, ReadsPlainAndPackedFilesAlikeAndKeepsBadLines) {
    const std::string text = "no time here\r\n" + lineAt("1700000000.5") + "\n\n,,,broken\n" +
                             lineAt("1700000003") + "\n" + lineAt("never");
    test::writeFile("plain.txt", text);
    const gzFile packed = gzopen("packed.gz", "wb");
    gzwrite(packed, text.data(), static_cast<unsigned>(text.size()));
    gzclose(packed);
    for (const char* const name : {"plain.txt", "packed.gz"}) {
        const auto lines = loadRecording(name);
        ASSERT_EQ(lines.size(), 5u) << name;
        EXPECT_EQ(lines[0].line, "no time here");
        EXPECT_EQ(lines[0].time, 1700000000.5);
        EXPECT_EQ(lines[2].line, ",,,broken");
        EXPECT_EQ(lines[2].time, 1700000000.5);
        EXPECT_EQ(lines[4].time, 1700000003);
    }
}

TEST(Recording, TellsInOneLineWhatIsWrong) {
    test::writeFile("untimed.txt", "1,2,3\n4,5,6\n");
    const gzFile packed = gzopen("cut.gz", "wb");
    for (int i = 0; i < 1000; ++i)
        gzputs(packed, (lineAt(std::to_string(1700000000 + i * 37)) + "\n").c_str());
    gzclose(packed);
    const std::string cut = test::readFile("cut.gz");
    test::writeFile("cut.gz", cut.substr(0, cut.size() / 2));
    std::filesystem::create_directory("folder");
    for (const char* const name : {"missing.txt", "untimed.txt", "cut.gz", "folder"}) {
        const std::string text = failureOf(name);
        EXPECT_NE(text.find(name), std::string::npos) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    }
}

TEST(Recording, MovesTimesInTheLinesToo) {
    std::vector<TimedLine> lines{{1700000000.5, lineAt("1700000000.5")}, {1700000000.5, "junk"}};
    shiftTimes(lines, 100.25);
    EXPECT_EQ(lines[0].line, lineAt("1700000100.7"));
    EXPECT_EQ(lines[0].time, 1700000100.75);
    EXPECT_EQ(lines[1].line, "junk");
}

// Plays to sockets of the test's own.
class PlayerTest : public testing::Test {
  protected:
    PlayerTest() {
        for (plat::Socket* socket : {&traffic, &weather}) {
            *socket = plat::openUdp();
            EXPECT_TRUE(plat::bindUdp(*socket, 0, true));
        }
        settings.lines = plat::localPort(traffic);
        settings.weather = plat::localPort(weather);
        settings.control = 0;
    }
    ~PlayerTest() override {
        plat::closeSocket(traffic);
        plat::closeSocket(weather);
    }
    static std::string datagram(plat::Socket socket) {
        std::array<char, 32768> block;
        if (plat::waitReadable(socket, 100) != 1) return "";
        const plat::Transfer got = plat::receiveDatagram(socket, block);
        return {block.data(), static_cast<std::size_t>(got.count)};
    }
    static std::vector<std::string> waiting(plat::Socket socket) {
        std::vector<std::string> all;
        while (plat::waitReadable(socket, 100) == 1) all.push_back(datagram(socket));
        return all;
    }

    plat::Socket traffic, weather;
    PlayerSettings settings;
};

TEST_F(PlayerTest, PlaysAtThePaceAskedForAndRepeatsWithLaterTimes) {
    settings.speed = 100;
    settings.loop = true;
    settings.qnh = 999;
    const std::string first = lineAt("1700000000.0"), second = lineAt("1700000020.0");
    FeedPlayer player({{1700000000, first}, {1700000020, second}}, settings);
    EXPECT_TRUE(player.step());
    EXPECT_EQ(datagram(traffic), first);
    EXPECT_EQ(datagram(weather), "{\"QNH\":999}");
    EXPECT_EQ(datagram(traffic), "") << "the second is due 0.2 s later";
    const auto until = plat::steadyNow() + 5'000'000'000;
    while (player.sent < 3 && plat::steadyNow() < until) {
        EXPECT_TRUE(player.step());
        plat::sleepMs(5);
    }
    EXPECT_GE(player.seconds(), 0.2);
    EXPECT_EQ(datagram(traffic), second);
    EXPECT_EQ(datagram(traffic), lineAt("1700000025.0"));
}

TEST_F(PlayerTest, FailsAsTold) {
    FeedPlayer player({{1, lineAt("1")}, {1e9, lineAt("1000000000")}}, settings);
    player.tell("fail silent 60");
    EXPECT_TRUE(player.step());
    EXPECT_TRUE(waiting(traffic).empty() && waiting(weather).empty());
    player.tell("fail silent 0");
    player.tell("fail garbage 7");
    const auto garbage = waiting(traffic);
    ASSERT_EQ(garbage.size(), 7u);
    EXPECT_EQ(garbage.back().size(), 20000u);
    EXPECT_TRUE(player.step());
    player.tell("qnh 1020");
    EXPECT_TRUE(player.step());
    EXPECT_EQ(waiting(weather).back(), "{\"QNH\":1020}");
    for (const char* const verb : {"fail", "fail silent", "fail silent x", "fail garbage -1", "dance", ""})
        EXPECT_THROW(player.tell(verb), std::runtime_error) << verb;
    player.tell("quit");
    EXPECT_FALSE(player.step());
}

// The program's end of the link and the stand-in's, in one process.
TEST_F(PlayerTest, SpeaksTheControlLinkAndComesBackAfterALoss) {
    app = AppRun{};
    appLife = AppProcess{};
    appLife.realTrafficLocal = true;
    lf_openControlPort("0");
    settings.control = plat::localPort(controlLink.listenSocket);
    settings.level = 2;
    FeedPlayer player({{1, lineAt("1")}, {1e9, lineAt("1000000000")}}, settings);
    player.step();
    ASSERT_TRUE(waitForClient());
    ASSERT_TRUE(sendDataPacket("Qs999=version\r\n"));
    player.step();
    lf_readEdition(lf_receiveLine());
    EXPECT_TRUE(controlLink.rtProfessional);
    ASSERT_TRUE(sendDataPacket(gf_positionLine({50, -8, 0, 0, 1, 35000, 400})));
    const auto until = plat::steadyNow() + 5'000'000'000;
    while (player.link()->positions == 0 && plat::steadyNow() < until) player.step();
    EXPECT_NEAR(player.link()->position.lat, 50, 1e-4);
    EXPECT_NEAR(player.link()->position.lon, -8, 1e-4);
    EXPECT_EQ(player.link()->position.altFt, 40000) << "the link gives one digit";
    player.tell("fail gone 0");
    EXPECT_FALSE(player.link()->connected());
    player.step();
    EXPECT_TRUE(player.link()->connected());
    EXPECT_EQ(player.link()->visits, 2);
    gf_closeControlLink();
    controlLink = ControlLink{};
    appLife = AppProcess{};
}

TEST(FeedCommand, RefusesBadInputWithAReason) {
    const std::vector<std::string> rows[] = {{},
                                             {"a.gz", "--generate", "EDDF"},
                                             {"missing.gz"},
                                             {"--generate", "XXXX"},
                                             {"--at", "50,8"},
                                             {"--at", "50,8,100m"},
                                             {"--generate", "EDDF", "--flights", "many"},
                                             {"--generate", "EDDF", "--level", "3"},
                                             {"--generate", "EDDF", "--script", "missing.txt"}};
    for (const auto& arguments : rows) EXPECT_THROW(runFeed(arguments), std::runtime_error);
    EXPECT_EQ(runFeed({"--at", "50,8,100", "--flights", "5", "--minutes", "2", "--save", "made.txt"}), 0);
    EXPECT_GT(loadRecording("made.txt").size(), 20u);
}

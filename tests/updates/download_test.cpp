// Downloads over real sockets against the rig's server, and from a folder: what arrives, what fails, what ends a
// transfer that would not end.

#include "downloads.h"
#include "platform/sockets.h"
#include "updates/archive.h"

#include <thread>

TEST_F(Downloads, BringsAFileAsItIs) {
    const std::string content = bytes(300'000);
    test::writeFile("served/a b.bin", content);
    serve();
    EXPECT_TRUE(download(server->url() + "a%20b.bin"));
    EXPECT_EQ(test::readFile("got"), content);
    test::writeFile("served/empty", "");
    EXPECT_TRUE(download(server->url() + "empty"));
    EXPECT_EQ(test::readFile("got"), "") << "an older file is replaced";
    for (int i = 0; i < 400 && server->journal().size() < 2; ++i) plat::sleepMs(5); // noted behind the answer
    EXPECT_EQ(server->journal(), (std::vector<std::string>{"GET /a b.bin 200", "GET /empty 200"}));
}

TEST_F(Downloads, SaysWhoItIs) { // a peer that answers with what it was sent
    const auto listener = plat::listenTcp("0", true);
    std::string heard;
    std::thread peer([&] {
        plat::Socket client = plat::acceptTcp(listener.socket);
        char block[4096];
        while (heard.find("\r\n\r\n") == std::string::npos) {
            const auto got = plat::receiveBytes(client, block);
            if (got.count <= 0) break;
            heard.append(block, static_cast<std::size_t>(got.count));
        }
        plat::sendBytes(client, std::string_view("HTTP/1.0 200 OK\r\nContent-Length: 0\r\n\r\n"));
        plat::closeSocket(client);
    });
    EXPECT_TRUE(download("http://127.0.0.1:" + std::to_string(plat::localPort(listener.socket)) + "/x"));
    peer.join();
    auto closing = listener.socket;
    plat::closeSocket(closing);
    EXPECT_NE(heard.find("User-Agent: Velloray\r\n"), std::string::npos) << heard;
}

TEST_F(Downloads, FailuresGiveFalseAndSayWhatIsTheirs) {
    serve();
    EXPECT_FALSE(gf_downloadFile(nullptr, server->url(), "got", true));
    EXPECT_FALSE(std::filesystem::exists("got")) << "not even touched";
    EXPECT_FALSE(download(server->url() + "none"));
    EXPECT_FALSE(download(server->url() + "none", "no folder/got"));
    EXPECT_TRUE(logged("could not open output file: " + plat::pathText("no folder/got")));
    EXPECT_FALSE(download("http://127.0.0.1:1/x")) << "nobody listens";
    EXPECT_FALSE(download("no address at all"));
    test::writeFile("served/a", bytes(100'000));
    fault("truncate=a:1000");
    EXPECT_FALSE(download(server->url() + "a"));
    EXPECT_EQ(test::readFile("got"), bytes(100'000).substr(0, 1000)) << "the part that came stays";
    server->clearFaults();
    fault("reset=a");
    EXPECT_FALSE(download(server->url() + "a"));
    EXPECT_EQ(test::readFile("got"), "");
}

TEST_F(Downloads, AStalledTransferEndsAtItsLimit) {
    test::writeFile("served/a", bytes(100'000));
    serve();
    fault("stall=a:30");
    transferLimits.stallSeconds = 1;
    const auto start = plat::steadyNow();
    EXPECT_FALSE(download(server->url() + "a"));
    EXPECT_LT(msSince(start), 10'000);
    EXPECT_EQ(test::readFile("got").size(), 50'000u);
}

TEST_F(Downloads, AShortStallIsWaitedFor) {
    test::writeFile("served/a", bytes(100'000));
    serve();
    fault("stall=a:0.3");
    EXPECT_TRUE(download(server->url() + "a"));
    EXPECT_EQ(test::readFile("got"), bytes(100'000));
}

// The plain blocking call of the library looks for a stop once a second only.
TEST_F(Downloads, AStopEndsATransferWithinHalfASecond) {
    test::writeFile("served/a", bytes(100'000));
    serve();
    fault("stall=a:30");
    plat::SteadyNs stopped = 0;
    std::thread stopper([&] {
        plat::sleepMs(300);
        stopped = plat::steadyNow();
        gf_requestStop(RunState::newSettings, 3);
    });
    EXPECT_FALSE(download(server->url() + "a"));
    const auto ended = plat::steadyNow();
    stopper.join();
    EXPECT_GE(ended, stopped);
    EXPECT_LT((ended - stopped) / 1'000'000, 500);
    EXPECT_FALSE(download(server->url() + "a")) << "none starts while a stop is under way";
}

TEST_F(Downloads, ABaseWithoutASchemeIsAFolderWhateverItsName) {
    const std::string name = "serv\xC3\xA9s \xE2\x82\xAC&50%#";
    std::filesystem::create_directories(plat::textPath(name) / "sub");
    test::writeFile(plat::textPath(name) / "sub/version.json", "3.2.1\n");
    gf_setDownloadBase(name + "/");
    EXPECT_TRUE(gf_downloadBaseUrl().starts_with("file:///")) << gf_downloadBaseUrl();
    EXPECT_TRUE(gf_downloadBaseUrl().ends_with('/'));
    EXPECT_EQ(version(gf_downloadBaseUrl() + "sub/version.json"), VersionData(3, 2, 1));
    EXPECT_FALSE(download(gf_downloadBaseUrl() + "none"));
    gf_setDownloadBase("https://example.org/downloads/");
    EXPECT_EQ(gf_downloadBaseUrl(), "https://example.org/downloads/");
    MSFS_2020.value = false;
    EXPECT_EQ(gf_simFolderUrl(false), "https://example.org/downloads/MSFS2024/");
    EXPECT_EQ(gf_simFolderUrl(true), "https://example.org/downloads/MSFS/");
    MSFS_2020.value = true;
    EXPECT_EQ(gf_simFolderUrl(false), "https://example.org/downloads/MSFS/");
}

TEST_F(Downloads, VersionsStandInTheFirstLine) {
    serve();
    const std::tuple<const char*, VersionData> rows[] = {{"1.2.3", VersionData(1, 2, 3)},
                                                         {"1.2.3\r\nmore\r\n", VersionData(1, 2, 3)},
                                                         {"10-20-30\n", VersionData(10, 20, 30)},
                                                         {"\n1.2.3\n", VersionData()},
                                                         {"", VersionData()},
                                                         {"{\"version\": 1}\n", VersionData()}};
    for (const auto& [text, expected] : rows) {
        test::writeFile("served/version.json", text);
        EXPECT_EQ(version(server->url() + "version.json"), expected) << text;
        EXPECT_FALSE(std::filesystem::exists("version.json"));
    }
    test::writeFile("served/version.json", "1.2.3\n" + std::string(5000, '\n'));
    EXPECT_EQ(version(server->url() + "version.json"), VersionData()) << "no version file is that long";
    fault("404=version.json");
    EXPECT_EQ(version(server->url() + "version.json"), VersionData());
    EXPECT_TRUE(logged("downloading \"" + server->url() + "version.json\" failed"));
    EXPECT_FALSE(std::filesystem::exists("version.json"));
}

TEST_F(Downloads, UnzipsTheOneFileOfAnArchive) {
    const std::string content = bytes(500'000);
    rig::writeZip("served/dbase.zip", {{"folder/", ""}, {"folder/../../evil.xml", content}});
    serve();
    EXPECT_TRUE(gf_dbaseUnzip("new folder/target.xml"));
    EXPECT_EQ(test::readFile("new folder/target.xml"), content) << "the entry's name is no path";
    EXPECT_FALSE(std::filesystem::exists("dbase.zip"));
    EXPECT_FALSE(std::filesystem::exists(folder.path.parent_path() / "evil.xml"));
    rig::writeZip("served/other.zip", {{"a", "first"}, {"b", "last"}});
    EXPECT_TRUE(gf_downloadAndUnzip("some/where/other.zip", "out/target.xml")) << "its name alone counts";
    EXPECT_EQ(test::readFile("out/target.xml"), "last");
}

TEST_F(Downloads, AFailedTransferKeepsTheTargetAndABrokenArchiveRemovesIt) {
    rig::writeZip("served/dbase.zip", {{"temp2.xml", bytes(200'000)}});
    const std::string whole = test::readFile("served/dbase.zip");
    serve();
    test::writeFile("out/target", "old");
    fault("404=dbase.zip");
    EXPECT_FALSE(gf_dbaseUnzip("out/target"));
    EXPECT_TRUE(logged("downloading dbase.zip failed?"));
    EXPECT_EQ(test::readFile("out/target"), "old");
    EXPECT_FALSE(std::filesystem::exists("dbase.zip")) << "no half-written archive stays";
    server->clearFaults();
    fault("truncate=dbase.zip:100");
    EXPECT_FALSE(gf_dbaseUnzip("out/target"));
    EXPECT_FALSE(std::filesystem::exists("dbase.zip"));
    server->clearFaults();

    std::string spoilt = whole;
    spoilt[whole.size() / 2] = static_cast<char>(spoilt[whole.size() / 2] ^ 0x55);
    const std::string broken[] = {whole.substr(0, whole.size() / 2), "no archive", "", spoilt};
    for (const auto& content : broken) {
        test::writeFile("served/dbase.zip", content);
        test::writeFile("out/target", "old");
        test::writeFile("Log.txt", "");
        EXPECT_FALSE(gf_dbaseUnzip("out/target")) << content.size();
        EXPECT_TRUE(logged("unzipping dbase.zip failed?"));
        EXPECT_FALSE(std::filesystem::exists("out/target")) << content.size();
        EXPECT_FALSE(std::filesystem::exists("dbase.zip"));
    }
}

TEST_F(Downloads, AnArchiveThatUnpacksWithoutBoundIsGivenUp) {
    rig::writeZip("served/dbase.zip", {{"temp2.xml", std::string(3'000'000, ' ')}});
    serve();
    transferLimits.xmlBytes = 1'000'000;
    EXPECT_FALSE(gf_dbaseUnzip("out/target"));
    EXPECT_FALSE(std::filesystem::exists("out/target"));
    transferLimits.xmlBytes = 3'000'000;
    EXPECT_TRUE(gf_dbaseUnzip("out/target"));
    const std::string half(1'600'000, ' ');
    rig::writeZip("served/dbase.zip", {{"a.xml", half}, {"b.xml", half}});
    EXPECT_FALSE(gf_dbaseUnzip("out/target")) << "both together are too much";
    EXPECT_FALSE(std::filesystem::exists("out/target"));
}

// Cut at any place, an archive gives an error or its content, never a crash.
TEST_F(Downloads, ArchivesCutAndSpoiltAnywhereAreSafe) {
    rig::writeZip("whole.zip", {{"temp2.xml", "some text that is long enough to be packed packed packed"}});
    const std::string whole = test::readFile("whole.zip");
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string spoilt = whole;
        spoilt[i] = static_cast<char>(spoilt[i] ^ 0xFF);
        for (const std::string& content : {whole.substr(0, i), spoilt}) {
            test::writeFile("cut.zip", content);
            const ZipArchive zip("cut.zip");
            std::size_t got = 0;
            std::uint64_t left = 1000;
            for (std::int64_t k = 0; k < zip.entryCount(); ++k) {
                EXPECT_LE(zip.entryName(k).size(), content.size());
                zip.readEntry(k, left, [&](const char*, std::size_t size) {
                    got += size;
                    return true;
                });
            }
            EXPECT_LE(got, 1000u);
        }
    }
}

TEST(RigServer, UnderstandsFaultsAndSaysWhatIsWrong) {
    const auto stall = rig::parseFault("stall=/a:b/c:2.5");
    EXPECT_EQ(stall.kind, rig::ServerFault::Kind::stall);
    EXPECT_EQ(stall.path, "/a:b/c");
    EXPECT_EQ(stall.amount, 2.5);
    EXPECT_EQ(rig::parseFault("404=x").path, "/x");
    for (const char* bad : {"", "stall=/a", "truncate=/a:x", "truncate=/a:-1", "burn=/a"})
        EXPECT_THROW(rig::parseFault(bad), std::runtime_error) << bad;
    EXPECT_THROW(rig::DownloadServer("no such folder"), std::runtime_error);
    const test::ScratchFolder folder;
    const rig::DownloadServer first(folder.path);
    EXPECT_THROW(rig::DownloadServer(folder.path, first.port()), std::runtime_error) << "the port is in use";
}

// SimConnect.cfg, and the stream over real TCP: found, refused, closed by the peer, and a peer that stops reading.

#include "platform/sockets.h"
#include "scripted_stream.h"
#include "simconnect/SimConnect.h"
#include "simconnect/session.h"
#include "support.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <thread>

using simconnect::Protocol;
using test::Bytes;

namespace {

TEST(Config, FindsTheSectionOfAnIndexAndItsDefaults) {
    const std::string sample =
        "; a comment line\r\n[SimConnect]\r\nProtocol=IPv4\r\nAddress=192.168.1.7\r\nPort=500\r\n"
        "MaxReceiveSize=4096\r\nDisableNagle=0\r\n\r\n[SimConnect.1]\r\nProtocol=Pipe\r\n"
        "Port=Custom/SimConnect\r\nAddress=.\r\n";
    struct Row {
        const char* name;
        std::string text;
        DWORD index;
        const char* found; // protocol, address, port, size, and whether Nagle is off; "" for nothing
    } const rows[] = {
        {"sample", sample, 0, "4 192.168.1.7 500 4096 0"},
        {"sample, second", sample, 1, "pipe . Custom/SimConnect 8192 1"},
        {"sample, none", sample, 2, ""},
        {"zero by number", "[SimConnect.0]\nPort=7", 0, "4  7 8192 1"},
        {"any case, blanks", " [SIMCONNECT.12] \n PROTOCOL = ipV6 \nport =\t7 ", 12, "6  7 8192 1"},
        {"empty values", "[SimConnect]\nProtocol=\nAddress=\nPort=7\nMaxReceiveSize=\nDisableNagle=", 0,
         "4  7 8192 1"},
        {"auto", "[SimConnect]\nProtocol=Auto\nPort=7\nDisableNagle=1", 0, "auto  7 8192 1"},
        {"first section counts", "[SimConnect]\nPort=7\n[SimConnect.0]\nPort=8", 0, "4  7 8192 1"},
        {"keys of other sections", "Port=1\n[Other]\nPort=2\n[SimConnect]\nPort=7\n[Other]\nAddress=x", 0,
         "4  7 8192 1"},
        {"byte order mark", "\xEF\xBB\xBF[SimConnect]\nPort=7", 0, "4  7 8192 1"},
        {"bad size", "[SimConnect]\nPort=7\nMaxReceiveSize=-3", 0, "4  7 8192 1"},
        {"unknown protocol", "[SimConnect]\nProtocol=IPX\nPort=7", 0, ""},
        {"no such section", "[SimConnectX]\nPort=7\n[SimConnect.]\nPort=7\n[SimConnect.1x]\nPort=7", 0, ""},
        {"unclosed", "[SimConnect\nPort=7", 0, ""},
        {"empty", "", 0, ""},
    };
    const std::map<Protocol, const char*> names{{Protocol::ipv4, "4"},
                                                {Protocol::ipv6, "6"},
                                                {Protocol::pipe, "pipe"},
                                                {Protocol::automatic, "auto"}};
    for (const Row& row : rows) {
        const auto got = simconnect::readConfig(row.text, row.index);
        EXPECT_EQ(got ? fmt::format("{} {} {} {} {:d}", names.at(got->protocol), got->address, got->port,
                                    got->maxReceiveSize, got->disableNagle)
                      : "",
                  row.found)
            << row.name;
    }
}

// A real listener whose port stands in the SimConnect.cfg of a program folder and home of the test's own.
class Connect : public testing::Test {
  protected:
    void SetUp() override {
        oldFolder = std::filesystem::current_path();
        plat::startSockets();
        listener = plat::listenTcp("0", true).socket;
        ASSERT_NE(listener, plat::noSocket);
        port = plat::localPort(listener);
        std::filesystem::create_directories(scratch.path / "home");
        std::filesystem::create_directories(scratch.path / "program");
        std::filesystem::current_path(scratch.path / "program");
        plat::setUserFolders(scratch.path / "home");
    }
    void TearDown() override {
        SimConnect_Close(handle);
        plat::closeSocket(peer);
        plat::closeSocket(listener);
        plat::stopSockets();
        simconnect::setCancelled(nullptr);
        std::filesystem::current_path(oldFolder);
        plat::setUserFolders(oldFolder);
    }
    static std::string config(std::uint16_t toPort, const std::string& more = "") {
        return "[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=" + std::to_string(toPort) + "\n" + more;
    }
    HRESULT open() { return SimConnect_Open(&handle, "Velloray", nullptr, 0, nullptr, 0); }
    void openAndAccept(const std::string& more = "") {
        test::writeFile("SimConnect.cfg", config(port, more));
        ASSERT_EQ(open(), S_OK);
        peer = plat::acceptTcp(listener);
        ASSERT_NE(peer, plat::noSocket);
    }
    // Until count messages have come or the session has ended.
    HRESULT dispatchUntil(std::size_t count) {
        HRESULT result = S_OK;
        for (int i = 0; i < 2000 && result == S_OK && messages.size() < count; ++i) {
            result = SimConnect_CallDispatch(
                handle,
                [](SIMCONNECT_RECV* message, DWORD size, void* list) {
                    static_cast<std::vector<std::string>*>(list)->emplace_back(
                        reinterpret_cast<char*>(message), size);
                },
                &messages);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return result;
    }

    test::ScratchFolder scratch;
    std::filesystem::path oldFolder;
    plat::Socket listener = plat::noSocket, peer = plat::noSocket;
    std::uint16_t port = 0;
    HANDLE handle = nullptr;
    std::vector<std::string> messages;
};

TEST_F(Connect, WithoutAFileOrWithOneThatLeadsNowhereOpenFails) {
    EXPECT_EQ(open(), E_FAIL);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(simconnect::findEndpoint(0).value().protocol, Protocol::local);
    for (const char* text : {"[SimConnect]\nPort=\n", "[SimConnect]\nPort=70000\n",
                             "[SimConnect]\nProtocol=Pipe\nPort=x\n", "[Other]\nPort=1\n"}) {
        test::writeFile("SimConnect.cfg", text);
        EXPECT_EQ(open(), E_FAIL) << text;
    }
    EXPECT_FALSE(simconnect::findEndpoint(0)); // a file without the section leads nowhere else
    EXPECT_EQ(simconnect::findEndpoint(0xFFFFFFFF).value().protocol, Protocol::local);
    plat::closeSocket(listener);
    test::writeFile("SimConnect.cfg", config(port)); // nobody listens there any more
    EXPECT_EQ(open(), E_FAIL);
    EXPECT_EQ(SimConnect_Open(&handle, "Velloray", nullptr, 0, nullptr, 0xFFFFFFFF), E_FAIL);
}

TEST_F(Connect, TheProgramFolderComesBeforeTheHomeAndACancelledConnectGivesUp) {
    test::writeFile(scratch.path / "home" / "SimConnect.cfg", config(port));
    simconnect::setCancelled([] { return true; });
    EXPECT_EQ(open(), E_FAIL);
    EXPECT_EQ(plat::waitReadable(listener, 50), 0); // cancelled, it did not even try
    simconnect::setCancelled(nullptr);
    EXPECT_EQ(open(), S_OK);
    test::writeFile("SimConnect.cfg", "[SimConnect.1]\nPort=1\n");
    HANDLE second = nullptr;
    EXPECT_EQ(SimConnect_Open(&second, "Velloray", nullptr, 0, nullptr, 0), E_FAIL);
}

TEST_F(Connect, PacketsGoOutMessagesComeInAndAClosedPeerEndsTheSession) {
    openAndAccept();
    std::string got;
    char buffer[400];
    while (got.size() < 296) {
        const auto part = plat::receiveBytes(peer, buffer);
        ASSERT_GT(part.count, 0);
        got.append(buffer, static_cast<std::size_t>(part.count));
    }
    EXPECT_EQ(got.substr(16, 9), std::string("Velloray\0", 9));
    const std::string event = Bytes().u32(0xFFFFFFFF).u32(201).u32(1).message(4);
    plat::sendBytes(peer, event);
    EXPECT_EQ(dispatchUntil(1), S_OK);
    EXPECT_EQ(messages, std::vector<std::string>{event});
    const auto before = simconnect::sendCalls();
    EXPECT_EQ(SimConnect_AIRemoveObject(handle, 17, 105), S_OK);
    EXPECT_EQ(simconnect::sendCalls(), before + 1);

    plat::sendBytes(peer, event + Bytes().message(3));
    plat::closeSocket(peer);
    EXPECT_EQ(dispatchUntil(4), E_FAIL);
    EXPECT_EQ(messages.size(), 3u);
    EXPECT_EQ(SimConnect_AIRemoveObject(handle, 17, 105), E_FAIL); // and no signal ends the process
}

TEST_F(Connect, AMessageLargerThanTheFileAllowsEndsTheSession) {
    openAndAccept("MaxReceiveSize=100\n");
    const std::string allowed = Bytes().str("", 88).message(99), larger = Bytes().str("", 89).message(99);
    plat::sendBytes(peer, allowed + larger);
    EXPECT_EQ(dispatchUntil(2), E_FAIL);
    EXPECT_EQ(messages, std::vector<std::string>{allowed});
}

// The buffers between the two fill up; a send that then waits for more than a second counts as a broken stream.
TEST_F(Connect, APeerThatStopsReadingFailsASendAfterASecond) {
    openAndAccept();
    std::string block(500'000, 'x');
    using clock = std::chrono::steady_clock;
    auto longest = clock::duration::zero();
    HRESULT result = S_OK;
    for (int i = 0; i < 1000 && result == S_OK; ++i) {
        const auto begin = clock::now();
        result = SimConnect_SetDataOnSimObject(handle, 402, 17, 0, 1, static_cast<DWORD>(block.size()),
                                               block.data());
        longest = std::max(longest, clock::now() - begin);
    }
    EXPECT_EQ(result, E_FAIL);
    EXPECT_GE(longest, std::chrono::milliseconds(900));
    EXPECT_LE(longest, std::chrono::milliseconds(3000));
    const auto begin = clock::now();
    EXPECT_EQ(SimConnect_AIRemoveObject(handle, 17, 105), E_FAIL);
    EXPECT_LE(clock::now() - begin, std::chrono::milliseconds(500)); // no second wait
}

// A slow reader makes short writes; the packet arrives whole and in order all the same.
TEST_F(Connect, ShortWritesAreCompletedBeforeAnythingElse) {
    openAndAccept();
    std::string got;
    std::thread reader([&] {
        std::vector<char> buffer(200'000);
        for (;;) {
            const auto part = plat::receiveBytes(peer, buffer);
            if (part.count <= 0) return;
            got.append(buffer.data(), static_cast<std::size_t>(part.count));
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    std::string block(900'000, 'x');
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 7 + i / 251);
    constexpr int packets = 12; // more than the buffers between the two hold
    for (int i = 0; i < packets; ++i)
        EXPECT_EQ(SimConnect_SetDataOnSimObject(handle, 402, 17, 0, 1, static_cast<DWORD>(block.size()),
                                                block.data()),
                  S_OK);
    SimConnect_Close(handle);
    reader.join();
    std::string expected;
    for (std::uint32_t i = 0; i < packets; ++i)
        expected +=
            Bytes{Bytes().u32(402).u32(17).u32(0).u32(1).u32(900'000).text + block}.packet(0x10, 2 + i);
    ASSERT_EQ(got.size(), 296 + expected.size());
    EXPECT_TRUE(got.substr(296) == expected);
}

} // namespace

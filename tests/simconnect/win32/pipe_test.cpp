// The stream over a named pipe, against a server of the test's own: found by SimConnect.cfg and without one, absent,
// taken, closed by the peer, and a peer that stops reading or reads slowly.

#include "platform/clock.h"
#include "platform/sockets.h"
#include "simconnect/SimConnect.h"
#include "simconnect/session.h"
#include "support.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

using simconnect::Endpoint;
using simconnect::Transport;

std::wstring pathOf(const std::string& name) { // plain letters
    const std::string path = "\\\\.\\pipe\\" + name;
    return {path.begin(), path.end()};
}

double msSince(plat::SteadyNs begin) { return static_cast<double>(plat::steadyNow() - begin) / 1e6; }

// One instance of a pipe, with calls that wait.
class Server {
  public:
    explicit Server(const std::string& name, DWORD mostInstances = 1)
        : pipe(CreateNamedPipeW(pathOf(name).c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                PIPE_TYPE_BYTE | PIPE_READMODE_BYTE, mostInstances, bufferBytes, bufferBytes,
                                0, nullptr)) {
        EXPECT_NE(pipe, INVALID_HANDLE_VALUE) << GetLastError();
    }
    ~Server() {
        close();
        CloseHandle(event);
    }
    void close() {
        if (pipe != INVALID_HANDLE_VALUE) CloseHandle(pipe);
        pipe = INVALID_HANDLE_VALUE;
    }
    void accept() {
        OVERLAPPED operation{};
        operation.hEvent = event;
        if (!ConnectNamedPipe(pipe, &operation)) {
            ASSERT_TRUE(GetLastError() == ERROR_IO_PENDING || GetLastError() == ERROR_PIPE_CONNECTED);
            if (GetLastError() == ERROR_IO_PENDING) finish(operation);
        }
    }
    void drop() { DisconnectNamedPipe(pipe); }
    int read(char* buffer, DWORD size) {
        OVERLAPPED operation{};
        operation.hEvent = event;
        return started(ReadFile(pipe, buffer, size, nullptr, &operation)) ? finish(operation) : -1;
    }
    int write(const std::string& text) {
        OVERLAPPED operation{};
        operation.hEvent = event;
        const auto size = static_cast<DWORD>(text.size());
        return started(WriteFile(pipe, text.data(), size, nullptr, &operation)) ? finish(operation) : -1;
    }
    static constexpr DWORD bufferBytes = 4096;

  private:
    static bool started(BOOL done) { return done || GetLastError() == ERROR_IO_PENDING; }
    int finish(OVERLAPPED& operation) {
        DWORD count = 0;
        return GetOverlappedResult(pipe, &operation, &count, TRUE) ? static_cast<int>(count) : -1;
    }
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE pipe;
};

std::unique_ptr<Transport> connect(const std::string& name, const std::string& address = "") {
    Endpoint endpoint;
    endpoint.protocol = simconnect::Protocol::pipe;
    endpoint.address = address;
    endpoint.port = name;
    return simconnect::connectPipe(endpoint);
}

// What arrives until the stream ends or that many bytes are there.
std::string receiveAll(Transport& stream, std::size_t wanted, bool& ended) {
    std::string got;
    std::array<char, 1000> buffer;
    ended = false;
    for (int idle = 0; idle < 3000 && got.size() < wanted;) {
        const int count = stream.receive(buffer);
        if (count < 0) {
            ended = true;
            break;
        }
        got.append(buffer.data(), static_cast<std::size_t>(count));
        if (count == 0) ++idle, plat::sleepMs(1);
    }
    return got;
}

std::string pattern(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 7 + i / 251);
    return text;
}

struct Pipe : testing::Test {
    void TearDown() override { simconnect::setCancelled(nullptr); }
    const std::string name = "velloray.test";
};

TEST_F(Pipe, WithoutAServerOrWithAStrangeNameConnectingFailsAtOnce) {
    const auto begin = plat::steadyNow();
    EXPECT_EQ(connect(name), nullptr);
    EXPECT_EQ(connect("\xFF"), nullptr);
    const Server server(name);
    EXPECT_EQ(connect(name, "another-computer"), nullptr);
    EXPECT_LT(msSince(begin), 500);
    EXPECT_NE(connect(name, "."), nullptr);
}

TEST_F(Pipe, BytesGoBothWaysAndTheEndComesBehindTheLastOfThem) {
    Server server(name);
    const auto stream = connect(name);
    ASSERT_NE(stream, nullptr);
    server.accept();
    std::array<char, 16> small;
    EXPECT_EQ(stream->receive(small), 0);
    const std::string large = pattern(300'000); // far more than the pipe holds
    std::string got;
    std::thread reader([&] {
        std::array<char, 700> buffer;
        for (int count = 0; got.size() < large.size() && count >= 0;) {
            count = server.read(buffer.data(), buffer.size());
            got.append(buffer.data(), static_cast<std::size_t>(std::max(count, 0)));
        }
    });
    EXPECT_TRUE(stream->send(large));
    reader.join();
    EXPECT_TRUE(got == large);
    EXPECT_EQ(server.write(large.substr(0, 3000)), 3000);
    server.close();
    bool ended = false;
    EXPECT_TRUE(receiveAll(*stream, large.size(), ended) == large.substr(0, 3000));
    EXPECT_TRUE(ended);
    EXPECT_FALSE(stream->send(large));
}

TEST_F(Pipe, APeerThatStopsReadingFailsASendAfterASecondWhileReceivingGoesOn) {
    Server server(name);
    const auto stream = connect(name);
    ASSERT_NE(stream, nullptr);
    server.accept();
    std::atomic<bool> sending{true};
    double took = 0;
    std::thread sender([&] {
        const auto begin = plat::steadyNow();
        EXPECT_FALSE(stream->send(pattern(100'000)));
        took = msSince(begin);
        sending = false;
    });
    plat::sleepMs(200);
    EXPECT_TRUE(sending);
    const auto begin = plat::steadyNow();
    EXPECT_EQ(server.write("answer"), 6);
    bool ended = false;
    EXPECT_EQ(receiveAll(*stream, 6, ended), "answer");
    EXPECT_TRUE(sending); // the one did not wait for the other
    EXPECT_LT(msSince(begin), 500);
    sender.join();
    EXPECT_GE(took, 900);
    EXPECT_LE(took, 2000);
}

TEST_F(Pipe, WhenAllInstancesAreTakenAFreeOneIsWaitedForAtMostASecond) {
    Server server(name, 1);
    auto first = connect(name);
    ASSERT_NE(first, nullptr);
    server.accept();
    auto begin = plat::steadyNow();
    EXPECT_EQ(connect(name), nullptr);
    EXPECT_GE(msSince(begin), 700);
    EXPECT_LE(msSince(begin), 2000);

    begin = plat::steadyNow();
    simconnect::setCancelled([begin] { return msSince(begin) > 200; });
    EXPECT_EQ(connect(name), nullptr);
    EXPECT_LE(msSince(begin), 700);
    simconnect::setCancelled(nullptr);

    std::thread later([&] {
        plat::sleepMs(300);
        first.reset();
        server.drop();
        server.accept();
    });
    EXPECT_NE(connect(name), nullptr);
    later.join();
}

// A session opens through the pipe that the file names, through the simulator's own without a file, and where there is
// neither through the port that an older simulator has left in the registry.
TEST_F(Pipe, ASessionFindsItsWay) {
    const auto folder = std::filesystem::current_path();
    const test::ScratchFolder scratch;
    std::filesystem::current_path(scratch.path);
    const auto opens = [](Server& server) {
        HANDLE session = nullptr;
        if (SimConnect_Open(&session, "Velloray", nullptr, 0, nullptr, 0) != S_OK) return std::string("no");
        server.accept();
        std::array<char, 296> packet{};
        EXPECT_EQ(server.read(packet.data(), packet.size()), 296);
        SimConnect_Close(session);
        EXPECT_EQ(server.read(packet.data(), packet.size()), -1); // closing ends the pipe
        return std::string(packet.data() + 16);
    };
    {
        test::writeFile(
            "SimConnect.cfg",
            "[SimConnect]\r\nProtocol=Pipe\r\nPort=Custom/velloray.test\r\nAddress=127.0.0.1\r\n");
        Server server("Custom/velloray.test");
        EXPECT_EQ(opens(server), "Velloray");
    }
    std::filesystem::remove("SimConnect.cfg");
    {
        Server server("Microsoft Flight Simulator\\SimConnect");
        EXPECT_EQ(opens(server), "Velloray");
    }
    HKEY own = nullptr; // stands for the user's part of the registry
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\VellorayTest", 0, nullptr,
                              REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &own, nullptr),
              ERROR_SUCCESS);
    ASSERT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, own), ERROR_SUCCESS);
    HANDLE session = nullptr;
    EXPECT_EQ(SimConnect_Open(&session, "Velloray", nullptr, 0, nullptr, 0), E_FAIL);
    plat::startSockets();
    plat::Socket listener = plat::listenTcp("0", true).socket;
    const std::wstring port = std::to_wstring(plat::localPort(listener));
    EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Microsoft Games\\Flight Simulator",
                              L"SimConnect_Port_IPv4", REG_SZ, port.c_str(),
                              static_cast<DWORD>((port.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
    EXPECT_EQ(SimConnect_Open(&session, "Velloray", nullptr, 0, nullptr, 0), S_OK);
    SimConnect_Close(session);
    plat::closeSocket(listener);
    plat::stopSockets();
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegCloseKey(own);
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\VellorayTest");
    std::filesystem::current_path(folder);
}

} // namespace

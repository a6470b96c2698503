// The stand-in on real sockets: two clients, single bytes, the end of a client, the page beside it, the quit.

#include "platform/clock.h"
#include "simulator/server.h"
#include "simulator/web.h"
#include "wire_client.h"

#include <array>
#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <thread>

using namespace test;

namespace {

// A client on a socket; everything it waits for has a bound.
struct SocketClient {
    explicit SocketClient(std::uint16_t port) {
        plat::startSockets();
        socket = plat::connectTcp("127.0.0.1", port, 2000);
    }
    ~SocketClient() {
        plat::closeSocket(socket);
        plat::stopSockets();
    }
    void give(const std::string& bytes) {
        EXPECT_EQ(plat::sendBytes(socket, bytes).count, static_cast<int>(bytes.size()));
    }
    // Until a message of this kind has come, it is the last; false: none in five seconds, or the stream has ended.
    bool waitFor(std::uint32_t kind) {
        const plat::SteadyNs end = plat::steadyNow() + 5'000'000'000;
        while (plat::steadyNow() < end) {
            for (Message& m : cutMessages(stream)) messages.push_back(std::move(m));
            while (!messages.empty()) {
                last = messages.front();
                messages.erase(messages.begin());
                if (last.id == kind) return true;
            }
            if (plat::waitReadable(socket, 100) != 1) continue;
            std::array<char, 4096> buffer;
            const plat::Transfer got = plat::receiveBytes(socket, buffer);
            if (got.count <= 0) {
                ended = true;
                return false;
            }
            stream.append(buffer.data(), static_cast<std::size_t>(got.count));
        }
        return false;
    }
    plat::Socket socket;
    std::string stream;
    std::vector<Message> messages;
    Message last;
    bool ended = false;
};

std::string httpRequest(std::uint16_t port, const std::string& head, const std::string& body = "") {
    SocketClient client(port);
    client.give(head + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\nContent-Length: " +
                std::to_string(body.size()) + "\r\n\r\n" + body);
    client.waitFor(0xFFFFFFFF); // until the stream ends
    return client.stream;
}

} // namespace

TEST(SimServer, ServesTwoClientsAndItsPageAndTellsTheEnd) {
    rig::SimHub hub(plainWorld());
    rig::SimServer server(hub, 0, 200);
    const auto locked = [&](auto answer) {
        return [&server, answer] {
            const LockGuard guard(server.hubLock);
            return answer();
        };
    };
    rig::StandRow stand; // a few metres from the user's aircraft
    stand.id = "A7";
    stand.lat = hub.world.user().lat + 0.00005;
    stand.lon = hub.world.user().lon;
    rig::WebServer web(0, {locked([&] { return rig::worldJson(hub, {stand}); }),
                           locked([&] { return rig::tracksJson(server.tracks); }),
                           [&] { return rig::standsJson({stand}); },
                           locked([&] { return rig::journalText(hub); }),
                           [&](const std::string& line) {
                               const LockGuard guard(server.hubLock);
                               try {
                                   rig::tellSimulator(hub, line);
                               } catch (const std::exception& e) {
                                   return std::string(e.what());
                               }
                               return std::string();
                           }});
    std::atomic<bool> stop{false};
    std::thread frames([&] {
        while (!stop && server.step()) {}
    });
    {
        SocketClient watcher(server.port());
        watcher.give(openPacket() + packet(0x17, 2, u32(1) + text("ObjectAdded", 256)) +
                     packet(0x17, 3, u32(2) + text("ObjectRemoved", 256)));
        EXPECT_TRUE(watcher.waitFor(2));
        {
            SocketClient creator(server.port());
            const std::string open = openPacket();
            for (const char c : open) creator.give(std::string(1, c));
            EXPECT_TRUE(creator.waitFor(2));
            creator.give(packet(0x29, 2,
                                text("A320 \xFF \"quoted\"", 256) + text("TCP1", 12) + raw(50.0) + raw(8.0) +
                                    raw(3000.0) + raw(0.0) + raw(0.0) + raw(90.0) + u32(0) + u32(200) +
                                    u32(104)));
            EXPECT_TRUE(creator.waitFor(12));
            EXPECT_TRUE(watcher.waitFor(5));
            EXPECT_EQ(watcher.last.u32(4), 1u);

            const std::string answer = httpRequest(web.port(), "GET /world.json");
            const auto world = nlohmann::json::parse(answer.substr(answer.find("\r\n\r\n") + 4));
            ASSERT_EQ(world["objects"].size(), 1u);
            EXPECT_EQ(world["objects"][0]["tail"], "TCP1");
            EXPECT_EQ(world["objects"][0]["altitude_ft"], 3000);
            EXPECT_EQ(world["objects"][0]["stand"], "");
            EXPECT_EQ(world["user"]["stand"], world["user"]["on_ground"] == true ? "A7" : "");
            EXPECT_THAT(httpRequest(web.port(), "GET /stands.json"), testing::HasSubstr("\"id\":\"A7\""));
            EXPECT_EQ(world["objects"][0]["frozen"]["position"], false);
            EXPECT_EQ(world["clients"], 2);
            EXPECT_EQ(world["counts"]["created"], 1);
            EXPECT_THAT(httpRequest(web.port(), "GET /journal"), testing::HasSubstr("creates TCP1"));
            EXPECT_THAT(httpRequest(web.port(), "GET /"), testing::HasSubstr("<canvas"));
            EXPECT_THAT(httpRequest(web.port(), "POST /script", "jump"), testing::HasSubstr("400"));
            EXPECT_THAT(httpRequest(web.port(), "POST /script", "fail split"), testing::HasSubstr("200"));
        }
        EXPECT_TRUE(watcher.waitFor(5)) << "its object goes with the client, told in single bytes";
        EXPECT_EQ(watcher.last.u32(4), 2u);
        EXPECT_THAT(httpRequest(web.port(), "POST /script", "quit"), testing::HasSubstr("200"));
        EXPECT_TRUE(watcher.waitFor(3));
        EXPECT_FALSE(watcher.waitFor(3));
        EXPECT_TRUE(watcher.ended);
    }
    stop = true;
    frames.join();
}

TEST(SimServer, SaysWhichPortIsTaken) {
    rig::SimHub hub(plainWorld());
    const rig::SimServer first(hub, 0, 30);
    EXPECT_THROW(rig::SimServer(hub, first.port(), 30), std::runtime_error);
}

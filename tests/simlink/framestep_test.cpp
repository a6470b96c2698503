// The queues to the simulator: their exchange with the engine, and what a frame makes of them.

#include "simlink_fixture.h"

#include <atomic>
#include <chrono>
#include <thread>

using namespace test;
using testing::HasSubstr;

namespace {

class FrameStep : public SimLink {
  protected:
    void SetUp() override {
        SimLink::SetUp();
        open();
        arrive(userAt(50, 8.5, 7));
    }
};

TEST_F(FrameStep, SendsUpdatesEventsCreationsAndRemovalsInThisOrderAndEmptiesTheQueues) {
    gf_queueRemoval(20);
    gf_queueRemoval(7);
    CreationRecord record;
    record.lat = 50, record.lon = 8.5, record.alt = 364, record.pitch = 1, record.bank = 2,
    record.heading = 90;
    record.tailNumber = "DLH4AB";
    record.title = std::string_view("Airbus A320 Neo Asobo and more").substr(0, 21);
    record.hexid = 10001;
    gf_queueCreation(record);
    const QueuedEvent events[] = {{20, evGear, 1}, {20, evFlaps, 5}, {7, evGear, 0}};
    gf_queueEvents(events, 3);
    gf_setNavLights(21, true);
    gf_setCabinLights(21, false);
    PositionUpdate update{};
    update.block.lat = 51;
    update.block.tas = 250;
    for (const std::uint32_t id : {6u, 7u, 8u}) {
        update.objectId = id;
        fillingUpdates.push_back(update);
    }
    gf_exchangeUpdates();
    const int sends = stream->sends;
    arrive(frame());
    EXPECT_EQ(stream->sends, sends + 1);

    std::vector<std::string> seen;
    for (const SentPacket& p : stream->takePackets()) {
        std::string line = std::to_string(p.function) + ":";
        const std::size_t fields = p.function == fnSetData  ? 5
                                   : p.function == fnCreate ? 0
                                                            : p.body.size() / 4;
        for (std::size_t i = 0; i < fields; ++i) line += " " + std::to_string(p.u32(16 + 4 * i));
        if (p.function == fnCreate) {
            const std::string place = Bytes().f64(50).f64(8.5).f64(364).f64(1).f64(2).f64(90).text;
            EXPECT_EQ(p.body, Bytes().str("Airbus A320 Neo Asobo", 256).str("DLH4AB", 12).text + place +
                                  Bytes().u32(0).u32(0).u32(104).text);
        }
        if (p.function == fnSetData) {
            EXPECT_EQ(p.body.substr(20), std::string(reinterpret_cast<const char*>(&update.block), 64));
        }
        seen.push_back(line);
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"16: 402 8 0 0 64", "5: 20 219 1 301 0", "43: 20 103",
                                              "5: 20 217 5 301 0", "43: 20 103", "5: 21 207 1 301 0",
                                              "5: 21 211 0 301 0", "41:", "44: 20 105"}));
    EXPECT_EQ(logged("===> Simconnect call to remove ac with objectid 7\n"), 1u);
    EXPECT_FALSE(app.stopRequested);
    ASSERT_EQ(sim.pending.size(), 1u);
    arrive(frame());
    EXPECT_TRUE(stream->takePackets().empty());
}

TEST_F(FrameStep, IsLeftOutWhileTheLockIsHeld) {
    gf_queueEvent(20, evGear, 1);
    simLock.lock();
    std::thread([] { lf_frameStep(); }).join();
    simLock.unlock();
    EXPECT_TRUE(stream->takePackets().empty());
    lf_frameStep();
    EXPECT_EQ(stream->takePackets().size(), 1u);
}

TEST_F(FrameStep, AfterAFailedRequestOnlyTheUpdatesGo) {
    fillingUpdates.push_back({{}, 20});
    gf_exchangeUpdates();
    gf_queueEvent(20, evGear, 1);
    app.simConnectFailed.set();
    lf_frameStep();
    EXPECT_TRUE(sim.draining.empty());
    EXPECT_EQ(sim.events.size(), 1u);
    EXPECT_TRUE(stream->takePackets().empty());
}

TEST_F(FrameStep, FailuresAreToldInTheOrderInWhichTheyHappen) {
    clock.setUtcSeconds(1717675200 + 3723); // 13:02:03
    stream->refuseSends();
    SimConnect_AIRemoveObject(sim.handle, 99, 0); // the stream breaks
    gf_queueEvent(20, evGear, 1);
    CreationRecord record;
    record.tailNumber = "DLH4AB";
    record.title = "Title";
    record.hexid = 10001;
    gf_queueCreation(record);
    gf_queueRemoval(20);
    lf_frameStep();
    EXPECT_THAT(
        log(),
        HasSubstr(
            "SimConnect TransmitClientEvent: 219 fails\n"
            "===> ! Simcon call to create ac in sim failed, hexid:10001, liv: \"Title\", callsign: DLH4AB\n"
            "SimConnect request error\n"
            "===> " +
            gf_shortTimeText() + "!Simconnect call to remove AI ac from sim failed, id 20?\n"));
    EXPECT_EQ(app.runState, RunState::simConnectError);
    EXPECT_TRUE(sim.pending.empty() && sim.events.empty() && sim.creations.empty() && sim.removals.empty());
}

TEST_F(FrameStep, TheExchangeGivesUpAtFiftyFramesAndWaitsAbove) {
    for (const float rate : {0.0F, 50.0F, 50.1F}) {
        const bool waits = rate > 50;
        sim.frameRate = rate;
        sim.draining.clear();
        fillingUpdates.assign(3, {{}, 20});
        simLock.lock();
        std::atomic<bool> done{false};
        std::thread engine([&] {
            gf_exchangeUpdates();
            done = true;
        });
        if (!waits) engine.join(); // or it stands here for ever
        if (waits) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_TRUE(sim.draining.empty() && done != waits);
        simLock.unlock();
        if (waits) engine.join();
        EXPECT_EQ(sim.draining.size(), waits ? 3u : 0u) << rate;
        EXPECT_TRUE(fillingUpdates.empty());
    }
    sim.draining.clear();
    sim.frameRate = 30;
    for (const std::size_t count :
         {2u, 5u}) { // a free lock always exchanges, and replaces what no frame took
        fillingUpdates.assign(count, {{}, 20});
        gf_exchangeUpdates();
    }
    EXPECT_EQ(sim.draining.size(), 5u);
    fillingUpdates.assign(5, {{}, 20});
    gf_dropUpdates();
    EXPECT_TRUE(sim.draining.empty() && fillingUpdates.empty());
}

TEST_F(FrameStep, MessagesToTheEngineKeepTheirOrderAndBothListsTheirPlaces) {
    std::vector<SimMessage> taken;
    taken.reserve(9000);
    for (int round = 0; round < 3; ++round) {
        for (std::uint32_t i = 0; i < 3; ++i) gf_postSimMessage({i, 0, 0, SimMessageKind::removed, 0, 0});
        gf_takeSimMessages(taken);
        ASSERT_EQ(taken.size(), 3u);
        for (std::uint32_t i = 0; i < 3; ++i) EXPECT_EQ(taken[i].objectId, i);
        EXPECT_GE(taken.capacity(), 4096u);
    }
    gf_takeSimMessages(taken);
    EXPECT_TRUE(taken.empty());
}

} // namespace

// The session: its set-up, the simulators that it accepts, its thread, the requests and how it ends.

#include "app/errors.h"
#include "simlink_fixture.h"

#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using namespace test;
using testing::HasSubstr;

namespace {

TEST_F(SimLink, SetsUpEventsDefinitionsClientEventsAndTheGroupInThisOrder) {
    ASSERT_TRUE(lf_openSession());
    const auto packets = stream->takePackets();
    std::string seen;
    for (const SentPacket& p : packets) switch (p.function) {
        case fnOpen: seen += "open " + p.text(16); break;
        case fnSubscribe: seen += "|event " + std::to_string(p.u32(16)) + " " + p.text(20); break;
        case fnDefine:
            seen += fmt::format("|{} {},{},{}", p.u32(16), p.text(20), p.text(276), p.u32(532));
            EXPECT_EQ(p.u32(536), 0u);
            EXPECT_EQ(p.u32(540), 0xFFFFFFFFu);
            break;
        case fnMap: seen += "|map " + std::to_string(p.u32(16)) + " " + p.text(20); break;
        case fnAddToGroup: seen += fmt::format("|group {} {} {}", p.u32(16), p.u32(20), p.u32(24)); break;
        case fnPriority: seen += fmt::format("|priority {} {}", p.u32(16), p.u32(20)); break;
        default: ADD_FAILURE() << p.function;
        }
    std::string expected =
        "open Velloray|event 201 Sim|event 202 ObjectAdded|event 203 ObjectRemoved|event 205 FlightLoaded"
        "|event 204 Frame|407 TITLE,,11|408 ATC MODEL,,6|409 SIM ON GROUND,Bool,2"
        "|402 Plane Latitude,degree,4|402 Plane Longitude,degree,4|402 Plane Pitch degrees,radians,4"
        "|402 Plane Bank degrees,radians,4|402 Plane Heading degrees true,radians,4"
        "|402 Plane Altitude,feet,4|402 Vertical Speed,feet per second,4|402 Airspeed True,knots,4"
        "|403 Plane Latitude,degree,4|403 Plane Longitude,degree,4|403 Plane Pitch degrees,radians,4"
        "|403 Plane Bank degrees,radians,4|403 Plane Heading degrees true,radians,4"
        "|403 Plane Altitude,feet,4|403 Plane Alt Above Ground,feet,4|403 Ground Velocity,knots,4"
        "|403 ZULU TIME,Seconds,2|403 ZULU DAY OF YEAR,Number,2|403 ZULU YEAR,Number,2"
        "|403 LIGHT STATES,Mask,2|405 Static CG to Ground,feet,4|405 Static Pitch,radians,4"
        "|406 Light On States,Mask,2|404 Plane Alt Above Ground,feet,4|404 Ground Altitude,feet,4"
        "|404 SIM ON GROUND,Bool,2|404 ATC ID,,6|401 SPOILERS HANDLE POSITION,percent,4"
        "|401 GENERAL ENG THROTTLE LEVER POSITION:1,percent,4"
        "|401 GENERAL ENG THROTTLE LEVER POSITION:2,percent,4"
        "|map 206 BEACON_LIGHTS_SET|map 207 NAV_LIGHTS_SET|map 208 TAXI_LIGHTS_SET|map 209 STROBES_SET"
        "|map 210 LANDING_LIGHTS_SET|map 211 CABIN_LIGHTS_SET|map 212 LOGO_LIGHTS_SET"
        "|map 213 ALL_LIGHTS_TOGGLE|map 214 FREEZE_LATITUDE_LONGITUDE_SET|map 215 FREEZE_ALTITUDE_SET"
        "|map 216 FREEZE_ATTITUDE_SET|map 217 FLAPS_SET|map 218 SPOILERS_SET|map 219 GEAR_SET"
        "|map 220 ENGINE_AUTO_START|map 221 ENGINE_AUTO_SHUTDOWN|map 222 THROTTLE_SET";
    for (int id = 206; id <= 222; ++id)
        if (id != 220) expected += fmt::format("|group 301 {} 1", id);
    EXPECT_EQ(seen, expected + "|priority 301 1");
}

TEST_F(SimLink, AcceptsTheSimulatorThatTheSettingNames) {
    struct Row {
        bool want2020;
        const char *name, *label;
        std::string error; // "" for none
    } const rows[] = {
        {true, "KittyHawk", "MSFS 2020 (11.0.282174.999)", ""},
        {false, "SunRise", "MSFS 2024", ""},
        {false, "Sun-Rise!", "MSFS 2024", ""}, // other characters are left out
        {false, "KittyHawk", "",
         "71: MSFS 2020 is running ..., switch Sim or toggle the Install path checkbox of Velloray"},
        {true, "SunRise", "",
         "71: MSFS 2024 is running ..., switch Sim or toggle the Install path checkbox of Velloray"},
        {true, "Flight Sim \"X\"", "",
         "77: \"Flight Sim X\" not being MSFS 2020 or MSFS 2024 connects ... ? "},
    };
    for (const Row& row : rows) {
        TearDown();
        stream = std::make_shared<ScriptedStream>();
        SetUp();
        MSFS_2020.value = row.want2020;
        open();
        // The flight must not count as running behind a refusal in the same read.
        stream->arrive(openMessage(row.name) + event(evSim, 1));
        std::string error;
        try {
            EXPECT_TRUE(lf_dispatchArrived());
            EXPECT_EQ(logged(std::string(row.label) + " connected\n"), 1u);
        } catch (const orvo::UserErrorException& e) {
            error = e.what();
        }
        EXPECT_EQ(error, row.error);
        EXPECT_EQ(app.simRunning.isSet(), error.empty());
        EXPECT_EQ(gf_displayText(DisplayText::simLabel), row.label);
        EXPECT_TRUE(display.simConnected);
    }
}

TEST_F(SimLink, ANameWithoutAnEndIsReadToTheEndOfItsFieldAndAnEmptyOneIsLogged) {
    open();
    EXPECT_TRUE(arrive(openMessage("")));
    EXPECT_EQ(logged("! Simulator name empty?"), 1u);
    EXPECT_FALSE(display.simConnected);
    const std::string endless(256, 'K');
    stream->arrive(openMessage(endless));
    EXPECT_THAT(lf_dispatchArrived,
                testing::ThrowsMessage<orvo::UserErrorException>(HasSubstr("\"" + endless + "\"")));
}

TEST_F(SimLink, EachRequestSendsItsPacketAndAFailedOneEndsTheRun) {
    struct Row {
        std::function<void()> call;
        const char* sent; // function and fields
        const char* failure;
    } const rows[] = {
        {gf_requestUserAircraft, "14 109 403 0 1", "SimConnect request user ac position fails"},
        {gf_requestOnGround, "14 108 409 0 4", "SimConnect request ac gnd/air fails"},
        {[] { gf_requestInRange(74080); }, "15 101 404 74080 2", "SimConnect request ac within range fails"},
        {[] { gf_requestStaticCg(17); }, "14 102 405 17 1", "SimConnect request StaticCG fails"},
        {[] { gf_allLightsToggle(17); }, "5 17 213 0 301", "SimConnect gf_allLightsToggle fails"},
    };
    for (const Row& row : rows) {
        TearDown();
        stream = std::make_shared<ScriptedStream>();
        SetUp();
        row.call(); // without a session there is nobody to ask
        EXPECT_FALSE(app.simConnectFailed) << row.failure;
        open();
        row.call();
        const auto packets = stream->takePackets();
        ASSERT_EQ(packets.size(), 1u) << row.failure;
        const SentPacket& p = packets[0];
        EXPECT_EQ(fmt::format("{} {} {} {} {}", p.function, p.u32(16), p.u32(20), p.u32(24), p.u32(28)),
                  row.sent);
        EXPECT_FALSE(app.simConnectFailed) << row.failure;

        stream->refuseSends();
        row.call();
        EXPECT_THAT(log(), HasSubstr(std::string(row.failure) + "\nSimConnect request error\n"));
        EXPECT_TRUE(app.simConnectFailed && app.stopRequested);
        EXPECT_EQ(app.runState, RunState::simConnectError);
        EXPECT_EQ(app.restartDelay, 9);
        row.call(); // and is not asked again
        EXPECT_EQ(logged("SimConnect request error"), 1u);
    }
}

TEST_F(SimLink, NamesSpoilersAndPlansGoOutAsTheyAre) {
    open();
    gf_requestUserNames();
    gf_setSpoilers(17, {100, -100, 50});
    gf_setSpoilers(2, {100, 100, 100}); // the user's own
    EXPECT_TRUE(gf_setFlightPlan(17, "/plans/17.pln"));
    const auto packets = stream->takePackets();
    ASSERT_EQ(packets.size(), 4u);
    EXPECT_EQ(packets[0].body.substr(0, 8), Bytes().u32(106).u32(407).text);
    EXPECT_EQ(packets[1].body.substr(0, 8), Bytes().u32(107).u32(408).text);
    EXPECT_EQ(packets[2].body,
              Bytes().u32(401).u32(17).u32(0).u32(0).u32(24).f64(100).f64(-100).f64(50).text);
    EXPECT_EQ(packets[3].body, Bytes().u32(17).str("/plans/17.pln", 260).u32(110).text);
    stream->refuseSends();
    EXPECT_FALSE(gf_setFlightPlan(17, "/plans/17.pln") || app.stopRequested);
}

// ---- the thread, on real threads in real time -----------------------------------------------------------------

class SimThread : public SimLink {
  protected:
    void SetUp() override {
        SimLink::SetUp();
        plat::setClock(nullptr);
        MSFS_2020.value = true;
    }
    template <class Condition> static bool soon(Condition condition) {
        for (int i = 0; i < 3000; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
    void connect() {
        gf_startSimThread();
        stream->arrive(openMessage("KittyHawk") + event(evSim, 1));
        ASSERT_TRUE(soon([] { return app.simRunning.isSet(); }));
    }
};

TEST_F(SimThread, WaitsForASimulatorLogsThatOnceAndEndsWithinASecondOfAStop) {
    std::atomic<int> attempts{0};
    simconnect::setOpener([&](DWORD) {
        ++attempts;
        return nullptr;
    });
    gf_startSimThread();
    EXPECT_TRUE(soon([&] { return attempts >= 2; }));
    EXPECT_EQ(logged("Waiting for MSFS 2020 ...\n"), 1u);
    gf_requestStop(RunState::newSettings, 2);
    const auto begin = std::chrono::steady_clock::now();
    simLife.thread.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_EQ(logged("SimConnect closed ok"), 0u);
}

TEST_F(SimThread, AStoppedThreadLeavesTheSessionClosedAndTheMarksCleared) {
    connect();
    gf_stopSimThread(true);
    EXPECT_FALSE(stream->open || app.simRunning || display.simConnected || display.simRunning);
    EXPECT_EQ(logged("SimConnect closed ok"), 1u);
    EXPECT_FALSE(app.stopRequested); // the end of the session is not a reason of its own
    gf_requestInRange(1000);         // the worker may be late
    EXPECT_FALSE(app.simConnectFailed);
}

TEST_F(SimThread, AConnectionThatEndsAfterAQuitMessageOrWithoutOneIsASimulatorThatIsGone) {
    for (const bool quit : {true, false}) {
        TearDown();
        stream = std::make_shared<ScriptedStream>();
        SetUp();
        connect();
        if (quit) {
            stream->arrive(Bytes().message(3));
            ASSERT_TRUE(soon([] { return !app.simRunning; }));
            EXPECT_FALSE(app.stopRequested); // not by the message alone
        }
        stream->end();
        ASSERT_TRUE(soon([] { return app.stopRequested.isSet(); }));
        EXPECT_EQ(app.runState, RunState::simClosed);
        EXPECT_EQ(app.restartDelay, 0);
        simLife.thread.join();
        EXPECT_EQ(logged(" Flight Simulator no longer connected, Velloray will stop ...\n"), 1u);
        EXPECT_FALSE(app.simRunning);
    }
}

TEST_F(SimThread, AConnectionThatEndsBeforeItsOpenMessageIsTriedAgain) {
    stream->end();
    gf_startSimThread();
    ASSERT_TRUE(soon([&] { return stream->sends > 0 && !stream->open; }));
    stream->arrive(openMessage("KittyHawk") + event(evSim, 1));
    ASSERT_TRUE(soon([] { return app.runState == RunState::simClosed; })); // it was there, and then it ended
    EXPECT_EQ(logged("MSFS 2020 (11.0.282174.999) connected"), 1u);
}

TEST_F(SimThread, AWrongSimulatorShowsItsTextAndStopsNothing) {
    gf_startSimThread();
    stream->arrive(openMessage("SunRise"));
    simLife.thread.join();
    EXPECT_THAT(gf_shownError(), HasSubstr("71: MSFS 2024 is running"));
    EXPECT_EQ(app.runState, RunState::notYetSet);
    EXPECT_FALSE(app.stopRequested || stream->open);
}

TEST_F(SimThread, ANewStartJoinsTheThreadBefore) {
    connect();
    auto second = std::make_shared<ScriptedStream>();
    simconnect::setOpener(ScriptedStream::opener(second));
    gf_startSimThread();
    EXPECT_FALSE(stream->open);
    EXPECT_TRUE(soon([&] { return second->sends > 50; }));
}

// The worker's side of a Tick beside the thread's frames: all that is queued arrives, once and in order.
TEST_F(SimThread, TicksAndFramesSideBySideLoseNoEvent) {
    sim.frameRate = 60;
    connect();
    constexpr std::uint32_t count = 2000;
    std::size_t reports = 0;
    std::vector<SimMessage> taken;
    for (std::uint32_t i = 0; i < count; ++i) {
        for (std::uint32_t id = 10; id < 20; ++id) fillingUpdates.push_back({{}, id});
        gf_exchangeUpdates();
        gf_queueEvent(17, evThrottle, i);
        if (i % 10 == 0) gf_requestInRange(74080);
        stream->arrive(frame(60) + inRange(30, "DLH4AB"));
        gf_takeSimMessages(taken);
        reports += taken.size();
    }
    ASSERT_TRUE(soon([&] {
        gf_takeSimMessages(taken);
        reports += taken.size();
        if (reports < count) return false;
        LockGuard hold(simLock);
        return sim.events.empty();
    }));
    gf_stopSimThread(true);
    std::uint32_t next = 0;
    for (const SentPacket& p : stream->takePackets())
        if (p.function == fnTransmit) {
            EXPECT_EQ(p.u32(24), next++);
        }
    EXPECT_EQ(next, count);
}

} // namespace

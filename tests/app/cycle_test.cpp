// The main cycle in virtual time: which second does what, pauses, stops, late passes, and the waits before it.

#include "app_fixture.h"

#include "app/maincycle.h"

#include <chrono>
#include <climits>
#include <future>
#include <thread>

using namespace std::chrono_literals;

namespace {

class CycleTest : public VirtualAppTest {
  protected:
    CycleTest() {
        app.simRunning.set();
        AUTO_RANGE.value = false;
    }
    // One second of the simulator: 99 Ticks, and one with its message.
    bool second() {
        for (int i = 0; i < 99; ++i)
            if (!tick()) return false;
        app.secondTick.set();
        return tick();
    }
    bool tick() {
        clock.advance(10'000'000);
        return lf_cycleStep();
    }
    // Second steps alone, up to the one of this number.
    void upTo(int number) {
        while (app.secondCount < number) {
            app.secondTick.set();
            ASSERT_TRUE(tick());
        }
    }
    static LiveAc& addAircraft(std::uint32_t hexid, std::uint32_t objectId) {
        LiveAc ac;
        ac.hexid = hexid;
        ac.callsign = "BAW" + std::to_string(hexid);
        ac.st = SimState::active;
        ac.fs = FlightState::flying;
        ac.lat = 51;
        StreamPoint stays; // it has nothing to do for a week
        stays.lat = 51;
        stays.stationary = true;
        stays.dueTick = appLife.tickCount + 60'480'000;
        ac.stream.pushBack(stays);
        LiveAc& added = lf_appendLive(std::move(ac));
        lf_setObjectId(added, objectId);
        return added;
    }
    static bool trafficEnabled() {
        const LockGuard hold(trafficLock);
        return feedQueue.trafficEnabled;
    }
    static std::size_t callsignsSeen() {
        const LockGuard hold(trafficLock);
        return trafficReader.seenCallsigns.size();
    }
    static void placeUser(double lat, double lon) {
        const LockGuard hold(simLock);
        sim.userBlock.lat = lat;
        sim.userBlock.lon = lon;
    }
};

} // namespace

TEST(SecondJobs, FollowTheNumberAndAMultipleOfFifteenLooksAtNothingElse) {
    struct Row {
        int second;
        const char* jobs; // slow, parking, watch, doubles, file
    };
    for (const Row& row : {Row{1, ""}, Row{15, "s"}, Row{16, "p"}, Row{30, "s"}, Row{59, "w"}, Row{60, "s"},
                           Row{61, "d"}, Row{62, "f"}, Row{240, "s"}, Row{59 * 16, "pw"}, Row{59 * 15, "s"},
                           Row{61 * 62, "df"}, Row{61 * 60, "s"}, Row{59 * 61, "wd"}, Row{86400, "s"}}) {
        const SecondJobs due = lf_jobsOfSecond(row.second);
        const std::string jobs = std::string(due.slowSchedule ? "s" : "") + (due.parkingStep ? "p" : "") +
                                 (due.readerWatch ? "w" : "") + (due.staticDoubles ? "d" : "") +
                                 (due.callsignFile ? "f" : "");
        EXPECT_EQ(jobs, row.jobs) << row.second;
    }
}

TEST_F(CycleTest, TellsTheReaderThePositionEachFifteenSecondsTheRangeEachThirtyTheHeaderEachMinute) {
    AUTO_RANGE.value = true;
    sim.userOnGround = true;
    placeUser(50, 8);
    lf_beginCycle();
    for (int i = 0; i < 14; ++i) ASSERT_TRUE(second());
    EXPECT_EQ(engine.user.lat, 50) << "the worker's copy is renewed each second";
    EXPECT_EQ(trafficReader.userPosition.load()[0], 0);
    ASSERT_TRUE(second());
    EXPECT_EQ(trafficReader.userPosition.load(), (std::array<double, 2>{50, 8}));
    upTo(29);
    EXPECT_EQ(app.rangeNm, 40);
    upTo(30);
    EXPECT_EQ(app.rangeNm, 10);
    EXPECT_EQ(app.rangeMeters, 18520);
    EXPECT_EQ(LATERAL_RANGE.value, 10);
    for (const auto& [at, minutes] :
         {std::pair{59, 0}, std::pair{60, 19}, std::pair{19 * 60, 1}, std::pair{20 * 60, 20}}) {
        upTo(at);
        EXPECT_EQ(display.minutesToSummary, minutes) << at;
    }
}

TEST_F(CycleTest, AQuietSystemPaintsNothing) {
    ASSERT_TRUE(plat::openWindow("Test", 0, 0, 880, 516, {}));
    const auto bandsOf = [this](int seconds) {
        std::size_t bands = 0;
        for (int i = 0; i < seconds; ++i) {
            EXPECT_TRUE(second());
            bands += plat::headless::takeInvalid().size();
        }
        return bands;
    };
    lf_beginCycle();
    bandsOf(15);
    EXPECT_EQ(bandsOf(600), 0u) << "no airport is loaded";
    display.airportLoaded = true;
    EXPECT_EQ(bandsOf(600), 10u) << "the minutes to the next renewal, once each";
    addAircraft(20001, 500);
    EXPECT_EQ(bandsOf(1), 1u) << "the live count";
    EXPECT_EQ(bandsOf(30), 0u);
    app.simRunning.clear();
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(tick());
    EXPECT_TRUE(plat::headless::takeInvalid().empty());
}

TEST_F(CycleTest, WhatWasAskedForBeforeTheCycleIsServedBeforeItsFirstStep) {
    airportsLife.directory = {{"EDDF", "FRA", 50, 8.5, 364}, {"EHAM", "AMS", 52.3, 4.76, -11}};
    airports.parkAirports = {{"EDDF", "", 50, 8.5, 0}, {"EHAM", "", 52.3, 4.76, 0}};
    placeUser(50, 8.5);
    lf_newDestination(*gf_findAirport("EHAM"));
    lf_beginCycle();
    EXPECT_EQ(airports.parkAirports.front().code, "EHAM");
    EXPECT_FALSE(app.destinationRequest);
}

TEST_F(CycleTest, APausedCycleServesEachRequestOfTheWindowAndLooksAroundOnceASecond) {
    std::filesystem::create_directories(folders.myThirdparty);
    lf_beginCycle();
    app.simRunning.clear();
    addAircraft(20001, 500).callsign = "BAW1";
    addAircraft(20002, 501).callsign = "BAW2";
    CALLSIGN_2_OBJECTID.set("BAW1");
    BLOCK_CALLSIGN.set("BAW2");
    engine.noLivery.insert("B738");
    AUTO_RANGE.value = sim.userOnGround = true; // for which there is an answer of its own
    clock.setUtcSeconds(1685923169); // Sunday, a second before Monday's first half hour begins early
    for (Flag* const request : {&app.objectIdRequest, &app.blockRequest, &app.forgetTypesRequest,
                                &app.flushRequest, &app.navLightsRequest, &app.trimLiveRequest,
                                &app.destinationRequest, &app.reReadRequest, &app.autoRangeRequest}) {
        request->set();
        ASSERT_TRUE(tick());
        EXPECT_FALSE(*request);
    }
    EXPECT_EQ(gf_displayText(DisplayText::objectId), "= 500");
    EXPECT_EQ(engine.removalQueue.size(), 1u);
    EXPECT_TRUE(engine.noLivery.empty());
    EXPECT_EQ(app.rangeNm, 10);
    for (int i = 9; i < 100; ++i) ASSERT_TRUE(tick());
    EXPECT_EQ(display.liveCount, 1u) << "the other is blocked";
    EXPECT_EQ(app.weekSlot.load(), (WeekSlot{1, 0}));
    EXPECT_EQ(app.pauseCount, 100);
}

TEST_F(CycleTest, WatchesTheReadersAndGivesASilentOneAnotherLookSoon) {
    display.feedConnected = true;
    display.trafficMark = display.weatherMark = ReaderMark::live;
    trafficReader.datagramCount = 3;
    lf_beginCycle();
    EXPECT_EQ(display.trafficMark, ReaderMark::live);
    EXPECT_EQ(display.weatherMark, ReaderMark::silent) << "nothing has come at all";
    qnhReader.datagramCount = 1;
    trafficReader.datagramCount = 4;
    upTo(15);
    EXPECT_EQ(display.weatherMark, ReaderMark::live);
    upTo(58);
    EXPECT_EQ(display.trafficMark, ReaderMark::live) << "with both live nobody looks before second 59";
    upTo(59);
    EXPECT_EQ(display.trafficMark, ReaderMark::silent);
    display.feedConnected = false;
    trafficReader.datagramCount = 9;
    upTo(75);
    EXPECT_EQ(display.trafficMark, ReaderMark::silent) << "without the link nobody looks";
}

TEST_F(CycleTest, AStaticDoubleOfALandedAircraftGoesAtSecondSixtyOne) {
    LiveAc& ac = addAircraft(20001, 500);
    ac.onGround = true;
    ParkedAc parked;
    parked.callsign = "BAW20001*";
    parked.hexid = 7;
    parked.objectId = 600;
    parked.st = SimState::active;
    engine.parked.push_back(parked);
    lf_beginCycle();
    upTo(60);
    EXPECT_EQ(engine.parked[0].st, SimState::active);
    upTo(61);
    EXPECT_TRUE(engine.parked.empty() || engine.parked[0].st != SimState::active);
}

TEST_F(CycleTest, StaticAircraftAreRenewedInTwoVisitsEachTwentyMinutes) {
    airports.park.loaded = true; // with or without static aircraft
    {
        const LockGuard hold(trafficLock);
        trafficReader.seenCallsigns.insert("OLD1");
    }
    lf_beginCycle();
    upTo(1200);
    EXPECT_TRUE(app.reparkRequest);
    EXPECT_FALSE(app.reparkFirstPhase);
    upTo(1215);
    EXPECT_TRUE(app.reparkFirstPhase && app.reparkRequest && trafficReader.collectCallsigns);
    EXPECT_EQ(callsignsSeen(), 0u);
    gf_showError("of the airport file");
    upTo(1230);
    EXPECT_FALSE(app.reparkFirstPhase || app.reparkRequest);
    EXPECT_EQ(gf_shownError(), "");
    INITIAL_LOAD_ONLY.value = true;
    upTo(2400);
    EXPECT_FALSE(app.reparkRequest);
}

TEST_F(CycleTest, ASimulatorsDayEndsWithASummary) {
    lf_beginCycle();
    app.secondCount = app.messageAge = 86398;
    engine.ghosts.insert("BAW1_");
    const auto next = [&] {
        app.secondTick.set();
        EXPECT_TRUE(tick());
        return app.secondCount.load();
    };
    EXPECT_EQ(next(), 86399);
    EXPECT_EQ(timesLogged("matching summary"), 0);
    EXPECT_EQ(next(), 0);
    EXPECT_EQ(app.messageAge, 86400) << "messages go on ageing";
    EXPECT_TRUE(engine.ghosts.empty());
    EXPECT_EQ(timesLogged("matching summary"), 1);
    ASSERT_TRUE(tick());
    EXPECT_EQ(app.secondCount, 0) << "a message counts once";
}

TEST_F(CycleTest, AMessageGoesTwentyFiveSecondStepsAfterItCame) {
    lf_beginCycle();
    gf_showMessage("before the first step", false);
    upTo(25);
    EXPECT_EQ(gf_shownMessage(), "before the first step") << "it counts from 1";
    upTo(26);
    EXPECT_EQ(gf_shownMessage(), "");
    upTo(100);
    gf_showMessage("a message of any length", false);
    upTo(124);
    EXPECT_EQ(gf_shownMessage(), "a message of any length");
    upTo(125);
    EXPECT_EQ(gf_shownMessage(), "");
    EXPECT_EQ(timesLogged("a message of any length"), 0);
}

TEST_F(CycleTest, APauseHasOneLineAndItsEndAnother) {
    lf_beginCycle();
    ASSERT_TRUE(second());
    ASSERT_TRUE(trafficEnabled());
    const std::int32_t ticks = appLife.tickCount;
    app.simRunning.clear();
    for (int i = 0; i < 250; ++i) ASSERT_TRUE(tick());
    EXPECT_EQ(timesLogged("05:06:08 Flight not running\n"), 1);
    EXPECT_EQ(timesLogged("Flight not running"), 1);
    EXPECT_FALSE(trafficEnabled());
    EXPECT_EQ(appLife.tickCount, ticks) << "nothing moves";
    app.simRunning.set();
    ASSERT_TRUE(tick());
    EXPECT_FALSE(trafficEnabled()) << "reports wait for the second step";
    app.simRunning.clear();
    ASSERT_TRUE(tick());
    EXPECT_EQ(timesLogged("Flight not running"), 1) << "still the same pause";
    app.simRunning.set();
    ASSERT_TRUE(second());
    EXPECT_TRUE(trafficEnabled());
    EXPECT_EQ(timesLogged("Flight resumed"), 1);
    app.simConnectFailed.set(); // a failed request stands like a pause
    ASSERT_TRUE(tick());
    EXPECT_EQ(timesLogged("Flight not running"), 2);
}

TEST_F(CycleTest, AStopTakesEffectWithTheNextSecondOrWhenNoneComes) {
    lf_beginCycle();
    ASSERT_TRUE(second());
    app.stopRequested.set();
    for (int i = 0; i < 99; ++i) ASSERT_TRUE(tick()) << "the step is whole";
    app.secondTick.set();
    EXPECT_FALSE(tick());

    app.stopRequested.clear();
    ASSERT_TRUE(second());
    app.stopRequested.set();
    int ticks = 0;
    while (tick()) ++ticks;
    EXPECT_EQ(ticks, 149) << "a second and a half after the last message";

    app.stopRequested.clear();
    app.simRunning.clear();
    EXPECT_TRUE(tick());
    app.userClosing.set();
    EXPECT_FALSE(tick()) << "a pause ends at once";
}

TEST_F(CycleTest, CountsTicksBeyondTheLargestNumber) {
    lf_beginCycle();
    appLife.tickCount = INT_MAX - 150;
    placeUser(50, 8);
    for (int i = 0; i < 400; ++i) ASSERT_TRUE(tick());
    EXPECT_EQ(appLife.tickCount, INT_MIN + 249);
    EXPECT_EQ(engine.user.lat, 50) << "the schedules of the Tick go on with negative numbers";
}

TEST_F(CycleTest, ServesTheWindowsRequestsAtTheNextSecond) {
    addAircraft(20001, 500).fs = FlightState::parked;
    addAircraft(20002, 501).fs = FlightState::parked;
    lf_beginCycle();
    NAV_LIGHTS_WHILE_PARKED.value = true;
    app.navLightsRequest.set();
    MAX_LIVE.value = 1;
    app.trimLiveRequest.set();
    BLOCK_CALLSIGN.set("BAW1");
    app.blockRequest.set();
    app.flushRequest.set();
    upTo(1);
    EXPECT_EQ(app.liveLimit, 1);
    EXPECT_FALSE(app.navLightsRequest || app.trimLiveRequest || app.blockRequest || app.flushRequest);
    EXPECT_TRUE(INITIAL_LOAD_ONLY) << "what was flushed does not come back by itself";
    EXPECT_EQ(engine.removalQueue.size(), 1u);
    int navLights = 0;
    for (const QueuedEvent& event : sim.events) navLights += event.event == evNavLights && event.data == 1;
    EXPECT_EQ(navLights, 2);
}

TEST_F(CycleTest, TheHalfHourComesFromTheFeedWhenItMayBeAnotherTime) {
    trafficReader.latestFeedTime = 1685923170.5; // Monday by 30 seconds
    lf_workOutWeekSlot();
    EXPECT_EQ(app.weekSlot.load(), (WeekSlot{5, 10})) << "the standard edition tells the present";
    controlLink.rtProfessional = true;
    lf_workOutWeekSlot();
    EXPECT_EQ(app.weekSlot.load(), (WeekSlot{1, 0}));
    trafficReader.latestFeedTime = 0.9;
    lf_workOutWeekSlot();
    EXPECT_EQ(app.weekSlot.load(), (WeekSlot{5, 10}));
}

// ---- RealTraffic goes --------------------------------------------------------------------------------------------

namespace {

class LostFeedTest : public CycleTest {
  protected:
    LostFeedTest() { begin(); }
    ~LostFeedTest() override {
        plat::closeSocket(client);
        gf_closeControlLink();
    }
    void begin() {
        app.simRunning.set();
        appLife.realTrafficLocal = true;
        placeUser(50, 8);
        engine.user = sim.userBlock;
        lf_openControlPort("0");
        connect();
        EXPECT_TRUE(waitForClient());
        lf_beginCycle();
    }
    void connect() {
        client = plat::connectTcp("127.0.0.1", plat::localPort(controlLink.listenSocket), 1000);
        EXPECT_NE(client, plat::noSocket);
    }
    // The first line may still leave before the other side's answer to it has come back.
    void loseRealTraffic() {
        plat::closeSocket(client);
        for (int i = 0; i < 5000 && !lossIsShown(); ++i) tick();
        EXPECT_TRUE(lossIsShown());
    }
    static bool lossIsShown() {
        return gf_shownMessage().ends_with(" RealTraffic gone? Wait for RealTraffic to re-connect ...");
    }
    // A Tick, and the simulator does what it is told.
    bool tickOfBoth() {
        std::vector<std::uint32_t> removals;
        {
            const LockGuard hold(simLock);
            removals.swap(sim.removals);
        }
        for (const std::uint32_t id : removals) gf_postSimMessage({.objectId = id});
        told += removals.size();
        return tick();
    }
    plat::Socket client = plat::noSocket;
    std::size_t told = 0; // removals
};

} // namespace

TEST_F(LostFeedTest, ItsAircraftGoUnlessTheUserIsClosing) {
    for (const bool closing : {false, true}) {
        addAircraft(20001, 500);
        if (closing) app.userClosing.set();
        loseRealTraffic();
        EXPECT_EQ(engine.removalQueue.size() + sim.removals.size(), closing ? 0u : 1u);
        gf_closeControlLink();
        freshState();
        if (!closing) begin();
    }
}

TEST_F(LostFeedTest, TheCycleGoesOnUntilTheLastOfThemHasGoneAndStandsOnlyThen) {
    for (std::uint32_t i = 0; i < 60; ++i) addAircraft(20001 + i, 500 + i);
    LiveAc& coming = addAircraft(30001, 0); // the simulator has been asked for it
    coming.st = SimState::adding2sim;
    std::promise<void> gone;
    std::thread guard([&] { // ends a cycle that stands too early
        if (gone.get_future().wait_for(20s) == std::future_status::timeout) app.stopRequested.set();
    });
    loseRealTraffic();
    for (int i = 0; i < 300; ++i) tickOfBoth();
    gf_postSimMessage({.objectId = 700, .hexid = 30001, .kind = SimMessageKind::liveAppeared});
    for (int i = 0; i < 1000 && !engine.live.empty(); ++i) tickOfBoth();
    gone.set_value();
    guard.join();
    EXPECT_EQ(told, 61u);
    EXPECT_TRUE(engine.live.empty() && engine.removalQueue.empty());
    ASSERT_FALSE(gf_stopping());

    gf_clearMessage();
    std::thread realTraffic([&] { // comes when the cycle stands and says so
        for (int i = 0; i < 2000 && !lossIsShown(); ++i) std::this_thread::sleep_for(10ms);
        connect();
    });
    for (int i = 0; i < 100; ++i) tickOfBoth();
    EXPECT_TRUE(controlLink.clientConnected);
    realTraffic.join();
}

TEST_F(LostFeedTest, RealTrafficIsTakenBackWhileItsAircraftGo) {
    for (std::uint32_t i = 0; i < 60; ++i) addAircraft(20001 + i, 500 + i);
    loseRealTraffic();
    connect();
    for (int i = 0; i < 100; ++i) tickOfBoth();
    EXPECT_TRUE(controlLink.clientConnected && display.feedConnected);
    EXPECT_FALSE(engine.live.empty());
}

// ---- the loop itself -----------------------------------------------------------------------------------------------

namespace {

// A clock that notes at which Tick the loop slept, and can hold up one pass.
struct LoopClock : plat::ScopedVirtualClock {
    plat::SteadyNs steadyNow() override {
        if (appLife.tickCount == lateTick) {
            lateTick = -1;
            now += lateNs;
            if (secondComes) app.secondTick.set();
        }
        if (appLife.tickCount >= lastTick) { // a stop takes effect at once when the flight stands
            app.simRunning.clear();
            app.stopRequested.set();
        }
        return now;
    }
    void sleepMs(std::int64_t ms) override {
        if (appLife.tickCount < lastTick) slept.emplace_back(appLife.tickCount, ms);
        plat::ScopedVirtualClock::sleepMs(ms);
    }
    std::int32_t lateTick = -1, lastTick = 0;
    plat::SteadyNs lateNs = 0;
    bool secondComes = false;
    std::vector<std::pair<std::int32_t, std::int64_t>> slept; // Ticks done before, milliseconds
};

} // namespace

class LoopTest : public AppTest {
  protected:
    void run(std::int32_t ticks, std::int32_t lateTick, plat::SteadyNs lateNs, bool secondComes = false) {
        clock.lastTick = ticks;
        clock.lateTick = lateTick;
        clock.lateNs = lateNs;
        clock.secondComes = secondComes;
        app = AppRun{};
        app.simRunning.set();
        clock.slept.clear();
        appLife.tickCount = 0;
        lf_mainCycle();
    }
    LoopClock clock;
};

TEST_F(LoopTest, ALatePassIsCaughtUpWithoutASleep) {
    using Slept = std::vector<std::pair<std::int32_t, std::int64_t>>;
    run(8, 3, 25'000'000);
    EXPECT_EQ(clock.slept, (Slept{{1, 10}, {2, 10}, {5, 5}, {6, 10}, {7, 10}}));
    run(6, 3, 9'500'000); // half a millisecond is no sleep, and what is left is rounded up
    EXPECT_EQ(clock.slept, (Slept{{1, 10}, {2, 10}, {4, 11}, {5, 10}}));
}

TEST_F(LoopTest, FiveLateSecondsAreCaughtUpUnlessASecondTickSetsThePhaseAnew) {
    run(600, 3, 5'000'000'000);
    ASSERT_GE(clock.slept.size(), 3u);
    EXPECT_EQ(clock.slept[1].first, 2);
    EXPECT_EQ(clock.slept[2].first, 3 + 500) << "the passes between follow one another";
    run(600, 3, 5'000'000'000, true);
    EXPECT_EQ(clock.slept[2], (std::pair<std::int32_t, std::int64_t>{4, 10}));
    EXPECT_EQ(app.secondCount, 1);
}

// ---- the waits before ------------------------------------------------------------------------------------------------

TEST_F(VirtualAppTest, WaitsForAFlightAndForTheUsersAircraft) {
    const auto start = clock.now;
    clock.onAdvance = [&](plat::SteadyNs now) {
        if (now - start >= 2'000'000'000) app.simRunning.set();
        if (now - start < 5'000'000'000) return;
        sim.userOnGroundKnown = true;
        if (now - start >= 8'000'000'000) sim.userBlock.lat = 50;
    };
    EXPECT_TRUE(lf_waitForUserAircraft());
    EXPECT_NEAR(static_cast<double>(clock.now - start) / 1e9, 8.5, 0.6);
    EXPECT_EQ(engine.user.lat, 50);
}

TEST_F(VirtualAppTest, AStopEndsEachWait) {
    const auto stopIn = [&](double seconds) {
        app.stopRequested.clear();
        const auto due = clock.now + static_cast<plat::SteadyNs>(seconds * 1e9);
        clock.onAdvance = [due](plat::SteadyNs now) {
            if (now >= due) app.stopRequested.set();
        };
        return due;
    };
    for (const bool flying : {false, true}) {
        app.simRunning.set(flying);
        const auto due = stopIn(3);
        EXPECT_FALSE(lf_waitForUserAircraft());
        EXPECT_LE(clock.now - due, 500'000'000);
    }
    const auto due = stopIn(3);
    lf_waitForFirstReport();
    EXPECT_LE(clock.now - due, 500'000'000);
    EXPECT_EQ(timesLogged("No traffic"), 0);
}

TEST_F(VirtualAppTest, WaitsFifteenSecondsForAFirstReport) {
    const auto start = clock.now;
    trafficReader.latestFeedTime = 0.5; // no whole second yet
    lf_waitForFirstReport();
    EXPECT_EQ(clock.now - start, 15'000'000'000);
    EXPECT_TRUE(logged("No traffic in this region?"));
    trafficReader.latestFeedTime = 1698383167.0;
    lf_waitForFirstReport();
    EXPECT_EQ(clock.now - start, 15'100'000'000);
    EXPECT_EQ(timesLogged("No traffic in this region?"), 1);
}

// The one way to stop: the first cause wins, nothing of an older run counts, and a seen flag has its reason.

#include "app_fixture.h"

#include "app/stop.h"

#include <atomic>
#include <thread>

TEST_F(AppTest, TheFirstStopWins) {
    gf_fatalError("disk on fire");
    EXPECT_EQ(gf_shownError(), "disk on fire");
    EXPECT_EQ(app.runState, RunState::systemError);
    EXPECT_EQ(app.restartDelay, 0);
    EXPECT_TRUE(logged("Error disk on fire"));

    lf_freshRun();
    gf_requestStop(RunState::readerError, 15);
    gf_requestStop(RunState::newSettings, 3);
    gf_fatalError("too late");
    EXPECT_EQ(app.runState, RunState::readerError);
    EXPECT_EQ(app.restartDelay, 15);
    gf_userClosesWindow();
    EXPECT_EQ(app.runState, RunState::readerError) << "closing keeps the reason that stands";
    EXPECT_TRUE(app.userClosing && appLife.windowClosed);
}

TEST_F(AppTest, ClosingTheWindowIsAStopOfItsOwn) {
    gf_userClosesWindow();
    EXPECT_EQ(app.runState, RunState::userClosed);
    EXPECT_TRUE(app.stopRequested && app.userClosing && appLife.windowClosed);
    EXPECT_EQ(gf_shownMessage(), "Close window button clicked, closing Velloray ...");
    EXPECT_EQ(timesLogged("Close window"), 0);
    lf_freshRun();
    EXPECT_FALSE(app.stopRequested || app.userClosing);
    EXPECT_TRUE(appLife.windowClosed && gf_stopping()) << "no reset clears it";
}

TEST_F(AppTest, AnErrorOfTheSetUpWaitsForNewSettingsAlone) {
    lf_noteSystemError();
    EXPECT_FALSE(gf_stopping());
    gf_requestStop(RunState::simClosed, 0); // the simulator goes while the user reads the text
    EXPECT_EQ(app.runState, RunState::systemError);
    gf_requestStop(RunState::newSettings, 3);
    EXPECT_EQ(app.runState, RunState::newSettings);
    EXPECT_TRUE(app.stopRequested);
    lf_noteSystemError();
    EXPECT_EQ(app.runState, RunState::newSettings) << "a guard writes its state over none";
}

TEST_F(AppTest, AThreadOfAnOlderRunStopsNothing) {
    const std::uint32_t older = appLife.runNumber;
    lf_freshRun();
    std::thread([&] {
        gf_joinRun(older);
        gf_readerStopped("Traffic Reader", "late");
        gf_fatalError("late");
        gf_requestStop(RunState::newFlight, 0);
    }).join();
    EXPECT_FALSE(gf_stopping());
    EXPECT_EQ(app.runState, RunState::notYetSet);
    EXPECT_EQ(gf_shownError() + gf_shownMessage(), "");
    EXPECT_TRUE(logged("The Traffic Reader has stopped with error: late")) << "the log tells it all the same";
    std::thread([&] {
        gf_joinRun(appLife.runNumber);
        gf_readerStopped("Traffic Reader", "now");
    }).join();
    EXPECT_EQ(app.runState, RunState::readerError);
    EXPECT_EQ(app.restartDelay, 15);
    EXPECT_EQ(gf_shownMessage(), "The Traffic Reader has stopped with error: now");
}

TEST_F(AppTest, WhoeverSeesTheFlagSeesItsReasonAndDelay) {
    const RunState states[] = {RunState::newSettings, RunState::simConnectError, RunState::readerError};
    for (int round = 0; round < 200; ++round) {
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([&, i] {
                while (!go) {}
                gf_requestStop(states[i], static_cast<std::int32_t>(states[i]) * 100);
            });
        threads.emplace_back([&] {
            while (!app.stopRequested) {}
            const RunState seen = app.runState;
            EXPECT_NE(seen, RunState::notYetSet);
            EXPECT_EQ(app.restartDelay, static_cast<std::int32_t>(seen) * 100);
        });
        go = true;
        for (auto& thread : threads) thread.join();
        lf_freshRun();
    }
}

TEST_F(VirtualAppTest, ASleepEndsWithinATenthOfASecondOfAStop) {
    const auto start = clock.now;
    EXPECT_TRUE(gf_sleepUnlessStopped(250));
    EXPECT_EQ(clock.now - start, 250'000'000);
    clock.onAdvance = [&](plat::SteadyNs now) {
        if (now - start > 1'000'000'000) app.stopRequested.set();
    };
    EXPECT_FALSE(gf_sleepUnlessStopped(60'000));
    EXPECT_LE(clock.now - start, 1'100'000'000);
    EXPECT_FALSE(gf_sleepUnlessStopped(0));
}

TEST_F(AppTest, ClosingTheWindowEndsTheProcessWhenNoWorkerIsLeft) {
    for (const bool failsFirst : {true, false}) {
        freshState();
        std::vector<unsigned> posted;
        plat::WindowHandlers handlers;
        handlers.posted = [&](unsigned message) {
            posted.push_back(message);
            plat::quitLoop(0);
        };
        plat::openWindow("", 0, 0, 0, 0, handlers);
        if (failsFirst) lf_noteClosingFailed();
        gf_userClosesWindow();
        if (!failsFirst) lf_noteClosingFailed();
        plat::runLoop();
        EXPECT_EQ(posted, std::vector<unsigned>{messageEndProcess});
    }
}

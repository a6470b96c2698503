// The way out: removals at every stage, objects that go or come unasked, refused creations, the loss of the feed.

#include "life_fixture.h"

#include "app/errors.h"
#include "app/log.h"

#include <filesystem>

namespace {

constexpr std::uint32_t hex = 4242424;

TEST_F(Life, ARemovalBeforeTheCreationIsSentLeavesNoObject) {
    for (const bool queued : {false, true}) { // or still among the requests
        due(hex, 50);
        lf_updateLiveAircraft();
        if (queued) tick();
        ASSERT_EQ(only().st, SimState::adding2sim);
        ASSERT_EQ(engine.creationQueue.size(), queued ? 1u : 0u);
        removeAircraftFromSim(only(), Removed::conflict);
        if (!queued) removeAircraftFromSim(only(), Removed::conflict);
        EXPECT_EQ(removed(Removed::conflict), queued ? 2u : 1u);
        tick(60);
        EXPECT_TRUE(engine.live.empty() && sim.creations.empty() && sim.removals.empty());
    }
}

TEST_F(Life, ARemovalAfterTheCreationWasSentTakesTheObjectOnceItHasSettled) {
    due(hex, 50);
    tick(60);
    ASSERT_EQ(sim.creations.size(), 1u);
    removeAircraftFromSim(only(), Removed::range);
    appear(hex, 77);
    tick(200);
    EXPECT_EQ(only().st, SimState::adding2sim);
    EXPECT_TRUE(engine.removalQueue.empty());
    tick();
    EXPECT_EQ(only().st, SimState::removingFromSim);
    EXPECT_FALSE(only().removeWhenSpawned);
    removeAircraftFromSim(only(), Removed::range);
    tick(20);
    EXPECT_EQ(sim.removals, std::vector<std::uint32_t>{77});
    EXPECT_EQ(removed(Removed::range), 1u);
    goes(77);
    tick();
    EXPECT_TRUE(engine.live.empty());
}

TEST_F(Life, AnObjectThatNobodyWaitsForIsRemoved) {
    appear(hex, 77); // its record is gone
    active(hex + 1, 78, 50, 8);
    appear(hex + 1, 79); // a second object for one that has its own
    tick(30);
    EXPECT_EQ(sim.removals, (std::vector<std::uint32_t>{77, 79}));
    EXPECT_EQ(lf_findByHexid(hex + 1)->objectId, 78u);
    EXPECT_TRUE(engine.waitList.empty());
    due(hex + 2, 50).st = SimState::adding2sim;
    appear(hex + 2, 2);        // a number of the user's: refused, and the aircraft may come again
    active(hex + 3, 0, 50, 8); // without its object
    tick(2);
    EXPECT_FALSE(lf_findByHexid(hex + 2) || lf_findByHexid(hex + 3));
    EXPECT_TRUE(engine.removalQueue.empty());
}

TEST_F(Life, ThePlaceOfAnObjectThatGoesIsTakenByTheLastAndCompactionKeepsTheOrder) {
    for (std::uint32_t i = 0; i < 5; ++i) active(20000 + i, 100 + i, 50, 8);
    const auto order = [] {
        std::vector<std::uint32_t> hexids;
        for (LiveAc& ac : engine.live) {
            hexids.push_back(ac.hexid);
            EXPECT_EQ(lf_findByObjectId(ac.objectId), &ac);
        }
        return hexids;
    };
    goes(101);
    tick();
    EXPECT_THAT(order(), testing::ElementsAre(20000, 20004, 20002, 20003));
    EXPECT_EQ(removed(Removed::simRemoved), 1u);
    engine.live[1].eraseNow = true;
    tick();
    EXPECT_THAT(order(), testing::ElementsAre(20000, 20002, 20003));
    EXPECT_FALSE(lf_findByObjectId(104) || lf_findByHexid(20004));
}

TEST_F(Life, AnObjectThatGoesWhileItIsAwaitedLeavesNothingBehind) {
    due(hex, 50);
    tick(60);
    appear(hex, 77);
    tick(10);
    goes(77);
    tick(300);
    EXPECT_TRUE(engine.live.empty());
    EXPECT_TRUE(engine.waitList.empty());
    EXPECT_TRUE(sim.events.empty());
}

TEST_F(Life, ARespawnKeepsPlaceAndHeadingAndTheStream) {
    LiveAc& ac = active(hex, 77, 50, 8);
    ac.lat = 50.5;
    ac.lon = 8.5;
    ac.alt = 4321;
    ac.heading = 2;
    ac.bank = 0.2;
    ac.thrustIndex = ac.flapsIndex = 2;
    StreamPoint next = ac.stream.front();
    next.lat = 51;
    next.dueTick += 300;
    ac.stream.pushBack(next);
    liveryRespawn(ac);
    removeAircraftFromSim(ac, Removed::other);
    EXPECT_EQ(ac.st, SimState::removingFromSim);
    EXPECT_EQ(engine.removalQueue.size(), 1u); // the respawn has asked already
    ac.st = SimState::liveryRespawn;
    goes(77);
    tick(60);
    EXPECT_EQ(only().st, SimState::adding2sim);
    EXPECT_TRUE(only().thrustIndex == noThrustSent && only().flapsIndex == noFlapsSent);
    ASSERT_EQ(sim.creations.size(), 1u);
    const CreationRecord& c = sim.creations[0];
    EXPECT_TRUE(c.lat == 50.5 && c.lon == 8.5 && c.alt == 4321);
    EXPECT_NEAR(c.heading, 2 * radToDeg, 1e-9);
    EXPECT_NEAR(c.bank, 0.2 * radToDeg, 1e-9);
    EXPECT_EQ(only().stream.size(), 3u);

    fresh();
    LiveAc& parked = active(hex, 77, 50, 8, 0);
    parked.fs = FlightState::parked;
    parked.heading = 1;
    parked.stream.pushBack(next);
    liveryRespawn(parked);
    ASSERT_EQ(parked.stream.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_TRUE(parked.stream[i].stationary);
        EXPECT_NEAR(parked.stream[i].track, radToDeg, 1e-9);
    }
    EXPECT_EQ(parked.stream.front().dueTick, lf_tickAfter(appLife.tickCount, 1));
}

TEST_F(Life, TheTwentiethRefusedTitleStopsTheRunAndFailuresOfOtherKindsDoNot) {
    std::vector<std::string> titles; // what an aircraft has is a view
    for (int i = 0; i < 20; ++i) titles.push_back("title " + std::to_string(i));
    const auto fail = [&](std::uint32_t i, bool refused) {
        LiveAc& ac = due(hex + i, 50);
        ac.st = SimState::adding2sim;
        ac.title = titles[i];
        fails(hex + i, refused);
        tick();
        EXPECT_TRUE(engine.live.empty()) << i;
    };
    for (std::uint32_t i = 0; i < 19; ++i) fail(i, true);
    EXPECT_EQ(engine.failedTitles.size(), 19u);
    EXPECT_EQ(removed(Removed::liveryFailed), 19u);
    fail(19, false); // lost, but not the title's fault
    try {
        fail(19, true);
        ADD_FAILURE() << "no stop";
    } catch (const orvo::UserErrorException& e) {
        EXPECT_STREQ(e.what(),
                     "81: there are too many liveries that could not be created by MSFS!, see Log.txt");
    }
}

TEST_F(Life, AFailureThatComesTooLateHurtsNobody) {
    due(hex, 50).stream.front().dueTick = 100000; // the same aircraft, seen again
    active(hex + 1, 77, 50, 8);
    fails(hex, true);
    fails(hex + 1, true);
    tick();
    EXPECT_EQ(engine.live.size(), 2u);
    EXPECT_TRUE(engine.failedTitles.empty());
}

TEST_F(Life, TheLossOfRealTrafficClearsTheSky) {
    active(20000, 100, 50, 8);
    due(20001, 50).stream.front().dueTick = 100000;
    due(20002, 50).st = SimState::adding2sim; // sent already
    due(20003, 50).st = SimState::adding2sim;
    engine.spawnRequests.push_back(20003);
    {
        const LockGuard held(trafficLock);
        feedQueue.records.push_back(report(20004, 50, 8, 5000, 200));
    }
    lf_removeAllForLostFeed();
    ASSERT_EQ(engine.live.size(), 2u);
    EXPECT_EQ(engine.live[0].st, SimState::removingFromSim);
    EXPECT_TRUE(engine.live[1].removeWhenSpawned);
    EXPECT_TRUE(engine.spawnRequests.empty());
    EXPECT_EQ(removed(Removed::feedGone), 3u);
    const LockGuard held(trafficLock);
    EXPECT_TRUE(feedQueue.records.empty());
}

// ---- static aircraft ---------------------------------------------------------------------------------------------

TEST_F(Life, AStaticAircraftThatIsRemovedWhileItIsCreatedGoesOnceItsObjectHasSettled) {
    engine.parked.resize(2);
    for (std::uint32_t i = 0; i < 2; ++i) {
        engine.parked[i].hexid = i + 1;
        engine.parked[i].st = SimState::adding2sim;
        gf_postSimMessage({100 + i, i + 1, 0, SimMessageKind::staticAppeared, 0, 0});
    }
    removeAircraftFromSim(engine.parked[0], Removed::other);
    tick(202);
    EXPECT_TRUE(engine.parked[1].st == SimState::active && engine.parked[1].objectId == 101);
    EXPECT_EQ(engine.parked[0].st, SimState::removingFromSim);
}

TEST_F(Life, AStaticAircraftIsTheDoubleOfALiveOneByCallsignOrRegistration) {
    const auto gone = [](std::size_t i) { return engine.parked[i].st == SimState::removingFromSim; };
    engine.parked.resize(4);
    engine.parked[0].callsign = "BAW12*";
    engine.parked[1].regcode = "G-BNLY";
    engine.parked[2].callsign = "BAW123*";
    engine.parked[3].callsign = "*"; // is nobody's callsign
    for (std::uint32_t i = 0; i < 4; ++i) {
        engine.parked[i].hexid = i + 1;
        engine.parked[i].objectId = 100 + i;
        engine.parked[i].st = SimState::active;
    }
    engine.live.reserve(4);
    active(20000, 200, 50, 8, 0).callsign = "BAW12";
    LiveAc& airborne = active(20001, 201, 50, 8);
    airborne.callsign = "";
    airborne.regcode = "G-BNLY";
    lf_removeStaticDoubles();
    EXPECT_TRUE(gone(0) && !gone(1));
    airborne.onGround = true;
    lf_removeStaticDoubles();
    EXPECT_TRUE(gone(1) && !gone(2) && !gone(3));
}

} // namespace

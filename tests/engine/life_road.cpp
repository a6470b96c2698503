// The whole road with the stand-in simulator on the other end of a session: from the first report to the object that
// flies, and out again; a title that the simulator refuses; a creation that it never answers.

#include "life_fixture.h"

#include "app/log.h"
#include "simconnect/transport.h"
#include "simulator/inprocess.h"

namespace {

constexpr std::uint32_t hex = 4242424;

class Road : public Life {
  protected:
    rig::SimHub hub;

    Road() {
        MSFS_2020.value = true;
        gf_buildFolders();
        std::filesystem::create_directories(folders.appData.parent_path());
        lf_makeFlightPlanFolder();
        simconnect::setOpener([this](DWORD) { return rig::connectInProcess(hub); });
        EXPECT_TRUE(lf_openSession());
        gf_setRange(40);
        fly(0.1);
        gf_requestUserAircraft();
        fly(0.1);
        engine.user = gf_requestUserAircraft();
        rig::CreationRequest
            foreign; // of another program, and it takes the number that no aircraft of ours may have
        foreign.title = "Other A320";
        foreign.tailNumber = "OTHER";
        foreign.lat = engine.user.lat;
        foreign.lon = engine.user.lon + 0.1;
        hub.world.create(foreign);
        fly(2);
        EXPECT_EQ(hub.world.count(), 2u);
        EXPECT_NEAR(engine.user.lat, hub.world.user().lat, 1e-9);
    }
    ~Road() override {
        lf_closeSession();
        simconnect::setOpener(nullptr);
        gf_removeFlightPlanFolder();
    }

    // Ticks of the cycle's motion step, a frame every other one.
    void fly(double seconds) {
        for (int i = 0; i < static_cast<int>(seconds * 100); ++i) {
            if (i % 2 == 0) {
                hub.frame(0.02);
                ASSERT_TRUE(lf_dispatchArrived());
            }
            if (appLife.tickCount % 20 == 0) gf_requestInRange(app.rangeMeters);
            tick();
            clock.advance(10'000'000);
        }
    }
    // Reports 5 s apart of an aircraft that flies north past the user, with the feed's delay.
    void reports(int count) {
        for (int i = 0; i < count; ++i) {
            TrafficRecord r =
                report(hex, engine.user.lat + 0.1 + 0.0046 * i, engine.user.lon + 0.2, 5000, 200);
            r.origin = "KJFK";
            r.destination = "KBOS";
            r.timestamp = 1000 + 5 * i;
            r.point.dueTick = lf_tickAfter(appLife.tickCount, feedDelayTicks + 500 * i);
            lf_fileFeedRecord(r);
        }
    }
    rig::SimObject* object() {
        for (auto& [id, o] : hub.world.objects)
            if (o.tailNumber == "DLH424") return &o;
        return nullptr;
    }
};

TEST_F(Road, AnAircraftComesIsLitFliesAndGoes) {
    std::vector<std::int32_t> toggles; // ticks
    hub.onPacket = [&](int, const rig::Packet& packet) {
        constexpr std::uint32_t transmit = 5;
        std::uint32_t event = 0;
        if (packet.function == transmit) std::memcpy(&event, packet.body.data() + 4, 4);
        if (event == evAllLightsToggle) toggles.push_back(appLife.tickCount);
    };
    reports(30);
    fly(34);
    ASSERT_TRUE(object());
    EXPECT_TRUE(object()->frozenPosition && object()->frozenAltitude && object()->frozenAttitude);
    EXPECT_NE(object()->flightPlan.find(gf_planFileName(object()->id)), std::string::npos);
    ASSERT_EQ(toggles.size(), 2u);
    EXPECT_NEAR(toggles[1] - toggles[0], 50, 2); // a frame apart
    EXPECT_EQ(only().st, SimState::active);
    EXPECT_TRUE(only().hasFlightPlan);
    EXPECT_NEAR(only().staticCg, object()->staticCg, 1e-6);
    EXPECT_TRUE(object()->lights & rig::lightNav);
    const double lat = object()->lat;
    fly(10);
    EXPECT_GT(object()->lat, lat + 0.005);
    EXPECT_NEAR(object()->lat, only().lat, 1e-4);

    removeAircraftFromSim(only(), Removed::other);
    fly(1);
    EXPECT_FALSE(object());
    EXPECT_TRUE(engine.live.empty());
    EXPECT_TRUE(std::filesystem::is_empty(folders.flightPlans));
}

// A draw that hits a refused title ends that matching: the aircraft waits for a later report to draw again.
TEST_F(Road, ARefusedTitleIsToldAndNotAskedForAgain) {
    gf_indexLiveries({{"DLH", "A320", "a broken one", "", false}, {"DLH", "A320", "a good one", "", false}});
    RANDOM.value = false;
    hub.world.refusedTitles = {"broken"};
    reports(12);
    fly(32);
    EXPECT_TRUE(engine.live.empty());
    EXPECT_EQ(gf_shownMessage(), "DLH424 \"a broken one\" could not be created by your Sim!");
    const auto created = engineCounters.spawned;
    reports(12);
    fly(34);
    EXPECT_EQ(engineCounters.spawned, created);
    RANDOM.value = true;
    for (int i = 0; i < 8 && !object(); ++i) {
        reports(12);
        fly(34);
    }
    ASSERT_TRUE(object());
    EXPECT_EQ(object()->title, "a good one");
    EXPECT_EQ(engineCounters.ready, 1u);
}

TEST_F(Road, ACreationWithoutAnAnswerIsGivenUpAfterAMinute) {
    hub.world.creationsVanish = true;
    reports(40);
    fly(85);
    EXPECT_EQ(only().st, SimState::adding2sim);
    fly(10);
    EXPECT_TRUE(engine.live.empty());
    hub.world.creationsVanish = false;
    reports(12);
    fly(34);
    EXPECT_TRUE(object());
}

} // namespace

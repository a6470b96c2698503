// From the first report to the object that flies, and out again; a title that the simulator refuses; a creation that
// it never answers.

#include "ground_fixture.h"

#include "app/log.h"

namespace {

constexpr std::uint32_t hex = 4242424;

class Road : public Ground {
  protected:
    Road() {
        gf_buildFolders();
        std::filesystem::create_directories(folders.appData.parent_path());
        lf_makeFlightPlanFolder();
        rig::CreationRequest foreign; // of another program
        foreign.title = "Other A320";
        foreign.tailNumber = "OTHER";
        foreign.lat = fieldLat;
        foreign.lon = fieldLon;
        hub.world.create(foreign);
    }
    ~Road() override { gf_removeFlightPlanFolder(); }
    void passes() { feed(hex, "DLH424", {{-10000, 0, 200, 5000}, {10000, 0, 200, 5000}}, seconds); }
};

TEST_F(Road, AnAircraftComesIsLitFliesAndGoes) {
    std::vector<std::int32_t> toggles; // ticks
    hub.onPacket = [&](int, const rig::Packet& packet) {
        constexpr std::uint32_t transmit = 5;
        std::uint32_t event = 0;
        if (packet.function == transmit) std::memcpy(&event, packet.body.data() + 4, 4);
        if (event == evAllLightsToggle) toggles.push_back(appLife.tickCount);
    };
    passes();
    run(36);
    rig::SimObject* o = object("DLH424");
    ASSERT_TRUE(o) << story(hex);
    EXPECT_TRUE(o->frozenPosition && o->frozenAltitude && o->frozenAttitude);
    EXPECT_NE(o->flightPlan.find(gf_planFileName(o->id)), std::string::npos);
    ASSERT_EQ(toggles.size(), 2u);
    EXPECT_NEAR(toggles[1] - toggles[0], 50, 2); // a frame apart
    EXPECT_TRUE(only().hasFlightPlan);
    EXPECT_NEAR(only().staticCg, o->staticCg, 1e-6);
    EXPECT_TRUE(o->lights & rig::lightNav);
    const double lat = o->lat;
    run(10);
    EXPECT_GT(o->lat, lat + 0.005);
    EXPECT_NEAR(o->lat, only().lat, 1e-4);
    removeAircraftFromSim(only(), Removed::range);
    run(1);
    EXPECT_FALSE(object("DLH424"));
    EXPECT_TRUE(object("OTHER"));
    EXPECT_TRUE(engine.live.empty());
    EXPECT_TRUE(std::filesystem::is_empty(folders.flightPlans));
    EXPECT_EQ(story(hex), "first seen as DLH424  A320\nbirth -> flying\n"
                          "appears as flying DLH424 A320 \"FSLTL_A320_DLH\"\nits object 4 is ready\n"
                          "removed: range\n");
}

// A draw that hits a refused title ends that matching: the aircraft waits for a later report to draw again.
TEST_F(Road, ARefusedTitleIsToldAndNotAskedForAgain) {
    gf_indexLiveries({{"DLH", "A320", "a broken one", "", false}, {"DLH", "A320", "a good one", "", false}});
    RANDOM.value = false;
    hub.world.refusedTitles = {"broken"};
    passes();
    run(32);
    EXPECT_TRUE(engine.live.empty());
    EXPECT_EQ(gf_shownMessage(), "DLH424 \"a broken one\" could not be created by your Sim!");
    const auto created = engineCounters.spawned;
    run(34);
    EXPECT_EQ(engineCounters.spawned, created);
    RANDOM.value = true;
    EXPECT_TRUE(runUntil(120, [&] { return object("DLH424") != nullptr; }));
    EXPECT_EQ(object("DLH424")->title, "a good one");
}

TEST_F(Road, ACreationWithoutAnAnswerIsGivenUpAfterAMinute) {
    hub.world.creationsVanish = true;
    passes();
    run(85);
    EXPECT_EQ(only().st, SimState::adding2sim);
    run(10);
    EXPECT_TRUE(wasTold(hex, "removed"));
    hub.world.creationsVanish = false;
    EXPECT_TRUE(runUntil(60, [&] { return object("DLH424") != nullptr; }));
}

} // namespace

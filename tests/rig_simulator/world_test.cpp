// AI objects from creation to removal: delays, refusals, drift and freeze, ownership, chance.

#include "simulator/script.h"
#include "wire_client.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

static rig::SimObject& newest(rig::SimHub& hub) { return hub.world.objects.rbegin()->second; }

TEST(SimWorld, CreatesAfterADelayAndTellsAllWhoAskedAndTheCreatorItsId) {
    rig::WorldSettings settings = plainWorld();
    settings.creationDelayMin = 0.2;
    settings.creationDelayMax = 1.0;
    rig::SimHub hub(settings);
    WireClient client(hub), watcher(hub);
    client.subscribe(202, "ObjectAdded");
    watcher.subscribe(5, "ObjectAdded");
    hub.frame(0.01);
    client.messages();
    watcher.messages();
    client.create("Airbus A320", "DLH4AB", 50.2, 8.3, 5000, 370, false, 250);
    double waited = 0;
    std::vector<Message> got;
    for (; got.empty() && waited < 2; waited += 0.01) {
        hub.frame(0.01);
        got = client.messages();
    }
    EXPECT_GE(waited, 0.2);
    EXPECT_LE(waited, 1.03);
    ASSERT_EQ(got.size(), 2u);
    const rig::SimObject& object = newest(hub);
    EXPECT_EQ(got[0].id, 5u);
    EXPECT_EQ(got[0].u32(0), 0xFFFFFFFF);
    EXPECT_EQ(got[0].u32(4), 202u);
    EXPECT_EQ(got[0].u32(8), object.id);
    EXPECT_EQ(got[0].u32(12), 2u);
    EXPECT_EQ(got[1].id, 12u);
    EXPECT_EQ(got[1].u32(0), 104u);
    EXPECT_EQ(got[1].u32(4), object.id);
    const auto seen = watcher.messages();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].u32(4), 5u);
    EXPECT_EQ(object.tailNumber, "DLH4AB");
    EXPECT_NEAR(object.heading, 10 * 3.14159265358979 / 180, 1e-9);
    EXPECT_FALSE(hub.world.onGround(object));
}

TEST(SimWorld, PutsACreationOnTheGroundOnItsWheels) {
    rig::WorldSettings settings = plainWorld();
    settings.groundFt = 364;
    rig::SimHub hub(settings);
    WireClient client(hub);
    for (const char* title : {"Boeing 747-8 cargo", "A320 x", "Cessna C172", "Something else"}) {
        client.create(title, "T", 50, 8, 0, 90, true, 0);
        hub.frame(0.1);
        const rig::SimObject& object = newest(hub);
        EXPECT_GE(object.staticCg, 5) << title;
        EXPECT_LE(object.staticCg, 15) << title;
        EXPECT_DOUBLE_EQ(object.alt, 364 + object.staticCg);
        EXPECT_TRUE(hub.world.onGround(object));
    }
}

TEST(SimWorld, RefusesWhatItCantCreateWithThePacketOfTheCreation) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.subscribe(202, "ObjectAdded");
    hub.frame(0.1);
    client.messages();
    rig::tellSimulator(hub, "fail title A380");
    const std::uint32_t first = client.create("No Such Aircraft", "A", 50, 8, 0, 0, true, 0);
    client.create("A320", "B", 50, 8, 0, 0, true, 0);
    const std::uint32_t third = client.create("Airbus A380 X", "C", 50, 8, 0, 0, true, 0);
    const std::uint32_t wild = client.create("A320", "D", NAN, 8, 0, 0, true, 0);
    const auto faults = client.exceptions();
    EXPECT_THAT(faults, testing::UnorderedElementsAre(ElementsAre(22, wild, 3), ElementsAre(22, first, 0),
                                                      ElementsAre(22, third, 0)));
    EXPECT_EQ(hub.world.objects.size(), 2u);
    EXPECT_EQ(hub.world.refusedCount, 3u);
    hub.world.settings.titles = {"Only this"};
    const std::uint32_t fourth = client.create("A320", "E", 50, 8, 0, 0, true, 0);
    client.create("Only this", "F", 50, 8, 0, 0, true, 0);
    EXPECT_THAT(client.exceptions(), ElementsAre(ElementsAre(22, fourth, 0)));
    EXPECT_EQ(newest(hub).tailNumber, "F");
    rig::tellSimulator(hub, "fail creations");
    client.create("Only this", "G", 50, 8, 0, 0, true, 0);
    hub.frame(5);
    EXPECT_THAT(client.messages(), IsEmpty());
}

TEST(SimWorld, HoldsAtMostAThousandObjects) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    std::uint32_t last = 0;
    for (int i = 0; i < 1000; ++i) last = client.create("A320", "X", 50, 8, 0, 0, true, 0);
    EXPECT_THAT(client.exceptions(), ElementsAre(ElementsAre(11, last, 0)));
    EXPECT_EQ(hub.world.objects.size(), 1000u);
}

TEST(SimWorld, FliesOnByItselfUntilReleasedAndDriftsInEachPartThatIsNotFrozen) {
    // Which of the three is left free: position, altitude, attitude.
    for (int free = 0; free < 4; ++free) {
        rig::SimHub hub(plainWorld());
        WireClient client(hub);
        client.definePosition(402);
        const char* const events[] = {"FREEZE_LATITUDE_LONGITUDE_SET", "FREEZE_ALTITUDE_SET",
                                      "FREEZE_ATTITUDE_SET"};
        for (std::uint32_t i = 0; i < 3; ++i) client.map(214 + i, events[i]);
        client.create("A320", "X", 50, 8, 5000, 90, false, 360);
        hub.frame(0.1);
        rig::SimObject& object = newest(hub);
        hub.frame(10);
        EXPECT_NEAR((object.lon - 8) * 60 * std::cos(50 * 0.0174532925), 1.0, 0.01)
            << "a mile in ten seconds";
        EXPECT_EQ(object.alt, 5000);

        client.release(object.id);
        for (int i = 0; i < 3; ++i)
            if (i != free) client.transmit(object.id, static_cast<std::uint32_t>(214 + i), 1);
        const std::vector<double> block{50.3, 8.2, -0.03, 0.05, 2.5, 4321, 5, 180};
        client.setData(402, object.id, block);
        for (int i = 0; i < 60; ++i) hub.frame(1.0 / 30);
        const bool moved = std::fabs(object.lat - 50.3) + std::fabs(object.lon - 8.2) > 1e-4;
        const bool sunk = std::fabs(object.alt - 4321) > 5;
        const bool turned = std::fabs(object.heading - 2.5) > 0.02 && std::fabs(object.bank - 0.05) > 0.02;
        EXPECT_EQ(moved, free == 0);
        EXPECT_EQ(sunk, free == 1);
        EXPECT_EQ(turned, free == 2);
        if (free == 3) {
            EXPECT_EQ(object.lat, 50.3); // exactly as written
            EXPECT_EQ(object.lon, 8.2);
            EXPECT_EQ(object.pitch, -0.03);
            EXPECT_EQ(object.bank, 0.05);
            EXPECT_EQ(object.heading, 2.5);
            EXPECT_EQ(object.alt, 4321);
        }
        EXPECT_EQ(object.positionsSet, 1u);
        if (free < 3) continue;
        client.transmit(object.id, 214, 0); // a freeze can be taken back
        hub.frame(1);
        EXPECT_NE(object.lat, 50.3);
    }
}

TEST(SimWorld, ReadsBackExactlyWhatWasWritten) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.definePosition(402);
    client.create("A320", "X", 50, 8, 5000, 90, false, 0);
    hub.frame(0.1);
    const std::uint32_t id = newest(hub).id;
    rig::SimObject& object = newest(hub);
    object.frozenPosition = object.frozenAltitude = object.frozenAttitude = object.released = true;
    const std::vector<double> block{50.1 / 3, -8.7, -0.03, 1e-7, 2.5, 4321.0 / 7, 5, 180};
    client.setData(402, id, {0, 0, 0, 0, 0, 0, 0, 0}, 1);
    client.setData(402, id, block, 0); // a count of 0 counts as 1
    client.request(150, 402, id, 1);
    const auto answers = client.frame(8);
    ASSERT_EQ(answers.size(), 1u);
    for (std::size_t i = 0; i < block.size(); ++i) EXPECT_EQ(answers[0].f64(28 + 8 * i), block[i]) << i;
}

TEST(SimWorld, CarriesOutTheEventsOfLightsGearFlapsEnginesAndLevers) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    const char* const names[] = {"BEACON_LIGHTS_SET", "NAV_LIGHTS_SET",       "ALL_LIGHTS_TOGGLE",
                                 "FLAPS_SET",         "SPOILERS_SET",         "GEAR_SET",
                                 "ENGINE_AUTO_START", "ENGINE_AUTO_SHUTDOWN", "throttle_set"};
    for (std::uint32_t i = 0; i < std::size(names); ++i) client.map(i, names[i]);
    client.define(401, "SPOILERS HANDLE POSITION", "percent", 4);
    client.define(401, "GENERAL ENG THROTTLE LEVER POSITION:1", "percent", 4);
    client.define(401, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent", 4);
    client.create("A320", "X", 50, 8, 5000, 90, false, 0);
    hub.frame(0.1);
    rig::SimObject& object = newest(hub);
    const auto send = [&](std::uint32_t event, std::uint32_t data) {
        client.transmit(object.id, event, data);
    };
    send(0, 1);
    send(1, 1);
    send(0, 0);
    send(3, 3072);
    send(4, 16383);
    send(5, 1);
    send(7, 0);
    send(8, 8191);
    EXPECT_THAT(client.exceptions(), IsEmpty());
    EXPECT_EQ(object.lights, rig::lightNav);
    EXPECT_NEAR(object.flaps, 18.75, 0.01);
    EXPECT_EQ(object.spoilers, 100);
    EXPECT_TRUE(object.gearDown);
    EXPECT_FALSE(object.engineRunning);
    EXPECT_NEAR(object.throttle[0], 50, 0.01);
    send(2, 0);
    send(5, 0);
    send(6, 0);
    client.setData(401, object.id, {100, 100, -100});
    EXPECT_THAT(client.exceptions(), IsEmpty());
    EXPECT_EQ(object.lights, 0u);
    EXPECT_FALSE(object.gearDown);
    EXPECT_TRUE(object.engineRunning);
    EXPECT_EQ(object.throttle[1], -100);
    EXPECT_EQ(object.positionsSet, 0u) << "that was no position";
    EXPECT_EQ(hub.world.user().spoilers, 0) << "the user's own is left alone";
}

TEST(SimWorld, RemovesOnRequestAndEverythingOfAClientThatEnds) {
    rig::SimHub hub(plainWorld());
    WireClient watcher(hub);
    watcher.subscribe(203, "ObjectRemoved");
    auto client = std::make_unique<WireClient>(hub);
    for (int i = 0; i < 3; ++i) client->create("A320", "X", 50, 8, 0, 0, true, 0);
    watcher.create("A320", "STAYS", 50, 8, 0, 0, true, 0);
    rig::tellSimulator(hub, "add-object Own object");
    hub.frame(0.1);
    watcher.messages();
    std::vector<std::uint32_t> theirs;
    for (const auto& [id, object] : hub.world.objects)
        if (object.owner == client->number) theirs.push_back(id);
    ASSERT_EQ(theirs.size(), 3u);
    client->remove(theirs[0]);
    const std::uint32_t again = client->remove(theirs[0]);
    EXPECT_THAT(client->exceptions(), ElementsAre(ElementsAre(3, again, 1)));
    auto removed = watcher.messages();
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_EQ(removed[0].u32(8), theirs[0]);
    EXPECT_EQ(removed[0].u32(12), 2u);

    hub.world.settings.creationDelayMin = hub.world.settings.creationDelayMax = 1;
    client->create("A320", "NEVER", 50, 8, 0, 0, true, 0);
    hub.frame(0.1);
    hub.dropClient(client->number);
    hub.frame(2);
    removed = watcher.messages();
    ASSERT_EQ(removed.size(), 2u);
    EXPECT_EQ(removed[0].u32(8), theirs[1]);
    EXPECT_EQ(removed[1].u32(8), theirs[2]);
    EXPECT_EQ(hub.world.objects.size(), 3u) << "the user, the watcher's and the simulator's own";
    const std::uint32_t last = newest(hub).id;
    rig::tellSimulator(hub, "remove-object " + std::to_string(last));
    EXPECT_EQ(watcher.frame(5).size(), 1u);
    watcher.create("A320", "NEW", 50, 8, 0, 0, true, 0);
    hub.frame(2);
    EXPECT_GT(newest(hub).id, last) << "numbers are not used again";
}

TEST(SimWorld, DoesTheSameWithTheSameSeed) {
    const auto run = [](std::uint32_t seed) {
        rig::WorldSettings settings = plainWorld();
        settings.seed = seed;
        settings.creationDelayMin = 0.2;
        settings.creationDelayMax = 1.0;
        settings.idGaps = true;
        rig::SimHub hub(settings);
        WireClient client(hub);
        client.subscribe(202, "ObjectAdded");
        for (int i = 0; i < 20; ++i) client.create("A320", std::to_string(i), 50, 8, 0, 0, true, 0);
        std::string all;
        for (int i = 0; i < 60; ++i) {
            hub.frame(1.0 / 30);
            all += hub.takeOutput(client.number) + "|";
        }
        return all;
    };
    EXPECT_EQ(run(1), run(1));
    EXPECT_NE(run(1), run(2));
}

TEST(SimScript, MovesTheUserThroughTaxiTakeOffAndLanding) {
    rig::SimHub hub(plainWorld());
    rig::Script script = rig::parseScript("# a flight\n"
                                          "1 user-taxi\n"
                                          "60 user-landing\n\n"
                                          "20 user-takeoff\r\n"
                                          "5 no such verb\n");
    rig::World& world = hub.world;
    double topSpeed = 0, topHeight = 0, lowest = 1e9;
    for (double t = 0; t < 600; t += 0.05) {
        rig::runScript(script, hub);
        hub.frame(0.05);
        if (t < 19) topSpeed = std::max(topSpeed, world.user().groundSpeed);
        topHeight = std::max(topHeight, world.heightFt(world.user()));
        lowest = std::min(lowest, world.heightFt(world.user()));
    }
    EXPECT_NEAR(topSpeed, 15, 0.1);
    EXPECT_GT(topHeight, 200);
    EXPECT_GE(lowest, world.user().staticCg - 1e-9);
    EXPECT_TRUE(world.onGround(world.user()));
    EXPECT_EQ(world.user().groundSpeed, 0);
    EXPECT_THAT(hub.journal, testing::Contains(testing::HasSubstr("not done: \"no such verb\"")));
}

TEST(SimScript, SaysWhatIsWrongWithALine) {
    rig::SimHub hub(plainWorld());
    for (const char* line : {"", "jump", "sim", "sim 2", "user 1,2,3", "user 91,0,0,0,ground",
                             "user 1,2,3,4,sea", "fail", "fail title", "fail late soon", "remove-object 99",
                             "remove-object 1", "user-event NOTHING 1", "ground nan", "flight-loaded"})
        EXPECT_THROW(rig::tellSimulator(hub, line), std::runtime_error) << line;
    for (const char* text : {"x pause", "-1 pause", "3"})
        EXPECT_THROW(rig::parseScript(text), std::runtime_error) << text;
    rig::tellSimulator(hub, "user 10.5,-20.25,3000,350,air,200");
    EXPECT_EQ(hub.world.user().lat, 10.5);
    EXPECT_EQ(hub.world.user().trueAirspeed, 200);
    EXPECT_FALSE(hub.world.onGround(hub.world.user()));
}

// The stand-in's side of the protocol, judged by bytes: streams, exceptions, data, periods, events.

#include "simulator/script.h"
#include "wire_client.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using Exceptions = std::vector<std::vector<std::uint32_t>>;

static constexpr double radians = 3.14159265358979323846 / 180;

TEST(SimHub, OpensWithTheNameAndVersionOfItsEdition) {
    for (const auto edition : {rig::Edition::msfs2020, rig::Edition::msfs2024}) {
        rig::SimHub hub(plainWorld(), edition);
        WireClient client(hub);
        const auto opened = client.frame(2);
        ASSERT_EQ(opened.size(), 1u);
        ASSERT_EQ(opened[0].body.size(), 296u);
        const bool old = edition == rig::Edition::msfs2020;
        EXPECT_STREQ(opened[0].body.c_str(), old ? "KittyHawk" : "SunRise");
        EXPECT_EQ(opened[0].version, old ? 5u : 6u);
        EXPECT_EQ(opened[0].u32(256), old ? 11u : 12u);
        EXPECT_EQ(opened[0].u32(264), 282174u);
        EXPECT_EQ(opened[0].u32(280), old ? 62651u : 0u);
    }
}

TEST(SimHub, RefusesANewerProtocolAndStaysReadyForAnOlderOne) {
    const struct {
        rig::Edition edition;
        std::uint32_t protocol;
        bool accepted;
    } rows[] = {{rig::Edition::msfs2020, 2, true},  {rig::Edition::msfs2020, 5, true},
                {rig::Edition::msfs2020, 6, false}, {rig::Edition::msfs2024, 4, true},
                {rig::Edition::msfs2024, 6, true},  {rig::Edition::msfs2024, 99, false},
                {rig::Edition::msfs2024, 1, false}};
    for (const auto& row : rows) {
        rig::SimHub hub(plainWorld(), row.edition);
        const int client = hub.addClient();
        hub.receive(client, openPacket(row.protocol, 7));
        hub.frame(0.1);
        std::string stream = hub.takeOutput(client);
        auto messages = cutMessages(stream);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].id, row.accepted ? 2u : 1u) << row.protocol;
        if (row.accepted) continue;
        EXPECT_EQ(messages[0].u32(0), 5u);
        EXPECT_EQ(messages[0].u32(4), 7u);
        EXPECT_TRUE(hub.isOpen(client));
        hub.receive(client, openPacket(4, 8));
        hub.frame(0.1);
        stream = hub.takeOutput(client);
        messages = cutMessages(stream);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].id, 2u);
    }
}

TEST(SimHub, TakesPacketsInPiecesAndManyAtOnceAndDropsWhatComesBeforeOpen) {
    rig::SimHub hub(plainWorld());
    const int client = hub.addClient();
    // Before the open packet nothing counts; the high nibble of the function word may be missing.
    std::string bytes = packet(0x17, 1, u32(9) + text("Sim", 256)) + openPacket(5, 2) +
                        packet(0x17, 3, u32(77) + text("sim", 256));
    bytes[276 + 11] = 0;
    for (const char& c : bytes) {
        hub.receive(client, {&c, 1});
        hub.frame(0.001);
    }
    std::string stream = hub.takeOutput(client);
    const auto messages = cutMessages(stream);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].id, 2u);
    EXPECT_EQ(messages[1].id, 4u);
    EXPECT_EQ(messages[1].u32(0), 0xFFFFFFFF);
    EXPECT_EQ(messages[1].u32(4), 77u);
    EXPECT_EQ(messages[1].u32(8), 1u);
}

TEST(SimHub, ClosesAStreamThatIsBroken) {
    for (const std::uint32_t size : {0u, 15u, (1u << 20) + 1, 0xFFFFFFFF}) {
        rig::SimHub hub(plainWorld());
        WireClient client(hub);
        client.create("A320", "GONE", 50, 8, 0, 0, true, 0);
        hub.frame(0.1);
        ASSERT_EQ(hub.world.objects.size(), 2u);
        client.give(u32(size) + std::string(12, '\0'));
        hub.frame(0.1);
        EXPECT_FALSE(hub.isOpen(client.number)) << size;
        EXPECT_EQ(hub.world.objects.size(), 1u) << "its objects go with it";
    }
}

TEST(SimHub, NamesTheFaultAndThePacketInEachException) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub), other(hub);
    client.definePosition(402);
    client.define(403, "SIM ON GROUND", "Bool", 2);
    client.map(207, "NAV_LIGHTS_SET");
    other.create("A320", "OTHER", 50, 8.1, 0, 0, true, 0);
    ASSERT_THAT(client.exceptions(), IsEmpty());
    hub.frame(0.1);
    const std::uint32_t foreign = hub.world.objects.rbegin()->first;
    ASSERT_GT(foreign, rig::userObjectId);

    Exceptions expected;
    const auto expect = [&](std::uint32_t number, std::uint32_t sendId, std::uint32_t index) {
        expected.push_back({number, sendId, index});
    };
    expect(7, client.define(900, "NO SUCH VARIABLE", "feet", 4), 2);
    expect(7, client.define(900, "Plane Altitude", "furlong", 4), 2);
    expect(7, client.define(900, "Plane Altitude", "degrees", 4), 2);
    expect(18, client.define(900, "Plane Altitude", "feet", 6), 4);
    expect(18, client.define(900, "TITLE", "", 4), 4);
    expect(7, client.map(901, "NO_SUCH_EVENT"), 2);
    expect(9, client.map(207, "GEAR_SET"), 1);
    expect(7, client.subscribe(902, "NoSuchSystemEvent"), 2);
    expect(9, client.subscribe(207, "Sim"), 1);
    expect(3, client.setData(999, 1, {1}), 1);
    expect(3, client.setData(402, 4000000000, {1}), 2);
    expect(19, client.setData(402, 1, {1, 2, 3}), 5);
    expect(20, client.setData(403, 1, {1}), 6);
    expect(20, client.setData(402, 1, {NAN, 0, 0, 0, 0, 0, 0, 0}), 6);
    expect(3, client.request(1, 999, 0, 1), 2);
    expect(3, client.request(1, 402, 4000000000, 1), 3);
    expect(31, client.byType(1, 402, 200001, 2), 3);
    expect(27, client.byType(1, 402, 1000, 10), 4);
    expect(3, client.transmit(1, 999, 1), 2);
    expect(3, client.transmit(4000000000, 207, 1), 1);
    expect(3, client.release(4000000000), 1);
    expect(3, client.remove(4000000000), 1);
    expect(25, client.remove(rig::userObjectId), 1);
    expect(25, client.remove(foreign), 1);
    expect(23, client.call(0x2D, u32(foreign) + text("no/such/plan.pln", 260) + u32(110)), 2);
    expect(19, client.call(0x2B, u32(1)), 0); // cut short
    expect(1, client.call(0x31, ""), 0);      // not played here
    EXPECT_EQ(client.exceptions(), expected);
    EXPECT_EQ(hub.world.user().lat, 50) << "what is at fault changes nothing";
    EXPECT_EQ(hub.world.objects.size(), 2u);
    EXPECT_THAT(other.messages(), testing::Each(testing::Field(&Message::id, testing::Ne(1u))));
}

TEST(SimHub, ConvertsEachVariableIntoTheUnitAsked) {
    rig::WorldSettings settings = plainWorld();
    settings.groundFt = 100;
    settings.userHeading = 90;
    settings.userModel = "ATCCOM.AC_MODEL A320.0.text and more than 32";
    settings.userTitle = "Airbus A320 Neo";
    settings.utc = 1709251199.5; // 2024-02-29 23:59:59.5
    rig::SimHub hub(settings);
    WireClient client(hub);
    rig::SimObject& user = hub.world.user();
    user.bank = -0.5;
    user.lights = 0x11;
    user.staticPitch = 0.02;
    const struct {
        const char *name, *unit;
        double expected;
    } rows[] = {{"Plane Latitude", "degree", 50},
                {"PLANE LATITUDE", "Radians", 50 * radians},
                {"plane longitude", "degrees", 8},
                {"Plane Bank degrees", "radians", -0.5},
                {"Plane Bank degrees", "degrees", -0.5 / radians},
                {"Plane Heading degrees true", "degree", 90},
                {"Plane Altitude", "feet", 100 + user.staticCg},
                {"Plane Altitude", "meters", (100 + user.staticCg) * 0.3048},
                {"Plane Alt Above Ground", "foot", user.staticCg},
                {"Ground Altitude", "feet", 100},
                {"Vertical Speed", "feet per minute", -600},
                {"Airspeed True", "meters per second", 51.4444444444},
                {"Ground Velocity", "knots", 12},
                {"SIM ON GROUND", "Bool", 1},
                {"ZULU TIME", "Seconds", 86399},
                {"ZULU TIME", "hours", 86399 / 3600.0},
                {"ZULU DAY OF YEAR", "Number", 60},
                {"ZULU YEAR", "Number", 2024},
                {"LIGHT STATES", "Mask", 0x11},
                {"Light On States", "mask", 0x11},
                {"Static CG to Ground", "feet", user.staticCg},
                {"Static Pitch", "degrees", 0.02 / radians},
                {"SPOILERS HANDLE POSITION", "percent", 40},
                {"SPOILERS HANDLE POSITION", "percent over 100", 0.4},
                {"GENERAL ENG THROTTLE LEVER POSITION:1", "percent", 70},
                {"GENERAL ENG THROTTLE LEVER POSITION:2", "percent", -100}};
    user.spoilers = 40;
    user.throttle[0] = 70;
    user.throttle[1] = -100;
    hub.setRunning(false); // so that it stays as it was set
    user.verticalSpeed = -10;
    user.trueAirspeed = 100;
    user.groundSpeed = 12;
    for (const auto& row : rows) client.define(1, row.name, row.unit, 4);
    client.define(2, "TITLE", "", 11);
    client.define(3, "ATC MODEL", "", 6);
    client.define(4, "Plane Altitude", "feet", 1); // whole numbers are rounded
    client.define(4, "Plane Altitude", "feet", 2);
    client.define(4, "Plane Altitude", "feet", 3);
    for (std::uint32_t id = 1; id <= 4; ++id) client.request(id, id, 0, 1);
    const auto answers = client.frame(8, 0.001);
    ASSERT_EQ(answers.size(), 4u);
    EXPECT_EQ(answers[0].u32(0), 1u);                // request
    EXPECT_EQ(answers[0].u32(4), rig::userObjectId); // asked as 0
    EXPECT_EQ(answers[0].u32(8), 1u);                // definition
    EXPECT_EQ(answers[0].u32(24), std::size(rows));  // datums
    for (std::size_t i = 0; i < std::size(rows); ++i)
        EXPECT_NEAR(answers[0].f64(28 + 8 * i), rows[i].expected, 1e-6)
            << rows[i].name << " " << rows[i].unit;
    EXPECT_EQ(answers[1].body.substr(28), text("Airbus A320 Neo", 16)) << "text, zero, a multiple of four";
    EXPECT_EQ(answers[2].body.substr(28), "ATCCOM.AC_MODEL A320.0.text and ") << "cut, without a zero";
    EXPECT_EQ(answers[3].body.size(), 28u + 16);
    const double alt = 100 + user.staticCg;
    EXPECT_EQ(answers[3].at<std::int32_t>(28), static_cast<int>(std::nearbyint(alt)));
    EXPECT_EQ(answers[3].at<std::int64_t>(32), static_cast<int>(std::nearbyint(alt)));
    EXPECT_FLOAT_EQ(answers[3].at<float>(40), static_cast<float>(alt));
    EXPECT_THAT(client.frame(8), IsEmpty()) << "once is once";
}

TEST(SimHub, AnswersEachSecondOfSimulatorTimeAndNotWhilePaused) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.define(409, "SIM ON GROUND", "Bool", 2);
    client.request(108, 409, 0, 4);
    const auto countOver = [&](double seconds) {
        std::size_t count = 0;
        for (int i = 0; i < std::lround(seconds * 30); ++i) count += client.frame(8, 1.0 / 30).size();
        return count;
    };
    EXPECT_EQ(client.frame(8, 1.0 / 30).size(), 1u) << "the first at once";
    EXPECT_EQ(countOver(10), 10u);
    hub.setPaused(true);
    EXPECT_EQ(countOver(3), 0u);
    hub.setPaused(false);
    EXPECT_EQ(countOver(2), 2u);
    client.request(108, 409, 0, 4, 0, 2, 2, 2); // replaces it: after 2 s, each third second, twice
    EXPECT_EQ(countOver(1.9), 0u);
    EXPECT_EQ(countOver(0.2), 1u);
    EXPECT_EQ(countOver(2.8), 0u);
    EXPECT_EQ(countOver(10), 1u);
    client.request(108, 409, 0, 4);
    EXPECT_EQ(countOver(0.1), 1u);
    client.request(108, 409, 0, 0); // ends it
    EXPECT_EQ(countOver(3), 0u);
}

TEST(SimHub, AnswersEachFrameAndOnlyWhatChangedWhenAsked) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.define(1, "Plane Altitude", "feet", 4);
    client.request(1, 1, 0, 2);
    client.request(2, 1, 0, 2, 1);
    std::vector<std::uint32_t> seen;
    for (int i = 0; i < 4; ++i) {
        if (i == 2) hub.world.settings.groundFt = 50; // lifts the parked aircraft
        for (const Message& m : client.frame(8)) seen.push_back(m.u32(0));
    }
    EXPECT_THAT(seen, ElementsAre(1, 2, 1, 1, 2, 1));
}

TEST(SimHub, AnswersByTypeWithAllInRangeNumberedAndOneEmptyAnswerForNone) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.define(404, "Plane Alt Above Ground", "feet", 4);
    client.define(404, "ATC ID", "", 6);
    client.create("A320", "NEAR", 50.1, 8, 1000, 0, false, 0);         // 6 nm
    client.create("A320", "ABCDEFGHIJKL", 50.5, 8, 2000, 0, false, 0); // 30 nm
    client.byType(101, 404, 100000, 2);
    auto answers = client.frame(9);
    ASSERT_EQ(answers.size(), 1u) << "a new object is listed from the next frame on";

    const auto tails = [&](std::uint32_t radius, std::uint32_t type) {
        client.byType(101, 404, radius, type);
        answers = client.frame(9);
        std::vector<std::string> list;
        for (std::size_t i = 0; i < answers.size(); ++i) {
            EXPECT_EQ(answers[i].body.size(), 28u + 40);
            EXPECT_EQ(answers[i].u32(0), 101u);
            if (answers.size() > 1 || answers[i].u32(4) != 0) {
                EXPECT_EQ(answers[i].u32(16), i + 1);
                EXPECT_EQ(answers[i].u32(20), answers.size());
            }
            list.push_back(answers[i].body.c_str() + 36);
        }
        return list;
    };
    EXPECT_THAT(tails(100000, 2), ElementsAre("RIG1", "NEAR", "ABCDEFGHIJKL"));
    EXPECT_THAT(tails(20000, 2), ElementsAre("RIG1", "NEAR"));
    EXPECT_THAT(tails(0, 2), ElementsAre("RIG1"));
    EXPECT_THAT(tails(100000, 0), ElementsAre("RIG1"));
    EXPECT_THAT(tails(100000, 1), ElementsAre("RIG1", "NEAR", "ABCDEFGHIJKL"));
    EXPECT_THAT(tails(100000, 4), ElementsAre(""));
    EXPECT_EQ(answers[0].u32(4), 0u); // object 0, entry 0 of 0
    EXPECT_EQ(answers[0].u32(16), 0u);
    EXPECT_EQ(answers[0].u32(20), 0u);
}

TEST(SimHub, TellsItsStateAtSubscriptionAndEachChangeOfIt) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    rig::tellSimulator(hub, "sim 0");
    client.subscribe(201, "SIM");
    client.subscribe(202, "Pause");
    client.subscribe(204, "Frame");
    client.subscribe(205, "FlightLoaded");
    const auto events = [&] {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> list;
        for (const Message& m : client.frame(4)) list.emplace_back(m.u32(4), m.u32(8));
        return list;
    };
    using E = std::pair<std::uint32_t, std::uint32_t>;
    EXPECT_THAT(events(), ElementsAre(E{201, 0}, E{202, 0}));
    rig::tellSimulator(hub, "sim 1");
    rig::tellSimulator(hub, "pause");
    rig::tellSimulator(hub, "pause"); // no change
    EXPECT_THAT(events(), ElementsAre(E{201, 1}, E{202, 1}));
    EXPECT_THAT(client.frame(7), IsEmpty()) << "no frames while paused";
    rig::tellSimulator(hub, "resume");
    const auto frames = client.frame(7, 0.1);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].u32(4), 204u);
    EXPECT_FLOAT_EQ(frames[0].at<float>(12), 10);
    EXPECT_FLOAT_EQ(frames[0].at<float>(16), 1);
    rig::tellSimulator(hub, "flight-loaded flights/my flight.flt");
    const auto loaded = client.frame(6);
    ASSERT_EQ(loaded.size(), 1u);
    ASSERT_EQ(loaded[0].body.size(), 276u);
    EXPECT_EQ(loaded[0].u32(4), 205u);
    EXPECT_STREQ(loaded[0].body.c_str() + 12, "flights/my flight.flt");
    client.call(0x18, u32(204));
    EXPECT_THAT(client.frame(7), IsEmpty());
}

TEST(SimHub, TellsTheUsersOwnEventsToTheGroupThatHasThem) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.map(219, "GEAR_SET");
    client.map(217, "FLAPS_SET");
    client.call(0x07, u32(301) + u32(219) + u32(1));
    client.call(0x09, u32(301) + u32(1));
    hub.frame(0.1);
    rig::tellSimulator(hub, "user-event FLAPS_SET 8000"); // in no group
    rig::tellSimulator(hub, "user-event GEAR_SET 1");
    const auto events = client.frame(4);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].u32(0), 301u);
    EXPECT_EQ(events[0].u32(4), 219u);
    EXPECT_EQ(events[0].u32(8), 1u);
}

TEST(SimHub, QuitsWithAMessageAndBreaksWithoutOne) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.create("A320", "X", 50, 8, 0, 0, true, 0);
    hub.frame(0.1);
    client.messages();
    rig::tellSimulator(hub, "fail close");
    EXPECT_FALSE(hub.isOpen(client.number));
    EXPECT_EQ(hub.takeOutput(client.number), "");
    hub.dropClient(client.number);
    hub.frame(0.1);
    EXPECT_EQ(hub.world.objects.size(), 1u);

    WireClient second(hub); // one can come again
    ASSERT_EQ(second.frame(2).size(), 1u);
    rig::tellSimulator(hub, "quit");
    const auto last = second.messages();
    ASSERT_EQ(last.size(), 1u);
    EXPECT_EQ(last[0].id, 3u);
    EXPECT_TRUE(last[0].body.empty());
    EXPECT_FALSE(hub.isOpen(second.number));
    EXPECT_TRUE(hub.ended());
    EXPECT_FALSE(hub.isOpen(hub.addClient()));
}

TEST(SimHub, HoldsBackDropsOrSilencesItsAnswersWhenTold) {
    rig::SimHub hub(plainWorld());
    WireClient client(hub);
    client.define(1, "Plane Altitude", "feet", 4);
    client.subscribe(204, "Frame");
    hub.frame(0.1);
    client.messages();
    rig::tellSimulator(hub, "fail drop");
    client.request(1, 1, 0, 1);
    hub.frame(0.1);
    EXPECT_THAT(client.messages(), ElementsAre(testing::Field(&Message::id, 7u)));
    rig::tellSimulator(hub, "fail silent");
    EXPECT_THAT(client.frame(7), IsEmpty());
    rig::tellSimulator(hub, "fail none");
    rig::tellSimulator(hub, "fail late 1");
    client.request(2, 1, 0, 1);
    std::vector<double> arrivals;
    for (int i = 1; i <= 20; ++i) {
        if (i == 5) rig::tellSimulator(hub, "fail none"); // the order stays
        hub.frame(0.1);
        for (const Message& m : client.messages())
            if (m.id == 8) arrivals.push_back(i * 0.1);
    }
    ASSERT_EQ(arrivals.size(), 1u);
    EXPECT_NEAR(arrivals[0], 1.1, 0.11);
    EXPECT_EQ(client.frame(7).size(), 1u);
}

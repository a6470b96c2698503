// What arrives: the user's aircraft, new objects, height reports, exceptions, and messages that cannot be trusted.

#include "app/errors.h"
#include "simlink_fixture.h"

#include <array>
#include <chrono>
#include <cmath>
#include <limits>

using namespace test;

namespace {

struct Post { // a SimMessage for comparison
    SimMessageKind kind;
    std::uint32_t objectId = 0, hexid = 0;
    std::int32_t counter = 0;
    double a = 0, b = 0;
    bool operator==(const Post&) const = default;
};
void PrintTo(const Post& p, std::ostream* out) {
    *out << "kind " << static_cast<int>(p.kind) << " id " << p.objectId << " hexid " << p.hexid << " counter "
         << p.counter << " a " << p.a << " b " << p.b;
}

class SimMessages : public SimLink {
  protected:
    void SetUp() override {
        SimLink::SetUp();
        open();
        arrive(userAt(50, 8.5));
    }
    std::vector<Post> posts() {
        std::vector<Post> result;
        for (const SimMessage& m : messages())
            result.push_back({m.kind, m.objectId, m.hexid, m.counter, m.a, m.b});
        return result;
    }
    void frameAfter(plat::SteadyNs milliseconds) {
        clock.advance(milliseconds * 1'000'000);
        arrive(frame());
    }
    // Asks for a creation and gives the send id that it went out with.
    std::uint32_t create(std::uint32_t hexid, const std::string& tail) {
        CreationRecord record;
        record.tailNumber = tail;
        record.title = "Airbus A320 Neo Asobo";
        record.hexid = hexid;
        gf_queueCreation(record);
        arrive(frame());
        std::uint32_t id = 0;
        for (const SentPacket& p : stream->takePackets())
            if (p.function == fnCreate) id = p.sendId;
        EXPECT_NE(id, 0u);
        return id;
    }
};

constexpr auto liveAppeared = SimMessageKind::liveAppeared, staticAppeared = SimMessageKind::staticAppeared,
               wasRemoved = SimMessageKind::removed, heightReport = SimMessageKind::heightReport,
               creationFailed = SimMessageKind::creationFailed;

// ---- objects ----------------------------------------------------------------------------------------------------

TEST_F(SimMessages, CreationsAnsweredInReverseFindTheirAircraftAndAreFrozen) {
    create(10001, "DLH4AB");
    create(0xABCDEF, "KLM12");
    create(10000, "AFR9*");
    arrive(added(20) + added(22) + added(25));
    arrive(inRange(25, "AFR9*", 12) + inRange(22, "KLM12", 1500, 300, false) + inRange(20, "DLH4AB", 8.5));
    EXPECT_EQ(posts(), (std::vector<Post>{{staticAppeared, 25, 10000},
                                          {liveAppeared, 22, 0xABCDEF, 0, 1500},
                                          {liveAppeared, 20, 10001, 0, 8.5}}));
    EXPECT_TRUE(sim.pending.empty() && sim.newObjects.empty());
    auto packets = stream->takePackets();
    ASSERT_EQ(packets.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(packets[i].function, fnRelease);
        EXPECT_EQ(packets[i].body, Bytes().u32(i == 0 ? 25 : i == 1 ? 22 : 20).u32(103).text);
    }
    arrive(frame());
    packets = stream->takePackets();
    ASSERT_EQ(packets.size(), 9u);
    for (std::uint32_t i = 0; i < 9; ++i) {
        EXPECT_EQ(packets[i].function, fnTransmit);
        EXPECT_EQ(packets[i].body.substr(4, 8), Bytes().u32(214 + i % 3).u32(1).text);
    }
    // From now on they give height reports, but for the static one.
    arrive(inRange(25, "AFR9*", 12) + inRange(22, "KLM12", 1500, 300, false) + inRange(20, "DLH4AB", 8.5));
    EXPECT_EQ(posts(),
              (std::vector<Post>{{heightReport, 22, 0, 0, 300, 1500}, {heightReport, 20, 1, 0, 364, 8.5}}));
}

TEST_F(SimMessages, OnlyObjectsAboveTheUsersIdCount) {
    arrive(userAt(50, 8.5, 7));
    create(10001, "DLH4AB");
    arrive(added(6) + added(7) + added(8, 3)); // 8 is a helicopter of the simulator's own counting
    EXPECT_TRUE(sim.newObjects.empty());
    for (const std::uint32_t id : {0u, 6u, 7u}) arrive(inRange(id, "DLH4AB"));
    EXPECT_TRUE(posts().empty());
    arrive(added(8) + inRange(8, "DLH4AB"));
    EXPECT_EQ(posts(), (std::vector<Post>{{liveAppeared, 8, 10001}}));
}

TEST_F(SimMessages, AnotherProgramsObjectIsLoggedOnceAndThenReportsItsHeight) {
    arrive(added(30) + inRange(30, "OTHER1", 1234.4, 100, false));
    arrive(inRange(30, "OTHER1", 1234.4, 100, false));
    EXPECT_EQ(logged("just spawned, but not by Velloray, oid: 30, callsign \"OTHER1\", altaboveGnd:1234 ft, "
                     "onground:0, gnd_alt:100 ft \n"),
              1u);
    EXPECT_EQ(posts(), (std::vector<Post>{{heightReport, 30, 0, 0, 100, 1234.4}}));
    EXPECT_TRUE(stream->takePackets().empty()); // it is left alone
}

TEST_F(SimMessages, HeightReportsAreThoseOfLowLiveAircraft) {
    arrive(inRange(30, "DLH4AB", 2500) + inRange(31, "DLH4AB", 2500.1) + inRange(32, "") +
           inRange(33, "DLH4AB*"));
    arrive(inRange(34, std::string(32, 'X'))); // no closing zero
    const double nan = std::numeric_limits<double>::quiet_NaN();
    arrive(inRange(35, "DLH4AB", nan) + inRange(36, "DLH4AB", 0, nan));
    EXPECT_EQ(posts(),
              (std::vector<Post>{{heightReport, 30, 1, 0, 364, 2500}, {heightReport, 34, 1, 0, 364, 0}}));
    std::string other = inRange(30, "DLH4AB");
    other[12] = 102; // another request
    arrive(other);
    EXPECT_TRUE(posts().empty());
}

TEST_F(SimMessages, ARemovedAircraftIsToldAndTheStaticCgWithItsPitch) {
    arrive(added(30) + removed(30) + removed(31, 1));
    arrive(answerHead(reqStaticCg, 40, defStaticCg).f64(9.5).f64(-0.01).message(8));
    EXPECT_EQ(posts(),
              (std::vector<Post>{{wasRemoved, 30}, {SimMessageKind::staticCg, 40, 0, 0, 9.5, -0.01}}));
    EXPECT_TRUE(sim.newObjects.empty());
}

// ---- creations that fail ------------------------------------------------------------------------------------------

TEST_F(SimMessages, AnExceptionForACreationEndsItAndOnlySomeRefuseTheTitle) {
    const struct {
        std::uint32_t number;
        int titleRefused;
        const char* line;
    } rows[] = {{22, 1, ""},
                {33, 1, "===> SIMCON EXCEP 33\n"},
                {37, 1, "===> SIMCON EXCEP 37\n"},
                {32, 0, "===> SIMCON EXCEP 32\n"},
                {38, 0, "===> SIMCON EXCEP 38\n"},
                {1, 0, "===> SIMCON EXCEP 1\n"},
                {3, 0, "===> SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID\n"},
                {11, 0, "SimConnect: too many objects (max 1000)\n"},
                {19, 0, "SIMCON EXCEP 19\n"},
                {23, 0, "===> Simconnect exception: load flight plan failed\n"},
                {24, 0, "SIMCON EXCEP 24\n"}};
    for (const auto& row : rows) {
        const std::uint32_t first = create(10001, "DLH4AB"), second = create(10002, "KLM12");
        const std::string before = log();
        arrive(exception(row.number, second) + exception(row.number, second)); // once only
        EXPECT_EQ(posts(), (std::vector<Post>{{creationFailed, 0, 10002, row.titleRefused}})) << row.number;
        ASSERT_EQ(sim.pending.size(), 1u);
        EXPECT_EQ(sim.pending[0].packetId, first);
        EXPECT_EQ(log().substr(before.size()), std::string(row.line) + row.line);
        sim.pending.clear();
    }
    create(10001, "DLH4AB");
    arrive(exception(22, 0) + exception(22, 999999)); // of unknown and of other packets
    EXPECT_TRUE(posts().empty());
}

TEST_F(SimMessages, AnUnknownIdIsNoNewsBeforeTheUserIsThereAndAVersionMismatchEndsTheThread) {
    arrive(userAt(0, 0));
    arrive(exception(3, 5));
    EXPECT_EQ(logged("SIMCONNECT_EXCEPTION"), 0u);
    stream->arrive(exception(5, 1, 2));
    EXPECT_THAT(lf_dispatchArrived, testing::ThrowsMessage<orvo::UserErrorException>(
                                        "95: Simconnect Version Mismatch, dwindex: 2 "));
}

TEST_F(SimMessages, ACreationWithoutAnAnswerIsGivenUpAfterAMinuteAndItsLateObjectRemoved) {
    app.simRunning.set();
    const std::uint32_t sendId = create(10001, "DLH4AB");
    frameAfter(59'999);
    EXPECT_TRUE(posts().empty());
    frameAfter(1);
    arrive(frame());
    EXPECT_EQ(posts(), (std::vector<Post>{{creationFailed, 0, 10001}}));
    arrive(exception(22, sendId + 1000));

    // Asked for again under the same name: the first object to turn up is the new one's, the other is removed.
    create(10001, "DLH4AB");
    stream->takePackets();
    arrive(added(50) + added(51) + inRange(50, "DLH4AB") + inRange(51, "DLH4AB"));
    EXPECT_EQ(posts(), (std::vector<Post>{{liveAppeared, 50, 10001}}));
    EXPECT_EQ(logged("just spawned"), 0u);
    stream->takePackets();
    arrive(frame());
    const auto packets = stream->takePackets();
    ASSERT_EQ(packets.size(), 4u); // three freezes, one removal
    EXPECT_EQ(packets[3].function, fnRemove);
    EXPECT_EQ(packets[3].u32(16), 51u);
    EXPECT_TRUE(sim.pending.empty());
}

TEST_F(SimMessages, TimeWithoutARunningFlightIsNoReasonToGiveUp) {
    app.simRunning.set();
    create(10001, "DLH4AB");
    frameAfter(30'000);
    app.simRunning.clear(); // the user looks into a menu for ten minutes
    frameAfter(600'000);
    app.simRunning.set();
    frameAfter(29'000);
    EXPECT_TRUE(posts().empty());
    frameAfter(2'000);
    EXPECT_EQ(posts(), (std::vector<Post>{{creationFailed, 0, 10001}}));
}

TEST_F(SimMessages, WhatWasGivenUpIsForgottenInTheEnd) {
    app.simRunning.set();
    const std::uint32_t sendId = create(10001, "DLH4AB");
    frameAfter(60'000);
    posts();
    arrive(exception(22, sendId)); // a late refusal is no second failure
    EXPECT_TRUE(posts().empty() && sim.pending.empty());
    create(10002, "KLM12");
    frameAfter(600'000);
    EXPECT_EQ(posts().size(), 1u);
    EXPECT_TRUE(sim.pending.empty());
}

TEST_F(SimMessages, ALongTailNumberIsFoundAsTheSimulatorGivesItBack) {
    create(10001, "ABCDEFGHIJKLMN");
    arrive(added(50) + inRange(50, "ABCDEFGHIJKL"));
    EXPECT_EQ(posts(), (std::vector<Post>{{liveAppeared, 50, 10001}}));
}

// ---- the user's aircraft ------------------------------------------------------------------------------------------

TEST_F(SimMessages, AJumpOfMoreThanTenMilesIsANewFlightUnlessFromNoPosition) {
    constexpr double mile = 1.0 / 60;
    arrive(userAt(50 + 9 * mile, 8.5));
    EXPECT_FALSE(app.stopRequested);
    arrive(userAt(50 + 20 * mile, 8.5));
    EXPECT_EQ(logged("Teleport\n"), 1u);
    EXPECT_EQ(app.runState, RunState::newFlight);
    EXPECT_EQ(sim.userBlock.lat, 50 + 20 * mile);
    app = AppRun{};
    for (const auto& [lat, lon] : {std::pair{0.0009, 0.05}, std::pair{0.0, 0.0}, std::pair{-0.0, -0.0}}) {
        sim.userPrevPosition = {lat, lon};
        arrive(userAt(40, -70));
        EXPECT_FALSE(app.stopRequested) << lat;
    }
    sim.userPrevPosition = {0.00091, 0.05};
    arrive(userAt(40, -70));
    EXPECT_TRUE(app.stopRequested);
}

TEST_F(SimMessages, TheUsersBlockIsKeptAsItCameButNeverBelowZeroAltitude) {
    UserBlock user;
    user.lat = 50.01, user.lon = 8.51, user.pitch = 0.1, user.bank = -0.2, user.heading = 3, user.alt = -7;
    user.agl = 11, user.groundSpeed = 12, user.zuluTime = 86399, user.zuluDay = 366, user.zuluYear = 2024;
    user.lightStates = 0x1FF;
    const auto answer = [](const UserBlock& block) {
        return answerHead(reqUser, 3, defUser).text +
               std::string(reinterpret_cast<const char*>(&block), sizeof block);
    };
    arrive(Bytes{answer(user)}.message(8));
    user.alt = 0;
    EXPECT_EQ(std::memcmp(&sim.userBlock, &user, sizeof user), 0);
    EXPECT_EQ(sim.userObjectId, 3u);
    EXPECT_EQ(sim.simTimeEpoch, 1735689599); // 2024-12-31 23:59:59

    UserBlock nonsense = user;
    nonsense.lat = std::numeric_limits<double>::infinity();
    arrive(Bytes{answer(nonsense)}.message(8));
    EXPECT_EQ(sim.userBlock.lat, user.lat);
    nonsense = user;
    nonsense.zuluYear = std::numeric_limits<std::int64_t>::max();
    arrive(Bytes{answer(nonsense)}.message(8));
    EXPECT_EQ(sim.simTimeEpoch, 1735689599);
}

TEST_F(SimMessages, TheSecondTickComesAlsoWithoutAPosition) {
    EXPECT_FALSE(sim.userOnGroundKnown);
    arrive(userAt(0.0009, 0.05));
    arrive(onGround(true));
    EXPECT_TRUE(app.secondTick.take());
    EXPECT_FALSE(sim.userOnGroundKnown);
    arrive(userAt(50, 8.5) + onGround(true));
    EXPECT_TRUE(app.secondTick.take());
    EXPECT_TRUE(sim.userOnGroundKnown && sim.userOnGround);
    arrive(onGround(false));
    EXPECT_FALSE(sim.userOnGround);
}

TEST_F(SimMessages, ATitleIsCutForTheHeaderAndToldWhenItChanges) {
    const auto title = [](const std::string& text) {
        return answerHead(reqTitle, 1, defTitle).str(text, text.size() + 3).message(8);
    };
    const std::string fits(48, 'T');
    arrive(title(fits + "x") + title(fits));
    EXPECT_EQ(gf_displayText(DisplayText::userTitle), fits);
    EXPECT_EQ(logged("SimConnect: User aircraft title: " + fits + "\n"), 1u);
    arrive(title(fits.substr(1) + "\xC3\xA9"));
    EXPECT_EQ(gf_displayText(DisplayText::userTitle), fits.substr(1)); // no half letter
    arrive(answerHead(reqTitle, 1, defTitle).message(8) + title(""));
    EXPECT_EQ(logged("! title of your ac is empty?"), 2u);
    EXPECT_EQ(gf_displayText(DisplayText::userTitle), "");
}

TEST_F(SimMessages, AFlightThatIsLoadedEndsTheRunOnlyOnceTheUserIsThere) {
    const std::string file =
        Bytes().u32(0xFFFFFFFF).u32(evFlightLoaded).u32(0).str("a.flt", 260).u32(0).message(6);
    for (const bool asFile : {true, false}) {
        const std::string text =
            asFile ? "===> SimConnect: New file event\n" : "Simconnect: flight loaded event\n";
        const std::string bytes = asFile ? file : event(evFlightLoaded, 0);
        sim.userPrevPosition = {};
        arrive(userAt(0, 0) + bytes);
        EXPECT_EQ(logged(text), 1u);
        EXPECT_FALSE(app.stopRequested);
        arrive(userAt(50, 8.5) + bytes);
        EXPECT_EQ(logged(text), 2u);
        EXPECT_EQ(app.runState, RunState::newFlight);
        EXPECT_FALSE(sim.storeUserStand); // not known to be on the ground
        app = AppRun{};
    }
    arrive(onGround(true) + userAt(50, 8.5, 1, 2.1) + file);
    EXPECT_FALSE(sim.storeUserStand); // it rolls
    arrive(userAt(50, 8.5, 1, 2) + file);
    EXPECT_TRUE(sim.storeUserStand);
}

TEST_F(SimMessages, TheSimEventStartsAndStopsTheFlight) {
    for (const std::uint32_t data : {1u, 0u, 1u, 2u}) {
        arrive(event(evSim, data));
        EXPECT_TRUE(app.simRunning.isSet() == (data == 1) && display.simRunning == (data == 1)) << data;
    }
    arrive(event(evSim, 1) + event(evGear, 1) + Bytes().message(3)); // the user's own gear is no news
    EXPECT_FALSE(app.simRunning);
}

TEST_F(SimMessages, EveryThirtiethFrameGivesTheRate) {
    for (const auto& [last, before, after] :
         std::vector<std::array<float, 3>>{{59, 0, 59}, {NAN, 59, 59}, {20, 59, 20}}) {
        for (int i = 0; i < 29; ++i) arrive(frame(60));
        EXPECT_EQ(sim.frameRate, before);
        arrive(frame(last));
        EXPECT_EQ(sim.frameRate, after);
    }
}

TEST(Epoch, IsRightForEveryDayFrom1970To2100) {
    using namespace std::chrono;
    for (int y = 1970; y <= 2100; ++y) {
        const sys_days newYear = year{y} / January / 1;
        const int days = year{y}.is_leap() ? 366 : 365;
        for (const int day : {1, 59, 60, 61, days}) {
            const auto expected =
                duration_cast<seconds>((newYear + std::chrono::days{day - 1}).time_since_epoch()).count();
            ASSERT_EQ(gf_epochOfZulu(y, day, 0), expected) << y << " " << day;
            ASSERT_EQ(gf_epochOfZulu(y, day, 86399), expected + 86399) << y << " " << day;
        }
    }
}

// ---- messages that cannot be trusted --------------------------------------------------------------------------------

TEST_F(SimMessages, AMessageShorterThanItsRecordIsCountedAndDropped) {
    const std::string whole[] = {exception(22, 1),
                                 openMessage("SunRise"),
                                 event(evSim, 1),
                                 added(30),
                                 frame(),
                                 inRange(30, "DLH4AB"),
                                 userAt(40, -70),
                                 onGround(true),
                                 answerHead(reqStaticCg, 40, defStaticCg).f64(1).f64(2).message(8)};
    std::uint64_t count = 0;
    for (const std::string& message : whole) {
        std::string cut = message.substr(0, message.size() - 1);
        const auto size = static_cast<std::uint32_t>(cut.size());
        std::memcpy(cut.data(), &size, sizeof size);
        EXPECT_TRUE(arrive(cut + event(evGear, 1)));
        EXPECT_EQ(sim.badMessages, ++count) << message[8];
    }
    EXPECT_TRUE(posts().empty());
    EXPECT_FALSE(app.simRunning || app.secondTick);
    EXPECT_EQ(sim.userBlock.lat, 50);
    EXPECT_EQ(logged("SimConnect: bad message"), 4u); // the first, second, fourth and eighth
    for (std::uint32_t id = 1; id < 30; ++id) arrive(Bytes().message(id)); // a head alone
    EXPECT_TRUE(posts().empty());
}

TEST_F(SimMessages, ALongerMessageIsReadAsFarAsItIsKnownAndAnUnknownOneLogged) {
    const std::string longer = Bytes{event(evSim, 1).substr(12) + "extra"}.message(4);
    arrive(longer);
    EXPECT_TRUE(app.simRunning);
    arrive(Bytes().u32(104).u32(17).message(12) + Bytes().message(16) + Bytes().message(27));
    EXPECT_EQ(logged("Unknown Dispatch"), 0u);
    arrive(Bytes().message(39));
    EXPECT_EQ(logged("! Unknown Dispatch dwID 39\n"), 1u);
}

} // namespace

// Whole roads on the ground, feed lines in and the simulator's world out: an arrival to its stand, push backs, a
// pull-out, a tow, and what the feed may say of a parked aircraft.

#include "ground_fixture.h"

#include "engine/motion.h"
#include "feed/recording.h"
#include "support.h"

#include <filesystem>
#include <functional>

namespace {

constexpr std::uint32_t hex = 4242424;

// A final from the south, a runway northwards from the field, a way east, and 30 m short of a stand at 2200, 700.
const std::vector<Way> arrival = {{-14000, 0, 140, 2513}, {-60, 0, 138, 14},   {0, 0, 136},
                                  {1500, 0, 30},          {1700, 100, 20},     {2200, 300, 15},
                                  {2200, 650, 8},         {2200, 670, 0, 0, 4}};

class Roads : public Ground {
  protected:
    using Ground::Ground;
    // Flies, lands, taxies and parks; nullptr: it is not there at the end.
    const rig::SimObject* arrive(const Stand& home) {
        run(feed(hex, "DLH1AB", arrival, 5) + 60);
        const rig::SimObject* o = object("DLH1AB");
        EXPECT_EQ(state(hex), FlightState::parked) << story(hex);
        if (!o) return nullptr;
        EXPECT_LT(metersFrom(*o, home), 0.5) << story(hex);
        return o;
    }
    double mostSpoilers = 0, leastThrottle = 0, mostThrottle = 0; // percent, once on the ground
    void watch() override {
        Ground::watch();
        if (const rig::SimObject* o = touchdown ? object("DLH1AB") : nullptr) {
            mostSpoilers = std::max(mostSpoilers, o->spoilers);
            leastThrottle = std::min({leastThrottle, o->throttle[0], o->throttle[1]});
            mostThrottle = std::max({mostThrottle, o->throttle[0], o->throttle[1]});
        }
    }
    void expectSmoothTouchdown(LatLon feedsOwn) {
        ASSERT_TRUE(touchdown);
        EXPECT_LT(gf_distanceNm(feedsOwn.lat, feedsOwn.lon, touchdown->lat, touchdown->lon) * metersPerNm,
                  1500);
        EXPECT_GE(touchdown->sinkFpm, 60);
        EXPECT_LE(touchdown->sinkFpm, 610);
        EXPECT_LT(touchdown->pitch, -2 * degToRad); // nose up
    }
    double north(const rig::SimObject& o) { return (o.lat - fieldLat) * metersPerLatDegree; }
    double east(const rig::SimObject& o) {
        return (o.lon - fieldLon) * metersPerLatDegree * std::cos(fieldLat * degToRad);
    }
};

class Recorded : public Roads {
  protected:
    Recorded() : Roads(LatLon{51.5, -0.4619}) {
        refData.allModels.insert("A319");
        refData.largeModels.insert("A319");
        gf_indexLiveries({{"ZZZ", "A319", "A319 generic", "", false}});
    }
};

// A real flight from its first report to the taxiway, by its own lines.
TEST_F(Recorded, AnArrivalIsFlownToTheGround) {
    const auto path = test::sharedFolder() / "recordings" / "baw3ak-2024-06-06-lfbo-egll.rttfc.gz";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no recording " << path.filename();
    ParkAirport egll{{"EGLL", "LHR", 51.4706, -0.4619, 83}, true};
    gf_publishParkAirport(egll);
    hub.world.settings.groundFt = 83;
    constexpr std::uint32_t hexid = 4198297;
    constexpr double begin = 1717671000 - 300, end = 1717672300;
    LatLon firstGround;
    for (const rig::TimedLine& l : rig::loadRecording(path)) {
        if (l.time < begin || l.time >= end || l.line.find(",4198297,") == std::string::npos) continue;
        lines.emplace(seconds + l.time - begin, l.line);
    }
    for (const double until = seconds + end - begin + 120; seconds < until;) {
        run(1);
        const LiveAc* const ac = lf_findByHexid(hexid);
        for (std::size_t i = 0; ac && firstGround.lat == 0 && i < ac->stream.size(); ++i)
            if (!ac->stream[i].airborne) firstGround = {ac->stream[i].lat, ac->stream[i].lon};
    }
    expectSmoothTouchdown(firstGround);
    const LiveAc* const ac = lf_findByHexid(hexid);
    ASSERT_TRUE(ac) << story(hexid); // still there, taxiing off the runway
    EXPECT_TRUE(ac->fs == FlightState::taxi && !ac->landingRoll);
    EXPECT_LT(ac->tas, 40);
}

class TakeOff : public Roads {
  protected:
    std::int32_t rotation = 0, liftoff = 0, gearUp = 0; // Ticks
    void watch() override {
        const auto last = before;
        Roads::watch();
        const LiveAc* const ac = lf_findByHexid(hex);
        if (!ac || ac->fs == FlightState::taxi || !last.contains(ac->objectId)) return;
        const std::int32_t now = appLife.tickCount;
        if (rotation == 0) rotation = now;
        if (liftoff == 0 && ac->alt > last.at(ac->objectId).alt) liftoff = now;
        if (gearUp == 0 && !object("DLH1AB")->gearDown) gearUp = now;
    }
};

TEST_F(TakeOff, RotatesClimbsAndLiftsTheGear) {
    run(feed(hex, "DLH1AB", {{-500, 0, 12}, {0, 0, 12}, {1600, 0, 150, 100}, {9000, 0, 200, 2800}}, 5) + 20);
    SCOPED_TRACE(story(hex));
    ASSERT_TRUE(rotation && liftoff && gearUp);
    // Rotation begins at 200 and counts down once in the Tick that begins it.
    EXPECT_EQ(liftoff - rotation, 200);
    EXPECT_NEAR(gearUp - rotation, 499, 4); // at -300, with the next frames
    EXPECT_EQ(state(hex), FlightState::flying);
    EXPECT_GT(object("DLH1AB")->alt, 1500);
    EXPECT_LE(worst.altFt, 1);
    EXPECT_LE(worst.meters, 1.2);
    EXPECT_LE(worst.turnDeg, 0.2);
}

class CreatedTogether : public Roads {
  protected:
    double creationEndsS = 0; // of all
    void watch() override {
        Roads::watch();
        hub.world.settings.creationDelayMin = hub.world.settings.creationDelayMax =
            std::max(0.0, creationEndsS - hub.world.elapsed);
    }
};

TEST_F(CreatedTogether, AllStandOnTheirWheels) {
    constexpr int count = 5;
    creationEndsS = hub.world.elapsed + 50;
    for (int i = 0; i < count; ++i) {
        stand(fmt::format("A{}", i), 60 * i, 0, 90, 18);
        for (double t = 1; t < 80; t += 2)
            line(t, hex + static_cast<std::uint32_t>(i), fmt::format("DLH{}AB", i), 60 * i, 1, 0, 0, 0);
    }
    run(49);
    ASSERT_FALSE(object("DLH0AB"));
    run(6);
    for (int i = 0; i < count; ++i) {
        const rig::SimObject* o = object(fmt::format("DLH{}AB", i));
        ASSERT_TRUE(o) << i;
        EXPECT_NEAR(o->alt, fieldFt + o->staticCg, 0.01) << i;
    }
    EXPECT_TRUE(engine.stanceQuestions.empty());
}

// The ground's height is asked for each 20 Ticks: no wheel may be farther off it than it drives up or down meanwhile.
class SlopingGround : public Roads {
  protected:
    double worstFt = 0;                   // beyond that
    std::map<std::uint32_t, double> down; // seconds on the ground

    void watch() override {
        constexpr double askedEachS = 0.2, answeredInS = 0.06, settledS = 0.3;
        Roads::watch();
        for (const LiveAc& ac : engine.live) {
            if (ac.st != SimState::active || !ac.onGround) {
                down[ac.hexid] = 0;
                continue;
            }
            if ((down[ac.hexid] += 0.01) < settledS) continue;
            const double wheels = ac.alt - ac.staticCg - hub.world.groundFt(ac.lat, ac.lon);
            const double feetPerS = std::max(std::abs(ac.tas), std::abs(ac.tasTarget)) * feetPerNm / 3600;
            const double allowed =
                1.5 * feetPerS * (askedEachS + answeredInS) * hub.world.settings.slope.percent / 100 + 0.01;
            worstFt = std::max(worstFt, std::abs(wheels) - allowed);
        }
    }
};

TEST_F(SlopingGround, AnArrivalLandsTaxiesAndParksOnItsStandWithItsWheelsOnTheGround) {
    hub.world.settings.slope = rig::parseSlope("2,30", fieldLat, fieldLon);
    const Stand& home = stand("A1", 2200, 700, 90, 18);
    const rig::SimObject* o = arrive(home);
    ASSERT_TRUE(o);
    EXPECT_GT(hub.world.groundFt(o->lat, o->lon), fieldFt + 100); // 2.3 km up the slope
    EXPECT_NEAR(hub.world.heightFt(*o), o->staticCg, 0.05);
    EXPECT_LE(worstFt, 0);
    EXPECT_LT(degreesOff(*o, 90), 3);
    EXPECT_EQ(o->lights & ~rig::lightCabin, rig::lightNav | rig::lightLogo);
    EXPECT_FALSE(o->engineRunning);
    EXPECT_TRUE(mostSpoilers == 100 && leastThrottle == -100 && o->spoilers == 0 && o->throttle[0] == 0);
    ASSERT_EQ(home.options.size(), 1u);
    EXPECT_TRUE(home.options[0].real == 1 && home.options[0].cs == "DLH1AB");
    EXPECT_EQ(airports.updates, 1u);
    EXPECT_TRUE(lf_findByHexid(hex)->landed);
    expectSmoothTouchdown({fieldLat, fieldLon});
}

TEST_F(Roads, OnlyAircraftOfOneMakeReverseAndNoLightOne) {
    gf_indexLiveries({{"DLH", "A320", "A320 DLH", "", false}, {"ZZZ", "C172", "C172 generic", "", false}});
    for (const char* const type : {"A320", "C172"}) {
        mostSpoilers = leastThrottle = mostThrottle = 0;
        touchdown = {};
        run(feed(hex, "DLH1AB", {{-5000, 0, 90, 900}, {-60, 0, 85, 14}, {0, 0, 80}, {900, 0, 15}},
                 seconds + 5, type) +
            20 - seconds);
        EXPECT_TRUE(touchdown) << story(hex);
        EXPECT_TRUE(mostSpoilers == 100 && leastThrottle == 0) << type << mostSpoilers << leastThrottle;
        EXPECT_EQ(mostThrottle == 100, std::string(type) == "A320")
            << mostThrottle; // its levers are no reverse
        removeAircraftFromSim(*lf_findByHexid(hex), Removed::other);
        run(2);
    }
}

TEST_F(Roads, WithoutALandingOnlyAStandWithinTwentyMetresIsTaken) {
    stand("A1", 0, 0, 90, 18);
    feed(hex, "DLH1AB", {{0, -400, 12}, {0, -60, 8}, {0, -25, 0, 0, 4}}, 1);
    feed(hex + 1, "DLH2AB", {{200, -400, 12}, {200, -60, 8}, {200, -15, 0, 0, 4}}, 1);
    Stand& near = stand("A2", 200, 0, 90, 18);
    run(150);
    SCOPED_TRACE(story(hex) + story(hex + 1));
    EXPECT_EQ(state(hex), FlightState::taxi); // holds where it is
    EXPECT_TRUE(wasTold(hex, "on no known stand"));
    EXPECT_EQ(state(hex + 1), FlightState::parked);
    ASSERT_TRUE(object("DLH2AB"));
    EXPECT_LT(metersFrom(*object("DLH2AB"), near), 0.5);
}

TEST_F(Roads, AStandingAircraftAppearsOnItsStandAndStaysThereWhileItsReportsWander) {
    Stand& home = stand("B7", 0, 0, 45, 18);
    double t = standing(hex, "DLH1AB", 10, 5, 1, 60);
    t = standing(hex, "DLH1AB", 14, 5, t, 20); // twice 4 m farther from the stand, and back
    t = standing(hex, "DLH1AB", 18, 5, t, 20);
    t = standing(hex, "DLH1AB", 10, 5, t, 20);
    t = standing(hex, "DLH1AB", 14, 5, t, 20);
    t = standing(hex, "DLH1AB", 10, 5, t, 20);
    run(80);
    ASSERT_TRUE(object("DLH1AB"));
    EXPECT_LT(metersFrom(*object("DLH1AB"), home), 0.1);
    EXPECT_LT(degreesOff(*object("DLH1AB"), 45), 0.1);
    run(t + 10 - seconds);
    SCOPED_TRACE(story(hex));
    EXPECT_EQ(state(hex), FlightState::parked);
    EXPECT_TRUE(lf_findByHexid(hex)->feedAtStand);
    EXPECT_EQ(lf_findByHexid(hex)->recedeCount, 0);
    EXPECT_FALSE(home.occupied); // its stream has run out: another one may claim it
}

TEST_F(Roads, AJumpOfItsReportsRemovesAParkedAircraft) {
    stand("B7", 0, 0, 45, 18);
    const double t = standing(hex, "DLH1AB", 1, 1, 1, 60);
    line(t, hex, "DLH1AB", 250, 0, 0, 0, 5);
    run(t + 5);
    EXPECT_FALSE(object("DLH1AB"));
    EXPECT_TRUE(wasTold(hex, "jumped 250 m"));
}

// ---- push back -----------------------------------------------------------------------------------------------------

class PushBack : public Roads {
  protected:
    // A stand that faces north; the aircraft is pushed south, and its reports tell a heading after some metres.
    void push(
        double trackOut, const std::function<void()>& whenParked = [] {}) {
        stand("B7", 0, 0, 0, 18);
        const double leaves = standing(hex, "DLH1AB", 1, 1, 1, 80);
        for (int i = 0; i < 20; ++i) line(leaves + 2 * i, hex, "DLH1AB", -3.0 * i, 0, 0, trackOut, 3);
        run(leaves - 5);
        ASSERT_EQ(state(hex), FlightState::parked);
        whenParked();
        ASSERT_TRUE(runUntil(20, [&] { return state(hex) == FlightState::pushingBack; })) << story(hex);
        run(2);
        EXPECT_EQ(lf_findByHexid(hex)->tasTarget, -4); // knots, of a Large one
        run(leaves + 60 - seconds);
    }
};

TEST_F(PushBack, SwingsTheTailToTheSideThatTheFeedShowsAndWaitsUntilTheFeedMovesOn) {
    for (const double side : {1.0, -1.0}) { // nose to the right, tail to the left; and the other way
        push(side > 0 ? 60 : 300);
        SCOPED_TRACE(story(hex));
        ASSERT_EQ(state(hex), FlightState::pushedBack);
        rig::SimObject* o = object("DLH1AB");
        ASSERT_TRUE(o);
        EXPECT_NEAR(north(*o), -2.5 * 18, 0.5); // of the stand's radius
        EXPECT_NEAR(east(*o), -side * 17, 0.5); // the aircraft's own
        EXPECT_LT(degreesOff(*o, side > 0 ? 90 : 270), 2);
        EXPECT_TRUE(o->engineRunning);
        EXPECT_TRUE(o->lights & rig::lightTaxi);
        const LiveAc& waiting = *lf_findByHexid(hex);
        EXPECT_TRUE(waiting.holding && waiting.standId != 0);
        feed(hex, "DLH1AB", {{-57, 0, 2}, {-57, side * 400, 12}}, seconds); // past it
        run(60);
        EXPECT_EQ(state(hex), FlightState::taxi);
        EXPECT_EQ(waiting.standId, 0u);
        EXPECT_GT(side * east(*o), 20);
        EXPECT_LT(std::abs(north(*o) + 52), 10);
        removeAircraftFromSim(*lf_findByHexid(hex), Removed::other);
        run(2);
        ASSERT_TRUE(engine.live.empty());
        airports.file.stands.clear();
        before.clear();
        lines.clear();
        seconds = 0;
    }
}

TEST_F(PushBack, EndsStraightWhereNoSideIsKnownOrWanted) {
    STRAIGHT_PBS_ONLY.value = true;
    push(60,
         [] { lf_findByHexid(hex)->headingLag = true; }); // left from the way to the stand: it turns no nose
    SCOPED_TRACE(story(hex));
    ASSERT_EQ(state(hex), FlightState::pushedBack);
    rig::SimObject* o = object("DLH1AB");
    ASSERT_TRUE(o);
    EXPECT_NEAR(north(*o), -2.5 * 18, 0.5);
    EXPECT_NEAR(east(*o), 0, 0.1);
    EXPECT_LT(degreesOff(*o, 0), 0.1);
    EXPECT_FALSE(wasTold(hex, "removed"));
}

TEST_F(PushBack, ANewCallsignOnTheWayOutChangesTheObjectWhereItIs) {
    GUID_CHANGES.value = true;
    push(60, [] { lf_findByHexid(hex)->stream.front().alt = fieldFt + 8; }); // as after a way to the stand
    ASSERT_EQ(state(hex), FlightState::pushedBack);
    line(seconds, hex, "DLH1AB", -57, 150, 0, 90, 15); // far off and faster: the leg is split
    for (int i = 1; i < 10; ++i) line(seconds + 4 * i, hex, "DLH7XY", -57, 150 + 31 * i, 0, 90, 15);
    ASSERT_TRUE(runUntil(10, [&] { return wasTold(hex, "respawns"); }));
    const LatLon left{lf_findByHexid(hex)->lat, lf_findByHexid(hex)->lon};
    ASSERT_TRUE(runUntil(10, [&] { return object("DLH7XY") != nullptr; })) << story(hex);
    const rig::SimObject& o = *object("DLH7XY");
    EXPECT_LT(gf_distanceNm(left.lat, left.lon, o.lat, o.lon) * metersPerNm, 2) << story(hex);
    run(20);
    EXPECT_EQ(state(hex), FlightState::taxi);
}

TEST_F(PushBack, IsNotEndedByAWaitBeforeTheStand) {
    // Its reports cease before the stand, so that it waits on the way; they come back and take it there. When it is
    // pushed back longer than any wait later, its feed is already far off.
    Stand& home = stand("B7", 0, 0, 0, 18);
    const double stops = feed(hex, "DLH1AB", {{-400, 0, 12}, {-80, 0, 12}}, 1);
    const double comes = stops + 150;
    feed(hex, "DLH1AB", {{-75, 0, 6}, {-8, 0, 5}, {-1, 0, 0, 0, 4}}, comes);
    run(comes + 20);
    ASSERT_TRUE(lf_findByHexid(hex));
    EXPECT_TRUE(wasTold(hex, "waits where it stands"));
    const double leaves = comes + 60 * (MAX_HOLDING_MINUTES.value + 5);
    standing(hex, "DLH1AB", -1, 0, comes + 60, leaves - comes - 60);
    run(leaves - 5 - seconds);
    SCOPED_TRACE(story(hex));
    ASSERT_EQ(state(hex), FlightState::parked);
    EXPECT_LT(metersFrom(*object("DLH1AB"), home), 0.5);
    feed(hex, "DLH1AB", {{-8, 0, 4}, {-60, 0, 8}, {-60, 600, 30}}, leaves);
    run(80);
    EXPECT_TRUE(wasTold(hex, "is pushed back from stand B7"));
    EXPECT_TRUE(object("DLH1AB"));
    EXPECT_FALSE(wasTold(hex, "removed"));
}

TEST_F(Roads, AStandThatIsLeftForwardsIsPulledOutOf) {
    stand("P1", 0, 0, 0, 18);
    const double leaves = standing(hex, "DLH1AB", 1, 1, 1, 80);
    feed(hex, "DLH1AB", {{1, 0, 3}, {60, 0, 10}, {300, 0, 12}}, leaves);
    run(leaves + 20);
    EXPECT_TRUE(wasTold(hex, "pulls out of stand P1"));
    EXPECT_EQ(state(hex), FlightState::taxi);
    run(30);
    SCOPED_TRACE(story(hex));
    EXPECT_FALSE(wasTold(hex, "pushed back"));
    rig::SimObject* o = object("DLH1AB");
    ASSERT_TRUE(o);
    EXPECT_GT(north(*o), 60);
    EXPECT_LT(degreesOff(*o, 0), 5);
    EXPECT_EQ(state(hex), FlightState::taxi); // and looks for no stand when it stops soon
}

TEST_F(Roads, TheBearingOfTheFeedIsRoundedBeforeForwardsAndBackwardsAreTold) {
    Stand& home = stand("P1", 0, 0, 0, 18);
    for (const double bearing : {89.4, 89.6, 270.6, 270.4}) {
        LiveAc& ac = active(hex, 77, home.lat, home.lon, 0);
        lf_takeStand(ac, home);
        ac.fs = FlightState::parked;
        ac.leavingStand = true;
        StreamPoint p = ac.stream.front();
        const LatLon out =
            gf_destination(home.lat, home.lon, bearing * degToRad, 100 / metersPerNm * feetPerNm);
        p.lat = out.lat;
        p.lon = out.lon;
        ac.stream.front().dueTick = appLife.tickCount;
        ac.stream.pushBack(p);
        updateLiveAc(ac);
        const bool forwards = bearing == 89.4 || bearing == 270.6;
        EXPECT_EQ(ac.fs, forwards ? FlightState::taxi : FlightState::pushingBack) << bearing;
        engine.live.clear();
    }
}

TEST_F(Roads, AnAircraftThatLeavesSoonAfterItsLandingIsTowedToAnotherStand) {
    struct Row {
        double minutes;
        bool towed;
    };
    for (const Row row : {Row{24.6, true}, Row{25.1, false}}) { // of a Large one
        stand("T1", 0, 0, 0, 18);
        Stand& other = stand("T2", 0, 400, 0, 18);
        const double leaves = standing(hex, "DLH1AB", 1, 1, 1, 60);
        run(leaves);
        LiveAc& ac = *lf_findByHexid(hex);
        ASSERT_EQ(ac.fs, FlightState::parked);
        ac.landed = true;
        // It has stood there for so long: its wait of a week began earlier.
        ac.stream.front().dueTick =
            appLife.tickCount + 60480000 - static_cast<std::int32_t>(row.minutes * 6000);
        feed(hex, "DLH1AB",
             {{0, 0, 3}, {-60, 0, 3, 0, 10}, {-60, 100, 6}, {-60, 395, 6}, {-5, 395, 0, 0, 20}}, seconds);
        run(290);
        SCOPED_TRACE(story(hex));
        EXPECT_EQ(wasTold(hex, "is towed"), row.towed);
        EXPECT_EQ(state(hex), row.towed ? FlightState::parked : FlightState::taxi) << row.minutes;
        if (row.towed) {
            ASSERT_TRUE(object("DLH1AB"));
            EXPECT_LT(metersFrom(*object("DLH1AB"), other), 0.5);
        }
        removeAircraftFromSim(*lf_findByHexid(hex), Removed::other);
        run(2);
        airports.file.stands.clear();
        before.clear();
        lines.clear();
        heard.clear();
        seconds = 0;
    }
}

TEST_F(Roads, WhatWasSeenAtAnEarlierStandSaysNothingOfTheWayToTheNext) {
    Stand& home = stand("A1", 0, 0, 90, 18);
    feed(hex, "DLH1AB", {{0, -400, 12}, {0, -60, 8}, {0, -19, 0, 0, 90}}, 1);
    ASSERT_TRUE(runUntil(100, [&] { return state(hex) == FlightState::taxi; }));
    LiveAc& ac = *lf_findByHexid(hex);
    ac.firstParkDist = 1 / metersPerNm; // its reports lay close there; here they rest 19 m off
    ac.lastParkDist = 9 / metersPerNm;
    run(120);
    SCOPED_TRACE(story(hex));
    EXPECT_FALSE(wasTold(hex, "leaves stand"));
    EXPECT_EQ(state(hex), FlightState::parked);
    ASSERT_TRUE(object("DLH1AB"));
    EXPECT_LT(metersFrom(*object("DLH1AB"), home), 0.5);
}

TEST_F(Roads, AnArrivalAtAStandOfAnotherAirportThanThePresentTellsNothingOfThePresent) {
    const Stand old = stand("A1", 0, 0, 90, 18);
    airports.file.stands.clear();
    Stand& here = stand("Z9", 900, 0, 90, 18); // it has the number that the old one had
    LiveAc& ac = active(hex, 77, old.lat, old.lon, 0);
    ac.airline = "DLH";
    ac.regcode = "D-AIZA";
    lf_takeStand(ac, old);
    ac.fs = FlightState::parking;
    ac.leavingStand = true; // from a push back that found no stand
    lf_arriveAtStand(ac);
    EXPECT_EQ(ac.fs, FlightState::parked);
    EXPECT_GT(ac.parkedAt, 0) << "or it would count as parked for centuries";
    EXPECT_FALSE(ac.leavingStand || here.occupied);
    EXPECT_EQ(ac.standId, 0u) << "or it would hold the stand of that number";
    app.weekSlot.store({3, 12});
    for (const double meters : {100, 180}) { // the first report is measured from
        StreamPoint away = ac.stream.front();
        away.lat = old.lat + meters / metersPerLatDegree;
        EXPECT_EQ(lf_checkLeaveStand(ac, away), meters > 100);
    }
    EXPECT_TRUE(here.options.empty() && airports.updates == 0);
}

TEST_F(Roads, AReportElsewhereEndsTheWayToTheStand) {
    stand("A1", 0, 0, 90, 18);
    feed(hex, "DLH1AB", {{0, -400, 12}, {0, -60, 8}, {0, -18, 0, 0, 4}}, 1);
    ASSERT_TRUE(runUntil(200, [&] { return state(hex) == FlightState::parking; })) << story(hex);
    line(seconds, hex, "DLH1AB", 120, 0, 0, 0, 8);
    run(1);
    EXPECT_EQ(state(hex), FlightState::taxi);
    EXPECT_TRUE(wasTold(hex, "reported elsewhere"));
}

TEST_F(Roads, AHoldEndsWithTheWayToAStand) {
    stand("A1", 2200, 700, 90, 18);
    std::vector<Way> silentBesideTheStand = arrival;
    silentBesideTheStand.back() = {2200, 670, 3};
    const double heldFrom = feed(hex, "DLH1AB", silentBesideTheStand, seconds + 5);
    const double end =
        feed(hex, "DLH1AB", {{2200, 800, 12}, {2200, 1600, 15}, {2200, 3500, 15}}, heldFrom + 38);
    run(end + 20 - seconds);
    ASSERT_TRUE(wasTold(hex, "parking -> taxi")) << story(hex);
    EXPECT_FALSE(wasTold(hex, "removed")) << story(hex);
}

TEST_F(Roads, ATouchAndGoThatRotatesBeforeItsNoseIsDownClimbsAway) {
    const double speed = 135;
    int early = 0;
    for (int roll = 0; roll <= 600; roll += 50) { // metres on the runway
        touchdown = {};
        const double end = feed(hex, "DLH1AB",
                                {{-8000, 0, speed, 1400},
                                 {-60, 0, speed, 14},
                                 {0, 0, speed},
                                 {roll + 1.0, 0, speed},
                                 {roll + 3000.0, 0, speed + 10, 1000},
                                 {roll + 9000.0, 0, speed + 40, 2500}},
                                seconds + 5);
        ASSERT_TRUE(runUntil(end, [&] { return state(hex) == FlightState::takeOff; })) << story(hex);
        early += lf_findByHexid(hex)->pitch < lf_findByHexid(hex)->staticPitch;
        run(end + 25 - seconds);
        ASSERT_TRUE(touchdown && object("DLH1AB")) << story(hex);
        EXPECT_GT(object("DLH1AB")->alt, 2200) << story(hex);
        removeAircraftFromSim(*lf_findByHexid(hex), Removed::other);
        run(2);
    }
    EXPECT_GT(early, 0);
}

TEST_F(Roads, WithNoReportsOnlyTheFinalApproachFreesAStandThatIsStillHeld) {
    Stand& home = stand("A1", 0, 0, 90, 18);
    LiveAc& ac = active(hex, 77, 50.05, 8, 1500);
    lf_takeStand(ac, home);
    home.occupied = true;
    ac.agl = 1500;
    ac.stream.front().vs = -700;
    ac.stream.pushBack(ac.stream.front());
    ac.stream.back().lat -= 0.01;
    ac.stream.front().dueTick = appLife.tickCount;
    updateLiveAc(ac);
    EXPECT_TRUE(ac.landing && ac.standId == 0 && !home.occupied);
}

} // namespace

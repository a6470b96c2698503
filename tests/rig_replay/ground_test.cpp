// The ground figures of a replay, by scenes of which they are known.

#include "replay/groundends.h"
#include "replay/groundwatch.h"

#include <cmath>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace {

constexpr double lat0 = 41.3, lon0 = 2.08, metersPerDegree = 60 * metersPerNm;
constexpr std::uint32_t first = 4200001, second = 4200002;

rig::CrossShape shapeAt(double northM, double eastM, double headingDeg, double radiusM = 18) {
    return {lat0 + northM / metersPerDegree, lon0 + eastM / metersPerDegree / std::cos(lat0 * degToRad),
            headingDeg * degToRad, radiusM};
}

struct Scene { // plays Ticks of which the test says where everybody is
    rig::GroundWatch watch;
    double time = 0;
    std::vector<rig::Shown> shown;
    const rig::CrossShape* user = nullptr;

    rig::Shown& add(std::uint32_t hexid, FlightState fs, const rig::CrossShape& shape) {
        rig::Shown s;
        s.hexid = hexid;
        s.objectId = hexid;
        s.callsign = fmt::format("AC{}", hexid % 10);
        s.shape = shape;
        s.fs = fs;
        s.onGround = true;
        s.speedKt = 20;
        s.stand = fs == FlightState::parked ? "A1" : "";
        return shown.emplace_back(std::move(s));
    }
    template <class Move> void play(double seconds, Move move) {
        const int ticks = static_cast<int>(std::lround(seconds * 100));
        for (int i = 0; i < ticks; ++i) {
            move((i + 1) * 0.01);
            time += 0.01;
            watch.afterTick(time, shown, user);
        }
    }
    void rest(double seconds) {
        play(seconds, [](double) {});
    }
};

} // namespace

TEST(GroundWatch, CountsAParkedAircraftThatIsMovedAndOneThatIsTurnedOnce) {
    Scene scene;
    scene.add(first, FlightState::parked, shapeAt(0, 0, 90));
    scene.rest(3);
    EXPECT_TRUE(scene.watch.movesWhileParked.empty() && scene.watch.turnsWhileParked.empty());
    scene.play(2, [&](double t) { scene.shown[0].shape = shapeAt(0, t, 90); }); // a metre a second
    scene.rest(3);
    EXPECT_EQ(1u, scene.watch.movesWhileParked.size());
    EXPECT_TRUE(scene.watch.turnsWhileParked.empty());
    scene.shown[0].shape = shapeAt(0, 2, 91);
    scene.rest(3);
    EXPECT_EQ(1u, scene.watch.movesWhileParked.size());
    EXPECT_EQ(1u, scene.watch.turnsWhileParked.size());
    EXPECT_EQ(1u, scene.watch.stood.size());
    scene.shown[0].fs = FlightState::taxi; // what moves now is not parked
    scene.play(2, [&](double t) { scene.shown[0].shape = shapeAt(0, 2 + 3 * t, 91); });
    EXPECT_EQ(1u, scene.watch.movesWhileParked.size());
}

TEST(GroundWatch, MeasuresSlipAboveWalkingPaceAndApartForTheLastMetresToAStand) {
    struct Row {
        const char* name;
        FlightState fs;
        double metersPerS, courseDeg; // the nose points north
        double taxiSlip, standSlip;
        int taxiReversals, standReversals;
    };
    const Row rows[] = {
        {"straight", FlightState::taxi, 8, 0, 0, 0, 0, 0},
        {"sideways by 30 degrees", FlightState::taxi, 8, 30, 0.5, 0, 0, 0},
        {"at walking pace nothing counts", FlightState::taxi, 1, 30, 0, 0, 0, 0},
        {"to a stand, crabwise", FlightState::parking, 3, 80, 0, 0.985, 0, 0},
        {"backwards", FlightState::taxi, 2, 180, 0, 0, 1, 0},
        {"backwards to a stand", FlightState::parking, 2, 180, 0, 0, 0, 1},
        {"pushed back", FlightState::pushingBack, 2, 180, 0, 0, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Scene scene;
        scene.add(first, row.fs, shapeAt(0, 0, 0));
        scene.rest(1);
        scene.play(10, [&](double t) {
            const double m = row.metersPerS * t, course = row.courseDeg * degToRad;
            scene.shown[0].shape = shapeAt(m * std::cos(course), m * std::sin(course), 0);
        });
        EXPECT_NEAR(row.taxiSlip, scene.watch.taxi.ratio(), 0.005);
        EXPECT_NEAR(row.standSlip, scene.watch.toStand.ratio(), 0.005);
        EXPECT_EQ(row.taxiReversals, scene.watch.taxi.reversals);
        EXPECT_EQ(row.standReversals, scene.watch.toStand.reversals);
        if (row.fs != FlightState::taxi) continue;
        ASSERT_EQ(1u, scene.watch.legs.size());
        EXPECT_NEAR(10 * row.metersPerS, scene.watch.legs[0].drivenM, 0.2);
    }
}

TEST(GroundWatch, FollowsAPushBackWithTheTurnOfItsFirstMetres) {
    Scene scene;
    scene.add(first, FlightState::parked, shapeAt(0, 0, 0));
    scene.rest(1);
    scene.shown[0].fs = FlightState::pushingBack;
    scene.play(10, [&](double t) { // the nose turns by 2 degrees a metre from 10 metres on
        scene.shown[0].shape = shapeAt(-2 * t, 0, 2 * std::max(2 * t - 10, 0.0));
    });
    scene.shown[0].fs = FlightState::pushedBack;
    scene.rest(1);
    ASSERT_EQ(1u, scene.watch.pushBacks.size());
    const rig::PushBack& push = scene.watch.pushBacks[0];
    EXPECT_NEAR(20, push.movedM, 0.3);
    EXPECT_NEAR(10, push.noseTurnDeg, 0.5);
    EXPECT_EQ("pushed_back", push.ended);
    EXPECT_EQ("A1", push.stand);
    EXPECT_TRUE(scene.watch.reversals.empty() && scene.watch.movesWhileParked.empty());
    EXPECT_LT(push.wayOffNoseDeg, 0);
    scene.shown[0].objectId = second; // another look of the same aircraft
    scene.rest(1);
    scene.shown[0].fs = FlightState::taxi;
    scene.play(10, [&](double t) { scene.shown[0].shape = shapeAt(-20, 5 * t, 90); }); // its nose was at 20
    EXPECT_NEAR(70, push.wayOffNoseDeg, 1);
}

TEST(GroundWatch, CountsAMoveBeyondSpeedAndTheHeightOfTheWheels) {
    Scene scene;
    scene.add(first, FlightState::taxi, shapeAt(0, 0, 0));
    scene.rest(1);
    scene.shown[0].shape = shapeAt(4, 0, 0);
    scene.rest(1);
    EXPECT_TRUE(scene.watch.jumps.empty());
    scene.shown[0].shape = shapeAt(14, 0, 0);
    scene.shown[0].wheelsFt = -1.5;
    scene.rest(1);
    EXPECT_EQ(1u, scene.watch.jumps.size());
    EXPECT_NEAR(1.5, scene.watch.heightErrorFtMax, 1e-9);
}

TEST(Overlaps, TwoAircraftTouchByFuselageAndWingNotByTheCircleAroundThem) {
    struct Row {
        const char* name;
        rig::CrossShape other;
        bool touch;
    };
    const Row rows[] = {
        // against one at the origin with its nose to the north; spans of 36 m
        {"beside, wing tips apart", shapeAt(0, 37, 0), false},
        {"beside, wing tips overlap", shapeAt(0, 35, 0), true},
        {"behind, nose to tail", shapeAt(-37, 0, 0), false},
        {"behind, nose in the tail", shapeAt(-35, 0, 0), true},
        {"diagonally, between wing and tail", shapeAt(-22, 24, 0), false},
        {"nose at the wing", shapeAt(0, 28, 270), true},
        {"far off", shapeAt(300, 300, 0), false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.touch, rig::crossesTouch(shapeAt(0, 0, 0), row.other));
        EXPECT_EQ(row.touch, rig::crossesTouch(row.other, shapeAt(0, 0, 0)));
    }
}

TEST(Overlaps, GivesPairsAndSecondsAndTellsTheFeedsOwnAndTheUser) {
    const auto line = [](std::uint32_t hexid, double northM, int time) {
        return fmt::format("RTTFC,{},{:.6f},{:.6f},0,0,0,1,0,A,A320,R,null,null,{}.0,X", hexid,
                           lat0 + northM / metersPerDegree, lon0, time);
    };
    for (const bool inFeed : {true, false}) {
        rig::FeedTracks tracks;
        for (int time = 1000; time < 1100; time += 10) {
            tracks.add(line(first, 0, time));
            tracks.add(line(second, inFeed ? 20 : 200, time));
        }
        Scene scene;
        scene.watch.tracks = &tracks;
        scene.watch.startFeedTime = 1060;
        scene.add(first, FlightState::taxi, shapeAt(0, 0, 0));
        scene.add(second, FlightState::taxi, shapeAt(100, 0, 0));
        const rig::CrossShape user = shapeAt(-30, 0, 0);
        scene.rest(2);
        scene.shown[1].shape = shapeAt(20, 0, 0);
        scene.rest(4);
        scene.user = &user;
        scene.rest(1);
        const auto overlaps = scene.watch.overlaps.all();
        ASSERT_EQ(2u, overlaps.size());
        EXPECT_EQ(first, overlaps[0].a);
        EXPECT_EQ(second, overlaps[0].b);
        EXPECT_NEAR(5, overlaps[0].seconds, 0.6);
        EXPECT_EQ(inFeed, overlaps[0].inFeed);
        EXPECT_EQ(rig::userHexid, overlaps[1].a);
        EXPECT_NEAR(1, overlaps[1].seconds, 0.6);
    }
}

TEST(GroundEnds, TellHowALandingEndedAndWhichStandTheFeedStopsAt) {
    struct Row {
        const char* name;
        double stopM;      // from the stand
        bool park, vanish; // afterwards
        double lastMetersPerS;
        rig::LandingEnd end;
        const char* fitting;
    };
    const Row rows[] = {
        {"parks", 20, true, false, 0, rig::LandingEnd::parked, "A1"},
        {"stands and is removed", 50, false, true, 0, rig::LandingEnd::standing, "A1"},
        {"vanishes as it drives", 60, false, true, 5, rig::LandingEnd::vanishedMoving, ""},
        {"taxies still", 20, false, false, 5, rig::LandingEnd::underWay, "A1"},
    };
    const std::vector<rig::StandPlace> stands = {{"A1", lat0, lon0, 0, 18, false},
                                                 {"H", lat0, lon0, 0, 40, true},
                                                 {"small", lat0, lon0, 0, 10, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        rig::FeedTracks tracks;
        for (int i = 0; i < 40; ++i)
            tracks.add(fmt::format("RTTFC,{},{:.6f},{:.6f},0,0,0,1,0,A,A320,R,null,null,{}.0,X", first,
                                   lat0 + (row.stopM + std::max(20 - i, 0) * 40) / metersPerDegree, lon0,
                                   1000 + i));
        Scene scene;
        scene.watch.tracks = &tracks;
        scene.watch.startFeedTime = 1030;
        rig::Shown& ac = scene.add(first, FlightState::taxi, shapeAt(900, 0, 180));
        scene.rest(0.5);
        ac.landingRoll = true;
        scene.rest(0.5);
        ac.landingRoll = false;
        scene.play(2, [&](double t) { ac.shape = shapeAt(900 - row.lastMetersPerS * t, 0, 180); });
        if (row.lastMetersPerS == 0) scene.rest(2);
        if (row.park) {
            ac.fs = FlightState::parking;
            scene.rest(0.5);
            ac.fs = FlightState::parked;
            ac.stand = "A1";
            scene.rest(0.5);
        }
        if (row.vanish) scene.shown.clear();
        scene.rest(0.5);
        scene.watch.finish(scene.time);
        const auto outcomes = rig::landingOutcomes(scene.watch, stands);
        ASSERT_EQ(1u, outcomes.size());
        EXPECT_EQ(row.end, outcomes[0].end);
        EXPECT_EQ(row.fitting, outcomes[0].fittingStand);
        EXPECT_NEAR(*row.fitting ? row.stopM : -1, outcomes[0].feedStopM, 0.5);
        EXPECT_EQ(row.park ? 1u : 0u, scene.watch.arrivals.size());
    }
}

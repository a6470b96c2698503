// Taxiing: corners and curves, the time of a segment and its turn rate, stops, the take-off roll.

#include "motion_fixture.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

class GroundMotion : public test::MotionTest {
  protected:
    // 60 m north at 10 knots, then a corner of that many degrees to the right.
    static LiveAc& addCorner(double degrees, const char* type = "A320", double seconds = 5) {
        const double a = degrees * degToRad;
        return add(type,
                   {at(0, 0, 0, 0, 10), at(seconds, 60, 0, 0, 10),
                    at(2 * seconds, 60 + 60 * std::cos(a), 60 * std::sin(a), 0, 10)},
                   0);
    }
};

} // namespace

TEST_F(GroundMotion, CurvesThroughCornersBetweenThreeAndAHundredAndSixtyDegreesAndTurnsWithThem) {
    for (const double degrees : {0.0, 2.9, 4.0, 20.0, -40.0, 45.0, 90.0, -90.0, 159.0, 161.0, 180.0}) {
        reset();
        LiveAc& ac = addCorner(degrees);
        const StreamPoint p1 = ac.stream[1], p2 = ac.stream[2];
        nextPosMain(ac);
        const bool curved = std::abs(degrees) > 3 && std::abs(degrees) <= 160;
        EXPECT_EQ(ac.curve.inForce(), curved) << degrees;
        EXPECT_EQ(ac.stream.front().lat, (curved ? p2 : p1).lat) << degrees;
        if (!curved) continue;
        EXPECT_NEAR(ac.curveAngle, std::abs(degrees), 0.01);
        const std::int32_t ticks = lf_ticksBetween(now(), ac.stream.front().dueTick);
        StreamPoint last = at(0, 0, 0, 0, 0);
        double heading = ac.heading;
        for (int i = 0; i < ticks; ++i) {
            lf_stepPosition(ac);
            const double turn = gf_headingDiff(heading, ac.heading) * radToDeg;
            EXPECT_TRUE(ac.heading >= 0 && ac.heading < twoPi && turn * degrees >= -1e-9) << degrees;
            if (std::abs(degrees) <= 40) {
                EXPECT_LE(std::abs(turn), 0.7);
            }
            heading = ac.heading;
            StreamPoint here = last;
            here.lat = ac.lat;
            here.lon = ac.lon;
            EXPECT_LT(lf_distanceNm(last, here) * metersPerNm, 240.0 / ticks) << degrees;
            last = here;
        }
        EXPECT_LT(lf_distanceNm(last, p2) * metersPerNm, 0.01) << degrees; // the curve ends at p2
        if (std::abs(degrees) <= 40) {
            EXPECT_NEAR(gf_headingDiff(0, heading) * radToDeg, degrees, 1.5);
        }
    }
}

TEST_F(GroundMotion, SplitsALongSlowLegBeforeASharpCorner) {
    LiveAc& ac = addCorner(90, "A320", 12);
    nextPosMain(ac);
    EXPECT_FALSE(ac.curve.inForce());
    EXPECT_NEAR(ac.stream.front().lat, at(0, 30, 0, 0, 0).lat, 1e-9);
    EXPECT_EQ(ac.stream.size(), 3u);
    for (int i = 0; i < 1300 && !ac.curve.inForce(); ++i) tick(ac);
    EXPECT_TRUE(ac.curve.inForce()); // at the next segment
    EXPECT_EQ(ac.stream.size(), 1u);
}

TEST_F(GroundMotion, SplitsWhereTheSpeedJumps) {
    const struct {
        double meters, knots;
        bool third, splits;
    } rows[] = {
        {100.1, 15.1, false, true}, {99, 30, false, false}, {300, 15, false, false}, {300, 30, true, true}};
    for (const auto& row : rows) {
        reset();
        std::vector<StreamPoint> points{at(0, 0, 0, 0, 10), at(9, row.meters, 0, 0, row.knots)};
        if (row.third) points.push_back(at(20, row.meters + 300, 0, 0, row.knots));
        LiveAc& ac = add("A320", points, 0);
        nextPosMain(ac);
        EXPECT_EQ(ac.stream.size(), points.size() - (row.splits ? 0 : 1)) << row.meters;
        if (!row.splits) continue;
        EXPECT_NEAR(ac.stream.front().speed, (10 + row.knots) / 2, 1e-9);
    }
    StreamPoint a = at(0, 0, 0, 0, 10), b = at(9, 0, 0, 0, 30);
    a.lon = 179.9;
    b.lon = -179.5;
    LiveAc& ac = add("A320", {a, b}, 0);
    lf_insertMidPoint(ac);
    EXPECT_NEAR(ac.stream[1].lon, -179.8, 1e-9);
}

TEST_F(GroundMotion, FitsTheTurnToTheTimeOfTheSegment) {
    const double rate = 7 * degToRad / 100; // of a large aircraft, per tick
    const struct {
        double angle, meters, knots, expected; // the turn rate over the normal one
        std::int32_t elasticity;
    } rows[] = {
        // 10 knots are 5.144 m/s. The measure of 30 degrees is 246 ticks, of 5 degrees 41, of 60 degrees 491.
        {30, 10.288, 10, 246 / 200.0, 1000},           // little time: faster
        {30, 14.4, 10, 246 / 280.0, 1000},             // some slack: spread over the segment
        {30, 30.864, 10, 3 * 246 / 600.0, 1000},       // room: the share of 10 degrees
        {30, 308.64, 10, 10.288 * 246 / 6000.0, 1000}, // a long way: the share of 30 m
        {5, 30.864, 10, 41 * 1.0288 / 600.0, 1000},    // a small turn: the share of 30 m, too
        {60, 10.288, 10, 200 / 491.0, 1000},           // sharp
        {60, 30.864, 10, 600 / 491.0, 1000},           // sharp
        {60, 308.64, 10, 2, 1000},                     // sharp with room
        {120, 308.64, 10, 3, 2000},                    // at most three times
    };
    for (const auto& row : rows) {
        reset();
        LiveAc& ac = add("A320", {at(0, 0, 0, 0, row.knots), at(3, row.meters, 0, 0, row.knots)}, 0);
        ac.headingLag = true;
        ac.headingError = row.angle;
        lf_timeGroundSegment(ac);
        EXPECT_NEAR(ac.turnRate / rate, row.expected, 0.01 * row.expected) << row.angle << " " << row.meters;
        EXPECT_EQ(ac.dueLead, row.elasticity);
    }
}

TEST_F(GroundMotion, TimesStopsByTheFeed) {
    const struct {
        double p0, p1, expected;
    } rows[] = {
        {0, 20, 20}, {-5, 20, 20}, {0, 0.01, 0.25}, {-30, -25, 0} /* beyond the lag: at once */, {-12, 2, 2}};
    for (const auto& row : rows) {
        reset();
        StreamPoint stop = at(row.p1, 0, 0, 0, 0);
        stop.stationary = true;
        LiveAc& ac = add("A320", {at(row.p0, 0, 0, 0, 5), stop}, 0);
        nextPosMain(ac);
        EXPECT_NEAR(lf_ticksBetween(now(), ac.stream.front().dueTick), row.expected * 100, 1) << row.p1;
        const double lat = ac.lat;
        tick(ac);
        EXPECT_EQ(ac.lat, lat);
        EXPECT_EQ(ac.tas, 0);
    }
}

TEST_F(GroundMotion, OpensTheThrottleWithTheSpeedOfTheRoll) {
    const struct {
        double from, to;
        std::uint32_t value;
    } rows[] = {{0, 19, 0},    {15, 15, 4914},  {0, 20, 4914}, {20, 20, 8191},
                {0, 25, 8191}, {25, 25, 16383}, {0, 30, 16383}};
    for (const auto& row : rows) {
        reset();
        LiveAc& ac = add("A320", {at(0, 0, 0, 0, row.from), at(3, 40, 0, 0, row.to)}, 0);
        ac.departing = true;
        nextPosMain(ac);
        EXPECT_THAT(takeEvents(), ElementsAre(Pair(evThrottle, row.value))) << row.from << " " << row.to;
        EXPECT_EQ(ac.tasTarget, row.to);
    }
    LiveAc& ac = add("A320", {at(0, 0, 0, 0, 40)}, 0);
    lf_startTakeoffRoll(ac);
    EXPECT_THAT(takeEvents(), ElementsAre(Pair(evThrottle, 0), Pair(evSpoilers, 0), Pair(evFlaps, 3072),
                                          Pair(evNavLights, 1), Pair(evBeaconLights, 1),
                                          Pair(evLandingLights, 1), Pair(evTaxiLights, 1), Pair(evStrobes, 1),
                                          Pair(evLogoLights, 1), Pair(evCabinLights, 0)));
    EXPECT_EQ(ac.dueLag, 5000);
    EXPECT_EQ(ac.dueLead, 3000);
}

TEST_F(GroundMotion, RemovesShortStopsAndStopsThatEndWhereTheyBegan) {
    StreamPoint stop = at(0, 50, 0, 0, 0);
    stop.stationary = true;
    const auto left = [&](double seconds, double meters, std::size_t stops) { // points, after a stop so long
        reset();
        std::vector<StreamPoint> points(2 + stops, stop);
        points[0] = at(0, 0, 0, 0, 10);
        points[1] = at(10, 50, 0, 0, 10);
        for (std::size_t i = 1; i <= stops; ++i)
            points[1 + i].dueTick = now() + 1000 + static_cast<std::int32_t>(seconds * 100.0 * i / stops);
        LiveAc& ac = add("A320", points, 0);
        removeSmallStop(ac, at(30, 50 + meters, 0, 0, 10));
        return ac.stream.size();
    };
    EXPECT_EQ(left(14, 100, 2), 2u);
    EXPECT_EQ(left(16, 100, 2), 4u);
    EXPECT_EQ(left(16, 20, 2), 2u);
    EXPECT_EQ(left(14, 20, 2), 2u);
    EXPECT_EQ(left(16, 10, 6), 8u); // six places back there is nothing but the stop
    LiveAc& two = add("A320", {at(0, 0, 0, 0, 10), stop}, 0);
    removeSmallStop(two, at(30, 60, 0, 0, 10));
    EXPECT_EQ(two.stream.size(), 2u);
}

TEST_F(GroundMotion, PushesStraightBackWhereNoSideIsKnown) {
    LiveAc& ac = add(
        "A320", {at(0, 0, 0, 0, 4), at(10, -20, 0, 0, 4), at(20, -40, 0, 0, 4), at(30, -40, 20, 0, 4)}, 0);
    ac.fs = FlightState::pushingBack;
    ac.pushCounter = 3;
    ac.savedPoint = at(30, -40, -20, 0, 4);
    for (const int left : {2, 1}) {
        nextPosMain(ac);
        EXPECT_EQ(ac.pushCounter, left);
        EXPECT_EQ(ac.tasTarget, -4);
    }
    EXPECT_TRUE(!ac.curve.inForce() && ac.stream.size() == 1);
    takeEvents();
    ac.stream.pushBack(at(40, -60, 0, 0, 4));
    nextPosMain(ac);
    EXPECT_EQ(ac.fs, FlightState::pushedBack);
    EXPECT_EQ(ac.pushRefDist, 900);
    EXPECT_THAT(takeEvents(), testing::Contains(Pair(evEngineStart, 0)));
}

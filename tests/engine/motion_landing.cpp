// Flare, touch down, rotation, go-around, the reports of the simulator, and reports of the feed while landing.

#include "motion_fixture.h"

namespace {

using test::Events;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

class Landing : public test::MotionTest {
  protected:
    static LiveAc& addLanding(const char* type, double agl) {
        LiveAc& ac = add(type, {at(0, 0, 0, 500, 130), at(3, 200, 0, 400, 130)}, 0);
        ac.landing = true;
        ac.agl = agl;
        return ac;
    }
    static void report(const LiveAc& ac, bool onGround, double ground, double agl) {
        lf_onHeightReport({ac.objectId, onGround ? 1u : 0u, 0, SimMessageKind::heightReport, ground, agl});
    }
};

} // namespace

TEST_F(Landing, FlaresInFourStagesByTheHeightAboveTheWheels) {
    const struct {
        double above; // feet above the wheels' height at which the stage begins
        double step, vs;
    } stages[] = {{30, -0.1, -601}, {20, -0.075, -450}, {10, -0.05, -300}, {3, -0.025, -150}};
    LiveAc& ac = addLanding("A320", 400);
    ac.altStep = -0.7;
    ac.thrustIndex = 1;
    ac.pitch = -2 * degToRad;
    int stage = 0;
    for (const auto& s : stages) {
        ac.agl = ac.staticCg + s.above + 0.01;
        lf_flare(ac);
        EXPECT_EQ(ac.flareStage, stage);
        ac.agl = ac.staticCg + s.above;
        lf_flare(ac);
        EXPECT_EQ(ac.flareStage, ++stage);
        EXPECT_EQ(ac.altStep, s.step);
        EXPECT_EQ(ac.stream.front().vs, s.vs);
        EXPECT_THAT(takeEvents(), stage == 3 ? testing::Matcher<Events>(ElementsAre(Pair(evThrottle, 0)))
                                             : testing::Matcher<Events>(IsEmpty()));
    }
    EXPECT_NEAR(ac.pitchStep * 400, -2 * degToRad, 1e-12);

    // The field's height tells it sooner than the last report does.
    LiveAc& other = addLanding("A320", 200);
    setAirport(50, 8, 300);
    other.alt = 338;
    lf_flare(other);
    EXPECT_EQ(other.flareStage, 1);
}

TEST_F(Landing, DoesNotRaiseTheNoseBeyondFourDegreesInTheFlare) {
    for (const double from : {-1.0, -3.9, -6.0}) {
        reset();
        LiveAc& ac = addLanding("F16", 20);
        ac.flareStage = 1;
        ac.pitch = from * degToRad;
        ac.pitchStep = (-4 - from) * degToRad / 150;
        for (int i = 0; i < 600; ++i) lf_stepPosition(ac);
        EXPECT_NEAR(ac.pitch, -4 * degToRad, 1e-9) << from;
    }
}

TEST_F(Landing, TouchesDownAndRollsUntilItIsOffTheRunway) {
    LiveAc& ac = addLanding("A320", 9);
    ac.heading = 1;
    ac.pitch = -0.07;
    ac.bank = 0.02;
    report(ac, true, 200, 8.5);
    EXPECT_THAT(takeEvents(), ElementsAre(Pair(evSpoilers, 16383)));
    EXPECT_TRUE(ac.onGround && ac.landed && ac.landingRoll && ac.derotating && !ac.landing);
    EXPECT_TRUE(ac.touchdownHeading == 1 && ac.alt == 208);
    EXPECT_EQ(engine.newArrivals.back(), ac.hexid);
    for (int i = 0; i <= ac.derotateTicks; ++i) lf_stepPosition(ac);
    EXPECT_TRUE(ac.pitch == ac.staticPitch && ac.bank == 0 && !ac.derotating);

    ac.thrustIndex = 0;
    ac.flapsIndex = 3;
    const auto rolls = [&](double off, double knots) { // degrees from the runway
        ac.heading = 1 + off * degToRad;
        ac.stream.front().speed = knots;
        lf_landingRoll(ac);
        return ac.landingRoll;
    };
    EXPECT_TRUE(rolls(14.9, 90.1));
    EXPECT_THAT(takeEvents(), IsEmpty());
    EXPECT_TRUE(rolls(14.9, 90));
    EXPECT_THAT(takeEvents(), ElementsAre(Pair(evSpoilers, 0), Pair(evFlaps, 3072)));
    EXPECT_FALSE(rolls(15.1, 90));
    EXPECT_THAT(takeEvents(),
                ElementsAre(Pair(evFlaps, 0), Pair(evSpoilers, 0), Pair(evNavLights, 1),
                            Pair(evBeaconLights, 1), Pair(evLandingLights, 0), Pair(evTaxiLights, 1),
                            Pair(evStrobes, 0), Pair(evLogoLights, 1), Pair(evCabinLights, 1)));
}

TEST_F(Landing, StaysInTheAirWhereATouchDownMakesNoSense) {
    const struct {
        const char* what;
        std::int32_t counter;
        FlightState fs;
        SimState st;
        double alt;
    } rows[] = {{"lands", 1, FlightState::flying, SimState::active, 208},
                {"rotating", 2, FlightState::flying, SimState::active, 208},
                {"lifting off", 0, FlightState::takeOff, SimState::active, 500},
                {"being removed", 1, FlightState::flying, SimState::removingFromSim, 500}};
    for (const auto& row : rows) {
        reset();
        LiveAc& ac = addLanding("A320", 9);
        ac.landing = false; // an unknown field: on the ground, and no roll
        ac.takeoffCounter = row.counter;
        ac.fs = row.fs;
        ac.st = row.st;
        report(ac, true, 200, 8.5);
        EXPECT_EQ(ac.onGround, row.what == rows[0].what) << row.what;
        EXPECT_TRUE(!ac.landingRoll && ac.agl == 8.5 && ac.alt == row.alt) << row.what;
    }
}

TEST_F(Landing, TakesPlausibleStancesOnly) {
    const struct {
        double cg, pitchDegrees, expectedCg, expectedPitch;
    } rows[] = {{0.5, 1, 8, 1},     {1, 2.5, 1, 2.5}, {35, -0.99, 35, -0.99},
                {35.1, -1, 8, 0.7}, {12, 3, 12, 0.7}, {std::nan(""), std::nan(""), 8, 0.7}};
    for (const auto& row : rows) {
        reset();
        LiveAc& ac = addLanding("A320", 9);
        lf_onStaticCg({ac.objectId, 0, 0, SimMessageKind::staticCg, row.cg, row.pitchDegrees * degToRad});
        EXPECT_EQ(ac.staticCg, row.expectedCg);
        EXPECT_NEAR(ac.staticPitch * radToDeg, row.expectedPitch, 1e-12);
    }
}

TEST_F(Landing, RotatesOnTheWheelsAndLiftsTheGearAtMinusThreeHundred) {
    StreamPoint far = at(60, 5000, 0, 3000, 180);
    LiveAc& ac = add("A320", {at(0, 0, 0, 0, 150), far}, 0);
    ac.departing = true;
    ac.agl = ac.staticCg;
    lf_beginRotation(ac);
    EXPECT_EQ(ac.fs, FlightState::takeOff);
    ac.altStep = 0.6;
    takeEvents();
    const double start = ac.alt;
    for (int i = 199; i >= 1; --i) {
        lf_rotate(ac);
        ASSERT_EQ(ac.takeoffCounter, i);
        ASSERT_FALSE(ac.onGround);
        ASSERT_EQ(ac.alt, start);
    }
    EXPECT_NEAR(ac.pitch, ac.rotatePitch, 0.002);
    EXPECT_NEAR(std::abs(ac.rotatePitch * radToDeg + 6), 0.15,
                1e-9); // six degrees, and 2.5 percent either way
    lf_rotate(ac);
    EXPECT_EQ(ac.alt, start);
    double expected = start;
    for (int counter = -1; counter >= -299; --counter) {
        lf_rotate(ac);
        expected += 0.6 / (counter > -100 ? 10 : counter > -200 ? 5 : 2);
        ASSERT_NEAR(ac.alt, expected, 1e-9) << counter;
    }
    EXPECT_THAT(takeEvents(), IsEmpty());
    lf_rotate(ac);
    EXPECT_EQ(ac.takeoffCounter, -300);
    EXPECT_NEAR(ac.alt, expected + 0.6, 1e-9);
    EXPECT_THAT(takeEvents(), ElementsAre(Pair(evGear, 0)));
    for (int i = 0; i < 100; ++i) lf_rotate(ac);
    EXPECT_LE(ac.pitch, ac.climbPitch);
    EXPECT_EQ(ac.fs, FlightState::takeOff); // until it is high enough
    ac.agl = 800;
    lf_rotate(ac);
    EXPECT_EQ(ac.fs, FlightState::flying);
    EXPECT_EQ(ac.takeoffCounter, 1);
    EXPECT_THAT(takeEvents(), ElementsAre(Pair(evThrottle, 11468)));
}

TEST_F(Landing, TestsARealTakeOffByTheWholeStream) {
    const struct {
        const char* what;
        double knots, alt, vs, lastVs, lastAlt;
        bool departing, rotates;
        double altStep; // 300 ticks from 8 feet
    } rows[] = {
        {"climbs", 150, 308, 1000, 1000, 600, true, true, 1.0},
        {"climbs from the ground", 150, 0, 1000, 1000, 600, true, true, 0.6},
        {"airborne and fast, one is level", 150, 308, 1000, 256, 600, true, true, 0.6},
        {"airborne and slow, one is level", 139, 308, 1000, 256, 600, true, false, 0},
        {"one is level and on the ground", 150, 0, 1000, 256, 600, true, false, 0},
        {"still rolling", 100, 0, 0, 0, 0, true, false, 0},
        {"no departure", 150, 308, 1000, 1000, 600, false, false, 0},
    };
    for (const auto& row : rows) {
        reset();
        StreamPoint p1 = at(3, row.knots * 3 * metersPerNm / 3600, 0, row.alt, row.knots);
        StreamPoint p2 = at(6, row.knots * 6 * metersPerNm / 3600, 0, row.lastAlt, row.knots);
        p1.vs = row.vs;
        p2.vs = row.lastVs;
        LiveAc& ac = add("A320", {at(0, 0, 0, 0, row.knots), p1, p2}, 0);
        ac.alt = 8;
        ac.departing = row.departing;
        nextPosMain(ac);
        EXPECT_EQ(ac.fs, row.rotates ? FlightState::takeOff : FlightState::taxi) << row.what;
        EXPECT_NEAR(ac.altStep, row.altStep, 0.005) << row.what;
        EXPECT_EQ(ac.takeoffCounter, row.rotates ? 200 : 1) << row.what;
    }
}

TEST_F(Landing, TouchesAndGoes) {
    StreamPoint p1 = at(3, 230, 0, 150, 150), p2 = at(6, 470, 0, 300, 150);
    p1.vs = p2.vs = 1500;
    LiveAc& ac = add("A320", {at(0, 0, 0, 0, 150), p1, p2}, 0);
    ac.landingRoll = ac.landed = true;
    lf_goAroundAfterTouchdown(ac);
    EXPECT_TRUE(ac.departing && !ac.landed && ac.landingRoll);
    EXPECT_EQ(ac.dueLag, 5000);
    EXPECT_EQ(takeEvents().size(), 10u);
    nextPosMain(ac);
    EXPECT_EQ(ac.fs, FlightState::takeOff);
    EXPECT_FALSE(ac.landingRoll);
    EXPECT_THAT(takeEvents(), ElementsAre(Pair(evThrottle, 16383), Pair(evSpoilers, 16383)));
}

TEST_F(Landing, FiltersReportsDuringApproachAndRoll) {
    // The aircraft flies north; its points lie 300 m apart ahead.
    const auto fresh = [&](bool landing, std::size_t points) -> LiveAc& {
        reset();
        std::vector<StreamPoint> stream;
        for (std::size_t i = 1; i <= points; ++i) stream.push_back(at(i * 3.0, i * 300.0, 0, 300, 130));
        LiveAc& ac = add("A320", stream, 0);
        ac.landing = landing;
        ac.lat = 50;
        return ac;
    };
    StreamPoint p;
    const auto takes = [&](LiveAc& ac, double north, double east, double knots) {
        p = at(6, north, east, 0, knots);
        return checkNewPosDuringLanding(ac, p);
    };
    LiveAc* ac = &fresh(true, 1);
    EXPECT_FALSE(takes(*ac, 300, 0, 130)); // the same
    EXPECT_FALSE(takes(*ac, 200, 0, 120)); // behind
    ac->extendCount = 3;
    EXPECT_TRUE(takes(*ac, 500, 30, 140));
    EXPECT_EQ(p.speed, 130); // it does not speed up again
    EXPECT_EQ(ac->extendCount, 0);
    EXPECT_EQ(ac->dueLag, 3000);
    ac->stream.front().speed = 20;
    EXPECT_TRUE(takes(*ac, 500, 30, 40));
    EXPECT_EQ(p.speed, 40);

    ac = &fresh(true, 4);
    EXPECT_TRUE(takes(*ac, 1000, 0, 120));
    EXPECT_EQ(ac->stream.size(), 3u);
    EXPECT_TRUE(takes(*ac, 550, 0, 120)); // at most two go, and it may still lie behind
    EXPECT_EQ(ac->stream.size(), 1u);

    ac = &fresh(false, 1);
    EXPECT_TRUE(takes(*ac, 300, 200, 60)); // beside
    EXPECT_EQ(ac->stream.front().lat, at(0, 300, 0, 0, 0).lat);
    ac->extendCount = 2;
    EXPECT_FALSE(takes(*ac, 200, 0, 60));
    ac->extendCount = 0;
    EXPECT_TRUE(takes(*ac, 200, 0, 60)); // the stream begins again where the aircraft is
    EXPECT_EQ(ac->stream.front().lat, ac->lat);
    EXPECT_EQ(ac->stream.front().dueTick, now() + 1);
}

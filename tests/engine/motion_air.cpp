// Airborne segments: their end, their steps, and the configurations of flight.

#include "motion_fixture.h"

#include <map>
#include <random>

namespace {

using test::Events;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class AirMotion : public test::MotionTest {
  protected:
    static double degrees(double radians) { return radians * radToDeg; }
    // The configuration of a segment that starts with this vertical speed at this height.
    static Events configure(LiveAc& ac, double vs, double agl) {
        takeEvents();
        ac.stream.front().vs = vs;
        ac.agl = agl;
        lf_lowConfig(ac);
        return takeEvents();
    }
};

constexpr double metersPerKnotSecond = metersPerNm / 3600;

} // namespace

TEST_F(AirMotion, EndsASegmentInsideItsElasticityAndNeverInThePast) {
    const double threeSeconds = 200 * 3 * metersPerKnotSecond;
    const struct {
        double p0Due, p1Due, meters; // seconds from now
        std::int32_t lead, lag, extend;
        double expected;
    } rows[] = {
        {0, 3, threeSeconds, 1000, 1000, 0, 3},
        {0, 3, threeSeconds + 200 * 40 * metersPerKnotSecond, 1000, 1000, 0, 13}, // 40 s more: 10 s granted
        {0, 50, threeSeconds, 3000, 1000, 0, 20},                                 // early by the lead
        {0, 3, threeSeconds + 200 * 40 * metersPerKnotSecond, 1000, 1000, 8, 43}, // invented: no feed time
        {-2, -1, 1, 1000, 1000, 0, 0.25},                                         // due in the past
        {-40, -30, 1, 1000, 1000, 0, 0.25},                                       // far in the past
    };
    for (const std::int32_t start : {10000, 2147483000, INT32_MIN}) { // the counter may wrap
        for (const auto& row : rows) {
            reset();
            appLife.tickCount = start;
            LiveAc& ac =
                add("A320", {at(row.p0Due, 0, 0, 30000, 200), at(row.p1Due, row.meters, 0, 30000, 200)}, 0);
            ac.dueLead = row.lead;
            ac.dueLag = row.lag;
            ac.extendCount = row.extend;
            ac.agl = 5000;
            nextPosMain(ac);
            ASSERT_EQ(ac.stream.size(), 1u);
            EXPECT_NEAR(lf_ticksBetween(start, ac.stream.front().dueTick), row.expected * 100, 1)
                << "start " << start << " p1 " << row.p1Due;
        }
    }
}

TEST_F(AirMotion, AimsAtTheNextPointFromWhereItReallyIsAlsoOverTheDateLine) {
    StreamPoint a = at(0, 0, 0, 20000, 300), b = at(3, 0, 0, 20000, 300), c = at(6, 0, 0, 20000, 300);
    a.lon = 179.997; // 300 knots make 463 m in 3 s
    b.lon = -179.9965;
    c.lon = -179.99;
    LiveAc& ac = add("A320", {a, b, c}, pi / 2);
    ac.lat += 0.001; // off the track
    ac.agl = 5000;
    double last = ac.lon;
    nextPosMain(ac);
    while (now() != ac.stream.front().dueTick) {
        tick(ac);
        EXPECT_LT(std::abs(lf_lonDifference(last, ac.lon)), 0.0001);
        EXPECT_LE(std::abs(ac.lon), 180);
        last = ac.lon;
    }
    EXPECT_NEAR(ac.lat, b.lat, 1e-9);
    EXPECT_NEAR(ac.lon, b.lon, 1e-9);
    EXPECT_EQ(ac.tas, 300);
    ASSERT_FALSE(fillingUpdates.empty());
    const PositionUpdate sent = fillingUpdates.back();
    const double sentLon = sent.block.lon, sentTas = sent.block.tas; // packed
    EXPECT_TRUE(sent.objectId == ac.objectId && sentLon == ac.lon && sentTas == ac.tas);
}

TEST_F(AirMotion, DropsStopsInTheAirButNotThoseOfAHelicopter) {
    for (const char* type : {"A320", "EC35"}) {
        reset();
        StreamPoint stop = at(3, 100, 0, 1000, 0);
        stop.stationary = true;
        LiveAc& ac = add(type, {at(0, 0, 0, 1000, 100), stop, at(6, 300, 0, 1000, 100)}, 0);
        nextPosMain(ac);
        EXPECT_EQ(ac.stream.front().stationary, std::string(type) == "EC35");
    }
}

TEST_F(AirMotion, StepsTheElasticityDownToTenSecondsAndNoFurther) {
    LiveAc& ac = add("A320", {at(0, 0, 0, 0, 0)}, 0);
    ac.dueLead = 1150;
    ac.dueLag = 1300;
    for (const auto& [lead, lag] : {std::pair{1050, 1200}, {1000, 1100}, {1000, 1000}, {1000, 1000}}) {
        StreamPoint stop = ac.stream.front();
        stop.stationary = true;
        stop.dueTick = lf_tickAfter(stop.dueTick, 100);
        ac.stream.pushBack(stop);
        nextPosMain(ac);
        EXPECT_EQ(ac.dueLead, lead);
        EXPECT_EQ(ac.dueLag, lag);
    }
}

TEST_F(AirMotion, CorrectsTheDescentRateByThePressure) {
    const struct {
        std::int32_t qnh;
        double vs0, vs1, agl, expected;
    } rows[] = {
        {1013, -700, -700, 1500, -700}, {1014, -700, -700, 1500, -706}, {1023, -700, -700, 1500, -760},
        {1023, -400, -600, 1500, -601}, {990, -700, -700, 1500, -601}, // low pressure: as fast as it must be
        {990, -900, -900, 1500, -762},  {1023, -700, -700, 100, -600},
    };
    for (const auto& row : rows) {
        reset();
        qnhReader.currentQnh = row.qnh;
        LiveAc& ac = add("A320", {at(0, 0, 0, 900, 130), at(3, 200, 0, 700, 130)}, 0);
        ac.stream[0].vs = row.vs0;
        ac.stream[1].vs = row.vs1;
        ac.agl = row.agl;
        EXPECT_DOUBLE_EQ(lf_descentRate(ac), row.expected) << row.qnh;
    }
}

TEST_F(AirMotion, ChoosesTheAltitudeStepByWhatTheTwoPointsAre) {
    enum Field { none, here, far };
    const struct {
        const char* what;
        double alt0, alt1, vs1, agl;
        bool landing;
        Field field;
        std::int32_t qnh;
        double step; // feet per tick over 300 ticks from alt0
    } rows[] = {
        {"climb", 20000, 20090, 1800, 5000, false, none, 1013, 0.3},
        {"climb too steep", 20000, 20900, 1800, 5000, false, none, 1013, 0.6},
        {"descent", 20000, 19700, -6000, 5000, false, none, 1013, -1},
        {"low and not landing", 900, 870, -600, 900, false, none, 1013, 0.2},
        {"approach", 900, 870, -600, 900, true, here, 1013, -0.1},
        {"level approach, QNH", 900, 900, 0, 900, true, here, 1023, -0.10016666666666667},
        {"to the field", 350, 0, 0, 350, true, here, 1013, -0.5},
        {"to another field", 350, 0, 0, 350, true, far, 1013, -0.10016666666666667},
        {"to no field", 350, 0, 0, 350, false, none, 1013, -0.10016666666666667},
        {"to the field, high QNH", 350, 0, 0, 350, true, here, 1023, -0.10016666666666667},
    };
    for (const auto& row : rows) {
        reset();
        qnhReader.currentQnh = row.qnh;
        if (row.field != none) setAirport(row.field == here ? 50 : 52, 8, 200);
        LiveAc& ac = add("A320", {at(0, 0, 0, row.alt0, 130), at(3, 200.6, 0, row.alt1, 130)}, 0);
        ac.stream[1].vs = row.vs1;
        ac.agl = row.agl;
        ac.landing = row.landing;
        nextPosMain(ac);
        EXPECT_NEAR(ac.altStep, row.step, 0.002) << row.what;
    }
}

TEST_F(AirMotion, FindsTheClimbBehindGroundPointsThatCameTooEarly) {
    std::vector<StreamPoint> points{at(0, 0, 0, 0, 130), at(3, 200, 0, 0, 130), at(6, 400, 0, 0, 130),
                                    at(9, 600, 0, 250, 140), at(12, 850, 0, 400, 150)};
    for (StreamPoint& p : points) p.vs = 500;
    LiveAc& ac = add("A320", points, 0);
    ac.onGround = false;
    ac.alt = 40;
    ac.agl = 35;
    nextPosMain(ac);
    EXPECT_EQ(ac.stream.size(), 2u);
    EXPECT_EQ(ac.stream.front().alt, 250);
    EXPECT_GT(ac.altStep, 0);
    const double ticks = lf_ticksBetween(now(), ac.stream.front().dueTick);
    EXPECT_NEAR(ac.lat + ticks * ac.latStep, ac.stream.front().lat, 1e-9);

    // With nothing airborne to find it climbs all the same, and without a climb it comes down.
    for (const double vs : {300.0, -100.0}) {
        reset();
        for (StreamPoint& p : points) p.alt = 0, p.airborne = false, p.vs = vs;
        LiveAc& other = add("A320", points, 0);
        other.onGround = false;
        other.agl = 300;
        nextPosMain(other);
        EXPECT_NEAR(other.altStep, vs > 0 ? 601 / 6000.0 : -601 / 6000.0, 1e-9);
        EXPECT_THAT(takeEvents(), testing::Contains(Pair(evGear, 1)));
    }
}

TEST_F(AirMotion, LimitsPitchAndBankByCategory) {
    const std::map<std::string, std::array<double, 3>> limits{
        // bank, degrees; rates, degrees a second
        {"C172", {40, 3.5, 1}},   {"C56X", {35, 2.75, 0.85}}, {"A320", {30, 2, 0.75}},
        {"B744", {20, 1.5, 0.5}}, {"F16", {90, 10, 3}},       {"EC35", {75, 6, 3}}};
    for (const auto& [type, limit] : limits) {
        reset();
        StreamPoint steep = at(1, 100, 0, 5100, 200);
        steep.vs = 9000;
        LiveAc& ac = add(type, {at(0, 0, 0, 5000, 200), steep, at(2, 60, 100, 5000, 200)}, 0); // far right
        ac.agl = 5000;
        nextPosMain(ac);
        EXPECT_NEAR(degrees(ac.pitchStep) * 100, -limit[2], 1e-9) << type; // nose up
        EXPECT_NEAR(degrees(ac.bankStep) * 100, -limit[1], 1e-9) << type;  // right wing down

        reset();
        LiveAc& slow =
            add(type, {at(0, 0, 0, 5000, 20), at(100, 1000, 0, 5000, 20), at(200, 900, 100, 5000, 20)}, 0);
        slow.agl = 5000;
        nextPosMain(slow);
        const double ticks = lf_ticksBetween(now(), slow.stream.front().dueTick);
        EXPECT_NEAR(degrees(slow.bankStep) * ticks, -limit[0], 1e-6) << type;
    }
    const std::map<double, double> pitches{{0, -3},       {600, -5.2},  {2400, -11.8}, {6000, -11.8},
                                           {-1200, -0.8}, {-3000, 2.5}, {-9000, 2.5}};
    for (const auto& [vs, pitch] : pitches) EXPECT_NEAR(degrees(lf_pitchOfClimb(vs)), pitch, 1e-9) << vs;
}

TEST_F(AirMotion, TurnsTowardsTheLegAfterThisOneAndWrapsTheHeading) {
    // From just left of north to just right of it, and back: the heading passes 0 without a jump.
    for (const double side : {1.0, -1.0}) {
        reset();
        LiveAc& ac = add(
            "A320", {at(0, 0, 0, 20000, 300), at(3, 463, 0, 20000, 300), at(6, 900, side * 160, 20000, 300)},
            gf_wrapHeading(-side * 5 * degToRad));
        ac.agl = 5000;
        double last = ac.heading;
        for (int i = 0; i < 300; ++i) {
            tick(ac);
            EXPECT_GE(ac.heading, 0);
            EXPECT_LT(ac.heading, twoPi);
            EXPECT_LT(std::abs(gf_headingDiff(last, ac.heading)), 0.002);
            last = ac.heading;
        }
        EXPECT_NEAR(degrees(gf_headingDiff(0, ac.heading)), side * 20.1, 0.2);
        EXPECT_LT(ac.bank * side, 0);
    }
    // Near the ground the reported heading counts; a reported 0 is 2π.
    for (const double agl : {900.0, 1500.0}) {
        reset();
        LiveAc& ac =
            add("A320", {at(0, 0, 0, 900, 130), at(3, 200, 0, 880, 130), at(6, 400, 0, 850, 130)}, 6.2);
        ac.stream[1].trueHeadingSource = ac.stream[1].bankValid = ac.stream[1].headingValid = true;
        ac.stream[1].heading = twoPi;
        ac.stream[1].bank = 0.1;
        ac.agl = agl;
        nextPosMain(ac);
        EXPECT_NEAR(ac.headingStep * 300, twoPi - 6.2, 0.01);
        EXPECT_NEAR(ac.bankStep * 300, 0.1, 0.001);
    }
}

TEST_F(AirMotion, SetsTheHighConfigurationOnceAndTheLightsAgainBelow) {
    LiveAc& ac = add("A320", {at(0, 0, 0, 10000, 250), at(3, 300, 0, 10000, 250)}, 0);
    lf_highConfig(ac);
    EXPECT_THAT(takeEvents(), ElementsAre(Pair(evNavLights, 1), Pair(evBeaconLights, 1),
                                          Pair(evLandingLights, 0), Pair(evTaxiLights, 0), Pair(evStrobes, 0),
                                          Pair(evLogoLights, 0), Pair(evCabinLights, 1),
                                          Pair(evThrottle, 11468), Pair(evGear, 0), Pair(evFlaps, 0)));
    lf_highConfig(ac);
    EXPECT_THAT(takeEvents(), IsEmpty());
    EXPECT_THAT(configure(ac, 0, 5000),
                ElementsAre(Pair(evNavLights, 1), Pair(evBeaconLights, 1), Pair(evLandingLights, 1),
                            Pair(evTaxiLights, 1), Pair(evStrobes, 1), Pair(evLogoLights, 1),
                            Pair(evCabinLights, 1), Pair(evCabinLights, 1), Pair(evGear, 0)));
    EXPECT_THAT(configure(ac, 0, 5000), ElementsAre(Pair(evCabinLights, 1), Pair(evGear, 0)));
    lf_highConfig(ac); // up again
    EXPECT_EQ(takeEvents().size(), 8u);

    LiveAc& rotor = add("EC35", {at(0, 0, 0, 10000, 100)}, 0);
    lf_highConfig(rotor);
    const Events events = takeEvents();
    EXPECT_EQ(events.size(), 8u);
    EXPECT_THAT(events.back(), Pair(evThrottle, 16383));
}

TEST_F(AirMotion, FliesCleanAboveTheApproachHeight) {
    LiveAc& ac = add("A320", {at(0, 0, 0, 3000, 250), at(3, 300, 0, 3000, 250)}, 0);
    ac.lowLightsSet = true;
    ac.thrustIndex = 3;
    ac.flapsIndex = 0;
    ac.departing = ac.landing = true;
    EXPECT_THAT(configure(ac, -250, 2400),
                ElementsAre(Pair(evCabinLights, 1), Pair(evThrottle, 8191), Pair(evGear, 0)));
    EXPECT_FALSE(ac.departing || ac.landing);
    ac.thrustIndex = 4;
    EXPECT_THAT(configure(ac, 400, 2399), ElementsAre(Pair(evCabinLights, 1)));
    EXPECT_THAT(configure(ac, 401, 2399), ElementsAre(Pair(evCabinLights, 1), Pair(evThrottle, 11468)));
    EXPECT_THAT(configure(ac, 101, 2100), ElementsAre(Pair(evCabinLights, 1)));
    EXPECT_THAT(configure(ac, 100, 2100), ElementsAre(Pair(evCabinLights, 1), Pair(evFlaps, 3072)));
    EXPECT_THAT(configure(ac, 100, 2060), ElementsAre(Pair(evCabinLights, 1)));
    EXPECT_THAT(configure(ac, -200, 2051), ElementsAre(Pair(evCabinLights, 1)));

    ac.category = AcCategory::light; // its limit is lower, so it still flies clean here
    EXPECT_THAT(configure(ac, -200, 626), ElementsAre(Pair(evCabinLights, 1), Pair(evFlaps, 10240)));
    EXPECT_THAT(configure(ac, -200, 625), ElementsAre(Pair(evCabinLights, 0)));
}

TEST_F(AirMotion, BeginsAnApproachNearTheFieldAndGoesAroundFromIt) {
    setAirport(50, 8, 200);
    LiveAc& ac = add("A320", {at(0, 0, 0, 1500, 140), at(3, 200, 0, 1480, 140)}, 0);
    ac.lowLightsSet = true;
    ac.goingAround = true;
    ac.standId = 7;
    ac.takeoffCounter = -20;
    EXPECT_THAT(configure(ac, -249, 2050), ElementsAre(Pair(evCabinLights, 0)));
    EXPECT_THAT(configure(ac, -250, 2050), ElementsAre(Pair(evCabinLights, 0), Pair(evThrottle, 4914),
                                                       Pair(evFlaps, 16383), Pair(evGear, 1)));
    EXPECT_TRUE(ac.landing && !ac.goingAround && ac.standId == 0 && ac.takeoffCounter == 1);
    EXPECT_EQ(ac.dueLag, 3000);
    EXPECT_EQ(ac.dueLead, 3000);
    EXPECT_THAT(engine.newArrivals, ElementsAre(ac.hexid));
    EXPECT_THAT(configure(ac, -700, 1000), ElementsAre(Pair(evCabinLights, 0)));
    EXPECT_THAT(configure(ac, 600, 1000), ElementsAre(Pair(evCabinLights, 0)));
    ac.flareStage = 2;
    EXPECT_THAT(configure(ac, 601, 1000), ElementsAre(Pair(evCabinLights, 0), Pair(evThrottle, 16383),
                                                      Pair(evGear, 0), Pair(evFlaps, 0)));
    EXPECT_TRUE(ac.goingAround && !ac.landing && ac.flareStage == 0);
    EXPECT_THAT(configure(ac, 900, 1000), ElementsAre(Pair(evCabinLights, 0)));

    ac.goingAround = false;
    ac.landing = true;
    setAirport(51, 8, 200); // 60 miles away now
    EXPECT_THAT(configure(ac, 0, 1000),
                ElementsAre(Pair(evCabinLights, 0), Pair(evGear, 0))); // the rest is set
    EXPECT_TRUE(ac.goingAround);
    EXPECT_THAT(configure(ac, -700, 1000), ElementsAre(Pair(evCabinLights, 0))); // not near: no approach
    EXPECT_FALSE(ac.landing);

    ac.goingAround = false;
    ac.fs = FlightState::takeOff; // a steep first climb is none
    EXPECT_THAT(configure(ac, 2000, 300), ElementsAre(Pair(evCabinLights, 0)));
}

// Whatever the feed says: no NaN, no heading outside its range, no jump of the altitude, no exception.
TEST_F(AirMotion, SurvivesRandomStreams) {
    constexpr const char* types[] = {"A320", "B744", "C56X", "F16", "EC35", "C172"};
    constexpr double groundFt = 83;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        reset();
        setAirport(50, 8, groundFt);
        std::mt19937 random(seed);
        const auto pick = [&](double low, double high) {
            return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
        };
        appLife.tickCount = seed % 4 == 0 ? 2147483647 - 3000 : 10000;
        double north = pick(-8000, 8000), east = pick(-8000, 8000), course = pick(0, twoPi);
        double alt = seed % 2 ? pick(100, 3000) : 0, speed = alt > 0 ? pick(60, 250) : pick(0, 40);
        LiveAc& ac = add(types[seed % 6], {at(0, north, east, alt, speed)}, course);
        if (ac.onGround) ac.alt = groundFt + ac.staticCg;
        for (int i = 0; i < 12000 && ac.st == SimState::active; ++i) {
            if (i % 100 == 0 && pick(0, 1) < 0.4) {
                const double step = pick(1, 12);
                course += pick(-1, 1) * (pick(0, 1) < 0.1 ? 3 : 0.3);
                speed = std::max(0.0, speed + pick(-25, 25));
                alt = pick(0, 1) < 0.3 ? 0 : std::max(0.0, alt + pick(-400, 400));
                north += std::cos(course) * speed * 0.5144 * step;
                east += std::sin(course) * speed * 0.5144 * step;
                StreamPoint p = at(30 + step, north, east, alt, speed);
                p.vs = pick(-3000, 3000);
                p.bankValid = p.headingValid = p.trueHeadingSource = pick(0, 1) < 0.3;
                p.bank = pick(-0.5, 0.5);
                p.heading = pick(0, 1) < 0.1 ? twoPi : pick(0, twoPi);
                if (pick(0, 1) < 0.15) p.lat = ac.stream.back().lat, p.lon = ac.stream.back().lon;
                decodeExisting(ac, p);
            }
            const double agl = ac.alt - groundFt, lastAlt = ac.alt, lastHeading = ac.heading;
            if (i % 20 == 0 && agl <= 2500)
                lf_onHeightReport(
                    {ac.objectId, agl <= ac.staticCg + 1, 0, SimMessageKind::heightReport, groundFt, agl});
            bool erase = false;
            ASSERT_NO_THROW(erase = tick(ac));
            if (erase) break;
            for (const double v : {ac.lat, ac.lon, ac.alt, ac.pitch, ac.bank, ac.heading, ac.vsFps, ac.tas})
                ASSERT_TRUE(std::isfinite(v)) << i;
            ASSERT_TRUE(ac.heading >= 0 && ac.heading < twoPi && std::abs(ac.lon) <= 180);
            for (std::size_t k = 2; k < ac.stream.size(); ++k) // the front has the time that its segment got
                ASSERT_GE(lf_ticksBetween(ac.stream[k - 1].dueTick, ac.stream[k].dueTick), 0);
            ASSERT_LE(std::abs(ac.alt - lastAlt), 120)
                << i; // 400 feet in the shortest segment, and the ground
            ASSERT_LE(std::abs(gf_headingDiff(lastHeading, ac.heading)) * radToDeg, 5) << i;
        }
    }
}

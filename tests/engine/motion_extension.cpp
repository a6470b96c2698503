// A stream that has run down to its last point: waiting on the ground, invented points, and the report that ends it.

#include "motion_fixture.h"

namespace {

class Extension : public test::MotionTest {
  protected:
    // Flies or rolls until it is removed; gives the seconds that took.
    static double secondsUntilRemoval(LiveAc& ac, double most) {
        const std::int32_t start = now();
        while (ac.st == SimState::active && now() - start < most * 100) tick(ac);
        return (now() - start) / 100.0;
    }
};

} // namespace

TEST_F(Extension, FliesOnForEightPointsInsideTheRangeAndNotAtItsEdge) {
    const struct {
        const char* what;
        double userLat, userLon,
            seconds; // eight times 8, less a little: it flies at the mean of falling speeds
        Removed why;
    } rows[] = {{"no user yet", 0.0009, 0.05, 62.3, Removed::streamEnd},
                {"near", 50, 8, 62.3, Removed::streamEnd},
                {"just inside", 50 + 39.4 / 60, 8, 62.3, Removed::streamEnd},
                {"at the edge", 50 + 39.6 / 60, 8, 0, Removed::range}};
    for (const auto& row : rows) {
        reset();
        engine.user.lat = row.userLat;
        engine.user.lon = row.userLon;
        LiveAc& ac = add("A320", {at(0, 0, 0, 20000, 300)}, pi / 2);
        ac.agl = 5000;
        const auto before = removed(row.why);
        EXPECT_NEAR(secondsUntilRemoval(ac, 200), row.seconds, 0.3) << row.what;
        EXPECT_EQ(removed(row.why), before + 1) << row.what;
    }
}

TEST_F(Extension, LetsAircraftOfSwitchedOffCategoriesGo) {
    LiveAc& ac = add("C172", {at(0, 0, 0, 3000, 100)}, 0);
    Removed why = Removed::other;
    LIGHT_AIRCRAFT.value = false;
    EXPECT_FALSE(lf_extendStream(ac, why));
    LIGHT_AIRCRAFT.value = true;
    EXPECT_TRUE(lf_extendStream(ac, why));
    EXPECT_EQ(ac.extendCount, 8);
}

TEST_F(Extension, InventsSpeedsForTheRollsAndTheAir) {
    const struct {
        const char* what;
        bool ground, departing, roll, landing;
        double knots, expected, vs;
        std::int32_t count;
    } rows[] = {
        {"departing", true, true, false, false, 30, 40, 0, 10},
        {"departing", true, true, false, false, 60, 80, 0, 10},
        {"departing", true, true, false, false, 100, 110, 0, 10},
        {"departing", true, true, false, false, 140, 150, 600, 10},
        {"departing", true, true, false, false, 160, 170, 1200, 10},
        {"departing", true, true, false, false, 161, 180, 2400, 10},
        {"rolling out", true, false, true, false, 140, 100, 0, 10},
        {"rolling out", true, false, true, false, 139, 80, 0, 10},
        {"rolling out", true, false, true, false, 99, 60, 0, 10},
        {"rolling out", true, false, true, false, 79, 30, 0, 10},
        {"rolling out", true, false, true, false, 59, 20, 0, 10},
        {"standing", true, false, false, false, 12, 0, 0, 10},
        {"flying", false, false, false, false, 300, 285, 0, 8},
        {"flying slowly", false, false, false, false, 0.5, 1, 0, 8},
        {"landing", false, false, false, true, 150, 135, -667, 4},
        {"landing at last", false, false, false, true, 150, 150, -667, 3},
    };
    for (const auto& row : rows) {
        reset();
        LiveAc& ac = add("A320", {at(0, 0, 0, row.ground ? 0 : 2000, row.knots)}, 0);
        ac.departing = row.departing;
        ac.landingRoll = row.roll;
        ac.landing = row.landing;
        lf_extrapolate(ac, row.count);
        const StreamPoint& p = ac.stream.back();
        EXPECT_EQ(p.speed, row.expected) << row.what << row.knots;
        EXPECT_EQ(p.vs, row.vs) << row.what << row.knots;
        EXPECT_EQ(p.stationary, row.expected == 0);
        const double seconds = row.ground ? 3 : 8;
        EXPECT_EQ(p.dueTick, now() + seconds * 100);
        EXPECT_NEAR(gf_distanceNm(ac.lat, ac.lon, p.lat, p.lon), row.expected * seconds / 3600, 1e-6);
        EXPECT_EQ(p.alt, row.ground ? 0 : row.landing ? 2000 - 80.04 : 2000) << row.what;
        EXPECT_EQ(ac.extendCount, row.count);
    }
    LiveAc& parked = add("A320", {at(0, 0, 0, 0, 0)}, 0);
    parked.fs = FlightState::parked;
    parked.feedAtStand = true;
    lf_extrapolate(parked, 1);
    EXPECT_TRUE(parked.stream.back().stationary);
    EXPECT_EQ(parked.stream.back().dueTick, now() + 60480000);
    EXPECT_FALSE(parked.feedAtStand);
    LiveAc& low = add("A320", {at(0, 0, 0, 50, 130)}, 0);
    low.landing = true;
    lf_extrapolate(low, 8);
    EXPECT_EQ(low.stream.back().alt, 0);
    EXPECT_FALSE(low.stream.back().airborne);
}

TEST_F(Extension, WaitsOnTheTaxiwayForAsManyMinutesAsItMay) {
    MAX_HOLDING_MINUTES.value = 2;
    LiveAc& ac = add("A320", {at(0, 0, 0, 0, 10)}, 0);
    const auto before = removed(Removed::holdingOver);
    EXPECT_NEAR(secondsUntilRemoval(ac, 600), 121.5, 2.5); // the first look after two minutes, each 3 s
    EXPECT_EQ(removed(Removed::holdingOver), before + 1);
    EXPECT_EQ(ac.lat, at(0, 0, 0, 0, 0).lat);
}

TEST_F(Extension, MakesRoomForAnotherTaxiingAircraftInsteadOfWaiting) {
    for (const double meters : {43.0, 46.0}) { // 1.2 times two radii of 18.52 m
        reset();
        add("A320", {at(0, meters, 0, 0, 10), at(60, 0, 500, 0, 10)}, 0);
        add("A320", {at(0, 0, 0, 0, 10)}, 0);
        LiveAc& ac = engine.live[1];
        Removed why = Removed::other;
        EXPECT_EQ(lf_extendStream(ac, why), meters > 44.45) << meters;
        EXPECT_EQ(ac.holding, meters > 44.45);
    }
}

TEST_F(Extension, EndsWithAReportAheadAndNotWithOneBehind) {
    LiveAc& ac = add("A320", {at(0, 0, 0, 20000, 300)}, 0);
    ac.agl = 5000;
    tick(ac); // two points now: flying to the invented one
    for (const double north : {0, 3000}) {
        EXPECT_EQ(ac.extendCount, 8);
        EXPECT_EQ(checkExtendingSituations(ac, at(30, north, 300, 20000, 300)), north > 0);
    }
    EXPECT_TRUE(ac.extendCount == 0 && ac.dueLag == 3000 && ac.stream.front().dueTick == now() + 1);

    LiveAc& waiting = add("A320", {at(0, 0, 0, 0, 0)}, 0);
    waiting.holding = true;
    EXPECT_TRUE(checkExtendingSituations(waiting, at(30, -300, 0, 0, 10))); // on the ground any side will do
    EXPECT_FALSE(waiting.holding);
}

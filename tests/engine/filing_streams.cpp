// What becomes of a point: the filter of repeats, due ticks, stops, and what each state makes of it.

#include "life_fixture.h"

#include <limits>

namespace {

constexpr std::uint32_t hex = 4242424;

class Streams : public Life {
  protected:
    static StreamPoint onGround(double lat, double speed, std::int32_t dueTick) {
        StreamPoint p = report(hex, lat, 8, 0, speed).point;
        p.dueTick = dueTick;
        return p;
    }
    static LiveAc& taxiing() {
        LiveAc& ac = active(hex, 77, 50, 8, 0);
        ac.stream.front().speed = 10;
        ac.stream.front().dueTick = 5000;
        return ac;
    }
};

TEST_F(Streams, TellsARepeatedPositionFromAMove) {
    const struct {
        const char* what;
        double dLat, speed, lastSpeed;
        bool airborne, active, onGround, departing, rotor;
        bool passes, stationary;
        double speedAfter;
    } rows[] = {
        {"same, on the ground", 0, 3, 5, false, false, false, false, false, true, true, 0},
        {"same, in the air", 0, 3, 5, true, false, false, false, false, false, true, 3},
        {"same, flown aircraft", 0, 3, 5, false, true, false, false, false, false, true, 3},
        {"same, standing aircraft", 0, 3, 5, false, true, true, false, false, true, true, 0},
        {"same, departing at 30", 0, 3, 30, false, true, true, true, false, false, true, 3},
        {"same, departing at 29", 0, 3, 29, false, true, true, true, false, true, true, 0},
        {"same, helicopter in the air", 0, 3, 5, true, false, false, false, true, true, true, 3},
        {"noise at the limit", 0.00015, 3, 5, false, false, false, false, false, true, true, 0},
        {"beyond the limit", 0.000151, 3, 5, false, false, false, false, false, true, false, 3},
        {"noise in the air", 0.0001, 3, 5, true, false, false, false, false, false, false, 3},
        {"noise, departing at 50", 0.0001, 3, 50, false, true, true, true, false, false, false, 3},
        {"noise, departing at 49", 0.0001, 3, 49, false, true, true, true, false, true, true, 0},
        {"noise, speed 0, departing", 0.0001, 0, 60, false, true, true, true, false, true, true, 0},
        {"move, speed 0", 0.01, 0, 90, false, false, false, false, false, true, false, 0},
        {"move in the air, speed 0", 0.01, 0, 50, true, false, false, false, false, false, false, 0},
        {"move in the air, speed 0, slow", 0.01, 0, 49, true, false, false, false, false, true, false, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        LiveAc ac = lf_makeLiveAc(report(hex, 0, 8, 0, row.lastSpeed));
        ac.stream.front().dueTick = 4711;
        ac.category = row.rotor ? AcCategory::rotorcraft : AcCategory::large;
        ac.st = row.active ? SimState::active : SimState::buffer;
        ac.onGround = row.onGround;
        ac.departing = row.departing;
        StreamPoint p = onGround(row.dLat, row.speed, 5000);
        p.airborne = row.airborne;
        EXPECT_EQ(lf_checkRepeat(ac, p), row.passes);
        EXPECT_EQ(p.stationary, row.stationary);
        EXPECT_EQ(p.speed, row.speedAfter);
        const bool copied = row.passes && row.stationary && row.dLat != 0;
        EXPECT_EQ(p.dueTick, copied ? 4711 : 5000);
        EXPECT_EQ(p.lat, copied ? 0 : row.dLat);
    }
}

TEST_F(Streams, KeepsDueTicksRisingAlsoWhereTheCounterWraps) {
    constexpr std::int32_t top = std::numeric_limits<std::int32_t>::max();
    LiveAc& ac = lf_appendLive(lf_makeLiveAc(report(hex, 0, 8, 0, 10)));
    ac.stream.front().dueTick = 6000;
    decodeExisting(ac, onGround(0.0001, 10, 7000)); // noise takes no time
    EXPECT_EQ(ac.stream.back().dueTick, 6001);
    decodeExisting(ac, onGround(0.1, 10, 6001));
    EXPECT_EQ(ac.stream.back().dueTick, 6002);
    decodeExisting(ac, onGround(0.2, 10, 6900));
    EXPECT_EQ(ac.stream.back().dueTick, 6900);
    ac.stream.back().dueTick = top;
    decodeExisting(ac, onGround(0.3, 10, top));
    EXPECT_EQ(ac.stream.back().dueTick, std::numeric_limits<std::int32_t>::min());
    decodeExisting(ac, onGround(0.4, 10, std::numeric_limits<std::int32_t>::min() + 300));
    EXPECT_EQ(ac.stream.back().dueTick, std::numeric_limits<std::int32_t>::min() + 300);
}

TEST_F(Streams, AStandingAircraftKeepsTwoPoints) {
    LiveAc& ac = taxiing();
    ac.stream.front().stationary = true;
    for (int i = 0; i < 30; ++i) decodeExisting(ac, onGround(50, 0, 6000 + 300 * i));
    EXPECT_EQ(ac.stream.size(), 2u);
    EXPECT_EQ(ac.stream.front().dueTick,
              1001); // the wait ends with the feed's next move, not half a minute later
    EXPECT_EQ(ac.stream.front().speed, 0);
}

TEST_F(Streams, ThePointAfterTwoHundredAsksForRemovalAndIsFiled) {
    LiveAc& ac = taxiing();
    for (int i = 1; i < 200; ++i) ac.stream.pushBack(onGround(50 + i * 0.01, 10, 5000 + 100 * i));
    ASSERT_EQ(ac.stream.size(), 200u);
    ASSERT_EQ(removed(Removed::stuck), 0u);
    decodeExisting(ac, onGround(60, 10, 30000));
    EXPECT_EQ(ac.stream.size(), 201u);
    EXPECT_EQ(ac.st, SimState::removingFromSim);
    EXPECT_EQ(removed(Removed::stuck), 1u);
}

TEST_F(Streams, AHoldingAircraftGoesWhenTheFeedShowsItElsewhere) {
    LiveAc& ac = taxiing();
    ac.holdStart = 500;
    for (const double meters : {249, 251}) {
        ac.holding = true;
        decodeExisting(ac,
                       onGround(50 + meters / metersPerNm / 60, 10, 6000 + 10 * static_cast<int>(meters)));
        EXPECT_EQ(ac.stream.size(), 2u);
        EXPECT_EQ(removed(Removed::holdingOver), meters > 250 ? 1u : 0u);
    }
    EXPECT_TRUE(!ac.holding && ac.holdStart == 0 && ac.st == SimState::removingFromSim);
}

TEST_F(Streams, LearnsTheSideOfAPushBackWhileItIsStraight) {
    const struct {
        int pushCounter;
        bool straightOnly, headingValid;
        double heading, track; // radians, degrees
        bool known, right;
    } rows[] = {{2, false, true, 0.5, 0, true, true},    {2, false, true, 6.0, 90, true, false},
                {2, false, false, 0, 90, true, true},    {2, false, false, 0, 270, true, false},
                {2, false, false, 0.5, 0, false, false}, {1, false, true, 0.5, 0, false, false},
                {2, true, true, 0.5, 0, false, false}};
    for (const auto& row : rows) {
        fresh();
        LiveAc& ac = taxiing();
        ac.fs = FlightState::pushingBack;
        ac.pushCounter = row.pushCounter;
        STRAIGHT_PBS_ONLY.value = row.straightOnly;
        StreamPoint p = onGround(50.1, 3, 6000);
        p.headingValid = row.headingValid;
        p.heading = row.heading;
        p.track = row.track;
        decodeExisting(ac, p);
        EXPECT_EQ(ac.pushTurnKnown, row.known) << row.heading << " " << row.track;
        EXPECT_EQ(ac.pushTurnRight, row.right) << row.heading << " " << row.track;
        EXPECT_EQ(ac.stream.size(), 1u);
    }
}

TEST_F(Streams, AfterAPushBackItWaitsUntilTheFeedHasMovedOn) {
    LiveAc& ac = taxiing();
    ac.fs = FlightState::pushedBack;
    ac.pushRefDist = 900;
    ac.standId = 7;
    ac.extendCount = 1;
    const auto at = [&](double radii) { return onGround(50 + radii * ac.radiusNm / 60, 5, 6000); };
    decodeExisting(ac, at(3)); // beyond 2.75 radii, but nearer than the last
    EXPECT_EQ(ac.fs, FlightState::pushedBack);
    EXPECT_TRUE(ac.holding);
    EXPECT_EQ(ac.holdStart, 1000);
    decodeExisting(ac, at(2.7));
    EXPECT_EQ(ac.stream.size(), 1u);
    EXPECT_NEAR(ac.pushRefDist, 2.7 * ac.radiusNm, 1e-6);
    decodeExisting(ac, at(2.8));
    EXPECT_EQ(ac.fs, FlightState::taxi);
    EXPECT_EQ(ac.stream.size(), 2u);
    EXPECT_EQ(ac.stream.front().dueTick, 1001);
    EXPECT_EQ(ac.standId, 0u);
    EXPECT_FALSE(ac.holding);
    EXPECT_EQ(ac.extendCount, 0);

    ac.fs = FlightState::pushedBack;
    ac.pushRefDist = 900;
    decodeExisting(ac, at(6.1));
    EXPECT_EQ(ac.fs, FlightState::taxi);
}

TEST_F(Streams, StartsTheTakeOffRollFromWhatTheFeedShows) {
    const struct {
        const char* what;
        double lastSpeed, speed, alt;
        bool landingRoll, departing, expected;
    } rows[] = {{"fast twice", 43, 43, 0, false, false, true},
                {"fast once", 42, 60, 0, false, false, false},
                {"airborne", 30, 60, 200, false, false, true},
                {"rolling out", 90, 80, 0, true, false, false}};
    for (const auto& row : rows) {
        fresh();
        LiveAc& ac = taxiing();
        ac.stream.front().speed = row.lastSpeed;
        ac.landingRoll = row.landingRoll;
        StreamPoint p = onGround(50.01, row.speed, 6000);
        p.alt = row.alt;
        p.airborne = row.alt > 0;
        decodeExisting(ac, p);
        EXPECT_EQ(ac.departing, row.expected) << row.what;
        EXPECT_EQ(ac.stream.size(), 2u) << row.what;
    }
}

TEST_F(Streams, DropsPointsOfAParkedAircraftThatIsBeingCreated) {
    for (const SimState st : {SimState::buffer, SimState::adding2sim}) {
        fresh();
        LiveAc& ac = taxiing();
        ac.fs = FlightState::parked;
        ac.st = st;
        decodeExisting(ac, onGround(50.01, 5, 6000));
        EXPECT_EQ(ac.stream.size(), 1u);
    }
}

} // namespace

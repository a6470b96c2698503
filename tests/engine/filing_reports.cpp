// What becomes of a report: which are dropped, which find their aircraft, which make a new one.

#include "life_fixture.h"

#include <fmt/format.h>

namespace {

constexpr std::uint32_t hex = 4242424;

class Filing : public Life {
  protected:
    // Files a second report behind a first one and tells whether it was stored.
    bool stores(TrafficRecord first, TrafficRecord second, int extendCount = 0) {
        fresh();
        first.timestamp = 1000;
        second.timestamp += 1000;
        lf_fileFeedRecord(first);
        only().extendCount = extendCount;
        lf_fileFeedRecord(second);
        const bool stored = only().stream.size() == 2;
        EXPECT_EQ(only().lastFeedTime, stored ? second.timestamp : 1000);
        return stored;
    }
    static TrafficRecord later(double dt, double alt, double speed, double track = 90) {
        TrafficRecord r = report(hex, 50.1, 8, alt, speed);
        r.timestamp = dt;
        r.point.track = track;
        return r;
    }
};

TEST_F(Filing, KeepsAReportThatIsMoreThanASecondBehindTheLast) {
    const std::pair<double, bool> rows[] = {
        {0, false}, {0.9, false}, {1.0, false}, {1.01, true}, {-5, false}};
    for (const auto& [dt, stored] : rows)
        EXPECT_EQ(stores(report(hex, 50, 8, 5000, 200), later(dt, 5000, 200)), stored) << dt;
}

TEST_F(Filing, DropsSpeedsThatNoAircraftTakesBetweenTwoReports) {
    const struct {
        double last, now;
        bool stored;
    } rows[] = {{4, 79, true},   {4, 80, false},   {79, 4, true},    {80, 4, false},
                {30, 299, true}, {30, 300, false}, {30, 400, false}, {59, 6, true},
                {60, 6, false},  {5, 79, true},    {0, 0, true}};
    for (const auto& row : rows)
        EXPECT_EQ(stores(report(hex, 50, 8, 0, row.last), later(20, 0, row.now)), row.stored)
            << row.last << " then " << row.now;
}

TEST_F(Filing, DropsReportsThatOnlyConfirmTheStraightWayAhead) {
    // 450 m take 3.645 s at 240 knots; 20 m take 1.944 s at 20 knots and never more than 15 s.
    const struct {
        double alt, speed, track, dt;
        int extendCount;
        bool stored;
    } rows[] = {{5000, 240, 0.4, 3.64, 0, false}, {5000, 240, 0.4, 3.65, 0, true},
                {5000, 240, 1.1, 3.64, 0, true},  {5000, 240, 359.6, 3.64, 0, false},
                {5000, 120, 0.4, 3.64, 0, true},  {5000, 240, 0.4, 3.64, 1, true},
                {0, 20, 2, 1.94, 0, false},       {0, 20, 2, 1.95, 0, true},
                {0, 20, 2.2, 1.94, 0, true},      {0, 31, 2, 1.1, 0, true},
                {0, 0, 0, 15, 0, false},          {0, 0, 0, 15.1, 0, true},
                {0, 1, 0, 15, 0, false},          {0, 1, 0, 15.1, 0, true}};
    for (const auto& row : rows) {
        TrafficRecord first = report(hex, 50, 8, row.alt, row.speed);
        first.point.track = 0;
        TrafficRecord second = later(row.dt, row.alt, row.speed, row.track);
        EXPECT_EQ(stores(first, second, row.extendCount), row.stored)
            << row.alt << " ft, " << row.speed << " kt, " << row.track << " deg, " << row.dt << " s";
    }
}

TEST_F(Filing, TakesNoReportsWhileAnObjectIsOnItsWayOut) {
    for (const SimState st : {SimState::liveryRespawn, SimState::removingFromSim}) {
        fresh();
        LiveAc& ac = active(hex, 77, 50, 8);
        ac.st = st;
        TrafficRecord r = later(100, 5000, 200);
        r.timestamp = 1e9;
        lf_fileFeedRecord(r);
        EXPECT_EQ(only().stream.size(), 1u);
        EXPECT_EQ(only().lastFeedTime, 0);
    }
}

TEST_F(Filing, TakesTwoReportsATickInTheOrderOfTheFeed) {
    {
        const LockGuard held(trafficLock);
        for (std::uint32_t i = 0; i < 5; ++i)
            feedQueue.records.push_back(report(20000 + i, 50, 8, 5000, 200));
    }
    for (const std::size_t taken : {2, 4, 5, 5}) {
        lf_fileFeedRecords();
        EXPECT_EQ(engine.live.size(), taken);
    }
    for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(engine.live[i].hexid, 20000 + i);
    EXPECT_EQ(engineCounters.seen, 5u);
}

TEST_F(Filing, MakesARecordWithTheFiguresOfItsCategory) {
    TrafficRecord heavy = report(hex, 50, 8, 5000, 200);
    heavy.acType = "B744";
    heavy.timestamp = 123;
    lf_fileFeedRecord(heavy);
    const LiveAc& ac = only();
    EXPECT_EQ(ac.category, AcCategory::heavy);
    const double spread = ac.rotatePitch * radToDeg / -5;
    EXPECT_TRUE(std::abs(spread - 1.025) < 1e-12 || std::abs(spread - 0.975) < 1e-12) << spread;
    EXPECT_NEAR(ac.groundTurnRate * radToDeg, 0.05, 1e-12);
    EXPECT_EQ(ac.liftoffTicks, 400);
    EXPECT_EQ(ac.towSpeed, 3);
    EXPECT_EQ(ac.radiusNm, 0.01);
    EXPECT_EQ(ac.firstCallsign, ac.callsign);
    EXPECT_EQ(ac.lastFeedTime, 123);
    EXPECT_FALSE(ac.curve.inForce());
}

TEST_F(Filing, MakesNewAircraftOnlyOfWantedCategoriesAwayFromTheField) {
    airports.park = {{"EDDF", "FRA", 50, 8.5, 364}, true};
    const struct {
        const char* type;
        double alt;
        bool made, madeWithAll;
        NotSpawned why;
    } rows[] = {{"A320", 5000, true, true, {}},
                {"A320", 484, false, false, NotSpawned::nearGround},
                {"A320", 485, true, true, {}},
                {"A320", 244, false, false, NotSpawned::nearGround},
                {"A320", 0, true, true, {}},
                {"C172", 5000, false, true, NotSpawned::category},
                {"F16", 5000, false, true, NotSpawned::category},
                {"R44", 5000, false, true, NotSpawned::category},
                {"XXXX", 5000, false, false, NotSpawned::unknownType}};
    for (const bool all : {false, true})
        for (const auto& row : rows) {
            SCOPED_TRACE(fmt::format("{} at {} ft", row.type, row.alt));
            for (auto* category : {&LIGHT_AIRCRAFT, &HIGH_PERF_AIRCRAFT, &HELICOPTERS}) category->value = all;
            fresh();
            engineCounters = {};
            TrafficRecord r = report(hex, 50, 8, row.alt, 200);
            r.acType = row.type;
            lf_fileFeedRecord(r);
            const bool made = all ? row.madeWithAll : row.made;
            EXPECT_EQ(engine.live.size(), made ? 1u : 0u);
            EXPECT_TRUE(made || notSpawned(row.why) == 1);
        }
}

TEST_F(Filing, TakesAnUnknownTypeFromTheRegistrationAndAFlightOnlyOnce) {
    refData.dbaseRegcodes.insert("G-BNLY", "BAW", "B744", "", false);
    TrafficRecord r = report(hex, 50, 8, 5000, 200);
    r.acType = "";
    r.regcode = "GBNLY";
    lf_fileFeedRecord(r);
    EXPECT_EQ(only().acType, "B744");

    TrafficRecord same = report(hex + 1, 50, 8, 5000, 200);
    same.acType = "B744";
    same.callsign = only().callsign;
    lf_fileFeedRecord(same);
    EXPECT_EQ(only().hexid, hex);
    same.acType = "A320"; // another aircraft under the same name
    lf_fileFeedRecord(same);
    EXPECT_EQ(engine.live.size(), 2u);
}

} // namespace

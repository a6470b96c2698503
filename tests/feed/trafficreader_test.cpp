// The tests that a traffic line must pass, one row per rule and limit.

#include "comma_locale.h"
#include "feed_fixture.h"

#include "app/geo.h"

#include <cmath>
#include <cstdint>
#include <sstream>

TEST_F(FeedTest, FillsTheRecordOfAFullLine) {
    appLife.tickCount = 700;
    trafficReader.takeDatagram(feedLine());
    const auto records = takeRecords();
    ASSERT_EQ(records.size(), 1u);
    const TrafficRecord& r = records[0];
    EXPECT_EQ(r.hexid, 3958272u);
    EXPECT_EQ(r.timestamp, 1700000000.5);
    EXPECT_EQ(r.acType + '/' + r.callsign + '/' + r.regcode + '/' + r.origin + '/' + r.destination,
              "A320/DLH1A/D-AIZA/FRA/BCN");
    EXPECT_EQ(r.airline + r.firstCallsign + r.coupledCallsign, "");
    using Numbers = std::vector<double>;
    EXPECT_EQ((Numbers{r.point.lat, r.point.lon, r.point.alt, r.point.vs, r.point.track, r.point.speed,
                       r.point.tas}),
              (Numbers{50.1, 8.1, 5000, -640, 91.5, 250, 270}));
    EXPECT_DOUBLE_EQ(r.point.heading, pi / 2);
    EXPECT_DOUBLE_EQ(r.point.bank, -5 * pi / 180);
    EXPECT_TRUE(r.point.bankValid && r.point.headingValid && r.point.trueHeadingSource && r.point.airborne);
    EXPECT_FALSE(r.point.stationary);
    EXPECT_EQ(r.point.dueTick, 3700);
    EXPECT_EQ(trafficReader.latestFeedTime, 1700000000.5);
}

// Lines between bars, each by its changes to a good one: "index=text" between semicolons.
static std::vector<Changes> changedLines(const std::string& text) {
    std::vector<Changes> result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line, '|');) {
        result.emplace_back();
        std::istringstream changes(line);
        for (std::string change; std::getline(changes, change, ';');)
            result.back()[std::stoul(change)] = change.substr(change.find('=') + 1);
    }
    return result;
}

TEST_F(FeedTest, DropsALineForTheFirstRuleThatItBreaks) {
    const std::pair<Drop, const char*> rows[] = {
        {Drop::timestamp, "14=|14=nan|14=1e999|14= 1700000000|14=+1700000000"},
        {Drop::position, "2=91|2=-90.0001|3=180.1|2=inf|3=|3=x8.1"},
        {Drop::range, "2=52"},
        {Drop::registration, "11=1234567890123"},
        {Drop::type, "10=null|10=0|10=ZZZZ|10=|10=A320N|10=GND|10=GLID|28=B1|28=B2|28=B4|28=C1|28=C2"},
        {Drop::type, "10=null;28=null"}, // an empty type needs no category to be dropped
        {Drop::heading, "25=360.1|25=none"},
        {Drop::hexid, "1=10000|1=4294967296|1=-20000|1=A0B1C2"},
        {Drop::speed, "8="},
        {Drop::altitude, "4="},
        {Drop::vehicle, "9=FIRE VEH 3"},
        {Drop::callsign, "9=ERARMTR0|9=AIRPORT1"},
        {Drop::anonymous, "9=null;11=null|9=@@@@;11=null"},
        {Drop::groundElsewhere, "4=0|4=30000;8=35"},
        {Drop::track, "7=x"},
        {Drop::verticalSpeed, "5=null"},
        {Drop::roll, "23="},
        {Drop::airspeed, "20=null"},
    };
    for (const auto& [reason, lines] : rows)
        for (const Changes& changes : changedLines(lines)) {
            const std::uint64_t before = droppedFor(reason);
            trafficReader.takeDatagram(feedLine(changes));
            EXPECT_EQ(droppedFor(reason), before + 1) << feedLine(changes);
        }
    EXPECT_EQ(trafficReader.kept + takeRecords().size(), 0u);
    const auto kept = changedLines(
        "14=1700000000.5 and more|2=50.1N|11=123456789012|28=B3|28=C3|10=GLID;28=null|10=GLI|25=360|"
        "25=-1|1=10001|1=4294967295|1=20000.7|9=AIRPORT12|9=XVEH|9=@@@@|11=null|4=30000;8=35.1|7=|"
        "10=A320N;28=|"    // without a category no further test
        "17=mlat;25=none|" // the heading is not read then
        "4=100;8=60");     // without a park airport low is not on the ground
    for (const Changes& changes : kept) {
        trafficReader.takeDatagram(feedLine(changes));
        EXPECT_EQ(takeRecords().size(), 1u) << feedLine(changes);
    }
    EXPECT_EQ(trafficReader.kept, kept.size());
}

TEST_F(FeedTest, MovesTheFeedTimeEvenForALineThatItDrops) {
    trafficReader.takeDatagram(feedLine({{14, "1700000111"}, {2, "91"}}));
    EXPECT_EQ(trafficReader.latestFeedTime, 1700000111);
    trafficReader.takeDatagram(feedLine({{14, "1700000222"}}, 28)); // too few fields to mean anything
    trafficReader.takeDatagram(feedLine({{14, "never"}}));
    EXPECT_EQ(trafficReader.latestFeedTime, 1700000111);
    EXPECT_TRUE(takeRecords().empty());
}

TEST_F(FeedTest, CountsAndDropsLinesWithTooFewFields) {
    trafficReader.takeDatagram(feedLine({}, 29));
    EXPECT_EQ(trafficReader.kept, 1u);
    const std::string shorts[] = {
        feedLine({}, 28), feedLine({}, 9), "RTTFC", ",", std::string(27, ','), "\n"};
    for (const std::string& line : shorts) trafficReader.takeDatagram(line);
    EXPECT_EQ(droppedFor(Drop::fields), std::size(shorts));
    for (const std::size_t commas : {28u, 16383u}) // enough of them, all empty
        trafficReader.takeDatagram(std::string(commas, ','));
    EXPECT_EQ(droppedFor(Drop::timestamp), 2u);
}

// Fields of every length, so that each place of a comma within the eight characters looked at together comes by.
TEST_F(FeedTest, FindsTheFieldsWhereverTheirCommasLie) {
    for (std::size_t shift = 0; shift < 17; ++shift) {
        trafficReader.takeDatagram(
            feedLine({{0, std::string(shift, 'R')}, {13, std::string(shift, '\x2d')}}));
        const auto records = takeRecords();
        ASSERT_EQ(records.size(), 1u) << shift;
        EXPECT_EQ(records[0].destination, std::string(shift, '-'));
        EXPECT_EQ(records[0].callsign, "DLH1A");
    }
}

TEST_F(FeedTest, TakesTheNoPositionBoxForNoPosition) {
    trafficReader.userPosition.store({0.0, 0.0});
    const struct {
        const char *lat, *lon;
        bool kept;
    } rows[] = {{"0.0005", "0.01", false}, {"-0.0005", "0.01", true}, {"0", "0", false},
                {"0.0009", "0.05", false}, {"0.00091", "0.05", true}, {"0.0009", "0.0501", true},
                {"-0.0", "-0.0", false},   {"0.0005", "-0.01", true}};
    for (const auto& row : rows) {
        trafficReader.takeDatagram(feedLine({{2, row.lat}, {3, row.lon}}));
        EXPECT_EQ(takeRecords().size(), row.kept ? 1u : 0u) << row.lat << " " << row.lon;
    }
}

TEST_F(FeedTest, KeepsALineExactlyAtTheRange) {
    const double distance = gf_distanceNm(userLat, userLon, 50.1, 8.1);
    app.rangeNm = distance;
    trafficReader.takeDatagram(feedLine());
    EXPECT_EQ(takeRecords().size(), 1u);
    app.rangeNm = std::nextafter(distance, 0);
    trafficReader.takeDatagram(feedLine());
    EXPECT_EQ(takeRecords().size(), 0u);
    EXPECT_EQ(droppedFor(Drop::range), 1u);
}

TEST_F(FeedTest, DecidesWhoIsOnTheGround) {
    struct GroundRow {
        int elevation, altitude;
        const char* speed;
        bool airborne;
    };
    const GroundRow rows[] = {
        {1000, 1045, "120", false},  {1000, 1045, "121", true},   {1000, 1046, "120", true},
        {1000, 1090, "80", false},   {1000, 1090, "81", true},    {1000, 1091, "80", true},
        {1000, 1120, "43", false},   {1000, 1120, "44", true},    {1000, 1121, "43", true},
        {1000, 1060, "100", true},   {1000, 1060, "79", false},   {1000, 1000, "400", false},
        {1000, 900, "400", false},   {1000, 1001, "400", true},   {1000, 30000, "35", false},
        {1000, 30000, "35.5", true}, {13990, 13999, "60", false}, {13990, 14000, "60", true},
        {-11, -5, "400", false},     {-11, 0, "400", false},      {-11, 3, "120", false},
        {-11, 200, "120", true}};
    for (const auto& [elevation, altitude, speed, airborne] : rows) {
        SCOPED_TRACE(std::to_string(altitude) + " " + speed);
        trafficReader.parkAirport.store({userLat, userLon, static_cast<double>(elevation), true});
        trafficReader.takeDatagram(
            feedLine({{2, "50.01"}, {3, "8"}, {4, std::to_string(altitude)}, {8, speed}}));
        const auto records = takeRecords();
        ASSERT_EQ(records.size(), 1u);
        const StreamPoint& point = records[0].point;
        EXPECT_TRUE(point.airborne == airborne && point.bankValid == airborne);
        EXPECT_EQ(point.alt, airborne ? altitude : 0);
        EXPECT_TRUE(airborne || point.bank == 0);
    }
    // On the ground the roll is not read; beyond five miles of the park airport there is no ground.
    trafficReader.takeDatagram(feedLine({{2, "50.01"}, {3, "8"}, {4, "0"}, {23, "?"}}));
    EXPECT_EQ(takeRecords().size(), 1u);
    for (const char* const lat : {"50.0833", "50.0834"})
        trafficReader.takeDatagram(feedLine({{2, lat}, {3, "8"}, {4, "0"}}));
    EXPECT_EQ(takeRecords().size(), 1u);
    EXPECT_EQ(droppedFor(Drop::groundElsewhere), 1u);
}

TEST_F(FeedTest, TellsANorthHeadingAMissingOneAndAnUnknownRollApart) {
    const auto pointOf = [](const Changes& changes) {
        trafficReader.takeDatagram(feedLine(changes));
        auto records = takeRecords();
        EXPECT_EQ(records.size(), 1u);
        return records.empty() ? StreamPoint() : records[0].point;
    };
    EXPECT_EQ(pointOf({{25, "0"}}).heading, 6.283185307179586);
    EXPECT_TRUE(pointOf({{25, "-0.0"}}).headingValid);
    EXPECT_FALSE(pointOf({{25, "-0.1"}}).headingValid);
    EXPECT_EQ(pointOf({{25, "-0.1"}}).heading, 0);
    EXPECT_FALSE(pointOf({{17, "mlat"}, {25, "90"}}).trueHeadingSource);
    // A track of 0 or none is the heading where there is one.
    EXPECT_EQ(pointOf({{7, "0"}}).track, 90);
    EXPECT_EQ(pointOf({{7, ""}}).track, 90);
    EXPECT_EQ(pointOf({{7, ""}, {25, "0"}}).track, 360);
    EXPECT_EQ(pointOf({{7, "0"}, {25, "-1"}}).track, 0);
    EXPECT_FALSE(pointOf({{23, "-1"}}).bankValid);
    EXPECT_EQ(pointOf({{23, "-1"}}).bank, -1);
    EXPECT_FALSE(pointOf({{23, "0"}}).bankValid);
    EXPECT_TRUE(pointOf({{23, "-1.1"}}).bankValid);
    EXPECT_GT(pointOf({{23, "-1.1"}}).bank, 0);
    const std::pair<const char*, double> airspeeds[] = {{"2000", 180},  {"2001", 220},  {"5000", 220},
                                                        {"10000", 250}, {"10001", 350}, {"20000", 350},
                                                        {"20001", 430}};
    for (const auto& [altitude, expected] : airspeeds)
        EXPECT_EQ(pointOf({{4, altitude}, {20, "-1"}}).tas, expected);
}

TEST_F(FeedTest, CollectsCallsignsOnlyWhileAsked) {
    const auto seen = [] {
        const LockGuard guard(trafficLock);
        return trafficReader.seenCallsigns;
    };
    trafficReader.takeDatagram(feedLine({{9, "EARLY1"}}));
    trafficReader.collectCallsigns.set();
    for (const char* const callsign : {"BAW1", "null", "", "A@B", "BAW1"})
        trafficReader.takeDatagram(feedLine({{9, callsign}}));
    trafficReader.takeDatagram(feedLine({{9, "BAW2"}, {10, "null"}})); // before the test of the type
    trafficReader.takeDatagram(feedLine({{9, "FAR1"}, {2, "60"}}));
    EXPECT_EQ(seen(), (std::set<std::string>{"BAW1", "BAW2"}));
    lf_resetReaders();
    EXPECT_TRUE(seen().empty());
}

TEST_F(FeedTest, LosesRecordsWhileTrafficIsOffOrTheQueueIsFull) {
    gf_enableTraffic(false);
    trafficReader.takeDatagram(feedLine());
    EXPECT_EQ(droppedFor(Drop::notEnabled), 1u);
    EXPECT_EQ(trafficReader.latestFeedTime, 1700000000.5);
    gf_enableTraffic(true);
    const std::string line = feedLine();
    for (std::size_t i = 0; i < feedQueueLimit + 3; ++i) trafficReader.takeDatagram(line);
    EXPECT_EQ(droppedFor(Drop::queueFull), 3u);
    std::vector<TrafficRecord> out;
    EXPECT_EQ(gf_takeFeedRecords(out, 2), 2u); // the oldest first, and no more than asked for
    EXPECT_EQ(out.size(), 2u);
    trafficReader.takeDatagram(line);
    EXPECT_EQ(droppedFor(Drop::queueFull), 3u);
    lf_resetReaders();
    EXPECT_EQ(gf_takeFeedRecords(out, 1), 0u);
}

TEST_F(FeedTest, WrapsTheDueTickAtTheEndOfTheCounter) {
    appLife.tickCount = INT32_MAX - 10;
    trafficReader.takeDatagram(feedLine());
    const auto records = takeRecords();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].point.dueTick, INT32_MIN + 2989);
}

TEST_F(FeedTest, ReadsNumbersWithPointsUnderACommaLocale) {
    const test::CommaLocale locale;
    if (!locale.ok()) GTEST_SKIP() << "no comma locale can be made here";
    trafficReader.takeDatagram(feedLine());
    const auto records = takeRecords();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].point.lat, 50.1);
    EXPECT_EQ(records[0].timestamp, 1700000000.5);
    EXPECT_EQ(gf_positionLine({50, 8, 0, 0, 1.5, 1000, 100}),
              "Qs121=0;0;1.500000;1e+06;100000;0.872665;0.139626\r\n");
    qnhReader.takeDatagram(R"({"QNH":1005.4})");
    EXPECT_EQ(qnhReader.currentQnh, 1005);
}

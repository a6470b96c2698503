// Generated traffic: the same for the same seed, and flown as aircraft fly.

#include "feed/generator.h"

#include "app/geo.h"
#include "feed/feed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

using namespace rig;

static GeneratorOptions optionsFor(const std::string& airport, std::uint32_t seed) {
    GeneratorOptions options;
    options.airport = airport;
    options.seed = seed;
    options.flights = 60;
    options.minutes = 20;
    return options;
}

static std::string joined(const GeneratedTraffic& traffic) {
    std::string text;
    for (const TimedLine& line : traffic.lines) text += std::to_string(line.time) + ' ' + line.line + '\n';
    return text;
}

TEST(Generator, MakesTheSameTrafficForTheSameSeedAndOtherTrafficForAnother) {
    const std::string first = joined(generateTraffic(optionsFor("EDDF", 7)));
    EXPECT_EQ(first, joined(generateTraffic(optionsFor("EDDF", 7))));
    EXPECT_NE(first, joined(generateTraffic(optionsFor("EDDF", 8))));
    EXPECT_GT(first.size(), 100'000u);
}

// A second never takes an aircraft farther than its speed says, and none turns, climbs or brakes like a rocket.
TEST(Generator, FliesTracksWithoutJumps) {
    for (const char* const code : {"EDDF", "KJFK", "YSSY"}) {
        const GeneratedTraffic traffic = generateTraffic(optionsFor(code, 3));
        ASSERT_GE(traffic.truth.size(), 60u);
        for (const auto& [hexid, track] : traffic.truth) {
            for (std::size_t i = 1; i < track.size(); ++i) {
                const TrueFix &a = track[i - 1], &b = track[i];
                SCOPED_TRACE(testing::Message()
                             << code << " " << hexid << " second " << i << " of " << track.size() << " speed "
                             << b.speedKt << " ground " << b.onGround);
                ASSERT_NEAR(b.time - a.time, 1, 1e-6);
                const double moved = gf_distanceNm(a.lat, a.lon, b.lat, b.lon) * metersPerNm;
                const double expected = (a.speedKt + b.speedKt) / 2 * metersPerNm / 3600;
                ASSERT_NEAR(moved, expected, 1.5);
                ASSERT_LE(std::fabs(b.speedKt - a.speedKt), 5);
                ASSERT_LE(std::fabs(b.altFt - a.altFt), 4500 / 60.0);
                const double turn =
                    std::fabs(gf_headingDiff(a.heading * degToRad, b.heading * degToRad)) * radToDeg;
                ASSERT_LE(turn, 9);
                if (!a.onGround && !b.onGround) {
                    ASSERT_LE(turn, 4);
                }
            }
        }
    }
}

TEST(Generator, LandsOnTheCentreLineAndTakesOffFromTheRunway) {
    const KnownAirport& airport = *findKnownAirport("EDDF");
    const double course = airport.runwayBearing * degToRad;
    const auto acrossMeters = [&](const TrueFix& fix) {
        const double far = gf_distanceNm(airport.thresholdLat, airport.thresholdLon, fix.lat, fix.lon);
        const double bearing = gf_bearing(airport.thresholdLat, airport.thresholdLon, fix.lat, fix.lon);
        return std::fabs(far * metersPerNm * std::sin(gf_headingDiff(course, bearing)));
    };
    int landings = 0, takeOffs = 0;
    const GeneratedTraffic traffic = generateTraffic(optionsFor("EDDF", 11));
    for (const auto& [hexid, track] : traffic.truth) {
        for (std::size_t i = 1; i < track.size(); ++i) {
            if (track[i - 1].onGround == track[i].onGround) continue;
            const bool landing = track[i].onGround;
            (landing ? landings : takeOffs) += 1;
            EXPECT_LT(acrossMeters(track[i]), 10) << hexid;
            EXPECT_LT(std::fabs(gf_headingDiff(course, track[i].heading * degToRad)), 0.02) << hexid;
            const TrueFix& before = track[i > 1 ? i - 2 : 0]; // the last second that is wholly in the air
            const double sink = (before.altFt - track[i - 1].altFt) * 60;
            EXPECT_TRUE(!landing || (sink > 30 && sink < 600)) << hexid << " sinks " << sink << " ft/min";
            if (landing && i > 100) { // a minute and more before, on the glide path
                EXPECT_LT(acrossMeters(track[i - 60]), 15) << hexid;
                EXPECT_GT(track[i - 60].altFt, airport.elevationFt + 300) << hexid;
            }
        }
    }
    EXPECT_GE(landings, 5);
    EXPECT_GE(takeOffs, 5);
}

TEST(Generator, HoldsEveryKindOfTrafficAndEachNameOnce) {
    GeneratorOptions options = optionsFor("EGLL", 5);
    options.flights = 150;
    const GeneratedTraffic traffic = generateTraffic(options);
    std::set<std::string> types, categories;
    std::map<std::string, std::set<std::string>> addressesByRegistration;
    int ghosts = 0, shortLines = 0, bursts = 0;
    double time = 0;
    int together = 0;
    for (const TimedLine& entry : traffic.lines) {
        ASSERT_GE(entry.time, time);
        together = entry.time == time ? together + 1 : 0;
        if (together == 100) ++bursts;
        time = entry.time;
        std::vector<std::string> fields{""};
        for (const char c : entry.line)
            if (c == ',')
                fields.emplace_back();
            else
                fields.back() += c;
        if (fields.size() < 29) {
            ++shortLines;
            continue;
        }
        if (fields[2] == "nan") continue;
        types.insert(fields[10]);
        categories.insert(fields[28]);
        if (!fields[9].empty() && fields[9].back() == '_')
            ++ghosts;
        else if (fields[11] != "null")
            addressesByRegistration[fields[11]].insert(fields[1]);
    }
    for (const char* const type : {"A320", "B738", "B77L", "C172", "EC35", "GRND", "null"})
        EXPECT_TRUE(types.count(type)) << type;
    EXPECT_TRUE(categories.count("A7"));
    EXPECT_GT(ghosts, 100);
    EXPECT_GT(shortLines, 100);
    EXPECT_GT(bursts, 0);
    for (const auto& [registration, addresses] : addressesByRegistration)
        EXPECT_EQ(addresses.size(), 1u) << registration;
}

TEST(Generator, TellsWhatIsWrongWithItsOptions) {
    EXPECT_THROW(generateTraffic(optionsFor("XXXX", 1)), std::runtime_error);
    GeneratorOptions nothing = optionsFor("EDDF", 1);
    nothing.flights = 0;
    EXPECT_THROW(generateTraffic(nothing), std::runtime_error);
    GeneratorOptions anywhere;
    anywhere.lat = -45;
    anywhere.lon = 170;
    anywhere.elevationFt = 400;
    EXPECT_GT(generateTraffic(anywhere).lines.size(), 1000u);
}

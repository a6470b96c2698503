// One more among those that already have their ways.

#include "feed/groundtraffic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace rig;

namespace {

constexpr double halfSpanM = 18, mps = 9;

GroundWay straightWay(const Spot& from, const Spot& to) { return layWay({{from, 0}, {to, mps}}, 40, true); }

double leastDistance(const GroundTrack& a, const GroundTrack& b) {
    double least = 1e9;
    for (const GroundFix& fix : a)
        for (const GroundFix& other : b)
            if (fix.second == other.second) least = std::min(least, metersBetween(fix.at, other.at));
    return least;
}

} // namespace

TEST(GroundWay, RoundsCornersAndIsDrivenAsSlowlyAsTheyAsk) {
    const GroundWay way = layWay({{{0, 0}, 0}, {{0, 500}, mps}, {{500, 500}, mps}}, 40, true);
    ASSERT_EQ(1u, way.turns.size());
    EXPECT_NEAR(1000 - 2 * 40 + 40 * pi / 2, way.length(), 1);
    EXPECT_NEAR(460 + 40 * pi / 4, way.turns.front(), 1);
    EXPECT_NEAR(std::sqrt(0.5 * 40), way.at(way.turns.front()).mostMps, 0.1);
    EXPECT_NEAR(pi / 4, way.at(way.turns.front()).course, 0.1);
    const GroundTrack track = driveWay(way, 7, 0, {});
    EXPECT_EQ(7, track.front().second);
    EXPECT_EQ(0, track.back().mps);
    EXPECT_LT(metersBetween(track.back().at, {500, 500}), 0.5);
    for (std::size_t i = 1; i < track.size(); ++i) {
        EXPECT_EQ(track[i - 1].second + 1, track[i].second);
        EXPECT_LE(std::fabs(track[i].mps - track[i - 1].mps), 1.01);
    }
}

TEST(GroundTraffic, LetsTheOtherOneCrossAndFollowsIt) {
    GroundTraffic traffic;
    // Somebody stands on the crossing until second 90 and then drives on, north.
    GroundTrack other;
    for (int second = 0; second < 90; ++second) other.push_back({second, {500, 0}, 0, 0, 0});
    const GroundTrack on = driveWay(straightWay({500, 0}, {500, 900}), 90, 0, {});
    other.insert(other.end(), on.begin(), on.end());
    traffic.addMoving(halfSpanM, other);

    const GroundWay across = straightWay({0, 0}, {1000, 0});
    const auto driven = traffic.drive(across, halfSpanM, 0, 0, {});
    ASSERT_TRUE(driven);
    EXPECT_GT(leastDistance(driven->track, other), 2 * halfSpanM);
    EXPECT_GT(driven->waitedS, 30);
    EXPECT_TRUE(std::any_of(driven->track.begin(), driven->track.end(), [](const GroundFix& fix) {
        return fix.second > 60 && fix.mps == 0 && fix.at.east < 500 - 2 * halfSpanM;
    }));
    const auto free = GroundTraffic().drive(across, halfSpanM, 0, 0, {});
    ASSERT_TRUE(free);
    EXPECT_LT(free->track.back().second + 30, driven->track.back().second);
    const auto paused = GroundTraffic().drive(across, halfSpanM, 0, 0, {{400, 50}});
    ASSERT_TRUE(paused);
    EXPECT_NEAR(free->track.back().second + 60, paused->track.back().second, 15);

    // Its own way is taken for ever by one that stands there.
    traffic.addStanding({800, 0}, halfSpanM, 0);
    EXPECT_FALSE(traffic.drive(across, halfSpanM, 0, 0, {}));
}

// Who may wait nowhere without being in the way of one that is planned already has no way.
TEST(GroundTraffic, FindsNoWayAgainstTheTraffic) {
    GroundTraffic traffic;
    const GroundTrack other = driveWay(straightWay({1000, 0}, {0, 0}), 0, mps, {});
    traffic.addMoving(halfSpanM, other);
    EXPECT_FALSE(traffic.drive(straightWay({0, 0}, {1000, 0}), halfSpanM, 0, 0, {}));
    const auto later = traffic.drive(straightWay({0, 200}, {1000, 200}), halfSpanM, 0, 0, {});
    EXPECT_TRUE(later) << "beside it there is room";
}

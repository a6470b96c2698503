// Weeks of visits, and the figures that a day is held against.

#include "learn/compare.h"
#include "learn/visitlines.h"

#include "files.h"
#include "liveries/refdata.h"

#include <fmt/format.h>

#include <gtest/gtest.h>

#include <map>

namespace rig {

static GroundPlan plan() { return readGroundPlan(sourceFolder() / "rig" / "airports", "KIAD"); }

TEST(Schedule, BringsMostFlightsBackEachWeekAndParksNobodyTwice) {
    const GroundPlan ground = plan();
    ScheduleWishes wishes;
    wishes.movements = 20;
    const Schedule schedule(ground, wishes), again(ground, wishes);
    ASSERT_GT(schedule.visits.size(), 3000u);
    ASSERT_EQ(schedule.visits.size(), again.visits.size());
    std::map<std::string, std::vector<const Visit*>> flights;
    std::vector<std::vector<std::pair<double, double>>> byStand(ground.stands.size());
    for (std::size_t i = 0; i < schedule.visits.size(); ++i) {
        const Visit& visit = schedule.visits[i];
        EXPECT_EQ(visit.who.callsign, again.visits[i].who.callsign);
        EXPECT_EQ(visit.stand, again.visits[i].stand);
        EXPECT_GE(ground.stands[visit.stand].radiusM, visit.who.by->spanM / 2);
        for (const auto& [from, to] : byStand[visit.stand])
            ASSERT_TRUE(visit.to <= from || to <= visit.from)
                << "two on stand " << ground.stands[visit.stand].id;
        byStand[visit.stand].emplace_back(visit.from, visit.to);
        flights[visit.who.callsign].push_back(&visit);
    }
    // Of those of the first week: how many come in the second, where, when and as what.
    double once = 0, same = 0, elsewhere = 0, otherType = 0, late = 0;
    constexpr double week = 7 * 86400;
    for (const auto& [callsign, all] : flights) {
        if (all.front()->landsAt > week - 7200 || all.front()->landsAt < 7200) continue;
        if (all.size() == 1) {
            ++once;
            continue;
        }
        ++(all[0]->stand == all[1]->stand ? same : elsewhere);
        otherType += all[0]->who.type != all[1]->who.type;
        late += std::pow(all[1]->landsAt - all[0]->landsAt - week, 2);
    }
    const double total = once + same + elsewhere, weekly = same + elsewhere;
    EXPECT_NEAR(once / total, 0.15, 0.03);
    EXPECT_NEAR(same / total, 0.68, 0.06) << "a stand is now and then still in use";
    EXPECT_NEAR(otherType / weekly, 0.19, 0.03) << "in one of the two weeks";
    EXPECT_NEAR(std::sqrt(late / weekly / 2) / 60, 20, 2);
}

TEST(Schedule, VisitsHaveLinesFromTheApproachToTheStandAndOff) {
    const GroundPlan ground = plan();
    ScheduleWishes wishes;
    Schedule schedule(ground, wishes);
    VisitLines lines(ground, *findKnownAirport("KIAD"), 1'699'833'600, 1);
    Visit visit = schedule.visits.at(100);
    std::vector<TimedLine> arriving, leaving;
    ASSERT_TRUE(lines.arrive(visit, arriving));
    EXPECT_NEAR(visit.from, visit.landsAt + 540, 360);
    ASSERT_TRUE(lines.leave(visit, leaving));
    EXPECT_NE(arriving.front().line.find("," + visit.who.callsign + ","), std::string::npos);
    EXPECT_NE(leaving.front().line.find("," + visit.leavesAs + ","), std::string::npos);
    EXPECT_LT(arriving.back().time, leaving.front().time);
    const PlanStand& stand = ground.stands[visit.stand];
    const std::string place = fmt::format("{:.3f},{:.3f}", stand.lat, stand.lon);
    EXPECT_NE(arriving.back().line.find(fmt::format(",{:.4f}", stand.lat).substr(0, 6)), std::string::npos)
        << place;
}

TEST(Agreement, CountsWhatIsTheSameAndGuessesAsManyAsAreWanted) {
    refData = RefData{};
    refData.wingspanByModel["A320"] = refData.wingspanByModel["B738"] = 17 / metersPerNm;
    refData.wingspanByModel["B744"] = 32 / metersPerNm;
    const Apron truth{{"DLH", "A320"}, {"DLH", "A320"}, {"DLH", "A320"}, {"DLH", "A320"}, {}, {}};
    const Apron shown{{"DLH", "A320"}, {"DLH", "B738"}, {"BAW", "B744"}, {}, {"DLH", "A320"}, {}};
    Agreement agreement;
    agreement.add(truth, shown);
    EXPECT_EQ(agreement.stands, 6u);
    EXPECT_EQ(agreement.sameState, 4u);
    EXPECT_EQ(agreement.standing, 4u);
    EXPECT_EQ(agreement.both, 3u);
    EXPECT_EQ(agreement.airlineAndType, 1u);
    EXPECT_EQ(agreement.airline, 2u);
    EXPECT_EQ(agreement.size, 2u);

    const GroundPlan ground = plan();
    Schedule schedule(ground, {});
    Dice dice(1);
    EXPECT_EQ(countOccupied(usualApron(ground, schedule.visits, 86400, 20)), 20u);
    EXPECT_NEAR(static_cast<double>(countOccupied(randomApron(ground, dice, 20))), 20, 4)
        << "not where none fits";
    Apron stood = trueApron(ground, schedule.visits, 40000, 41800);
    const Visit& first = *std::find_if(schedule.visits.begin(), schedule.visits.end(),
                                       [](const Visit& v) { return v.from < 40000 && v.to > 41800; });
    EXPECT_EQ(stood[first.stand].type, first.who.type);
    refData = RefData{};
}

} // namespace rig

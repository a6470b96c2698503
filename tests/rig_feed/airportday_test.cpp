// Days at the demonstration airport: nobody overlaps, everybody goes where the true events say, and the habits of real
// feeds are all there.

#include "feed/fleet.h"
#include "feed/generator.h"
#include "feed/groundplan.h"

#include "app/geo.h"
#include "app/textfiles.h"
#include "files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

using namespace rig;

static GeneratorOptions day(int movements, bool faults, std::uint32_t seed = 1) {
    GeneratorOptions options;
    options.airport = "KIAD";
    options.plans = sourceFolder() / "rig" / "airports";
    options.movements = movements;
    options.flights = 0;
    options.minutes = movements > 200 ? 10 : 45;
    options.seed = seed;
    options.faults = faults;
    return options;
}

static const GeneratedTraffic& cleanDay(int movements) { // made once for all tests
    static std::map<int, GeneratedTraffic> made;
    const auto found = made.find(movements);
    return found != made.end()
               ? found->second
               : made.emplace(movements, generateTraffic(day(movements, false))).first->second;
}

static double meters(const TrueFix& a, const TrueFix& b) {
    return gf_distanceNm(a.lat, a.lon, b.lat, b.lon) * metersPerNm;
}

static std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields{""};
    for (const char c : line)
        if (c == ',')
            fields.emplace_back();
        else
            fields.back() += c;
    return fields;
}

struct Report {
    double time, lat, lon, track, speedKt;
    bool onGround;
    std::string callsign, type;
};
static std::map<std::uint32_t, std::vector<Report>> reportsOf(const GeneratedTraffic& traffic) {
    std::map<std::uint32_t, std::vector<Report>> result;
    for (const TimedLine& line : traffic.lines) {
        const auto f = fieldsOf(line.line);
        double lat = 0, lon = 0, track = 0, speed = 0, time = 0;
        if (f.size() != 43 || f[0] != "RTTFC" || f[10] == "GRND" || !gf_parseDouble(f[2], lat) ||
            !gf_parseDouble(f[3], lon) || !gf_parseDouble(f[7], track) || !gf_parseDouble(f[8], speed) ||
            !gf_parseDouble(f[14], time))
            continue;
        result[static_cast<std::uint32_t>(std::stoul(f[1]))].push_back(
            {time, lat, lon, track, speed, f[6] == "1", f[9], f[10]});
    }
    return result;
}

static std::map<std::string, double> halfSpans() {
    std::map<std::string, double> spans;
    for (const auto* const fleet : {&airliners(), &freighters(), &businessJets()})
        for (const Operator& by : *fleet) spans[by.type] = by.spanM / 2;
    return spans;
}

static const TrueFix* fixAt(const std::vector<TrueFix>& track, double time) {
    const auto next = std::lower_bound(track.begin(), track.end(), time - 0.5,
                                       [](const TrueFix& fix, double t) { return fix.time < t; });
    return next == track.end() || next->time > time + 0.5 ? nullptr : &*next;
}

class AirportDay : public testing::TestWithParam<int> {
  protected:
    const GroundPlan plan = readGroundPlan(sourceFolder() / "rig" / "airports", "KIAD");
    double fromStand(const std::string& id, const TrueFix& fix) const {
        for (const PlanStand& stand : plan.stands)
            if (stand.id == id) return gf_distanceNm(stand.lat, stand.lon, fix.lat, fix.lon) * metersPerNm;
        return 1e9;
    }
};

TEST_P(AirportDay, HasNoTwoAircraftInEachOther) {
    const GeneratedTraffic& traffic = cleanDay(GetParam());
    const auto reports = reportsOf(traffic);
    const auto spans = halfSpans();
    struct Body {
        std::uint32_t hexid;
        const TrueFix* fix;
        double halfSpanM;
    };
    std::map<long, std::vector<Body>> seconds;
    std::size_t moving = 0;
    for (const auto& [hexid, track] : traffic.truth) {
        const auto found = reports.find(hexid);
        if (found == reports.end()) continue;
        const double half = spans.at(found->second.front().type);
        for (const TrueFix& fix : track) {
            if (!fix.onGround) continue;
            seconds[std::lround(fix.time)].push_back({hexid, &fix, half});
            if (fix.speedKt > 0) ++moving;
        }
    }
    EXPECT_GT(moving, 5000u);
    std::set<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (const auto& [second, bodies] : seconds)
        for (std::size_t i = 0; i < bodies.size(); ++i)
            for (std::size_t j = i + 1; j < bodies.size(); ++j)
                if (meters(*bodies[i].fix, *bodies[j].fix) <
                        bodies[i].halfSpanM + bodies[j].halfSpanM - 0.1 &&
                    pairs.emplace(bodies[i].hexid, bodies[j].hexid).second)
                    ADD_FAILURE() << bodies[i].hexid << " and " << bodies[j].hexid << " at " << second;
}

TEST_P(AirportDay, DrivesAsAircraftDrive) {
    const GeneratedTraffic& traffic = cleanDay(GetParam());
    std::size_t pushed = 0;
    for (const auto& [hexid, track] : traffic.truth)
        for (std::size_t i = 1; i < track.size(); ++i) {
            const TrueFix &a = track[i - 1], &b = track[i];
            SCOPED_TRACE(testing::Message() << hexid << " second " << i << " of " << track.size() << " at "
                                            << b.time << " speed " << b.speedKt);
            if (b.time - a.time > 1.5) { // it stands without reports
                ASSERT_LT(meters(a, b), 1);
                continue;
            }
            ASSERT_NEAR(b.time - a.time, 1, 1e-6);
            ASSERT_NEAR(meters(a, b), (a.speedKt + b.speedKt) / 2 * metersPerNm / 3600, 1.5);
            ASSERT_LE(std::fabs(b.speedKt - a.speedKt), 5);
            if (!b.onGround) continue;
            const double turn =
                std::fabs(gf_headingDiff(a.heading * degToRad, b.heading * degToRad)) * radToDeg;
            ASSERT_LE(turn, 12);
            // It moves where its nose points, or exactly the other way.
            if (b.speedKt < 1) continue;
            const double off =
                std::fabs(gf_headingDiff(b.heading * degToRad, b.course * degToRad)) * radToDeg;
            ASSERT_TRUE(off < 2 || off > 178) << off;
            if (off > 178) ++pushed;
        }
    EXPECT_GT(pushed, 300u);
}

TEST_P(AirportDay, DoesWhatItsEventsSay) {
    const GeneratedTraffic& traffic = cleanDay(GetParam());
    std::map<MoveKind, int> kinds;
    std::map<PushSide, int> sides;
    std::set<std::string> leftStands;
    std::vector<double> landings, takeOffs;
    const double end = 1.7e9 + day(GetParam(), false).minutes * 60;
    int turnRounds = 0;
    for (const TrueMove& move : traffic.events.moves) {
        SCOPED_TRACE(move.callsign + " " + move.from + " " + move.to);
        const auto& track = traffic.truth.at(move.hexid);
        ++kinds[move.kind];
        const TrueFix *first = fixAt(track, move.start), *last = fixAt(track, move.end);
        if (move.start >= 1.7e9 && move.start < end) {
            ASSERT_NE(first, nullptr);
        }
        if (move.kind == MoveKind::landing) {
            landings.push_back(move.start);
            if (move.end >= end) continue;
            ASSERT_NE(last, nullptr);
            EXPECT_FALSE(first->onGround);
            EXPECT_LT(fromStand(move.to, *last), 1);
            EXPECT_EQ(last->speedKt, 0);
            continue;
        }
        if (move.start >= end) continue;
        EXPECT_LT(fromStand(move.from, *first), 1);
        if (move.push != PushSide::none && move.pushEnd < end) {
            ++sides[move.push];
            // The tail went to the side that the event names: the nose has turned the other way.
            const TrueFix* behind = fixAt(track, move.pushEnd);
            ASSERT_NE(behind, nullptr);
            const double turned = gf_headingDiff(first->heading * degToRad, behind->heading * degToRad);
            EXPECT_NEAR(std::fabs(turned), pi / 2, 0.05);
            EXPECT_EQ(turned > 0, move.push == PushSide::left);
            EXPECT_NEAR(behind->heading, move.pushHeading, 1);
        }
        if (move.kind != MoveKind::departure) continue;
        takeOffs.push_back(move.end);
        turnRounds += move.turnRound;
        if (move.end < end) {
            ASSERT_NE(last, nullptr);
            EXPECT_FALSE(last->onGround);
        }
    }
    EXPECT_GE(kinds[MoveKind::landing], 20);
    EXPECT_GE(kinds[MoveKind::departure], 20);
    if (GetParam() < 300) { // else every stand is taken
        EXPECT_GE(kinds[MoveKind::tow], 1);
    }
    EXPECT_GE(sides[PushSide::left], 3);
    EXPECT_GE(sides[PushSide::right], 3);
    EXPECT_GE(turnRounds, 1);
    constexpr double densest = 14; // 24 s from roll to roll, and rolls of different lengths
    for (auto* const times : {&landings, &takeOffs}) {
        std::sort(times->begin(), times->end());
        for (std::size_t i = 1; i < times->size(); ++i)
            EXPECT_GE((*times)[i] - (*times)[i - 1], times == &landings ? 24 : densest);
    }
    const int placed = kinds[MoveKind::landing] + kinds[MoveKind::departure];
    EXPECT_EQ(placed + traffic.events.notPlaced(), traffic.events.wanted);
}

INSTANTIATE_TEST_SUITE_P(MovementsAnHour, AirportDay, testing::Values(60, 150, 300));

class Habits : public testing::Test {
  protected:
    static const GeneratedTraffic& made() {
        static const GeneratedTraffic all = generateTraffic(day(120, true, 2));
        return all;
    }
    const GeneratedTraffic& traffic = made();
};

// Reports go on as those of real aircraft do.
TEST_F(Habits, OfReportsOnTheGroundAreAllThere) {
    const auto reports = reportsOf(traffic);
    int drifts = 0, jumpingTracks = 0, tailFirst = 0, noseFirst = 0, silentTurns = 0, renamed = 0;
    std::map<int, int> intervals; // seconds, of moving ones on the ground
    for (const auto& [hexid, list] : reports) {
        const auto truth = traffic.truth.find(hexid);
        if (truth == traffic.truth.end()) continue;
        double farthest = 0, tracksAtRest = 0, lastTrack = -1;
        for (std::size_t i = 0; i < list.size(); ++i) {
            const Report& report = list[i];
            const TrueFix* fix = fixAt(truth->second, report.time);
            if (!fix || !report.onGround) continue;
            if (fix->speedKt == 0) {
                TrueFix seen = *fix;
                seen.lat = report.lat;
                seen.lon = report.lon;
                farthest = std::max(farthest, meters(seen, *fix));
                if (lastTrack >= 0 && std::fabs(report.track - lastTrack) > 20) ++tracksAtRest;
                lastTrack = report.track;
            } else if (std::fabs(gf_headingDiff(fix->heading * degToRad, fix->course * degToRad)) > 3) {
                const double off =
                    std::fabs(gf_headingDiff(report.track * degToRad, fix->heading * degToRad));
                ++(off > pi / 2 ? tailFirst : noseFirst);
            }
            if (i == 0 || !list[i - 1].onGround) continue;
            const double gap = report.time - list[i - 1].time;
            if (fix->speedKt > 0) ++intervals[static_cast<int>(std::min(gap, 16.0))];
            // Silent over a turn each way or two turns, and driving on both sides of the silence.
            const TrueFix* before = fixAt(truth->second, list[i - 1].time);
            if (gap < 20 || gap > 300 || !before || before->speedKt < 2 || fix->speedKt < 2) continue;
            double turned = 0;
            for (double t = list[i - 1].time; t + 1 <= report.time; t += 1) {
                const TrueFix *a = fixAt(truth->second, t), *b = fixAt(truth->second, t + 1);
                if (a && b) turned += std::fabs(gf_headingDiff(a->heading * degToRad, b->heading * degToRad));
            }
            if (turned > 2.5) ++silentTurns;
        }
        drifts += farthest > 3 && farthest < 60;
        jumpingTracks += tracksAtRest > 20;
        for (std::size_t i = 1; i < list.size(); ++i)
            if (list[i].callsign != list[i - 1].callsign && list[i].callsign != "null" &&
                list[i - 1].callsign != "null" && list[i].onGround && list[i].time - list[i - 1].time < 30) {
                ++renamed;
                EXPECT_EQ(fixAt(truth->second, list[i].time)->speedKt, 0);
            }
    }
    EXPECT_GE(drifts, 10);
    EXPECT_GE(jumpingTracks, 5);
    EXPECT_GE(tailFirst, 100);
    EXPECT_GE(noseFirst, 50);
    EXPECT_GE(silentTurns, 2);
    EXPECT_GE(renamed, 1);
    EXPECT_GT(intervals[1] + intervals[2], 100);
    EXPECT_GT(intervals[4], 100);
    EXPECT_GT(intervals[9] + intervals[10] + intervals[11] + intervals[12], 20);
}

TEST_F(Habits, GhostsStandWhereNobodyIsAndStraysAreShort) {
    const auto reports = reportsOf(traffic);
    int atStands = 0, strays = 0, marked = 0;
    for (const TrueMove& move : traffic.events.moves) {
        if (move.kind != MoveKind::ghost) continue;
        const auto found = reports.find(move.hexid);
        marked += !move.callsign.empty() && move.callsign.back() == '_';
        if (found == reports.end()) continue;
        if (move.to.empty()) {
            ++strays;
            EXPECT_LE(found->second.size(), 25u);
            continue;
        }
        ++atStands;
        // Whose stand that was has left it.
        EXPECT_TRUE(
            std::any_of(traffic.events.moves.begin(), traffic.events.moves.end(), [&](const TrueMove& other) {
                return other.kind == MoveKind::departure && other.from == move.from &&
                       other.start <= move.start && move.start < other.start + 60;
            }));
    }
    EXPECT_GE(atStands, 2);
    EXPECT_GE(strays, 2);
    EXPECT_GE(marked, 1);
}

TEST(AirportDays, AreTheSameForTheSameSeedOnly) {
    const auto text = [](std::uint32_t seed) {
        GeneratorOptions options = day(60, true, seed);
        options.minutes = 10;
        std::string all;
        for (const TimedLine& line : generateTraffic(options).lines) all += line.line + '\n';
        return all;
    };
    const std::string first = text(3);
    EXPECT_GT(first.size(), 100'000u);
    EXPECT_EQ(first, text(3));
    EXPECT_NE(first, text(4));
}

TEST(AirportDays, NeedAGroundPlan) {
    GeneratorOptions options = day(60, true);
    options.airport = "EGLL";
    EXPECT_THROW(generateTraffic(options), std::runtime_error);
}

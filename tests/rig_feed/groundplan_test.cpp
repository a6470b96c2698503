// The ground of the demonstration airport: what the tables promise to those who drive on it.

#include "feed/groundplan.h"
#include "feed/recording.h"

#include "app/textfiles.h"
#include "support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

using namespace rig;

static std::filesystem::path planFolder() { return rig::sourceFolder() / "rig" / "airports"; }

static double meters(const LatLon& a, const LatLon& b) { return gf_distanceNm(a, b) * metersPerNm; }
static double degreesOff(double headingA, double headingB) {
    return std::fabs(gf_headingDiff(headingA * degToRad, headingB * degToRad)) * radToDeg;
}
static LatLon placeOf(const StandRow& stand) { return {stand.lat, stand.lon}; }

// In metres east and north of the airport; exact enough over some kilometres.
struct Flat {
    double x = 0, y = 0;
};
static Flat flat(const GroundPlan& plan, const LatLon& place) {
    const double scale = 60 * metersPerNm;
    return {(place.lon - plan.place.lon) * scale * std::cos(plan.place.lat * degToRad),
            (place.lat - plan.place.lat) * scale};
}
static double toSegment(const Flat& p, const Flat& a, const Flat& b) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double t = std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

class DemoAirport : public testing::Test {
  protected:
    const GroundPlan plan = readGroundPlan(planFolder(), "KIAD");
};

TEST_F(DemoAirport, HasStandsOfAllKindsThatOverlapOnlyWhereOneIsWideOrTwoNarrow) {
    EXPECT_GE(plan.stands.size(), 150u);
    EXPECT_LE(plan.stands.size(), 250u);
    const auto count = [&](auto test) { return std::count_if(plan.stands.begin(), plan.stands.end(), test); };
    EXPECT_EQ(count([](const PlanStand& s) { return s.heli; }), 2);
    EXPECT_GE(count([](const PlanStand& s) { return s.cargo; }), 5);
    EXPECT_GE(count([](const PlanStand& s) { return s.ramp && !s.cargo; }), 8);
    EXPECT_GE(count([](const PlanStand& s) { return s.radiusM >= 40; }), 1) << "for the widest";
    std::size_t wideOrNarrow = 0;
    for (const auto& a : plan.stands)
        for (const auto& b : plan.stands) {
            if (a.id >= b.id || a.radiusM + b.radiusM <= 1.1 * meters(placeOf(a), placeOf(b))) continue;
            const bool meant = b.id == a.id + "L" || b.id == a.id + "R";
            if (meant) ++wideOrNarrow;
            EXPECT_TRUE(meant) << a.id << " and " << b.id;
        }
    EXPECT_EQ(wideOrNarrow, 4u);
}

TEST_F(DemoAirport, KeepsTaxiwaysClearOfStandsAndStandsBesideTheirLane) {
    for (const auto& edge : plan.edges) {
        const Flat a = flat(plan, plan.nodes[edge.from].place), b = flat(plan, plan.nodes[edge.to].place);
        for (const auto& stand : plan.stands)
            EXPECT_GT(toSegment(flat(plan, placeOf(stand)), a, b), 2 * stand.radiusM)
                << edge.taxiway << " and " << stand.id;
    }
    for (const auto& stand : plan.stands) {
        const LatLon node = plan.nodes[stand.node].place, to = plan.nodes[stand.to].place;
        const LatLon place = placeOf(stand);
        // In straight ahead, so the lane is behind the tail.
        EXPECT_LT(degreesOff(gf_bearing(node, place) * radToDeg, stand.heading), 1) << stand.id;
        EXPECT_LT(meters(node, place), 130) << stand.id;
        if (stand.leave == Leave::through) {
            EXPECT_LT(degreesOff(gf_bearing(place, to) * radToDeg, stand.heading), 1) << stand.id;
            continue;
        }
        // A push back ends upstream: the way goes on past the stand's own node, with no turn, and is long enough for
        // the aircraft to stand along the lane.
        const auto way = shortestWay(plan, stand.to, stand.node);
        ASSERT_GE(way.size(), 2u) << stand.id;
        EXPECT_GE(meters(to, node), 2 * stand.radiusM) << stand.id;
        EXPECT_LE(meters(to, node), 2 * stand.radiusM + 30) << stand.id;
        EXPECT_NEAR(degreesOff(gf_bearing(to, node) * radToDeg, stand.heading), 90, 1) << stand.id;
        EXPECT_LT(
            degreesOff(gf_bearing(to, plan.nodes[way[1]].place) * radToDeg, gf_bearing(to, node) * radToDeg),
            1)
            << stand.id;
    }
}

TEST_F(DemoAirport, LetsATailSwingToEitherSide) {
    int left = 0, right = 0;
    for (const auto& stand : plan.stands) {
        if (stand.leave != Leave::push) continue;
        const double nose = gf_bearing(plan.nodes[stand.to].place, plan.nodes[stand.node].place);
        (gf_headingDiff(stand.heading * degToRad, nose) > 0 ? right : left) += 1;
    }
    EXPECT_GE(left, 20);
    EXPECT_GE(right, 20);
}

TEST_F(DemoAirport, HasRunwaysWhoseEndsAnswerEachOther) {
    ASSERT_EQ(plan.runways.size(), 4u);
    for (const auto& runway : plan.runways) {
        const LatLon end =
            gf_destination(runway.threshold.lat, runway.threshold.lon, runway.heading * degToRad,
                           runway.lengthM / metersPerNm * feetPerNm);
        const auto other = std::find_if(plan.runways.begin(), plan.runways.end(),
                                        [&](const PlanRunway& r) { return meters(r.threshold, end) < 10; });
        ASSERT_NE(other, plan.runways.end()) << runway.name;
        EXPECT_NEAR(degreesOff(other->heading, runway.heading), 180, 0.1);
        EXPECT_GE(runway.lengthM, 2500);
        // The number of a name is a tenth of the magnetic course, some ten degrees off the true one here.
        EXPECT_LT(degreesOff(std::stoi(runway.name) * 10, runway.heading), 15) << runway.name;
    }
}

TEST_F(DemoAirport, LeadsFromEachExitToEachStandAndFromEachStandToEachRunway) {
    for (const auto& runway : plan.runways) {
        std::size_t exits = 0, entries = 0;
        for (const auto& edge : plan.edges) {
            if (edge.runway != runway.name) continue;
            const auto &from = plan.nodes[edge.from], &to = plan.nodes[edge.to];
            const auto& onRunway = edge.kind == EdgeKind::exit ? from : to;
            const double bearing = gf_bearing(runway.threshold, onRunway.place);
            const double along = meters(runway.threshold, onRunway.place);
            EXPECT_LT(std::fabs(std::sin(bearing - runway.heading * degToRad)) * along, 2)
                << "off the centre line";
            EXPECT_LT(along, runway.lengthM);
            EXPECT_TRUE(std::find(onRunway.runways.begin(), onRunway.runways.end(), runway.name) !=
                        onRunway.runways.end());
            if (edge.kind == EdgeKind::exit) {
                ++exits;
                EXPECT_GT(along, 900) << edge.taxiway;
                EXPECT_LT(degreesOff(gf_bearing(from.place, to.place) * radToDeg, runway.heading), 91);
                for (const auto& stand : plan.stands)
                    EXPECT_FALSE(shortestWay(plan, edge.from, stand.node).empty())
                        << edge.taxiway << " to " << stand.id;
            } else {
                ++entries;
                EXPECT_EQ(from.kind, NodeKind::hold);
                EXPECT_LT(along, 300) << "nearly the whole runway is ahead";
                EXPECT_GT(meters(from.place, to.place), 75) << "a holding point is clear of the runway";
                for (const auto& stand : plan.stands)
                    EXPECT_FALSE(shortestWay(plan, stand.to, edge.from).empty())
                        << stand.id << " to " << edge.taxiway;
            }
        }
        EXPECT_GE(exits, 3u) << runway.name;
        EXPECT_EQ(entries, 2u) << runway.name;
    }
}

TEST_F(DemoAirport, HasItsRunwaysWhereAircraftReallyLand) {
    const auto file = test::sharedFolder() / "recordings" / "us-northeast-2023-03-17.rttfc.gz";
    if (!std::filesystem::exists(file)) GTEST_SKIP() << "no recording " << file;
    std::size_t fast = 0;
    for (const auto& line : loadRecording(file)) {
        const auto fields = gf_splitAtCommas(line.line);
        double lat = 0, lon = 0, track = 0, speedKt = 0;
        if (fields.size() < 9 || fields[6] != "1" || !gf_parseDouble(fields[2], lat) ||
            !gf_parseDouble(fields[3], lon) || !gf_parseDouble(fields[7], track) ||
            !gf_parseDouble(fields[8], speedKt))
            continue;
        const LatLon place{lat, lon};
        if (speedKt < 60 || meters(place, plan.place) > 6000) continue;
        if (degreesOff(track, 0) > 20 && degreesOff(track, 180) > 20) continue; // on a third runway
        ++fast;
        double off = 1e9;
        for (const auto& runway : plan.runways) {
            const double angle = gf_bearing(runway.threshold, place) - runway.heading * degToRad;
            const double along = std::cos(angle) * meters(runway.threshold, place);
            if (along > 0 && along < runway.lengthM)
                off = std::min(off, std::fabs(std::sin(angle)) * meters(runway.threshold, place));
        }
        EXPECT_LT(off, 30) << lat << ", " << lon;
    }
    EXPECT_GE(fast, 15u);
}

// One fault in otherwise good tables, and the place that the text must name.
TEST(GroundPlan, RefusesATableWithAFaultAndSaysWhere) {
    const auto text = [](const std::string& table, const std::string& row) {
        const test::ScratchFolder folder;
        std::map<std::string, std::string> tables{
            {"index.csv", "icao,name,lat,lon,elev_ft\nXXXX,Test,10,20,0\n"},
            {"XXXX.runways.csv", "name,lat,lon,heading,length_m,width_m\n09,10,20,90,2000,45\n"},
            {"XXXX.nodes.csv",
             "id,lat,lon,kind,runway\na,10,20,taxi,\nb,10,20.001,taxi,\nr,10,20.002,runway,09\n"
             "h,10,20.003,hold,09\n"},
            {"XXXX.edges.csv",
             "from,to,kind,taxiway,runway\na,b,taxiway,A,\nh,r,entry,A,09\nr,a,exit,A,09\n"},
            {"XXXX.csv", "id,lat,lon,heading,radius_m,kind,node,leave,to\n1,10,20,0,20,gate,a,push,b\n"}};
        tables[table] += row + "\n";
        for (const auto& [name, content] : tables) test::writeFile(folder.path / name, content);
        try {
            readGroundPlan(folder.path, "XXXX");
        } catch (const std::runtime_error& e) {
            return std::string(e.what());
        }
        return std::string("good");
    };
    EXPECT_EQ(text("XXXX.csv", "2,10,20,360,20,ga,a,through,b"), "good");
    EXPECT_EQ(text("XXXX.runways.csv", "27,10,20,270,x,45"),
              "XXXX.runways.csv, line 3: length_m \"x\" is no number from 300 to 6000");
    EXPECT_EQ(text("XXXX.nodes.csv", "a,10,20,taxi,"), "XXXX.nodes.csv, line 6: node \"a\" a second time");
    EXPECT_EQ(text("XXXX.nodes.csv", "c,10,20,hold,08"), "XXXX.nodes.csv, line 6: no runway \"08\"");
    EXPECT_EQ(text("XXXX.nodes.csv", "c,10,20,hold,"),
              "XXXX.nodes.csv, line 6: runways belong to holding points and runway nodes, and only there");
    EXPECT_EQ(text("XXXX.edges.csv", "a,c,lane,A,"), "XXXX.edges.csv, line 5: no node \"c\"");
    EXPECT_EQ(text("XXXX.edges.csv", "a,b,road,A,"), "XXXX.edges.csv, line 5: unknown kind \"road\"");
    EXPECT_EQ(text("XXXX.edges.csv", "r,b,lane,A,"),
              "XXXX.edges.csv, line 5: exits come from a runway node, entries lead to one, and no others do");
    EXPECT_EQ(text("XXXX.csv", "1,10,20,0,20,gate,a,push,b"), "XXXX.csv, line 3: stand \"1\" a second time");
    EXPECT_EQ(text("XXXX.csv", "2,10,20,0,20,gate,a,pull,b"), "XXXX.csv, line 3: unknown leave \"pull\"");
    EXPECT_EQ(text("XXXX.csv", "2,10,20,,20,gate,a,push,b"), "XXXX.csv, line 3: stand \"2\" has no heading");
    EXPECT_THROW(readGroundPlan(planFolder(), "XXXX"), std::runtime_error);
}

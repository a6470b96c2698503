// The replay: its yardstick by a table, and the whole command as a process of its own.

#include "support.h"

#include "replay/feedtrack.h"
#include "replay/measure.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

constexpr std::uint32_t hexid = 4200001;

// North along the 10th meridian at 360 knots: a tenth of a mile a second, from 50 N at second 1000.
std::string lineAt(int second, int altitude, bool onGround = false) {
    return fmt::format("RTTFC,{},{:.6f},10.0,{},0,{},0,360,AB12,A320,G-TEST,null,null,{}.0,X", hexid,
                       50 + (second - 1000) * 0.1 / 60, altitude, onGround ? 1 : 0, second);
}

nlohmann::json replay(const std::string& arguments, const std::string& out) {
    const std::string command =
        fmt::format("{} replay {} --out {} > {}.txt", VELLORAY_RIG, arguments, out, out);
    EXPECT_EQ(0, std::system(command.c_str())) << command;
    return nlohmann::json::parse(test::readFile(out + "/report.json"), nullptr, false);
}

} // namespace

TEST(FeedTracks, HoldsAPlaceAgainstTheTrack) {
    rig::FeedTracks tracks;
    for (const int second : {1000, 1010, 1020, 1060, 1070, 1080})
        tracks.add(lineAt(second, second < 1080 ? 5000 + second : 0, second == 1080));
    struct Row {
        const char* name;
        double time, atSecond, eastNm, altFt;
        bool known;
        double acrossM, delayS, verticalFt;
    };
    const Row rows[] = {
        {"on it", 1005, 1005, 0, 6005, true, 0, 0, 0},
        {"behind and above", 1015, 1012, 0, 6112, true, 0, 3, 100},
        {"ahead and aside", 1005, 1008, 0.1, 6008, true, 185.2, -3, 0},
        {"in the silence", 1040, 1040, 0, 6040, false, 0, 0, 0},
        {"left behind in the silence", 1062, 1050, 0, 6050, false, 0, 0, 0},
        {"before its beginning", 1001, 995, 0, 6000, false, 0, 0, 0},
        {"long after", 1200, 1080, 0, 0, false, 0, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const double lat = 50 + (row.atSecond - 1000) * 0.1 / 60;
        const double lon = 10 + row.eastNm / 60 / std::cos(lat * degToRad);
        rig::TrackOffset offset{};
        ASSERT_EQ(row.known, tracks.offset(hexid, row.time, lat, lon, row.altFt, offset));
        if (!row.known) continue;
        EXPECT_NEAR(row.acrossM, offset.acrossM, 0.5);
        EXPECT_NEAR(row.delayS, offset.delayS, 0.05);
        EXPECT_NEAR(row.verticalFt, offset.verticalFt, 2);
        EXPECT_NEAR(360, offset.speedKt, 0.1);
    }
    ASSERT_NE(nullptr, tracks.firstGroundFixAfter(hexid, 1000));
    EXPECT_EQ(1080, tracks.firstGroundFixAfter(hexid, 1000)->time);
    EXPECT_EQ(nullptr, tracks.firstGroundFixAfter(hexid, 1081));
}

TEST(Measure, TellsAReturningAircraftThatLooksOtherwiseFromOneThatIsExchanged) {
    struct Row { // the objects of one aircraft
        std::uint32_t objectId;
        const char* title;
        SimState st;
        std::uint64_t returned, changed, exchanged; // afterwards
    };
    const Row rows[] = {
        {100, "a", SimState::active, 0, 0, 0},        {0, "a", SimState::buffer, 0, 0, 0},
        {101, "a", SimState::active, 1, 0, 0},        {102, "b", SimState::active, 2, 1, 0},
        {102, "b", SimState::liveryRespawn, 2, 1, 0}, {0, "", SimState::buffer, 2, 1, 0},
        {103, "c", SimState::active, 2, 1, 1},        {104, "c", SimState::active, 3, 1, 1},
        {105, "a", SimState::active, 4, 2, 1},
    };
    rig::Measure measure;
    lf_appendLive(LiveAc()).hexid = hexid;
    double time = 1;
    for (const Row& row : rows) {
        LiveAc& ac = engine.live.front();
        ac.objectId = row.objectId;
        ac.title = row.title;
        ac.st = row.st;
        measure.afterTick(time, 1000 + time);
        time += 0.01;
        EXPECT_EQ(measure.returned, row.returned) << time;
        EXPECT_EQ(measure.looksChanged, row.changed) << time;
        EXPECT_EQ(measure.looksExchanged, row.exchanged) << time;
    }
    lf_resetEngine();
}

TEST(Replay, TheSameInputAndSeedGiveTheSameDigestAndASmoothFlight) {
    const std::string arguments = "--generate EGLL --flights 40 --airport EGLL --range 40 --minutes 6";
    const auto first = replay(arguments, "first"), second = replay(arguments, "second");
    ASSERT_TRUE(first.is_object() && second.is_object());
    EXPECT_EQ(first["digest"], second["digest"]);
    EXPECT_NE(first["digest"], replay(arguments + " --seed 2", "other")["digest"]);
    EXPECT_GE(first["aircraft"]["spawned"].get<int>(), 5);
    EXPECT_EQ(0, first["smooth"]["moves_over_5m"].get<int>());
    EXPECT_LE(first["smooth"]["altitude_step_ft_max"].get<double>(), 20);
    EXPECT_EQ(0, first["identity"]["duplicates"].get<int>());
    EXPECT_GE(first["removals"].size(), 1u);
    EXPECT_EQ(0, first["ground"]["removals_unexplained"].get<int>());
    EXPECT_EQ(0, first["identity"]["looks_changed"].get<int>());
    int matched = 0;
    for (const auto& [step, count] : first["identity"]["steps"].items()) matched += count.get<int>();
    EXPECT_GE(matched, 5);
    EXPECT_LE(matched, first["aircraft"]["spawned"].get<int>());
    EXPECT_LE(first["fidelity"]["air"]["across_m"]["p95"].get<double>(), 150);
    EXPECT_GE(first["truth"]["air"]["samples"].get<int>(), 500); // gaps of the feed are none in the truth
    EXPECT_GE(first["truth"]["air"]["samples"].get<int>(), first["fidelity"]["air"]["samples"].get<int>());
    EXPECT_LE(first["truth"]["air"]["across_m"]["median"].get<double>(), 20);
    EXPECT_TRUE(std::filesystem::exists("first/tracks.svg") && std::filesystem::exists("first/Log.txt"));
}

namespace {

// Reports each two seconds of an A320 at the demonstration airport, level with a stand and metres from it.
struct GroundLines {
    std::string text;
    void add(std::uint32_t id, const char* callsign, double time, double lat, double lon, double northM,
             double eastM, double track, double knots) {
        constexpr double metersPerDegree = 60 * metersPerNm;
        text += fmt::format(
            "RTTFC,{},{:.6f},{:.6f},0,0,1,{:.2f},{:.1f},{},A320,EC-{},null,null,{:.1f},X,null,mlat,-1,-1,-1,"
            "-1,-1,-1,-1,-1,-1,none,null,-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,625,0\n",
            id, lat + northM / metersPerDegree, lon + eastM / metersPerDegree / std::cos(lat * degToRad),
            track, knots, callsign, std::string(callsign).substr(3), time);
    }
};

} // namespace

// One is pushed back from A1, whose nose points south, and taxies east; one comes from the south to Z1 and stays.
TEST(Replay, AirportsOfTablesAreChosenAndTheGroundIsMeasured) {
    constexpr double a1Lat = 38.948279, a1Lon = -77.446574, z1Lat = 38.950380, z1Lon = -77.449556;
    constexpr double knot = metersPerNm / 3600;
    GroundLines lines;
    for (int t = 0; t <= 400; t += 2) {
        const double time = 1.7e9 + t;
        const double pushed = std::clamp(t - 60.0, 0.0, 50.0) * 1.5,
                     taxied = std::clamp(t - 160.0, 0.0, 60.0) * 8;
        if (t < 222)
            lines.add(hexid, "VLG1AB", time, a1Lat, a1Lon, pushed, taxied, taxied > 0 ? 90 : 0,
                      taxied > 0                  ? 8 / knot
                      : pushed > 0 && pushed < 75 ? 1.5 / knot
                                                  : 0);
        const double way = std::max(600.0 - t * 6, 3.0);
        lines.add(hexid + 1, "VLG2CD", time, z1Lat, z1Lon, -way, 0, 0, way > 3 ? 6 / knot : 0);
    }
    test::writeFile("lines.rttfc", lines.text);
    const auto report = replay("lines.rttfc --airport KIAD --aircraft VLG1AB --aircraft 401643", "ground");
    ASSERT_TRUE(report.is_object());
    const auto& ground = report["ground"];
    EXPECT_EQ("KIAD", ground["airport"]);
    EXPECT_LE(80, ground["stands"].get<int>());
    EXPECT_EQ(1, ground["pushbacks"].get<int>());
    EXPECT_EQ("A1", ground["push_list"][0]["stand"]);
    EXPECT_EQ(2, ground["parked"].get<int>());
    EXPECT_EQ(1, ground["arrivals"].get<int>());
    EXPECT_NEAR(3, ground["stand_from_feed_stop_m"]["max"].get<double>(), 0.5);
    EXPECT_EQ(0, ground["moves_while_parked"].get<int>() + ground["turns_while_parked"].get<int>());
    EXPECT_EQ(0, ground["overlap_pairs"].get<int>() + ground["user_overlap_pairs"].get<int>());
    EXPECT_EQ(0, ground["moves_over_5m"].get<int>());
    EXPECT_EQ(0, ground["removals_unexplained"].get<int>());
    EXPECT_LE(ground["height_error_ft_max"].get<double>(), 0.1);
    EXPECT_LE(ground["slip_ratio"].get<double>(), 0.05);
    EXPECT_GE(ground["slip"]["taxi"]["driven_m"].get<double>(), 700);
    EXPECT_TRUE(std::filesystem::exists("ground/ground.svg"));
    const std::string sheet = test::readFile("ground/aircraft-401641.html");
    for (const char* part : {"VLG1AB", "stands on A1", "is pushed back from stand A1", "<svg", ">A1<"})
        EXPECT_NE(std::string::npos, sheet.find(part)) << part;
    EXPECT_NE(std::string::npos, test::readFile("ground/aircraft-401643.html").find("never appeared"));
    EXPECT_FALSE(std::filesystem::exists("ground/aircraft-401642.html"));
}

// Without faults of the feed the program cannot miss what truly happens.
TEST(Replay, GeneratedMovementsAreHeldAgainstWhatTheyTrulyDid) {
    const auto report =
        replay("--generate KIAD --movements 80 --flights 3 --minutes 30 --clean --airport KIAD", "day");
    ASSERT_TRUE(report.is_object());
    const auto& events = report["truth"]["events"];
    const auto number = [&](const char* part, const char* name) { return events[part][name].get<int>(); };
    EXPECT_GE(number("landings", "true"), 4);
    EXPECT_EQ(number("landings", "true"), number("landings", "on_its_stand"));
    EXPECT_GE(number("pushbacks", "true"), 4);
    EXPECT_GE(number("pushbacks", "shown"), 3);
    EXPECT_EQ(0, number("pushbacks", "not_shown"));
    EXPECT_EQ(0, number("pushbacks", "without_a_true_one"));
    EXPECT_EQ(number("pushbacks", "shown"), number("pushbacks", "right_side") +
                                                number("pushbacks", "straight") +
                                                number("pushbacks", "wrong_side"));
    EXPECT_GE(number("takeoffs", "true"), 2);
    EXPECT_EQ(number("takeoffs", "true"), number("takeoffs", "shown"));
    EXPECT_EQ(0, number("ghosts", "true"));
    EXPECT_EQ(0, events["movements_not_placed"].get<int>());
    EXPECT_EQ(0, report["ground"]["moves_while_parked"].get<int>());
    EXPECT_EQ(0, report["ground"]["removals_unexplained"].get<int>());
    EXPECT_GE(report["truth"]["taxi"]["samples"].get<int>(), 500);
    EXPECT_LE(report["truth"]["taxi"]["across_m"]["median"].get<double>(), 2);
}

TEST(Replay, RefusesBadInputWithOneLine) {
    for (const char* arguments :
         {"", "no-such-file --airport EGLL", "--generate EGLL", "--generate EGLL --airport XXXX",
          "--generate EGLL --airport EGLL --user 1,2,3",
          "--generate EGLL --airport EGLL --stands no-such-folder",
          "--generate EGLL --airport EGLL --aircraft VLG1AB", "--generate EGLL --airport EGLL --fps x",
          "--generate EGLL --airport EGLL --movements 60"}) {
        const int status =
            std::system(fmt::format("{} replay {} 2> error.txt", VELLORAY_RIG, arguments).c_str());
        EXPECT_NE(0, status) << arguments;
        const std::string text = test::readFile("error.txt");
        EXPECT_EQ(0u, text.find("rig replay: ")) << text;
        EXPECT_EQ(text.size() - 1, text.find('\n')) << text;
    }
}

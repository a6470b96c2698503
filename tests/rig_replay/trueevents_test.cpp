// True events held against scenes of which it is known what was shown.

#include "replay/trueevents.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

constexpr double start = 1.7e9; // feed time at replay second 0
constexpr double delay = 30;

struct Scene {
    rig::TrueEvents events;
    rig::GroundWatch watch;
    rig::Decisions decisions;
    std::uint32_t next = 1;
    Scene() { watch.startFeedTime = start; }

    rig::TrueMove& move(rig::MoveKind kind, double from, double to) {
        rig::TrueMove move;
        move.kind = kind;
        move.hexid = next++;
        move.start = start + from;
        move.end = start + to;
        if (kind == rig::MoveKind::landing) move.to = "A1";
        events.moves.push_back(move);
        return events.moves.back();
    }
    nlohmann::json report() const { return rig::trueEventsReport({events, watch, decisions, start + 2000}); }
};

} // namespace

TEST(TrueEvents, TellsWhyATakeOffIsNotShown) {
    Scene scene;
    const auto shown = scene.move(rig::MoveKind::departure, 300, 900).hexid;
    const auto dropped = scene.move(rig::MoveKind::departure, 300, 900).hexid;
    const auto removed = scene.move(rig::MoveKind::departure, 300, 900).hexid;
    rig::Event seen;
    seen.time = 900 + delay;
    seen.hexid = shown;
    scene.watch.takeOffs.push_back(seen);
    scene.decisions.lines[dropped].dropped[static_cast<std::size_t>(Drop::type)] = 7;
    scene.decisions.of[removed] = {{200, "removed: range"}, {700, "removed: conflict"}};
    const auto takeOffs = scene.report()["takeoffs"];
    EXPECT_EQ(3, takeOffs["true"]);
    EXPECT_EQ(1, takeOffs["shown"]);
    ASSERT_EQ(2u, takeOffs["list"].size());
    EXPECT_EQ("type 7", takeOffs["list"][0]["dropped"]);
    EXPECT_EQ("conflict", takeOffs["list"][1]["removed"]);
}

TEST(TrueEvents, TellsWhereLandingsParked) {
    struct Row {
        const char* outcome;
        const char* stand; // on which it is shown; "" for none
        double stoodAt;
        bool drove, touchedDown;
    };
    const Row rows[] = {
        {"on_its_stand", "A1", 700, true, true},
        {"appeared_on_its_stand", "A1", 700, false, false},
        {"on_another_stand", "A2", 700, true, true},
        {"not_parked", "", 0, false, true},
        {"not_shown", "", 0, false, false},
        {"not_parked", "A1", 250, true, true}, // before it has landed: that was another visit
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.outcome);
        Scene scene;
        const auto id = scene.move(rig::MoveKind::landing, 300, 650).hexid;
        if (*row.stand) scene.watch.stood.push_back({row.stoodAt, id, row.stand, row.drove});
        if (row.touchedDown) scene.watch.touchDowns.push_back({300 + delay, id, "", 18, false});
        const auto landings = scene.report()["landings"];
        EXPECT_EQ(1, landings["true"].get<int>());
        EXPECT_EQ(1, landings[row.outcome].get<int>());
    }
    Scene late; // ends when the feed ends
    late.move(rig::MoveKind::landing, 1500, 1990);
    EXPECT_EQ(0, late.report()["landings"]["true"].get<int>());
}

TEST(TrueEvents, TellsTheSideOfPushBacksAndThoseThatWereNone) {
    struct Row {
        const char* outcome;
        double noseDeg, movedM, shownAt;
        double reportedS = 100;
    };
    const Row rows[] = {
        {"right_side", 350, 60, 500 + delay}, {"wrong_side", 175, 60, 500 + delay},
        {"straight", 80, 60, 500 + delay},    {"not_shown", 350, 2, 500 + delay},
        {"not_shown", 350, 60, 1200},         {"not_reported_in_time", 350, 2, 500 + delay, 10},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.outcome);
        Scene scene;
        auto& move = scene.move(rig::MoveKind::departure, 500, 900);
        move.push = rig::PushSide::left;
        move.pushHeading = 2; // degrees
        move.tailFirst = true;
        move.reportedS = row.reportedS;
        rig::PushBack push;
        push.hexid = move.hexid;
        push.time = row.shownAt;
        push.movedM = row.movedM;
        push.endHeading = row.noseDeg * degToRad;
        scene.watch.pushBacks.push_back(push);
        scene.watch.takeOffs.push_back({900 + delay, move.hexid, "", ""});
        const auto report = scene.report();
        const auto& pushes = report["pushbacks"];
        EXPECT_EQ(1, pushes["true"].get<int>());
        EXPECT_EQ(1, pushes[row.outcome].get<int>());
        EXPECT_EQ(row.outcome == std::string("wrong_side"), pushes["wrong_side_tail_first"].get<int>() == 1);
        EXPECT_EQ(row.shownAt > 1000 ? 1 : 0, pushes["without_a_true_one"].get<int>());
        EXPECT_EQ(1, report["takeoffs"]["shown"].get<int>());
    }
}

TEST(TrueEvents, CountsGhostsThatWereShownAndForHowLong) {
    Scene scene;
    const auto shown = scene.move(rig::MoveKind::ghost, 300, 400).hexid;
    scene.move(rig::MoveKind::ghost, 300, 400);
    rig::Vanish vanish;
    vanish.hexid = shown;
    vanish.shownS = 75;
    scene.watch.vanished = {vanish, vanish};
    const auto ghosts = scene.report()["ghosts"];
    EXPECT_EQ(2, ghosts["true"].get<int>());
    EXPECT_EQ(1, ghosts["shown"].get<int>());
    EXPECT_EQ(150, ghosts["shown_s"].get<double>());
}

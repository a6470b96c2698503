// Static aircraft give way to live ones, and the limit on parked aircraft. Their records are made by hand.

#include "ground_fixture.h"

namespace {

constexpr std::uint32_t hex = 4242424;

class Statics : public Ground {
  protected:
    static ParkedAc& parked(std::uint32_t number, const std::string& callsign, const Stand& s,
                            const std::string& reg = "") {
        ParkedAc ac;
        ac.hexid = number;
        ac.callsign = callsign + "*";
        ac.firstCallsign = callsign;
        ac.regcode = reg;
        ac.radiusNm = 17 / metersPerNm;
        ac.st = SimState::active;
        ac.objectId = 500 + number;
        lf_takeStand(ac, s);
        engine.parked.push_back(std::move(ac));
        return engine.parked.back();
    }
    static LiveAc& live(const std::string& callsign, const std::string& reg = "", double alt = 0) {
        LiveAc& ac = active(hex, 77, fieldLat, fieldLon, alt);
        ac.callsign = ac.firstCallsign = callsign;
        ac.regcode = reg;
        ac.radiusNm = 17 / metersPerNm;
        ac.coupledSearched = true;
        return ac;
    }
    static std::vector<SimState> states() {
        std::vector<SimState> result;
        for (const ParkedAc& ac : engine.parked) result.push_back(ac.st);
        return result;
    }
    static constexpr SimState stays = SimState::active, goes = SimState::removingFromSim;
};

TEST_F(Statics, TheSecondImageOfALiveAircraftIsRemoved) {
    const Stand& s = stand("A1", 0, 0, 0, 18);
    const struct {
        const char *callsign, *coupled, *reg;        // of the live one
        const char *first, *otherFlight, *parkedReg; // of the static one
        bool same;
    } rows[] = {
        {"DLH1", "", "D-AIZA", "BAW2", "", "D-AIZA", true},
        {"DLH1", "", "", "BAW2", "", "", false}, // two empty registrations say nothing
        {"DLH1", "", "", "DLH1", "", "", true},
        {"DLH1", "", "", "BAW2", "DLH1", "", true},
        {"DLH1", "BAW2", "", "BAW2", "", "", true},
        {"DLH1", "BAW2", "", "X", "BAW2", "", true},
        {"DLH1_", "", "", "DLH1", "", "", true},
        {"DLH1_", "", "", "X", "DLH1", "", true},
        {"DLH12", "", "", "DLH1", "", "", false}, // only a ghost's mark is taken off
        {"DLH1", "", "", "", "", "", false},
        {"", "", "", "", "", "", false},
        {"_", "", "", "", "", "", false},
    };
    for (const auto& row : rows) {
        ParkedAc& there = parked(7, row.first, s, row.parkedReg);
        there.coupledCallsign = row.otherFlight;
        LiveAc& ac = live(row.callsign, row.reg);
        ac.coupledCallsign = row.coupled;
        lf_arrivalCheck(ac);
        EXPECT_EQ(there.st, row.same ? goes : stays)
            << row.callsign << " and " << row.first << " " << row.otherFlight;
        there.st = SimState::adding2sim;
        EXPECT_FALSE(lf_sameAircraft(ac, there));
        engine.live.clear();
        engine.parked.clear();
    }
    parked(7, "X1", s, "D-AIZA");
    parked(8, "DLH1", s);
    lf_arrivalCheck(live("DLH1", "D-AIZA"));
    EXPECT_EQ(states(), (std::vector{goes, goes})) << "both show it";
}

TEST_F(Statics, AnAircraftThatAppearsOnAStandDrivesStaticsOffItAndOffItsNeighbours) {
    stand("A1", 0, 0, 0, 18);
    stand("A2", 0, 32, 0, 18);
    stand("A3", 0, -39, 0, 18);
    airports.file.stands[2].radius = 30 / metersPerNm; // adjacent, but far enough for these two
    airports.file.stands[0].adjacent = {2, 3};
    const auto& stands = airports.file.stands;
    parked(1, "BAW1", stands[0]);
    parked(2, "BAW2", stands[1]);
    parked(3, "BAW3", stands[2]);
    parked(4, "BAW4", stands[1]).st = SimState::adding2sim;
    standing(hex, "DLH1AB", 1, 1, 1, 60);
    ASSERT_TRUE(runUntil(40, [&] { return state(hex) == FlightState::parked; }));
    // The objects of those made by hand do not exist: nothing reports their end.
    EXPECT_EQ(states(), (std::vector{goes, goes, stays, SimState::adding2sim}));
}

TEST_F(Statics, AQueuedStaticLeavesTheQueueAndOneUnderCreationGoesWhenItIsThere) {
    const Stand& s = stand("A1", 0, 0, 0, 18);
    LiveAc& ac = live("DLH1");
    parked(1, "BAW1", s).st = SimState::adding2sim;
    engine.staticCreationQueue.emplace_back().hexid = 1;
    lf_makeWay(ac, s);
    EXPECT_TRUE(engine.parked.empty() && engine.staticCreationQueue.empty());
    parked(2, "BAW2", s).st = SimState::adding2sim;
    for (int i = 0; i < 2; ++i) { // once more changes nothing
        lf_makeWay(ac, s);
        ASSERT_EQ(engine.parked.size(), 1u);
        EXPECT_TRUE(engine.parked[0].removeWhenSpawned && engine.parked[0].st == SimState::adding2sim);
    }
}

TEST_F(Statics, AStaticInTheWayOfATaxiingAircraftGoesAndThoseInTheWayOfTheUser) {
    COLLISION_LIVE_PARKED_GND.value = true;
    const Stand& s = stand("A1", 0, 30, 0, 18);
    LiveAc& ac = live("DLH1");
    const struct {
        FlightState fs;
        bool departing, landingRoll, onGround, moved, is;
    } rows[] = {{FlightState::taxi, false, false, true, true, true},
                {FlightState::parking, false, false, true, true, true},
                {FlightState::parked, false, false, true, true, false},
                {FlightState::pushingBack, false, false, true, true, false},
                {FlightState::taxi, true, false, true, true, false},
                {FlightState::taxi, false, true, true, true, false},
                {FlightState::taxi, false, false, false, true, false},
                {FlightState::taxi, false, false, true, false, false}};
    for (const auto& row : rows) {
        engine.parked.clear();
        ParkedAc& there = parked(1, "BAW1", s); // 30 m off: 1.1 times both radii is 37.4 m
        ac.fs = row.fs;
        ac.departing = row.departing;
        ac.landingRoll = row.landingRoll;
        ac.onGround = row.onGround;
        ac.checkedLat = row.moved ? 0 : ac.lat;
        ac.checkedLon = ac.lon;
        lf_parkedConflicts();
        EXPECT_EQ(there.st, row.is ? goes : stays) << static_cast<int>(row.fs);
    }
    // The user: only when it has moved, and only when no live aircraft was in its way.
    COLLISION_USER_GND.value = true;
    simLife.userRadiusNm = 17 / metersPerNm;
    sim.userOnGround = true;
    engine.user = UserBlock();
    engine.user.lat = s.lat;
    engine.user.lon = s.lon;
    lf_userConflicts();
    EXPECT_EQ(ac.st, SimState::removingFromSim);
    lf_userConflicts(); // it has not moved since
    EXPECT_EQ(states(), std::vector{stays});
    engine.user.lat += 1e-6;
    lf_userConflicts();
    EXPECT_EQ(states(), std::vector{goes});
}

TEST_F(Statics, AnAircraftThatAppearsOnItsStandParksOverAStaticOne) {
    const Stand& s = stand("A1", 0, 0, 0, 18);
    LiveAc& ac = live("DLH1");
    lf_takeStand(ac, s);
    parked(1, "BAW1", s);
    lf_parkedAtCreation(ac);
    EXPECT_EQ(states(), std::vector{goes});
}

// ---- the limit -----------------------------------------------------------------------------------------------------

TEST_F(Statics, BeyondTheLimitTheLongestParkedGoesAndTheLastOfTheStatics) {
    const Stand& s = stand("A1", 0, 0, 0, 18);
    const struct {
        std::int32_t most, extra;
        bool initialOnly;
        bool liveGoes, staticGoes;
    } rows[] = {
        {-1, 1, false, false, false}, {0, 1, false, false, false}, {1, 0, true, false, false},
        {5, 0, false, false, false},  {5, 1, false, false, true},  {3, 0, false, false, true},
        {3, 1, false, true, true},    {2, 0, false, true, true},
    };
    app.weekSlot.store({1, 4});
    for (const auto& row : rows) {
        for (std::uint32_t i = 0; i < 3; ++i) {
            LiveAc& ac = active(hex + i, 77 + i, fieldLat, fieldLon, 0);
            ac.fs = FlightState::parked;
            ac.parkedAt = plat::utcNow() - (i == 1 ? 900 : 100) * std::int64_t{10'000'000};
            ac.parkedSince = {1, static_cast<std::int32_t>(i)};
        }
        parked(1, "BAW1", s).parkedSince = {2, 3};
        parked(2, "BAW2", s).parkedSince = {1, 40};
        airports.maxParked = row.most;
        INITIAL_LOAD_ONLY.value = row.initialOnly;
        lf_enforceMaxPark(row.extra);
        EXPECT_EQ(engine.live[1].st, row.liveGoes ? goes : stays) << row.most << " " << row.extra;
        EXPECT_EQ(engine.live[0].st, stays);
        std::uint32_t gone = 0;
        for (const ParkedAc& p : engine.parked)
            if (p.st == goes) gone = p.hexid;
        EXPECT_EQ(gone, row.staticGoes ? 1u : 0u) << row.most << " " << row.extra; // the latest of the week
        if (row.most == -1) {
            EXPECT_FLOAT_EQ(display.liveFit, (4 + 3 + 2) / 6.0f + 0.5f);
            EXPECT_FLOAT_EQ(display.staticFit, (336 - 47 + 300) / 4.0f + 0.5f); // round the week
        }
        engine.live.clear();
        engine.parked.clear();
    }
}

TEST_F(Statics, TheOldestParkedAreRemovedOnDemand) {
    for (std::uint32_t i = 0; i < 4; ++i) {
        LiveAc& ac = active(hex + i, 77 + i, fieldLat, fieldLon, 0);
        ac.fs = i == 3 ? FlightState::taxi : FlightState::parked;
        ac.parkedAt = plat::utcNow() - (i + 1) * std::int64_t{1'000'000'000};
    }
    lf_removeOldestParked(2);
    EXPECT_EQ(engine.removalQueue, (std::deque<std::uint32_t>{79, 78}));
    lf_removeOldestParked(9);
    EXPECT_EQ(engine.removalQueue.back(), 77u);
    EXPECT_EQ(engine.live[3].st, stays);
}

} // namespace

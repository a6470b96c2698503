// Who keeps a stand when two want it, and who goes when the user's aircraft is in the way: scripted, with the reason
// that a listener hears.

#include "ground_fixture.h"

namespace {

constexpr std::uint32_t hex = 4242424, otherHex = 4242425;

class Claims : public Ground {
  protected:
    static std::uint64_t refused() { return notSpawned(NotSpawned::standTaken); }
};

TEST_F(Claims, AnArrivalTakesAStandFromOneThatNobodyReportsAnyMoreAndClearsTheNeighbours) {
    Stand& home = stand("A1", 0, 0, 0, 18);
    stand("A2", 0, 32, 0, 18);
    standing(otherHex, "DLH9ZZ", 1, 1, 1, 20); // appears on it and falls silent
    feed(hex, "DLH1AB", {{-500, 0, 12}, {-60, 0, 8}, {-12, 0, 0, 0, 4}}, 40);
    run(70);
    ASSERT_TRUE(object("DLH9ZZ"));
    LiveAc& neighbour = active(hex + 7, 77, airports.file.stands[1].lat, airports.file.stands[1].lon, 0);
    neighbour.radiusNm = 17 / metersPerNm;
    neighbour.fs = FlightState::parked;
    lf_takeStand(neighbour, airports.file.stands[1]);
    run(130);
    SCOPED_TRACE(story(hex) + "--\n" + story(otherHex));
    EXPECT_FALSE(object("DLH9ZZ"));
    EXPECT_TRUE(wasTold(otherHex, "DLH1AB parks where it stands"));
    EXPECT_TRUE(wasTold(hex + 7, "removed"));
    ASSERT_TRUE(object("DLH1AB"));
    EXPECT_EQ(state(hex), FlightState::parked);
    EXPECT_LT(metersFrom(*object("DLH1AB"), home), 0.5);
}

TEST_F(Claims, OfTwoOnTheirWayToAStandTheSecondGoes) {
    stand("A1", 0, 0, 90, 18);
    feed(hex, "DLH1AB", {{0, -500, 12}, {0, -60, 8}, {0, -19, 0, 0, 4}}, 1);
    feed(otherHex, "DLH9ZZ", {{10, 500, 12}, {10, 60, 8}, {10, 15, 0, 0, 4}}, 8);
    run(200);
    SCOPED_TRACE(story(hex) + "--\n" + story(otherHex));
    EXPECT_EQ(state(hex), FlightState::parked);
    EXPECT_FALSE(object("DLH9ZZ"));
    EXPECT_TRUE(wasTold(otherHex, "removed: stand_claimed"));
}

TEST_F(Claims, AnAircraftThatIsTakenBackBeforeItAppearsLeavesItsStandFree) {
    Stand& home = stand("A1", 0, 0, 90, 18);
    standing(hex, "DLH1AB", 1, 1, 1, 90);
    ASSERT_TRUE(runUntil(60, [&] { return home.occupied; }));
    ASSERT_FALSE(engine.spawnRequests.empty() && engine.creationQueue.empty());
    lf_removeAllForLostFeed();
    EXPECT_TRUE(engine.live.empty());
    EXPECT_FALSE(home.occupied);
    run(60); // its reports go on
    EXPECT_EQ(state(hex), FlightState::parked) << story(hex);
}

TEST_F(Claims, AStandThatIsStillReportedIsNotGivenToANewcomer) {
    stand("A1", 0, 0, 90, 18);
    standing(otherHex, "DLH9ZZ", 1, 1, 1, 90);
    standing(hex, "DLH1AB", 2, 2, 45, 45);
    run(100);
    EXPECT_TRUE(object("DLH9ZZ"));
    EXPECT_FALSE(object("DLH1AB"));
    EXPECT_TRUE(wasTold(hex, "another aircraft keeps it"));
    EXPECT_GE(refused(), 1u);
}

TEST_F(Claims, AGhostIsNotCreatedOnTheStandOfItsRealAircraftAndGivesWayToIt) {
    stand("A1", 0, 0, 90, 18);
    const struct {
        const char *holder, *claimant;
        bool feedAtStand, holderStays, granted;
    } rows[] = {
        {"DLH123", "DLH123_", false, true, false}, // a ghost of the holder
        {"DLH123_", "DLH123", true, false, true},  // the holder is its ghost
        {"DLH123_", "BAW7", true, false, true},    // any real aircraft goes before any ghost
        {"DLH123", "BAW7_", false, true, false},
        {"DLH123", "DLH123", true, false, true}, // the same: the old one goes
        {"DLH123", "BAW7", true, true, false},   // still reported
        {"DLH123", "BAW7", false, false, true},
        {"", "", false, false, true}, // two without a callsign are not the same, and no ghosts
        {"", "BAW7", true, true, false},
        {"DLH123_", "BAW7_", true, true, false},
    };
    for (const auto& row : rows) {
        LiveAc& holder = active(otherHex, 77, fieldLat, fieldLon, 0);
        holder.callsign = row.holder;
        holder.fs = FlightState::parked;
        holder.feedAtStand = row.feedAtStand;
        lf_takeStand(holder, airports.file.stands[0]);
        StandClaim claim{1, row.claimant};
        EXPECT_TRUE(lf_claimStand(claim, holder));
        EXPECT_EQ(claim.granted, row.granted) << row.holder << " and " << row.claimant;
        EXPECT_EQ(holder.st == SimState::active, row.holderStays) << row.holder << " and " << row.claimant;
        engine.live.clear();
    }
    LiveAc& bystander = active(otherHex, 77, fieldLat, fieldLon, 0); // on its way there: it has no say
    bystander.fs = FlightState::parking;
    lf_takeStand(bystander, airports.file.stands[0]);
    StandClaim claim{1, "BAW7"};
    EXPECT_FALSE(lf_claimStand(claim, bystander));
    EXPECT_TRUE(claim.granted);
}

TEST_F(Claims, ANeighbourThatWouldCollideKeepsANewcomerOff) {
    stand("A1", 0, 0, 0, 18);
    stand("A2", 0, 32, 0, 18);
    stand("A3", 0, 72, 0, 36); // adjacent to A2 by its size, but far enough for these two
    std::vector<Stand>& stands = airports.file.stands;
    ASSERT_EQ(stands[1].adjacent.size(), 2u);
    LiveAc ac = lf_makeLiveAc(report(hex, 50, 8, 0, 0));
    ac.radiusNm = 17 / metersPerNm;
    LiveAc& neighbour = active(otherHex, 77, stands[1].lat, stands[1].lon, 0);
    lf_takeStand(neighbour, stands[1]);
    const auto conflict = [&](FlightState fs, double radius, std::size_t at = 0) {
        neighbour.fs = fs;
        neighbour.radiusNm = radius / metersPerNm;
        return lf_adjacentConflict(stands[at], ac);
    };
    EXPECT_TRUE(conflict(FlightState::pushingBack, 17)); // 1.1 times both radii is 37.4 m
    EXPECT_FALSE(conflict(FlightState::pushingBack, 17, 2));
    EXPECT_FALSE(conflict(FlightState::pushingBack, 12)); // 31.9 m
    EXPECT_FALSE(conflict(FlightState::pushedBack, 17));
    neighbour.callsign = ac.callsign;
    EXPECT_FALSE(conflict(FlightState::parked, 17)); // that is itself
    ac.callsign = neighbour.callsign = "";
    EXPECT_TRUE(conflict(FlightState::parked, 17));
    stands[1].lat = stands[1].lon = 0; // nobody knows where it is
    EXPECT_TRUE(conflict(FlightState::parked, 1));
}

TEST_F(Claims, TheReservedStandAndTheUsersOwnAreLeftAlone) {
    stand("A1", 0, 0, 0, 18);
    stand("A2", 0, 300, 0, 18);
    airports.reservedStand = "A1";
    standing(hex, "DLH1AB", 1, 1, 1, 60);
    feed(otherHex, "DLH9ZZ", {{-500, 300, 12}, {-60, 300, 8}, {-12, 300, 0, 0, 4}}, 1);
    const LatLon user = fieldPlace(40, 300);
    hub.world.placeUser(user.lat, user.lon, fieldFt, 0, true, 0);
    run(150);
    SCOPED_TRACE(story(hex) + "--\n" + story(otherHex));
    EXPECT_TRUE(wasTold(hex, "stand A1 is kept for the user"));
    EXPECT_TRUE(wasTold(otherHex, "stand A2 is kept for the user"));
    EXPECT_EQ(state(hex), FlightState::birth); // it is where it was reported, and holds no stand
    EXPECT_EQ(state(otherHex), FlightState::taxi);
    EXPECT_FALSE(airports.file.stands[0].occupied);
    // And drives away like any other.
    feed(hex, "DLH1AB", {{1, 1, 5}, {100, 1, 10}}, seconds);
    run(50);
    EXPECT_EQ(state(hex), FlightState::taxi);
}

TEST_F(Claims, FiveMilesFromTheAirportAStandingAircraftNoLongerLooksForAStand) {
    stand("A1", 0, 0, 0, 18);
    for (const double nm : {5.0, 5.01}) { // it waits for a stand, or taxies
        LiveAc& ac = due(hex, 50 + nm / 60 - 1e-9, 0, 0, 1);
        ac.stream.front().stationary = true;
        ac.stream.pushBack(ac.stream.front());
        spawnLiveAc(ac);
        EXPECT_EQ(ac.fs, nm > 5 ? FlightState::taxi : FlightState::birth) << nm;
        lf_resetEngine();
        lf_presizeEngine();
    }
}

// ---- the user's aircraft -------------------------------------------------------------------------------------------

class UserConflicts : public Claims {
  protected:
    UserConflicts() { simLife.userRadiusNm = 17 / metersPerNm; }
    ~UserConflicts() override { simLife.userRadiusNm = 0.0; }
    void user(double north, double east, double altFt, double headingDeg, bool onGround, double knots = 0) {
        const LatLon place = fieldPlace(north, east);
        hub.world.placeUser(place.lat, place.lon, altFt, headingDeg, onGround, knots);
    }
};

TEST_F(UserConflicts, TaxiingIntoATakenStandRemovesTheOneThatStandsThere) {
    COLLISION_USER_GND.value = true;
    stand("A1", 0, 0, 0, 18);
    standing(hex, "DLH1AB", 1, 1, 1, 20);
    run(60);
    ASSERT_TRUE(object("DLH1AB"));
    user(-60, 0, fieldFt, 0, true, 10);
    run(2);
    ASSERT_TRUE(object("DLH1AB")); // 60 m off: 1.15 times both radii is 39 m
    ASSERT_TRUE(runUntil(20, [&] { return object("DLH1AB") == nullptr; }));
    EXPECT_TRUE(wasTold(hex, "touches the user's aircraft"));
    EXPECT_LT(gf_distanceNm(engine.user.lat, engine.user.lon, fieldLat, fieldLon) * metersPerNm, 45);
}

TEST_F(UserConflicts, ALineOfTaxiingAircraftLosesOneASecondAndOnlyThoseInTheWay) {
    COLLISION_USER_GND.value = true;
    for (std::uint32_t i = 0; i < 3; ++i)
        active(hex + i, 70 + i, fieldPlace(30.0 * i, 0).lat, fieldLon, 0).radiusNm = 17 / metersPerNm;
    engine.user = UserBlock();
    engine.user.lat = fieldPlace(-5, 0).lat;
    engine.user.lon = fieldLon;
    sim.userOnGround = true;
    const auto left = [] { // after another look
        lf_userConflicts();
        return std::count_if(engine.live.begin(), engine.live.end(),
                             [](const LiveAc& ac) { return ac.st == SimState::active; });
    };
    EXPECT_EQ(left(), 2); // 5 m off; the next is 35 m off, the last 65 m
    EXPECT_EQ(engine.live[0].st, SimState::removingFromSim);
    EXPECT_EQ(left(), 1);
    EXPECT_EQ(left(), 1);
    COLLISION_USER_GND.value = false;
    engine.user.lat = engine.live[2].lat;
    EXPECT_EQ(left(), 1);
    COLLISION_USER_GND.value = true;
    engine.user.lat = engine.user.lon = 0; // no position
    engine.live[2].lat = engine.live[2].lon = 0;
    EXPECT_EQ(left(), 1);
}

TEST_F(UserConflicts, WhoStandsOnTheRunwayGoesWhenTheUserLandsOnIt) {
    COLLISION_USER_AIR.value = true;
    LiveAc& onRunway = active(hex, 71, fieldPlace(0, 5).lat, fieldPlace(0, 5).lon, 0);
    onRunway.stream.front().stationary = true;
    LiveAc& beside = active(otherHex, 72, fieldPlace(0, 40).lat, fieldPlace(0, 40).lon, 0);
    beside.stream.front().stationary = true;
    user(-4000, 0, 400, 0, false, 130); // two miles before it, and low
    run(3);
    EXPECT_EQ(engine.live[0].st, SimState::active);
    ASSERT_TRUE(runUntil(60, [&] { return wasTold(hex, "removed"); }));
    EXPECT_TRUE(wasTold(hex, "about to land"));
    const double nm = gf_distanceNm(engine.user.lat, engine.user.lon, fieldLat, fieldLon);
    EXPECT_LE(nm, 1);
    EXPECT_GT(nm, 0.9);
    run(5);
    EXPECT_FALSE(wasTold(otherHex, "removed")); // 40 m is 131 feet beside
}

TEST_F(UserConflicts, InTheAirOnlyWhoIsLevelNearAndOnTheLineGoes) {
    COLLISION_USER_AIR.value = true;
    sim.userOnGround = false;
    engine.user = UserBlock();
    engine.user.lat = fieldLat;
    engine.user.lon = fieldLon;
    engine.user.alt = 5000;
    const struct {
        double northNm, eastNm, alt, heading; // of the other, degrees
        bool goes;
    } rows[] = {
        {3.9, 0, 5900, 180, true},                                // head on
        {4.1, 0, 5900, 180, false},                               // too far
        {3.9, 0, 6001, 180, false},                               // above
        {3.9, 0.1, 5000, 180, true},                              // passes 608 feet beside
        {3.9, 0.13, 5000, 180, false}, {3.9, 0, 5000, 90, false}, // crosses ahead
        {3.9, 0, 5000, 0, true}, // flies away on the same line: the line counts, not the direction
    };
    for (const auto& row : rows) {
        const LatLon place = fieldPlace(row.northNm * metersPerNm, row.eastNm * metersPerNm);
        LiveAc& ac = active(hex, 71, place.lat, place.lon, row.alt);
        ac.heading = row.heading * degToRad;
        EXPECT_EQ(lf_userAirConflict(ac), row.goes) << row.northNm << " " << row.eastNm << " " << row.heading;
        ac.st = SimState::removingFromSim;
        EXPECT_FALSE(lf_userAirConflict(ac));
        engine.live.clear();
    }
}

} // namespace

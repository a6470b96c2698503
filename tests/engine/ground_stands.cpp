// The search for a stand, the sightings told to it, and the likely stand for an aircraft that nobody saw at one:
// tables.

#include "ground_fixture.h"

namespace {

constexpr std::uint32_t hex = 4242424;

class Stands : public Ground {
  protected:
    Stands() { RANDOM.value = false; }
    static LiveAc aircraft(const std::string& type, double radiusMeters) {
        TrafficRecord r = report(hex, fieldLat, fieldLon, 0, 0);
        r.acType = type;
        r.airline = "DLH";
        LiveAc ac = lf_makeLiveAc(r);
        ac.radiusNm = radiusMeters / metersPerNm;
        return ac;
    }
    // The id of the stand found at the field's place.
    static std::string found(const LiveAc& ac, double radius, bool wide) {
        const Stand* s = lf_findStand(fieldLat, fieldLon, ac, radius, wide);
        return s ? s->id : "";
    }
    static StandOption option(const std::string& airl, const std::string& type, const std::string& cs,
                              const std::string& cs2 = "") {
        StandOption o;
        o.airl = airl;
        o.type = type;
        o.cs = cs;
        o.cs2 = cs2;
        o.index = 1;
        o.real = 1;
        o.day = 1;
        o.hours.set(20);
        return o;
    }
};

TEST_F(Stands, TheNearestThatFitsIsFoundAndOneRightUnderTheAircraftGrows) {
    const struct {
        double meters, standRadius, radius; // of the stand from the aircraft, and of the search
        bool isFound, grows;
    } rows[] = {
        {54.9, 18, 55, true, false},  {55.1, 18, 55, false, false}, {19.9, 18, 20, true, false},
        {20.1, 18, 20, false, false}, {50, 15.2, 55, true, false}, // 1.8 m too small still fits
        {50, 15.1, 55, false, false}, {21, 10, 55, false, false},   {19, 10, 55, true, true},
    };
    for (const auto& row : rows) {
        Stand& s = stand("A1", row.meters, 0, 0, row.standRadius);
        airports.updates = 0;
        EXPECT_EQ(found(aircraft("A320", 17), row.radius, false), row.isFound ? "A1" : "") << row.meters;
        EXPECT_EQ(s.radiusChanged, row.grows) << row.meters;
        EXPECT_NEAR(s.radius * metersPerNm, row.grows ? 16 : row.standRadius, 1e-6) << row.meters;
        EXPECT_EQ(airports.updates, row.grows ? 1u : 0u);
        airports.file.stands.clear();
    }
}

TEST_F(Stands, OfSeveralTheNearestCountsAndTheSmallNearOneOnlyWithinTwentyMetres) {
    stand("far", 40, 0, 0, 18);
    Stand& small = stand("small near", 15, 0, 0, 10);
    stand("small", -25, 0, 0, 10);
    Stand& fits = stand("fits", 10, 0, 0, 18);
    EXPECT_EQ(found(aircraft("A320", 17), 55, false), "fits");
    EXPECT_FALSE(small.radiusChanged); // it was the best for a while
    fits.occupied = true;
    EXPECT_EQ(found(aircraft("A320", 17), 55, false), "small near");
    EXPECT_TRUE(small.radiusChanged);
    small.occupied = true;
    EXPECT_EQ(found(aircraft("A320", 17), 55, false), "far");
}

TEST_F(Stands, FartherOffAStandCountsOnlyForAFlightThatWasSeenThere) {
    StandOption dead = option("DLH", "A320", ""), soft = dead;
    dead.index = 0;
    soft.real = 0;
    const struct {
        StandOption known;
        double meters;
        bool isFound;
    } rows[] = {
        {option("", "", "DLH424"), 84.9, true},
        {option("", "", "X", "DLH424"), 84.9, true},
        {option("DLH", "A320", ""), 84.9, true},
        {option("DLH", "A320", ""), 85.1, false},
        {option("DLH", "B744", "X"), 84.9, false},
        {dead, 84.9, false},
        {soft, 84.9, false},
    };
    for (const auto& row : rows) {
        stand("A1", row.meters, 0, 0, 18).options.push_back(row.known);
        EXPECT_EQ(found(aircraft("A320", 17), 55, true), row.isFound ? "A1" : "") << row.meters;
        EXPECT_EQ(found(aircraft("A320", 17), 55, false), "");
        airports.file.stands.clear();
    }
    stand("A1", 70, 0, 0, 18).options.push_back(option("", "", ""));
    LiveAc nameless = aircraft("", 17);
    nameless.callsign = nameless.airline = "";
    EXPECT_EQ(found(nameless, 55, true), ""); // empty texts never match
    stand("near", 50, 0, 0, 18);              // one that is near ends the search for a farther one
    airports.file.stands[0].options.push_back(option("DLH", "A320", ""));
    EXPECT_EQ(found(aircraft("A320", 17), 55, true), "near");
}

TEST_F(Stands, HelicoptersAndTheirStandsKeepToThemselvesAsTheLastTest) {
    Stand& pad = stand("pad", 5, 0, 0, 18);
    pad.heli = true;
    stand("gate", 10, 0, 0, 18);
    for (const bool occupied : {false, true}) { // the nearest counts, and no other is looked for
        pad.occupied = occupied;
        EXPECT_EQ(found(aircraft("R44", 5), 55, false), occupied ? "" : "pad");
        EXPECT_EQ(found(aircraft("A320", 17), 55, false), occupied ? "gate" : "");
    }
    pad.occupied = false;
    pad.radius = 5 / metersPerNm;
    EXPECT_EQ(found(aircraft("A320", 17), 55, false), "");
    EXPECT_FALSE(pad.radiusChanged); // refused after all: it does not grow
}

// ---- sightings -----------------------------------------------------------------------------------------------------

TEST_F(Stands, ASightingSetsTheHalfHourUnlessTheBaseFileKnowsTheDay) {
    Stand& s = stand("A1", 0, 0, 0, 18);
    LiveAc ac = aircraft("A320", 17);
    ac.regcode = "D-AIZA";
    StandOption known = option("DLH", "A320", "DLH424");
    known.reg = "D-AIZA";
    known.origin = 1;
    s.options.push_back(known);
    EXPECT_FALSE(lf_addRealStandOption(1, ac, {1, 21}, false)); // of the base file, and without it
    EXPECT_TRUE(lf_addRealStandOption(1, ac, {2, 21}, false));  // another day
    s.options[0].origin = 0;
    airports.updates = 0;
    EXPECT_TRUE(lf_addRealStandOption(1, ac, {1, 21}, false));
    EXPECT_TRUE(s.options[0].hours.test(21));
    EXPECT_EQ(airports.updates, 1u);
    s.options[0].real = 0; // a soft one is another matter
    s.realSeen.clear();
    EXPECT_TRUE(lf_addRealStandOption(1, ac, {1, 22}, false));
    EXPECT_FALSE(s.options[0].hours.test(22));
    EXPECT_EQ(s.realSeen.count(hex), 1u); // a visit has begun
    EXPECT_TRUE(lf_addSoftStandOption(1, ac, false, {1, 22}));
    EXPECT_TRUE(s.options[0].hours.test(22));
    EXPECT_EQ(s.softSeen.count(hex), 0u);
    EXPECT_FALSE(lf_addRealStandOption(99, ac, {1, 22}, false)); // no such stand
    EXPECT_EQ(s.realSeen.count(hex), 1u);
    EXPECT_FALSE(lf_addRealStandOption(99, ac, {1, 22}, true));
    EXPECT_EQ(s.realSeen.count(hex), 0u); // the visit ends all the same
    ac.regcode = ac.callsign = "";
    EXPECT_FALSE(lf_addRealStandOption(1, ac, {1, 23}, false));
}

TEST_F(Stands, AVisitOverMidnightFillsTheHoursOfBothDays) {
    Stand& s = stand("A1", 0, 0, 0, 18);
    LiveAc ac = aircraft("A320", 17);
    ac.regcode = "D-AIZA";
    EXPECT_TRUE(lf_addRealStandOption(1, ac, {7, 46}, false));
    ac.callsign = "DLH5";
    EXPECT_TRUE(lf_addRealStandOption(1, ac, {1, 1}, true));
    ASSERT_EQ(s.options.size(), 2u);
    EXPECT_EQ(gf_bitset2hours(s.options[0].hours), "46,47");
    EXPECT_EQ(s.options[0].cs + ":" + s.options[0].cs2, "DLH424:DLH5");
    EXPECT_EQ(gf_bitset2hours(s.options[1].hours), "0,1");
    EXPECT_TRUE(s.options[1].day == 1 && s.options[1].cs == "DLH5");
    EXPECT_TRUE(s.realSeen.empty());

    s.options.clear(); // too long to be filled: what is known is the half hour of each end
    EXPECT_TRUE(lf_addRealStandOption(1, ac, {2, 20}, false));
    EXPECT_TRUE(lf_addRealStandOption(1, ac, {3, 10}, true));
    ASSERT_EQ(s.options.size(), 2u);
    EXPECT_EQ(gf_bitset2hours(s.options[0].hours) + "|" + gf_bitset2hours(s.options[1].hours), "20|10");
    EXPECT_TRUE(s.realSeen.empty());
}

TEST_F(Stands, AnAircraftIsLearnedAgainOnlyAfterAWhile) {
    EXPECT_TRUE(lf_learnedRecently(hex, {1, 47}, false));
    EXPECT_FALSE(lf_learnedRecently(hex, {2, 1}, false)); // two half hours later, round midnight
    EXPECT_TRUE(lf_learnedRecently(hex, {2, 2}, false));
    EXPECT_FALSE(lf_learnedRecently(hex, {2, 4}, false)); // counted from the last that was learned
    EXPECT_TRUE(lf_learnedRecently(hex, {2, 4}, true));
    EXPECT_TRUE(lf_learnedRecently(hex + 1, {2, 4}, false));
}

TEST_F(Stands, TheOtherFlightOfATurnRoundIsFoundAroundThisTime) {
    Stand& s = stand("A1", 0, 0, 0, 18);
    const struct {
        const char *callsign, *airline, *type;
        WeekSlot slot;
        bool isFound;
        const char* other = "DLH425";
    } rows[] = {
        {"DLH424", "DLH", "A320", {1, 20}, true},
        {"DLH425", "DLH", "A320", {1, 20}, true},
        {"DLH424_", "DLH", "A320", {1, 20}, true},
        {"DLH424", "DLH", "A320", {1, 30}, true},
        {"DLH424", "DLH", "A320", {1, 31}, false},
        {"DLH424", "DLH", "B744", {1, 34}, true}, // Heavies stay long
        {"DLH424", "DLH", "A320", {2, 20}, false},
        {"DLH424", "BAW", "A320", {1, 20}, false},
        {"DLH42", "DLH", "A320", {1, 20}, false},
        {"DLH424", "DLH", "A320", {1, 20}, false, ""},
    };
    for (const auto& row : rows) {
        s.options = {option("DLH", "A320", "DLH424", row.other)};
        LiveAc ac = aircraft(row.type, 17);
        ac.callsign = row.callsign;
        ac.airline = row.airline;
        lf_searchForCoupledCsAroundThisTime(row.slot, ac);
        EXPECT_EQ(ac.coupledCallsign, row.isFound ? "DLH425" : "") << row.callsign << " at " << row.slot.hh;
        EXPECT_EQ(ac.firstCallsign, row.isFound ? "DLH424" : "");
    }
}

// ---- a likely stand ------------------------------------------------------------------------------------------------

TEST_F(Stands, ALikelyStandIsPickedByKindAndThenBySize) {
    const struct {
        const char* id;
        double radius;
        bool cargo, ramp, heli;
    } kinds[] = {{"gate 18", 18, false, false, false}, {"gate 36", 36, false, false, false},
                 {"ramp 10", 10, false, true, false},  {"ramp 33", 33, false, true, false},
                 {"cargo 20", 20, true, false, false}, {"cargo ramp 40", 40, true, true, false},
                 {"pad 6", 6, false, true, true}};
    const struct {
        const char* type;
        double radius;
        bool cargo;
        const char *airline, *without, *expected; // stands whose ids hold `without` are not there
    } rows[] = {
        {"R44", 5, false, "DLH", "", "pad 6"},
        {"R44", 5, false, "DLH", "pad", "ramp 10"},
        {"R44", 50, false, "DLH", "", "pad 6"}, // fits nowhere: any pad
        {"A320", 17, true, "DLH", "", "cargo 20"},
        {"A320", 38, true, "DLH", "", "cargo ramp 40"},
        {"A320", 17, true, "DLH", "cargo", "gate 18"},
        {"A320", 50, true, "DLH", "", "cargo ramp 40"}, // the nearest in size
        {"C172", 5.5, false, "DLH", "", "ramp 10"},
        {"A320", 17, false, "PVT", "", "ramp 33"},
        {"C172", 40, false, "DLH", "", "ramp 33"},
        {"C172", 5.5, false, "DLH", "ramp", ""}, // no gate for those
        {"A320", 17, false, "DLH", "", "gate 18"},
        {"A320", 34, false, "DLH", "", "gate 36"},
        {"A320", 50, false, "DLH", "", "gate 36"}, // any gate before a ramp
        {"A320", 30, false, "DLH", "gate", "ramp 33"},
    };
    airports.park.code = "KTST"; // there a gate comes before a ramp in all cases
    for (const auto& row : rows) {
        airports.file.stands.clear();
        for (const auto& k : kinds) {
            if (*row.without && std::string(k.id).find(row.without) != std::string::npos) continue;
            Stand& s = stand(k.id, 0, 200.0 * static_cast<double>(airports.file.stands.size()), 0, k.radius);
            s.cargo = k.cargo;
            s.ramp = k.ramp;
            s.heli = k.heli;
        }
        LiveAc ac = aircraft(row.type, row.radius);
        ac.cargo = row.cargo;
        ac.airline = row.airline;
        const Stand* s = lf_searchSoftStand({1, 20}, ac, false);
        EXPECT_EQ(s ? s->id : "", row.expected)
            << row.type << " " << row.radius << " without " << row.without;
    }
}

TEST_F(Stands, ALikelyStandIsFreeAtThisTimeAndKnowsTheFlightIfAnyDoes) {
    airports.park.code = "KTST";
    stand("A1", 0, 0, 0, 18);
    stand("A2", 0, 200, 0, 18);
    stand("A3", 0, 400, 0, 18);
    const LiveAc ac = aircraft("A320", 17);
    std::vector<Stand>& stands = airports.file.stands;
    EXPECT_EQ(lf_searchSoftStand({1, 20}, ac, false)->id, "A1");
    stands[0].options.push_back(option("BAW", "B744", "BAW1")); // taken on this day at this time
    EXPECT_EQ(lf_searchSoftStand({1, 20}, ac, false)->id, "A2");
    EXPECT_EQ(lf_searchSoftStand({1, 21}, ac, false)->id, "A1");
    stands[2].options.push_back(option("DLH", "A320", ""));
    EXPECT_EQ(lf_searchSoftStand({1, 21}, ac, false)->id, "A3"); // the flight was seen there
    stands[1].options.push_back(option("BAW", "B744", "BAW2"));
    EXPECT_EQ(lf_searchSoftStand({1, 20}, ac, false), nullptr);
    EXPECT_EQ(lf_searchSoftStand({1, 20}, ac, true)->id, "A3"); // a small airport: the next half hour
    for (int i = 0; i < 8; ++i) {
        Stand& more = stand(fmt::format("B{}", i), 500, 200.0 * i, 0, 18);
        more.options.push_back(option("BAW", "B744", "BAW3"));
    }
    EXPECT_EQ(lf_searchSoftStand({1, 20}, ac, true), nullptr); // eleven stands
    for (Stand& s : stands) s.options.assign(1, option("BAW", "B744", "BAW4"));
    for (Stand& s : stands) s.options[0].day = 7, s.options[0].hours.set(47);
    stands.resize(10);
    EXPECT_EQ(lf_searchSoftStand({7, 47}, ac, true)->id, "A1"); // the next is the first of the week
}

TEST_F(Stands, SoftLearningAsksFirstWhetherItIsWantedAndWhatIsKnown) {
    Stand& s = stand("A1", 0, 0, 0, 18);
    LEARN_SOFT.value = true;
    airports.learnAllowed = true;
    airports.park.code = "KTST";
    app.weekSlot.store({1, 20});
    LiveAc ac = aircraft("A320", 17);
    ac.regcode = "D-AIZA";
    const auto learned = [&](double nm, double agl, std::uint32_t standId = 0, bool force = false) {
        ac.lat = fieldLat + nm / 60;
        ac.lon = fieldLon;
        ac.agl = agl;
        ac.standId = standId;
        airports.updates = 0;
        engine.learned.clear();
        s.softSeen.clear();
        lf_learnSoftStand(ac, force);
        return airports.updates == 1;
    };
    EXPECT_TRUE(learned(0, 0));
    EXPECT_EQ(s.softSeen.count(hex), 1u);
    lf_learnSoftStand(ac, false); // the same half hour again
    EXPECT_EQ(airports.updates, 1u);
    app.weekSlot.store({1, 21}); // the visit goes on
    lf_learnSoftStand(ac, false);
    EXPECT_EQ(airports.updates, 2u);
    for (const bool soft : {true, false}) { // both must be
        LEARN_SOFT.value = soft;
        airports.learnAllowed = !soft;
        EXPECT_FALSE(learned(0, 0));
    }
    LEARN_SOFT.value = airports.learnAllowed = true;
    EXPECT_FALSE(learned(0, 0, 1));
    EXPECT_FALSE(learned(0, 2500));
    EXPECT_TRUE(learned(0, 2500, 0, true));
    EXPECT_FALSE(learned(5.01, 0));
    EXPECT_TRUE(learned(4.99, 0));
    s.options = {option("", "", "")}; // a real stand is known at 20, and so around 21
    s.options[0].reg = "D-AIZA";
    EXPECT_FALSE(learned(0, 0));
    app.weekSlot.store({1, 22});
    EXPECT_TRUE(learned(0, 0));
}

} // namespace

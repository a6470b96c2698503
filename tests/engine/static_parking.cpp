// Static parking from what is known of the stands to the objects of the simulator's world: which aircraft are chosen,
// how they are placed, renewed and driven away.

#include "ground_fixture.h"

#include "airports/statics.h"

#include <set>

namespace {

constexpr std::uint32_t hex = 4242424;

class StaticParking : public Ground {
  protected:
    std::vector<double> created;

    StaticParking() {
        RANDOM.value = false;
        parking_percentage.value = 100;
        at(3, 20);
    }
    // One minute into a half hour of the week.
    void at(std::int32_t day, std::int32_t hh) {
        constexpr std::int64_t monday = 1'699'833'600;
        clock.setUtcSeconds(monday + (day - 1) * 86400 + hh * 1800 + 60);
        app.weekSlot.store({day, hh});
    }
    static StandOption& option(Stand& s, const std::string& reg, const std::string& cs,
                               const std::string& cs2, std::int32_t day,
                               std::initializer_list<std::size_t> hours, const std::string& airl = "DLH",
                               std::int32_t real = 1) {
        StandOption o;
        o.airl = airl;
        o.type = "A320";
        o.reg = reg;
        o.cs = cs;
        o.cs2 = cs2;
        for (const std::size_t hh : hours) o.hours.set(hh);
        o.index = static_cast<std::int32_t>(s.options.size()) + 1;
        o.day = day;
        o.real = real;
        s.options.push_back(o);
        return s.options.back();
    }
    static void inFeed(const std::string& callsign) {
        const LockGuard hold(trafficLock);
        trafficReader.seenCallsigns.insert(callsign);
    }
    void watch() override {
        for (const auto& [id, o] : hub.world.objects)
            if (o.tailNumber.ends_with('*') && known.insert(id).second) created.push_back(seconds);
    }
    std::set<std::string> shown() const {
        std::set<std::string> names;
        for (const auto& [id, o] : hub.world.objects)
            if (o.tailNumber.ends_with('*')) names.insert(o.tailNumber);
        return names;
    }
    using Names = std::set<std::string>;
    Names fill() { // the first calculation, until all stand
        lf_calculateStatics();
        return settle();
    }
    Names renew() {
        lf_adjustStatics();
        return settle();
    }
    Names settle() {
        run(6 + 0.5 * static_cast<double>(airports.staticQueue.size()));
        for (const ParkedAc& ac : engine.parked) EXPECT_EQ(ac.st, SimState::active) << ac.callsign;
        EXPECT_EQ(shown().size(), engine.parked.size());
        return shown();
    }
    static ParkedAc& only() { return engine.parked.at(0); }
    std::set<std::uint32_t> known;
};

TEST_F(StaticParking, CountsTheStandsToFill) {
    const struct {
        int stands, percentage, custom, most, wanted, shownPercentage;
    } rows[] = {{1, 1, -1, -1, 1, 1},       {3, 49, -1, -1, 1, 49},  {3, 50, -1, -1, 2, 50},
                {5, 50, -1, -1, 3, 50},     {10, 25, -1, -1, 3, 25}, {10, 30, 60, -1, 6, 60},
                {10, 80, -1, 3, 3, 30},     {10, 80, -1, 0, 0, 0},   {10, 80, -1, 500, 8, 80},
                {10, 150, -1, -1, 15, 150}, {29, 50, -1, -1, 15, 50}};
    for (const auto& row : rows) {
        airports.file.stands.assign(static_cast<std::size_t>(row.stands), Stand());
        parking_percentage.value = row.percentage;
        CUSTOM_PARKING_PERCENTAGE.value = row.custom;
        CUSTOM_MAX_PARK.value = row.most;
        EXPECT_EQ(gf_wantedParked(), row.wanted) << row.stands << " " << row.percentage;
        EXPECT_EQ(display.parkedPercentage, row.shownPercentage) << row.stands << " " << row.percentage;
        EXPECT_EQ(airports.maxParked, row.wanted);
    }
}

TEST_F(StaticParking, FillsTheStandsWithWhatStoodThereLastOneEachHalfSecond) {
    Stand& a = stand("A", 0, 0, 90, 18);
    option(a, "D-AIXX", "DLH1", "", 3, {20, 21});
    option(a, "D-AAAA", "DLH2", "", 4, {20});
    option(stand("B", 0, 200, 180, 18), "D-BBBB", "DLH3", "DLH4", 3, {18}); // it leaves: so is it shown
    option(stand("C", 0, 400, 0, 18), "D-CCCC", "", "", 3, {20});           // nobody knows its callsign
    stand("D", 0, 600, 0, 18);
    option(stand("E", 0, 800, 0, 18), "D-EEEE", "DLH5", "DLH6", 3, {20, 21}); // it stays
    option(stand("F", 0, 1000, 0, 18), "D-FFFF", "DLH7", "", 3, {20}).index = 0;
    EXPECT_EQ(fill(), (Names{"DLH1*", "DLH4*", "DLH2*", "DLH5*"}));
    rig::SimObject* first = object("DLH1*");
    ASSERT_TRUE(first);
    EXPECT_LT(metersFrom(*first, a), 0.1);
    EXPECT_LT(degreesOff(*first, 90), 0.1);
    EXPECT_TRUE(hub.world.onGround(*first));
    EXPECT_EQ(first->title, "FSLTL_A320_DLH") << "the one that its registration bears";
    ASSERT_EQ(created.size(), 4u);
    for (const ParkedAc& ac : engine.parked) EXPECT_EQ(ac.parkedSince.hh, ac.callsign == "DLH4*" ? 18 : 20);
    EXPECT_EQ(airports.realFit, 47) << "the target is out of reach";
    EXPECT_EQ(airports.softFit, 47);
    EXPECT_TRUE(display.staticWork);
    lf_parkingStep(false);
    EXPECT_FALSE(display.staticWork);
    EXPECT_EQ(display.minutesToSummary, 19);
}

TEST_F(StaticParking, LooksBackOverMidnightAsFarAsTheFitAllows) {
    at(1, 1);
    Stand& a = stand("A", 0, 0, 0, 18);
    option(a, "D-AIXX", "DLH1", "", 7, {46});
    const auto chosen = [] {
        lf_calculateStatics();
        return airports.staticQueue.size() == 1;
    };
    for (const std::int32_t most : {0, 2, 3}) {
        MAX_FIT.value = most;
        EXPECT_EQ(chosen(), most == 3) << most;
    }
    EXPECT_EQ(airports.staticQueue.at(0).fit, 3);
    a.options[0].day = 6;
    EXPECT_FALSE(chosen());
    WEEK.value = true;
    EXPECT_TRUE(chosen());
    a.options[0].real = 0;
    for (const bool soft : {false, true})
        for (const bool fake : {false, true}) {
            PARK_SOFT.value = soft;
            PARK_FAKE.value = fake;
            EXPECT_EQ(chosen(), soft || fake);
            EXPECT_EQ(display.softParking, soft || fake);
        }
    a.heli = true;
    EXPECT_TRUE(chosen());
    HELICOPTERS.value = false;
    EXPECT_FALSE(chosen());
    EXPECT_FALSE(display.staticWork) << "nothing to do";
}

TEST_F(StaticParking, TheTargetIsReachedWithTheBestFitsAndCutFromTheLastHalfHour) {
    parking_percentage.value = 50;
    for (int i = 0; i < 6; ++i) {
        Stand& s = stand(std::string(1, static_cast<char>('A' + i)), 0, 200 * i, 0, 18);
        option(s, "D-AA" + std::to_string(i), "DLH" + std::to_string(i), "", 3,
               {static_cast<std::size_t>(i < 2 ? 17 : 20 - i / 3)});
    }
    lf_calculateStatics();
    std::vector<std::int32_t> fits;
    for (const StaticCandidate& candidate : airports.staticQueue) fits.push_back(candidate.fit);
    EXPECT_EQ(fits, (std::vector<std::int32_t>{1, 1, 0})) << "the best is placed first, from the end";
    EXPECT_EQ(airports.realFit, 1);
    EXPECT_EQ(airports.softFit, -1);
}

TEST_F(StaticParking, TakesNoStandOfTheUserAndNoneBesideOneThatIsTaken) {
    Stand& a = stand("A", 0, 0, 0, 18);
    Stand& b = stand("B", 0, 30, 0, 18);
    Stand& c = stand("C", 0, 60, 0, 18);
    Stand& d = stand("D", 500, 0, 0, 18);
    int n = 0;
    for (Stand* s : {&a, &b, &c, &d}) option(*s, "D-A" + s->id, "DLH" + std::to_string(++n), "", 3, {20});
    airports.reservedStand = "D";
    EXPECT_EQ(fill(), (Names{"DLH1*", "DLH3*"}));
    EXPECT_TRUE(d.reserved && b.blocked && a.taken && !b.taken);
    airports.reservedStand.clear();
    engine.user.lat = c.lat;
    engine.user.lon = c.lon;
    lf_calculateStatics();
    EXPECT_TRUE(c.reserved && !d.reserved) << "the user stands there";
}

// ---- nobody twice -------------------------------------------------------------------------------------------------

TEST_F(StaticParking, ShowsNobodyWhoIsInTheFeedOrStandsElsewhere) {
    const struct {
        const char *feed, *reg, *cs, *cs2;
        bool used;
    } rows[] = {
        {"KLM1234", "PH-1", "KLM1234", "", false},
        {"KLM1234_", "PH-1", "KLM1234", "", false},
        {"KLM1234", "PH-1", "KLM1", "KLM1234", false},
        {"KLM1234_", "PH-1", "KLM1", "KLM1234", false},
        {"KLM123", "PH-1", "KLM1234", "", true},
        {"", "PH-1", "", "", true},
        {"", "PH-LIVE", "KLM1", "", false},
        {"", "PH-1", "LIV1", "", false},
        {"", "PH-1", "KLM1", "LIV2", false},
        {"", "PH-1", "GHO1", "", false},
        {"", "PH-PARK", "KLM1", "", false},
        {"", "PH-1", "PRK1", "", false},
        {"", "PH-1", "PRK1_", "", false},
        {"KLM1", "PH-1", "KLM1_", "", false},
        {"", "PH-1", "KLM1", "PRK1", false},
        {"", "PH-1", "PRK2", "", false},
    };
    Stand& a = stand("A", 0, 0, 0, 18);
    Stand& b = stand("B", 0, 200, 0, 18);
    LiveAc& live = active(hex, 77, fieldLat, fieldLon, 5000);
    live.callsign = "LIV1";
    live.coupledCallsign = "LIV2";
    live.regcode = "PH-LIVE";
    active(hex + 1, 78, fieldLat, fieldLon, 5000).callsign = "GHO1_";
    ParkedAc there;
    there.st = SimState::active;
    there.firstCallsign = "PRK1";
    there.coupledCallsign = "PRK2";
    there.regcode = "PH-PARK";
    lf_takeStand(there, b);
    engine.parked.push_back(there);
    for (const auto& row : rows) {
        a.options.clear();
        option(a, row.reg, row.cs, row.cs2, 3, {20});
        if (*row.feed) inFeed(row.feed);
        lf_calculateStatics();
        EXPECT_EQ(airports.staticQueue.size(), row.used ? 1u : 0u)
            << row.feed << " " << row.reg << " " << row.cs;
        EXPECT_EQ(a.options[0].index, 1) << "set aside, not lost";
    }
    // The second choice of a stand comes with the next half hour back.
    option(a, "PH-2", "KLM2", "", 3, {19, 20});
    lf_calculateStatics();
    ASSERT_EQ(airports.staticQueue.size(), 1u);
    EXPECT_EQ(airports.staticQueue[0].reg, "PH-2");
}

TEST_F(StaticParking, OneAircraftOnTwoStandsOfOneHalfHourIsShownOnce) {
    option(stand("A", 0, 0, 0, 18), "D-AIZA", "DLH1", "", 3, {20});
    option(stand("B", 0, 200, 0, 18), "D-AIZA", "DLH2", "", 3, {20}); // the same aircraft
    option(stand("C", 0, 400, 0, 18), "D-AIZC", "DLH1", "", 3, {20}); // the same flight
    option(stand("D", 0, 600, 0, 18), "D-AIZD", "DLH9", "DLH1", 3, {20});
    EXPECT_EQ(fill(), Names{"DLH1*"});
}

TEST_F(StaticParking, ALiveAircraftThatComesWhileItsImageIsMadeTakesItAway) {
    option(stand("A", 0, 0, 0, 18), "D-AIZA", "DLH1", "", 3, {20});
    lf_calculateStatics();
    ASSERT_TRUE(runUntil(5, [&] { return object("DLH1*") != nullptr; }));
    ASSERT_EQ(only().st, SimState::adding2sim) << "its object is there, but not yet ready";
    LiveAc& ac = active(hex, 77, fieldLat, fieldLon + 0.1, 5000);
    ac.callsign = "DLH1";
    ac.st = SimState::active;
    EXPECT_TRUE(runUntil(5, [&] { return object("DLH1*") == nullptr; }));
    EXPECT_TRUE(runUntil(1, [&] { return engine.parked.empty(); }));
    engine.live.clear();

    // And one that has come before it is placed.
    lf_calculateStatics();
    ASSERT_EQ(airports.staticQueue.size(), 1u);
    active(hex, 77, fieldLat, fieldLon + 0.1, 5000).regcode = "D-AIZA";
    lf_placeNextStatic();
    EXPECT_TRUE(engine.parked.empty());
}

TEST_F(StaticParking, WhatLiesBeyondTheRangeWaitsUntilItIsWithin) {
    option(stand("A", 0, 0, 0, 18), "D-AIZA", "DLH1", "", 3, {20});
    option(stand("B", 20 * metersPerNm, 0, 0, 18), "D-AIZB", "DLH2", "", 3, {20});
    gf_setRange(15);
    lf_calculateStatics();
    run(6);
    EXPECT_EQ(shown(), (Names{"DLH1*"}));
    EXPECT_FALSE(lf_canPlaceStatics()) << "so that the work counts as done";
    gf_setRange(30);
    run(6);
    EXPECT_EQ(shown(), (Names{"DLH1*", "DLH2*"}));
}

TEST_F(StaticParking, SerialNumberNoughtIsAnAircraftLikeAnyOther) {
    option(stand("A", 0, 0, 0, 18), "D-AIZA", "", "", 3, {20});
    option(stand("B", 0, 200, 0, 18), "D-AIZB", "", "", 3, {20});
    airports.staticSerial = 9998;
    EXPECT_EQ(fill(), (Names{"DLH9999*", "DLH0*"}));
    gf_flushStatics();
    EXPECT_EQ(settle(), Names{});
    airports.staticSerial = 9999;
    hub.world.settings.titles = {"nothing"}; // refused
    option(*gf_standBySeq(1), "D-AIZC", "", "", 3, {20});
    lf_calculateStatics();
    run(5);
    EXPECT_TRUE(engine.parked.empty());
    EXPECT_EQ(engine.failedTitles.size(), 1u);
}

// ---- placing ------------------------------------------------------------------------------------------------------

TEST_F(StaticParking, NothingIsPlacedWhereALiveAircraftStandsOrWhatTheUserHasSwitchedOff) {
    Stand& a = stand("A", 0, 0, 0, 18);
    Stand& b = stand("B", 0, 30, 0, 18);
    option(a, "D-AIZA", "DLH1", "", 3, {20});
    LiveAc& ac = active(hex, 77, fieldLat + 0.01, fieldLon, 0);
    const auto placed = [&](FlightState fs, const Stand& s) {
        lf_calculateStatics();
        ac.fs = fs;
        lf_takeStand(ac, s);
        lf_placeNextStatic();
        EXPECT_TRUE(airports.staticQueue.empty());
        const bool is = !engine.parked.empty();
        engine.parked.clear();
        return is;
    };
    for (const FlightState fs : {FlightState::parked, FlightState::parking, FlightState::taxi})
        for (const Stand* s : {&a, &b}) EXPECT_EQ(placed(fs, *s), fs == FlightState::taxi);
    ac.lat = a.lat; // it waits there on its way to somewhere else
    EXPECT_FALSE(placed(FlightState::taxi, b));
    ac.lat = fieldLat + 0.01;
    a.options[0].type = "C172";
    LIGHT_AIRCRAFT.value = false;
    EXPECT_FALSE(placed(FlightState::taxi, b));
}

TEST_F(StaticParking, ALiveAircraftOnAStandDrivesTheStaticOneAwayAndEndsItsPlan) {
    option(stand("A", 0, 0, 0, 18), "D-AIZA", "DLH1", "", 3, {20});
    ASSERT_EQ(fill(), Names{"DLH1*"});
    standing(hex, "DLH5AB", 1, 1, seconds, 60);
    ASSERT_TRUE(runUntil(50, [&] { return object("DLH5AB") != nullptr; }));
    EXPECT_TRUE(runUntil(3, [&] { return shown().empty() && engine.parked.empty(); }));
    const std::uint32_t standId = lf_findByHexid(hex)->standId;
    airports.staticQueue.push_back(
        {static_cast<std::int32_t>(standId), 0, "DLH", "A320", "DLH9", "", "", true});
    lf_parkedAtCreation(*lf_findByHexid(hex));
    EXPECT_TRUE(airports.staticQueue.empty());
    EXPECT_EQ(lf_findByHexid(hex)->parkedSince, app.weekSlot.load());
}

// ---- renewal ------------------------------------------------------------------------------------------------------

TEST_F(StaticParking, ARenewalKeepsWhatStillStandsAndReplacesWhatHasLeft) {
    parking_percentage.value = 100;
    MAX_FIT.value = 0;
    Stand& a = stand("A", 0, 0, 0, 18);
    option(a, "D-AIZA", "DLH1", "", 3, {20, 21});
    Stand& b = stand("B", 0, 200, 0, 18);
    option(b, "D-AIZB", "DLH2", "", 3, {20});
    option(b, "D-AIZX", "DLH3", "", 3, {21});
    Stand& c = stand("C", 0, 400, 0, 18);
    option(c, "D-AIZC", "DLH4", "", 3, {20});
    ASSERT_EQ(fill(), (Names{"DLH1*", "DLH2*", "DLH4*"}));
    const std::uint32_t same = object("DLH1*")->id;
    at(3, 21);
    // The one on B gives way to the next; its stand is free only in the renewal after, as nothing is placed twice.
    const Names after = renew();
    EXPECT_TRUE(after == (Names{"DLH1*", "DLH3*"}) || after == Names{"DLH1*"});
    if (!after.contains("DLH3*")) {
        EXPECT_EQ(renew(), (Names{"DLH1*", "DLH3*"}));
    }
    EXPECT_EQ(object("DLH1*")->id, same);
    EXPECT_EQ(only().parkedSince, (WeekSlot{3, 20})) << "it has stood since";
    inFeed("DLH1");
    EXPECT_EQ(renew(), Names{"DLH3*"}) << "the real one is on its way";
}

TEST_F(StaticParking, TheOlderGivesWayAndSundayComesBeforeMonday) {
    at(1, 0);
    Stand& a = stand("A", 0, 0, 0, 18);
    option(a, "D-AIZA", "DLH1", "", 7, {46});
    MAX_FIT.value = 2;
    ASSERT_EQ(fill(), Names{"DLH1*"});
    EXPECT_EQ(only().parkedSince, (WeekSlot{7, 46}));
    StandOption& later = option(a, "D-AIZB", "DLH2", "", 7, {45});
    lf_adjustStatics();
    EXPECT_EQ(only().st, SimState::active) << "that one came before it";
    later.day = 1;
    later.hours = HalfHours(1);
    lf_adjustStatics();
    EXPECT_EQ(only().st, SimState::removingFromSim);
    ASSERT_EQ(airports.staticQueue.size(), 1u);
    EXPECT_EQ(airports.staticQueue[0].cs, "DLH2");
}

TEST_F(StaticParking, TheFlightThatHasComeBecomesTheOneThatLeavesAlsoOverMidnight) {
    const struct {
        WeekSlot filled, renewed;
        std::initializer_list<std::size_t> today, tomorrow;
        bool changes;
    } rows[] = {
        {{3, 20}, {3, 21}, {20, 21}, {}, true},     {{3, 20}, {3, 21}, {20, 21, 22}, {}, false},
        {{7, 46}, {7, 47}, {46, 47}, {}, true},     {{7, 46}, {7, 47}, {46, 47}, {0, 1}, false},
        {{7, 46}, {7, 47}, {46, 47}, {1, 2}, true},
    };
    Stand& a = stand("A", 0, 0, 0, 18);
    for (const auto& row : rows) {
        a.options.clear();
        option(a, "D-AIZA", "DLH1", "DLH2", row.filled.day, row.today);
        if (row.tomorrow.size() > 0)
            option(a, "D-AIZA", "DLH1", "DLH2", row.filled.day % 7 + 1, row.tomorrow);
        at(row.filled.day, row.filled.hh);
        ASSERT_EQ(fill(), Names{"DLH1*"});
        at(row.renewed.day, row.renewed.hh);
        lf_adjustStatics();
        EXPECT_EQ(only().st == SimState::removingFromSim, row.changes) << row.renewed.hh;
        EXPECT_EQ(airports.staticQueue.size(), row.changes ? 1u : 0u);
        if (row.changes) {
            run(3); // its object has gone, and the place in the queue with it
            EXPECT_EQ(lf_detcs({1, 0, "DLH", "A320", "DLH1", "DLH2_", "", false}, 7), "DLH2*");
        }
        gf_flushStatics();
        run(4);
        ASSERT_TRUE(engine.parked.empty());
    }
}

TEST_F(StaticParking, ALiveAircraftThatNobodyReportsForNinetyMinutesGoesWithTheRenewal) {
    Stand& a = stand("A", 0, 0, 0, 18);
    constexpr std::int64_t minute = 600'000'000;
    const struct {
        int minutes;
        bool heavy, initialOnly, stays;
    } rows[] = {{90, false, false, true},
                {91, false, false, false},
                {91, false, true, true},
                {180, true, false, true},
                {181, true, false, false}};
    for (const auto& row : rows) {
        LiveAc& ac = active(hex, 77, fieldLat, fieldLon, 0);
        ac.fs = FlightState::parked;
        ac.category = row.heavy ? AcCategory::heavy : AcCategory::large;
        lf_takeStand(ac, a);
        ac.parkedAt = plat::utcNow() - row.minutes * minute;
        ac.feedAtStand = true; // it was reported there once
        INITIAL_LOAD_ONLY.value = row.initialOnly;
        lf_adjustStatics();
        EXPECT_TRUE((ac.st == SimState::active) == row.stays && a.taken == row.stays) << row.minutes;
        engine.live.clear();
    }
    INITIAL_LOAD_ONLY.value = false;
    for (const bool silent : {false, true}) { // the same with reports; they end after a minute and a half
        standing(hex, "DLH1AB", 1, 1, seconds + 1, 90);
        run(100);
        if (silent) clock.setUtcSeconds(plat::utcSeconds() + 91 * 60);
        lf_adjustStatics();
        EXPECT_EQ(lf_findByHexid(hex)->st == SimState::active, !silent);
    }
}

TEST_F(StaticParking, TooManyGoInTheOrderOfTheirRights) {
    for (int i = 0; i < 4; ++i)
        option(stand(std::string(1, static_cast<char>('A' + i)), 0, 200 * i, 0, 18),
               "D-AA" + std::to_string(i), "DLH" + std::to_string(i), "", 3, {20, 21});
    ASSERT_EQ(fill().size(), 4u);
    CUSTOM_MAX_PARK.value = 2;
    EXPECT_EQ(renew().size(), 2u);
    LiveAc& ac = active(hex, 77, fieldLat, fieldLon, 0);
    ac.fs = FlightState::parked;
    ac.parkedAt = plat::utcNow();
    CUSTOM_MAX_PARK.value = 1;
    lf_adjustStatics();
    EXPECT_EQ(ac.st, SimState::active) << "live aircraft have the right of way";
    for (const ParkedAc& p : engine.parked) EXPECT_EQ(p.st, SimState::removingFromSim);
}

// ---- the time line ------------------------------------------------------------------------------------------------

TEST_F(StaticParking, TheRenewalOfTwentyMinutesAsksTheFeedFirst) {
    option(stand("A", 0, 0, 0, 18), "D-AIZA", "DLH1", "", 3, {20, 21});
    option(stand("B", 0, 200, 0, 18), "D-AIZB", "DLH2", "", 3, {20, 21});
    ASSERT_EQ(fill().size(), 2u);
    app.secondCount = 1195;
    for (int i = 0; i < 30; ++i) line(seconds + 2 * i, hex, "DLH1", 5000, 5000, 6000, 0, 250);
    run(16);
    EXPECT_TRUE(app.reparkRequest);
    run(10);
    EXPECT_TRUE(app.reparkFirstPhase && trafficReader.collectCallsigns && display.staticWork);
    run(16);
    EXPECT_FALSE(app.reparkRequest || app.reparkFirstPhase || trafficReader.collectCallsigns);
    run(3);
    EXPECT_EQ(shown(), Names{"DLH2*"});
    run(20);
    EXPECT_FALSE(display.staticWork);

    // What is flushed does not come back, not even by a renewal that is under way.
    app.reparkRequest.set();
    ASSERT_TRUE(runUntil(16, [&] { return app.reparkFirstPhase; }));
    app.flushRequest.set();
    run(30);
    EXPECT_EQ(shown(), Names{});
    EXPECT_TRUE(INITIAL_LOAD_ONLY && airports.staticQueue.empty() && !app.reparkRequest);
}

} // namespace

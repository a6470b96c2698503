// How options are made, filled and coupled, and what the quality factor says.

#include "airports_fixture.h"

using testing::ElementsAre;

namespace test {

class Learning : public AirportsTest {
  protected:
    static AcBase aircraft(const std::string& callsign, AcCategory category = AcCategory::large,
                           bool cargo = false) {
        AcBase ac;
        ac.callsign = callsign;
        ac.airline = "BAW";
        ac.acType = "A320";
        ac.category = category;
        ac.cargo = cargo;
        return ac;
    }
    std::string hours(std::size_t place) const { return gf_bitset2hours(stand.options.at(place).hours); }
    // A visit that begins and ends at these slots; whether it could be filled.
    bool visit(WeekSlot from, WeekSlot to, const AcBase& ac) {
        stand = Stand{};
        running = {from, lf_newStandOption(stand, ac, true, from, "GBAFM", ac.callsign)};
        return lf_fillVisit(to, stand, running, ac, "GBAFM", true);
    }
    Stand stand;
    StandVisit running;
};

TEST_F(Learning, MakesAnOptionOfWhatIsKnownOfTheAircraft) {
    const AcBase ac = aircraft("BAW12_");
    EXPECT_EQ(lf_newStandOption(stand, ac, true, {3, 20}, "", ac.callsign), 0) << "no key, no option";
    EXPECT_EQ(lf_newStandOption(stand, ac, true, {3, 20}, "GBAFM", ac.callsign), 1);
    EXPECT_EQ(lf_newStandOption(stand, ac, false, {3, 20}, "GBAFM", "BAW12"), 0) << "the same again";
    EXPECT_EQ(lf_newStandOption(stand, ac, true, {3, 21}, "GBAFM", "BAW12"), 2) << "another hour";
    EXPECT_EQ(lf_newStandOption(stand, ac, false, {3, 20}, "NCARG", "UPS1"), 3);
    ASSERT_EQ(stand.options.size(), 3u);
    EXPECT_EQ(stand.options[0].cs, "BAW12");
    EXPECT_EQ(stand.options[0].airl + stand.options[0].type, "BAWA320");
    EXPECT_TRUE(stand.options[0].real == 1 && stand.options[0].origin == 0 && stand.options[0].day == 3);
    EXPECT_EQ(stand.options[2].airl + stand.options[2].type, "ABXB763")
        << "the operator goes over the airline";
    EXPECT_EQ(stand.options[2].real, 0);
    stand.options[1].index = 0;
    stand.options.resize(2);
    EXPECT_EQ(lf_newStandOption(stand, ac, true, {4, 20}, "GBAFM", "BAW12"), 1) << "one after the last one's";
}

TEST_F(Learning, FillsTheHoursOfAVisitAndCouplesTheCallsigns) {
    running = {{2, 20}, lf_newStandOption(stand, aircraft("BAW1"), true, {2, 20}, "GBAFM", "BAW1")};
    EXPECT_TRUE(lf_fillVisit({2, 23}, stand, running, aircraft("BAW2_"), "GBAFM", true));
    EXPECT_EQ(hours(0), "20,21,22,23");
    EXPECT_EQ(stand.options[0].cs + "|" + stand.options[0].cs2, "BAW1|BAW2");
    EXPECT_EQ(running.start, (WeekSlot{2, 23}));
    lf_setCoupledCs(stand, 1, "BAW1_");
    lf_setCoupledCs(stand, 1, "BAW2");
    lf_setCoupledCs(stand, 1, "_");
    EXPECT_EQ(stand.options[0].cs + "|" + stand.options[0].cs2, "BAW1|BAW2");
    lf_setCoupledCs(stand, 1, "BAW3");
    EXPECT_EQ(stand.options[0].cs2, "BAW3");
    lf_setCoupledCs(stand, 9, "BAW4"); // none such
    StandVisit none{{1, 1}, 0};
    EXPECT_TRUE(lf_fillVisit({7, 40}, stand, none, aircraft("X"), "GBAFM", true))
        << "a visit without an option";
    EXPECT_EQ(stand.options.size(), 1u);
}

TEST_F(Learning, AVisitThatIsTooLongIsNotFilled) {
    const struct {
        WeekSlot last, tooLong;
        AcCategory category;
        bool cargo;
    } rows[] = {{{1, 15}, {1, 16}, AcCategory::large, false},
                {{1, 17}, {1, 18}, AcCategory::heavy, false},
                {{1, 21}, {1, 22}, AcCategory::heavy, true},
                {{1, 21}, {1, 22}, AcCategory::large, true}};
    for (const auto& row : rows) {
        EXPECT_TRUE(visit({1, 10}, row.last, aircraft("A", row.category, row.cargo))) << row.last.hh;
        EXPECT_FALSE(visit({1, 10}, row.tooLong, aircraft("A", row.category, row.cargo))) << row.last.hh;
    }
    EXPECT_FALSE(visit({1, 10}, {1, 9}, aircraft("A")));
    EXPECT_FALSE(visit({1, 46}, {3, 0}, aircraft("A"))) << "two days on";
}

TEST_F(Learning, QualitySaysWhatShareOfTheStandsIsKnown) {
    std::vector<Stand> stands(2);
    EXPECT_EQ(gf_qualityFactor(stands).real, -1);
    EXPECT_EQ(gf_qualityFactor({}).soft, -1);
    StandOption option;
    option.index = 1;
    option.day = 2;
    option.real = 1;
    option.hours.set(5);
    stands[0].options = {option};
    // 10000 + 20 + 100 + 2 over two stands.
    EXPECT_EQ(gf_qualityFactor(stands).real, 32);
    EXPECT_EQ(gf_qualityFactor(stands).soft, 0);
    stands[0].options[0].index = 0;
    EXPECT_EQ(gf_qualityFactor(stands).real, 0) << "dead, and yet an option";
    option.hours.set();
    stands[0].options.clear();
    for (int i = 0; i < 300; ++i) {
        option.day = i % 9; // 0 and 8 are no days
        stands[0].options.push_back(option);
    }
    stands.resize(1);
    EXPECT_EQ(gf_qualityFactor(stands).real, 99) << "the best there is";
    EXPECT_EQ(lf_qualityText(-1, -1), "  ");
    EXPECT_EQ(lf_qualityText(44, 5), "44/ 5");
    EXPECT_EQ(lf_qualityText(45, 5), "45");
}

} // namespace test

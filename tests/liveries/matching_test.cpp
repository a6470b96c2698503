// The ladder of criteria.

#include "liveries_test.h"

#include <set>

class Matching : public LiveriesTest {
  protected:
    static LiveAc aircraft(const char* type, AcCategory category, const char* airline = "BAW") {
        LiveAc ac;
        ac.acType = type;
        ac.airline = airline;
        ac.category = category;
        return ac;
    }
    static std::string titleOf(LiveAc ac) {
        static std::uint32_t next = 20000; // nobody returns
        ac.hexid = next++;
        gf_titleForLiveAc(ac);
        return std::string(ac.title);
    }
};

TEST_F(Matching, AnAircraftWithoutALiveryIsListedUntilForgotten) {
    EXPECT_EQ(titleOf(aircraft("B772", AcCategory::heavy)), "");
    gf_logNoMatches();
    EXPECT_TRUE(logged("No match found for:\n  B772 BAW\n"));
    gf_forgetNoMatches();
    test::writeFile("Log.txt", "");
    gf_logNoMatches();
    EXPECT_FALSE(logged("No match found for:"));
}

TEST_F(Matching, ChanceShowsAllTitlesOfAListAndRandomOffTheFirst) {
    gf_indexLiveries(
        {{"BAW", "A320", "b", "", false}, {"BAW", "A320", "a", "", false}, {"BAW", "A320", "c", "", false}});
    std::set<std::string> seen;
    RANDOM.value = true;
    constexpr int draws = 200; // all three show but for one case in 10^35
    for (int i = 0; i < draws; ++i) seen.emplace(titleOf(aircraft("A320", AcCategory::large)));
    EXPECT_EQ(seen, (std::set<std::string>{"a", "b", "c"}));
    RANDOM.value = false;
    for (int i = 0; i < 5; ++i) EXPECT_EQ(titleOf(aircraft("A320", AcCategory::large)), "a");
}

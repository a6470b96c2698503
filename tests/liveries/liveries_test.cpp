// The livery file and the provisional choice.

#include "liveries_test.h"

#include <set>

static LiveAc aircraft(const char* type, AcCategory category) {
    LiveAc ac;
    ac.acType = type;
    ac.airline = "BAW";
    ac.category = category;
    return ac;
}

TEST_F(LiveriesTest, ReadsTheFileAndShowsTheCount) {
    std::filesystem::create_directories(folders.output);
    test::writeFile(
        folders.scannedLiveries,
        "<?xml version=\"1.0\"?><meta/><liveries><liv airl=\"ZZZ\" type=\"A320\" title=\"B &amp; C\"/>"
        "<liv airl=\"BAW\" type=\"A320\" cargo=\"true\" title=\"A\" atcid=\"G-EUUA\"/><liv/></liveries>");
    gf_scanLiveries();
    ASSERT_EQ(liveryStore.scanned.size(), 3u);
    EXPECT_EQ(display.liveryCount, 3u);
    EXPECT_EQ(liveryStore.scanned[1].airl, "BAW") << "sorted by airline";
    EXPECT_TRUE(liveryStore.scanned[1].cargo);
    EXPECT_FALSE(liveryStore.scanned[2].cargo);
    EXPECT_EQ(liveryStore.scanned[2].title, "B & C");
    EXPECT_EQ(gf_titleOfRegcode("GEUUA"), "A");
    EXPECT_EQ(gf_titleOfRegcode("G-EUUB"), "");
    EXPECT_TRUE(logged("3 liveries read from output"));
}

TEST_F(LiveriesTest, AMissingOrBrokenFileLeavesALineAndNoLiveries) {
    gf_setLiveries({{"ZZZ", "A320", "old", "", false}});
    gf_scanLiveries();
    EXPECT_TRUE(liveryStore.scanned.empty());
    EXPECT_EQ(display.liveryCount, 0u);
    EXPECT_TRUE(logged("File was not found"));
    std::filesystem::create_directories(folders.output);
    test::writeFile(folders.scannedLiveries, "<liveries><liv airl=");
    gf_scanLiveries();
    EXPECT_TRUE(logged("Error parsing"));
    EXPECT_EQ(gf_titleForLiveAc(aircraft("A320", AcCategory::large)), "");
}

// The titles that the engine remembers are views of the store's texts: they used to outlive them over a restart.
TEST_F(LiveriesTest, ANewSetForgetsTheTitlesRememberedFromTheOldOne) {
    gf_setLiveries(
        {{"ZZZ", "A320", "a title that is too long to be kept inside the string itself", "", false}});
    engineLife.hexidTitles[0x400000] = liveryStore.scanned[0].title;
    gf_setLiveries({{"ZZZ", "B738", "boeing", "", false}});
    EXPECT_TRUE(engineLife.hexidTitles.empty());
}

TEST_F(LiveriesTest, ChoosesByTypeThenByCategoryThenNothing) {
    refData.largeModels = {"A320", "B738"};
    refData.heavyModels = {"B772"};
    gf_setLiveries({{"ZZZ", "A320", "airbus", "", false},
                    {"ZZZ", "B738", "boeing", "", false},
                    {"ZZZ", "A320", "", "", false},
                    {"ZZZ", "C172", "cessna", "", false}});
    EXPECT_EQ(gf_titleForLiveAc(aircraft("B738", AcCategory::large)), "boeing");
    EXPECT_EQ(gf_titleForLiveAc(aircraft("C172", AcCategory::light)), "cessna");
    const auto unknown = gf_titleForLiveAc(aircraft("MD82", AcCategory::large));
    EXPECT_TRUE(unknown == "airbus" || unknown == "boeing") << unknown;
    EXPECT_EQ(gf_titleForLiveAc(aircraft("B772", AcCategory::heavy)), "");
    gf_logNoMatches();
    EXPECT_TRUE(logged("No match found for:\n  B772 BAW\n"));
    gf_forgetNoMatches();
    test::writeFile("Log.txt", "");
    gf_logNoMatches();
    EXPECT_FALSE(logged("No match found for:"));
}

TEST_F(LiveriesTest, ChanceShowsAllTitlesOfATypeAndRandomOffTheFirst) {
    gf_setLiveries(
        {{"BAW", "A320", "b", "", false}, {"AFR", "A320", "a", "", false}, {"KLM", "A320", "c", "", false}});
    std::set<std::string> seen;
    RANDOM.value = true;
    constexpr int draws = 200; // all three show but for one case in 10^35
    for (int i = 0; i < draws; ++i) seen.emplace(gf_titleForLiveAc(aircraft("A320", AcCategory::large)));
    EXPECT_EQ(seen, (std::set<std::string>{"a", "b", "c"}));
    RANDOM.value = false;
    for (int i = 0; i < 5; ++i) EXPECT_EQ(gf_titleForLiveAc(aircraft("A320", AcCategory::large)), "a");
}

TEST_F(LiveriesTest, ATitleThatTheSimulatorRefusedIsNotChosenAgain) {
    refData.largeModels = {"A320", "B738"};
    gf_setLiveries({{"ZZZ", "A320", "one", "", false},
                    {"ZZZ", "A320", "two", "", false},
                    {"ZZZ", "B738", "six", "", false}});
    engine.failedTitles = {"one"};
    for (int i = 0; i < 50; ++i) EXPECT_EQ(gf_titleForLiveAc(aircraft("A320", AcCategory::large)), "two");
    engine.failedTitles = {"one", "two"};
    EXPECT_EQ(gf_titleForLiveAc(aircraft("A320", AcCategory::large)), "six") << "another of the category";
    gf_noteLiveryFailure(aircraft("A320", AcCategory::large));
    gf_logMatchingSummary();
    EXPECT_TRUE(logged("live traffic livery matching summary"));
    EXPECT_TRUE(logged("Could not be created by MSFS:\n  A320 BAW\n"));
}

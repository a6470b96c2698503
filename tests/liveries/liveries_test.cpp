// The livery file and the building of the store.

#include "liveries_test.h"

static void writeLiveries(const std::string& xml) {
    std::filesystem::create_directories(folders.output);
    test::writeFile(folders.scannedLiveries, xml);
}

static int errorOf(void (*action)()) {
    try {
        action();
    } catch (const orvo::UserErrorException& e) {
        return e.number();
    }
    return 0;
}

TEST_F(LiveriesTest, ReadsTheFileAndShowsTheCount) {
    writeLiveries(
        "<?xml version=\"1.0\"?><meta/><liveries>"
        "<liv airl=\"ZZZ\" type=\"A320\" title=\"B &amp; C\"/>"
        "<liv airl=\"BAW\" type=\"A320\" cargo=\"true\" title=\"A\" atcid=\"G-EUUA\"/><liv/></liveries>");
    std::vector<Livery> liveries;
    gf_readLiveriesFile(liveries);
    ASSERT_EQ(liveries.size(), 2u);
    EXPECT_EQ(liveries[0].airl, "BAW") << "sorted by airline";
    EXPECT_TRUE(liveries[0].cargo);
    EXPECT_FALSE(liveries[1].cargo);
    EXPECT_EQ(liveries[1].title, "B & C");
    EXPECT_TRUE(logged("2 liveries read from output"));
    gf_processScannedLiveries();
    EXPECT_EQ(display.liveryCount, 2u);
    EXPECT_EQ(gf_titleOfRegcode("GEUUA"), "A");
    EXPECT_EQ(gf_titleOfRegcode("G-EUUB"), "");
}

TEST_F(LiveriesTest, AFileThatGivesNoLiveriesIsAnErrorForTheUser) {
    EXPECT_EQ(errorOf(gf_processScannedLiveries), 51);
    writeLiveries("<liveries><liv airl=");
    EXPECT_EQ(errorOf(gf_processScannedLiveries), 51);
    writeLiveries("<meta/><livery/>");
    EXPECT_EQ(errorOf(gf_processScannedLiveries), 52);
    writeLiveries("<liveries/>");
    EXPECT_EQ(errorOf(gf_processScannedLiveries), 533);
    EXPECT_FALSE(liveryStore.processed);
}

// The titles that the engine remembers are views of the store's texts: they used to outlive them over a restart.
TEST_F(LiveriesTest, ANewSetForgetsTheTitlesRememberedFromTheOldOne) {
    gf_indexLiveries(
        {{"ZZZ", "A320", "a title that is too long to be kept inside the string itself", "", false}});
    engineLife.hexidTitles[0x400000] = liveryStore.modelLiveries[0]["A320"][0];
    engine.failedTitles.insert("another");
    gf_indexLiveries({{"ZZZ", "B738", "boeing", "", false}});
    EXPECT_TRUE(engineLife.hexidTitles.empty());
    EXPECT_TRUE(engine.failedTitles.empty());
}

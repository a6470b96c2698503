// The livery file and the building of the store.

#include "liveries_test.h"

#include <fmt/format.h>

static void writeLiveries(const std::string& xml) {
    std::filesystem::create_directories(folders.output);
    test::writeFile(folders.scannedLiveries, xml);
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
    gf_indexLiveries({{"ZZZ", "A320", "a title that is too long to be kept inside the string itself", ""}});
    engineLife.hexidTitles[0x400000] = liveryStore.modelLiveries[0]["A320"][0];
    engine.failedTitles.insert("another");
    gf_indexLiveries({{"ZZZ", "B738", "boeing", ""}});
    EXPECT_TRUE(engineLife.hexidTitles.empty() && engine.failedTitles.empty());
}

// ---- the look-ups ------------------------------------------------------------------------------------------------

TEST_F(LiveriesTest, SplitsTheListByAirlineModelAndCargoAndKeepsItsOrder) {
    gf_indexLiveries({{"KLM", "A320", "k2", ""},
                      {"BAW", "A320", "b2", ""},
                      {"BAW", "A320", "b1", "", true},
                      {"BAW", "A320", "b2", "G-EUUA"}, // the same title with another registration
                      {"BAW", "B748", "b3", "", true},
                      {"KLM", "A320", "k1", ""}});
    EXPECT_EQ(liveryStore.airlineLiveries["BAW"]["A320"].size(), 3u);
    EXPECT_EQ(liveryStore.liveryIndex[0]["BAW"]["A320"], (Titles{"b2", "b2"}));
    EXPECT_EQ(liveryStore.liveryIndex[1]["BAW"]["A320"], (Titles{"b1"}));
    EXPECT_FALSE(liveryStore.liveryIndex[0]["BAW"].contains("B748"))
        << "a list is made when there is something";
    EXPECT_FALSE(liveryStore.liveryIndex[1].contains("KLM"));
    EXPECT_EQ(liveryStore.modelLiveries[0]["A320"], (Titles{"b2", "b2", "k1", "k2"}))
        << "airline, then title";
    EXPECT_EQ(liveryStore.modelLiveries[1]["A320"], (Titles{"b1"}));
    EXPECT_EQ(liveryStore.modelLiveries[0].size(), 1u);
    EXPECT_EQ(liveryStore.modelLiveries[0]["A320"][2].data(),
              liveryStore.airlineLiveries["KLM"]["A320"][0].title.data())
        << "titles are stored once";
    EXPECT_EQ(gf_titleOfRegcode("G-EUUA"), "b2");
    EXPECT_EQ(display.liveryCount, 6u);
    EXPECT_TRUE(logged("1 registration codes\n2 airlines, 1 pax aircraft models and 2 cargo aircraft models\n"
                       "0 similar model definitions\n"));
}

static std::vector<std::string> similarOf(const std::string& airline, const std::string& model) {
    const auto models = liveryStore.airlineSimilar.find(airline);
    if (models == liveryStore.airlineSimilar.end()) return {};
    for (const AirlineSimilar& entry : models->second)
        if (entry.model == model) return *entry.similar;
    return {};
}

TEST_F(LiveriesTest, KnowsOfEachModelTheSimilarOnesThatHaveLiveries) {
    using Models = std::vector<std::string>;
    refData.similarGroups = {
        {"A319", "A320", "A321"}, {"A21N", "A321"}, {"A19N", "A319", "A320"}, {"B738", "B739"}};
    gf_indexLiveries({{"BAW", "A320", "a", ""},
                      {"ZZZ", "A319", "b", "", true}, // a generic one counts, and so does a freighter
                      {"BAW", "A21N", "c", ""},
                      {"DLHX", "A320", "d", ""},
                      {"DLH", "B738", "e", ""}});
    EXPECT_EQ(liveryStore.similarWithLiveries["A319"], (Models{"A320"}));
    EXPECT_EQ(liveryStore.similarWithLiveries["A320"], (Models{"A319"}));
    EXPECT_EQ(liveryStore.similarWithLiveries["A321"], (Models{"A21N"}))
        << "\"A321,A21N\" comes first as a text";
    EXPECT_EQ(liveryStore.similarWithLiveries["A19N"], (Models{"A319", "A320"}));
    EXPECT_EQ(liveryStore.similarWithLiveries["B739"], (Models{"B738"}));
    EXPECT_FALSE(liveryStore.similarWithLiveries.contains("B738"));
    EXPECT_TRUE(logged("5 similar model definitions"));

    EXPECT_EQ(similarOf("BAW", "A319"), (Models{"A320"}));
    EXPECT_EQ(similarOf("BAW", "A321"), (Models{"A21N"}));
    EXPECT_EQ(similarOf("BAW", "A19N"), (Models{"A320"}));
    EXPECT_EQ(similarOf("BAW", "A320"), Models{}) << "it has some itself";
    EXPECT_EQ(similarOf("ZZZ", "A320"), (Models{"A319"}));
    EXPECT_EQ(similarOf("DLH", "B739"), (Models{"B738"}))
        << "of the longer code its first three letters count";
    EXPECT_FALSE(liveryStore.airlineSimilar.contains("DLHX"));

    gf_indexLiveries({{"BAW", "A319", "a", ""}, {"KLM", "A319", "b", ""}});
    EXPECT_EQ(liveryStore.similarWithLiveries["A19N"], (Models{"A319", "A320"})) << "the first list stays";
    EXPECT_EQ(similarOf("BAW", "A320"), Models{});
    EXPECT_EQ(similarOf("KLM", "A320"), (Models{"A319"}));
}

TEST_F(LiveriesTest, ReportsTheCategoriesAndSwitchesOffWhatThereIsNot) {
    refData.largeModels = {"A320"};
    refData.buzjetModels = {"C25B"};
    for (int i = 0; i < 41; ++i) refData.rotorModels.insert(fmt::format("H{:02}", i));
    std::string list;
    for (int i = 0; i < 41; ++i) list += fmt::format("<liv airl=\"ZZZ\" type=\"H{:02}\" title=\"h\"/>", i);
    writeLiveries(
        "<liveries><liv airl=\"BAW\" type=\"A320\" title=\"a\" cargo=\"1\"/>"
        "<liv airl=\"BAW\" type=\"A320\" title=\"b\"/><liv airl=\"PVT\" type=\"C25B\" title=\"c\"/>" +
        list + "</liveries>");
    std::filesystem::create_directories(folders.appData);
    gf_readParameters();
    HELICOPTERS.value = false; // the user's own choice stays
    for (const auto* p : {&LIGHT_AIRCRAFT, &HELICOPTERS, &HIGH_PERF_AIRCRAFT})
        plat::addCheckBox(p->control.controlId, 0, 0, 1, 1, true);
    plat::setEnabled(HELICOPTERS.control.controlId, false);
    HIGH_PERF_AIRCRAFT.value = true;
    gf_processScannedLiveries();
    std::string lines[2];
    for (int i = 0; i < 40; ++i) lines[i / 20] += fmt::format(" {}H{:02}", i % 20 ? "" : " ", i);
    const std::string models = "\n" + lines[0] + "\n" + lines[1] + "\n  H40\n";
    EXPECT_TRUE(logged("\n41 models have a generic livery" + models));
    EXPECT_TRUE(
        logged("\nCategory Light: No livery found\nLIGHT_AIRCRAFT temporary switched off because you do "
               "not have light aircraft installed\n"));
    EXPECT_TRUE(logged("\nCategory Buzjets: 1 pax liverie\n  C25B\n"));
    EXPECT_TRUE(logged("\nCategory Large: 1 pax liverie and 1 cargo liverie\n  A320\n"));
    EXPECT_TRUE(logged("\nCategory Heavy: No livery found\nCategory HighPerf: No livery found\n"));
    EXPECT_TRUE(logged("HIGH_PERF_AIRCRAFT temporary switched off because you do not have High Perf aircraft "
                       "installed\n"));
    EXPECT_TRUE(logged("\nCategory Rotorcraft: 41 pax liveries" + models));
    EXPECT_FALSE(LIGHT_AIRCRAFT || HIGH_PERF_AIRCRAFT || HELICOPTERS);
    EXPECT_FALSE(plat::isEnabled(LIGHT_AIRCRAFT.control.controlId));
    EXPECT_FALSE(plat::isEnabled(HIGH_PERF_AIRCRAFT.control.controlId));
    EXPECT_TRUE(plat::isEnabled(HELICOPTERS.control.controlId));
    EXPECT_NE(test::readFile(folders.parameters).find("name=\"LIGHT_AIRCRAFT\" value=\"false\""),
              std::string::npos);
    EXPECT_TRUE(liveryStore.lightModelPool.empty());
    EXPECT_EQ(liveryStore.buzjetModelPool, (std::vector<std::string>{"C25B"}));
    EXPECT_EQ(liveryStore.rotorModelPool.size(), 41u);
    EXPECT_EQ(liveryStore.rotorModelPool.front(), "H00");

    mark();
    gf_processScannedLiveries();
    EXPECT_EQ(sinceMark(), "Processing scanned liveries skipped; already done in previous start-up\n");
    gf_clearLiveryStores();
    EXPECT_TRUE(liveryStore.rotorModelPool.empty() && liveryStore.airlineLiveries.empty());
    mark();
    gf_processScannedLiveries();
    EXPECT_NE(sinceMark().find("Category Light: No livery found\nCategory Buzjets"), std::string::npos)
        << "what is off already is not told again";
}

TEST_F(LiveriesTest, OrdersTheLinesOfTheIndexing) {
    std::filesystem::create_directories(folders.myRegcodes);
    test::writeFile(folders.myRegcodes / "mine.txt", "a;G-MINE\nb;G-EUUA\n");
    writeLiveries("<liveries><liv airl=\"BAW\" type=\"A320\" title=\"a\" atcid=\"G-EUUA\"/>"
                  "<liv airl=\"BAW\" type=\"A320\" title=\"b\" atcid=\"G-EUUA\"/></liveries>");
    gf_processScannedLiveries();
    expectInOrder({"2 liveries read from ", "1 in-line regcode clashes", "reading AIG-regcodes failed?",
                   "2 special liveries", "2 registration codes", "1 airlines, 1 pax aircraft models",
                   "0 similar model definitions", "No generic liveries", "Category Light: "});
    EXPECT_EQ(gf_titleOfRegcode("G-MINE"), "a");
    EXPECT_EQ(gf_titleOfRegcode("G-EUUA"), "b") << "the user's files win";
    EXPECT_EQ(liveryStore.specialTitles.size(), 2u);
}

// The lookups, as tables.

#include "liveries_test.h"

using Lookups = LiveriesTest;

TEST_F(Lookups, AModelInSeveralClassesCountsByTheirOrder) {
    refData.largeModels = {"LLLL"};
    refData.heavyModels = {"LLLL", "HHHH"};
    refData.buzjetModels = {"LLLL", "HHHH", "BBBB"};
    refData.rotorModels = {"LLLL", "HHHH", "BBBB", "RRRR"};
    refData.highPerfModels = {"LLLL", "HHHH", "BBBB", "RRRR", "PPPP"};
    const std::pair<const char*, AcCategory> rows[] = {
        {"LLLL", AcCategory::large},      {"HHHH", AcCategory::heavy},    {"BBBB", AcCategory::buzjets},
        {"RRRR", AcCategory::rotorcraft}, {"PPPP", AcCategory::highPerf}, {"C172", AcCategory::light},
        {"", AcCategory::light}};
    for (const auto& [model, category] : rows) EXPECT_EQ(gf_modelCategory(model), category) << model;
}

TEST_F(Lookups, EmptyCodesAreNeverValid) {
    refData.allModels = {"", "A320"};
    refData.icaoAirlines = {"", "BAW"};
    EXPECT_TRUE(gf_isValidModel("A320"));
    EXPECT_FALSE(gf_isValidModel("a320") || gf_isValidModel(""));
    EXPECT_TRUE(gf_isValidAirline("BAW"));
    EXPECT_FALSE(gf_isValidAirline(""));
}

TEST_F(Lookups, TriesTheDashBehindTheSecondThenTheFirstCharacter) {
    const auto forms = [](const char* registration) {
        std::string text;
        for (const auto& form : gf_regcodeVariants(registration)) text += form + " ";
        return text;
    };
    EXPECT_EQ(forms("GBAFM"), "GB-AFM G-BAFM GBAFM ");
    EXPECT_EQ(forms("G-BAFM") + forms("N123AB") + forms("GBAF"), "G-BAFM N123AB GBAF ");
    EXPECT_EQ(forms(""), " ");
}
TEST_F(Lookups, TheFirstFormThatIsKnownWins) {
    auto& store = refData.dbaseRegcodes;
    store.insert("G-BAFM", "BAW", "A320", "SHT", false);
    EXPECT_EQ(gf_lookupRegcode("GBAFM")->airl, "BAW");
    store.insert("GB-AFM", "AFR", "A321", "", true);
    EXPECT_EQ(gf_lookupRegcode("GBAFM")->airl, "AFR");
    EXPECT_EQ(gf_regcodeOperator("G-BAFM"), "SHT");
    EXPECT_EQ(gf_regcodeAirline("G-BAFM"), "BAW");
    store.insert("", "XXX", "", "", false);
    EXPECT_FALSE(gf_lookupRegcode(""));
    EXPECT_EQ(gf_regcodeOperator("G-NONE") + gf_regcodeAirline("") + gf_regcodeOperator(""), "");
}

TEST_F(Lookups, TheStoreFindsAllOfManyAndNothingElse) {
    auto& store = refData.dbaseRegcodes;
    constexpr int count = 20000;
    for (int i = 0; i < count; ++i) {
        const std::string reg = "R" + std::to_string(i);
        ASSERT_TRUE(store.insert(reg, "A" + std::to_string(i % 50), std::to_string(i % 70), "", i % 3 == 0));
        ASSERT_FALSE(store.insert(reg, "ZZZ", "ZZZ", "ZZZ", false)) << reg;
    }
    EXPECT_EQ(store.size(), static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto found = store.find("R" + std::to_string(i));
        ASSERT_TRUE(found) << i;
        EXPECT_EQ(found->airl + found->type, "A" + std::to_string(i % 50) + std::to_string(i % 70));
        EXPECT_EQ(found->cargo, i % 3 == 0);
        EXPECT_FALSE(store.find("R" + std::to_string(i) + "X"));
    }
    store.clear();
    EXPECT_EQ(store.size(), 0u);
    EXPECT_FALSE(store.find("R1"));
}

TEST_F(Lookups, ThePublisherIsTheFirstNameOfTheFirstGroupThatOccurs) {
    refData.publisherGroups = {{"Sim-Wings", "simwings"}, {"orbx"}, {"wings"}};
    EXPECT_EQ(gf_publisherOf("D:/Community/SIMWINGS-munich"), "Sim-Wings");
    EXPECT_EQ(gf_publisherOf("D:/Community/goldwings"), "wings");
    EXPECT_EQ(gf_publisherOf("D:/Community/orbx-simwings"), "Sim-Wings")
        << "group order, not place in the text";
    EXPECT_EQ(gf_publisherOf(""), "unknown");
    refData.publisherGroups.push_back({"any", ""});
    EXPECT_EQ(gf_publisherOf("nothing known"), "any") << "an empty name always hits";
}

TEST_F(Lookups, TheAirlineOfACallsign) {
    refData.icaoAirlines = {"BAW", "PHA"};
    for (const char* callsign : {"BAW3AK", "BAW123", "BAW12_"})
        EXPECT_EQ(gf_airlineOfCallsign(callsign, "G-EUUA"), "BAW") << callsign;
    for (const char* callsign : {"BAWAB1", "BA123", "BAW", "baw123", "XYZ123", ""})
        EXPECT_EQ(gf_airlineOfCallsign(callsign, ""), "") << callsign;
    EXPECT_EQ(gf_airlineOfCallsign("PHA12", "PH-A13"), "PHA");
    for (const char* own : {"PH-A12", "PHA12"}) EXPECT_EQ(gf_airlineOfCallsign("PHA12", own), "") << own;
}

TEST_F(Lookups, TheSimulatorsOwnFoldersHaveTheirModels) {
    EXPECT_EQ(baseContainerModels.size(), 30u);
    EXPECT_EQ(baseContainerModels.find(std::string_view("Asobo_Baron_G58"))->second, "B58T");
    EXPECT_EQ(baseContainerModels.find(std::string_view("FlyByWire_A320_NEO"))->second, "A20N");
}

// The ladder of criteria: every step at every depth, and what each step looks at.

#include "liveries_test.h"

#include "platform/random.h"

#include <fmt/format.h>

#include <map>
#include <random>
#include <set>

class Matching : public LiveriesTest {
  protected:
    Matching() {
        refData.largeModels = {"A319", "A320", "A321", "B738", "B763"};
        refData.buzjetModels = {"C25B"};
        refData.rotorModels = {"A139", "H60", "R44"};
        refData.heavyModels = {"B748"};
        refData.similarGroups = {{"A319", "A320", "A321", "B748"}, {"C172", "P28A"}};
        refData.dbaseRegcodes.insert("G-EUUA", "BAW", "A320", "", false);
        refData.dbaseRegcodes.insert("N1", "BAW", "A320", "QTR", false); // flown by another
        refData.dbaseRegcodes.insert("N2", "AFR", "A320", "QTR", false); // whose owner has no liveries
        refData.dbaseRegcodes.insert("N3", "BAW", "A320", "", false);    // flown by its owner
        RANDOM.value = false;
        MATCHING_DEPTH.value = 4;
        LOG.value = true;
    }

    static LiveAc aircraft(const char* airline, const char* type, const char* regcode = "",
                           bool cargo = false) {
        static std::uint32_t next = 20000; // nobody returns
        LiveAc ac;
        ac.hexid = next++;
        ac.airline = airline;
        ac.acType = type;
        ac.regcode = regcode;
        ac.cargo = cargo;
        ac.category = gf_modelCategory(type);
        return ac;
    }
    // "step title", or "" for none.
    static std::string matched(LiveAc ac, int depth = 4) {
        MATCHING_DEPTH.value = depth;
        engineLife.matchCounts = {};
        if (!gf_titleForLiveAc(ac)) return "";
        const auto& counts = engineLife.matchCounts;
        const auto step = std::find(counts.begin(), counts.end(), 1u) - counts.begin() + 1;
        return fmt::format("{} {}", step, ac.title);
    }
    static std::string parkedTitle(ParkedAc ac, bool cargo = false) {
        gf_matchStaticLivery(ac, cargo, "A12");
        return std::string(ac.title);
    }
    static ParkedAc parked(const char* airline, const char* type, const char* regcode = "") {
        ParkedAc ac;
        static_cast<AcBase&>(ac) = aircraft(airline, type, regcode);
        return ac;
    }
};

TEST_F(Matching, WalksTheLadderAsFarAsTheDepthAllows) {
    gf_indexLiveries({{"BAW", "A320", "baw A320", ""},
                      {"BAW", "A320", "baw A320 G-EUUA", "G-EUUA"},
                      {"BAW", "B748", "baw B748", ""},
                      {"FDX", "B763", "fdx B763 freighter", "", true},
                      {"DAL", "B763", "dal B763", ""},
                      {"DAL", "B763", "dal B763 freighter", "", true},
                      {"ZZZ", "A320", "generic A320", ""},
                      {"ZZZ", "A321", "generic A321", ""},
                      {"ZZZ", "B763", "generic B763", ""},
                      {"ZZZ", "C172", "generic C172", ""},
                      {"PVT", "C172", "pvt C172", ""},
                      {"PVT", "P28A", "pvt P28A", ""},
                      {"PVT", "C25B", "pvt C25B", ""},
                      {"BAW", "R44", "baw R44", ""}});
    struct Row {
        const char* name;
        const char *airline, *type, *regcode;
        bool cargo;
        int from;          // the least depth that finds one
        const char* found; // with its step
    };
    const Row rows[] = {
        {"its registration", "AFR", "B738", "G-EUUA", false, 1, "1 baw A320 G-EUUA"},
        {"without the dash", "", "", "GEUUA", true, 1, "1 baw A320 G-EUUA"},
        {"airline and model", "BAW", "A320", "", false, 2, "2 baw A320"},
        {"unknown registration", "BAW", "A320", "G-XXXX", false, 2, "2 baw A320"},
        {"freighter in passenger colours", "BAW", "A320", "", true, 2, "2 baw A320"},
        {"freighter in its own", "DAL", "B763", "", true, 2, "2 dal B763 freighter"},
        {"never a passenger in a freighter", "FDX", "B763", "", false, 4, "4 generic B763"},
        {"the owner's colours", "KLM", "A320", "N1", false, 2, "2 baw A320"},
        {"an owner without liveries", "KLM", "A320", "N2", false, 4, "4 generic A320"},
        {"flown by its owner, told otherwise", "KLM", "A320", "N3", false, 4, "4 generic A320"},
        {"similar model", "BAW", "A319", "", false, 3, "3 baw A320"},
        {"the first of several similar ones", "BAW", "A321", "", false, 3, "3 baw A320"},
        {"generic, large", "KLM", "A321", "", false, 4, "4 generic A321"},
        {"large without airline", "", "A320", "", false, 4, "4 generic A320"},
        {"large of any airline does not do", "KLM", "B738", "", false, 5, ""},
        {"private: generic before its own", "PVT", "C172", "", false, 2, "4 generic C172"},
        {"private: its own", "PVT", "P28A", "", false, 2, "2 pvt P28A"},
        {"light: generic already at depth 3", "KLM", "C172", "", false, 3, "4 generic C172"},
        {"light without airline, generic", "", "C172", "", false, 3, "4 generic C172"},
        {"light of any airline", "", "P28A", "", false, 3, "5 pvt P28A"},
        {"business jet of any airline", "KLM", "C25B", "", false, 3, "5 pvt C25B"},
        {"no fall-back from cargo there", "KLM", "C25B", "", true, 5, ""},
        {"any of its kind", "KLM", "A139", "", false, 3, "6 baw R44"},
        {"nor there", "KLM", "A139", "", true, 5, ""},
        {"nothing known", "", "", "", false, 3, "6 pvt C172"},
    };
    for (const Row& row : rows)
        for (int depth = 1; depth <= 4; ++depth)
            EXPECT_EQ(matched(aircraft(row.airline, row.type, row.regcode, row.cargo), depth),
                      depth < row.from ? "" : row.found)
                << row.name << ", depth " << depth;
}

TEST_F(Matching, TakesASimilarModelOfTheOwnerWhenTheAirlineHasNoneThatDoes) {
    gf_indexLiveries({{"KLM", "A320", "klm freighter", "", true}, // similar, but no passenger aircraft
                      {"BAW", "A320", "baw A320", ""},
                      {"BAW", "A319", "baw A319", ""}});
    EXPECT_EQ(matched(aircraft("KLM", "A321", "N1"), 3), "3 baw A320");
    EXPECT_EQ(matched(aircraft("KLM", "A321", "N3"), 3), "")
        << "flown by its owner: there is no other airline";
    EXPECT_EQ(matched(aircraft("AFR", "A321", "N1"), 3), "")
        << "the list is that of the aircraft's own airline";
    EXPECT_EQ(matched(aircraft("", "A321", "N1"), 3), "");
}

TEST_F(Matching, PassesOverSimilarModelsOfAnotherCategoryButNotForParkedAircraft) {
    gf_indexLiveries({{"BAW", "B748", "baw B748", ""}});
    EXPECT_EQ(matched(aircraft("BAW", "A321")), "");
    EXPECT_EQ(parkedTitle(parked("BAW", "A321")), "baw B748");
}

TEST_F(Matching, TakesOneModelOfItsKindAndNoOther) {
    gf_indexLiveries({{"BAW", "H60", "freight helicopter", "", true}, {"BAW", "R44", "baw R44", ""}});
    EXPECT_EQ(matched(aircraft("KLM", "A139")), "") << "the first of the pool has no passenger livery";
    RANDOM.value = true;
    std::map<std::string, int> seen;
    constexpr int draws = 400;
    for (int i = 0; i < draws; ++i) ++seen[matched(aircraft("KLM", "A139"))];
    EXPECT_EQ(seen.size(), 2u);
    EXPECT_GT(seen[""], draws / 4);
    EXPECT_GT(seen["6 baw R44"], draws / 4);
}

// ---- chance ------------------------------------------------------------------------------------------------------

TEST_F(Matching, ChanceShowsAllOfAListAndRandomOffTheFirst) {
    gf_indexLiveries({{"BAW", "A320", "b", ""},
                      {"BAW", "A320", "a", ""},
                      {"BAW", "A320", "c", ""},
                      {"BAW", "A321", "d", ""}});
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(matched(aircraft("BAW", "A320")), "2 a");
        EXPECT_EQ(matched(aircraft("BAW", "A319")), "3 a");
        EXPECT_EQ(gf_randomIndex(1000), 0u);
    }
    RANDOM.value = true;
    std::set<std::string> own, similar;
    constexpr int draws = 200; // all show but for one case in 10^24
    for (int i = 0; i < draws; ++i) {
        own.insert(matched(aircraft("BAW", "A320")));
        similar.insert(matched(aircraft("BAW", "A319")));
    }
    EXPECT_EQ(own, (std::set<std::string>{"2 a", "2 b", "2 c"}));
    EXPECT_EQ(similar, (std::set<std::string>{"3 a", "3 b", "3 c", "3 d"})) << "the models are shuffled";
    RANDOM.value = false;
    EXPECT_EQ(matched(aircraft("BAW", "A319")), "3 a") << "and keep their order";
}

TEST_F(Matching, DrawsAsTheGeneratorSays) {
    plat::seedRandom(5);
    std::mt19937 same(5);
    RANDOM.value = true;
    EXPECT_EQ(gf_randomIndex(0), 0u);
    EXPECT_EQ(gf_randomIndex(1), 0u); // nothing is drawn for these
    for (const std::size_t n : {2u, 3u, 1000u}) EXPECT_EQ(gf_randomIndex(n), same() % n);
}

TEST_F(Matching, ASpecialTitleIsWornByItsOwnRegistrationAlone) {
    gf_indexLiveries({{"BAW", "A320", "retro", "G-EUUA"},
                      {"BAW", "A320", "zz common", ""},
                      {"BAW", "A321", "another retro", ""},
                      {"ZZZ", "A321", "generic A321", ""}});
    liveryStore.specialTitles = {"retro", "another retro"};
    EXPECT_EQ(matched(aircraft("BAW", "A320", "G-EUUA")), "1 retro");
    EXPECT_EQ(matched(aircraft("BAW", "A320")), "2 zz common") << "five draws of the first, then the others";
    EXPECT_EQ(matched(aircraft("BAW", "A321")), "4 generic A321") << "all are special: the ladder goes on";
    RANDOM.value = true;
    for (int i = 0; i < 300; ++i) ASSERT_EQ(matched(aircraft("BAW", "A320")), "2 zz common");
    gf_indexLiveries({{"DAL", "B763", "dal freighter", "", true}, {"DAL", "B763", "dal B763", ""}});
    liveryStore.specialTitles = {"dal freighter"};
    EXPECT_EQ(matched(aircraft("DAL", "B763", "", true)), "2 dal B763") << "all its freighters are special";
}

// ---- refused titles, memory --------------------------------------------------------------------------------------

TEST_F(Matching, ADrawThatHitsARefusedTitleEndsTheMatchingUncounted) {
    gf_indexLiveries(
        {{"BAW", "A320", "a", "G-EUUA"}, {"BAW", "A320", "b", ""}, {"ZZZ", "A320", "generic", ""}});
    engine.failedTitles = {"a"};
    mark();
    EXPECT_EQ(matched(aircraft("BAW", "A320")), "");
    EXPECT_EQ(matched(aircraft("BAW", "A320", "G-EUUA")), "");
    EXPECT_EQ(engineLife.matchCounts, (std::array<std::uint32_t, 6>{}));
    EXPECT_EQ(parkedTitle(parked("BAW", "A320")), "");
    gf_logNoMatches();
    EXPECT_EQ(sinceMark(), "") << "neither a match nor a want of one is told";
    RANDOM.value = true;
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) seen.insert(matched(aircraft("BAW", "A320")));
    EXPECT_EQ(seen, (std::set<std::string>{"", "2 b"}));
}

TEST_F(Matching, AReturningAircraftGetsItsFormerLookAtOnce) {
    gf_indexLiveries({{"BAW", "A320", "a", ""}, {"BAW", "A320", "FSLTL_b", ""}});
    LiveAc first = aircraft("BAW", "A320");
    ASSERT_TRUE(gf_titleForLiveAc(first));
    EXPECT_EQ(first.title, "FSLTL_b");
    EXPECT_TRUE(first.titleIsFsltl);
    LiveAc again = aircraft("BAW", "A320");
    again.hexid = first.hexid;
    again.acType = "none"; // would not match
    mark();
    ASSERT_TRUE(gf_titleForLiveAc(again));
    EXPECT_EQ(again.title, "FSLTL_b");
    EXPECT_TRUE(again.titleIsFsltl) << "also with a remembered title";
    EXPECT_EQ(engineLife.matchCounts[1], 1u);
    EXPECT_EQ(sinceMark(), "");
    EXPECT_TRUE(gf_titleForLiveAc(again)) << "which it has already";

    engine.failedTitles = {"FSLTL_b"};
    LiveAc refused = aircraft("BAW", "A320");
    refused.hexid = first.hexid;
    EXPECT_FALSE(gf_titleForLiveAc(refused) || refused.titleIsFsltl);
    EXPECT_FALSE(engineLife.hexidTitles.contains(first.hexid));
    engine.failedTitles.clear();
    liveryStore.liveryIndex[0]["BAW"]["A320"] = {"a"};
    ASSERT_TRUE(gf_titleForLiveAc(refused));
    EXPECT_EQ(engineLife.hexidTitles[first.hexid], "a");
}

// ---- parked aircraft ---------------------------------------------------------------------------------------------

TEST_F(Matching, AParkedAircraftTakesTheCargoFlagOfItsStandBehindTheFirstStep) {
    gf_indexLiveries({{"DAL", "B763", "dal B763", ""},
                      {"DAL", "B763", "dal freighter", "", true},
                      {"BAW", "A320", "mine", "G-EUUA"},
                      {"", "B738", "nobody's", ""}});
    ParkedAc ac = parked("DAL", "B763");
    ac.cargo = true;
    EXPECT_TRUE(gf_matchStaticLivery(ac, false, "A12"));
    EXPECT_EQ(ac.title, "dal B763");
    EXPECT_FALSE(ac.cargo);
    EXPECT_EQ(parkedTitle(parked("DAL", "B763"), true), "dal freighter");
    EXPECT_EQ(parkedTitle(parked("DAL", "B763", "G-EUUA"), true), "mine");
    EXPECT_EQ(parkedTitle(parked("", "B738")), "nobody's") << "an empty airline is no obstacle";
    EXPECT_EQ(matched(aircraft("", "B738")), "");
    engineLife.matchCounts = {};
    parkedTitle(parked("DAL", "B763"));
    EXPECT_EQ(engineLife.matchCounts, (std::array<std::uint32_t, 6>{})) << "the summary is of live traffic";
}

// ---- what the user reads -----------------------------------------------------------------------------------------

TEST_F(Matching, TellsEachMatchWithTheStepThatGaveIt) {
    gf_indexLiveries({{"BAW", "A320", "a title", ""}});
    LiveAc ac = aircraft("BAW", "A320", "G-EUUB");
    ac.callsign = "BAW12";
    LiveAc onItsWay = ac;
    ++onItsWay.hexid;
    onItsWay.origin = "LHR";
    ParkedAc parkedOne = parked("BAW", "A319");
    parkedOne.callsign = "BAW13";
    parkedOne.category = AcCategory::large;
    ParkedAc withTitle = parked("DAL", "B763", "N1");
    withTitle.title = "FSLTL_its own";
    withTitle.callsign = "DAL12";
    mark();
    gf_titleForLiveAc(ac);
    gf_titleForLiveAc(onItsWay);
    gf_matchStaticLivery(parkedOne, false, "A12");
    MATCHING_DEPTH.value = 2;
    parkedOne.title = {};
    gf_matchStaticLivery(parkedOne, false, "A12");
    EXPECT_TRUE(gf_matchStaticLivery(withTitle, true, "A12"));
    EXPECT_TRUE(withTitle.title == "FSLTL_its own" && withTitle.titleIsFsltl);
    LOG.value = false;
    gf_matchStaticLivery(parkedOne, false, "A12");
    EXPECT_EQ(sinceMark(), "          BAW12    G-EUUB            BAW A320 =2= a title\n"
                           "          BAW12    G-EUUB   LHR->    BAW A320 =2= a title\n"
                           "          BAW13                      BAW A319 =3= a title\n"
                           "A12     : BAW13     BAW A319 no livery match ...\n"
                           "          DAL12    N1 DAL B763 =s= FSLTL_its own\n");
}

TEST_F(Matching, SumsTheMatchesUpWithWhatTheSimulatorRefused) {
    const std::string stars(31, '*');
    mark();
    engineLife.matchCounts = {1, 0, 3, 4, 5, 66};
    gf_writeMatchSummary();
    const std::string head = "\n" + stars + " live traffic livery matching summary " + stars +
                             "\nMatches at step: \n  1: 1\n  2: 0\n  3: 3\n  4: 4\n  5: 5\n  6: 66\n";
    EXPECT_EQ(sinceMark(), head + std::string(100, '*') + "\n\n");
    mark();
    for (const char* airline : {"KLM", "BAW", "KLM"}) gf_noteLiveryFailure(aircraft(airline, "A320"));
    gf_writeMatchSummary();
    EXPECT_EQ(sinceMark(), head + "\nCould not be created by MSFS:\n  A320 BAW\n  A320 KLM\n" +
                               std::string(100, '*') + "\n\n");
}

TEST_F(Matching, AnAircraftWithoutALiveryIsListedUntilForgotten) {
    EXPECT_EQ(matched(aircraft("BAW", "B748")), "");
    gf_logNoMatches();
    EXPECT_TRUE(logged("No match found for:\n  B748 BAW\n"));
    gf_forgetNoMatches();
    mark();
    gf_logNoMatches();
    EXPECT_EQ(sinceMark(), "");
}

// What the simulator's model text of the user's aircraft becomes: a model, a half wing span, a colour of the title.

#include "app/errors.h"
#include "liveries/refdata.h"
#include "simlink_fixture.h"

using namespace test;
using testing::HasSubstr;

namespace {

constexpr double metre = 1 / 1852.0; // nautical miles
constexpr const char* spanUnknown =
    "User aircraft wing span unknown, max is taken instead, please report in my Forum!\n";

class UserAircraft : public SimLink {
  protected:
    static std::string titleAnswer(const std::string& text) {
        return answerHead(reqTitle, 1, defTitle).str(text, text.size() + 1).message(8);
    }
    static std::string modelAnswer(const std::string& text) {
        return answerHead(reqModel, 1, defModel).str(text, 32).message(8);
    }
    void SetUp() override {
        SimLink::SetUp();
        simLife.userRadiusNm = 0;
        simLife.userModelKnown = true;
        refData = RefData{};
        refData.allModels = {"A319", "A320", "A332", "A359", "A388", "B38M", "B736", "B737", "B738",
                             "B739", "C172", "CRJ7", "E190", "GLEX", "H60",  "P28A", "U2"};
        refData.largeModels = {"A319", "A320", "B38M", "B736", "B737", "B738", "B739", "CRJ7", "E190"};
        refData.heavyModels = {"A332", "A359", "A388"};
        refData.buzjetModels = {"GLEX"};
        refData.rotorModels = {"H60"};
        refData.wingspanByModel = {{"A319", 17 * metre},   {"A320", 18 * metre},  {"A332", 30 * metre},
                                   {"A359", 32 * metre},   {"A388", 40 * metre},  {"B38M", 17.9 * metre},
                                   {"B738", 17.2 * metre}, {"C172", 5.5 * metre}, {"CRJ7", 11.6 * metre},
                                   {"E190", 14.4 * metre}};
        refData.wingspanByCategory = {6 * metre, 12 * metre, 16 * metre, 31 * metre, 5 * metre, 7 * metre};
        refData.maxHalfWingspan = 40 * metre;
        open();
        arrive(userAt(50, 8.5));
    }
    void TearDown() override {
        SimLink::TearDown();
        refData = RefData{};
        simLife.userRadiusNm = 0;
        simLife.userModelKnown = true;
    }
};

TEST_F(UserAircraft, IsRecognisedInEachFormOfTheModelText) {
    const struct Row {
        const char *title, *model;
        double halfSpan; // metres
        bool known;
        const char* line; // behind "SimConnect: User aircraft model"
    } rows[] = {
        {"", "A320", 18, true, ": A320, half wing span: 18.0 meter, category: Large"},
        {"", "A350-900", 32, true, ": A359, half wing span: 32.0 meter, category: Heavy"},
        {"", "N738B", 17.9, true, ": B38M, half wing span: 17.9 meter, category: Large"},
        {"", "777", 6, true, ": 772, half wing span: 6.0 meter, category: Light"}, // no such code
        {"", "A330-200 (RR)", 30, true, ": A332, half wing span: 30.0 meter, category: Heavy"},
        // keys into the simulator's texts
        {"", "TT:ATCCOM.AC_MODEL_C172.0.text", 5.5, true,
         ": C172, half wing span: 5.5 meter, category: Light"},
        {"", "TT:ATCCOM.AC_MODEL_GLEX.0.text", 12, true,
         ": GLEX, half wing span: 12.0 meter, category: Buzjets"}, // a model without a span of its own
        {"", "TT:ATCCOM.AC_MODEL_H60.0.text", 7, true,
         ": H60, half wing span: 7.0 meter, category: Rotorcraft"},
        {"", "TT:ATCCOM.AC_MODEL_U2.0.text", 6, true, ": U2, half wing span: 6.0 meter, category: Light"},
        {"", "AC_MODEL_A320.0.text.0.text", 18, true,
         ": A320, half wing span: 18.0 meter, category: Large"}, // the first mark counts
        {"", "TT:ATCCOM.AC_MODEL_ZZZZ.0.text", 40, false,
         ": TT:ATCCOM.AC_MODEL_ZZZZ.0.text, category: Light"},
        {"", "$$:A320", 18, true, ": A320, half wing span: 18.0 meter, category: Large"},
        {"", "$$:A", 6, true, ": $$:A, half wing span: 6.0 meter, category: Light"},
        {"", "$$:U2", 6, true, ": U2, half wing span: 6.0 meter, category: Light"},
        {"", "$$:A350-900", 40, false, ": A350-900, category: Light"}, // one rule alone is applied
        // the four variants of one add-on
        {"DG 737-800 BBJ", "737", 17.2, true, ": B738, half wing span: 17.2 meter, category: Large"},
        {"My DG 737-700", "737", 16, true, ": B737, half wing span: 16.0 meter, category: Large"},
        {"DG 737-600", "737", 16, true, ": B736, half wing span: 16.0 meter, category: Large"},
        {"DG 737-900", "737", 16, true, ": B739, half wing span: 16.0 meter, category: Large"},
        {"DG 737-900 and DG 737-700", "737", 16, true, ": B737, half wing span: 16.0 meter, category: Large"},
        {"dg 737-800", "737", 6, true, ": 737, half wing span: 6.0 meter, category: Light"},
        // no code, and the title helps
        {"Aerosoft A319 CFM", "Aerosoft", 17, true,
         " deduced from title: A319, half wing span: 17.0 meter, category: Large"},
        {"Aerosoft A320", "A320-214", 18, true,
         " deduced from title: A320, half wing span: 18.0 meter, category: Large"},
        {"Aerosoft A321 IAE", "A321-231", 16, true, // no span of its own: the mean of its class
         " deduced from title: A321, half wing span: 16.0 meter, category: Large"},
        {"Aerosoft A32", "A320-214", 40, false, ": A320-214, category: Light"},
        {"The Aerosoft A320", "A320-214", 40, false, ": A320-214, category: Light"},
        // the widest of all looks like an unknown one
        {"Airbus A380", "A388", 40, false, ": A388, category: Heavy"},
    };
    refData.allModels.insert("A321");
    refData.largeModels.insert("A321");
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.title) + " / " + row.model);
        gf_clearMessage();
        const std::size_t before = log().size();
        simLife.userModelKnown = !row.known;
        ASSERT_TRUE(arrive(titleAnswer(row.title) + modelAnswer(row.model)));
        EXPECT_NEAR(simLife.userRadiusNm * 1852, row.halfSpan, 1e-9);
        EXPECT_EQ(simLife.userModelKnown, row.known);
        std::string text = log().substr(before);
        text = text.substr(text.find("model raw: "));
        EXPECT_EQ(text, "model raw: " + std::string(row.model) + "\n" + (row.known ? "" : spanUnknown) +
                            "SimConnect: User aircraft model" + row.line + "\n");
        EXPECT_EQ(gf_shownMessage() + "\n", row.known ? "\n" : spanUnknown);
    }
}

TEST_F(UserAircraft, ATitleWhoseModelHasNoSizeAtAllLeavesTheLargest) {
    refData.wingspanByModel.erase("A319");
    refData.wingspanByCategory = {};
    ASSERT_TRUE(arrive(titleAnswer("Aerosoft A319") + modelAnswer("Aerosoft")));
    EXPECT_DOUBLE_EQ(simLife.userRadiusNm, refData.maxHalfWingspan);
    EXPECT_FALSE(simLife.userModelKnown);
    EXPECT_THAT(log(),
                HasSubstr(spanUnknown + std::string("SimConnect: User aircraft model deduced from title: "
                                                    "A319, category: Large\n")));
}

TEST_F(UserAircraft, ACameraOrABoatCountsAsARegionalJetAndIsNotLogged) {
    for (const char* model : {"camerapod", "The camerapod here", "Crew Vessel"}) {
        simLife.userModelKnown = false;
        simLife.userRadiusNm = 0;
        ASSERT_TRUE(arrive(modelAnswer(model)));
        EXPECT_TRUE(simLife.userModelKnown);
        EXPECT_DOUBLE_EQ(simLife.userRadiusNm, 14.4 * metre);
        EXPECT_EQ(logged("model raw: " + std::string(model) + "\n"), 1u);
    }
    EXPECT_EQ(logged("User aircraft model"), 0u);
    ASSERT_TRUE(arrive(modelAnswer("Camerapod")));
    EXPECT_FALSE(simLife.userModelKnown);
}

TEST_F(UserAircraft, AnEmptyModelIsAnEncryptedAircraftAndAMissingOneNothing) {
    ASSERT_TRUE(arrive(titleAnswer("Airbus A310") + answerHead(reqModel, 1, defModel).message(8)));
    EXPECT_EQ(simLife.userRadiusNm, 0);
    EXPECT_EQ(gf_displayText(DisplayText::userTitle), "Airbus A310");
    for (const bool known : {true, false}) {
        simLife.userModelKnown = known;
        ASSERT_TRUE(arrive(modelAnswer("")));
        EXPECT_EQ(simLife.userModelKnown, known);
        EXPECT_DOUBLE_EQ(simLife.userRadiusNm, 11.6 * metre);
        EXPECT_EQ(gf_displayText(DisplayText::userTitle), "Unknown (encrypted?) aircraft");
    }
    EXPECT_EQ(
        logged("171: No model info from your user aircraft received in SimConnect, CRJ7 is taken instead\n"),
        2u);
    EXPECT_EQ(logged("model raw"), 0u);
    refData.wingspanByModel.clear();
    refData.wingspanByCategory = {};
    ASSERT_TRUE(arrive(modelAnswer("")));
    EXPECT_DOUBLE_EQ(simLife.userRadiusNm, refData.maxHalfWingspan);
}

TEST_F(UserAircraft, AKeyWithoutRoomForAModelIsNoAircraftAndEndsTheRun) {
    for (const char* model : {".0.text", "172.0.text"}) {
        stream->arrive(modelAnswer(model));
        try {
            lf_dispatchArrived();
            FAIL() << model;
        } catch (const orvo::UserErrorException& error) {
            EXPECT_EQ(error.number(), 73);
        }
    }
    EXPECT_EQ(simLife.userRadiusNm, 0);
    lf_closeSession();
    stream = std::make_shared<ScriptedStream>();
    simconnect::setOpener(ScriptedStream::opener(stream));
    stream->arrive(openMessage("KittyHawk") + event(evSim, 1) + modelAnswer(".0.text"));
    simLife.threadStop.clear();
    lf_simThread(appLife.runNumber);
    gf_joinRun(0);
    EXPECT_EQ(gf_shownError(), "73: It looks like you have not selected an aircraft as user vehicle");
    EXPECT_EQ(app.runState, RunState::systemError);
    EXPECT_TRUE(app.stopRequested);
    EXPECT_FALSE(app.simRunning);
}

} // namespace

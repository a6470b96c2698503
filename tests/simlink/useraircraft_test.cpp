// What the simulator's model text of the user's aircraft becomes: a model, a half wing span, a colour of the title.

#include "app/errors.h"
#include "liveries/refdata.h"
#include "simlink_fixture.h"

#include <fmt/format.h>

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
        const char *code, *category; // as the log names them
        double halfSpan;             // metres; 0 for one that is unknown, which gets that of the widest
    } rows[] = {
        {"", "A320", ": A320", "Large", 18},
        {"", "A350-900", ": A359", "Heavy", 32},
        {"", "N738B", ": B38M", "Large", 17.9},
        {"", "777", ": 772", "Light", 6}, // no such code
        {"", "A330-200 (RR)", ": A332", "Heavy", 30},
        // keys into the simulator's texts
        {"", "TT:ATCCOM.AC_MODEL_C172.0.text", ": C172", "Light", 5.5},
        {"", "TT:ATCCOM.AC_MODEL_GLEX.0.text", ": GLEX", "Buzjets", 12}, // without a span of its own
        {"", "TT:ATCCOM.AC_MODEL_H60.0.text", ": H60", "Rotorcraft", 7},
        {"", "TT:ATCCOM.AC_MODEL_U2.0.text", ": U2", "Light", 6},
        {"", "AC_MODEL_A320.0.text.0.text", ": A320", "Large", 18}, // the first mark counts
        {"", "TT:ATCCOM.AC_MODEL_ZZZZ.0.text", ": TT:ATCCOM.AC_MODEL_ZZZZ.0.text", "Light", 0},
        {"", "$$:A320", ": A320", "Large", 18},
        {"", "$$:A", ": $$:A", "Light", 6},
        {"", "$$:U2", ": U2", "Light", 6},
        {"", "$$:A350-900", ": A350-900", "Light", 0}, // one rule alone is applied
        // the four variants of one add-on
        {"DG 737-800 BBJ", "737", ": B738", "Large", 17.2},
        {"My DG 737-700", "737", ": B737", "Large", 16},
        {"DG 737-600", "737", ": B736", "Large", 16},
        {"DG 737-900", "737", ": B739", "Large", 16},
        {"DG 737-900 and DG 737-700", "737", ": B737", "Large", 16},
        {"dg 737-800", "737", ": 737", "Light", 6},
        // no code, and the title helps
        {"Aerosoft A319 CFM", "Aerosoft", " deduced from title: A319", "Large", 17},
        {"Aerosoft A320", "A320-214", " deduced from title: A320", "Large", 18},
        {"Aerosoft A321 IAE", "A321-231", " deduced from title: A321", "Large", 16}, // the mean of its class
        {"Aerosoft A32", "A320-214", ": A320-214", "Light", 0},
        {"The Aerosoft A320", "A320-214", ": A320-214", "Light", 0},
        // the widest of all looks like an unknown one
        {"Airbus A380", "A388", ": A388", "Heavy", 0},
    };
    refData.allModels.insert("A321");
    refData.largeModels.insert("A321");
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.title) + " / " + row.model);
        gf_clearMessage();
        const std::size_t before = log().size();
        const bool known = row.halfSpan > 0;
        simLife.userModelKnown = !known;
        ASSERT_TRUE(arrive(titleAnswer(row.title) + modelAnswer(row.model)));
        EXPECT_NEAR(simLife.userRadiusNm * 1852, known ? row.halfSpan : 40, 1e-9);
        EXPECT_EQ(simLife.userModelKnown, known);
        std::string text = log().substr(before);
        text = text.substr(text.find("model raw: "));
        EXPECT_EQ(text, fmt::format("model raw: {}\n{}SimConnect: User aircraft model{}{}, category: {}\n",
                                    row.model, known ? "" : spanUnknown, row.code,
                                    known ? fmt::format(", half wing span: {:.1f} meter", row.halfSpan) : "",
                                    row.category));
        EXPECT_EQ(gf_shownMessage() + "\n", known ? "\n" : spanUnknown);
    }
    refData.wingspanByModel.erase("A319"); // nor has its class a span
    refData.wingspanByCategory = {};
    ASSERT_TRUE(arrive(titleAnswer("Aerosoft A319") + modelAnswer("Aerosoft")));
    EXPECT_DOUBLE_EQ(simLife.userRadiusNm, refData.maxHalfWingspan);
    EXPECT_FALSE(simLife.userModelKnown);
    EXPECT_THAT(log(), HasSubstr(spanUnknown + std::string("SimConnect: User aircraft model deduced from "
                                                           "title: A319, category: Large\n")));
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
        EXPECT_THAT(lf_dispatchArrived,
                    testing::ThrowsMessage<orvo::UserErrorException>(testing::StartsWith("73: ")));
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

// What later reports say of an aircraft's route, registration and callsign, and whether its look has to change.

#include "life_fixture.h"

namespace {

constexpr std::uint32_t hex = 4242424;

class Identity : public Life {
  protected:
    static TrafficRecord says(const char* callsign, const char* regcode, const char* origin = "",
                              const char* destination = "") {
        TrafficRecord r = report(hex, 50, 8, 5000, 200);
        r.callsign = callsign;
        r.regcode = regcode;
        r.origin = origin;
        r.destination = destination;
        return r;
    }
};

TEST_F(Identity, ARegistrationThatSaysOtherwiseAsksForANewLivery) {
    refData.dbaseRegcodes.insert("D-AIXX", "DLH", "A320", "", false);
    refData.dbaseRegcodes.insert("G-BNLY", "BAW", "B744", "", false);
    refData.dbaseRegcodes.insert("F-HOPR", "AFR", "B738", "CTY", false);
    refData.dbaseRegcodes.insert("F-HOWN", "AFR", "B738", "DLH", false);
    refData.dbaseRegcodes.insert("F-NOLV", "AFR", "B738", "", false);
    const struct {
        const char *what, *stored, *reported, *callsign;
        bool respawns;
        const char *airline, *type, *regAfter;
    } rows[] = {
        {"the same", "D-AIXX", "D-AIXX", "DLH1", false, "DLH", "A320", "D-AIXX"},
        {"none reported", "D-AIXX", "", "DLH1", false, "DLH", "A320", "D-AIXX"},
        {"unknown one", "D-AIXX", "G-UNKN", "DLH1", false, "DLH", "A320", "G-UNKN"},
        {"same airline and type", "D-OTHR", "D-AIXX", "DLH1", false, "DLH", "A320", "D-AIXX"},
        {"operated for us", "D-AIXX", "F-HOWN", "AFR1", false, "DLH", "A320", "F-HOWN"},
        {"no airline in the callsign", "D-AIXX", "G-BNLY", "XY", false, "DLH", "A320", "G-BNLY"},
        {"callsign of a third", "D-AIXX", "G-BNLY", "AFR1", false, "DLH", "A320", "G-BNLY"},
        {"callsign confirms", "D-AIXX", "G-BNLY", "BAW1", true, "BAW", "B744", "G-BNLY"},
        {"operator confirms", "D-AIXX", "F-HOPR", "CTY1", true, "CTY", "B738", "F-HOPR"},
        {"airline confirms, operator flies", "D-AIXX", "F-HOPR", "AFR1", true, "CTY", "B738", "F-HOPR"},
        {"first one, its own title", "", "G-BNLY", "DLH1", true, "BAW", "B744", "G-BNLY"},
        {"first one, the title it has", "", "D-AIXX", "DLH1", false, "DLH", "A320", "D-AIXX"},
        {"first one, no title, unknown", "", "G-UNKN", "DLH1", false, "DLH", "A320", "G-UNKN"},
        {"first one, no title, operated for us", "", "F-HOWN", "DLH1", false, "DLH", "A320", "F-HOWN"},
        {"first one, no title", "", "F-NOLV", "DLH1", true, "AFR", "B738", "F-NOLV"},
        {"copy of the callsign", "DLH1", "F-NOLV", "DLH1", true, "AFR", "B738", "F-NOLV"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        fresh();
        LiveAc& ac = active(hex, 77, 50, 8);
        ac.callsign = row.stored == std::string("DLH1") ? "DLH1" : row.callsign;
        ac.regcode = row.stored;
        ac.airline = "DLH";
        engineLife.hexidTitles[hex] = ac.title;
        EXPECT_EQ(lf_updateIdentity(ac, says(row.callsign, row.reported)), !row.respawns);
        EXPECT_EQ(ac.st, row.respawns ? SimState::liveryRespawn : SimState::active);
        EXPECT_EQ(ac.fs, row.respawns ? FlightState::birth : FlightState::flying);
        EXPECT_EQ(ac.title.empty(), row.respawns);
        EXPECT_EQ(engineLife.hexidTitles.contains(hex), !row.respawns);
        EXPECT_EQ(ac.airline, row.airline);
        EXPECT_EQ(ac.acType, row.type);
        EXPECT_EQ(ac.regcode, row.regAfter);
    }
}

TEST_F(Identity, ANewCallsignIsTakenUnlessItsRealBearerFlies) {
    engine.live.reserve(8);
    const auto named = [](std::uint32_t number, const char* callsign) -> LiveAc& {
        LiveAc& ac = active(hex + number, 77 + number, 50, 8);
        ac.callsign = ac.firstCallsign = callsign;
        return ac;
    };
    LiveAc& ac = named(0, "BAW1");
    ac.coupledCallsign = "BAW2";
    ac.regcode = "G-BNLY";
    EXPECT_TRUE(lf_updateIdentity(ac, says("", "")));
    EXPECT_TRUE(lf_updateIdentity(ac, says("G-BNLY", "")));
    EXPECT_EQ(ac.callsign, "BAW1");
    LiveAc& ghost = named(1, "BAW3_");
    EXPECT_FALSE(lf_updateIdentity(ac, says("BAW3", "")));
    EXPECT_EQ(ac.st, SimState::liveryRespawn);
    EXPECT_EQ(ac.callsign + ac.firstCallsign + ac.coupledCallsign, "BAW3BAW3");
    EXPECT_EQ(ac.title, "FSLTL_A320_DLH"); // only the name changes
    EXPECT_EQ(ghost.st, SimState::removingFromSim);

    LiveAc& other = named(2, "AFR1");
    EXPECT_FALSE(lf_updateIdentity(other, says("BAW3_", "")));
    EXPECT_TRUE(other.st == SimState::active && other.callsign == "AFR1");

    LiveAc& turned = named(3, "AFR9_"); // a ghost that turns real is not its own ghost
    EXPECT_FALSE(lf_updateIdentity(turned, says("AFR9", "")));
    EXPECT_EQ(turned.st, SimState::liveryRespawn);
    EXPECT_EQ(std::count(engine.removalQueue.begin(), engine.removalQueue.end(), 80u), 1);
}

TEST_F(Identity, ANewRouteNeedsBothEndsChangedAndIsNoRoundTripHere) {
    GUID_CHANGES.value = false; // taken over, but nothing respawns
    airports.park.code = "EDDF";
    const struct {
        const char *origin, *destination, *newOrigin, *newDestination;
        bool taken;
    } rows[] = {{"EDDF", "EGLL", "EGLL", "LFPG", true},  {"EDDF", "EGLL", "EDDF", "LFPG", false},
                {"EDDF", "EGLL", "EGLL", "EDDF", false}, {"LFPG", "EDDF", "EDDF", "EGLL", true},
                {"EDDF", "EGLL", "", "LFPG", false},     {"", "", "EDDF", "EGLL", true}};
    for (const auto& row : rows) {
        fresh();
        LiveAc& ac = active(hex, 77, 50, 8, 0);
        ac.fs = FlightState::pushedBack;
        ac.heading = 1.5;
        ac.origin = row.origin;
        ac.destination = row.destination;
        EXPECT_TRUE(lf_updateIdentity(ac, says("", "", row.newOrigin, row.newDestination)));
        EXPECT_EQ(ac.origin, row.taken ? row.newOrigin : row.origin);
        EXPECT_EQ(ac.destination, row.taken ? row.newDestination : row.destination);
        const bool newRoute = row.taken && *row.origin;
        EXPECT_EQ(ac.fs, newRoute ? FlightState::taxi : FlightState::pushedBack);
        EXPECT_EQ(ac.targetHeading, newRoute ? 1.5 : 0);
        EXPECT_EQ(ac.st, SimState::active);
    }
}

TEST_F(Identity, StatesThatMustNotBeDisturbedKeepTheirNames) {
    const std::pair<bool, void (*)(LiveAc&)> rows[] = {
        {false, [](LiveAc& ac) { ac.departing = true; }},
        {false, [](LiveAc& ac) { ac.landing = true; }},
        {false, [](LiveAc& ac) { ac.extendCount = 1; }},
        {false, [](LiveAc& ac) { ac.fs = FlightState::pushingBack; }},
        {false, [](LiveAc& ac) { ac.st = SimState::adding2sim; }},
        {true, [](LiveAc& ac) { ac.st = SimState::buffer; }}};
    for (const auto& [taken, change] : rows) {
        fresh();
        LiveAc& ac = active(hex, 77, 50, 8);
        ac.callsign = ac.firstCallsign = "BAW1";
        change(ac);
        EXPECT_TRUE(lf_updateIdentity(ac, says("BAW2", "")));
        EXPECT_EQ(ac.callsign + ac.firstCallsign, taken ? "BAW2BAW2" : "BAW1BAW1");
    }
}

} // namespace

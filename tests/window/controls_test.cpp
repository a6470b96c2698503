// The controls and their labels: each row of their tables, and the rules by which both change.

#include "window_fixture.h"

#include <algorithm>
#include <functional>

namespace {

struct Row { // of the table of controls
    char kind;
    const Parameter& parameter;
    int id, row, x, width;
    bool enabledAtStart;
};

const std::vector<Row>& rows() {
    static const std::vector<Row> table = {
        {'c', MSFS_2020, 32790, 119, 5, 12, true},
        {'e', ALL_INSTALL_PATH, 32788, 119, 111, 1200, false},
        {'c', SCAN_LIVERIES, 32797, 147, 5, 12, true},
        {'c', LIG_AUTOMATIC, 32798, 147, 217, 12, true},
        {'e', AI_PACKAGE_ORDER, 32800, 147, 368, 24, true},
        {'c', LIG_PRIORITIZE, 32799, 147, 430, 12, true},
        {'c', SUPPRESS_STUB, 32801, 147, 536, 12, true},
        {'c', LOG, 32779, 147, 652, 12, true},
        {'c', ALWAYS_ON_TOP, 32771, 147, 748, 12, true},
        {'c', SCAN_AIRPORTS, 32802, 175, 5, 12, true},
        {'c', NAV_LIGHTS_WHILE_PARKED, 32778, 175, 652, 12, true},
        {'c', LEARN_SOFT, 32777, 175, 748, 12, false},
        {'e', MATCHING_DEPTH, 32808, 203, 217, 24, true},
        {'c', LIGHT_AIRCRAFT, 32809, 203, 323, 12, true},
        {'c', HELICOPTERS, 32810, 203, 430, 12, true},
        {'c', HIGH_PERF_AIRCRAFT, 32811, 203, 536, 12, true},
        {'c', AEROWINX, 32775, 203, 652, 12, true},
        {'c', GUID_CHANGES, 32773, 203, 748, 12, true},
        {'e', LATERAL_RANGE, 32818, 231, 217, 34, false},
        {'c', AUTO_RANGE, 32819, 231, 323, 12, true},
        {'e', AUTO_RANGE_ABOVE_HEIGHT, 32820, 231, 455, 50, true},
        {'c', CALLSIGN_OBJECTIDS, 32822, 231, 748, 12, true},
        {'c', COLLISION_USER_GND, 32834, 287, 217, 12, true},
        {'c', COLLISION_USER_AIR, 32833, 287, 323, 12, true},
        {'c', COLLISION_LIVE_PARKED_GND, 32835, 287, 430, 12, true},
        {'e', BLOCK_CALLSIGN, 32828, 259, 217, 100, true},
        {'b', UNBLOCK, 32829, 257, 323, 70, false},
        {'e', CALLSIGN_2_OBJECTID, 32774, 259, 460, 95, false},
        {'e', CUSTOM_MAX_PARK, 32865, 315, 353, 34, true},
        {'e', MAX_LIVE, 32821, 315, 601, 34, true},
        {'e', DESTINATION, 32840, 343, 217, 50, false},
        {'e', AIRPORT_RANGE, 32841, 343, 353, 34, true},
        {'e', AIRPORT_HEIGHT, 32842, 343, 566, 50, true},
        {'c', STRAIGHT_PBS_ONLY, 32856, 315, 652, 12, true},
        {'c', PARK_FAKE, 32852, 371, 5, 12, true},
        {'c', WEEK, 32854, 371, 71, 12, true},
        {'c', PARK_SOFT, 32851, 371, 151, 12, true},
        {'e', parking_percentage, 32848, 371, 323, 34, false},
        {'c', INITIAL_LOAD_ONLY, 32850, 371, 430, 12, true},
        {'e', MAX_FIT_FL, 32855, 371, 566, 34, false},
        {'b', RE_READ, 32838, 341, 758, 90, false},
        {'b', FLUSH_STATIC, 32858, 369, 758, 90, false},
    };
    return table;
}

TEST_F(MainWindow, EachControlStandsInItsPlace) {
    WEEK.value = true;
    ASSERT_TRUE(lf_createMainWindow());
    for (const Row& r : rows()) {
        SCOPED_TRACE(r.parameter.name);
        const plat::headless::Control control = plat::headless::control(r.id);
        EXPECT_EQ(control.kind, r.kind);
        EXPECT_EQ(control.place.left, r.x);
        EXPECT_EQ(control.place.right, r.x + r.width);
        EXPECT_EQ(control.place.top, r.row + (r.kind == 'c' ? 2 : 0));
        EXPECT_EQ(control.place.bottom - control.place.top, r.kind == 'c' ? 12 : r.kind == 'b' ? 20 : 16);
        EXPECT_EQ(control.enabled, r.kind == 'c') << "until a run begins";
        EXPECT_EQ(control.text, r.kind == 'b' ? r.parameter.name : "");
        EXPECT_EQ(control.checked, r.kind == 'c' && static_cast<const BoolParameter&>(r.parameter).value);
    }
}

TEST_F(OpenWindow, TabGoesRoundTheControlsAsOneReads) {
    const std::vector<int> order = plat::headless::tabOrder();
    ASSERT_EQ(order.size(), rows().size());
    const auto place = [](int id) { return plat::headless::control(id).place; };
    for (std::size_t i = 1; i < order.size(); ++i) {
        const plat::Rect before = place(order[i - 1]), now = place(order[i]);
        const bool lower = now.top > before.top + 8; // a button stands two pixels higher than its row
        EXPECT_TRUE(lower || (now.left > before.left && now.top > before.top - 8)) << order[i];
    }
}

TEST_F(OpenWindow, ARunBeginsWithEachControlInItsState) {
    for (const Row& r : rows()) EXPECT_EQ(enabled(r.parameter), r.enabledAtStart) << r.parameter.name;
    EXPECT_EQ(box(MAX_LIVE), "-1");
    EXPECT_EQ(box(parking_percentage), "") << "until an airport is loaded";
    EXPECT_EQ(box(MAX_FIT_FL), "");

    for (BoolParameter* const p : {&AUTO_RANGE, &LIG_AUTOMATIC, &MSFS_2020}) p->value = false;
    lf_controlsToStartState();
    EXPECT_FALSE(enabled(AUTO_RANGE_ABOVE_HEIGHT) || enabled(AI_PACKAGE_ORDER) ||
                 enabled(CALLSIGN_OBJECTIDS));
    EXPECT_TRUE(enabled(LATERAL_RANGE));
    BLOCK_CALLSIGN.set("BAW1");
    MAX_FIT.value = 14;
    parking_percentage.value = 77;
    lf_controlsToStartState();
    EXPECT_TRUE(enabled(UNBLOCK));
    EXPECT_EQ(MAX_FIT_FL.value, 7.5f);
    EXPECT_EQ(parking_percentage.value, 30);
}

// ---- labels ------------------------------------------------------------------------------------------------------

bool drawn(const std::vector<Text>& texts, const Text& wanted) {
    return std::find(texts.begin(), texts.end(), wanted) != texts.end();
}

TEST_F(OpenWindow, EachLabelStandsInItsPlaceInTheColourOfItsState) {
    for (const Text& label : std::initializer_list<Text>{{672, 203, "Aerowinx", black},
                                                         {672, 147, "Log", black},
                                                         {768, 147, "Stay on top", black},
                                                         {768, 175, "Learn Soft", black},
                                                         {672, 175, "Nav lights", black},
                                                         {768, 203, "GUID changes", black},
                                                         {768, 231, "objectids", black},
                                                         {25, 119, "Install path:", black},
                                                         {25, 147, "Scan for liveries", yellow},
                                                         {237, 147, "Automatic, selector:", black},
                                                         {450, 147, "Prioritize", black},
                                                         {556, 147, "Stub", black},
                                                         {25, 175, "Scan for addon airports", yellow},
                                                         {5, 203, "Max aircraft matching depth", black},
                                                         {253, 203, "Optional:", black},
                                                         {343, 203, "Light aircraft", black},
                                                         {450, 203, "Helicopters", black},
                                                         {556, 203, "FighterJets", black},
                                                         {5, 231, "Traffic injection", black},
                                                         {167, 231, "radius:", black},
                                                         {260, 231, "nm,  or", black},
                                                         {343, 231, "auto range", black},
                                                         {430, 231, "ah:", black},
                                                         {510, 231, "ft", black},
                                                         {5, 259, "Callsigns", black},
                                                         {172, 259, "block:", black},
                                                         {430, 259, "oid:", black},
                                                         {5, 287, "Collision avoidance", black},
                                                         {237, 287, "User ground", black},
                                                         {343, 287, "User air", black},
                                                         {450, 287, "Live X parked", black},
                                                         {5, 315, "Airport parking", black},
                                                         {217, 315, "generic max park:", grey},
                                                         {536, 315, "max live:", grey},
                                                         {672, 315, "Straight push backs only", grey},
                                                         {139, 343, "destination:", black},
                                                         {303, 343, "range:", black},
                                                         {393, 343, "nm", black},
                                                         {440, 343, "height above gnd:", black},
                                                         {621, 343, "ft", black},
                                                         {25, 371, "Fake", black},
                                                         {91, 371, "Week", black},
                                                         {171, 371, "Soft", black},
                                                         {264, 371, "wanted: ", black},
                                                         {363, 371, "%", black},
                                                         {450, 371, "ILO", black},
                                                         {506, 371, "Max fit:", black}})
        EXPECT_TRUE(drawn(textsIn(Band::settings), label)) << label;
    EXPECT_EQ(textsIn(Band::settings).size(), 47u) << "and no other";

    const auto disable = [](const Parameter& p) { plat::setEnabled(p.control.controlId, false); };
    const std::pair<std::function<void()>, Text> changes[] = {
        {[] { AEROWINX.value = true; }, {672, 203, "Aerowinx", yellow}},
        {[] { ALWAYS_ON_TOP.value = true; }, {768, 147, "Stay on top", yellow}},
        {[] { GUID_CHANGES.value = false; }, {768, 203, "GUID changes", yellow}},
        {[] { MSFS_2020.value = false; }, {768, 231, "objectids", grey}},
        {[] { SCAN_LIVERIES.value = false; }, {25, 147, "Scan for liveries", black}},
        {[] { SCAN_AIRPORTS.value = false; }, {25, 175, "Scan for addon airports", black}},
        {[] { airportScan.tbloCount = 1; }, {217, 175, "1 airport in TBLO folder", yellow}},
        {[] { airportScan.tbloCount = 12; }, {217, 175, "12 airports in TBLO folder", yellow}},
        {[&] { disable(LIGHT_AIRCRAFT); }, {343, 203, "Light aircraft", grey}},
        {[&] { disable(HELICOPTERS); }, {450, 203, "Helicopters", grey}},
        {[&] { disable(HIGH_PERF_AIRCRAFT); }, {556, 203, "FighterJets", grey}},
        {[] { AUTO_RANGE.value = false; }, {430, 231, "ah:", grey}},
        {[] { gf_setAutoRange(true); }, {430, 231, "ah:", black}},
        {[] { gf_setAutoRange(false); }, {510, 231, "ft", grey}},
        {[] { display.staticWork = true; }, {5, 315, "Airport parking active", yellow}},
        {[] { CUSTOM_MAX_PARK.value = 100; }, {217, 315, "generic max park:", yellow}},
        {[] { MAX_LIVE.value = 0; }, {536, 315, "max live:", yellow}},
        {[] { STRAIGHT_PBS_ONLY.value = true; }, {672, 315, "Straight push backs only", black}},
        {[] { INITIAL_LOAD_ONLY.value = true; }, {450, 371, "ILO", yellow}},
    };
    for (const auto& [make, label] : changes) {
        EXPECT_FALSE(drawn(textsIn(Band::settings), label)) << label;
        make();
        EXPECT_TRUE(drawn(textsIn(Band::settings), label)) << label;
    }
    const Text id{561, 259, "= 4711", black}; // beside a callsign alone
    gf_setDisplayText(DisplayText::objectId, id.text);
    EXPECT_FALSE(drawn(textsIn(Band::settings), id));
    CALLSIGN_2_OBJECTID.set("BAW1");
    EXPECT_TRUE(drawn(textsIn(Band::settings), id));
}

TEST_F(OpenWindow, TheMinutesToTheNextRenewalStandWhereThereWillBeOne) {
    const auto shown = [] {
        for (const Text& t : textsIn(Band::settings))
            if (t.x == 5 && t.y == 343) return t.text;
        return std::string();
    };
    display.airportLoaded = true;
    for (const auto& [minutes, text] : std::vector<std::pair<int, std::string>>{
             {0, ""}, {1, "(next in 1 min)"}, {19, "(next in 19 min)"}, {20, ""}}) {
        display.minutesToSummary = minutes;
        EXPECT_EQ(shown(), text);
    }
    display.minutesToSummary = 7;
    for (int state = 0; state < 4; ++state) {
        INITIAL_LOAD_ONLY.value = state == 1;
        display.staticWork = state == 2;
        display.airportLoaded = state != 3;
        EXPECT_EQ(shown(), state == 0 ? "(next in 7 min)" : "");
    }
}

// ---- the park airport --------------------------------------------------------------------------------------------

TEST_F(OpenWindow, TheBandOfTheParkAirportTellsWhatIsKnown) {
    using Texts = std::vector<Text>;
    gf_setDisplayText(DisplayText::airportName, "Schiphol");
    EXPECT_TRUE(textsIn(Band::parking).empty()) << "none is chosen";
    gf_setDisplayText(DisplayText::airportLabel, "EHAM (AMS)");
    EXPECT_EQ(textsIn(Band::parking), (Texts{{5, 399, "EHAM (AMS)", yellow}}));

    display.airportLoaded = true;
    gf_setDisplayText(DisplayText::publisher, "FlyTampa");
    gf_setDisplayText(DisplayText::quality, "45-12 %");
    display.standCount = 212;
    display.parkedLive = 7;
    display.trafficWeeks = 3;
    const Texts head = {{5, 399, "EHAM (AMS)", green},    {85, 399, " Schiphol, FlyTampa, wk=3", green},
                        {430, 399, "qf: 45-12 %", green}, {748, 399, "# updates:    0", green},
                        {5, 427, "# stands: 212", green}, {111, 427, "parked live:   7", green}};
    Texts wanted = head;
    wanted.push_back({708, 427, "no max park live", green});
    display.staticFit = 3;
    EXPECT_EQ(textsIn(Band::parking), wanted) << "nothing of static aircraft";

    display.airportHandmade = true;
    display.softParking = true;
    airports.updates = 12;
    gf_setDisplayText(DisplayText::reservedStand, "B24");
    display.liveFit = 1.5f;
    display.maxParked = 60;
    display.parkedPercentage = 28;
    display.parkedStatic = 53;
    wanted = {{5, 399, "EHAM (AMS)", green},
              {85, 399, " Schiphol, FlyTampa (h), wk=3", green},
              {370, 399, "*S*", green},
              {430, 399, "qf: 45-12 %", green},
              {571, 399, "reserved stand: B24", red},
              {748, 399, "# updates:   12", green},
              {5, 427, "# stands: 212", green},
              {111, 427, "parked live:   7", green},
              {249, 427, "average fit: 1.5", green},
              {430, 427, "parked static:  53", green},
              {571, 427, "average fit: 3.0", green},
              {708, 427, "max park:  60 (=28 %)", green}};
    EXPECT_EQ(textsIn(Band::parking), wanted);
    display.reservedStandKnown = true;
    WEEK.value = true;
    wanted[4].colour = green;
    wanted.erase(wanted.begin() + 10);
    EXPECT_EQ(textsIn(Band::parking), wanted);
}

} // namespace

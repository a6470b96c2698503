// The controls of the window, each bound to a parameter by its number: where they stand, in which order Tab goes round
// them, and which of them can be used at the start of a run. Labels are painted, not made.

#include "window/window.h"

#include "app/display.h"

#include <algorithm>
#include <vector>

namespace {

enum class Kind { check, edit, button };

struct Place {
    Kind kind;
    Parameter& parameter; // with number and row
    int x, width;         // pixels; a check box has one size
};

constexpr int checkSize = 12, checkDrop = 2, buttonHeight = 20, editHeight = 16;

// In the order in which they are made.
const Place places[] = {
    {Kind::check, MSFS_2020, 5, 0},
    {Kind::edit, ALL_INSTALL_PATH, 111, 1200}, // runs past the right edge
    {Kind::check, SCAN_LIVERIES, 5, 0},
    {Kind::check, LIG_AUTOMATIC, 217, 0},
    {Kind::edit, AI_PACKAGE_ORDER, 368, 24},
    {Kind::check, LIG_PRIORITIZE, 430, 0},
    {Kind::check, SUPPRESS_STUB, 536, 0},
    {Kind::check, LOG, 652, 0},
    {Kind::check, ALWAYS_ON_TOP, 748, 0},
    {Kind::check, SCAN_AIRPORTS, 5, 0},
    {Kind::check, NAV_LIGHTS_WHILE_PARKED, 652, 0},
    {Kind::check, LEARN_SOFT, 748, 0},
    {Kind::edit, MATCHING_DEPTH, 217, 24},
    {Kind::check, LIGHT_AIRCRAFT, 323, 0},
    {Kind::check, HELICOPTERS, 430, 0},
    {Kind::check, HIGH_PERF_AIRCRAFT, 536, 0},
    {Kind::check, AEROWINX, 652, 0},
    {Kind::check, GUID_CHANGES, 748, 0},
    {Kind::edit, LATERAL_RANGE, 217, 34},
    {Kind::check, AUTO_RANGE, 323, 0},
    {Kind::edit, AUTO_RANGE_ABOVE_HEIGHT, 455, 50},
    {Kind::check, CALLSIGN_OBJECTIDS, 748, 0},
    {Kind::check, COLLISION_USER_GND, 217, 0},
    {Kind::check, COLLISION_USER_AIR, 323, 0},
    {Kind::check, COLLISION_LIVE_PARKED_GND, 430, 0},
    {Kind::edit, BLOCK_CALLSIGN, 217, 100},
    {Kind::button, UNBLOCK, 323, 70},
    {Kind::edit, CALLSIGN_2_OBJECTID, 460, 95},
    {Kind::edit, CUSTOM_MAX_PARK, 353, 34},
    {Kind::edit, MAX_LIVE, 601, 34},
    {Kind::edit, DESTINATION, 217, 50},
    {Kind::edit, AIRPORT_RANGE, 353, 34},
    {Kind::edit, AIRPORT_HEIGHT, 566, 50},
    {Kind::check, STRAIGHT_PBS_ONLY, 652, 0},
    {Kind::check, PARK_FAKE, 5, 0},
    {Kind::check, WEEK, 71, 0},
    {Kind::check, PARK_SOFT, 151, 0},
    {Kind::edit, parking_percentage, 323, 34},
    {Kind::check, INITIAL_LOAD_ONLY, 430, 0},
    {Kind::edit, MAX_FIT_FL, 566, 34},
    {Kind::button, RE_READ, 758, 90},
    {Kind::button, FLUSH_STATIC, 758, 90},
};

} // namespace

static void lf_create(const Place& p) {
    const auto [id, row] = p.parameter.control;
    switch (p.kind) {
    case Kind::check:
        plat::addCheckBox(id, p.x, row + checkDrop, checkSize, checkSize,
                          static_cast<BoolParameter&>(p.parameter).value);
        break;
    case Kind::edit: plat::addEditBox(id, p.x, row, p.width, editHeight); break;
    case Kind::button: plat::addPushButton(id, p.x, row, p.width, buttonHeight, p.parameter.name); break;
    }
}

// As one reads: row by row, from the left.
static std::vector<int> lf_tabOrder() {
    constexpr int firstRow = 112, rowHeight = 28; // a button stands a little above its row
    const auto key = [](const Place* p) {
        return std::pair((p->parameter.control.row - firstRow) / rowHeight, p->x);
    };
    std::vector<const Place*> sorted;
    for (const Place& p : places) sorted.push_back(&p);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&](const Place* a, const Place* b) { return key(a) < key(b); });
    std::vector<int> ids;
    for (const Place* p : sorted) ids.push_back(p->parameter.control.controlId);
    return ids;
}

void lf_createControls() {
    for (const Place& p : places) lf_create(p);
    plat::setTabOrder(lf_tabOrder());
    gf_repaint(Band::settings);
}

BoolParameter* lf_checkBoxOf(int id) {
    for (const Place& p : places)
        if (p.kind == Kind::check && p.parameter.control.controlId == id)
            return static_cast<BoolParameter*>(&p.parameter);
    return nullptr;
}

// ---- the start of a run ------------------------------------------------------------------------------------------

// Those of which something in the run decides later are off until then.
static bool lf_enabledAtStart(const Parameter& p) {
    for (const Parameter* later : std::initializer_list<const Parameter*>{
             &ALL_INSTALL_PATH, &LEARN_SOFT, &CALLSIGN_2_OBJECTID, &DESTINATION, &parking_percentage,
             &MAX_FIT_FL, &RE_READ, &FLUSH_STATIC})
        if (&p == later) return false;
    if (&p == &AI_PACKAGE_ORDER) return LIG_AUTOMATIC.value;
    if (&p == &LATERAL_RANGE) return !AUTO_RANGE.value;
    if (&p == &AUTO_RANGE_ABOVE_HEIGHT) return AUTO_RANGE.value;
    if (&p == &CALLSIGN_OBJECTIDS) return MSFS_2020.value;
    if (&p == &UNBLOCK) return !BLOCK_CALLSIGN.value().empty();
    return true;
}

void lf_controlsToStartState() {
    constexpr std::int32_t startPercentage = 30;
    for (const Place& p : places)
        plat::setEnabled(p.parameter.control.controlId, lf_enabledAtStart(p.parameter));
    parking_percentage.value = startPercentage;
    gf_takeMaxFit();
    for (const Parameter* p : std::initializer_list<const Parameter*>{&parking_percentage, &MAX_FIT_FL})
        plat::setText(p->control.controlId, ""); // until an airport is loaded
    gf_repaint(Band::settings);
}

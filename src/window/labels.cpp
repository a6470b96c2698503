// The labels beside the controls: a table of texts with their places and colours, and the few whose text changes.

#include "window/window.h"

#include "airportscan/airportscan.h"
#include "app/display.h"

#include <fmt/format.h>

#include <string>

using namespace colours;

namespace {

enum class Tint { plain, yellowWhenOn, yellowWhenOff, greyWhenOff, greyWhenDisabled, greyUnlessChanged };

struct Label {
    const char* text;
    int x;
    const Parameter& beside; // in its row
    Tint tint = Tint::plain;
    const Parameter* by = nullptr; // whose state the colour tells; the one beside it when not said
};

const Label labels[] = {
    {"Aerowinx", 672, AEROWINX, Tint::yellowWhenOn},
    {"Log", 672, LOG},
    {"Stay on top", 768, ALWAYS_ON_TOP, Tint::yellowWhenOn},
    {"Learn Soft", 768, LEARN_SOFT},
    {"Nav lights", 672, NAV_LIGHTS_WHILE_PARKED},
    {"GUID changes", 768, GUID_CHANGES, Tint::yellowWhenOff},
    {"objectids", 768, CALLSIGN_OBJECTIDS, Tint::greyWhenOff, &MSFS_2020},
    {"Install path:", 25, ALL_INSTALL_PATH},
    {"Scan for liveries", 25, SCAN_LIVERIES, Tint::yellowWhenOn},
    {"Automatic, selector:", 237, SCAN_LIVERIES},
    {"Prioritize", 450, LIG_PRIORITIZE},
    {"Stub", 556, SUPPRESS_STUB},
    {"Scan for addon airports", 25, SCAN_AIRPORTS, Tint::yellowWhenOn},
    {"Max aircraft matching depth", 5, MATCHING_DEPTH},
    {"Optional:", 253, LIGHT_AIRCRAFT},
    {"Light aircraft", 343, LIGHT_AIRCRAFT, Tint::greyWhenDisabled},
    {"Helicopters", 450, HELICOPTERS, Tint::greyWhenDisabled},
    {"FighterJets", 556, HIGH_PERF_AIRCRAFT, Tint::greyWhenDisabled},
    {"Traffic injection", 5, LATERAL_RANGE},
    {"radius:", 167, LATERAL_RANGE},
    {"nm,  or", 260, LATERAL_RANGE},
    {"auto range", 343, AUTO_RANGE},
    {"ah:", 430, AUTO_RANGE_ABOVE_HEIGHT, Tint::greyWhenOff, &AUTO_RANGE},
    {"ft", 510, AUTO_RANGE_ABOVE_HEIGHT, Tint::greyWhenOff, &AUTO_RANGE},
    {"Callsigns", 5, BLOCK_CALLSIGN},
    {"block:", 172, BLOCK_CALLSIGN},
    {"oid:", 430, CALLSIGN_2_OBJECTID},
    {"Collision avoidance", 5, COLLISION_USER_GND},
    {"User ground", 237, COLLISION_USER_GND},
    {"User air", 343, COLLISION_USER_GND},
    {"Live X parked", 450, COLLISION_LIVE_PARKED_GND},
    {"generic max park:", 217, CUSTOM_MAX_PARK, Tint::greyUnlessChanged},
    {"max live:", 536, MAX_LIVE, Tint::greyUnlessChanged},
    {"Straight push backs only", 672, STRAIGHT_PBS_ONLY, Tint::greyWhenOff},
    {"destination:", 139, DESTINATION},
    {"range:", 303, AIRPORT_RANGE},
    {"nm", 393, AIRPORT_RANGE},
    {"height above gnd:", 440, AIRPORT_HEIGHT},
    {"ft", 621, AIRPORT_HEIGHT},
    {"Fake", 25, PARK_FAKE},
    {"Week", 91, WEEK},
    {"Soft", 171, PARK_SOFT},
    {"wanted: ", 264, parking_percentage},
    {"%", 363, parking_percentage},
    {"ILO", 450, INITIAL_LOAD_ONLY, Tint::yellowWhenOn},
    {"Max fit:", 506, MAX_FIT_FL},
};

} // namespace

static bool lf_isOn(const Parameter& p) { return static_cast<const BoolParameter&>(p).value; }

static bool lf_isChanged(const Parameter& p) {
    const auto& number = static_cast<const IntParameter&>(p);
    return number.value != number.defaultValue;
}

static plat::Colour lf_colourOf(const Label& label) {
    const Parameter& by = label.by ? *label.by : label.beside;
    switch (label.tint) {
    case Tint::plain: return black;
    case Tint::yellowWhenOn: return lf_isOn(by) ? yellow : black;
    case Tint::yellowWhenOff: return lf_isOn(by) ? black : yellow;
    case Tint::greyWhenOff: return lf_isOn(by) ? black : grey;
    case Tint::greyWhenDisabled: return plat::isEnabled(by.control.controlId) ? black : grey;
    case Tint::greyUnlessChanged: return lf_isChanged(by) ? yellow : grey;
    }
    return black;
}

static void lf_paintTblo() {
    const std::int32_t count = airportScan.tbloCount;
    if (count > 0)
        lf_drawText(217, SCAN_AIRPORTS.control.row,
                    fmt::format("{} airport{} in {} folder", count, count == 1 ? "" : "s", "TBLO"), yellow);
}

static void lf_paintObjectId() {
    const std::string text = gf_displayText(DisplayText::objectId);
    if (!text.empty() && !CALLSIGN_2_OBJECTID.value().empty())
        lf_drawText(561, CALLSIGN_2_OBJECTID.control.row, text, black);
}

static void lf_paintParkingHead() {
    const bool busy = display.staticWork;
    lf_drawText(5, CUSTOM_MAX_PARK.control.row, fmt::format("Airport parking{}", busy ? " active" : ""),
                busy ? yellow : black);
    if (gf_renewalShown())
        lf_drawText(5, AIRPORT_RANGE.control.row,
                    fmt::format("(next in {} min)", display.minutesToSummary.load()), black);
}

void lf_paintSettings() {
    for (const Label& label : labels)
        lf_drawText(label.x, label.beside.control.row, label.text, lf_colourOf(label));
    lf_paintTblo();
    lf_paintObjectId();
    lf_paintParkingHead();
}

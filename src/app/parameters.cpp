// The parameter objects: their defaults, limits and controls, and how a value reaches its control. Their file is
// parameters_file.cpp.

#include "app/parameters.h"

#include "app/display.h"
#include "app/log.h"
#include "platform/text.h"
#include "platform/window.h"

#include <algorithm>
#include <fmt/format.h>
#include <string>

// clang-format off
BoolParameter RANDOM("RANDOM", true);

BoolParameter AEROWINX("AEROWINX", false, {32775, 203});
BoolParameter MSFS_2020("MSFS_2020", true, {32790, 119});
BoolParameter CALLSIGN_OBJECTIDS("CALLSIGN_OBJECTIDS", false, {32822, 231});
BoolParameter COLLISION_USER_AIR("COLLISION_USER_AIR", true, {32833, 287});
BoolParameter COLLISION_USER_GND("COLLISION_USER_GND", true, {32834, 287});
BoolParameter COLLISION_LIVE_PARKED_GND("COLLISION_LIVE_PARKED_GND", false, {32835, 287});
BoolParameter SUPPRESS_STUB("SUPPRESS_STUB", true, {32801, 147});
BoolParameter LOG("LOG", true, {32779, 147});
BoolParameter ALWAYS_ON_TOP("ALWAYS_ON_TOP", false, {32771, 147});
BoolParameter SCAN_LIVERIES("SCAN_LIVERIES", true, {32797, 147});
BoolParameter LIG_AUTOMATIC("LIG_AUTOMATIC", true, {32798, 147});
BoolParameter LIG_PRIORITIZE("LIG_PRIORITIZE", false, {32799, 147});
BoolParameter SCAN_AIRPORTS("SCAN_AIRPORTS", true, {32802, 175});
BoolParameter LIGHT_AIRCRAFT("LIGHT_AIRCRAFT", true, {32809, 203});
BoolParameter HELICOPTERS("HELICOPTERS", true, {32810, 203});
BoolParameter HIGH_PERF_AIRCRAFT("HIGH_PERF_AIRCRAFT", true, {32811, 203});
BoolParameter NAV_LIGHTS_WHILE_PARKED("NAV_LIGHTS_WHILE_PARKED", true, {32778, 175});
BoolParameter AUTO_RANGE("AUTO_RANGE", true, {32819, 231});
BoolParameter LEARN_SOFT("LEARN_SOFT", true, {32777, 175});
BoolParameter STRAIGHT_PBS_ONLY("STRAIGHT_PBS_ONLY", false, {32856, 315});
BoolParameter PARK_SOFT("PARK_SOFT", true, {32851, 371});
BoolParameter PARK_FAKE("PARK_FAKE", false, {32852, 371});
BoolParameter WEEK("WEEK", false, {32854, 371});
BoolParameter INITIAL_LOAD_ONLY("INITIAL_LOAD_ONLY", false, {32850, 371});
BoolParameter GUID_CHANGES("GUID_CHANGES", true, {32773, 203});

IntParameter CUSTOM_PARKING_PERCENTAGE("CUSTOM_PARKING_PERCENTAGE", -1, -1, 100);
IntParameter CUSTOM_MAX_PARK("CUSTOM_MAX_PARK", -1, -1, 500, {32865, 315});
IntParameter MAIN_WINDOW_X("MAIN_WINDOW_X", 400, -30000, 30000);
IntParameter MAIN_WINDOW_Y("MAIN_WINDOW_Y", 20, -30000, 30000);
IntParameter LAST_EPOCH_TIME("LAST_EPOCH_TIME", 0, 0, 2147483647);
IntParameter HOLDING_THRESHOLD_METERS("HOLDING_THRESHOLD_METERS", 250, 10, 4000);
IntParameter MAX_HOLDING_MINUTES("MAX_HOLDING_MINUTES", 20, 1, 60);

IntParameter MATCHING_DEPTH("MATCHING_DEPTH", 4, 1, 4, {32808, 203});
IntParameter LATERAL_RANGE("LATERAL_RANGE", 40, 2, 100, {32818, 231});
IntParameter MAX_FIT("MAX_FIT", 47, 0, 47, {32853, 371});
IntParameter AUTO_RANGE_ABOVE_HEIGHT("AUTO_RANGE_ABOVE_HEIGHT", 49000, 18000, 49000, {32820, 231});
IntParameter MAX_LIVE("MAX_LIVE", -1, -1, 300, {32821, 315});
IntParameter AIRPORT_RANGE("AIRPORT_RANGE", 20, 8, 30, {32841, 343});
IntParameter AIRPORT_HEIGHT("AIRPORT_HEIGHT", 18000, 2000, 45000, {32842, 343});
IntParameter AI_PACKAGE_ORDER("AI_PACKAGE_ORDER", 1, 1, 6, {32800, 147});
IntParameter parking_percentage("parking_percentage", 30, 0, 100, {32848, 371}, false);
FloatParameter MAX_FIT_FL("MAX_FIT_FL", 24.0f, 0.5f, 24.0f, {32855, 371});

StringParameter PROGRAM_VERSION("PROGRAM_VERSION");
StringParameter MSFS_INSTALL_PATH("MSFS_INSTALL_PATH");
StringParameter PORT_NUMBER("PORT_NUMBER", "10747");
StringParameter lfolder0("lfolder0"), lfolder1("lfolder1"), lfolder2("lfolder2"), lfolder3("lfolder3"),
    lfolder4("lfolder4"), lfolder5("lfolder5"), lfolder6("lfolder6"), lfolder7("lfolder7"), lfolder8("lfolder8"),
    lfolder9("lfolder9");
StringParameter PROGRAM_INSTALL_PATH("PROGRAM_INSTALL_PATH");
StringParameter MYSIMADDON24_VERSION("MYSIMADDON24_VERSION");
StringParameter MSFS_2024_INSTALL_PATH("MSFS_2024_INSTALL_PATH");
StringParameter DESTINATION("DESTINATION", "", {32840, 343});
StringParameter BLOCK_CALLSIGN("BLOCK_CALLSIGN", "", {32828, 259});
StringParameter ALL_INSTALL_PATH("ALL_INSTALL_PATH", "", {32788, 119}, false);
StringParameter CALLSIGN_2_OBJECTID("CALLSIGN_2_OBJECTID", "", {32774, 259}, false);

ButtonParameter FLUSH_STATIC("Flush static", {32858, 369});
ButtonParameter UNBLOCK("Unblock", {32829, 257});
ButtonParameter RE_READ("Re-read", {32838, 341});
// clang-format on

std::int32_t IntParameter::limited(std::int64_t number) const {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(number, minimum, maximum));
}

std::string StringParameter::value() const {
    const LockGuard hold(lock);
    return text;
}

void StringParameter::set(const std::string& newText) {
    const LockGuard hold(lock);
    text = newText;
}

bool StringParameter::replace(const std::string& oldText, const std::string& newText) {
    const LockGuard hold(lock);
    if (text != oldText) return false;
    text = newText;
    return true;
}

void gf_setAndSave(StringParameter& p, const std::string& text) {
    p.set(text);
    gf_saveParameter(p);
}

void gf_setAndSave(BoolParameter& p, bool on) {
    p.value = on;
    gf_saveParameter(p);
    gf_showParameter(p);
}

void gf_takeMaxFit() {
    constexpr float hoursPerStep = 0.5f; // the fit counts half hours, from the first on
    MAX_FIT_FL.value = static_cast<float>(MAX_FIT.value) * hoursPerStep + hoursPerStep;
}

std::string gf_floatText(float value) { return fmt::format("{:.1f}", value); }

// Two threads may show a parameter at once: the last look at its value is behind the last change of the control.
template <class P, class Show> static void lf_showNumber(const P& p, Show show) {
    if (p.control.controlId == 0) return;
    for (auto shown = p.value.load();; shown = p.value) {
        show(p.control.controlId, shown);
        if (p.value == shown) break;
    }
    gf_repaint(Band::settings);
}

void gf_showParameter(const BoolParameter& p) { lf_showNumber(p, plat::setChecked); }

void gf_showParameter(const IntParameter& p) {
    lf_showNumber(p, [](int id, std::int32_t number) { plat::setText(id, std::to_string(number)); });
}

void gf_showParameter(const FloatParameter& p) {
    lf_showNumber(p, [](int id, float number) { plat::setText(id, gf_floatText(number)); });
}

void gf_showParameter(const StringParameter& p) {
    if (p.control.controlId == 0) return;
    try {
        for (std::string shown = p.value();; shown = p.value()) {
            plat::utf16FromUtf8(shown); // a text that the window system could not take
            plat::setText(p.control.controlId, shown);
            if (p.value() == shown) break;
        }
        gf_repaint(Band::settings);
    } catch (const win32::Utf8ConversionException& e) { // the control keeps its former text
        gf_logLine(fmt::format("{} conversion exception {}, error code: {}", "gf_showParameter", e.what(),
                               e.errorCode()));
    }
}

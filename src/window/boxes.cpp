// What Enter in an edit box does: its text becomes the value of a parameter, or a message says why not. The box then
// shows the value that holds. Thread of the message loop.

#include "window/window.h"

#include "airports/airports.h"
#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "liveries/scanfile.h"
#include "platform/text.h"
#include "simlink/simlink.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <exception>
#include <fmt/format.h>
#include <stdexcept>

// ---- texts -------------------------------------------------------------------------------------------------------

std::string lf_getTextFromId(int id) {
    try {
        std::string text = plat::getText(id);
        plat::utf16FromUtf8(text);
        return text;
    } catch (const win32::Utf8ConversionException& e) {
        gf_logLine(fmt::format("{} conversion exception {}, error code: {}", "lf_getTextFromId", e.what(),
                               e.errorCode()));
        return {};
    }
}

static std::string lf_boxText(const Parameter& p) { return lf_getTextFromId(p.control.controlId); }

static void lf_show(const std::string& text) { gf_showMessage(text, false); }
static void lf_showAndLog(const std::string& text) { gf_showMessage(text, true); }

// ---- numbers -----------------------------------------------------------------------------------------------------

// The number at the start of the text, what follows is ignored, and so are blanks before it; the point is a point
// everywhere. Throws std::invalid_argument for none, std::out_of_range for one that the type has no room for.
template <class Number> static Number lf_numberOf(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
    if (digits.empty() || (digits[0] != '.' && (digits[0] < '0' || digits[0] > '9'))) // "inf", "nan"
        throw std::invalid_argument("no number");
    Number result{};
    const auto error = std::from_chars(text.data(), text.data() + text.size(), result).ec;
    if (error == std::errc::result_out_of_range) throw std::out_of_range("the number is out of range");
    if (error != std::errc()) throw std::invalid_argument("no number");
    return result;
}

static void lf_save(const IntParameter& p) {
    if (p.stored) gf_saveParameter(p);
}

static std::string lf_textOf(const IntParameter& p) { return std::to_string(p.value); }
static std::string lf_textOf(const FloatParameter& p) { return gf_floatText(p.value); }

static void lf_set(IntParameter& p, std::int32_t number) {
    p.value = p.limited(number);
    lf_save(p);
}

// The hours of a fit are half hours underneath, of which the file knows.
static void lf_set(FloatParameter& p, float hours) {
    constexpr float stepsPerHour = 2;
    const float limited = std::clamp(hours, p.minimum, p.maximum);
    MAX_FIT.value = MAX_FIT.limited(std::lround(limited * stepsPerHour) - 1);
    gf_saveParameter(MAX_FIT);
    gf_takeMaxFit();
}

static void lf_setDefault(IntParameter& p) {
    lf_set(p, &p == &parking_percentage ? 0 : p.defaultValue); // of that one no more are wanted
}

static void lf_setDefault(FloatParameter& p) { lf_set(p, p.defaultValue); }

// False, and the box shows what was typed or again the value: nothing has changed.
template <class P> static bool lf_takeText(P& p, const std::string& text) {
    if (text.empty()) {
        lf_setDefault(p);
        return true;
    }
    decltype(p.value.load()) number{};
    try {
        number = lf_numberOf<decltype(number)>(text);
    } catch (const std::invalid_argument&) {
        lf_showAndLog(fmt::format("invalid input: {}", text));
        return false;
    }
    if (number == p.value) {
        lf_showAndLog(fmt::format("Same {} value {}, no changes made", p.name, lf_textOf(p)));
        gf_showParameter(p);
        return false;
    }
    lf_set(p, number);
    return true;
}

template <class P> static bool lf_processNumber(P& p, const char* name) {
    const auto before = p.value.load();
    try {
        if (!lf_takeText(p, lf_boxText(p))) return false;
        lf_show(fmt::format("The new {} is {}", p.name, lf_textOf(p)));
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{} exception {}", name, e.what()));
    }
    gf_showParameter(p);
    return p.value != before;
}

bool lf_processTbInt(IntParameter& p) { return lf_processNumber(p, "lf_processTbInt"); }
bool lf_processTbFloat(FloatParameter& p) { return lf_processNumber(p, "lf_processTbFloat"); }

static void lf_newMaxLive() {
    if (display.airportLoaded) app.parametersChanged = true;
    app.trimLiveRequest.set(); // without an airport it is the limit for the time after one, too
}

static void lf_intBoxProc(IntParameter& p) {
    gf_clearMessage();
    const std::int32_t before = p.value;
    if (!lf_processTbInt(p)) return;
    if (&p == &CUSTOM_MAX_PARK || &p == &parking_percentage) lf_parkingChanged();
    if (&p == &LATERAL_RANGE) {
        app.parametersChanged = true;
        gf_setUserRange(p.value);
    }
    if (&p == &MAX_LIVE) lf_newMaxLive();
    if (&p == &MATCHING_DEPTH && p.value > before) app.forgetTypesRequest.set();
}

static void lf_fitBoxProc(FloatParameter& p) {
    if (!display.airportLoaded) return;
    gf_clearMessage();
    if (lf_processTbFloat(p)) lf_parkingChanged();
}

// ---- callsigns and airports --------------------------------------------------------------------------------------

static void lf_newBlock() {
    constexpr std::size_t shortest = 4, longest = 8;
    const std::string text = lf_boxText(BLOCK_CALLSIGN), callsign = gf_upperCase(text),
                      before = BLOCK_CALLSIGN.value();
    if (text.empty()) {
        if (!before.empty()) lf_unblock();
        return;
    }
    if (text.size() < shortest || text.size() > longest) {
        lf_showAndLog(fmt::format("callsign \"{}\" is not valid", text));
    } else if (callsign == before) {
        lf_showAndLog(fmt::format("callsign \"{}\" was already set ...", callsign));
    } else {
        gf_setAndSave(BLOCK_CALLSIGN, callsign);
        plat::setEnabled(UNBLOCK.control.controlId, true);
        lf_showAndLog(fmt::format("live aircraft with callsign \"{}\" will be blocked", callsign));
        app.blockRequest.set();
    }
    gf_showParameter(BLOCK_CALLSIGN);
}

static void lf_noDestination() { // the file keeps the former one for the next start
    DESTINATION.set("");
    plat::setEnabled(RE_READ.control.controlId, true);
    lf_showAndLog("destination set to empty");
    app.destinationRequest.set();
}

static void lf_newDestinationBox() {
    constexpr std::size_t codeLength = 4;
    const std::string text = lf_boxText(DESTINATION), code = gf_upperCase(text);
    if (text.empty()) return lf_noDestination();
    if (text.size() != codeLength)
        lf_showAndLog(fmt::format("destination \"{}\" is not valid", text));
    else if (code == DESTINATION.value())
        lf_showAndLog(fmt::format("destination \"{}\" was already set ...", code));
    else if (const auto airport = gf_findAirport(code))
        return lf_newDestination(*airport);
    else
        lf_showAndLog(fmt::format("destination \"{}\" is unknown ...", code));
    gf_showParameter(DESTINATION);
}

static void lf_newObjectIdBox() {
    const std::string callsign = gf_upperCase(lf_boxText(CALLSIGN_2_OBJECTID));
    if (callsign.empty() && CALLSIGN_2_OBJECTID.value().empty()) return;
    gf_setDisplayText(DisplayText::objectId, {}); // it belongs to another
    CALLSIGN_2_OBJECTID.set(callsign);
    gf_showParameter(CALLSIGN_2_OBJECTID);
    app.objectIdRequest.set();
}

// ---- which box ---------------------------------------------------------------------------------------------------

static void lf_stringBoxProc(StringParameter& p) {
    gf_clearMessage();
    if (&p == &BLOCK_CALLSIGN) lf_newBlock();
    if (&p == &DESTINATION) lf_newDestinationBox();
    if (&p == &CALLSIGN_2_OBJECTID) lf_newObjectIdBox();
    if (&p == &ALL_INSTALL_PATH) lf_newSimPath(gf_installPathParameter(), lf_boxText(p));
}

void lf_enterPressed(int id) {
    try {
        for (IntParameter* const p :
             {&AI_PACKAGE_ORDER, &MATCHING_DEPTH, &LATERAL_RANGE, &AUTO_RANGE_ABOVE_HEIGHT, &CUSTOM_MAX_PARK,
              &MAX_LIVE, &AIRPORT_RANGE, &AIRPORT_HEIGHT, &parking_percentage})
            if (p->control.controlId == id) return lf_intBoxProc(*p);
        for (StringParameter* const p :
             {&BLOCK_CALLSIGN, &DESTINATION, &CALLSIGN_2_OBJECTID, &ALL_INSTALL_PATH})
            if (p->control.controlId == id) return lf_stringBoxProc(*p);
        if (id == MAX_FIT_FL.control.controlId) lf_fitBoxProc(MAX_FIT_FL);
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{} exception {}", "lf_stringBoxProc", e.what()));
    }
}

// What a click on a check box or a button does: a parameter changes and is saved at once, a message tells of it, and what
// takes longer or needs the lists of the worker is asked for. Thread of the message loop.

#include "window/window.h"

#include "airportscan/airportscan.h"
#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"

#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>

static constexpr std::int32_t switchSeconds = 3, scanSeconds = 2; // until the new run

static void lf_message(const std::string& text) { gf_showMessage(text, false); }

// In the log in any case, on the screen unless an error stands there.
static void lf_logAndShow(const std::string& text) {
    gf_logLine(text);
    lf_message(text);
}

// ---- settings that tell of themselves ------------------------------------------------------------------------------

namespace {
struct Told { // a message for one state; the other clears the line
    const BoolParameter& parameter;
    bool when;
    const char* text;
};
} // namespace

static const Told toldSettings[] = {
    {LIG_AUTOMATIC, false, "The liveries defined by your lfolder parameters will be scanned"},
    {LIG_PRIORITIZE, true, "Liveries in lower lfolders that are already available will be skipped"},
    {INITIAL_LOAD_ONLY, true,
     "Initial Load Only: static parked aircraft are generated once, no renewal every 20 minutes"},
    {COLLISION_LIVE_PARKED_GND, false,
     "Be aware, no collision avoidance with live aircraft vs parked static on the ground"},
    {COLLISION_USER_GND, false, "Be aware, no collision avoidance with user aircraft on the ground"},
    {COLLISION_USER_AIR, false, "Be aware, no collision avoidance with user aircraft in the air"},
    {SUPPRESS_STUB, true, "Exclude FSLTL-liveries titles ending with _STUB from scan"},
    {ALWAYS_ON_TOP, true, "Velloray's window will remain visible"},
    {AEROWINX, true, "Note: This mode is for Aerowinx PSX users only, please re-start Velloray"},
    {GUID_CHANGES, false,
     "Be aware, no more livery updates: you miss correct data for Learn, LittleNavMap, etc!"},
};

static void lf_tell(const BoolParameter& p) {
    for (const Told& told : toldSettings)
        if (&told.parameter == &p) p.value == told.when ? lf_message(told.text) : gf_clearMessage();
}

// ---- new runs ----------------------------------------------------------------------------------------------------

namespace {
struct Scan {
    const BoolParameter& wish;
    Flag& request; // what is known is void
    const char *what, *recommended;
};
} // namespace

static const Scan scans[] = {
    {SCAN_LIVERIES, appLife.newLiveriesRequest, "liveries", "AI aircraft models/liveries"},
    {SCAN_AIRPORTS, appLife.newAirportsRequest, "airports", "airports"},
};

static const Scan* lf_scanOf(const BoolParameter& p) { // nullptr: the box is another
    for (const Scan& scan : scans)
        if (&scan.wish == &p) return &scan;
    return nullptr;
}

// A scan or a run that ends just now takes back a wish that has no request: the request is there before the wish.
static void lf_askBeforeWish(const BoolParameter& p) {
    if (const Scan* const scan = lf_scanOf(p); scan && app.rtNotYetConnected) scan->request.set();
}

// The stores are the worker's: the next run empties them at its start.
static void lf_scanLater(const Scan& scan) {
    if (!scan.wish) return gf_clearMessage();
    if (!app.rtNotYetConnected)
        return lf_message(
            fmt::format("Your {} will be scanned at the next start of {}, recommended after you have "
                        "add/removed {}",
                        scan.what, programName, scan.recommended));
    scan.request.set(); // again: a run that has begun meanwhile has taken it
    lf_logAndShow(fmt::format("Your {} will be scanned", scan.what));
    gf_requestStop(RunState::newSettings, scanSeconds);
}

static void lf_deleteScannedLiveries() {
    std::error_code error;
    std::filesystem::remove(folders.scannedLiveries, error);
    if (error) throw std::filesystem::filesystem_error("remove", folders.scannedLiveries, error);
}

static void lf_switchSimulator() {
    lf_deleteScannedLiveries();
    appLife.newLiveriesRequest.set(); // before the wish to scan: a scan that ends just now looks for it
    appLife.newAirportsRequest.set();
    airportScan.succeeded = false;
    gf_setAndSave(SCAN_AIRPORTS, true);
    gf_setAndSave(SCAN_LIVERIES, true);
    lf_logAndShow(fmt::format("Switching Simulator to {}", MSFS_2020 ? "MSFS 2020" : "MSFS 2024"));
    gf_repaint(Band::status); // which names it
    ALL_INSTALL_PATH.set("");
    gf_showParameter(ALL_INSTALL_PATH);
    if (!MSFS_2020) gf_setAndSave(MYSIMADDON24_VERSION, "");
    gf_requestStop(RunState::newSettings, switchSeconds);
}

// ---- parking and range -------------------------------------------------------------------------------------------

void lf_parkingChanged() {
    constexpr std::int32_t schedule = 15; // seconds; then the request is looked at
    if (!display.airportLoaded) return;
    app.parametersChanged = true;
    if (INITIAL_LOAD_ONLY) return gf_clearMessage();
    const std::int32_t left = schedule - app.secondCount % schedule;
    lf_message(fmt::format("{} will respond in {} second{} ...", programName, left, left == 1 ? "" : "s"));
    app.reparkRequest.set();
}

static void lf_noteParameterOfAirport() {
    if (display.airportLoaded) app.parametersChanged = true;
}

static void lf_followAutoRange() {
    app.parametersChanged = true;
    if (AUTO_RANGE)
        app.autoRangeRequest.set();
    else
        gf_clearMessage();
}

// ---- check boxes -------------------------------------------------------------------------------------------------

static void lf_afterToggle(const BoolParameter& p) {
    lf_tell(p);
    if (&p == &NAV_LIGHTS_WHILE_PARKED) app.navLightsRequest.set();
    if (&p == &AUTO_RANGE) lf_followAutoRange();
    if (&p == &MSFS_2020) lf_switchSimulator();
    if (const Scan* const scan = lf_scanOf(p)) lf_scanLater(*scan);
    if (&p == &LIG_AUTOMATIC) plat::setEnabled(AI_PACKAGE_ORDER.control.controlId, p.value);
    if (&p == &PARK_SOFT || &p == &PARK_FAKE || &p == &WEEK) lf_parkingChanged();
    if (&p == &WEEK) gf_repaint(Band::parking); // which shows no average fit with it
    if (&p == &INITIAL_LOAD_ONLY || &p == &LEARN_SOFT) lf_noteParameterOfAirport();
    if (&p == &ALWAYS_ON_TOP) plat::setTopMost(p.value);
}

static void lf_toggle(BoolParameter& p) {
    const bool on = !plat::isChecked(p.control.controlId);
    if (on) lf_askBeforeWish(p);
    if (&p == &AUTO_RANGE) {
        gf_setAutoRange(on);
    } else {
        p.value = on;
        gf_showParameter(p);
    }
    gf_saveParameter(p);
    lf_afterToggle(p);
}

// ---- buttons -----------------------------------------------------------------------------------------------------

void lf_unblock() {
    const std::string callsign = BLOCK_CALLSIGN.value();
    if (callsign.empty()) return lf_message("Nothing to block or unblock...");
    gf_setAndSave(BLOCK_CALLSIGN, "");
    gf_showParameter(BLOCK_CALLSIGN);
    plat::setEnabled(UNBLOCK.control.controlId, false);
    gf_showMessage(fmt::format("no more blocking of live aircraft \"{}\"", callsign), true);
    app.blockRequest.set();
}

static void lf_reRead() {
    plat::setEnabled(RE_READ.control.controlId, false); // before the request: its answer enables both
    plat::setEnabled(DESTINATION.control.controlId, false);
    app.reReadRequest.set();
}

static void lf_flushStatic() {
    lf_message("All static parked aircraft will be removed ...");
    plat::setEnabled(FLUSH_STATIC.control.controlId, false);
    app.flushRequest.set();
}

static bool lf_press(int id) {
    if (id == UNBLOCK.control.controlId)
        lf_unblock();
    else if (id == RE_READ.control.controlId)
        lf_reRead();
    else if (id == FLUSH_STATIC.control.controlId)
        lf_flushStatic();
    else
        return false;
    return true;
}

bool lf_HandleWMCOMMAND(int id) {
    try {
        if (BoolParameter* const p = lf_checkBoxOf(id))
            lf_toggle(*p);
        else if (!lf_press(id))
            return false;
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{} exception {}", "lf_HandleWMCOMMAND", e.what()));
    }
    gf_repaint(Band::settings);
    return true;
}

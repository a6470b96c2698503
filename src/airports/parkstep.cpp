// The parking step, each 16 seconds: it takes over what the loader thread has read, keeps the list in order, and looks
// whether an airport comes into sight or goes out of it. Nothing here waits for a file or a server. Worker.

#include "airports/airports.h"

#include "airports/reading.h"
#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "platform/window.h"

#include <fmt/format.h>

static LatLon lf_user() { return {engine.user.lat, engine.user.lon}; }

static bool lf_lowEnough() { return engine.user.agl <= AIRPORT_HEIGHT.value; }

static void lf_enableReRead() { plat::setEnabled(RE_READ.control.controlId, true); }

static void lf_bringUp(WorkText text) { // the park airport that has just been set
    airports.pending = true;
    lf_startLoading(airports.park.code);
    gf_collectCallsigns();
    lf_beginStaticWork(text);
}

static void lf_takePending() {
    if (!lf_loadingDone()) return; // the next step looks again
    gf_clearMessage();
    airports.pending = false;
    const std::string text = lf_readParkedFile();
    if (text.empty()) {
        lf_calculateStatics();
    } else {
        gf_showMessage(text, true);
        lf_giveUpParkAirport();
    }
    lf_enableReRead();
}

// ---- no park airport --------------------------------------------------------------------------------------------

static void lf_lookFromAir() {
    lf_enableReRead();
    if (airports.parkAirports.empty()) return;
    const std::string code = airports.parkAirports.front().code;
    const double nm = gf_firstParkAirportNm(engine.user.lat, engine.user.lon);
    if (nm > AIRPORT_RANGE.value || !lf_lowEnough() || !lf_setParkAirport(code)) return;
    gf_showMessage(fmt::format("{} in sight at {:.1F} nm", gf_airportLabel(airports.park), nm), true);
    lf_bringUp(WorkText::none);
}

static void lf_useGroundAnswer(const GroundAnswer& answer, bool firstTime) {
    if (!answer.airport) return gf_showMessage("User aircraft on the ground, no airport in sight", false);
    const std::string where =
        fmt::format("User aircraft on the ground at {}", gf_airportLabel(*answer.airport));
    if (!answer.hasFile) return gf_showMessage(where + ", no airport file found", false);
    gf_logLine(where);
    if (lf_setParkAirport(answer.airport->code))
        lf_bringUp(firstTime ? WorkText::calculating : WorkText::none);
}

// Which airport the user stands at may hang on airport files: the loader thread answers, and the step after uses the
// answer, if the user is still about there. Before the first Tick the answer is waited for.
static void lf_lookFromGround(bool firstTime) {
    constexpr double sameAirportNm = 1;
    if (firstTime) {
        lf_askGround(lf_user());
        lf_awaitGroundAnswer();
    }
    GroundAnswer answer;
    if (lf_takeGroundAnswer(answer) && gf_distanceNm(answer.asked, lf_user()) <= sameAirportNm)
        lf_useGroundAnswer(answer, firstTime);
    if (!airports.park.known()) lf_askGround(lf_user());
}

// ---- the present one --------------------------------------------------------------------------------------------

static void lf_checkPresent() {
    if (sim.userOnGround) return;
    const LatLon user = lf_user();
    const std::string label = gf_airportLabel(airports.park), time = gf_shortTimeText();
    const double nm = gf_distanceNm(user.lat, user.lon, airports.park.lat, airports.park.lon);
    if (nm > AIRPORT_RANGE.value || !lf_lowEnough()) {
        gf_logLine(fmt::format("\n{} {} is out of sight ({:.1F} nm), parked aircraft will be removed", time,
                               label, nm));
        return lf_removeAllParked();
    }
    if (airports.parkAirports.empty() || airports.parkAirports.front().code == airports.park.code) return;
    const double firstNm = gf_firstParkAirportNm(user.lat, user.lon);
    if (firstNm > AIRPORT_RANGE.value || firstNm > nm) return;
    gf_logLine(fmt::format("\n{} {} is in sight ({:.1F} nm), parked aircraft at {} will be removed first",
                           time, airports.parkAirports.front().code, firstNm, label));
    lf_removeAllParked();
}

// All that was to be placed has been placed, or has gone.
static void lf_noteEndOfPlacing() {
    if (!display.staticWork || lf_canPlaceStatics()) return; // what is beyond the range may wait for long
    lf_endStaticWork();
    gf_clearMessage();
    lf_refreshCounts();
}

void lf_parkingStep(bool firstTime) {
    lf_noteEndOfPlacing();
    if (airports.pending) return lf_takePending();
    if (gf_isNoPosition(engine.user.lat, engine.user.lon)) return;
    lf_sortParkAirports();
    if (airports.park.known())
        lf_checkPresent();
    else if (sim.userOnGround)
        lf_lookFromGround(firstTime);
    else
        lf_lookFromAir();
}

// The park airport: how it becomes current, how what the loader thread has read is taken over, and how it is given up.
// Worker.

#include "airports/airports.h"

#include "airports/reading.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "platform/window.h"

#include <algorithm>
#include <fmt/format.h>

AirportsRun airports;

void gf_publishParkAirport(const ParkAirport& airport) {
    airports.park = airport;
    trafficReader.parkAirport.store({airport.lat, airport.lon, airport.elevation, airport.known()});
}

void lf_resetAirports() {
    lf_endLoader();
    lf_forgetMissingFiles();
    airports = AirportsRun{};
    gf_publishParkAirport({});
}

bool lf_setParkAirport(const std::string& code) {
    const auto found = gf_findAirport(code);
    if (!found) return false;
    static_cast<Airport&>(airports.park) = *found; // told to the reader when its file is loaded
    gf_logLine(fmt::format("The park airport is {}", gf_airportLabel(airports.park)));
    gf_setDisplayText(DisplayText::airportLabel, gf_airportLabel(airports.park));
    gf_repaint(Band::parking);
    return true;
}

// ---- what the reading asks for ----------------------------------------------------------------------------------

static void lf_takeStep(const ReadingStep& step) {
    switch (step.kind) {
    case ReadingStep::Kind::log: return gf_logLine(step.text);
    case ReadingStep::Kind::show: return gf_showMessage(step.text, true);
    case ReadingStep::Kind::setFlag:
        if (step.flag == &AUTO_RANGE) return gf_setAutoRange(step.value != 0);
        step.flag->value = step.value != 0;
        gf_showParameter(*step.flag);
        return;
    case ReadingStep::Kind::setNumber:
        if (step.number == &LATERAL_RANGE) return gf_setAirportRange(step.value);
        step.number->value = step.value;
        gf_showParameter(*step.number);
        return;
    }
}

static void lf_takeSteps(const AirportReading& reading) {
    for (const ReadingStep& step : reading.steps) {
        const bool sets =
            step.kind == ReadingStep::Kind::setFlag || step.kind == ReadingStep::Kind::setNumber;
        if (reading.error.empty() || !sets) lf_takeStep(step); // an airport that is not loaded sets nothing
    }
}

// ---- taking over ------------------------------------------------------------------------------------------------

static void lf_setLearnGate() {
    constexpr std::int32_t goodQuality = 45;
    constexpr std::size_t fewStands = 20;
    const AirportFile& file = airports.file;
    airports.learnAllowed = file.qfReal < goodQuality || file.stands.size() < fewStands;
    plat::setEnabled(LEARN_SOFT.control.controlId, airports.learnAllowed);
    if (airports.learnAllowed || !LEARN_SOFT) return;
    LEARN_SOFT.value = false;
    gf_showParameter(LEARN_SOFT);
    app.parametersChanged = true; // so that the airport's learned file remembers
}

// The list follows the user, who stands at this airport.
static void lf_noteUserStand() {
    if (!sim.userOnGround) return;
    const Stand* stand = gf_userStand();
    const std::string id = stand ? stand->id : std::string();
    auto& list = airports.parkAirports;
    if (lf_bringToFront(airports.park.code) && id.empty()) return; // it keeps the stand that the user gave it
    if (list.empty() || list.front().code != airports.park.code)
        list.push_front({airports.park.code, id, airports.park.lat, airports.park.lon, 0});
    else if (!id.empty() && list.front().stand != id)
        list.front().stand = id;
    else
        return;
    lf_rememberParkStand();
}

void lf_reserveStand(const std::string& id) {
    airports.reservedStand = id;
    gf_setDisplayText(DisplayText::reservedStand, id);
    display.reservedStandKnown = !id.empty() && gf_standById(id);
    gf_repaint(Band::parking);
}

static void lf_reserveOfList() {
    const auto& list = airports.parkAirports;
    const bool here = !list.empty() && list.front().code == airports.park.code;
    lf_reserveStand(here && gf_standById(list.front().stand) ? list.front().stand : std::string());
}

static void lf_showLoaded() {
    const AirportFile& file = airports.file;
    if (display.airportLoaded.exchange(airports.park.loaded) != airports.park.loaded)
        gf_repaint(Band::settings); // the minutes to the next renewal
    display.airportHandmade = file.handmade;
    display.standCount = static_cast<std::uint32_t>(file.stands.size());
    display.trafficWeeks = file.trafficWeeks;
    gf_setDisplayText(DisplayText::airportName, file.airportName);
    gf_setDisplayText(DisplayText::publisher, file.publisher);
    gf_setDisplayText(DisplayText::quality,
                      airports.park.loaded ? lf_qualityText(file.qfReal, file.qfSoft) : std::string());
    gf_repaint(Band::parking);
}

static void lf_enableLearned(bool percentageToo) {
    plat::setEnabled(FLUSH_STATIC.control.controlId, true);
    plat::setEnabled(MAX_FIT_FL.control.controlId, true);
    plat::setEnabled(parking_percentage.control.controlId, percentageToo);
    gf_takeMaxFit();
    gf_showParameter(MAX_FIT_FL);
}

std::string lf_readParkedFile() {
    AirportReading reading;
    airports.file = {};
    if (!lf_takeLoaded(reading))
        return fmt::format("{} {} is not read", "lf_readParkedFile", airports.park.code);
    lf_takeSteps(reading);
    if (reading.userError != 0) throw orvo::UserErrorException(reading.userError, reading.error);
    if (!reading.error.empty()) {
        lf_showLoaded();
        return reading.error;
    }
    if (AUTO_RANGE) lf_autoRange(); // the file's range is for the time without it
    airports.file = std::move(reading.file);
    airports.learnedWhole = reading.learnedWhole;
    airports.updates = 0;
    app.parametersChanged = false;
    ParkAirport park = airports.park;
    park.loaded = true;
    gf_publishParkAirport(park);
    lf_enableLearned(reading.learnedRead);
    lf_setLearnGate();
    lf_noteUserStand();
    lf_reserveOfList();
    lf_keepDestinationFirst();
    lf_showLoaded();
    return {};
}

// ---- giving up --------------------------------------------------------------------------------------------------

void lf_giveUpParkAirport() {
    if (airports.park.loaded && (app.parametersChanged || airports.updates > 0)) gf_saveLearned();
    lf_dropLoading();
    airports.pending = false;
    airports.updates = 0;
    airports.learnAllowed = false;
    airports.learnedWhole.clear();
    airports.maxParked = 0;
    airports.staticQueue.clear();
    airports.realFit = airports.softFit = -1;
    lf_cancelRenewal();
    display.maxParked = 0;
    display.parkedPercentage = 0;
    display.softParking = false;
    airports.file = {};
    gf_publishParkAirport({});
    lf_reserveStand({});
    gf_setDisplayText(DisplayText::airportLabel, {});
    lf_showLoaded();
    plat::setEnabled(FLUSH_STATIC.control.controlId, false);
    plat::setEnabled(parking_percentage.control.controlId, false);
}

static bool lf_belongsHere(const LiveAc& ac) {
    switch (ac.fs) {
    case FlightState::parked:
    case FlightState::pushingBack:
    case FlightState::pushedBack:
    case FlightState::taxi:
    case FlightState::takeOff: return true;
    case FlightState::flying:
    case FlightState::parking:
    case FlightState::birth: return false;
    }
    return false;
}

void lf_removeAllParked() {
    gf_flushStatics();
    for (LiveAc& ac : engine.live) {
        if (!lf_belongsHere(ac)) continue;
        lf_clearStand(ac);
        removeAircraftFromSim(ac, Removed::airportLeft);
    }
    lf_compactLive();
    lf_giveUpParkAirport();
    if (MAX_LIVE.value == app.liveLimit) return;
    MAX_LIVE.value = app.liveLimit; // the user's own, which the airport's file had replaced
    gf_showParameter(MAX_LIVE);
    lf_trimLive();
}

// The slower jobs of the engine: the counts that the window shows, the automatic range, the limit of live aircraft,
// the blocked callsign, one new arrival a second, and the end of a run. Worker.

#include "engine/engine.h"

#include "app/display.h"
#include "app/parameters.h"

#include <cmath>

static std::uint32_t lf_countLive(bool parked) {
    std::uint32_t count = 0;
    for (const LiveAc& ac : engine.live)
        count += ac.st == SimState::active && (ac.fs == FlightState::parked) == parked;
    return count;
}

void lf_refreshCounts() {
    const std::uint32_t flying = lf_countLive(false), parkedLive = lf_countLive(true);
    if (display.liveCount.exchange(flying) != flying) gf_repaint(Band::status);
    const auto parkedStatic = static_cast<std::uint32_t>(engine.parked.size());
    const bool liveChanged = display.parkedLive.exchange(parkedLive) != parkedLive;
    const bool staticChanged = display.parkedStatic.exchange(parkedStatic) != parkedStatic;
    if (liveChanged || staticChanged) gf_repaint(Band::parking);
}

// Nautical miles around the user's aircraft in which traffic is wanted.
static std::int32_t lf_wantedRange() {
    constexpr std::int32_t onGround = 10, highUp = 100, enRoute = 40;
    constexpr double closeIn = 7, approaching = 37, beyondAirport = 3;
    if (sim.userOnGround) return onGround;
    if (engine.user.alt > AUTO_RANGE_ABOVE_HEIGHT.value) return highUp;
    if (engine.user.alt > AIRPORT_HEIGHT.value) return enRoute;
    const double distanceNm = gf_firstParkAirportNm(engine.user.lat, engine.user.lon);
    if (distanceNm <= closeIn) return onGround;
    if (distanceNm >= approaching) return enRoute;
    return static_cast<std::int32_t>(std::lround(distanceNm) + std::lround(beyondAirport));
}

void lf_autoRange() {
    const std::int32_t range = lf_wantedRange();
    const std::int32_t limited = LATERAL_RANGE.limited(range);
    gf_setRange(range);
    if (LATERAL_RANGE.value.exchange(limited) != limited) gf_showParameter(LATERAL_RANGE);
}

void lf_trimLive() {
    const std::int32_t limit = MAX_LIVE.value;
    if (limit == MAX_LIVE.defaultValue) return;
    for (std::size_t active = lf_countActive(); active > static_cast<std::size_t>(limit); --active)
        lf_removeFarthest(-1);
}

void lf_serveBlockRequest() {
    if (!app.blockRequest.take()) return;
    const std::string blocked = BLOCK_CALLSIGN.value();
    if (blocked.empty()) return;
    for (LiveAc& ac : engine.live)
        if (ac.st == SimState::active && ac.callsign == blocked)
            return removeAircraftFromSim(ac, Removed::other);
}

void lf_serveNewArrival() {
    if (engine.newArrivals.empty()) return;
    LiveAc* ac = lf_findByHexid(engine.newArrivals.front());
    engine.newArrivals.pop_front(); // also when its aircraft is gone
    if (ac) lf_arrivalCheck(*ac);
}

void lf_forgetTypesWithoutLivery() {
    engine.noLivery.clear();
    gf_forgetNoMatches();
}

void lf_endEngineRun() {
    engine.ghosts.clear();
    gf_removeFlightPlanFolder();
}

// The look-up of an object by callsign and the file of callsigns come with the commands.
void lf_findObjectId() {}
void lf_forgetObjectId(const AcBase&, bool) {}
void lf_writeCallsignFile() {}

// The slower jobs of the engine: the counts that the window shows, the automatic range, the limits of live and of
// parked aircraft, the blocked callsign, one new arrival a second, and the end of a run. Worker.

#include "engine/parking.h"
#include "engine/trace.h"

#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/clock.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <utility>

// ---- counts --------------------------------------------------------------------------------------------------------

static bool lf_isParked(const LiveAc& ac) {
    return ac.st == SimState::active && ac.fs == FlightState::parked;
}

// How many stand parked, and how long on average they have, in hours.
namespace {
struct Stays {
    std::uint32_t count = 0;
    std::int64_t halfHours = 0;
    void add(const AcBase& ac, WeekSlot now) {
        constexpr std::int32_t ofDay = 48, ofWeek = 7 * ofDay;
        const std::int32_t stay = (now.day - ac.parkedSince.day) * ofDay + now.hh - ac.parkedSince.hh;
        ++count;
        halfHours += ((stay % ofWeek) + ofWeek) % ofWeek;
    }
    float average() const { // the half hour that has begun counts for a whole
        return count == 0 ? 0 : static_cast<float>(static_cast<double>(halfHours) / (2.0 * count) + 0.5);
    }
};
} // namespace

static std::uint32_t lf_countParkedLive() {
    Stays stays;
    for (const LiveAc& ac : engine.live)
        if (lf_isParked(ac)) stays.add(ac, app.weekSlot.load());
    if (display.liveFit.exchange(stays.average()) != stays.average()) gf_repaint(Band::parking);
    return stays.count;
}

static std::uint32_t lf_countStatics() { // those that have an object, or had one until a moment ago
    Stays stays;
    for (const ParkedAc& ac : engine.parked)
        if (ac.st == SimState::active || ac.st == SimState::removingFromSim)
            stays.add(ac, app.weekSlot.load());
    if (!WEEK && display.staticFit.exchange(stays.average()) != stays.average()) gf_repaint(Band::parking);
    return stays.count;
}

void lf_refreshCounts() {
    const std::uint32_t parkedLive = lf_countParkedLive();
    const std::uint32_t flying = static_cast<std::uint32_t>(lf_countActive()) - parkedLive;
    lf_countStatics();
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

void lf_autoRange() { gf_takeAutoRange(lf_wantedRange()); }

// ---- limits --------------------------------------------------------------------------------------------------------

void lf_trimLive() {
    const std::int32_t limit = MAX_LIVE.value;
    if (limit == MAX_LIVE.defaultValue) return;
    for (std::size_t active = lf_countActive(); active > static_cast<std::size_t>(limit); --active)
        lf_removeFarthest(-1);
}

static std::vector<std::pair<std::int64_t, std::uint32_t>>
lf_parkedByAge() { // seconds and hexid, the oldest first
    constexpr std::int64_t perSecond = 10'000'000;
    std::vector<std::pair<std::int64_t, std::uint32_t>> list;
    for (const LiveAc& ac : engine.live)
        if (lf_isParked(ac)) list.emplace_back((plat::utcNow() - ac.parkedAt) / perSecond, ac.hexid);
    std::stable_sort(list.begin(), list.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    return list;
}

void lf_enforceMaxPark(std::int32_t extra) {
    const std::int64_t most = airports.maxParked;
    const std::int64_t live = lf_countParkedLive(), statics = lf_countStatics();
    if (INITIAL_LOAD_ONLY || most < 1) return;
    if (live + extra > most) {
        const auto list = lf_parkedByAge();
        if (LiveAc* oldest = list.empty() ? nullptr : lf_findByHexid(list.front().second)) {
            if (LOG)
                gf_logLine(fmt::format("{:}: {:8} max park exceeded, removed", lf_standName(oldest->standId),
                                       oldest->callsign));
            lf_trace(oldest->hexid, "is parked longest, and more than {} may not be", most);
            removeAircraftFromSim(*oldest, Removed::maxParked);
        }
    }
    if (engine.parked.empty() || live + statics + extra <= most) return;
    std::stable_sort(engine.parked.begin(), engine.parked.end(), [](const ParkedAc& a, const ParkedAc& b) {
        return std::pair(a.parkedSince.day, a.parkedSince.hh) <
               std::pair(b.parkedSince.day, b.parkedSince.hh);
    });
    if (engine.parked.back().st == SimState::active)
        removeAircraftFromSim(engine.parked.back(), Removed::maxParked);
}

void lf_removeOldestParked(std::size_t count) {
    for (const auto& [age, hexid] : lf_parkedByAge()) {
        if (count-- == 0) return;
        LiveAc* ac = lf_findByHexid(hexid);
        if (LOG)
            gf_logLine(fmt::format("live parked {} at {} removed", ac->callsign, lf_standName(ac->standId)));
        lf_trace(hexid, "is parked longest, and fewer are wanted");
        removeAircraftFromSim(*ac, Removed::maxParked);
    }
}

void lf_removeBlocked() {
    const std::string blocked = BLOCK_CALLSIGN.value();
    if (blocked.empty()) return;
    for (LiveAc& ac : engine.live)
        if (ac.st == SimState::active && ac.callsign == blocked)
            return removeAircraftFromSim(ac, Removed::other);
}

// ---- one a second, and the run -------------------------------------------------------------------------------------

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
    gf_removeCallsignFile();
}

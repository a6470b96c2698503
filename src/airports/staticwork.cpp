// Static parking as a whole: how many aircraft are wanted, the first calculation of an airport, and the renewal, which
// keeps what may stay, removes what should be gone and adds what is missing. Nothing is placed here. Worker.

#include "airports/statics.h"

#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/parking.h"
#include "engine/trace.h"
#include "feed/feed.h"
#include "platform/clock.h"
#include "platform/window.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

// ---- how many -----------------------------------------------------------------------------------------------------

static constexpr double whole = 100; // percent

std::int32_t gf_wantedParked() {
    constexpr double most = 1'000'000; // a percentage out of a file is not limited
    const auto n = static_cast<std::int32_t>(airports.file.stands.size());
    std::int32_t p =
        CUSTOM_PARKING_PERCENTAGE.value >= 0 ? CUSTOM_PARKING_PERCENTAGE.value : parking_percentage.value;
    const bool few = n < 2 || (n < 4 && p < 50);
    std::int32_t count = few ? 1
                             : static_cast<std::int32_t>(
                                   std::round(std::clamp(static_cast<double>(p) * n / whole, -most, most)));
    if (CUSTOM_MAX_PARK.value != CUSTOM_MAX_PARK.defaultValue) {
        count = std::min(count, CUSTOM_MAX_PARK.value.load());
        p = n < 1 ? 0 : static_cast<std::int32_t>(std::round(count * whole / n));
    }
    airports.maxParked = count;
    display.maxParked = count;
    display.parkedPercentage = p;
    gf_repaint(Band::parking);
    return count;
}

// ---- the busy flag ------------------------------------------------------------------------------------------------

static void lf_enableParking(bool on) {
    for (const Parameter* p : std::initializer_list<const Parameter*>{
             &parking_percentage, &PARK_SOFT, &PARK_FAKE, &INITIAL_LOAD_ONLY, &CUSTOM_MAX_PARK, &MAX_FIT_FL,
             &WEEK, &FLUSH_STATIC, &RE_READ}) {
        const bool ofAirport = p == &parking_percentage || p == &FLUSH_STATIC || p == &MAX_FIT_FL;
        plat::setEnabled(p->control.controlId, on && (!ofAirport || airports.park.loaded));
    }
}

void lf_beginStaticWork(WorkText text) {
    display.staticWork = true;
    lf_enableParking(false);
    if (text == WorkText::disabled)
        gf_showMessage(
            "Making changes to airport parking parameters is disabled while static parking takes place ...",
            false);
    else if (text == WorkText::calculating)
        gf_showMessage("Calculating static parked aircraft ...", false);
    gf_repaint(Band::settings);
}

void lf_endStaticWork() {
    constexpr std::int32_t minutes = 19; // to the next renewal
    display.staticWork = false;
    display.minutesToSummary = minutes;
    lf_enableParking(true);
    gf_repaint(Band::settings);
}

void gf_collectCallsigns() {
    {
        const LockGuard hold(trafficLock);
        trafficReader.seenCallsigns.clear();
    }
    trafficReader.collectCallsigns.set();
}

void lf_cancelRenewal() {
    app.reparkRequest.clear();
    app.reparkFirstPhase = false;
    trafficReader.collectCallsigns.clear();
}

// ---- the first calculation ----------------------------------------------------------------------------------------

static void lf_tellSlot(WeekSlot now) {
    static constexpr const char* names[] = {"",         "Monday", "Tuesday",  "Wednesday",
                                            "Thursday", "Friday", "Saturday", "Sunday"};
    gf_logLine(fmt::format("\n{} (utc) It is day {} ({}), {} hours", gf_shortTimeText(), now.day,
                           names[std::clamp(now.day, 0, 7)], lf_hours(now.hh)));
}

static void lf_sortByFit(bool bestFirst) {
    std::stable_sort(airports.staticQueue.begin(), airports.staticQueue.end(),
                     [&](const StaticCandidate& a, const StaticCandidate& b) {
                         return bestFirst ? a.fit < b.fit : a.fit > b.fit;
                     });
}

static StaticWork lf_startOver() {
    airports.staticQueue.clear();
    StaticWork work = lf_beginCalculation();
    lf_tellSlot(work.now);
    lf_beginStaticWork();
    display.liveFit = -1.0f;
    display.staticFit = -1.0f;
    lf_listKeys(work);
    return work;
}

void lf_calculateStatics() {
    StaticWork work = lf_startOver();
    const std::int32_t wanted = gf_wantedParked();
    auto& queue = airports.staticQueue;
    if (wanted > 0) lf_addStatics(work, wanted, 0);
    lf_sortByFit(true);
    if (queue.size() > static_cast<std::size_t>(std::max(wanted, 0)))
        queue.resize(static_cast<std::size_t>(std::max(wanted, 0)));
    if (queue.empty()) {
        gf_logLine("no parking positions found");
        gf_clearMessage(); // that of the beginning
        return lf_endStaticWork();
    }
    const double n = static_cast<double>(airports.file.stands.size());
    gf_logLine(fmt::format("{} positions ({}% vs wanted {}%, with Max fit={} hours)\n", queue.size(),
                           std::round(static_cast<double>(queue.size()) * whole / n),
                           display.parkedPercentage.load(), lf_hours(MAX_FIT.value)));
    lf_sortByFit(false);
    lf_beginStaticWork();
}

// ---- the renewal: live aircraft -----------------------------------------------------------------------------------

static std::int64_t lf_minutesParked(const LiveAc& ac) {
    constexpr std::int64_t perMinute = 600'000'000;    // of the 100 ns that times are counted in
    return (plat::utcNow() - ac.parkedAt) / perMinute; // 0 while it is reported: that renews parkedAt
}

static void lf_collectLiveStayers(StaticWork& work) {
    constexpr std::int64_t patience = 90, longHaul = 180; // minutes
    work.liveStayers.clear();
    for (LiveAc& ac : engine.live) {
        if (ac.fs != FlightState::parked || ac.st != SimState::active) continue;
        const std::int64_t minutes = lf_minutesParked(ac);
        if (!INITIAL_LOAD_ONLY && minutes > (ac.category == AcCategory::heavy ? longHaul : patience)) {
            lf_trace(ac.hexid, "stands for {} minutes since it was last reported", minutes);
            removeAircraftFromSim(ac, Removed::stale);
            continue;
        }
        work.liveStayers.push_back({ac.hexid, lf_standOf(ac) ? ac.standId : 0, minutes});
    }
    std::stable_sort(work.liveStayers.begin(), work.liveStayers.end(),
                     [](const LiveStayer& a, const LiveStayer& b) { return a.minutes < b.minutes; });
}

static void lf_keepLive(StaticWork& work, std::int32_t wanted) {
    lf_collectLiveStayers(work);
    const auto most = static_cast<std::size_t>(std::max(wanted, 0));
    if (wanted > 0 && most < work.liveStayers.size()) {
        const std::size_t excess = work.liveStayers.size() - most;
        gf_showMessage(fmt::format("Parking adjustments: {} more live ac than wanted", excess), true);
        lf_removeOldestParked(excess);
        lf_collectLiveStayers(work);
    }
    for (const LiveStayer& stayer : work.liveStayers)
        if (Stand* stand = gf_standBySeq(stayer.standId)) lf_takeForCalculation(work, *stand);
}

// ---- the renewal: static aircraft ---------------------------------------------------------------------------------

// A candidate that gives way is marked by its stand number 0, and dropped when all have been judged.
static void lf_dropCandidate(StaticCandidate& candidate) { candidate.standSeq = 0; }

static bool lf_isOlder(const StaticWork& work, const ParkedAc& ac, const StaticCandidate& candidate) {
    return lf_slotAge(lf_slotBack(work.now, candidate.fit), work.now) >= lf_slotAge(ac.parkedSince, work.now);
}

static bool lf_collide(const ParkedAc& ac, const StaticCandidate& candidate) {
    const Stand* stand = gf_standBySeq(static_cast<std::uint32_t>(candidate.standSeq));
    return stand && gf_distanceNm(ac.standLat, ac.standLon, stand->lat, stand->lon) <
                        ac.radiusNm + gf_halfWingspanNm(candidate.type);
}

// An option of the aircraft's kind runs now, or ran not longer ago than the search has reached.
static bool lf_fitsTime(const StaticWork& work, const ParkedAc& ac, const Stand& stand) {
    const StandKeys& mine = work.standKeys[static_cast<std::size_t>(stand.seq - 1)];
    const std::int32_t reach = std::min(std::max(airports.realFit, airports.softFit), slotsOfDay - 1);
    for (std::uint32_t i = mine.first; i < mine.first + mine.count; ++i) {
        const OptionKey& key = work.keys[i];
        const StandOption& option = stand.options[key.place];
        if (key.hours == 0 || option.airl != ac.airline || option.type != ac.acType) continue;
        for (std::int32_t back = 0; back <= reach; ++back)
            if (lf_matches(key, lf_slotBack(work.now, back))) return true;
    }
    return false;
}

using QueuePlaces = std::vector<StaticCandidate*>; // by stand

static bool lf_yieldsToNeighbour(const StaticWork& work, const ParkedAc& ac, const Stand& stand,
                                 const QueuePlaces& queued, bool& met) {
    std::vector<StaticCandidate*> near;
    for (const std::int32_t seq : stand.adjacent)
        if (StaticCandidate* candidate = queued[static_cast<std::size_t>(seq - 1)];
            candidate && candidate->standSeq != 0 && lf_collide(ac, *candidate))
            near.push_back(candidate);
    met = !near.empty();
    for (const StaticCandidate* candidate : near)
        if (!lf_isOlder(work, ac, *candidate)) return true;
    for (StaticCandidate* candidate : near) lf_dropCandidate(*candidate);
    return false;
}

static bool lf_stays(const StaticWork& work, const ParkedAc& ac, const QueuePlaces& queued) {
    if (work.snapshot.contains(ac.firstCallsign) || work.snapshot.contains(ac.coupledCallsign))
        return false; // the real one is on its way
    const Stand* stand = lf_standOf(ac);
    if (!stand) return false;
    if (StaticCandidate* candidate = queued[ac.standId - 1]; candidate && candidate->standSeq != 0) {
        const bool same = lf_isShownAs(ac, candidate->airl, candidate->type, candidate->cs, candidate->cs2);
        if (!same && !lf_isOlder(work, ac, *candidate)) return false;
        lf_dropCandidate(*candidate);
        return true;
    }
    bool met = false;
    if (lf_yieldsToNeighbour(work, ac, *stand, queued, met)) return false;
    return met || lf_fitsTime(work, ac, *stand);
}

static void lf_judgeStatics(StaticWork& work) {
    QueuePlaces queued(airports.file.stands.size(), nullptr);
    for (StaticCandidate& candidate : airports.staticQueue)
        queued[static_cast<std::size_t>(candidate.standSeq - 1)] = &candidate;
    for (ParkedAc& ac : engine.parked) {
        if (ac.st != SimState::active) continue;
        if (lf_stays(work, ac, queued))
            work.stayers.push_back({&ac, false});
        else
            work.removals.push_back(&ac);
    }
    std::erase_if(airports.staticQueue,
                  [](const StaticCandidate& candidate) { return candidate.standSeq == 0; });
    // Those of the earlier days first: when there are too many, the last ones go.
    const auto daysAgo = [&](const StaticStayer& s) {
        return (work.now.day - s.ac->parkedSince.day + 7) % 7;
    };
    std::stable_sort(work.stayers.begin(), work.stayers.end(),
                     [&](const StaticStayer& a, const StaticStayer& b) { return daysAgo(a) > daysAgo(b); });
}

// Whether the flight that has come, under which the aircraft is shown, ends with this half hour.
static bool lf_flightEnds(const StaticWork& work, const ParkedAc& ac) {
    const Stand* stand = lf_standOf(ac);
    const std::string_view shown = std::string_view(ac.callsign).substr(0, ac.callsign.rfind('*'));
    if (!stand || ac.coupledCallsign.empty() || ac.firstCallsign.empty() ||
        shown.find(ac.firstCallsign) == std::string_view::npos)
        return false;
    const StandKeys& mine = work.standKeys[static_cast<std::size_t>(stand->seq - 1)];
    const WeekSlot next = lf_slotBack(work.now, -1);
    bool found = false;
    for (std::uint32_t i = mine.first; i < mine.first + mine.count; ++i) {
        const OptionKey& key = work.keys[i];
        const StandOption& option = stand->options[key.place];
        if (key.hours == 0 || (!WEEK && key.day != work.now.day) || option.cs != shown ||
            option.airl != ac.airline || option.type != ac.acType)
            continue;
        found = true;
        if (next.day == work.now.day && (key.hours >> next.hh & 1) != 0) return false;
    }
    if (!found) return false;
    return next.day == work.now.day || !lf_continuesAcross(work, *stand, next.day, ac.airline, ac.acType);
}

static void lf_swapFlights(StaticWork& work) {
    for (StaticStayer& stayer : work.stayers) {
        const ParkedAc& ac = *stayer.ac;
        stayer.changeCallsign = lf_flightEnds(work, ac);
        if (!stayer.changeCallsign) continue;
        airports.staticQueue.push_back({static_cast<std::int32_t>(ac.standId), ac.parkedSince.hh, ac.airline,
                                        ac.acType, ac.firstCallsign, ac.coupledCallsign, ac.regcode, false});
        work.removals.push_back(stayer.ac);
    }
    std::erase_if(work.stayers, [](const StaticStayer& stayer) { return stayer.changeCallsign; });
}

// Candidates go first, the worst fit before the others, then static aircraft, then live ones.
static void lf_cutExcess(StaticWork& work, std::int32_t wanted) {
    auto& queue = airports.staticQueue;
    lf_sortByFit(true);
    std::int64_t excess =
        static_cast<std::int64_t>(queue.size() + work.stayers.size() + work.liveStayers.size()) -
        std::max(wanted, 0);
    for (; excess > 0; --excess) {
        if (!queue.empty()) {
            queue.pop_back();
        } else if (!work.stayers.empty()) {
            work.removals.push_back(work.stayers.back().ac);
            work.stayers.pop_back();
        } else if (!INITIAL_LOAD_ONLY && !work.liveStayers.empty()) {
            if (LiveAc* ac = lf_findByHexid(work.liveStayers.back().hexid)) {
                lf_trace(ac->hexid, "is parked longest, and fewer are wanted");
                removeAircraftFromSim(*ac, Removed::maxParked);
            }
            work.liveStayers.pop_back();
        } else {
            return;
        }
    }
}

void lf_adjustStatics() {
    if (airports.file.stands.empty()) return;
    StaticWork work = lf_startOver();
    const std::int32_t wanted = gf_wantedParked();
    lf_keepLive(work, wanted);
    if (wanted > static_cast<std::int64_t>(work.liveStayers.size()))
        lf_addStatics(work, wanted, work.liveStayers.size());
    lf_judgeStatics(work);
    lf_swapFlights(work);
    lf_cutExcess(work, wanted);
    lf_sortByFit(false);
    const std::string text = fmt::format("Parking adjustments: {} to be removed, {} to be added",
                                         work.removals.size(), airports.staticQueue.size());
    gf_showMessage(text, false);
    gf_logLine(text + "\n");
    for (ParkedAc* ac : work.removals) removeAircraftFromSim(*ac, Removed::other);
    if (!airports.staticQueue.empty()) lf_beginStaticWork();
}

// What the engine tells the airport of the aircraft it has seen: real sightings at a stand, soft ones of an aircraft
// whose stand nobody saw and for which a likely one is picked, and the other flight of a turn-round. How an option is
// made and filled is airports/options.cpp. Worker.

#include "engine/parking.h"

#include "app/log.h"
#include "app/parameters.h"
#include "engine/trace.h"
#include "platform/random.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

static constexpr std::int32_t halfHoursOfDay = 48;

// ---- sightings -----------------------------------------------------------------------------------------------------

static const std::string& lf_keyOf(const AcBase& ac) { return ac.regcode.empty() ? ac.callsign : ac.regcode; }

static std::unordered_map<std::uint32_t, StandVisit>& lf_visits(Stand& stand, bool real) {
    return real ? stand.realSeen : stand.softSeen;
}

// The visit that ends, or is confirmed, fills the half hours since it began.
static void lf_fillOrNew(Stand& stand, const LiveAc& ac, bool real, WeekSlot slot) {
    auto& visits = lf_visits(stand, real);
    const auto visit = visits.find(ac.hexid);
    const bool fill = visit != visits.end() && !(visit->second.start == slot);
    const bool none = visit == visits.end();
    if (none || (fill && !lf_fillVisit(slot, stand, visit->second, ac, lf_keyOf(ac), real)))
        lf_newStandOption(stand, ac, real, slot, lf_keyOf(ac), ac.callsign);
}

// A visit over midnight has its option under the day before; that of the new day is still to be made.
static bool lf_beganOnAnotherDay(Stand& stand, const LiveAc& ac, bool real, WeekSlot slot) {
    const auto& visits = lf_visits(stand, real);
    const auto visit = visits.find(ac.hexid);
    return visit != visits.end() && visit->second.start.day != slot.day;
}

// `running`: a visit is to end with this sighting, not to begin.
static bool lf_addOption(Stand& stand, const LiveAc& ac, bool real, WeekSlot slot, bool running) {
    const std::string& key = lf_keyOf(ac);
    const auto bit = static_cast<std::size_t>(slot.hh);
    if (key.empty()) return false;
    StandOption* open = nullptr; // learned here, and without this half hour
    for (StandOption& option : stand.options) {
        if (option.index == 0 || (option.real == 1) != real || option.day != slot.day || option.reg != key)
            continue;
        if (option.hours.test(bit)) continue;
        if (option.origin == 1) return false; // the base file knows this aircraft on this day
        if (!open && option.origin == 0) open = &option;
    }
    if (running && (open || lf_beganOnAnotherDay(stand, ac, real, slot))) {
        lf_fillOrNew(stand, ac, real, slot);
    } else if (open) {
        open->hours.set(bit);
    } else {
        const std::int32_t index = lf_newStandOption(stand, ac, real, slot, key, ac.callsign);
        if (!running) lf_visits(stand, real).insert_or_assign(ac.hexid, StandVisit{slot, index});
    }
    if (running) lf_visits(stand, real).erase(ac.hexid);
    lf_noteUpdate();
    return true;
}

static void lf_forgetVisit(std::uint32_t hexid, bool real) {
    for (Stand& stand : airports.file.stands) lf_visits(stand, real).erase(hexid);
}

static bool lf_addOptionAt(std::uint32_t standId, const LiveAc& ac, bool real, WeekSlot slot, bool running,
                           const char* name) {
    try {
        if (Stand* stand = gf_standBySeq(standId)) return lf_addOption(*stand, ac, real, slot, running);
        if (running) lf_forgetVisit(ac.hexid, real);
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{}: hh_now: {}, {}", name, slot.hh, e.what()));
    }
    return false;
}

bool lf_addRealStandOption(std::uint32_t standId, const LiveAc& ac, WeekSlot slot, bool leaving) {
    return lf_addOptionAt(standId, ac, true, slot, leaving, "lf_addRealStandOption");
}

bool lf_addSoftStandOption(std::uint32_t standId, const LiveAc& ac, bool replace, WeekSlot slot) {
    return lf_addOptionAt(standId, ac, false, slot, replace, "lf_addSoftStandOption");
}

// ---- recently learned ----------------------------------------------------------------------------------------------

static LearnedAc* lf_findLearned(std::uint32_t hexid) {
    for (LearnedAc& entry : engine.learned)
        if (entry.hexid == hexid) return &entry;
    return nullptr;
}

void lf_noteLearned(std::uint32_t hexid, WeekSlot slot) {
    if (LearnedAc* entry = lf_findLearned(hexid))
        entry->slot = slot;
    else
        engine.learned.push_back({hexid, slot});
}

bool lf_learnedRecently(std::uint32_t hexid, WeekSlot slot, bool force) {
    constexpr std::int32_t soon = 3; // half hours
    const LearnedAc* entry = lf_findLearned(hexid);
    if (entry && !force) {
        const std::int32_t apart = std::abs(entry->slot.hh - slot.hh);
        if (std::min(apart, halfHoursOfDay - apart) < soon) return false;
    }
    lf_noteLearned(hexid, slot);
    return true;
}

// ---- soft learning -------------------------------------------------------------------------------------------------

static bool lf_coversAround(const StandOption& option, std::int32_t hh) { // that half hour or one beside it
    for (std::int32_t h = std::max(hh - 1, 0); h <= std::min(hh + 1, halfHoursOfDay - 1); ++h)
        if (option.hours.test(static_cast<std::size_t>(h))) return true;
    return false;
}

static bool lf_realStandKnown(const LiveAc& ac, WeekSlot slot) {
    if (ac.regcode.empty()) return false;
    for (const Stand& stand : airports.file.stands)
        for (const StandOption& option : stand.options)
            if (option.index != 0 && option.real == 1 && option.day == slot.day && option.reg == ac.regcode &&
                lf_coversAround(option, slot.hh))
                return true;
    return false;
}

static Stand* lf_standOfSoftVisit(std::uint32_t hexid, WeekSlot slot) { // one that began at another time
    for (Stand& stand : airports.file.stands) {
        const auto visit = stand.softSeen.find(hexid);
        if (visit != stand.softSeen.end() && !(visit->second.start == slot)) return &stand;
    }
    return nullptr;
}

void lf_learnSoftStand(const LiveAc& ac, bool force) {
    constexpr double nearNm = 5, lowFeet = 2500;
    const ParkAirport& park = airports.park;
    if (!LEARN_SOFT || !airports.learnAllowed || !park.loaded || !park.known()) return;
    if (gf_distanceNm(ac.lat, ac.lon, park.lat, park.lon) > nearNm) return;
    if ((!force && ac.agl >= lowFeet) || ac.standId != 0) return;
    const WeekSlot slot = app.weekSlot.load();
    if (const Stand* stand = lf_standOfSoftVisit(ac.hexid, slot))
        if (lf_addSoftStandOption(static_cast<std::uint32_t>(stand->seq), ac, true, slot))
            return lf_noteLearned(ac.hexid, slot);
    if (!lf_learnedRecently(ac.hexid, slot, force) || lf_realStandKnown(ac, slot)) return;
    const Stand* stand = lf_searchSoftStand(slot, ac, true);
    if (!stand) return;
    lf_trace(ac.hexid, "is taken to have stood on stand {}", stand->id);
    if (!lf_addSoftStandOption(static_cast<std::uint32_t>(stand->seq), ac, false, slot))
        std::erase_if(engine.learned, [&](const LearnedAc& entry) { return entry.hexid == ac.hexid; });
}

// ---- a likely stand ------------------------------------------------------------------------------------------------

namespace {
enum class Kind { heli, ramp, cargo, notHeli, plainGate, plainRamp };
struct Pass {
    Kind kind;
    bool bySize;
};
struct Candidate {
    Stand* stand;
    long fit;   // 0 is best
    bool named; // an option names the flight
};
} // namespace

static bool lf_isOfKind(const Stand& stand, Kind kind) {
    switch (kind) {
    case Kind::heli: return stand.heli;
    case Kind::ramp: return stand.ramp;
    case Kind::cargo: return stand.cargo && !stand.heli;
    case Kind::notHeli: return !stand.heli;
    case Kind::plainGate: return !stand.cargo && !stand.heli && !stand.ramp;
    default: return !stand.cargo && !stand.heli && stand.ramp;
    }
}

// Gates are the rule for airliners; some airports outside the land of the letter K board on the apron as well.
static bool lf_prefersGate() {
    std::uniform_int_distribution<int> oneInTen(0, 9);
    return airports.park.code.starts_with('K') || oneInTen(plat::randomEngine()) != 0;
}

static std::vector<Pass> lf_softPasses(const LiveAc& ac) {
    if (ac.category == AcCategory::rotorcraft)
        return {{Kind::heli, true}, {Kind::ramp, true}, {Kind::heli, false}, {Kind::ramp, false}};
    if (ac.cargo)
        return {{Kind::cargo, true}, {Kind::notHeli, true}, {Kind::cargo, false}, {Kind::notHeli, false}};
    const bool small =
        ac.category == AcCategory::light || ac.category == AcCategory::buzjets || ac.airline == "PVT";
    if (small) return {{Kind::plainRamp, true}, {Kind::plainRamp, false}};
    const bool gate = lf_prefersGate();
    const Kind first = gate ? Kind::plainGate : Kind::plainRamp,
               second = gate ? Kind::plainRamp : Kind::plainGate;
    return {{first, true}, {first, false}, {second, true}, {second, false}};
}

static long lf_fitOf(const LiveAc& ac, const Stand& stand, bool bySize) {
    constexpr double largeRadius = 17.8, step = 14, largeStep = 21; // metres
    const double spare = (stand.radius - ac.radiusNm) * metersPerNm;
    if (!bySize) return std::lround(std::abs(spare));
    return std::lround(spare / (ac.radiusNm * metersPerNm <= largeRadius ? step : largeStep));
}

static std::vector<Candidate> lf_softCandidates(const LiveAc& ac, WeekSlot slot, const Pass& pass) {
    std::vector<Candidate> candidates;
    long best = std::numeric_limits<long>::max();
    for (Stand& stand : airports.file.stands) {
        if (!lf_isOfKind(stand, pass.kind) || (pass.bySize && !lf_fitsStand(ac, stand))) continue;
        const long fit = lf_fitOf(ac, stand, pass.bySize);
        if (fit > best) continue;
        bool busy = false, named = false;
        for (const StandOption& option : stand.options) {
            busy = busy || (option.index != 0 && option.day == slot.day &&
                            option.hours.test(static_cast<std::size_t>(slot.hh)));
            named = named || lf_namesFlight(option, ac);
        }
        if (busy) continue;
        candidates.push_back({&stand, fit, named});
        best = fit;
    }
    return candidates;
}

static WeekSlot lf_nextSlot(WeekSlot slot) {
    constexpr std::int32_t lastDay = 7;
    if (slot.hh + 1 < halfHoursOfDay) return {slot.day, slot.hh + 1};
    return {slot.day == lastDay ? 1 : slot.day + 1, 0};
}

Stand* lf_searchSoftStand(WeekSlot slot, const LiveAc& ac, bool retry) {
    constexpr std::size_t fewStands = 10;
    std::vector<Candidate> candidates;
    for (const Pass& pass : lf_softPasses(ac)) {
        candidates = lf_softCandidates(ac, slot, pass);
        if (!candidates.empty()) break;
    }
    if (candidates.empty())
        return retry && airports.file.stands.size() <= fewStands
                   ? lf_searchSoftStand(lf_nextSlot(slot), ac, false)
                   : nullptr;
    if (candidates.size() >= 2 && RANDOM)
        std::shuffle(candidates.begin(), candidates.end(), plat::randomEngine());
    std::stable_sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
        return a.fit != b.fit ? a.fit < b.fit : a.named && !b.named;
    });
    return candidates.front().stand;
}

// ---- the other flight of a turn-round ------------------------------------------------------------------------------

static HalfHours lf_hoursAround(const LiveAc& ac, WeekSlot slot) {
    constexpr std::int32_t usual = 10, longHaul = 14;
    const std::int32_t reach = ac.category == AcCategory::heavy ? longHaul : usual;
    HalfHours hours;
    for (std::int32_t h = std::max(slot.hh - reach, 0); h <= std::min(slot.hh + reach, halfHoursOfDay - 1);
         ++h)
        hours.set(static_cast<std::size_t>(h));
    return hours;
}

void lf_searchForCoupledCsAroundThisTime(WeekSlot slot, LiveAc& ac) {
    try {
        std::string_view callsign = ac.callsign;
        if (lf_isGhostCallsign(callsign)) callsign.remove_suffix(1);
        if (callsign.empty() || ac.airline.empty()) return;
        const HalfHours around = lf_hoursAround(ac, slot);
        for (const Stand& stand : airports.file.stands)
            for (const StandOption& option : stand.options) {
                if (option.index == 0 || option.day != slot.day || (option.hours & around).none()) continue;
                if (option.cs2.empty() || option.airl != ac.airline) continue;
                if (option.cs != callsign && option.cs2 != callsign) continue;
                ac.firstCallsign = option.cs;
                ac.coupledCallsign = option.cs2;
                return;
            }
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{}: {}", "lf_searchForCoupledCsAroundThisTime", e.what()));
    }
}

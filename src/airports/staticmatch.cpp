// Which options fit the present half hour: the search back from now, stand by stand, until enough stands are filled.
// An option that cannot be used is set aside for this calculation alone; the option itself is not touched. Worker.

#include "airports/statics.h"

#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/parking.h"
#include "feed/feed.h"
#include "platform/random.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

// ---- the start of a calculation -----------------------------------------------------------------------------------

StaticWork lf_beginCalculation() {
    StaticWork work;
    work.now = app.weekSlot.load();
    trafficReader.collectCallsigns.clear();
    {
        const LockGuard hold(trafficLock);
        work.snapshot.swap(trafficReader.seenCallsigns);
    }
    for (Stand& stand : airports.file.stands) stand.taken = stand.reserved = stand.blocked = false;
    if (Stand* kept = gf_standById(airports.reservedStand)) kept->reserved = true;
    if (const Stand* user = gf_userStand())
        gf_standBySeq(static_cast<std::uint32_t>(user->seq))->reserved = true;
    return work;
}

void lf_takeForCalculation(StaticWork& work, Stand& stand) {
    if (!stand.taken) ++work.takenStands;
    stand.taken = true;
    for (const std::int32_t seq : stand.adjacent)
        if (Stand* neighbour = gf_standBySeq(static_cast<std::uint32_t>(seq))) neighbour->blocked = true;
}

static void lf_holdElsewhere(auto& holders, std::string_view text) {
    if (!text.empty()) holders[text].elsewhere = true;
}

static void lf_holdAt(auto& holders, std::string_view text, std::uint32_t standId) {
    if (text.empty()) return;
    StaticWork::Holder& holder = holders[text];
    if (holder.standId != 0 && holder.standId != standId) holder.elsewhere = true;
    holder.standId = standId;
}

static void lf_listHolders(StaticWork& work) {
    for (const std::string& callsign : work.snapshot) lf_holdElsewhere(work.flights, lf_flightOf(callsign));
    for (const LiveAc& ac : engine.live) {
        if (ac.st == SimState::removingFromSim || ac.eraseNow) continue;
        lf_holdElsewhere(work.flights, lf_flightOf(ac.callsign));
        lf_holdElsewhere(work.flights, ac.coupledCallsign);
        lf_holdElsewhere(work.regs, ac.regcode);
    }
    for (const ParkedAc& ac : engine.parked) {
        if (ac.st == SimState::removingFromSim) continue;
        const bool here = ac.st == SimState::active && lf_standOf(ac);
        if (here && !work.present[ac.standId - 1]) work.present[ac.standId - 1] = &ac;
        const std::uint32_t standId = here ? ac.standId : 0;
        for (const std::string* text : {&ac.firstCallsign, &ac.coupledCallsign})
            here ? lf_holdAt(work.flights, *text, standId) : lf_holdElsewhere(work.flights, *text);
        here ? lf_holdAt(work.regs, ac.regcode, standId) : lf_holdElsewhere(work.regs, ac.regcode);
    }
}

void lf_listKeys(StaticWork& work) {
    const std::vector<Stand>& stands = airports.file.stands;
    std::size_t options = 0;
    for (const Stand& stand : stands) options += stand.options.size();
    work.keys.reserve(options);
    work.standKeys.resize(stands.size());
    work.present.assign(stands.size(), nullptr);
    for (std::size_t i = 0; i < stands.size(); ++i) {
        StandKeys& mine = work.standKeys[i];
        mine.first = static_cast<std::uint32_t>(work.keys.size());
        std::uint32_t place = 0;
        for (const StandOption& option : stands[i].options) {
            const auto day = static_cast<std::uint8_t>(std::clamp(option.day, 0, 7));
            const std::uint64_t hours = option.hours.to_ullong();
            if (option.index != 0 && hours != 0 && day != 0) {
                work.keys.push_back({hours, place, day, option.real == 1});
                mine.any[option.real == 1][day] |= hours;
                mine.any[option.real == 1][0] |= hours;
            }
            ++place;
        }
        mine.count = static_cast<std::uint32_t>(work.keys.size()) - mine.first;
    }
    lf_listHolders(work);
}

// ---- one option ---------------------------------------------------------------------------------------------------

static bool lf_isDay(std::int32_t optionDay, std::int32_t day) { return WEEK || optionDay == day; }

static bool lf_hasHour(std::uint64_t hours, std::int32_t hh) { return (hours >> hh & 1) != 0; }

bool lf_matches(const OptionKey& key, WeekSlot slot) {
    return lf_isDay(key.day, slot.day) && lf_hasHour(key.hours, slot.hh);
}

bool lf_continuesAcross(const StaticWork& work, const Stand& stand, std::int32_t day, std::string_view airl,
                        std::string_view type) {
    const StandKeys& mine = work.standKeys[static_cast<std::size_t>(stand.seq - 1)];
    for (std::uint32_t i = mine.first; i < mine.first + mine.count; ++i) {
        const OptionKey& key = work.keys[i];
        const StandOption& option = stand.options[key.place];
        if (key.day == day && lf_hasHour(key.hours, 0) && option.airl == airl && option.type == type)
            return true;
    }
    return false;
}

// Whether an aircraft of a type would stand in a static one on a neighbouring stand.
namespace {
struct Neighbours {
    struct One {
        double room; // nautical miles to that aircraft, less its half span
    };
    std::vector<One> all;
    bool hit(std::string_view type) const {
        if (all.empty()) return false;
        const double radius = gf_halfWingspanNm(type);
        return std::any_of(all.begin(), all.end(), [&](const One& one) { return one.room < radius; });
    }
};
} // namespace

static void lf_listNeighbours(const StaticWork& work, const Stand& stand, Neighbours& result) {
    result.all.clear();
    for (const std::int32_t seq : stand.adjacent) {
        if (seq < 1 || static_cast<std::size_t>(seq) > work.present.size()) continue;
        const ParkedAc* there = work.present[static_cast<std::size_t>(seq - 1)];
        if (!there) continue;
        const double nm = gf_distanceNm(stand.lat, stand.lon, there->standLat, there->standLon);
        result.all.push_back({nm - there->radiusNm});
    }
}

static bool lf_isHeldFrom(const auto& holders, std::string_view text, std::uint32_t standId) {
    if (text.empty()) return false;
    const auto holder = holders.find(text);
    return holder != holders.end() &&
           (holder->second.elsewhere || (holder->second.standId != 0 && holder->second.standId != standId));
}

// The real aircraft, or one of its two flights, is in the feed, stands elsewhere or is about to be placed.
static bool lf_isShownElsewhere(const StaticWork& work, const Stand& stand, const StandOption& option) {
    const auto standId = static_cast<std::uint32_t>(stand.seq);
    return lf_isHeldFrom(work.flights, lf_flightOf(option.cs), standId) ||
           lf_isHeldFrom(work.flights, lf_flightOf(option.cs2), standId) ||
           lf_isHeldFrom(work.regs, option.reg, standId);
}

static bool lf_isCallsignOf(const ParkedAc& ac, std::string_view flight) { // which bears a "*" behind it
    return !flight.empty() && ac.callsign.size() == flight.size() + 1 && ac.callsign.back() == '*' &&
           ac.callsign.starts_with(flight);
}

bool lf_isShownAs(const ParkedAc& ac, std::string_view airl, std::string_view type, std::string_view cs,
                  std::string_view cs2) {
    return ac.airline == airl && ac.acType == type && (lf_isCallsignOf(ac, cs) || lf_isCallsignOf(ac, cs2));
}

// ---- one half hour ------------------------------------------------------------------------------------------------

static void lf_emit(StaticWork& work, Stand& stand, const OptionKey& key, std::int32_t fit) {
    const StandOption& option = stand.options[key.place];
    StaticCandidate made{stand.seq, fit, option.airl, option.type, option.cs, option.cs2, option.reg, true};
    if (!option.cs2.empty()) {
        const WeekSlot next = lf_slotBack(work.now, -1);
        made.staysOn = next.day == work.now.day
                           ? lf_hasHour(key.hours, next.hh)
                           : lf_continuesAcross(work, stand, next.day, option.airl, option.type);
    }
    lf_holdElsewhere(work.flights, lf_flightOf(option.cs));
    lf_holdElsewhere(work.flights, lf_flightOf(option.cs2));
    lf_holdElsewhere(work.regs, option.reg);
    work.found.push_back(std::move(made));
    lf_takeForCalculation(work, stand);
}

// The place of the option to try in the collected ones: what stands there now goes on, else chance decides.
static std::size_t lf_choose(const StaticWork& work, const Stand& stand,
                             const std::vector<std::uint32_t>& collected) {
    if (collected.size() < 2 || !RANDOM) return 0;
    if (const ParkedAc* there = work.present[static_cast<std::size_t>(stand.seq - 1)])
        for (std::size_t i = 0; i < collected.size(); ++i) {
            const StandOption& option = stand.options[work.keys[collected[i]].place];
            if (lf_isShownAs(*there, option.airl, option.type, option.cs, option.cs2)) return i;
        }
    return gf_randomIndex(collected.size());
}

// Each stand gets one option that matches the half hour so long ago, at most.
static void lf_findStaticOptions(StaticWork& work, bool real, std::int32_t fit) {
    const WeekSlot slot = lf_slotBack(work.now, fit);
    static thread_local std::vector<std::uint32_t> collected;
    static thread_local Neighbours neighbours;
    for (Stand& stand : airports.file.stands) {
        if (stand.reserved || stand.taken || stand.blocked || (stand.heli && !HELICOPTERS)) continue;
        const StandKeys& mine = work.standKeys[static_cast<std::size_t>(stand.seq - 1)];
        const auto day = static_cast<std::size_t>(WEEK ? 0 : slot.day);
        if (!lf_hasHour(mine.any[real][day], slot.hh)) continue;
        lf_listNeighbours(work, stand, neighbours);
        collected.clear();
        for (std::uint32_t i = mine.first; i < mine.first + mine.count; ++i) {
            const OptionKey& key = work.keys[i];
            if (key.real != real || !lf_matches(key, slot)) continue;
            if (!neighbours.hit(stand.options[key.place].type)) collected.push_back(i);
        }
        if (collected.empty()) continue;
        OptionKey& key = work.keys[collected[lf_choose(work, stand, collected)]];
        if (lf_isShownElsewhere(work, stand, stand.options[key.place]))
            key.hours = 0;
        else
            lf_emit(work, stand, key, fit);
    }
}

// ---- a target -----------------------------------------------------------------------------------------------------

static void lf_append(std::vector<StaticCandidate>& queue, std::vector<StaticCandidate>& found) {
    queue.insert(queue.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
    found.clear();
}

static void lf_tellFound(const StaticWork& work, std::size_t count, bool real, std::int32_t fit) {
    const std::string day = WEEK ? ", week" : fmt::format(", day {}", work.now.day);
    gf_logLine(fmt::format(
        "{} {} position{} found, Max fit={} hours{}{}", count, real ? "real" : "soft", count == 1 ? "" : "s",
        lf_hours(fit), day,
        fmt::format(" fit: {} hour, hh:{} or {} hrs", lf_hours(fit), work.now.hh, lf_hours(work.now.hh))));
}

// True when the target is reached: what the last half hour gave is in work.found, the rest in the queue.
static bool lf_fillByFit(StaticWork& work, std::int64_t target, bool real) {
    const std::size_t takenBefore = work.takenStands;
    bool reached = false;
    std::int32_t fit = 0;
    for (;; ++fit) {
        lf_findStaticOptions(work, real, fit);
        reached = static_cast<std::int64_t>(work.takenStands) >= target;
        if (reached) break;
        lf_append(airports.staticQueue, work.found);
        if (fit >= MAX_FIT.value) break;
    }
    if (real) airports.realFit = fit;
    airports.softFit = real ? -1 : fit;
    const std::size_t count = work.takenStands - takenBefore;
    if (count > 0) lf_tellFound(work, count, real, fit);
    display.softParking = !real && count > 0;
    return reached;
}

static void lf_addStaticsOf(StaticWork& work, std::int64_t target, std::size_t existing, bool real) {
    auto& queue = airports.staticQueue;
    if (!lf_fillByFit(work, target, real)) return;
    const auto present = [&] {
        return static_cast<std::int64_t>(queue.size() + work.found.size() + existing);
    };
    if (const std::int64_t excess = present() - target; excess > 0 && !work.found.empty()) {
        if (RANDOM) std::shuffle(work.found.begin(), work.found.end(), plat::randomEngine());
        work.found.resize(work.found.size() - static_cast<std::size_t>(std::min<std::int64_t>(
                                                  excess, static_cast<std::int64_t>(work.found.size()))));
    }
    lf_append(queue, work.found);
    if (const std::int64_t excess = present() - target;
        excess > 0 && excess <= static_cast<std::int64_t>(queue.size()))
        queue.resize(queue.size() - static_cast<std::size_t>(excess));
}

void lf_addStatics(StaticWork& work, std::int64_t target, std::size_t existing) {
    constexpr std::size_t roomForPass = 512;
    work.found.reserve(roomForPass);
    lf_addStaticsOf(work, target, existing, true);
    const auto present = static_cast<std::int64_t>(airports.staticQueue.size() + existing);
    if (present < target && (PARK_SOFT || PARK_FAKE)) lf_addStaticsOf(work, target, existing, false);
}

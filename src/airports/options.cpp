// What is known of the traffic at a stand: how an option is made, how the half hours of a visit are filled in, how the
// two callsigns of a turn-round come together, and how good the data of an airport is. Worker; the quality on any
// thread.

#include "airports/airports.h"

#include "engine/engine.h"

#include <algorithm>
#include <bit>
#include <cmath>

static constexpr std::int32_t halfHoursPerDay = 48, daysPerWeek = 7;

static std::string_view lf_withoutMark(std::string_view callsign) {
    if (callsign.ends_with('_')) callsign.remove_suffix(1);
    return callsign;
}

static StandOption* lf_optionOf(Stand& stand, std::int32_t index) {
    if (index == 0) return nullptr; // dead ones have it
    for (StandOption& option : stand.options)
        if (option.index == index) return &option;
    return nullptr;
}

// ---- making and filling -----------------------------------------------------------------------------------------

std::int32_t lf_newStandOption(Stand& stand, const AcBase& ac, bool real, WeekSlot slot,
                               const std::string& key, std::string_view callsign) {
    if (key.empty()) return 0;
    StandOption made;
    made.reg = key;
    made.cs = lf_withoutMark(callsign);
    made.hours.set(static_cast<std::size_t>(slot.hh));
    made.day = slot.day;
    made.real = real ? 1 : 0;
    made.index = stand.options.empty() ? 1 : stand.options.back().index + 1;
    if (auto known = gf_lookupRegcode(key)) {
        made.airl = known->opr.empty() ? known->airl : known->opr;
        made.type = known->type;
    } else {
        made.airl = ac.airline;
        made.type = ac.acType;
    }
    const auto isSame = [&](const StandOption& option) {
        return option.reg == made.reg && option.day == made.day && option.hours == made.hours &&
               option.cs == made.cs;
    };
    if (std::any_of(stand.options.begin(), stand.options.end(), isSame)) return 0;
    stand.options.push_back(std::move(made));
    return stand.options.back().index;
}

void lf_setCoupledCs(Stand& stand, std::int32_t index, std::string_view callsign) {
    callsign = lf_withoutMark(callsign);
    StandOption* option = lf_optionOf(stand, index);
    if (callsign.empty() || !option) return;
    if (option->cs.empty())
        option->cs = callsign;
    else if (option->cs != callsign)
        option->cs2 = callsign;
}

static std::int32_t lf_longestVisit(const AcBase& ac) { // half hours
    if (ac.cargo) return 12;
    return ac.category == AcCategory::heavy ? 8 : 6;
}

// Half hours from the start of a visit to its end; 0 when it does not fit.
static std::int32_t lf_visitLength(WeekSlot from, WeekSlot to, std::int32_t limit) {
    const bool nextDay = to.day == from.day % daysPerWeek + 1;
    for (std::int32_t n = 1; n < limit; ++n) {
        if (to.day == from.day && (from.hh + n) % halfHoursPerDay == to.hh) return n;
        if (nextDay && to.hh - from.hh + halfHoursPerDay == n) return n;
    }
    return 0;
}

static void lf_setHour(Stand& stand, std::int32_t index, std::int32_t hh) {
    if (StandOption* option = lf_optionOf(stand, index)) option->hours.set(static_cast<std::size_t>(hh));
}

bool lf_fillVisit(WeekSlot slot, Stand& stand, StandVisit& visit, const AcBase& ac, const std::string& key,
                  bool real) {
    if (visit.index == 0) return true;
    const std::int32_t n = lf_visitLength(visit.start, slot, lf_longestVisit(ac));
    if (n == 0) return false;
    if (slot.day == visit.start.day) {
        for (std::int32_t back = 0; back < n; ++back)
            lf_setHour(stand, visit.index, (slot.hh - back + halfHoursPerDay) % halfHoursPerDay);
        lf_setCoupledCs(stand, visit.index, ac.callsign);
    } else if (const std::int32_t made = lf_newStandOption(stand, ac, real, slot, key, ac.callsign)) {
        for (std::int32_t hh = visit.start.hh + 1; hh <= visit.start.hh + n; ++hh)
            lf_setHour(stand, hh < halfHoursPerDay ? visit.index : made, hh % halfHoursPerDay);
        lf_setCoupledCs(stand, visit.index, ac.callsign);
        lf_setCoupledCs(stand, made, ac.callsign);
        visit.index = made;
    }
    visit.start = slot;
    return true;
}

// ---- quality ----------------------------------------------------------------------------------------------------

namespace {
struct StandScore { // of one kind of evidence
    std::int32_t options = 0, halfHours = 0;
    std::uint32_t days = 0; // a bit each

    void add(const StandOption& option) {
        ++options;
        halfHours += static_cast<std::int32_t>(option.hours.count());
        if (option.day >= 1 && option.day <= daysPerWeek) days |= 1u << option.day;
    }
    std::int32_t value() const {
        if (options == 0) return 0;
        return 10000 + std::min(20 * options, 4000) + 100 * std::popcount(days) +
               2 * std::min(halfHours, 600);
    }
};
} // namespace

Quality gf_qualityFactor(const std::vector<Stand>& stands) {
    constexpr double percentOfScore = 0.00625; // the best score gives 99
    bool any = false;
    std::int64_t real = 0, soft = 0;
    for (const Stand& stand : stands) {
        StandScore realScore, softScore;
        for (const StandOption& option : stand.options) {
            any = true;
            if (option.index != 0) (option.real == 1 ? realScore : softScore).add(option);
        }
        real += realScore.value();
        soft += softScore.value();
    }
    if (!any) return {};
    const auto factor = [&](std::int64_t sum) {
        const double mean = static_cast<double>(sum) / static_cast<double>(stands.size());
        return static_cast<std::int32_t>(std::clamp(std::round(mean * percentOfScore), 0.0, 100.0));
    };
    return {factor(real), factor(soft)};
}

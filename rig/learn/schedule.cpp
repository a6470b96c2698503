// Makes the week, and then each week's visits out of it.

#include "learn/schedule.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace rig {

static constexpr double hourS = 3600, dayS = 24 * hourS, weekS = 7 * dayS;
static constexpr double wideM = 40; // of the span
static constexpr double apartS = 300,
                        planApartS = 2700; // between two on a stand: the plan has room for delays
static constexpr double taxiInS = 540; // about so long from the threshold to the stand, for the plan alone

static bool isCargo(const Operator& by) {
    return std::any_of(freighters().begin(), freighters().end(),
                       [&](const Operator& other) { return std::string(other.airline) == by.airline; }) &&
           by.spanM > wideM;
}
static bool isBusiness(const Operator& by) {
    return std::any_of(businessJets().begin(), businessJets().end(),
                       [&](const Operator& other) { return std::string(other.type) == by.type; });
}

Schedule::Schedule(const GroundPlan& where, const ScheduleWishes& wished)
    : plan(where), wishes(wished), dice(wished.seed), desk(dice, false, "") {
    homes.resize(plan.stands.size());
    excludes.resize(plan.stands.size());
    for (std::size_t i = 0; i < plan.stands.size(); ++i)
        for (std::size_t j = 0; j < plan.stands.size(); ++j) {
            const PlanStand &a = plan.stands[i], &b = plan.stands[j];
            const double meters = gf_distanceNm(a.lat, a.lon, b.lat, b.lon) * metersPerNm;
            if (i != j && meters < a.radiusM + b.radiusM - 0.5) excludes[i].push_back(j);
        }
    makeSlots();
    makeVisits();
}

// Freight, business jets, wide bodies from everywhere, and the airlines of the country.
const Operator& Schedule::anyOperator() {
    constexpr std::uint32_t country = 0xA00000, countryEnd = 0xB00000;
    const double kind = dice.between(0, 1);
    if (kind < 0.06) return dice.oneOf(freighters());
    if (kind < 0.10) {
        const Operator& jet = dice.oneOf(businessJets());
        return *jet.airline ? jet : businessJets().front();
    }
    const bool wide = kind > 0.8;
    for (;;) {
        const Operator& by = dice.oneOf(airliners());
        const bool home = by.firstHexid >= country && by.firstHexid < countryEnd;
        if (wide ? by.spanM > wideM : home) return by;
    }
}

const Operator& Schedule::otherTypeOf(const Operator& by) {
    constexpr double slackM = 8; // of the span, so that a like stand will do
    std::vector<const Operator*> like;
    for (const auto* table : {&airliners(), &freighters(), &businessJets()})
        for (const Operator& other : *table)
            if (std::string(other.type) != by.type && std::fabs(other.spanM - by.spanM) < slackM)
                like.push_back(&other);
    if (like.empty()) return by;
    const Operator& donor = *dice.oneOf(like);
    for (const Operator& made : madeOperators)
        if (std::string(made.airline) == by.airline && std::string(made.type) == donor.type) return made;
    madeOperators.push_back(by);
    Operator& made = madeOperators.back();
    made.type = donor.type;
    made.performance = donor.performance;
    made.spanM = donor.spanM;
    return made;
}

void Schedule::name(Slot& slot) {
    constexpr int first = 100;
    int& last = numbers[slot.by->airline];
    slot.arrives = fmt::format("{}{}", slot.by->airline, first + ++last);
    slot.leaves = fmt::format("{}{}", slot.by->airline, first + ++last);
}

Schedule::Aircraft& Schedule::aircraftOf(const Operator& by, double at) {
    constexpr int tries = 30;
    std::vector<Aircraft>& fleet = fleets[&by];
    for (int i = 0; i < tries && !fleet.empty(); ++i)
        if (Aircraft& one = dice.oneOf(fleet); one.busyUntil < at) return one;
    fleet.push_back({desk.newFlight(by), 0});
    Flight& who = fleet.back().who;
    who.restTrack = RestTrack::last;
    who.intervalRate = 2; // few reports make a fast replay
    who.fullReports = false;
    return fleet.back();
}

// ---- stands -------------------------------------------------------------------------------------------------------

bool Schedule::isFree(std::size_t stand, double from, double to, double roomS) const {
    const auto overlaps = [&](std::size_t other) {
        return std::any_of(taken[other].rbegin(), taken[other].rend(), [&](const auto& time) {
            return time.first < to + roomS && from - roomS < time.second;
        });
    };
    if (overlaps(stand)) return false;
    return std::none_of(excludes[stand].begin(), excludes[stand].end(), overlaps);
}

// One of chance among the narrowest that fit: of the airline's own, else of those that nobody has, else of any.
std::size_t Schedule::freeStand(const Operator& by, double from, double to, double roomS) {
    constexpr double slackM = 4;
    std::vector<std::size_t> free;
    double narrowest = 1000;
    for (std::size_t i = 0; i < plan.stands.size(); ++i) {
        const PlanStand& stand = plan.stands[i];
        if (stand.heli || stand.cargo != isCargo(by) || (stand.ramp && !stand.cargo) != isBusiness(by) ||
            stand.radiusM < by.spanM / 2 || !isFree(i, from, to, roomS))
            continue;
        free.push_back(i);
        narrowest = std::min(narrowest, stand.radiusM);
    }
    std::erase_if(free, [&](std::size_t i) { return plan.stands[i].radiusM > narrowest + slackM; });
    if (free.empty()) return nowhere;
    for (const std::string& home : {std::string(by.airline), std::string()}) {
        std::vector<std::size_t> own;
        for (const std::size_t i : free)
            if (homes[i] == home) own.push_back(i);
        if (own.empty()) continue;
        const std::size_t chosen = dice.oneOf(own);
        homes[chosen] = by.airline;
        return chosen;
    }
    return dice.oneOf(free);
}

// ---- weeks --------------------------------------------------------------------------------------------------------

void Schedule::makeSlots() {
    const double each = 2 * hourS / wishes.movements;
    taken.assign(plan.stands.size(), {});
    for (double at = 0; at < weekS; at += each) {
        Slot slot;
        slot.at = at + each * dice.between(0, 1);
        slot.by = &anyOperator();
        const double habit = dice.between(0, 1);
        slot.habit = habit < wishes.weeklyAtStand                            ? Habit::weeklyAtStand
                     : habit < wishes.weeklyAtStand + wishes.weeklyElsewhere ? Habit::weeklyElsewhere
                                                                             : Habit::once;
        slot.stayS = 60 * turnRoundMinutes(*slot.by, dice);
        name(slot);
        const double from = slot.at + taxiInS, to = from + slot.stayS;
        slot.stand = freeStand(*slot.by, from, to, planApartS);
        if (slot.stand == nowhere) slot.stand = freeStand(*slot.by, from, to, apartS);
        if (slot.stand != nowhere) taken[slot.stand].emplace_back(from, to);
        slots.push_back(std::move(slot));
    }
}

// Normal, of mean 0 and deviation 1.
static double normal(Dice& dice) {
    double sum = 0;
    for (int i = 0; i < 12; ++i) sum += dice.between(0, 1);
    return sum - 6;
}

void Schedule::makeVisits() {
    taken.assign(plan.stands.size(), {});
    struct Due {
        double at;
        const Slot* slot;
    };
    std::vector<Due> due;
    for (int week = 0; week <= wishes.weeks; ++week)
        for (const Slot& slot : slots) {
            const double at = week * weekS + slot.at + normal(dice) * 60 * wishes.delayMinutes;
            if (at > hourS && at < wishes.weeks * weekS + dayS) due.push_back({at, &slot});
        }
    std::sort(due.begin(), due.end(), [](const Due& a, const Due& b) { return a.at < b.at; });
    for (const Due& one : due) {
        Slot slot = *one.slot;
        if (slot.habit == Habit::once) {
            slot.by = &anyOperator();
            name(slot);
        } else if (dice.between(0, 1) < wishes.otherType) {
            slot.by = &otherTypeOf(*slot.by);
        }
        const double from = one.at + taxiInS, to = from + slot.stayS;
        const bool atStand = slot.habit == Habit::weeklyAtStand && slot.stand != nowhere &&
                             plan.stands[slot.stand].radiusM >= slot.by->spanM / 2;
        const std::size_t stand = atStand && isFree(slot.stand, from, to, apartS)
                                      ? slot.stand
                                      : freeStand(*slot.by, from, to, apartS);
        if (stand == nowhere) {
            ++withoutStand;
            continue;
        }
        constexpr double awayS = 2 * hourS;
        Aircraft& aircraft = aircraftOf(*slot.by, one.at);
        aircraft.busyUntil = to + awayS;
        taken[stand].emplace_back(from, to);
        Visit visit;
        visit.who = aircraft.who;
        visit.who.callsign = slot.arrives;
        visit.leavesAs = slot.leaves;
        visit.stand = stand;
        visit.landsAt = one.at;
        visit.from = from;
        visit.to = to;
        visits.push_back(std::move(visit));
    }
}

} // namespace rig

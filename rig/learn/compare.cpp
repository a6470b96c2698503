// Truth, what is shown, and the guesses.

#include "learn/compare.h"

#include "liveries/refdata.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <map>

namespace rig {

static bool isSameSize(const std::string& a, const std::string& b) {
    constexpr double toleranceNm = 1.8 / metersPerNm; // as stands take aircraft
    return std::fabs(gf_halfWingspanNm(a) - gf_halfWingspanNm(b)) <= toleranceNm;
}

void Agreement::add(const Apron& truth, const Apron& shown) {
    for (std::size_t i = 0; i < truth.size(); ++i) {
        const Occupant &a = truth[i], &b = shown[i];
        ++stands;
        sameState += a.there() == b.there();
        standing += a.there();
        if (!a.there() || !b.there()) continue;
        ++both;
        airline += a.airline == b.airline;
        airlineAndType += a.airline == b.airline && a.type == b.type;
        size += isSameSize(a.type, b.type);
    }
}

Apron trueApron(const GroundPlan& plan, const std::vector<Visit>& visits, double from, double to) {
    Apron apron(plan.stands.size());
    std::vector<double> longest(plan.stands.size(), 0);
    for (const Visit& visit : visits) {
        const double seconds = std::min(visit.to, to) - std::max(visit.from, from);
        if (seconds <= longest[visit.stand]) continue;
        longest[visit.stand] = seconds;
        apron[visit.stand] = {visit.who.by->airline, visit.who.type};
    }
    return apron;
}

std::size_t countOccupied(const Apron& apron) {
    return static_cast<std::size_t>(
        std::count_if(apron.begin(), apron.end(), [](const Occupant& o) { return o.there(); }));
}

Apron usualApron(const GroundPlan& plan, const std::vector<Visit>& visits, double until, std::size_t wanted) {
    struct Use {
        double seconds = 0;
        std::map<std::pair<std::string, std::string>, double> by;
        std::size_t stand = 0;
    };
    std::vector<Use> uses(plan.stands.size());
    for (std::size_t i = 0; i < uses.size(); ++i) uses[i].stand = i;
    for (const Visit& visit : visits) {
        if (visit.from >= until) continue;
        uses[visit.stand].seconds += visit.to - visit.from;
        uses[visit.stand].by[{visit.who.by->airline, visit.who.type}] += visit.to - visit.from;
    }
    std::stable_sort(uses.begin(), uses.end(),
                     [](const Use& a, const Use& b) { return a.seconds > b.seconds; });
    Apron apron(plan.stands.size());
    for (std::size_t i = 0; i < std::min(wanted, uses.size()); ++i) {
        if (uses[i].by.empty()) break;
        const auto most = std::max_element(uses[i].by.begin(), uses[i].by.end(),
                                           [](const auto& a, const auto& b) { return a.second < b.second; });
        apron[uses[i].stand] = {most->first.first, most->first.second};
    }
    return apron;
}

Apron randomApron(const GroundPlan& plan, Dice& dice, std::size_t wanted) {
    std::vector<std::size_t> order(plan.stands.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    dice.shuffle(order);
    Apron apron(plan.stands.size());
    for (std::size_t n = 0; n < std::min(wanted, order.size()); ++n) {
        constexpr double slackM = 14; // of the span that a stand takes
        const PlanStand& stand = plan.stands[order[n]];
        std::vector<const Operator*> fit;
        for (const Operator& by : stand.cargo ? freighters() : stand.ramp ? businessJets() : airliners())
            if (by.spanM <= 2 * stand.radiusM && by.spanM >= 2 * stand.radiusM - slackM) fit.push_back(&by);
        if (fit.empty()) continue;
        const Operator& by = *dice.oneOf(fit);
        apron[order[n]] = {by.airline, by.type};
    }
    return apron;
}

std::string agreementLine(const char* name, const Agreement& a) {
    const auto percent = [](std::size_t part, std::size_t whole) {
        return whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    };
    const std::size_t empty = a.sameState - a.both; // truly, and shown so
    return fmt::format(
        "{:24} {:13.1f} {:8.1f} {:6.1f} {:16.1f} | {:13.1f} {:8.1f} {:6.1f} | {:13.1f}\n", name,
        percent(empty + a.airlineAndType, a.stands), percent(empty + a.airline, a.stands),
        percent(empty + a.size, a.stands), percent(a.sameState, a.stands), percent(a.airlineAndType, a.both),
        percent(a.airline, a.both), percent(a.size, a.both), percent(a.airlineAndType, a.standing));
}

std::string agreementHead() {
    return fmt::format(
        "{:24} {:>46} | {:>29} | {:>13}\n{:24} {:>13} {:>8} {:>6} {:>16} | {:>13} {:>8} {:>6} | {:>13}\n", "",
        "of all stands and half hours", "of those in use and shown so", "of all in use", "", "airline, type",
        "airline", "size", "occupied or not", "airline, type", "airline", "size", "airline, type");
}

} // namespace rig

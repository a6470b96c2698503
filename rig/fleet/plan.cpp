// Which liveries a fleet has: those of the real registrations first, then generic and private ones, then the common
// airliners in many airlines, and beyond that any airline on any airliner.

#include "fleet/parts.h"

#include <fmt/format.h>

#include <map>

namespace rig {

namespace {

const std::set<std::string> commonTypes{"A319", "A320", "A20N", "A321", "A21N", "A333",
                                        "A359", "B738", "B38M", "B739", "B752", "B763",
                                        "B77W", "B788", "B789", "E190", "E75L", "CRJ9"};

using Pair = std::pair<std::string, std::string>; // airline and type

// Gives each registration to at most one livery.
class Registrations {
  public:
    explicit Registrations(const RefTables& tables) {
        for (const auto& row : tables.registrations)
            if (!row.airl.empty() && !row.type.empty() && row.opr.empty())
                rows[{row.airl, row.type}].push_back(&row);
    }
    const RegistrationRow* take(const Pair& pair) {
        const auto found = rows.find(pair);
        if (found == rows.end() || found->second.empty()) return nullptr;
        const RegistrationRow* row = found->second.back();
        found->second.pop_back();
        return row;
    }
    std::map<Pair, std::vector<const RegistrationRow*>> rows;
};

Family familyOf(const Pair& pair, bool cargo, Chance& chance) {
    const bool airliner = !pair.first.empty();
    const std::size_t roll = chance.below(100);
    if (roll < 55) return Family::aig;
    if (roll < 80) return Family::fsltl;
    if (roll < 90) return airliner ? Family::jf : Family::fsltl;
    if (roll < 98 || !airliner || cargo) return Family::user;
    return Family::ivao; // whose liveries are never cargo
}

std::string titleOf(Family family, const Pair& pair, std::map<std::string, int>& used) {
    const std::string airline = pair.first.empty() ? "ZZZZ" : pair.first;
    std::string title;
    switch (family) {
    case Family::aig: title = fmt::format("AIGAIM_{} {}", airline, pair.second); break;
    case Family::fsltl: title = fmt::format("FSLTL_{}_{}", pair.second, airline); break;
    case Family::jf: title = fmt::format("JF_{}_{}", pair.second, airline); break;
    case Family::user: title = fmt::format("{} {} repaint", pair.second, airline); break;
    case Family::ivao: title = fmt::format("{} {} IVAO", pair.second, airline); break;
    }
    const int number = ++used[title];
    return number == 1 ? title : fmt::format("{} {}", title, number);
}

} // namespace

std::vector<PlannedLivery> planLiveries(const RefTables& tables, std::size_t count, Chance& chance) {
    Registrations registrations(tables);
    std::map<std::string, bool> isCargo;
    std::vector<std::string> airlines, airliners;
    for (const auto& row : tables.airlines) {
        isCargo[row.code] = row.cargo;
        if (row.code != "ZZZ" && row.code != "PVT" && row.code != "RFO") airlines.push_back(row.code);
    }
    std::vector<Pair> wanted, common;
    std::set<std::string> flying; // airlines with registrations
    for (const auto& [pair, rows] : registrations.rows) {
        wanted.push_back(pair);
        flying.insert(pair.first);
    }
    for (const auto& row : tables.types) {
        const bool airliner = row.size == "large" || row.size == "heavy";
        if (row.span.empty()) continue; // rare ones
        wanted.emplace_back(airliner ? "ZZZ" : "", row.designator);
        if (airliner) airliners.push_back(row.designator);
        if (commonTypes.count(row.designator) > 0)
            for (const auto& airline : flying) common.emplace_back(airline, row.designator);
    }
    if (airlines.empty() || airliners.empty())
        throw std::runtime_error("a fleet needs airlines and airliners");
    chance.shuffle(wanted);
    chance.shuffle(common);
    wanted.insert(wanted.end(), common.begin(), common.end());
    while (wanted.size() < count) wanted.emplace_back(chance.of(airlines), chance.of(airliners));
    wanted.resize(count);

    std::vector<PlannedLivery> result;
    result.reserve(count);
    std::map<std::string, int> used;
    for (const auto& pair : wanted) {
        PlannedLivery livery{pair.first, pair.second, "", "", isCargo[pair.first]};
        if (const RegistrationRow* row = registrations.take(pair)) {
            livery.reg = row->reg;
            livery.cargo = row->cargo;
        }
        livery.family = familyOf(pair, livery.cargo, chance);
        livery.title = titleOf(livery.family, pair, used);
        result.push_back(std::move(livery));
    }
    return result;
}

} // namespace rig

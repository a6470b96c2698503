// A learned file out of nothing, for replays with static aircraft.

#include "airports/airports.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "feed/fleet.h"
#include "replay/staticwatch.h"

#include <fmt/format.h>

#include <cmath>
#include <map>
#include <stdexcept>

namespace rig {

namespace {

// Freight on cargo stands, business jets on ramps, airliners at the gates; a business jet where nothing else goes in.
const Operator* operatorFor(const StandRow& row, Dice& dice) {
    constexpr double slackM = 14, room = 0.9; // of the span: none fills its stand to the last metre
    std::vector<const Operator*> fit, all;
    const auto* usual = row.cargo ? &freighters() : row.ramp ? &businessJets() : &airliners();
    for (const auto* table : {usual, &businessJets()}) {
        for (const Operator& by : *table) {
            if (*by.airline == 0 || by.spanM > 2 * room * row.radiusM) continue;
            all.push_back(&by);
            if (by.spanM > 2 * row.radiusM - slackM) fit.push_back(&by);
        }
        if (!all.empty()) return dice.oneOf(fit.empty() ? all : fit);
    }
    return nullptr; // too small for any that flies by a callsign
}

struct SeenInFeed {
    std::string callsign, reg;
};

// Each callsign once.
std::vector<SeenInFeed> namesOf(const std::vector<TimedLine>& feed) {
    constexpr std::size_t callsignField = 9, regField = 11;
    std::map<std::string, std::string> regs;
    for (const TimedLine& line : feed) {
        const auto fields = gf_splitAtCommas(line.line);
        if (fields.size() <= regField || fields[0] != "RTTFC" || fields[callsignField].size() < 4 ||
            fields[callsignField] == "null" || fields[callsignField].ends_with('_'))
            continue;
        regs[fields[callsignField]] = fields[regField] == "null" ? "" : fields[regField];
    }
    std::vector<SeenInFeed> result;
    for (const auto& [callsign, reg] : regs) result.push_back({callsign, reg});
    return result;
}

} // namespace

void writeMadeLearnedFile(const std::filesystem::path& path, const StandTable& airport, std::size_t wanted,
                          const std::vector<TimedLine>& feed, std::uint32_t seed) {
    const std::vector<SeenInFeed> seen = namesOf(feed);
    constexpr int days = 7, halfHours = 48;
    Dice dice(seed + 3);
    AirportFile file;
    file.code = airport.code;
    file.airportName = airport.name;
    file.publisher = "stock";
    int number = 0;
    for (const StandRow& row : airport.stands) {
        Stand& stand = file.stands.emplace_back();
        stand.id = row.id;
        if (row.heli) continue;
        for (int day = 1; day <= days; ++day)
            for (int hh = dice.below(3); hh < halfHours;) {
                const Operator* by = operatorFor(row, dice);
                if (!by) break;
                StandOption option;
                option.airl = by->airline;
                option.type = by->type;
                option.reg = fmt::format("X-{:05}", ++number);
                option.cs = fmt::format("{}{}", by->airline, 10000 + number % 9999);
                if (dice.oneIn(2)) option.cs2 = fmt::format("{}{}A", by->airline, 10000 + number % 9999);
                if (!seen.empty() && dice.oneIn(10)) {
                    const SeenInFeed& one = seen[dice.index(seen.size())];
                    (dice.oneIn(2) ? option.cs : option.cs2) = one.callsign;
                    if (!one.reg.empty() && dice.oneIn(2)) option.reg = one.reg;
                }
                const int length = 2 + dice.below(7);
                for (int n = 0; n < length && hh < halfHours; ++n, ++hh)
                    option.hours.set(static_cast<std::size_t>(hh));
                hh += dice.below(3);
                option.day = day;
                option.real = 1;
                option.index = static_cast<std::int32_t>(stand.options.size()) + 1;
                stand.options.push_back(std::move(option));
            }
    }
    parking_percentage.value = static_cast<int>(
        std::lround(100.0 * static_cast<double>(wanted) / static_cast<double>(file.stands.size())));
    if (!gf_writeAirportFile(file, path, 0)) throw std::runtime_error("the learned file cannot be written");
}

} // namespace rig

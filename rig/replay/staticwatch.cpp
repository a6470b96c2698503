// Nobody twice, and nothing in a static aircraft.

#include "replay/staticwatch.h"

#include "simulator/world.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace rig {

namespace {

struct Names {
    std::vector<std::string> flights;
    std::string reg;
};

void addFlight(Names& names, std::string flight) {
    while (!flight.empty() && (flight.back() == '*' || flight.back() == '_')) flight.pop_back();
    if (!flight.empty()) names.flights.push_back(std::move(flight));
}

Names namesOf(const AcBase& ac, bool live) {
    Names names;
    names.reg = ac.regcode;
    addFlight(names, ac.callsign);
    if (!live) addFlight(names, ac.firstCallsign); // of a live one it is what it was called before
    addFlight(names, ac.coupledCallsign);
    return names;
}

std::string sameIn(const Names& a, const Names& b) { // "" for nothing
    if (!a.reg.empty() && a.reg == b.reg) return a.reg;
    for (const std::string& flight : a.flights)
        if (std::find(b.flights.begin(), b.flights.end(), flight) != b.flights.end()) return flight;
    return {};
}

bool isShown(const AcBase& ac, const World& world) {
    return ac.objectId != 0 && ac.st == SimState::active && world.objects.contains(ac.objectId);
}

} // namespace

void StaticWatch::afterTick(double time, const World& world) {
    constexpr double paceS = 0.5, frameS = 0.07;
    const std::size_t now = world.createdCount + world.refusedCount + world.count() - world.objects.size();
    if (now > creations) {
        creationsTooSoon += now - creations - 1 + (time - createdAt < paceS - frameS);
        createdAt = time;
    }
    creations = std::max(creations, now);
}

void StaticWatch::everySecond(double time, const World& world) {
    std::size_t live = 0, parked = 0;
    for (const LiveAc& ac : engine.live) live += isShown(ac, world);
    for (const ParkedAc& ac : engine.parked) parked += isShown(ac, world);
    most = std::max(most, parked);
    mostLive = std::max(mostLive, live);
    lookForPairs(time, world);
    lookForOverlaps(time, world);
}

void StaticWatch::lookForPairs(double time, const World& world) {
    constexpr int patience = 5;
    struct One {
        const AcBase* ac;
        Names names;
    };
    std::vector<One> statics, all;
    for (const ParkedAc& ac : engine.parked)
        if (isShown(ac, world)) statics.push_back({&ac, namesOf(ac, false)});
    all = statics;
    for (const LiveAc& ac : engine.live)
        if (isShown(ac, world)) all.push_back({&ac, namesOf(ac, true)});
    // By name, so that a second of 250 aircraft costs no comparison of each with each.
    std::multimap<std::string_view, const One*> byName;
    for (const One& one : all) {
        if (!one.names.reg.empty()) byName.emplace(one.names.reg, &one);
        for (const std::string& flight : one.names.flights) byName.emplace(flight, &one);
    }
    std::set<std::pair<std::uint32_t, std::uint32_t>> now;
    const auto meet = [&](const One& a, const One& b) {
        const std::pair key{std::min(a.ac->objectId, b.ac->objectId),
                            std::max(a.ac->objectId, b.ac->objectId)};
        if (key.first == key.second || !now.insert(key).second) return;
        const auto [place, isNew] = open.try_emplace(key, pairs.size());
        if (isNew)
            pairs.push_back({time, 0, patience + static_cast<int>(engine.newArrivals.size()), a.ac->callsign,
                             b.ac->callsign, sameIn(a.names, b.names)});
        ++pairs[place->second].seconds;
    };
    for (const One& one : statics) {
        const auto look = [&](const std::string& name) {
            const auto [first, last] = byName.equal_range(name);
            for (auto other = first; other != last; ++other)
                if (other->second->ac->objectId != one.ac->objectId) meet(one, *other->second);
        };
        if (!one.names.reg.empty()) look(one.names.reg);
        for (const std::string& flight : one.names.flights) look(flight);
    }
    std::erase_if(open, [&](const auto& entry) { return !now.contains(entry.first); });
}

void StaticWatch::lookForOverlaps(double time, const World& world) {
    std::vector<OverlapWatch::Body> bodies;
    std::vector<OverlapWatch::Body> near;
    const auto shape = [&](const AcBase& ac) {
        const SimObject& object = world.objects.at(ac.objectId);
        return CrossShape{object.lat, object.lon, object.heading, ac.radiusNm * metersPerNm};
    };
    for (const ParkedAc& ac : engine.parked)
        if (isShown(ac, world)) bodies.push_back({ac.hexid + 1, shape(ac)}); // 0 stands for the user
    const std::size_t statics = bodies.size();
    for (const LiveAc& ac : engine.live)
        if (ac.onGround && isShown(ac, world)) bodies.push_back({ac.hexid, shape(ac)});
    // Only those that touch a static one: pairs of live aircraft are watched elsewhere.
    for (std::size_t i = 0; i < bodies.size(); ++i)
        for (std::size_t j = 0; j < (i < statics ? bodies.size() : statics); ++j)
            if (i != j && crossesTouch(bodies[i].shape, bodies[j].shape)) {
                near.push_back(bodies[i]);
                break;
            }
    overlaps.look(time, 1, near, {});
}

nlohmann::json StaticWatch::report() const {
    nlohmann::json over = nlohmann::json::array();
    std::size_t tooLong = 0;
    int longest = 0;
    for (const Twice& pair : pairs) {
        longest = std::max(longest, pair.seconds);
        if (pair.seconds <= pair.allowed) continue;
        ++tooLong;
        over.push_back({{"at", pair.since},
                        {"seconds", pair.seconds},
                        {"first", pair.first},
                        {"second", pair.second},
                        {"why", pair.why}});
    }
    double overlapMax = 0;
    nlohmann::json touching = nlohmann::json::array();
    for (const Overlap& overlap : overlaps.all()) {
        if (overlap.a >= firstLiveHexid && overlap.b >= firstLiveHexid) continue;
        overlapMax = std::max(overlapMax, overlap.seconds);
        if (overlap.seconds > 2)
            touching.push_back(
                {{"a", overlap.a}, {"b", overlap.b}, {"since", overlap.since}, {"seconds", overlap.seconds}});
    }
    return {{"most", most},
            {"most_live", mostLive},
            {"pairs", pairs.size()},
            {"pairs_too_long", tooLong},
            {"pair_seconds_max", longest},
            {"pairs_told", over},
            {"overlap_seconds_max", overlapMax},
            {"overlaps", touching},
            {"creations_too_soon", creationsTooSoon}};
}

std::string StaticWatch::table() const {
    const nlohmann::json r = report();
    std::string text = fmt::format(
        "\nstatic aircraft at most {}, live ones {}; pairs of one aircraft {}, longest {} s, too long {}\n"
        "longest overlap of a static one {} s; creations too soon {}\n",
        most, mostLive, pairs.size(), r["pair_seconds_max"].get<int>(),
        r["pairs_too_long"].get<std::size_t>(), r["overlap_seconds_max"].get<double>(), creationsTooSoon);
    for (const auto& pair : r["pairs_told"])
        text += fmt::format("  at {:.0f} s for {} s: {} and {}, {}\n", pair["at"].get<double>(),
                            pair["seconds"].get<int>(), pair["first"].get<std::string>(),
                            pair["second"].get<std::string>(), pair["why"].get<std::string>());
    for (const auto& o : r["overlaps"])
        text += fmt::format("  overlap at {:.0f} s for {} s: {} and {}\n", o["since"].get<double>(),
                            o["seconds"].get<double>(), o["a"].get<unsigned>(), o["b"].get<unsigned>());
    return text;
}

} // namespace rig

// Invented liveries, for load.

#include "app/textfiles.h"
#include "platform/files.h"
#include "refdata/refdata.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

namespace rig {

// Airliners of which many airlines have some.
static const std::set<std::string> commonTypes{"A319", "A320", "A20N", "A321", "A21N", "A333",
                                               "A359", "B738", "B38M", "B739", "B752", "B763",
                                               "B77W", "B788", "B789", "E190", "E75L", "CRJ9"};

static std::map<std::string, bool> cargoByAirline(const RefTables& tables) {
    std::map<std::string, bool> cargo;
    for (const auto& row : tables.airlines) cargo[row.code] = row.cargo;
    return cargo;
}

namespace {

struct Fleet { // of one airline, one type
    std::string airl, type;
    bool cargo = false;
    std::vector<std::string> registrations; // real ones, as long as there are some
};

class Inventor {
  public:
    Inventor(const RefTables& all, std::uint32_t seed) : tables(all), chance(seed) {}

    std::vector<Livery> invent(std::size_t count) {
        std::vector<Fleet> fleets = airlineFleets();
        shuffle(fleets);
        std::vector<Livery> liveries = genericLiveries(count / 10);
        for (std::size_t round = 0; liveries.size() < count; ++round)
            for (Fleet& fleet : fleets)
                for (std::size_t i = upTo(4); i > 0 && liveries.size() < count; --i)
                    liveries.push_back(invented(fleet));
        return liveries;
    }

  private:
    std::size_t upTo(std::size_t n) { return 1 + chance() % n; }
    template <class T> void shuffle(std::vector<T>& list) { // std::shuffle differs between libraries
        for (std::size_t left = list.size(); left > 1; --left)
            std::swap(list[left - 1], list[chance() % left]);
    }

    // The types that the registrations give each airline, and a few common ones for those without any.
    std::vector<Fleet> airlineFleets() {
        std::map<std::pair<std::string, std::string>, Fleet> fleets;
        std::set<std::string> withTypes;
        auto isCargo = cargoByAirline(tables);
        const auto fleetOf = [&](const std::string& airl, const std::string& type) -> Fleet& {
            Fleet& fleet = fleets[{airl, type}];
            if (fleet.airl.empty()) fleet = {airl, type, isCargo[airl], {}};
            return fleet;
        };
        for (const auto& row : tables.registrations) {
            if (row.airl.empty() || row.type.empty()) continue;
            fleetOf(row.airl, row.type).registrations.push_back(row.reg);
            withTypes.insert(row.airl);
        }
        const std::vector<std::string> common(commonTypes.begin(), commonTypes.end());
        for (const auto& row : tables.airlines)
            if (withTypes.count(row.code) == 0)
                for (std::size_t i = upTo(3); i > 0; --i) fleetOf(row.code, common[chance() % common.size()]);
        std::vector<Fleet> result;
        for (auto& [key, fleet] : fleets) result.push_back(std::move(fleet));
        return result;
    }

    std::vector<Livery> genericLiveries(std::size_t most) {
        std::vector<std::string> types;
        for (const auto& row : tables.types) types.push_back(row.designator);
        shuffle(types);
        types.resize(std::min(types.size(), most));
        std::vector<Livery> liveries;
        for (const auto& type : types)
            liveries.push_back(
                {"ZZZ", type, fmt::format("Velloray Fleet {} without airline", type), "", false});
        return liveries;
    }

    Livery invented(Fleet& fleet) {
        std::string reg;
        if (chance() % 5 < 2) {
            if (fleet.registrations.empty()) {
                reg = fmt::format("X-{:05}", nextRegistration++);
            } else {
                reg = fleet.registrations.back();
                fleet.registrations.pop_back();
            }
        }
        return {fleet.airl, fleet.type,
                fmt::format("Velloray Fleet {} {} {} {:05}", fleet.type, fleet.airl,
                            reg.empty() ? "standard colours" : reg, ++number),
                reg, fleet.cargo};
    }

    const RefTables& tables;
    std::mt19937 chance;
    int number = 0, nextRegistration = 0;
};

} // namespace

std::vector<Livery> inventLiveries(const RefTables& tables, std::size_t count, std::uint32_t seed) {
    return Inventor(tables, seed).invent(count);
}

void writeLiveries(const std::vector<Livery>& liveries, const std::filesystem::path& file) {
    pugi::xml_document document;
    gf_writeMeta(document);
    auto list = document.append_child("liveries");
    for (const Livery& livery : liveries) {
        auto element = list.append_child("liv");
        element.append_attribute("airl") = livery.airl.c_str();
        element.append_attribute("type") = livery.type.c_str();
        if (livery.cargo) element.append_attribute("cargo") = "true";
        element.append_attribute("title") = livery.title.c_str();
        if (!livery.atcid.empty()) element.append_attribute("atcid") = livery.atcid.c_str();
    }
    if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path());
    if (!document.save_file(file.c_str()))
        throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(file)));
}

} // namespace rig

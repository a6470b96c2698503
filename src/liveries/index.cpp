// From the flat list of liveries to the look-ups of matching. Worker, before the main cycle. Reads no file and changes
// no parameter.

#include "liveries/building.h"

#include "app/display.h"
#include "app/log.h"
#include "engine/engine.h"
#include "liveries/regcodes.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <tuple>

LiveryStore liveryStore; // owner: liveries; worker

void gf_clearLiveryStores() {
    LiveryStore fresh;
    fresh.similarWithLiveries = std::move(liveryStore.similarWithLiveries);
    fresh.airlineSimilar = std::move(liveryStore.airlineSimilar);
    fresh.similarLists = std::move(liveryStore.similarLists);
    engineLife.hexidTitles.clear(); // views of the texts that go here
    engine.failedTitles.clear();    // of an installation that may have changed
    liveryStore = std::move(fresh);
}

static auto lf_order(const Livery& l) { return std::tie(l.airl, l.type, l.title, l.atcid, l.cargo); }

void lf_sortLiveries(std::vector<Livery>& liveries) {
    const auto before = [](const Livery& a, const Livery& b) { return lf_order(a) < lf_order(b); };
    if (!std::is_sorted(liveries.begin(), liveries.end(), before)) // as the file mostly is
        std::sort(liveries.begin(), liveries.end(), before);
}

static void lf_addToModels(const std::string& model, const std::vector<TitleEntry>& entries) {
    for (const bool cargo : {false, true}) {
        Titles* titles = nullptr; // made when there is something for it
        for (const TitleEntry& entry : entries) {
            if (entry.cargo != cargo) continue;
            if (!titles) titles = &liveryStore.modelLiveries[cargo][model];
            titles->push_back(entry.title);
        }
    }
}

// One pass over the sorted list. The titles of a model over all airlines come in its order as well.
static void lf_buildTitles(const std::vector<Livery>& liveries) {
    for (std::size_t i = 0; i < liveries.size();) {
        const Livery& first = liveries[i];
        std::size_t end = i + 1;
        while (end < liveries.size() && liveries[end].type == first.type && liveries[end].airl == first.airl)
            ++end;
        auto& entries = liveryStore.airlineLiveries[first.airl][first.type];
        entries.reserve(end - i); // and no more: views of its texts are given out
        for (; i < end; ++i) entries.push_back({liveries[i].title, liveries[i].cargo});
        lf_addToModels(first.type, entries);
    }
    for (auto& models : liveryStore.modelLiveries)
        for (auto& [model, titles] : models) titles.shrink_to_fit();
}

static void lf_buildLiveryIndex() {
    for (const auto& [airline, models] : liveryStore.airlineLiveries)
        for (const auto& [model, entries] : models) {
            const auto cargoCount =
                std::count_if(entries.begin(), entries.end(), [](const TitleEntry& e) { return e.cargo; });
            const std::size_t counts[] = {entries.size() - static_cast<std::size_t>(cargoCount),
                                          static_cast<std::size_t>(cargoCount)};
            for (const bool cargo : {false, true}) {
                if (counts[cargo] == 0) continue;
                Titles& titles = liveryStore.liveryIndex[cargo][airline][model];
                titles.reserve(counts[cargo]);
                for (const TitleEntry& entry : entries)
                    if (entry.cargo == cargo) titles.push_back(entry.title);
            }
        }
}

void lf_buildIndex(std::vector<Livery> liveries, bool withRegcodeFiles) {
    lf_sortLiveries(liveries);
    display.liveryCount = static_cast<std::uint32_t>(liveries.size());
    gf_repaint(Band::status);
    lf_buildTitles(liveries);
    lf_buildLiveryIndex();
    gf_loadInlineRegcodes(liveries);
    if (withRegcodeFiles) gf_loadRegcodeFiles();
    gf_logLine(fmt::format("{} registration codes", liveryStore.regcodeTitles.size()));
    gf_logLine(fmt::format("{} airlines, {} pax aircraft models and {} cargo aircraft models",
                           liveryStore.airlineLiveries.size(), liveryStore.modelLiveries[0].size(),
                           liveryStore.modelLiveries[1].size()));
    lf_buildSimilarMaps();
    lf_fillModelPools();
}

void gf_indexLiveries(std::vector<Livery> liveries) {
    gf_clearLiveryStores();
    lf_buildIndex(std::move(liveries), false);
}

// ---- similar models ----------------------------------------------------------------------------------------------

static bool lf_hasLivery(const std::string& model) {
    return liveryStore.modelLiveries[0].contains(model) || liveryStore.modelLiveries[1].contains(model);
}

// A model, and the other members of one of its groups that have liveries.
using SimilarLine = std::pair<std::string, std::vector<std::string>>;

static void lf_collectSimilar(const std::vector<std::string>& group,
                              std::map<std::string, SimilarLine>& lines) {
    for (std::size_t i = 0; i < group.size(); ++i) {
        std::vector<std::string> others;
        for (std::size_t k = 0; k < group.size(); ++k)
            if (k != i && lf_hasLivery(group[k])) others.push_back(group[k]);
        if (others.empty()) continue;
        std::string text = group[i];
        for (const auto& other : others) text += "," + other;
        lines.emplace(std::move(text), SimilarLine(group[i], std::move(others)));
    }
}

// By model: the entries of similarWithLiveries whose lists it stands in.
using SimilarEntry = std::pair<const std::string, std::vector<std::string>>;
using ListedIn = TextMap<std::vector<const SimilarEntry*>>;

static ListedIn lf_listedIn() {
    ListedIn result;
    for (const SimilarEntry& entry : liveryStore.similarWithLiveries)
        for (const auto& other : entry.second) result[other].push_back(&entry);
    return result;
}

static void lf_addAirlineSimilar(const std::string& airline, const ListedIn& listedIn) {
    const auto own = liveryStore.airlineLiveries.find(airline);
    if (own == liveryStore.airlineLiveries.end()) return;
    std::map<std::string_view, const SimilarEntry*> wanting; // the models that it lacks and has the like of
    for (const auto& [model, entries] : own->second) {
        const auto lists = listedIn.find(model);
        if (lists == listedIn.end()) continue;
        for (const SimilarEntry* entry : lists->second)
            if (!own->second.contains(entry->first)) wanting.emplace(entry->first, entry);
    }
    if (wanting.empty()) return;
    const auto [place, isNew] = liveryStore.airlineSimilar.try_emplace(airline);
    if (!isNew) return;
    place->second.reserve(wanting.size());
    for (const auto& [model, entry] : wanting) {
        std::vector<std::string> members;
        for (const auto& other : entry->second)
            if (own->second.contains(other)) members.push_back(other);
        place->second.push_back({model, &*liveryStore.similarLists.insert(std::move(members)).first});
    }
}

void lf_buildSimilarMaps() {
    std::map<std::string, SimilarLine> lines; // in text order: the first line of a model wins
    for (const auto& group : refData.similarGroups) lf_collectSimilar(group, lines);
    for (auto& [text, line] : lines)
        liveryStore.similarWithLiveries.emplace(std::move(line.first), std::move(line.second));
    gf_logLine(fmt::format("{} similar model definitions", liveryStore.similarWithLiveries.size()));
    constexpr std::size_t airlineLength = 3;
    const ListedIn listedIn = lf_listedIn();
    for (const auto& [airline, models] : liveryStore.airlineLiveries)
        lf_addAirlineSimilar(airline.substr(0, airlineLength), listedIn);
}

// What of the six categories is installed: the pools of models, the report in the log, and the traffic that is switched
// off for want of liveries. Worker, before the main cycle.

#include "liveries/building.h"

#include "app/log.h"
#include "app/parameters.h"
#include "platform/window.h"

#include <fmt/format.h>

#include <set>

static std::set<std::string> lf_modelsOf(AcCategory category) {
    std::set<std::string> models;
    for (const auto& lists : liveryStore.modelLiveries)
        for (const auto& [model, titles] : lists)
            if (gf_modelCategory(model) == category) models.insert(model);
    return models;
}

void lf_fillModelPools() {
    const auto pool = [](AcCategory category) {
        const auto models = lf_modelsOf(category);
        return std::vector<std::string>(models.begin(), models.end());
    };
    liveryStore.lightModelPool = pool(AcCategory::light);
    liveryStore.buzjetModelPool = pool(AcCategory::buzjets);
    liveryStore.rotorModelPool = pool(AcCategory::rotorcraft);
}

static std::string lf_modelList(const std::set<std::string>& models) {
    constexpr int perLine = 20;
    std::string text;
    int count = 0;
    for (const auto& model : models) text += (count++ % perLine == 0 ? "\n  " : " ") + model;
    return text;
}

void lf_reportGenericModels() {
    std::set<std::string> models;
    const auto generic = liveryStore.airlineLiveries.find(std::string_view("ZZZ"));
    if (generic != liveryStore.airlineLiveries.end())
        for (const auto& [model, titles] : generic->second) models.insert(model);
    if (models.empty()) return gf_logLine("No generic liveries");
    gf_logLine(fmt::format("{} model{} have a generic livery", models.size(), models.size() == 1 ? "" : "s") +
               lf_modelList(models));
}

static std::size_t lf_countTitles(const TextMap<Titles>& lists, AcCategory category) {
    std::size_t count = 0;
    for (const auto& [model, titles] : lists)
        if (gf_modelCategory(model) == category) count += titles.size();
    return count;
}

struct CategorySwitch { // of the traffic that a user can have or not
    AcCategory category;
    BoolParameter& parameter;
    const char* text;
};

static void lf_switch(const CategorySwitch& s, bool installed) {
    plat::setEnabled(s.parameter.control.controlId, installed);
    if (installed || !s.parameter) return;
    gf_setAndSave(s.parameter, false);
    gf_logLine(fmt::format("{} temporary switched off because you do not have {} installed", s.parameter.name,
                           s.text));
}

static void lf_reportCategory(AcCategory category) {
    const std::size_t pax = lf_countTitles(liveryStore.modelLiveries[0], category);
    const std::size_t cargo = lf_countTitles(liveryStore.modelLiveries[1], category);
    const char* name = gf_categoryName(category);
    if (pax + cargo == 0) return gf_logLine(fmt::format("Category {}: No livery found", name));
    std::string line = fmt::format("Category {}: {} pax liverie{}", name, pax, pax == 1 ? "" : "s");
    if (cargo > 0) line += fmt::format(" and {} cargo liverie{}", cargo, cargo == 1 ? "" : "s");
    gf_logLine(line + lf_modelList(lf_modelsOf(category)));
}

void lf_reportCategories() {
    const CategorySwitch switches[] = {
        {AcCategory::light, LIGHT_AIRCRAFT, "light aircraft"},
        {AcCategory::highPerf, HIGH_PERF_AIRCRAFT, "High Perf aircraft"},
        {AcCategory::rotorcraft, HELICOPTERS, "Helicopters"},
    };
    for (std::size_t c = 0; c < categoryCount; ++c) {
        const auto category = static_cast<AcCategory>(c);
        lf_reportCategory(category);
        for (const auto& s : switches)
            if (s.category == category) lf_switch(s, !lf_modelsOf(category).empty());
    }
}

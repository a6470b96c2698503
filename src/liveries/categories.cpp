// What of the six categories is installed: the pools of models, the report in the log, and the traffic that is switched
// off for want of liveries. Worker, before the main cycle.

#include "liveries/building.h"

#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/window.h"

#include <fmt/format.h>

#include <array>
#include <set>

namespace {
struct Installed { // of one category
    std::set<std::string> models;
    std::array<std::size_t, 2> titles{}; // pax, cargo
};
using Categories = std::array<Installed, categoryCount>;
} // namespace

static Categories lf_installed() {
    Categories result;
    for (const bool cargo : {false, true})
        for (const auto& [model, titles] : liveryStore.modelLiveries[cargo]) {
            Installed& category = result[static_cast<std::size_t>(gf_modelCategory(model))];
            category.models.insert(model);
            category.titles[cargo] += titles.size();
        }
    return result;
}

void lf_fillModelPools() {
    const Categories categories = lf_installed();
    const auto pool = [&](AcCategory category) {
        const auto& models = categories[static_cast<std::size_t>(category)].models;
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

struct CategorySwitch { // of the traffic that a user can have or not
    AcCategory category;
    BoolParameter& parameter;
    const char* text;
};

static void lf_switch(const CategorySwitch& s, bool installed) {
    plat::setEnabled(s.parameter.control.controlId, installed);
    gf_repaint(Band::settings); // its label is grey or not
    if (installed || !s.parameter) return;
    gf_setAndSave(s.parameter, false);
    gf_logLine(fmt::format("{} temporary switched off because you do not have {} installed", s.parameter.name,
                           s.text));
}

static void lf_reportCategory(AcCategory category, const Installed& installed) {
    const auto [pax, cargo] = installed.titles;
    const char* name = gf_categoryName(category);
    if (pax + cargo == 0) return gf_logLine(fmt::format("Category {}: No livery found", name));
    std::string line = fmt::format("Category {}: {} pax liverie{}", name, pax, pax == 1 ? "" : "s");
    if (cargo > 0) line += fmt::format(" and {} cargo liverie{}", cargo, cargo == 1 ? "" : "s");
    gf_logLine(line + lf_modelList(installed.models));
}

static const CategorySwitch switches[] = {
    {AcCategory::light, LIGHT_AIRCRAFT, "light aircraft"},
    {AcCategory::highPerf, HIGH_PERF_AIRCRAFT, "High Perf aircraft"},
    {AcCategory::rotorcraft, HELICOPTERS, "Helicopters"},
};

void lf_switchCategories() {
    const Categories categories = lf_installed();
    for (const auto& s : switches)
        lf_switch(s, !categories[static_cast<std::size_t>(s.category)].models.empty());
}

void lf_reportCategories() {
    const Categories categories = lf_installed();
    for (std::size_t c = 0; c < categoryCount; ++c) {
        const auto category = static_cast<AcCategory>(c);
        lf_reportCategory(category, categories[c]);
        for (const auto& s : switches)
            if (s.category == category) lf_switch(s, !categories[c].models.empty());
    }
}

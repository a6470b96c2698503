// The installed liveries and a provisional choice among them: by type, else by category. The full ladder of criteria will
// take gf_titleForLiveAc's place. Runs on the worker alone.

#include "liveries/liveries.h"

#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "engine/engine.h"
#include "platform/files.h"
#include "platform/random.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <set>
#include <tuple>

LiveryStore liveryStore;

// For the summaries: "type airline" of refused titles, over runs, and of aircraft that found no title in this run.
static std::set<std::string> refused, withoutLivery;
static TextMap<std::string_view> titlesByRegcode;

bool gf_readScannedLiveries(const std::string& pathUtf8, std::vector<Livery>& out) {
    pugi::xml_document document;
    const auto result = document.load_file(plat::textPath(pathUtf8).c_str());
    if (!result) {
        gf_logLine(fmt::format("\"{}\" not read because of {}", pathUtf8, result.description()));
        return false;
    }
    gf_testMeta(document);
    gf_readLiveriesDocument(document, out);
    gf_logLine(fmt::format("{} liveries read from {}", out.size(), pathUtf8));
    return true;
}

void gf_readLiveriesDocument(const pugi::xml_document& document, std::vector<Livery>& out) {
    for (const auto node : document.child("liveries").children("liv"))
        out.push_back({node.attribute("airl").value(), node.attribute("type").value(),
                       node.attribute("title").value(), node.attribute("atcid").value(),
                       gf_boolOfText(node.attribute("cargo").value())});
}

void gf_clearLiveryStores() {
    engineLife.hexidTitles.clear(); // views of the texts that go here
    liveryStore = LiveryStore{};
    titlesByRegcode.clear();
}

void gf_setLiveries(std::vector<Livery> liveries) {
    gf_clearLiveryStores();
    // Sorted, so that the same liveries give the same choice whatever the order of the file.
    std::sort(liveries.begin(), liveries.end(), [](const Livery& a, const Livery& b) {
        return std::tie(a.airl, a.type, a.title) < std::tie(b.airl, b.type, b.title);
    });
    liveryStore.scanned = std::move(liveries);
    for (const auto& livery : liveryStore.scanned) {
        if (livery.title.empty()) continue; // the simulator creates nothing without a title
        liveryStore.modelTitles[livery.type].push_back(livery.title);
        liveryStore.categoryTitles[static_cast<std::size_t>(gf_modelCategory(livery.type))].push_back(
            livery.title);
        if (!livery.atcid.empty()) titlesByRegcode.emplace(livery.atcid, livery.title);
    }
    display.liveryCount = static_cast<std::uint32_t>(liveryStore.scanned.size());
    gf_repaint(Band::status);
}

void gf_scanLiveries() {
    std::vector<Livery> liveries;
    gf_readScannedLiveries(plat::pathText(folders.scannedLiveries), liveries);
    gf_setLiveries(std::move(liveries));
}

static bool lf_hasFailed(std::string_view title) { return engine.failedTitles.count(std::string(title)) > 0; }

// A random title of the list, the first with RANDOM off; from there on the first that the simulator has not refused.
static std::string_view lf_pickTitle(const std::vector<std::string_view>& titles) {
    if (titles.empty()) return {};
    const std::size_t start = RANDOM && titles.size() > 1 ? plat::randomEngine()() % titles.size() : 0;
    for (std::size_t i = 0; i < titles.size(); ++i) {
        const std::string_view title = titles[(start + i) % titles.size()];
        if (!lf_hasFailed(title)) return title;
    }
    return {};
}

static std::string lf_typeLine(const AcBase& ac) { return fmt::format("{:4} {:3}", ac.acType, ac.airline); }

std::string_view gf_titleForLiveAc(const AcBase& ac) {
    const auto sameModel = liveryStore.modelTitles.find(ac.acType);
    std::string_view title;
    if (sameModel != liveryStore.modelTitles.end()) title = lf_pickTitle(sameModel->second);
    if (title.empty())
        title = lf_pickTitle(liveryStore.categoryTitles[static_cast<std::size_t>(ac.category)]);
    if (title.empty()) withoutLivery.insert(lf_typeLine(ac));
    return title;
}

std::string_view gf_titleOfRegcode(std::string_view regcode) {
    for (const auto& variant : gf_regcodeVariants(regcode)) {
        const auto found = titlesByRegcode.find(variant);
        if (found != titlesByRegcode.end()) return found->second;
    }
    return {};
}

void gf_noteLiveryFailure(const AcBase& ac) { refused.insert(lf_typeLine(ac)); }

// The counts of matching steps join when there are steps.
void gf_logMatchingSummary() {
    constexpr int width = 100;
    const std::string text = "live traffic livery matching summary";
    std::string lines = gf_headline(width - static_cast<int>(text.size()), 0, true, false, text);
    if (!refused.empty()) lines += fmt::format("\n\nCould not be created by {}:", "MSFS");
    for (const auto& line : refused) lines += "\n  " + line;
    lines += "\n" + gf_headline(width, 0, false, true, "");
    gf_logRaw(lines);
}

void gf_logNoMatches() {
    if (withoutLivery.empty()) return;
    std::string lines = "No match found for:";
    for (const auto& line : withoutLivery) lines += "\n  " + line;
    gf_logRaw(lines);
}

void gf_forgetNoMatches() { withoutLivery.clear(); }

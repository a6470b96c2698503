// Which title an aircraft gets: down a ladder of ever looser criteria, and no farther than MATCHING_DEPTH allows. Worker,
// in the main cycle: the look-ups are read without a lock, and one scratch list serves all calls.

#include "liveries/liveries.h"

#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "platform/random.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>

constexpr const char* genericAirline = "ZZZ"; // of liveries that belong to no airline
constexpr const char* privateAirline = "PVT";

// Type and airline of aircraft that found no title, until forgotten. Owner: liveries; worker.
static std::set<std::string> withoutLivery;

// ---- chance ------------------------------------------------------------------------------------------------------

std::size_t gf_randomIndex(std::size_t n) { return RANDOM && n > 1 ? plat::randomEngine()() % n : 0; }

static void lf_shuffle(std::vector<std::string_view>& list) {
    if (!RANDOM) return;
    for (std::size_t left = list.size(); left > 1; --left)
        std::swap(list[left - 1], list[gf_randomIndex(left)]);
}

// ---- one rung ----------------------------------------------------------------------------------------------------

static void lf_setTitle(AcBase& ac, std::string_view title) {
    ac.title = title;
    ac.titleIsFsltl = title.find("FSLTL_") != std::string_view::npos;
}

static bool lf_isSpecial(std::string_view title) { return liveryStore.specialTitles.contains(title); }

static std::string_view lf_pickUnspecial(const Titles& titles) {
    std::size_t left = 0;
    for (const auto title : titles) left += !lf_isSpecial(title);
    std::size_t chosen = gf_randomIndex(left);
    for (const auto title : titles)
        if (!lf_isSpecial(title) && chosen-- == 0) return title;
    return {};
}

// A few draws find an ordinary title as a rule; only where special ones are thick is the list sifted.
static void lf_pickTitle(AcBase& ac, const Titles& titles) {
    constexpr int draws = 5;
    if (titles.empty()) return;
    for (int i = 0; i < draws; ++i) {
        ac.title = titles[gf_randomIndex(titles.size())];
        if (liveryStore.specialTitles.empty() || !lf_isSpecial(ac.title)) return;
    }
    gf_randomIndex(titles.size()); // the last redraw, which nobody looks at
    ac.title = lf_pickUnspecial(titles);
}

static const Titles* lf_titlesOf(const TextMap<TextMap<Titles>>& index, std::string_view airline,
                                 std::string_view model) {
    const auto models = index.find(airline);
    if (models == index.end()) return nullptr;
    const auto titles = models->second.find(model);
    return titles == models->second.end() ? nullptr : &titles->second;
}

// A freighter may wear a passenger livery, never the other way round.
static bool lf_tryAirlineModel(AcBase& ac, std::string_view airline, std::string_view model) {
    if (const Titles* titles = lf_titlesOf(liveryStore.liveryIndex[ac.cargo], airline, model))
        lf_pickTitle(ac, *titles);
    if (ac.cargo && ac.title.empty())
        if (const Titles* titles = lf_titlesOf(liveryStore.liveryIndex[0], airline, model))
            lf_pickTitle(ac, *titles);
    return !ac.title.empty();
}

static bool lf_tryModel(AcBase& ac, std::string_view model) {
    const auto& models = liveryStore.modelLiveries[ac.cargo];
    const auto titles = models.find(model);
    if (titles != models.end()) lf_pickTitle(ac, titles->second);
    return !ac.title.empty();
}

std::string_view gf_titleOfRegcode(std::string_view regcode) {
    for (const auto& variant : gf_regcodeVariants(regcode)) {
        const auto found = liveryStore.regcodeTitles.find(variant);
        if (found != liveryStore.regcodeTitles.end()) return found->second;
    }
    return {};
}

// ---- similar models ----------------------------------------------------------------------------------------------

// The next call's list goes into the same place.
static std::vector<std::string_view> similarScratch;

static const std::vector<std::string_view>& lf_shuffled(const std::vector<std::string>& models) {
    similarScratch.assign(models.begin(), models.end());
    lf_shuffle(similarScratch);
    return similarScratch;
}

static const std::vector<std::string_view>& lf_similarForAirline(const AcBase& ac) {
    similarScratch.clear();
    const auto models = liveryStore.airlineSimilar.find(ac.airline);
    if (models == liveryStore.airlineSimilar.end()) return similarScratch;
    const auto place =
        std::lower_bound(models->second.begin(), models->second.end(), std::string_view(ac.acType),
                         [](const AirlineSimilar& a, std::string_view model) { return a.model < model; });
    if (place == models->second.end() || place->model != ac.acType) return similarScratch;
    return lf_shuffled(*place->similar);
}

static const std::vector<std::string>* lf_poolOf(AcCategory category) {
    switch (category) {
    case AcCategory::light: return &liveryStore.lightModelPool;
    case AcCategory::buzjets: return &liveryStore.buzjetModelPool;
    case AcCategory::rotorcraft: return &liveryStore.rotorModelPool;
    default: return nullptr;
    }
}

// The model's own list, or one model of its category.
static const std::vector<std::string_view>& lf_similarOrPool(std::string_view model) {
    const auto similar = liveryStore.similarWithLiveries.find(model);
    if (similar != liveryStore.similarWithLiveries.end()) return lf_shuffled(similar->second);
    similarScratch.clear();
    const auto* pool = lf_poolOf(gf_modelCategory(model));
    if (pool && !pool->empty()) similarScratch.push_back((*pool)[gf_randomIndex(pool->size())]);
    return similarScratch;
}

// ---- the ladder --------------------------------------------------------------------------------------------------

enum class Kind { live, parked };

namespace {
class Registration { // what the reference data has on it, looked up when first asked for
  public:
    explicit Registration(std::string_view code) : regcode(code) {}
    // The airline that owns the aircraft, when it is flown by another; nullptr otherwise.
    const std::string* owner() {
        if (!asked) record = gf_lookupRegcode(regcode);
        asked = true;
        return record && !record->opr.empty() ? &record->airl : nullptr;
    }

  private:
    std::string_view regcode;
    bool asked = false;
    std::optional<DbaseRegcode> record;
};
} // namespace

// Step 2: the airline as told, else the one that owns the aircraft.
static bool lf_tryOwnModel(AcBase& ac, Registration& real, Kind kind) {
    if (ac.airline.empty() && kind == Kind::live) return false;
    if (lf_tryAirlineModel(ac, ac.airline, ac.acType)) return true;
    const std::string* owner = real.owner();
    return owner && lf_tryAirlineModel(ac, *owner, ac.acType);
}

static bool lf_trySimilar(AcBase& ac, std::string_view airline, Kind kind) {
    for (const auto model : lf_similarForAirline(ac)) {
        if (kind == Kind::live && gf_modelCategory(model) != ac.category) continue;
        if (lf_tryAirlineModel(ac, airline, model)) return true;
    }
    return false;
}

// Step 3.
static bool lf_trySimilarModel(AcBase& ac, Registration& real, Kind kind) {
    if (ac.airline.empty() && kind == Kind::live) return false;
    if (lf_trySimilar(ac, ac.airline, kind)) return true;
    const std::string* owner = real.owner();
    return owner && lf_trySimilar(ac, *owner, kind);
}

// Steps 4, 5 and 6; 0 for none.
static int lf_matchGeneral(AcBase& ac, int depth) {
    if (depth == 4 && lf_tryAirlineModel(ac, genericAirline, ac.acType)) return 4;
    if (ac.category != AcCategory::light && ac.category != AcCategory::buzjets &&
        ac.category != AcCategory::rotorcraft)
        return 0;
    if (ac.airline != privateAirline && lf_tryAirlineModel(ac, genericAirline, ac.acType)) return 4;
    if (lf_tryModel(ac, ac.acType)) return 5;
    for (const auto model : lf_similarOrPool(ac.acType))
        if (lf_tryModel(ac, model)) return 6;
    return 0;
}

// The step that gave ac.title; 0 for none.
static int lf_walkLadder(AcBase& ac, Kind kind, bool standCargo) {
    const std::int32_t depth = MATCHING_DEPTH.value;
    if (!ac.regcode.empty()) ac.title = gf_titleOfRegcode(ac.regcode);
    if (!ac.title.empty()) return 1;
    if (kind == Kind::parked) ac.cargo = standCargo;
    if (depth < 2) return 0;
    if (ac.airline == privateAirline && lf_tryAirlineModel(ac, genericAirline, ac.acType)) return 4;
    Registration real(ac.regcode);
    if (lf_tryOwnModel(ac, real, kind)) return 2;
    if (depth < 3) return 0;
    if (lf_trySimilarModel(ac, real, kind)) return 3;
    return lf_matchGeneral(ac, depth);
}

// ---- the aircraft ------------------------------------------------------------------------------------------------

static std::string lf_typeLine(const AcBase& ac) { return fmt::format("{:4} {:3}", ac.acType, ac.airline); }

static std::string lf_label(const AcBase& ac) {
    const bool hasRoute = !ac.origin.empty() || !ac.destination.empty();
    const std::string route =
        hasRoute ? fmt::format("{:3}->{:3}", ac.origin, ac.destination) : std::string(8, ' ');
    return fmt::format("{:8} {:8} {} {:3} {:4}", ac.callsign, ac.regcode, route, ac.airline, ac.acType);
}

static std::string lf_shortLabel(const AcBase& ac) {
    return fmt::format("{:8} {} {:3} {:4}", ac.callsign, ac.regcode, ac.airline, ac.acType);
}

// False, with no title, for one that the simulator has refused: the draw has ended this matching.
static bool lf_acceptTitle(AcBase& ac, int step) {
    const bool refusedBefore = !ac.title.empty() && engine.failedTitles.contains(ac.title);
    lf_setTitle(ac, refusedBefore ? std::string_view() : ac.title);
    if (ac.title.empty()) return false;
    if (LOG) gf_logLine(fmt::format("          {} ={}= {}", lf_label(ac), step, ac.title));
    return true;
}

static bool lf_matchLivery(LiveAc& ac) {
    const int step = lf_walkLadder(ac, Kind::live, false);
    if (ac.title.empty()) withoutLivery.insert(lf_typeLine(ac));
    if (!lf_acceptTitle(ac, step)) return false;
    ++engineLife.matchCounts[static_cast<std::size_t>(step) - 1];
    return true;
}

bool gf_titleForLiveAc(LiveAc& ac) {
    if (!ac.title.empty()) return true;
    const auto remembered = engineLife.hexidTitles.find(ac.hexid);
    if (remembered != engineLife.hexidTitles.end()) {
        if (!engine.failedTitles.contains(remembered->second)) {
            lf_setTitle(ac, remembered->second);
            return true;
        }
        engineLife.hexidTitles.erase(remembered);
    }
    if (!lf_matchLivery(ac)) return false;
    engineLife.hexidTitles[ac.hexid] = ac.title;
    return true;
}

bool gf_matchStaticLivery(AcBase& ac, bool standCargo, std::string_view standName) {
    if (!ac.title.empty()) {
        lf_setTitle(ac, ac.title);
        if (LOG) gf_logLine(fmt::format("          {} =s= {}", lf_shortLabel(ac), ac.title));
        return true;
    }
    const int step = lf_walkLadder(ac, Kind::parked, standCargo);
    if (ac.title.empty() && LOG)
        gf_logLine(fmt::format("{:8}: {} no livery match ...", standName, lf_shortLabel(ac)));
    return lf_acceptTitle(ac, step);
}

// ---- summaries ---------------------------------------------------------------------------------------------------

void gf_noteLiveryFailure(const AcBase& ac) { engineLife.failedCreations.insert(lf_typeLine(ac)); }

void gf_writeMatchSummary() {
    constexpr int width = 100;
    const std::string text = "live traffic livery matching summary";
    std::string lines = gf_headline(width - static_cast<int>(text.size()), 0, true, false, text);
    lines += "\nMatches at step: ";
    for (std::size_t i = 0; i < engineLife.matchCounts.size(); ++i)
        lines += fmt::format("\n  {}: {}", i + 1, engineLife.matchCounts[i]);
    if (!engineLife.failedCreations.empty()) lines += fmt::format("\n\nCould not be created by {}:", "MSFS");
    for (const auto& line : engineLife.failedCreations) lines += "\n  " + line;
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

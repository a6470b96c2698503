// Writing of airport files: what was learned at the park airport when it is given up, and what the scan of the
// scenery finds. The worker puts together what is to be written; the loader thread writes it, beside and renamed.

#include "airports/reading.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "liveries/refdata.h"
#include "platform/clock.h"
#include "platform/files.h"

#include <algorithm>
#include <fmt/format.h>
#include <sstream>
#include <system_error>

static constexpr int learnedKind = 0, scannedKind = 1;

std::string gf_bitset2hours(HalfHours hours) {
    std::string text;
    for (std::size_t n = 0; n < hours.size(); ++n)
        if (hours[n]) text += fmt::format("{}{}", text.empty() ? "" : ",", n);
    return text;
}

// ---- the document -----------------------------------------------------------------------------------------------

static void lf_add(pugi::xml_node element, const char* name, const std::string& value) {
    element.append_attribute(name).set_value(value.c_str());
}

static void lf_add(pugi::xml_node element, const char* name, bool value) {
    element.append_attribute(name).set_value(value ? "true" : "false");
}

static void lf_addParameter(pugi::xml_node parameters, const char* name, const std::string& value) {
    pugi::xml_node element = parameters.append_child("parameter");
    lf_add(element, "name", std::string(name));
    lf_add(element, "value", value);
}

static void lf_addHeader(pugi::xml_node parameters, const AirportFile& file, int kind) {
    const auto add = [&](const char* name, const std::string& value) {
        lf_addParameter(parameters, name, value);
    };
    add("airport_name", file.airportName);
    add("publisher", file.publisher);
    if (file.handmade) add("handmade", "true");
    if (file.handmade || kind == scannedKind) add("altitude", fmt::format("{}", file.altitude));
    add("num_parkpos", fmt::format("{}", file.stands.size()));
    if (file.handmade) {
        add("Qf_real", fmt::format("{}", file.qfReal));
        add("Qf_soft", fmt::format("{}", file.qfSoft));
    }
    if (file.publisher == "unknown") {
        add("BGLpath", file.bglPath);
        add("manufacturer", file.manufacturer);
        add("creator", file.creator);
    }
}

static void lf_addOption(pugi::xml_node stand, const StandOption& option) {
    pugi::xml_node element = stand.append_child("opt");
    lf_add(element, "reg", option.reg);
    if (!gf_lookupRegcode(option.reg)) { // the registration tells both
        lf_add(element, "airl", option.airl);
        lf_add(element, "type", option.type);
    }
    if (option.real == 0) lf_add(element, "soft", true);
    lf_add(element, "day", fmt::format("{}", option.day));
    lf_add(element, "hh", gf_bitset2hours(option.hours));
    const std::string calls = option.cs2.empty() ? option.cs : option.cs + ":" + option.cs2;
    if (!calls.empty()) lf_add(element, "cs", calls);
}

static void lf_addStand(pugi::xml_node positions, const Stand& stand, const AirportFile& file, int kind) {
    pugi::xml_node element = positions.append_child("parkpos");
    const std::string radius = fmt::format("{:.1F}", stand.radius * metersPerNm);
    lf_add(element, "id", stand.id);
    if (kind == scannedKind || stand.manual || file.handmade) {
        lf_add(element, "latitude", fmt::format("{:.6f}", stand.lat));
        lf_add(element, "longitude", fmt::format("{:.6f}", stand.lon));
        lf_add(element, "heading", fmt::format("{:.1F}", stand.heading * radToDeg));
        lf_add(element, "radius", radius);
        if (stand.heli)
            lf_add(element, "heli", true);
        else
            lf_add(element, "cargo", stand.cargo);
        lf_add(element, "ramp", stand.ramp);
        if (stand.manual) lf_add(element, "manual", true);
    } else {
        if (stand.radiusChanged) {
            lf_add(element, "radius_change", true);
            lf_add(element, "radius", radius);
        }
        if (stand.cargoChanged) {
            lf_add(element, "cargo_change", true);
            lf_add(element, "cargo", stand.cargo);
        }
    }
    if (kind != learnedKind) return;
    for (const StandOption& option : stand.options)
        if (option.index != 0) lf_addOption(element, option);
}

static void lf_build(pugi::xml_document& document, const AirportFile& file, int kind,
                     const ParameterTexts& parking) {
    gf_writeMeta(document);
    pugi::xml_node parameters = document.append_child("parameters");
    lf_addHeader(parameters, file, kind);
    if (kind == learnedKind)
        for (const auto& [name, value] : parking) lf_addParameter(parameters, name, value);
    pugi::xml_node positions = document.append_child("parkpositions");
    for (const Stand& stand : file.stands) lf_addStand(positions, stand, file, kind);
}

std::string lf_scannedFileText(const AirportFile& file) {
    pugi::xml_document document;
    lf_build(document, file, scannedKind, {});
    std::ostringstream text;
    document.save(text);
    return text.str();
}

bool lf_writeScannedFile(const std::string& text, const std::filesystem::path& path) {
    const bool saved = gf_writeFile(text, path, false);
    std::error_code ignored;
    if (!saved) std::filesystem::remove(path, ignored); // rather none than half of one
    gf_logLine(
        fmt::format(fmt::runtime(saved ? "\"{}\" saved" : "could not save to \"{}\""), plat::pathText(path)));
    return saved;
}

bool lf_writeAirportFile(const AirportFile& file, const std::filesystem::path& path, int kind,
                         const ParameterTexts& parking) {
    if (kind == scannedKind) return lf_writeScannedFile(lf_scannedFileText(file), path);
    pugi::xml_document document;
    lf_build(document, file, kind, parking);
    return gf_saveXml(document, path);
}

// ---- the parameters ---------------------------------------------------------------------------------------------

ParameterTexts lf_parkingParameters() {
    ParameterTexts texts;
    const auto flag = [&](const BoolParameter& p) { texts.emplace_back(p.name, p.value ? "true" : "false"); };
    const auto number = [&](const IntParameter& p) { texts.emplace_back(p.name, std::to_string(p.value)); };
    // The automatic range is no choice of the user's.
    texts.emplace_back(LATERAL_RANGE.name, std::to_string(AUTO_RANGE ? LATERAL_RANGE.limited(app.savedRange)
                                                                     : LATERAL_RANGE.value.load()));
    flag(AUTO_RANGE);
    flag(WEEK);
    flag(PARK_FAKE);
    flag(PARK_SOFT);
    number(parking_percentage);
    flag(INITIAL_LOAD_ONLY);
    number(MAX_FIT);
    if (MAX_LIVE.value >= 0) number(MAX_LIVE);
    flag(LEARN_SOFT);
    return texts;
}

bool gf_writeAirportFile(const AirportFile& file, const std::filesystem::path& path, int kind) {
    return lf_writeAirportFile(file, path, kind, lf_parkingParameters());
}

// ---- the learned file -------------------------------------------------------------------------------------------

static std::filesystem::path lf_learnedFolder(const std::string& publisher) {
    if (publisher == "stock") return folders.learnedStock;
    if (publisher == "simaddon") return folders.learnedSimaddon;
    return folders.learnedThirdparty / plat::textPath(lf_publisherFolder(publisher));
}

std::filesystem::path lf_savedLearnedPath(const AirportFile& file) {
    return lf_learnedFolder(file.publisher) / plat::textPath(file.code + ".xml");
}

// Leaves what was learned here: the base file has the rest.
static void lf_keepLearned(AirportFile& file) {
    if (file.handmade) return;
    for (Stand& stand : file.stands)
        std::erase_if(stand.options, [](const StandOption& option) { return option.origin == 1; });
    std::erase_if(file.stands, [](const Stand& stand) {
        return !stand.manual && !stand.radiusChanged && !stand.cargoChanged && stand.options.empty();
    });
}

namespace {
struct LearnedSave { // all that the loader thread needs for it
    AirportFile file;
    ParameterTexts parameters;
    std::filesystem::path whole; // the learned file that was taken in whole
    std::uint32_t updates = 0;
    bool parametersChanged = false;
    std::string time;
};
} // namespace

static bool lf_saveTo(const std::filesystem::path& path, const LearnedSave& save) {
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    // What was not taken in whole is kept under another name too, or stays as it is. A copy: should the writing break off,
    // the file is still there.
    const bool unknown =
        std::filesystem::exists(path, error) && path.lexically_normal() != save.whole.lexically_normal();
    if (error || (unknown && !lf_copyAside(path))) return false;
    return lf_writeAirportFile(save.file, path, learnedKind, save.parameters);
}

static bool lf_saveLearnedNow(const LearnedSave& save) {
    const std::filesystem::path path = lf_savedLearnedPath(save.file);
    const bool saved = lf_saveTo(path, save);
    if (saved) {
        gf_logRaw(fmt::format("{}{} \"{}\" saved with {} update{} {}", save.time,
                              save.file.handmade ? " handmade" : "", plat::pathText(path), save.updates,
                              save.updates == 1 ? "" : "s",
                              save.parametersChanged ? "and one or more parameter changes" : ""));
        LAST_EPOCH_TIME.value = LAST_EPOCH_TIME.limited(plat::utcSeconds());
        gf_saveParameter(LAST_EPOCH_TIME);
    } else {
        const std::string text =
            fmt::format("{} saving \"{}\" did not succeed", save.time, plat::pathText(path));
        gf_logRaw(text); // also while a stop is under way
        gf_showMessage(text, false);
    }
    return saved;
}

// What could not be saved, for a full disk say, waits for the next save, for the next reading of its airport and for the
// end of the run. Whoever does the loader's work: one thread at a time.
static std::vector<LearnedSave> unsaved;

void lf_retrySaves() {
    std::erase_if(unsaved, [](const LearnedSave& save) { return lf_saveLearnedNow(save); });
}

void lf_dropSaves() { unsaved.clear(); }

bool lf_takeWaitingSave(AirportReading& result) {
    const std::filesystem::path path = lf_savedLearnedPath(result.file);
    const auto save = std::find_if(unsaved.begin(), unsaved.end(), [&](const LearnedSave& waiting) {
        return lf_savedLearnedPath(waiting.file) == path;
    });
    if (save == unsaved.end()) return false;
    pugi::xml_document document;
    lf_build(document, save->file, learnedKind, save->parameters);
    result.learnedPath = path;
    lf_takeLearned(document, save->whole, result);
    return true;
}

static void lf_save(LearnedSave save) {
    lf_keepLearned(save.file);
    if (save.file.handmade) {
        const Quality quality = gf_qualityFactor(save.file.stands);
        save.file.qfReal = quality.real;
        save.file.qfSoft = quality.soft;
    }
    lf_retrySaves();
    // What was learned later was laid over what waits: the older data would replace it.
    std::erase_if(unsaved, [path = lf_savedLearnedPath(save.file)](const LearnedSave& old) {
        return lf_savedLearnedPath(old.file) == path;
    });
    unsaved.push_back(std::move(save));
    if (lf_saveLearnedNow(unsaved.back())) unsaved.pop_back();
}

void gf_saveLearned() {
    LearnedSave save{std::exchange(airports.file, {}),
                     lf_parkingParameters(),
                     airports.learnedWhole,
                     airports.updates.exchange(0),
                     app.parametersChanged.exchange(false),
                     gf_shortTimeText()};
    lf_postFileWork([save = std::move(save)]() mutable { lf_save(std::move(save)); });
}

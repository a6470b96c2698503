// Reading of a learned file and the laying of it over the stands of the base file. A file that cannot be used is set
// aside under another name, so that nothing is saved over it. Runs on the loader thread.

#include "airports/reading.h"

#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "platform/files.h"

#include <algorithm>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <string>
#include <unordered_map>

static constexpr std::int32_t noLiveLimit = -1, usualPercentage = 30; // where the file does not say

// ---- parameters -------------------------------------------------------------------------------------------------

static void lf_takeFlag(const pugi::xml_document& document, BoolParameter& p, AirportReading& result) {
    const char* text = lf_fileParameter(document, p.name);
    if (!text) return;
    const bool on = gf_boolOfText(text);
    result.log(fmt::format("{:24}: {}", p.name, on));
    result.steps.push_back({ReadingStep::Kind::setFlag, {}, &p, nullptr, on});
}

static void lf_setNumber(IntParameter& p, std::int32_t value, AirportReading& result) {
    result.steps.push_back({ReadingStep::Kind::setNumber, {}, nullptr, &p, value});
}

// The number as the file has it; nothing when the parameter is not there.
static std::optional<int> lf_numberOf(const pugi::xml_document& document, const IntParameter& p) {
    const char* text = lf_fileParameter(document, p.name);
    if (!text) return std::nullopt;
    int value = 0;
    gf_parseInt(text, value);
    return value;
}

static void lf_takeNumber(IntParameter& p, std::int32_t value, AirportReading& result) {
    result.log(fmt::format("{:24}: {}", p.name, value));
    lf_setNumber(p, value, result);
}

static void lf_takeMaxFit(std::int32_t value, AirportReading& result) {
    result.log(fmt::format("{:24}: {} (max number of half hours, is {} hrs decimal)", MAX_FIT.name, value,
                           value * 0.5 + 0.5));
    lf_setNumber(MAX_FIT, value, result);
}

static void lf_takeParameters(const pugi::xml_document& document, AirportReading& result) {
    lf_takeFlag(document, LEARN_SOFT, result);
    if (const auto limit = lf_numberOf(document, MAX_LIVE))
        lf_takeNumber(MAX_LIVE, MAX_LIVE.limited(*limit), result);
    else
        lf_setNumber(MAX_LIVE, noLiveLimit, result);
    if (const auto range = lf_numberOf(document, LATERAL_RANGE))
        lf_takeNumber(LATERAL_RANGE, LATERAL_RANGE.limited(*range), result);
    for (BoolParameter* flag : {&AUTO_RANGE, &PARK_FAKE, &WEEK, &PARK_SOFT})
        lf_takeFlag(document, *flag, result);
    if (const auto percentage = lf_numberOf(document, parking_percentage))
        lf_takeNumber(parking_percentage, *percentage, result);
    else
        lf_setNumber(parking_percentage, usualPercentage, result);
    lf_takeFlag(document, INITIAL_LOAD_ONLY, result);
    if (const auto fit = lf_numberOf(document, MAX_FIT)) lf_takeMaxFit(MAX_FIT.limited(*fit), result);
}

// ---- stands -----------------------------------------------------------------------------------------------------

static bool lf_isKnown(const std::vector<StandOption>& options, const StandOption& candidate) {
    return std::any_of(options.begin(), options.end(), [&](const StandOption& option) {
        return option.day == candidate.day && option.real == candidate.real && option.reg == candidate.reg &&
               option.airl == candidate.airl && option.type == candidate.type &&
               (option.hours & candidate.hours).any();
    });
}

static void lf_mergeStand(pugi::xml_node element, Stand& stand, StandReader& reader) {
    if (gf_boolOfText(element.attribute("radius_change").value())) {
        stand.radius = lf_radiusNm(element);
        stand.radiusChanged = true;
    }
    if (gf_boolOfText(element.attribute("cargo_change").value())) {
        stand.cargo = gf_boolOfText(element.attribute("cargo").value());
        stand.cargoChanged = true;
    }
    std::int32_t index = stand.options.empty() ? 1 : stand.options.back().index + 1;
    for (const pugi::xml_node option : element.children("opt")) {
        if (!reader.hasRoom(stand) || gf_stopping()) return;
        StandOption candidate = reader.readOption(option, index, 0);
        if (lf_isKnown(stand.options, candidate)) continue;
        stand.options.push_back(std::move(candidate));
        ++index;
    }
}

static void lf_mergeStands(const pugi::xml_document& document, const std::string& pathText,
                           StandReader& reader) {
    std::unordered_map<std::string, std::size_t> places;
    for (const Stand& stand : reader.stands) places.emplace(stand.id, places.size());
    for (const pugi::xml_node element : document.child("parkpositions").children("parkpos")) {
        if (gf_stopping()) return;
        const std::string id = element.attribute("id").value();
        const auto known = places.find(id);
        if (!gf_boolOfText(element.attribute("manual").value())) {
            if (known != places.end()) {
                lf_mergeStand(element, reader.stands[known->second], reader);
                continue;
            }
            reader.showLeftOut(fmt::format("learned stand {} in {} not found?", id, pathText));
            continue;
        }
        const LatLon place = lf_position(element);
        const bool correct = !gf_isNoPosition(place.lat, place.lon) && lf_radiusNm(element) != 0;
        if (known != places.end()) {
            reader.leaveOut(fmt::format("manually created standid {} already exists in {}", id, pathText));
        } else if (!correct) {
            reader.leaveOut(
                fmt::format("manually created standid {} misses correct attributes in {}", id, pathText));
        } else {
            reader.readStand(element, 0);
            reader.stands.back().manual = true;
            places.emplace(id, reader.stands.size() - 1);
        }
    }
}

static bool lf_takeHandmade(const pugi::xml_document& document, AirportReading& result) {
    std::vector<Stand> stands;
    StandReader reader{result, stands};
    reader.readAll(document);
    result.file.stands = std::move(stands);
    result.file.handmade = true;
    result.log(fmt::format("{:24}: {}", "handmade", true));
    return reader.whole;
}

bool lf_takeLearnedDocument(const pugi::xml_document& document, const std::string& pathText,
                            AirportReading& result) {
    const char* name = lf_fileParameter(document, "airport_name");
    if (name ? name != result.file.airportName : !result.file.airportName.empty())
        result.show(
            fmt::format("Warning: learned file airport name: \"{}\" differs from archived file airport "
                        "name: \"{}\"",
                        name ? name : "", result.file.airportName));
    lf_takeParameters(document, result);
    if (lf_fileParameter(document, "handmade")) return lf_takeHandmade(document, result);
    result.file.handmade = false;
    StandReader reader{result, result.file.stands};
    lf_mergeStands(document, pathText, reader);
    return reader.whole;
}

// ---- the file ---------------------------------------------------------------------------------------------------

static std::filesystem::path lf_asidePath(const std::filesystem::path& path) {
    std::filesystem::path aside = path;
    aside.replace_extension(".0");
    aside += path.extension();
    return aside;
}

static bool lf_setAside(const std::filesystem::path& path) {
    return !plat::moveFile(path, lf_asidePath(path));
}

bool lf_copyAside(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return file.is_open() && !file.bad() && plat::replaceFile(lf_asidePath(path), text);
}

static void lf_tellSetAside(const std::filesystem::path& path, const std::string& why,
                            AirportReading& result) {
    if (lf_setAside(path))
        result.log(fmt::format("{} found, but could not be loaded, saved as *.0.xml: {}",
                               plat::pathText(path), why));
    else
        result.log(fmt::format("{} found, but could neither be loaded nor set aside: {}",
                               plat::pathText(path), why));
}

void lf_readLearned(AirportReading& result) {
    pugi::xml_document document;
    const std::string failure = lf_loadXml(result.learnedPath, document);
    if (!failure.empty()) return lf_tellSetAside(result.learnedPath, failure, result);
    lf_takeLearned(document, result.learnedPath, result);
}

void lf_takeLearned(const pugi::xml_document& document, const std::filesystem::path& whole,
                    AirportReading& result) {
    const std::filesystem::path& path = result.learnedPath;
    result.log(fmt::format("Read from learned airport file: \"{}\"", plat::pathText(path)));
    if (!gf_metaComplete(document)) {
        result.log(metaIncorrect);
        return lf_tellSetAside(path, metaIncorrect, result);
    }
    const std::size_t stepsBefore = result.steps.size();
    try {
        if (lf_takeLearnedDocument(document, plat::pathText(path), result) && !gf_stopping())
            result.learnedWhole = whole;
        result.learnedRead = true;
    } catch (const std::exception& e) { // the base data stands, and so do the parameters
        const auto isLog = [](const ReadingStep& step) { return step.kind == ReadingStep::Kind::log; };
        const auto added = result.steps.begin() + static_cast<std::ptrdiff_t>(stepsBefore);
        result.steps.erase(std::stable_partition(added, result.steps.end(), isLog), result.steps.end());
        result.log(fmt::format("{}: {}", "lf_readLearned", e.what()));
        lf_tellSetAside(path, e.what(), result);
    }
}

// The reading of the reference data: download, parse, fill the stores, delete. Runs once per process on the worker,
// before any other thread reads the stores.

#include "app/errors.h"
#include "app/folders.h"
#include "app/geo.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "liveries/refdata.h"
#include "platform/files.h"
#include "platform/process.h"
#include "updates/updates.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <vector>

// Groups that the real file holds, roughly; the lists are cut to their size afterwards.
constexpr std::size_t similarGroupRoom = 64, publisherRoom = 640, thirdParty20Room = 600,
                      thirdParty24Room = 300;

static pugi::xml_node lf_section(const pugi::xml_document& document, const char* name) {
    return document.select_node((std::string("/") + name).c_str()).node();
}

void gf_readSection(const pugi::xml_document& document, const char* section, const char* element,
                    const char* attribute, TextSet& result) {
    for (const auto node : lf_section(document, section).children(element))
        for (auto& item : gf_splitAtCommas(node.attribute(attribute).value())) result.insert(std::move(item));
    if (result.empty())
        throw orvo::UserErrorException(
            61, fmt::format("In an xml file section {} {} {} is empty ", section, element, attribute));
}

using Decoder = std::string (*)(std::string_view);

static void lf_readCodes(const pugi::xml_document& document, const char* section, const char* element,
                         const char* attribute, Decoder decode, TextSet& store) {
    TextSet stored;
    gf_readSection(document, section, element, attribute, stored);
    for (const auto& code : stored) store.insert(decode(code));
}

static void lf_readSimilarGroups(const pugi::xml_document& document) {
    refData.similarGroups.reserve(similarGroupRoom);
    for (const auto node : lf_section(document, "similar_types").children("similar")) {
        auto group = gf_splitAtCommas(node.attribute("types").value());
        for (auto& model : group) model = gf_decryptType(model);
        std::sort(group.begin(), group.end());
        refData.similarGroups.push_back(std::move(group));
    }
    refData.similarGroups.shrink_to_fit();
}

static void lf_readPublishers(const pugi::xml_document& document) {
    refData.publisherGroups.reserve(publisherRoom);
    TextSet lists;
    for (const auto node : lf_section(document, "publishers").children("pub"))
        lists.insert(node.attribute("names").value());
    for (const auto& names : lists) {
        auto group = gf_splitAtCommas(names);
        std::erase(group, ""); // it would be in every text
        if (!group.empty()) refData.publisherGroups.push_back(std::move(group));
    }
    refData.publisherGroups.shrink_to_fit();
}

static void lf_readWingspans(const pugi::xml_document& document) {
    for (const auto node : lf_section(document, "wingspans").children("wingspan")) {
        const std::string model = gf_decryptType(node.attribute("type").value());
        if (!gf_isValidModel(model)) {
            gf_logLine(fmt::format("wingspan model {} is no valid model, skipped", model));
            continue;
        }
        double meters = 0;
        if (!gf_parseDouble(node.attribute("meters").value(), meters)) meters = 0;
        const double halfSpan = meters * 0.5 * (1 / metersPerNm);
        refData.wingspanByModel.emplace(model, halfSpan);
        refData.maxHalfWingspan = std::max(refData.maxHalfWingspan, halfSpan);
    }
}

// The mean half span of each category; one without any takes the mean of all, so that no aircraft is a point.
static void lf_workOutCategorySpans() {
    if (refData.wingspanByModel.empty()) return;
    std::array<double, categoryCount> sums{};
    std::array<int, categoryCount> counts{};
    double total = 0;
    for (const auto& [model, halfSpan] : refData.wingspanByModel) {
        const auto category = static_cast<std::size_t>(gf_modelCategory(model));
        sums[category] += halfSpan;
        ++counts[category];
        total += halfSpan;
    }
    for (std::size_t i = 0; i < categoryCount; ++i)
        refData.wingspanByCategory[i] =
            counts[i] > 0 ? sums[i] / counts[i] : total / static_cast<double>(refData.wingspanByModel.size());
}

static void lf_readFixes(const pugi::xml_document& document) {
    for (const auto node : lf_section(document, "fixes").children("fx")) {
        const char* wrong = node.attribute("wro").value();
        const char* right = node.attribute("cor").value();
        if (!gf_isValidModel(right)) {
            gf_logLine(fmt::format("wrong fix {}->{}, the latter is not a valid model", wrong, right));
        } else if (!refData.modelFixes.emplace(wrong, right).second) {
            gf_logLine(fmt::format("wrong part of fix: \"{}\", already exists, skipped", wrong));
        }
    }
}

static void lf_readThirdParties(const pugi::xml_document& document, const char* section, const char* element,
                                std::size_t room, std::vector<PublisherAirports>& list) {
    list.reserve(room);
    for (const auto node : lf_section(document, section).children(element))
        list.push_back({node.attribute("pub").value(), gf_splitAtCommas(node.attribute("arpts").value())});
    list.shrink_to_fit();
}

// Codes repeat by the thousand, and the same stored text always means the same code: most are found by their bytes as
// one number, without decoding. Open addressing in one block of memory, for half a million lookups.
class CodeCache {
  public:
    CodeCache(RegcodeStore& s, Decoder d) : store(s), decode(d) {}
    RegcodeStore::Code operator()(std::string_view stored) {
        if (stored.empty()) return 0;
        std::uint64_t key = 0;
        if (stored.size() > sizeof key) return store.addCode(decode(stored));
        std::memcpy(&key, stored.data(), stored.size());
        Place* place = &placeOf(key);
        if (place->key == 0) {
            *place = {key, store.addCode(decode(stored))};
            if (2 * ++used > places.size()) grow();
            return placeOf(key).code;
        }
        return place->code;
    }

  private:
    struct Place {
        std::uint64_t key = 0; // 0 for free: no stored text is all zero bytes
        RegcodeStore::Code code = 0;
    };
    Place& placeOf(std::uint64_t key) {
        constexpr std::uint64_t goldenRatio = 0x9e3779b97f4a7c15ull; // spreads the bytes to the high bits
        std::size_t i = key * goldenRatio >> 32 & (places.size() - 1);
        while (places[i].key != 0 && places[i].key != key) i = (i + 1) & (places.size() - 1);
        return places[i];
    }
    void grow() {
        std::vector<Place> old(2 * places.size());
        old.swap(places);
        for (const auto& place : old)
            if (place.key != 0) placeOf(place.key) = place;
    }
    RegcodeStore& store;
    Decoder decode;
    std::vector<Place> places{4096}; // a power of two
    std::size_t used = 0;
};

// One walk over the attributes, where asking for each by name is five. Of two of a name the first counts.
struct DbElement {
    std::string reg; // decoded
    std::string_view airl, type, opr, cargo;

    DbElement() = default;
    explicit DbElement(const pugi::xml_node& node) {
        std::string_view stored;
        for (auto attribute = node.first_attribute(); attribute; attribute = attribute.next_attribute()) {
            const std::string_view name = attribute.name();
            std::string_view* const place = name == "reg"     ? &stored
                                            : name == "airl"  ? &airl
                                            : name == "type"  ? &type
                                            : name == "opr"   ? &opr
                                            : name == "cargo" ? &cargo
                                                              : nullptr;
            if (place && !place->data()) *place = attribute.value();
        }
        reg = gf_decryptReg(stored);
    }
};

static void lf_readRegistrations(const pugi::xml_document& document) {
    // For room to start with; counting the elements takes a tenth of the whole reading.
    constexpr std::size_t bytesPerElement = 44;
    constexpr std::size_t ahead = 16; // elements between the look for a place in the store and its use
    auto& store = refData.dbaseRegcodes;
    store.clear();
    const pugi::xml_node section = lf_section(document, "dbase");
    store.reserve(
        static_cast<std::size_t>(section.last_child().offset_debug() - section.first_child().offset_debug()) /
        bytesPerElement);
    CodeCache airline(store, gf_decryptAirl), model(store, gf_decryptType);
    const auto insert = [&](const DbElement& element) {
        if (!store.insert(element.reg, airline(element.airl), model(element.type), airline(element.opr),
                          gf_boolOfText(element.cargo)))
            gf_logLine(fmt::format("regcode {} already exists", element.reg));
    };
    std::array<DbElement, ahead> waiting;
    std::size_t seen = 0;
    for (auto node = section.child("db"); node; node = node.next_sibling("db"), ++seen) {
        DbElement& place = waiting[seen % ahead];
        if (seen >= ahead) insert(place);
        place = DbElement(node);
        store.expect(place.reg);
    }
    for (std::size_t i = seen < ahead ? 0 : seen - ahead; i < seen; ++i) insert(waiting[i % ahead]);
}

void gf_readDbaseDocument(const pugi::xml_document& document, const std::string& pathUtf8) {
    refData = RefData{};
    lf_readCodes(document, "aircrafts", "aircraft", "types", gf_decryptType, refData.allModels);
    lf_readCodes(document, "high_performance", "hpf", "types", gf_decryptType, refData.highPerfModels);
    lf_readCodes(document, "heavy", "hvy", "types", gf_decryptType, refData.heavyModels);
    lf_readCodes(document, "large", "lar", "types", gf_decryptType, refData.largeModels);
    lf_readCodes(document, "buzjet", "bzj", "types", gf_decryptType, refData.buzjetModels);
    lf_readCodes(document, "rotorcraft", "rot", "types", gf_decryptType, refData.rotorModels);
    lf_readCodes(document, "cargo_types", "cargo_type", "types", gf_decryptType, refData.cargoModels);
    lf_readSimilarGroups(document);
    lf_readCodes(document, "ICAO_airlines", "ICAO", "codes", gf_decryptAirl, refData.icaoAirlines);
    lf_readCodes(document, "cargo_operators", "ICAO", "codes", gf_decryptAirl, refData.cargoOperators);
    try {
        lf_readPublishers(document);
    } catch (const std::exception& e) {
        throw std::runtime_error(
            fmt::format("exception {} in reading publishers from \"{}\"", e.what(), pathUtf8));
    }
    try {
        lf_readWingspans(document);
    } catch (const std::exception& e) {
        throw std::runtime_error(
            fmt::format("exception {} in reading wingspans from \"{}\"", e.what(), pathUtf8));
    }
    lf_workOutCategorySpans();
    lf_readFixes(document);
    gf_readSection(document, "simaddons20", "simaddon20", "arpts", refData.simaddonAirports20);
    lf_readThirdParties(document, "thirdparties20", "thirdpartie20", thirdParty20Room,
                        refData.thirdParties20);
    lf_readThirdParties(document, "thirdparties24", "thirdpartie24", thirdParty24Room,
                        refData.thirdParties24);
    lf_readRegistrations(document);
}

bool gf_readDbaseFile(const std::string& pathUtf8) {
    {
        pugi::xml_document document;
        const auto result = document.load_file(plat::textPath(pathUtf8).c_str());
        if (!result)
            throw orvo::UserErrorException(
                60, fmt::format("\"{}\" not read because of {}", pathUtf8, result.description()));
        gf_readDbaseDocument(document, pathUtf8);
    }
    plat::releaseFreeMemory();
    return true;
}

bool gf_readDbase() {
    const auto file = folders.dbaseXml;
    if (!gf_dbaseUnzip(file)) throw std::runtime_error("data base could not be read from on-line?");
    bool complete = false;
    try {
        complete = gf_readDbaseFile(plat::pathText(file));
    } catch (const pugi::xpath_exception& e) {
        gf_logLine(e.what());
    }
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return complete;
}

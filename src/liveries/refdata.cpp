// The lookups in the reference data: categories, wing spans, publishers, registrations, airlines. They read the stores
// without a lock, from any thread; the reading that fills them is in refdata_read.cpp.

#include "liveries/refdata.h"

#include <algorithm>
#include <cstddef>

RefData refData;

const char* gf_categoryName(AcCategory category) {
    switch (category) {
    case AcCategory::light: return "Light";
    case AcCategory::buzjets: return "Buzjets";
    case AcCategory::large: return "Large";
    case AcCategory::heavy: return "Heavy";
    case AcCategory::highPerf: return "HighPerf";
    case AcCategory::rotorcraft: return "Rotorcraft";
    }
    return "";
}

bool gf_isValidModel(std::string_view model) { return !model.empty() && refData.allModels.count(model) > 0; }

bool gf_isValidAirline(std::string_view airline) {
    return !airline.empty() && refData.icaoAirlines.count(airline) > 0;
}

// A model in two sets counts by the earlier one.
AcCategory gf_modelCategory(std::string_view model) {
    if (refData.largeModels.count(model) > 0) return AcCategory::large;
    if (refData.heavyModels.count(model) > 0) return AcCategory::heavy;
    if (refData.buzjetModels.count(model) > 0) return AcCategory::buzjets;
    if (refData.rotorModels.count(model) > 0) return AcCategory::rotorcraft;
    if (refData.highPerfModels.count(model) > 0) return AcCategory::highPerf;
    return AcCategory::light;
}

double gf_halfWingspanNm(std::string_view model) {
    const auto found = refData.wingspanByModel.find(model);
    if (found != refData.wingspanByModel.end()) return found->second;
    return refData.wingspanByCategory[static_cast<std::size_t>(gf_modelCategory(model))];
}

static char lf_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The text is in lower case already. Jumps from one place of the first letter to the next: a scan of sceneries looks for
// thousands of names in each path.
static bool lf_containsIgnoringCase(std::string_view lowerText, std::string_view part) {
    const char first = lf_lower(part.front());
    for (auto at = lowerText.find(first); at != lowerText.npos && part.size() <= lowerText.size() - at;
         at = lowerText.find(first, at + 1))
        if (std::equal(part.begin(), part.end(), lowerText.begin() + static_cast<std::ptrdiff_t>(at),
                       [](char a, char b) { return lf_lower(a) == b; }))
            return true;
    return false;
}

std::string gf_publisherOf(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), lf_lower);
    for (const auto& group : refData.publisherGroups)
        for (const auto& name : group)
            if (name.empty() || lf_containsIgnoringCase(lower, name)) return group.front();
    return "unknown";
}

// The feed and some add-ons leave the dash of the national prefix out.
RegcodeForms gf_regcodeVariants(std::string_view registration) {
    constexpr std::size_t shortestWithPrefix = 5;
    RegcodeForms variants;
    if (registration.size() >= shortestWithPrefix && registration.front() != 'N' &&
        registration.find('-') == std::string_view::npos) {
        for (const std::size_t prefix : {2u, 1u}) {
            std::string& form = variants.forms[variants.count++];
            form = registration.substr(0, prefix);
            form += '-';
            form += registration.substr(prefix);
        }
    }
    variants.forms[variants.count++] = registration;
    return variants;
}

std::optional<DbaseRegcode> gf_lookupRegcode(std::string_view registration) {
    if (registration.empty()) return std::nullopt;
    for (const auto& variant : gf_regcodeVariants(registration)) {
        auto found = refData.dbaseRegcodes.find(variant);
        if (found) return found;
    }
    return std::nullopt;
}

std::string gf_regcodeOperator(std::string_view registration) {
    const auto found = gf_lookupRegcode(registration);
    return found ? found->opr : std::string();
}

std::string gf_regcodeAirline(std::string_view registration) {
    const auto found = gf_lookupRegcode(registration);
    return found ? found->airl : std::string();
}

std::string gf_airlineOfCallsign(std::string_view callsign, std::string_view registration) {
    constexpr std::size_t codeLength = 3;
    if (callsign.size() <= codeLength) return {};
    const std::string_view code = callsign.substr(0, codeLength);
    const auto isLetter = [](char c) { return c >= 'A' && c <= 'Z'; };
    const char next = callsign[codeLength];
    if (!std::all_of(code.begin(), code.end(), isLetter) || next < '0' || next > '9') return {};
    std::string withoutDash(registration);
    std::erase(withoutDash, '-');
    if (callsign == withoutDash || callsign == registration || !gf_isValidAirline(code)) return {};
    return std::string(code);
}

const TextMap<std::string> baseContainerModels{
    {"Asobo_FlightDesignCT", "FDCT"},
    {"Asobo_Longitude", "C700"},
    {"Asobo_VL3", "VL3"},
    {"Asobo_Savage_Cub", "SAVG"},
    {"Asobo_Savage_ShockUltra", "SAVG"},
    {"Asobo_XCub", "CC19"},
    {"Asobo_Pitts", "PTS2"},
    {"Asobo_SR22", "SR22"},
    {"Asobo_Icon", "A5"},
    {"Asobo_TBM930", "TBM9"},
    {"Asobo_KingAir350", "B350"},
    {"Asobo_E330", "E300"},
    {"Asobo_DV20", "DV20"},
    {"Asobo_DR400", "DR40"},
    {"Asobo_DA62", "DA62"},
    {"Asobo_DA40_TDI", "DA40"},
    {"Asobo_DA40_NG", "DA40"},
    {"Asobo_Cap10C", "CP10"},
    {"Asobo_CJ4", "C25C"},
    {"Asobo_C152", "C152"},
    {"Asobo_C152_Aerobat", "C152"},
    {"Asobo_C172sp_AS1000", "C172"},
    {"Asobo_C172sp_classic", "C172"},
    {"Asobo_Bonanza_G36", "BE36"},
    {"Asobo_Baron_G58", "B58T"},
    {"Asobo_B747_8i", "B748"},
    {"Asobo_B787_10", "B78X"},
    {"Asobo_208B_GRAND_CARAVAN_EX", "C208"},
    {"Asobo_A320_NEO", "A20N"},
    {"FlyByWire_A320_NEO", "A20N"},
};

// One [fltsim.x] section: title, airline, registration and load, or the reason why it is no livery. Any thread.

#include "liveries/scanfile.h"

#include "app/textfiles.h"
#include "platform/text.h"

#include <fmt/format.h>

#include <algorithm>

std::string gf_cfgValue(std::string_view value) {
    return plat::utf8FromAnyText(value.substr(0, value.find('\0'))); // no title goes on behind a zero byte
}

bool gf_isSecondLine(CfgFile& file, std::string_view head, CfgKey key, std::uint32_t& seen) {
    const std::uint32_t bit = 1u << static_cast<unsigned>(key);
    if ((seen & bit) == 0) {
        seen |= bit;
        return false;
    }
    const auto report = [&](const char* name) {
        file.report(ScanReport::incompleteSection,
                    fmt::format("{} {} has more than one {} key", file.folderText(), head, name));
    };
    switch (key) {
    case CfgKey::title: report("title"); break;
    case CfgKey::airline: report("icao_airline"); break;
    case CfgKey::parkingTypes: report("atc_parking_types"); break;
    case CfgKey::atcId:
        file.report(ScanReport::incompleteSection,
                    fmt::format("{}, {}, has more than one atc_id key", file.folderText(), head));
        break;
    default: break;
    }
    return true;
}

bool gf_isLargeOrHeavy(std::string_view model) {
    const AcCategory category = gf_modelCategory(model);
    return category == AcCategory::large || category == AcCategory::heavy;
}

std::string gf_airlineOfRegcode(std::string_view regcode) {
    const auto known = gf_lookupRegcode(regcode);
    if (!known) return {};
    return known->airl.empty() ? known->opr : known->airl;
}

namespace {

// A section while its lines are read.
struct Section {
    std::string_view head;
    std::string title, airline, regcode, parkingTypes;
};

// False when the section is to be dropped.
bool takeTitle(const CfgFile& file, std::string_view value, Section& section) {
    section.title = gf_cfgValue(value);
    section.title = gf_trimmed(section.title);
    const auto contains = [&](const char* part) { return section.title.find(part) != std::string::npos; };
    if (contains("FenixA320") || contains("PMDG 737")) return false;
    return !(file.rules.suppressStub && section.title.ends_with("-STUB"));
}

bool takeAirline(CfgFile& file, std::string_view value, Section& section) {
    constexpr std::size_t withSuffix = 4; // characters of a code that has a letter too many
    if (value.empty() || value == "ZZZZ") return true;
    std::string code = gf_cfgValue(value);
    code = gf_upperCase(std::string(gf_trimmed(code)));
    if (code.empty()) return true;
    if (code.size() == withSuffix && (code.back() == 'X' || code.back() == 'C')) code.pop_back();
    if (refData.icaoAirlines.count(code) > 0) {
        section.airline = code;
        return true;
    }
    if (code == "RFO") return false;
    file.report(ScanReport::invalidAirline,
                fmt::format("{:12} in {} ", code, file.pathText()) + std::string(section.head));
    return true;
}

// The first of the list; "" when any of them is no registration, with a log line.
std::string regcodeOf(CfgFile& file, std::string_view head, std::string_view value) {
    constexpr std::size_t shortest = 5, longest = 12; // characters
    if (value.size() < shortest) return {};
    const std::string list = gf_cfgValue(gf_trimmed(value.substr(0, value.find(';'))));
    const auto items = gf_splitAtCommas(list);
    if (items.empty()) file.log(fmt::format("invalid atc_id={} ==> in: {}", value, file.pathText()));
    for (const auto& item : items) {
        if (item.empty())
            file.log(fmt::format("empty regcode in {} {}", file.pathText(), head));
        else if (item == " ")
            file.log(fmt::format("regcode is a space char? {} {}", file.pathText(), head));
        else if (item.size() > longest)
            file.log(fmt::format("regcode: {}, has more than 12 chars or contains UTF16 chars in \"{}\"?",
                                 item, file.pathText()));
        else if (item.find('*') != std::string::npos)
            file.log(
                fmt::format("{} {} wild cards no longer supported, atc_id skipped", file.pathText(), head));
        else
            continue;
        return {};
    }
    return items.empty() ? std::string() : std::string(gf_trimmed(items.front()));
}

// False when the section is to be dropped.
bool takeLines(CfgFile& file, const CfgKeyLine* lines, std::size_t count, Section& section) {
    std::uint32_t seen = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto [key, value] = lines[i];
        if (key == CfgKey::texture) continue;
        if (gf_isSecondLine(file, section.head, key, seen)) return false;
        if (key == CfgKey::title && !takeTitle(file, value, section)) return false;
        if (key == CfgKey::airline && !takeAirline(file, value, section)) return false;
        if (key == CfgKey::parkingTypes) section.parkingTypes = gf_upperCase(std::string(gf_trimmed(value)));
        if (key == CfgKey::atcId) section.regcode = regcodeOf(file, section.head, value);
    }
    return true;
}

// The smallest of the sorted keys that occurs in the title. A look at each place of the title costs less than a
// search for each of thousands of keys.
std::string privateRegcodeIn(const std::string& title, const std::vector<std::string>& keys) {
    constexpr std::size_t longestKey = 4; // characters
    std::string_view best;
    for (std::size_t start = 0; start < title.size(); ++start)
        for (std::size_t length = 1; length <= longestKey && start + length <= title.size(); ++length) {
            const auto part = std::string_view(title).substr(start, length);
            if (!best.empty() && part >= best) continue;
            if (std::binary_search(keys.begin(), keys.end(), part)) best = part;
        }
    return std::string(best);
}

// What to do without an airline. False, with a report, when the section is to be dropped.
bool findAirline(CfgFile& file, Section& section) {
    if (!section.regcode.empty()) section.airline = gf_airlineOfRegcode(section.regcode);
    if (!section.airline.empty()) return true;
    if (gf_isLargeOrHeavy(file.model)) {
        const char* const reason = section.regcode.empty()
                                       ? "has no airline and no regcode info"
                                       : "has no airline and its regcode is not in my dbase (very old liv?)";
        file.report(ScanReport::incompleteSection,
                    fmt::format("\"{}\" \"{}\" {}", file.folderText(), section.title, reason));
        return false;
    }
    section.airline = "PVT";
    if (section.regcode.empty())
        section.regcode = privateRegcodeIn(section.title, file.rules.privateRegcodes);
    return true;
}

} // namespace

void gf_scanSection(CfgFile& file, std::string_view head, const CfgKeyLine* lines, std::size_t count) {
    Section section;
    section.head = head;
    if (!takeLines(file, lines, count, section)) return;
    if (section.title.empty()) {
        file.report(ScanReport::incompleteSection,
                    fmt::format("{} {} misses title", file.folderText(), head));
        return;
    }
    if (file.rules.dontUse.count(section.title) > 0) return;
    if (section.airline == "ZZZ") section.regcode.clear();
    if (section.airline.empty() && !findAirline(file, section)) return;
    const bool cargo = section.parkingTypes.find("CARGO") != std::string::npos &&
                       section.parkingTypes.find("GATE") == std::string::npos;
    file.found.liveries.push_back({{std::move(section.airline), file.model, std::move(section.title),
                                    std::move(section.regcode), cargo, file.rules.priority},
                                   std::string(head)});
}

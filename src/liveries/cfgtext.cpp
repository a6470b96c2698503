// The reading of an aircraft.cfg's lines, in one pass over the text. The lines that count are few among many, so a
// line is looked at closely only when its first letter is that of a key, or when it has a bracket. No state; any thread.

#include "liveries/cfgtext.h"

#include <algorithm>
#include <cstring>

static bool lf_isDigit(char c) { return c >= '0' && c <= '9'; }

bool gf_sameButCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (gf_cfgLower(a[i]) != gf_cfgLower(b[i])) return false;
    return true;
}

static bool lf_startsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && gf_sameButCase(text.substr(0, start.size()), start);
}

static std::string_view lf_withoutLeadingSpace(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && gf_isCfgSpace(text[start])) ++start;
    return text.substr(start);
}

static std::string_view lf_withoutTrailingSpace(std::string_view text) {
    while (!text.empty() && gf_isCfgSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::string_view gf_trimmed(std::string_view text) {
    return lf_withoutTrailingSpace(lf_withoutLeadingSpace(text));
}

std::string_view gf_unquoted(std::string_view value) {
    const auto open = value.find('"');
    if (open == value.npos) return value;
    const auto close = value.find('"', open + 1);
    return close == value.npos ? std::string_view() : value.substr(open + 1, close - open - 1);
}

// The key whose name the text begins with.
static CfgKey lf_keyAt(std::string_view text, std::string_view& rest) {
    const auto is = [&](std::string_view name) {
        if (!lf_startsWith(text, name)) return false;
        rest = text.substr(name.size());
        return true;
    };
    switch (text.empty() ? '\0' : gf_cfgLower(text[0])) {
    case 't': return is("title") ? CfgKey::title : is("texture") ? CfgKey::texture : CfgKey::none;
    case 'a':
        return is("atc_id") ? CfgKey::atcId : is("atc_parking_types") ? CfgKey::parkingTypes : CfgKey::none;
    case 'i':
        return is("icao_airline")           ? CfgKey::airline
               : is("icao_type_designator") ? CfgKey::designator
                                            : CfgKey::none;
    case 'b': return is("base_container") ? CfgKey::baseContainer : CfgKey::none;
    default: return CfgKey::none;
    }
}

CfgKey gf_matchCfgKey(std::string_view line, std::string_view& value) {
    std::string_view rest;
    const CfgKey key = lf_keyAt(lf_withoutLeadingSpace(line), rest);
    if (key == CfgKey::none) return CfgKey::none;
    rest = lf_withoutLeadingSpace(rest);
    if (rest.empty() || rest[0] != '=') return CfgKey::none;
    rest = gf_trimmed(rest.substr(1));
    if (rest.empty() || rest.find_first_of("\r\n") != rest.npos) return CfgKey::none;
    value = rest;
    return key;
}

bool gf_matchSectionHead(std::string_view line, std::string_view& number) {
    constexpr std::string_view start = "[fltsim.";
    const std::string_view text = gf_trimmed(line);
    if (!lf_startsWith(text, start) || text.back() != ']') return false;
    const std::string_view digits = text.substr(start.size(), text.size() - start.size() - 1);
    if (digits.empty()) return false;
    for (const char c : digits)
        if (!lf_isDigit(c)) return false;
    number = digits;
    return true;
}

const char* CfgLines::find(const char* from, char c) const {
    if (from == end) return end;
    const auto* found = static_cast<const char*>(std::memchr(from, c, static_cast<std::size_t>(end - from)));
    return found ? found : end;
}

bool CfgLines::next(std::string_view& line) {
    if (place == end) return false;
    if (newline < place) newline = find(place, '\n');
    if (carriageReturn < place) carriageReturn = find(place, '\r');
    const char* const lineEnd = std::min(newline, carriageReturn);
    line = {place, static_cast<std::size_t>(lineEnd - place)};
    place = lineEnd;
    if (place == carriageReturn && place != end) ++place;
    if (place == newline && place != end) ++place;
    return true;
}

static bool lf_containsHead(std::string_view line) {
    return line.find("[fltsim.") != line.npos || line.find("[FLTSIM.") != line.npos;
}

// A line with a bracket: notes a section's number, opens a section, or ends the open one.
static void lf_takeBracketLine(std::string_view line, CfgText& result, bool& open) {
    constexpr std::size_t endsSectionWithin = 6; // characters from the start of the line
    std::string_view number;
    if (gf_matchSectionHead(line, number)) {
        result.numbers.push_back(number);
        result.sections.push_back({line, static_cast<std::uint32_t>(result.keyLines.size()), 0});
        open = true;
        return;
    }
    if (!line.starts_with("//") && lf_containsHead(line)) result.numbers.emplace_back();
    if (line.substr(0, endsSectionWithin).find('[') != line.npos) open = false;
}

static void lf_takeKeyLine(std::string_view line, CfgText& result, bool open) {
    std::string_view value;
    const CfgKey key = gf_matchCfgKey(line, value);
    if (key == CfgKey::none) return;
    value = gf_unquoted(value);
    if (key == CfgKey::designator) {
        if (result.designator.empty()) result.designator = value;
    } else if (key == CfgKey::baseContainer) {
        result.baseContainers.push_back(value);
    } else if (open) {
        result.keyLines.push_back({key, value});
        ++result.sections.back().lineCount;
    }
}

void gf_parseCfg(std::string_view text, CfgText& result) {
    result.numbers.clear();
    result.sections.clear();
    result.keyLines.clear();
    result.designator = {};
    result.baseContainers.clear();
    bool open = false;
    // The next bracket of the text, so that lines without one are not searched for it.
    const char* const end = text.data() + text.size();
    const auto bracketFrom = [&](const char* place) {
        const auto found = std::string_view(place, static_cast<std::size_t>(end - place)).find('[');
        return found == std::string_view::npos ? end : place + found;
    };
    const char* bracket = bracketFrom(text.data());
    CfgLines lines(text);
    for (std::string_view line; lines.next(line);) {
        const char* const lineEnd = line.data() + line.size();
        if (bracket < lineEnd) {
            lf_takeBracketLine(line, result, open);
            bracket = bracketFrom(lineEnd);
        }
        lf_takeKeyLine(line, result, open);
    }
}

// The text of an aircraft.cfg in one of the habits that real files have: line ends, case, blanks, comments behind the
// closing quote, the place of the model, the encoding. Whatever the habit, a reader of such files finds all liveries.

#include "fleet/parts.h"
#include "liveries/refdata.h"
#include "platform/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace rig {

namespace {

enum class LineEnds { lf, crlf, mixed };
enum class Letters { lower, upper, capital };
enum class Encoding { plain, eightBit, utf8Mark, utf16Little, utf16Big };
enum class ModelPlace { front, behind, container };

struct Habits {
    LineEnds lineEnds = LineEnds::crlf;
    Letters keys = Letters::lower, heads = Letters::upper;
    const char* equals = " = ";
    bool quotes = true, comments = true, lastEnd = true;
    ModelPlace model = ModelPlace::front;
    Encoding encoding = Encoding::plain;
};

Habits habitsOf(Family family, Chance& chance) {
    constexpr const char* equals[] = {"=", " =", "= ", "\t\t= ", "  =  "};
    Habits h;
    const std::size_t ends = chance.below(10);
    h.lineEnds = ends < 6 ? LineEnds::crlf : ends < 9 ? LineEnds::lf : LineEnds::mixed;
    h.lastEnd = !chance.percent(25);
    h.comments = chance.percent(95);
    if (chance.percent(30)) h.equals = chance.of(equals);
    const std::size_t encoding = chance.below(100);
    if (encoding < 3) h.encoding = Encoding::utf8Mark;
    if (encoding == 3 || encoding == 4) h.encoding = Encoding::utf16Little;
    if (encoding == 5) h.encoding = Encoding::utf16Big;
    if (encoding == 6 || encoding == 7) h.encoding = Encoding::eightBit;
    if (family == Family::aig) h.heads = Letters::lower;
    if (family == Family::user || family == Family::ivao) { // written by hand
        h.quotes = chance.percent(50);
        h.keys = static_cast<Letters>(chance.below(3));
        h.heads = static_cast<Letters>(chance.below(3));
        if (chance.percent(20)) h.model = ModelPlace::behind;
    }
    return h;
}

std::string inLetters(std::string text, Letters letters) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (letters == Letters::upper || (letters == Letters::capital && i == 0))
            text[i] = static_cast<char>(std::toupper(c));
    }
    return text;
}

// Lines of the file, ended with '\n' until the whole is known.
class Text {
  public:
    explicit Text(const Habits& habits) : h(habits) {}
    void line(std::string_view text) { (out += text) += '\n'; }
    void head(const std::string& name) {
        // The name begins behind the bracket: [Fltsim.0].
        line("[" + inLetters(name, h.heads) + "]");
    }
    void key(const std::string& name, const std::string& value, std::string_view comment = "") {
        std::string text = inLetters(name, h.keys) + h.equals;
        text += h.quotes ? '"' + value + '"' : value;
        if (h.quotes && h.comments &&
            !comment.empty()) // without quotes the comment would belong to the value
            (text += " ; ") += comment;
        line(text);
    }
    void number(const std::string& name, int value) {
        line(inLetters(name, h.keys) + h.equals + std::to_string(value));
    }
    std::string out;

  private:
    const Habits& h;
};

// The container of one of the simulator's own aircraft that stands for a model; "" for none.
std::string containerOf(const std::string& type) {
    std::string found;
    for (const auto& [container, model] : baseContainerModels)
        if (model == type && (found.empty() || container < found)) found = container;
    return found;
}

void appendGeneral(Text& text, const PlannedLivery& first, const Habits& habits, Chance& chance) {
    text.head("general");
    std::string type = first.type;
    if (chance.percent(10)) std::transform(type.begin(), type.end(), type.begin(), ::tolower);
    if (type.size() == 4 && chance.percent(5)) type += "-200"; // the first four characters count
    if (habits.model != ModelPlace::container)
        text.key("icao_type_designator", type, "model of the aircraft");
    text.key("icao_manufacturer", "");
    text.key("category", "airplane", "airplane or helicopter");
    text.line("");
}

std::string airlineValue(const PlannedLivery& livery, Chance& chance) {
    if (livery.airline.empty()) return chance.percent(50) ? "ZZZZ" : "";
    // Some add-ons write four letters, where the fourth marks a variant.
    if (livery.airline != "ZZZ" && chance.percent(3))
        return livery.airline + (chance.percent(50) ? "X" : "C");
    return livery.airline;
}

std::string parkingTypes(const PlannedLivery& livery, Chance& chance) {
    constexpr const char* cargo[] = {"CARGO,RAMP", "RAMP,CARGO", "Cargo", "MIL_CARGO,RAMP"};
    constexpr const char* pax[] = {"GATE,RAMP", "GATE", "RAMP", "GATE,RAMP,CARGO", "RAMP,GATE"};
    return livery.cargo ? chance.of(cargo) : chance.of(pax);
}

void appendRegistration(Text& text, const PlannedLivery& livery, Chance& chance) {
    std::string value = livery.reg;
    if (value.empty()) {
        if (chance.percent(60)) return;
        if (chance.percent(50)) value = "N1"; // too short to count
    } else if (livery.family != Family::ivao && chance.percent(10)) {
        value += "," + value + "2"; // the first of several counts
    }
    text.key("atc_id", value, "tail number");
}

void appendSection(Text& text, std::size_t number, const PlannedLivery& livery, const Habits& habits,
                   Chance& chance) {
    const bool byHand = livery.family == Family::user || livery.family == Family::ivao;
    const std::string paint = livery.airline.empty() ? "ZZZZ" : livery.airline;
    text.head(fmt::format("fltsim.{}", number));
    text.key("title", habits.quotes && chance.percent(3) ? " " + livery.title + " " : livery.title, "name");
    if (!byHand) text.key("model", paint, "model folder");
    text.key("texture", paint, "texture folder");
    text.key("panel", "");
    text.key("sound", "");
    text.key("ui_manufacturer", "", "who builds it");
    text.key("ui_type", livery.type, "its name in the menu");
    text.key("ui_variation", paint, "the paint");
    text.key("ui_typerole", byHand ? "Avion \xC3\xA0 h\xC3\xA9lice" : "Commercial Airliner");
    text.key("ui_createdby", "rig fleet");
    if (livery.family != Family::ivao) {
        text.key("atc_airline", "", "call name");
        text.key("icao_airline", airlineValue(livery, chance), "three letters");
    }
    text.key("atc_parking_codes", livery.airline, "comma separated");
    text.key("atc_parking_types", parkingTypes(livery, chance),
             R"(one or more of "RAMP" / "CARGO" / "MIL_CARGO" / "GATE" / "DOCK")");
    text.number("atc_heavy", 0);
    text.number("isAirTraffic", 1);
    text.number("isUserSelectable", 0);
    appendRegistration(text, livery, chance);
    text.number("atc_id_enable", 1);
    if (chance.percent(5)) text.line("// [fltsim.99] a paint that was left out");
    text.line(chance.percent(10) ? "//" : "");
}

std::string withLineEnds(const std::string& text, const Habits& habits, Chance& chance) {
    std::string result;
    result.reserve(text.size() + text.size() / 20);
    for (const char c : text) {
        const bool carriage = habits.lineEnds == LineEnds::crlf ||
                              (habits.lineEnds == LineEnds::mixed && c == '\n' && chance.percent(50));
        if (c == '\n' && carriage) result += '\r';
        result += c;
    }
    if (!habits.lastEnd)
        while (!result.empty() && (result.back() == '\n' || result.back() == '\r')) result.pop_back();
    return result;
}

std::string eightBit(const std::string& utf8) {
    std::string result;
    for (const char16_t unit : plat::utf16FromUtf8(utf8)) result += static_cast<char>(unit);
    return result;
}

} // namespace

std::string utf16Bytes(const std::string& utf8, bool bigEndian) {
    std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char16_t unit : plat::utf16FromUtf8(utf8)) {
        const auto low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

std::string cfgText(const std::vector<PlannedLivery>& liveries, Chance& chance) {
    const PlannedLivery& first = liveries.front();
    Habits habits = habitsOf(first.family, chance);
    const std::string container = containerOf(first.type);
    if (!container.empty() && first.family != Family::ivao && chance.percent(50))
        habits.model = ModelPlace::container;
    Text text(habits);
    if (chance.percent(30)) text.line(";===== made by rig fleet =====");
    text.head("version");
    text.number("major", 1);
    text.number("minor", 0);
    text.line("");
    const bool behind = habits.model == ModelPlace::behind;
    if (!behind) appendGeneral(text, first, habits, chance);
    if (habits.model == ModelPlace::container || first.family == Family::fsltl) {
        text.head("variation");
        text.key("base_container",
                 "..\\" + (habits.model == ModelPlace::container ? container : "FSLTL_" + first.type));
        text.line("");
    }
    for (std::size_t i = 0; i < liveries.size(); ++i) appendSection(text, i, liveries[i], habits, chance);
    if (behind) appendGeneral(text, first, habits, chance);

    const std::string whole = withLineEnds(text.out, habits, chance);
    switch (habits.encoding) {
    case Encoding::plain: return whole;
    case Encoding::eightBit: return eightBit(whole);
    case Encoding::utf8Mark: return "\xEF\xBB\xBF" + whole;
    case Encoding::utf16Little: return utf16Bytes(whole, false);
    case Encoding::utf16Big: return utf16Bytes(whole, true);
    }
    return whole;
}

} // namespace rig

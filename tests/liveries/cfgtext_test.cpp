// The lines of an aircraft.cfg: the hand-written matching against the regular expressions that say what it accepts.

#include "liveries/cfgtext.h"
#include "liveries/scanfile.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <optional>
#include <random>
#include <regex>
#include <string>

using Match = std::optional<std::string>; // the group that counts

static std::regex expression(const std::string& text) { return std::regex(text, std::regex::icase); }

static Match matched(const std::regex& pattern, const std::string& text, std::size_t group = 2) {
    std::smatch groups;
    if (!std::regex_match(text, groups, pattern)) return std::nullopt;
    return groups[group].str();
}

static const std::map<CfgKey, std::string> keyNames{
    {CfgKey::title, "title"},
    {CfgKey::texture, "texture"},
    {CfgKey::atcId, "atc_id"},
    {CfgKey::parkingTypes, "atc_parking_types"},
    {CfgKey::airline, "icao_airline"},
    {CfgKey::designator, "icao_type_designator"},
    {CfgKey::baseContainer, "base_container"},
};

// What the matching says of a line for each pattern, as the expressions would say it.
struct KeyPatterns {
    KeyPatterns() {
        for (const auto& [key, name] : keyNames)
            patterns.emplace(key, expression("\\s*(" + name + ")\\s*=\\s*(.*\\S)\\s*"));
    }
    // True when the line is a key line.
    bool compare(const std::string& line) const {
        std::string_view value;
        const CfgKey key = gf_matchCfgKey(line, value);
        bool any = false;
        for (const auto& [each, pattern] : patterns) {
            const Match expected = matched(pattern, line);
            any = any || expected;
            EXPECT_EQ(each == key ? Match(value) : std::nullopt, expected)
                << keyNames.at(each) << " in " << testing::PrintToString(line);
        }
        return any;
    }
    std::map<CfgKey, std::regex> patterns;
};

static bool compareHead(const std::string& line) {
    static const std::regex pattern = expression("\\s*(\\[fltsim\\.)(\\d+)\\]\\s*");
    std::string_view number;
    const bool fits = gf_matchSectionHead(line, number);
    const Match expected = matched(pattern, line);
    EXPECT_EQ(fits ? Match(number) : std::nullopt, expected) << testing::PrintToString(line);
    return expected.has_value();
}

TEST(CfgText, KeyLinesAreWhatTheExpressionsAccept) {
    const KeyPatterns patterns;
    struct Row {
        std::string line;
        CfgKey key;
        std::string value;
    };
    const std::vector<Row> rows{
        {"title=A", CfgKey::title, "A"},
        {"\t TITLE \v=\f \"A B\" ; c \r", CfgKey::title, "\"A B\" ; c"},
        {"title==", CfgKey::title, "="},
        {"title=", CfgKey::none, ""},
        {"title= \t", CfgKey::none, ""},
        {"title", CfgKey::none, ""},
        {"titles=A", CfgKey::none, ""},
        {"title A", CfgKey::none, ""},
        {"; title=A", CfgKey::none, ""},
        {"title=A\rB", CfgKey::none, ""},
        {"title=A\nB", CfgKey::none, ""},
        {"title=\n\rB\n", CfgKey::title, "B"},
        {"\ntitle\r=B", CfgKey::title, "B"},
        {std::string("title=\0", 7), CfgKey::title, std::string(1, '\0')},
        {"title=\xFF\xA0", CfgKey::title, "\xFF\xA0"}, // a no-break space is no blank here
        {"texture=X", CfgKey::texture, "X"},
        {"Atc_Id = N1 ", CfgKey::atcId, "N1"},
        {"atc_id_enable=1", CfgKey::none, ""},
        {"ATC_PARKING_TYPES=GATE", CfgKey::parkingTypes, "GATE"},
        {"atc_parking_codes=GATE", CfgKey::none, ""},
        {"atc\x7Fid=N1", CfgKey::none, ""}, // what "_" becomes with bit 5 set
        {"icao_airline=BAW", CfgKey::airline, "BAW"},
        {"icao_type_designator=A320", CfgKey::designator, "A320"},
        {"base_container=x", CfgKey::baseContainer, "x"},
        {"", CfgKey::none, ""},
    };
    for (const auto& row : rows) {
        std::string_view value;
        EXPECT_EQ(gf_matchCfgKey(row.line, value), row.key) << testing::PrintToString(row.line);
        EXPECT_EQ(value, row.value);
        EXPECT_EQ(patterns.compare(row.line), row.key != CfgKey::none);
    }
    for (const char* line :
         {"[fltsim.0]", " [FltSim.012]\t\r", "[fltsim.]", "[fltsim.1", "[fltsim.1 ]", "[fltsim.-1]",
          "[fltsim1]", "[fltsim.1]x", "x[fltsim.1]", "]", "", " ", "[fltsim.]]", "[fltsim.1]]"})
        compareHead(line);
    EXPECT_TRUE(compareHead("[FLTSIM.99999999999999999999]"));
}

// Lines put together from what such lines are made of, and from what is nearly that.
static std::string randomLine(std::mt19937& random) {
    const auto upTo = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    static const std::vector<std::string> names{
        "title",          "texture", "atc_id", "atc_parking_types", "icao_airline", "icao_type_designator",
        "base_container", "[fltsim."};
    static const std::vector<std::string> parts{
        " ",    "\t",   "\v",  "\f", "\r", "\n", "=", "==", "\"", ";",
        ",",    "_",    "x",   "7",  "[",  "]",  ".", "12", "]",  std::string(1, '\0'),
        "\x80", "\xA0", "\xFF"};
    const auto some = [&](std::size_t most) {
        std::string text;
        for (std::size_t n = upTo(most + 1); n > 0; --n) text += parts[upTo(parts.size())];
        return text;
    };
    const auto blanks = [&] {
        return upTo(3) == 0 ? std::string(upTo(3), " \t\r\n\v\f"[upTo(6)]) : std::string();
    };
    const bool head = upTo(4) == 0;
    std::string line = blanks() + (head ? names.back() : names[upTo(names.size())]);
    for (char& c : line)
        if (c >= 'a' && c <= 'z' && upTo(3) == 0) c = static_cast<char>(c - 'a' + 'A');
    line += blanks();
    if (upTo(8) != 0) line += head ? std::to_string(upTo(200)) + "]" : "=";
    line += blanks() + some(head ? 1 : 4) + blanks();
    if (upTo(4) == 0) line.insert(upTo(line.size() + 1), parts[upTo(parts.size())]);
    if (upTo(6) == 0 && !line.empty()) line.erase(upTo(line.size()), 1);
    return line;
}

TEST(CfgText, RandomLinesMatchAsTheExpressionsDo) {
    const KeyPatterns patterns;
    constexpr std::uint32_t seed = 20;
    constexpr int lines = 15'000;
    std::mt19937 random(seed);
    int keys = 0, heads = 0;
    for (int i = 0; i < lines && !testing::Test::HasFailure(); ++i) {
        const std::string line = randomLine(random);
        keys += patterns.compare(line);
        heads += compareHead(line);
    }
    EXPECT_GT(keys, lines / 5) << "of both kinds enough, seed " << seed;
    EXPECT_LT(keys, lines * 4 / 5);
    EXPECT_GT(heads, lines / 20);
}

static std::string ivaoModel(std::string path) {
    // With the other system's separator the same must come out.
    const std::string model(gf_ivaoPathModel(path));
    std::replace(path.begin(), path.end(), '\\', '/');
    EXPECT_EQ(gf_ivaoPathModel(path), model) << path;
    return model;
}

TEST(CfgText, IvaoPathsAreWhatTheExpressionsAccept) {
    const std::regex first = expression(R"(.+\\IVAO_MTL\\SimObjects\\Airplanes\\IVAO_(\w+)\\aircraft.cfg$)"),
                     second =
                         expression(R"(.+\\ivao_x-csl\\SimObjects\\Airplanes\\IVAO_(\w+)\\aircraft.cfg$)");
    const auto compare = [&](const std::string& path) {
        Match expected = matched(first, path, 1);
        if (!expected) expected = matched(second, path, 1);
        EXPECT_EQ(ivaoModel(path), expected.value_or("")) << testing::PrintToString(path);
        return expected.value_or("");
    };
    EXPECT_EQ(compare(R"(C:\x\IVAO_MTL\SimObjects\Airplanes\IVAO_B738WLfa\aircraft.cfg)"), "B738WLfa");
    EXPECT_EQ(compare(R"(C:\IVAO_X-CSL\simobjects\AIRPLANES\ivao_a320\AIRCRAFT.CFG)"), "a320");
    for (const char* path :
         {R"(\IVAO_MTL\SimObjects\Airplanes\IVAO_B738\aircraft.cfg)",
          R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_\aircraft.cfg)",
          R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_B 8\aircraft.cfg)",
          R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_B738\x\aircraft.cfg)",
          R"(C:\IVAO_MTL\SimObjects\x\IVAO_B738\aircraft.cfg)",
          R"(C:\xIVAO_MTL\SimObjects\Airplanes\IVAO_B738\aircraft.cfg)",
          R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_B738\aircraftxcfg)",
          R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_B738\aircraft.cfgs)", "aircraft.cfg", "cfg", ""})
        compare(path);
    const std::array<std::string, 8> parts{"C:",         "\\",        "IVAO_MTL",  "ivao_x-csl",
                                           "SimObjects", "Airplanes", "IVAO_B738", "aircraft.cfg"};
    std::mt19937 random(7);
    const auto upTo = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    int fits = 0;
    for (int i = 0; i < 2000; ++i) {
        std::string path =
            R"(D:\sim\)" + parts[2 + upTo(2)] + R"(\SimObjects\Airplanes\IVAO_B738\aircraft.cfg)";
        for (std::size_t changes = upTo(3); changes > 0; --changes) {
            const std::size_t place = upTo(path.size());
            if (upTo(2) == 0)
                path[place] = "aB7_\\\n\r. -"[upTo(10)];
            else
                path.insert(place, parts[upTo(parts.size())]);
        }
        fits += !compare(path).empty();
    }
    EXPECT_GT(fits, 400);
    EXPECT_LT(fits, 1600);
}

TEST(CfgText, IvaoTitlesAreWhatTheExpressionAccepts) {
    const std::array<std::regex, 2> patterns{expression("B738\\s*(\\w\\w\\w).*$"),
                                             expression("B738W\\s*(\\w\\w\\w).*$")};
    std::mt19937 random(9);
    const auto upTo = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    int fits = 0;
    for (int i = 0; i < 3000; ++i) {
        const bool wide = upTo(2) == 0;
        std::string title = (upTo(2) ? "B738" : "b738") + std::string(upTo(4) ? wide : !wide, 'w');
        for (std::size_t n = upTo(9); n > 0; --n) title += " \tRyr_1AfZ-\xC3\n"[upTo(13)];
        const Match expected = matched(patterns[wide], title, 1);
        EXPECT_EQ(gf_ivaoTitleAirline(title, "B738", wide), expected.value_or(""))
            << testing::PrintToString(title);
        fits += expected.has_value();
    }
    EXPECT_GT(fits, 300);
    EXPECT_LT(fits, 2700);
    EXPECT_EQ(gf_ivaoTitleAirline("B73", "B738", false), "");
    EXPECT_EQ(gf_ivaoTitleAirline("", "B738", true), "");
}

TEST(CfgText, LinesEndAnyWay) {
    const auto lines = [](std::string_view text) {
        std::string result;
        CfgLines reader(text);
        for (std::string_view line; reader.next(line);) result += "<" + std::string(line) + ">";
        return result;
    };
    EXPECT_EQ(lines(""), "");
    EXPECT_EQ(lines("a"), "<a>");
    EXPECT_EQ(lines("\n"), "<>");
    EXPECT_EQ(lines("\r"), "<>");
    EXPECT_EQ(lines("a\nb\r\nc\rd\r"), "<a><b><c><d>");
    EXPECT_EQ(lines("\r\r\n\n\r"), "<><><><>");
    EXPECT_EQ(lines("a\r\n\r\n\nb"), "<a><><><b>");
}

TEST(CfgText, QuotesEncloseTheValue) {
    EXPECT_EQ(gf_unquoted("a b"), "a b");
    EXPECT_EQ(gf_unquoted("x \"a\" \"b\""), "a");
    EXPECT_EQ(gf_unquoted("\"\""), "");
    EXPECT_EQ(gf_unquoted("a\"b"), "");
    EXPECT_EQ(gf_unquoted(""), "");
}

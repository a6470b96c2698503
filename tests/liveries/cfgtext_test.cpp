// The lines of an aircraft.cfg: the hand-written matching against the regular expressions that say what it accepts.

#include "liveries/cfgtext.h"
#include "liveries/scanfile.h"

#include <gtest/gtest.h>

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
    const std::pair<CfgKey, std::string> good[] = {
        {CfgKey::title, "title=A"},
        {CfgKey::title, "\t TITLE \v=\f \"A B\" ; c \r"},
        {CfgKey::title, "title=="},
        {CfgKey::title, "title=\n\rB\n"},
        {CfgKey::title, "\ntitle\r=B"},
        {CfgKey::title, std::string("title=\0", 7)},
        {CfgKey::title, "title=\xFF\xA0"}, // a no-break space is no blank here
        {CfgKey::texture, "texture=X"},
        {CfgKey::atcId, "Atc_Id = N1 "},
        {CfgKey::parkingTypes, "ATC_PARKING_TYPES=GATE"},
        {CfgKey::airline, "icao_airline=BAW"},
        {CfgKey::designator, "icao_type_designator=A320"},
        {CfgKey::baseContainer, "base_container=x"}};
    for (const auto& [key, line] : good) {
        std::string_view value;
        EXPECT_EQ(gf_matchCfgKey(line, value), key) << testing::PrintToString(line);
        EXPECT_TRUE(patterns.compare(line));
    }
    for (const char* line :
         {"title=", "title= \t", "title", "titles=A", "title A", "; title=A", "title=A\rB", "title=A\nB",
          "atc_id_enable=1", "atc_parking_codes=GATE", "", "atc\x7Fid=N1"}) // what "_" becomes with bit 5 set
        EXPECT_FALSE(patterns.compare(line)) << testing::PrintToString(line);
    for (const char* line :
         {"[fltsim.0]", " [FltSim.012]\t\r", "[fltsim.]", "[fltsim.1", "[fltsim.1 ]", "[fltsim.-1]",
          "[fltsim1]", "[fltsim.1]x", "x[fltsim.1]", "]", "", " ", "[fltsim.]]", "[fltsim.1]]"})
        compareHead(line);
    EXPECT_TRUE(compareHead("[FLTSIM.99999999999999999999]"));
}

// Lines put together from what such lines are made of, and from what is nearly that.
static std::string randomLine(std::mt19937& random) {
    static const std::vector<std::string> names{
        "title",          "texture",  "atc_id",   "atc_parking_types", "icao_airline", "icao_type_designator",
        "base_container", "[fltsim.", "[fltsim.", "[fltsim."};
    static const std::vector<std::string> parts{
        " ", "\t", "\v", "\f", "\r", "\n",   "=",    ";",    ",",
        "_", "x",  "7",  "[",  "]",  "12",   "\"",   " ",    "",
        "",  "",   "",   ".",  "]",  "\x80", "\xA0", "\xFF", std::string(1, '\0')};
    const auto one = [&](const std::vector<std::string>& list) { return list[random() % list.size()]; };
    const auto some = [&](std::size_t most) {
        std::string text;
        for (std::size_t n = random() % (most + 1); n > 0; --n) text += one(parts);
        return text;
    };
    std::string line = some(1) + one(names);
    for (char& c : line)
        if (c >= 'a' && c <= 'z' && random() % 3 == 0) c = static_cast<char>(c - 'a' + 'A');
    line += some(1);
    if (random() % 8 != 0) line += line.find('[') != line.npos ? "12]" : "=";
    return line + some(4);
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
    EXPECT_GT(keys, lines / 6) << "of both kinds enough, seed " << seed;
    EXPECT_LT(keys, lines * 4 / 5);
    EXPECT_GT(heads, lines / 50);
}

static std::string ivaoModel(std::string path) {
    // With the other system's separator the same must come out.
    const std::string model(gf_ivaoPathModel(path));
    std::replace(path.begin(), path.end(), '\\', '/');
    EXPECT_EQ(gf_ivaoPathModel(path), model) << path;
    return model;
}

TEST(CfgText, IvaoPathsAreWhatTheExpressionsAccept) {
    const std::regex patterns[] = {
        expression(R"(.+\\IVAO_MTL\\SimObjects\\Airplanes\\IVAO_(\w+)\\aircraft.cfg$)"),
        expression(R"(.+\\ivao_x-csl\\SimObjects\\Airplanes\\IVAO_(\w+)\\aircraft.cfg$)")};
    const auto compare = [&](const std::string& path) {
        Match expected = matched(patterns[0], path, 1);
        if (!expected) expected = matched(patterns[1], path, 1);
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
}

TEST(CfgText, IvaoTitlesAreWhatTheExpressionAccepts) {
    const std::regex patterns[] = {expression("B738\\s*(\\w\\w\\w).*$"),
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
    EXPECT_TRUE(fits > 300 && fits < 2700) << fits;
    for (const char* title : {"B73", ""}) EXPECT_EQ(gf_ivaoTitleAirline(title, "B738", false), "");
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

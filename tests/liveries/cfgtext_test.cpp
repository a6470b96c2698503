// The lines of an aircraft.cfg, each kind at its edges: keys, section heads, the paths and titles of one family of
// packages, line ends, quotes.

#include "liveries/cfgtext.h"
#include "liveries/scanfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

TEST(CfgText, AKeyLineHasItsKeyAnEqualsSignAndAValueWithinAnyBlanks) {
    const struct {
        CfgKey key;
        std::string line, value;
    } rows[] = {
        {CfgKey::title, "title=A", "A"},
        {CfgKey::title, "\t TITLE \v=\f \"A B\" ; c \r", "\"A B\" ; c"},
        {CfgKey::title, "\v\f title\n=\r A\t\v\f", "A"},
        {CfgKey::title, "title==", "="},
        {CfgKey::title, "title=\n\rB\n", "B"},
        {CfgKey::title, "\ntitle\r=B", "B"},
        {CfgKey::title, std::string("title=\0", 7), std::string(1, '\0')},
        {CfgKey::title, "title=\xFF\xA0", "\xFF\xA0"}, // a no-break space is no blank here
        {CfgKey::texture, "texture=X", "X"},
        {CfgKey::atcId, "Atc_Id = N1 ", "N1"},
        {CfgKey::parkingTypes, "ATC_PARKING_TYPES=GATE", "GATE"},
        {CfgKey::airline, "icao_airline=BAW", "BAW"},
        {CfgKey::designator, "icao_type_designator=A320", "A320"},
        {CfgKey::baseContainer, "base_container=x", "x"},
    };
    std::string_view value;
    for (const auto& row : rows) {
        EXPECT_EQ(gf_matchCfgKey(row.line, value), row.key) << testing::PrintToString(row.line);
        EXPECT_EQ(value, row.value);
    }
    for (const char* line :
         {"title=", "title= \t", "title", "titles=A", "title A", "; title=A", "title=A\rB", "title=A\nB",
          "xtitle=A", "ti tle=A", "\xA0title=A", "title\xA0=A", "atc_id_enable=1", "atc_parking_codes=GATE",
          "", " ", "=A", "atc\x7Fid=N1"}) // what "_" becomes with bit 5 set
        EXPECT_EQ(gf_matchCfgKey(line, value), CfgKey::none) << testing::PrintToString(line);
}

TEST(CfgText, ASectionHeadHasDigitsBetweenItsDotAndItsBracket) {
    const auto number = [](std::string_view line) {
        std::string_view digits;
        return gf_matchSectionHead(line, digits) ? std::string(digits) : "none";
    };
    EXPECT_EQ(number("[fltsim.0]"), "0");
    EXPECT_EQ(number("\v\n [FltSim.012]\t\r\f"), "012");
    EXPECT_EQ(number("[FLTSIM.99999999999999999999]"), "99999999999999999999");
    for (const char* line : {"[fltsim.]", "[fltsim.1", "[fltsim.1 ]", "[fltsim.-1]", "[fltsim1]",
                             "[fltsim.1]x", "x[fltsim.1]", "]", "", " ", "[fltsim.]]", "[fltsim.1]]",
                             "[fltsim. 1]", "[fltsim .1]", "[ fltsim.1]", "[fltsim.\xB2]"})
        EXPECT_EQ(number(line), "none") << line;
}

TEST(CfgText, AnIvaoPathNamesItsModelWithEitherSeparator) {
    const auto model = [](std::string path) {
        const std::string found(gf_ivaoPathModel(path));
        std::replace(path.begin(), path.end(), '\\', '/');
        EXPECT_EQ(gf_ivaoPathModel(path), found) << path;
        return found;
    };
    EXPECT_EQ(model(R"(C:\x\IVAO_MTL\SimObjects\Airplanes\IVAO_B738WLfa\aircraft.cfg)"), "B738WLfa");
    EXPECT_EQ(model(R"(C:\IVAO_X-CSL\simobjects\AIRPLANES\ivao_a320\AIRCRAFT.CFG)"), "a320");
    EXPECT_EQ(model(R"(x\IVAO_MTL\SimObjects\Airplanes\IVAO_B_8\aircraftxcfg)"), "B_8")
        << "the dot is any character";
    for (const char* path : {R"(\IVAO_MTL\SimObjects\Airplanes\IVAO_B738\aircraft.cfg)", "aircraft.cfg",
                             "cfg", "", R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_\aircraft.cfg)",
                             R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_B 8\aircraft.cfg)",
                             R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_B738\x\aircraft.cfg)",
                             R"(C:\IVAO_MTL\SimObjects\x\IVAO_B738\aircraft.cfg)",
                             R"(C:\xIVAO_MTL\SimObjects\Airplanes\IVAO_B738\aircraft.cfg)",
                             R"(C:\IVAO_MTL\SimObjects\Airplanes\IVAO_B738\aircraft.cfgs)"})
        EXPECT_EQ(model(path), "") << path;
}

TEST(CfgText, AnIvaoTitleHasThreeLettersOfTheAirlineBehindTheModel) {
    const auto airline = [](const char* title, bool wide = false) {
        return std::string(gf_ivaoTitleAirline(title, "B738", wide));
    };
    EXPECT_EQ(airline("B738 RYR"), "RYR");
    EXPECT_EQ(airline("b738ryrX"), "ryr");
    EXPECT_EQ(airline("B738 \t\n_1f and more"), "_1f");
    EXPECT_EQ(airline("B738WRYR"), "WRY");
    EXPECT_EQ(airline("b738w RYR", true), "RYR");
    EXPECT_EQ(airline("B738wRYR", true), "RYR");
    for (const char* title : {"B738 RY", "B738 R-R", "B738 RYR\nX", "B738 RYR\r", "B738-RYR", "B73", "B738",
                              "", "xB738 RYR", "B738 RY\xC3"})
        EXPECT_EQ(airline(title), "") << title;
    for (const char* title : {"B738 RYR", "B738W RY", "B738W", "B738"})
        EXPECT_EQ(airline(title, true), "") << title;
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

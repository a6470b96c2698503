// Tables: texts, versions, half hours of the week, geometry, and the files' spelling of numbers and lines.

#include "app_fixture.h"

#include "app/geo.h"
#include "app/textfiles.h"
#include "app/version.h"
#include "comma_locale.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <cmath>
#include <ctime>

using testing::ElementsAre;

TEST(Headline, CentresItsTextBetweenStars) {
    const auto stars = [](int n) { return std::string(static_cast<std::size_t>(n), '*'); };
    EXPECT_EQ(gf_headline(70, 0, true, false, "Parameters"), "\n" + stars(34) + " Parameters " + stars(34));
    EXPECT_EQ(gf_headline(70, 10, false, true, ""), stars(80) + "\n");
    EXPECT_EQ(gf_headline(99, 0, false, false, ""), stars(100)) << "rounded up to an even number";
    EXPECT_EQ(gf_headline(10, 0, false, false, "1234567"), "**** 1234567 ****");
    EXPECT_EQ(gf_headline(10, 0, false, false, "12345678"), "12345678")
        << "not shorter than the width less 2";
}

TEST(TimeText, IsUtcInAZoneEastOfItAndSpellsOktober) {
    test::setEnvironment("TZ", "JST-9");
    tzset();
    EXPECT_EQ(gf_timeText(1698383167), "Fri Okt 27 05:06:07 2023");
    EXPECT_EQ(gf_timeText(1709251199), "Thu Feb 29 23:59:59 2024");
    EXPECT_EQ(gf_timeText(1777809600), "Sun May 03 12:00:00 2026");
    EXPECT_EQ(gf_timeText(-62135596800), "Mon Jan 01 00:00:00    1") << "numbers stand right, text left";
    plat::ScopedVirtualClock clock;
    clock.setUtcSeconds(1698383167);
    EXPECT_EQ(gf_shortTimeText(), "05:06:07");
    test::setEnvironment("TZ", nullptr);
    tzset();
}

TEST(Version, IsThreeNumbersWithAnyCharacterBetween) {
    EXPECT_EQ(gf_parseVersion("1-2x30"), VersionData(1, 2, 30));
    EXPECT_EQ(gf_parseVersion("123456"), VersionData(12, 4, 6)) << "a digit may be the character between";
    EXPECT_LT(VersionData(9, 99, 99), VersionData(10, 0, 0));
    EXPECT_EQ(gf_versionText(VersionData(1, 20, 3)), "1.20.3");
    for (const char* bad : {"", "1.2", "1.2.x", " 1.2.3", "1.2.3\n", "1.2.99999999999", "v1.2.3"})
        EXPECT_THROW(gf_parseVersion(bad), std::runtime_error) << bad;
    EXPECT_THROW(gf_parseVersion(std::string(1'000'000, '1')), std::runtime_error);
}

TEST(WeekSlot, TurnsThirtySecondsEarlyAndTheDayWithIt) {
    EXPECT_EQ(gf_weekSlot(1685921369), (WeekSlot{7, 46})) << "Sunday 23:29:29";
    EXPECT_EQ(gf_weekSlot(1685921370), (WeekSlot{7, 47})) << "23:29:30";
    EXPECT_EQ(gf_weekSlot(1685923169), (WeekSlot{7, 47})) << "23:59:29";
    EXPECT_EQ(gf_weekSlot(1685923170), (WeekSlot{1, 0})) << "23:59:30: Monday";
    EXPECT_EQ(gf_weekSlot(1686398370), (WeekSlot{6, 24}));
    EXPECT_EQ(gf_weekSlot(1686396599), (WeekSlot{6, 23}));
}

TEST(Geo, MeasuresOnASphereOfOneMinuteToTheMile) {
    EXPECT_NEAR(gf_distanceNm(0, 0, 0, 1), 60, 1e-9);
    EXPECT_NEAR(gf_distanceNm(50, 179.5, 50, -179.5), gf_distanceNm(50, 0, 50, 1), 1e-9);
    EXPECT_NEAR(gf_distanceNm(12, 34, -12, -146), 10800, 1e-4) << "antipodes are no NaN";
    EXPECT_EQ(gf_distanceNm(51.5, -0.1, 51.5, -0.1), 0);
    EXPECT_NEAR(gf_bearing(0, 0, 1, 0), 0, 1e-12);
    EXPECT_NEAR(gf_bearing(0, 0, 0, -1), 1.5 * pi, 1e-12);
    for (const double bearing : {0.0, 1.0, 2.5, 4.0, 6.0}) {
        const LatLon end = gf_destination(51.47, 179.99, bearing, 10 * feetPerNm);
        EXPECT_NEAR(gf_distanceNm(51.47, 179.99, end.lat, end.lon), 10, 1e-9);
        EXPECT_NEAR(std::abs(gf_headingDiff(gf_bearing(51.47, 179.99, end.lat, end.lon), bearing)), 0, 1e-9);
        EXPECT_LE(std::abs(end.lon), 180);
    }
}

TEST(Geo, FoldsHeadings) {
    EXPECT_NEAR(gf_headingDiff(0.1, twoPi - 0.1), -0.2, 1e-12);
    EXPECT_NEAR(gf_headingDiff(twoPi - 0.1, 0.1), 0.2, 1e-12);
    EXPECT_NEAR(gf_headingDiff(0, 7 * pi / 2), -pi / 2, 1e-12);
    EXPECT_NEAR(std::abs(gf_headingDiff(0, pi)), pi, 1e-12);
    EXPECT_EQ(gf_wrapHeading(twoPi), 0);
    EXPECT_NEAR(gf_wrapHeading(-0.5), twoPi - 0.5, 1e-12);
    EXPECT_LT(gf_wrapHeading(-1e-18), twoPi) << "a tiny negative heading must not give the full turn";
}

TEST(Geo, NoPositionIsABoxWithBothItsEnds) {
    EXPECT_TRUE(gf_isNoPosition(0, 0) && gf_isNoPosition(-0.0, -0.0) && gf_isNoPosition(0.0009, 0.05));
    EXPECT_FALSE(gf_isNoPosition(0.00090001, 0.05) || gf_isNoPosition(0.0009, 0.0500001));
    EXPECT_FALSE(gf_isNoPosition(-0.0001, 0.01));
}

static void expectNumbersReadRight() {
    double d = -1;
    for (const auto& [text, number] : std::initializer_list<std::pair<const char*, double>>{
             {"1.5", 1.5},
             {" +12.25abc", 12.25},
             {"-4e3", -4000.0},
             {"1,5", 1.0}}) { // a comma ends the number in every locale
        EXPECT_TRUE(gf_parseDouble(text, d)) << text;
        EXPECT_EQ(d, number);
    }
    for (const char* bad : {"", "abc", "nan", "inf", "-inf", "1e999", "+-1", ".", "-"})
        EXPECT_TRUE(!gf_parseDouble(bad, d) && d == 1) << bad;
    int i = -1;
    EXPECT_TRUE(gf_parseInt("-12.9", i));
    EXPECT_FALSE(gf_parseInt("2147483648", i) || gf_parseInt("x", i));
    EXPECT_EQ(i, -12);
}

TEST(TextFiles, ReadNumbersAlikeInEveryLocale) {
    expectNumbersReadRight();
    const test::CommaLocale comma;
    if (!comma.ok()) GTEST_SKIP() << "no locale with a comma could be made here";
    expectNumbersReadRight();
}

TEST(TextFiles, SplitAtCommasAndReadBooleans) {
    EXPECT_THAT(gf_splitAtCommas(""), ElementsAre());
    EXPECT_THAT(gf_splitAtCommas(","), ElementsAre("", ""));
    EXPECT_THAT(gf_splitAtCommas("a, b,"), ElementsAre("a", " b", ""));
    for (const char* yes : {"1", "true", "True", "yes", "Y"}) EXPECT_TRUE(gf_boolOfText(yes)) << yes;
    for (const char* no : {"", "0", "false", "on", " true"}) EXPECT_FALSE(gf_boolOfText(no)) << no;
}

TEST_F(AppTest, TellsAFilesEncodingByTwoBytesAndReadsItAsUtf8) {
    using namespace std::string_literals;
    struct Row {
        std::string bytes;
        FileEncoding encoding;
        std::string text;
    };
    for (const Row& row :
         {Row{"\xFF\xFEK\0\xF6\0"s, FileEncoding::utf16le, "K\xC3\xB6"},
          Row{"\xFE\xFF\0K\xD8\x3D\xDE\x00"s, FileEncoding::utf16be, "K\xF0\x9F\x98\x80"},
          Row{"\xEF\xBB\xBFok"s, FileEncoding::utf8bom, "ok"},
          Row{"\xEF\xBB!ok"s, FileEncoding::utf8bom, "ok"}, // the third byte is not looked at
          Row{"ok"s, FileEncoding::plain, "ok"}, Row{"x"s, FileEncoding::plain, "x"},
          Row{""s, FileEncoding::plain, ""}}) {
        test::writeFile("f.txt", row.bytes);
        EXPECT_EQ(gf_fileEncoding("f.txt"), row.encoding);
        std::string text = "before";
        EXPECT_TRUE(gf_readTextFile(row.encoding, "f.txt", text));
        EXPECT_EQ(text, row.text);
    }
    EXPECT_EQ(gf_fileEncoding("none.txt"), FileEncoding::unreadable);
    EXPECT_TRUE(logged("cannot open file none.txt for character encoding, err: 2"));
    std::string text;
    EXPECT_FALSE(gf_readTextFile(FileEncoding::plain, "none.txt", text));
    for (const std::string& broken : {"\xFF\xFE\x00\xD8"s, "\xFF\xFEK"s}) { // half a pair, half a unit
        test::writeFile("f.txt", broken);
        EXPECT_FALSE(gf_readTextFile(FileEncoding::utf16le, "f.txt", text));
    }
    EXPECT_EQ(timesLogged("conversion from error from utf16 to utf8, code: 1113"), 2);
}

TEST_F(AppTest, ReadsLinesWithoutTheirEnds) {
    test::writeFile("f.txt", "\xEF\xBB\xBF"
                             "one\r\n\ntwo");
    EXPECT_THAT(gf_readLines("f.txt").value(), ElementsAre("one", "", "two"));
    test::writeFile("f.txt", "");
    EXPECT_FALSE(gf_readLines("f.txt"));
    EXPECT_FALSE(gf_readLines("none.txt"));
    EXPECT_TRUE(gf_writeFile("end", "f.txt", true));
    EXPECT_EQ(test::readFile("f.txt"), "end\n");
    EXPECT_FALSE(gf_writeFile("end", "nowhere/f.txt", true));
}

TEST_F(AppTest, SavesXmlWithItsMetaAndMissesWhatItLacks) {
    pugi::xml_document document;
    document.append_child("store").append_child("item");
    MSFS_2020.value = false;
    gf_writeMeta(document);
    EXPECT_STREQ(document.first_child().name(), "meta") << "it stands before the content";
    EXPECT_STREQ(document.child("meta").find_child_by_attribute("name", "MSFS").attribute("value").value(),
                 "2024");
    gf_testMeta(document);
    EXPECT_FALSE(logged("meta data incorrect?"));
    EXPECT_TRUE(gf_saveXml(document, "store.xml") && logged("\"store.xml\" saved"));
    document.child("meta").remove_child("info");
    gf_testMeta(document);
    EXPECT_TRUE(logged("meta data incorrect?"));
    const auto nowhere = std::filesystem::path("nowhere") / "store.xml";
    EXPECT_FALSE(gf_saveXml(document, nowhere));
    EXPECT_TRUE(logged("could not save to \"" + plat::pathText(nowhere) + "\""));
}

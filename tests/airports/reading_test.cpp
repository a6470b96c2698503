// An airport file and its learned file become stands: from a folder to records.

#include "airports_fixture.h"

#include "app/errors.h"
#include "comma_locale.h"

#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace test {

class Reading : public AirportsTest {
  protected:
    static const Stand& standOf(const AirportReading& reading, const std::string& id) {
        for (const Stand& found : reading.file.stands)
            if (found.id == id) return found;
        static const Stand none;
        return none;
    }
    static std::string hoursOf(const StandOption& option) { return gf_bitset2hours(option.hours); }
    static std::string option(const std::string& reg, int day, const std::string& hours,
                              const std::string& more = "airl=\"BAW\" type=\"A320\"") {
        return fmt::format("<opt reg=\"{}\" {} day=\"{}\" hh=\"{}\"/>", reg, more, day, hours);
    }
};

TEST_F(Reading, ABaseFileBecomesStandsWithTheirOptions) {
    const CommaLocale commas;
    putStock(
        "EDTT",
        baseFile(stand("A1", 0, 18,
                       option("DAIZZ", 1, "0,1,2", "airl=\"XXX\" type=\"YYY\" cs=\"DLH1:DLH2\"") +
                           option("GBAFM", 7, "47", "airl=\"BAW\" type=\"B744\" soft=\"true\" cs=\"a:b:c\"") +
                           option("", 3, "", "airl=\"KLM\" type=\"B738\""),
                       "ramp=\"true\"") +
                     stand("C1", 500, 40, "", "cargo=\"yes\"") + stand("H1", 600, 10, "", "heli=\"1\"") +
                     "<parkpos id=\"nowhere\" radius=\"10\"/><parkpos id=\"moon\" latitude=\"91\" "
                     "longitude=\"1\"/>",
                 "stock",
                 parameter("Qf_real", "80") + parameter("RT_traffic_week", "12") +
                     parameter("Qf_soft", "7")));
    const AirportReading reading = read("EDTT");
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.file.airportName, "Testfield");
    EXPECT_EQ(reading.file.altitude, 364);
    EXPECT_EQ(reading.file.qfReal, 80);
    EXPECT_EQ(reading.file.trafficWeeks, 12);
    ASSERT_EQ(reading.file.stands.size(), 3u) << "without the two that are nowhere";
    const Stand& a1 = reading.file.stands[0];
    EXPECT_DOUBLE_EQ(a1.radius * metersPerNm, 18);
    EXPECT_DOUBLE_EQ(a1.heading, pi / 2);
    EXPECT_TRUE(a1.ramp && !a1.cargo && !a1.heli);
    EXPECT_TRUE(reading.file.stands[1].cargo && reading.file.stands[2].heli);
    EXPECT_EQ(reading.file.stands[2].seq, 3);

    ASSERT_EQ(a1.options.size(), 3u);
    EXPECT_EQ(a1.options[0].airl + a1.options[0].type, "DLHA320") << "what the registration says";
    EXPECT_EQ(a1.options[0].cs + "|" + a1.options[0].cs2, "DLH1|DLH2");
    EXPECT_EQ(hoursOf(a1.options[0]), "0,1,2");
    EXPECT_EQ(a1.options[1].airl + a1.options[1].type, "BAWB744");
    EXPECT_EQ(a1.options[1].cs + "|" + a1.options[1].cs2, "a|");
    EXPECT_TRUE(a1.options[0].real == 1 && a1.options[1].real == 0 && a1.options[1].day == 7);
    EXPECT_TRUE(a1.options[2].index == 3 && a1.options[2].origin == 1 && a1.options[2].hours.none());

    EXPECT_EQ(texts(reading), fmt::format("{:24}: 30%\n"
                                          "Airport file read from \"archive/stock/EDTT.xml\" for Testfield\n"
                                          "{:24}: stock\n{:24}: 364 ft\n{:24}: 3\n{:24}: 80\n{:24}: 12\n",
                                          "parking_percentage", "publisher", "altitude", "num_parkpos",
                                          "quality factor", "RT traffic week"));
}

TEST_F(Reading, HoursTakeWhatIsAHalfHourAndTellTheRest) {
    EXPECT_EQ(gf_bitset2hours(gf_hours2bitset("47, 0 ,3,3")), "0,3,47");
    EXPECT_THAT(logText(), Not(HasSubstr("invalid hour")));
    EXPECT_TRUE(gf_hours2bitset("").none());
    EXPECT_EQ(gf_bitset2hours(gf_hours2bitset("48,1,-1,,2x, ,+3")), "1");
    for (const char* piece : {"48", "-1", "", "2x", " ", "+3"})
        EXPECT_THAT(logText(), HasSubstr(fmt::format(
                                   "gf_hours2bitset invalid hour \"{}\" in 48,1,-1,,2x, ,+3\n", piece)));
}

TEST_F(Reading, NeighboursTouchWithATenthToSpare) {
    putStock("EDTT", baseFile(stand("A", 0, 60) + stand("B", 100, 60) + stand("C", -110, 60) +
                              stand("D", 5000, 10) + stand("E", 5000, 1)));
    const AirportReading reading = read("EDTT");
    EXPECT_THAT(standOf(reading, "A").adjacent, ElementsAre(2)) << "120 m against 110 and 121";
    EXPECT_THAT(standOf(reading, "B").adjacent, ElementsAre(1));
    EXPECT_THAT(standOf(reading, "C").adjacent, IsEmpty());
    EXPECT_THAT(standOf(reading, "D").adjacent, ElementsAre(5));
}

TEST_F(Reading, TellsWhyAnAirportCannotBeUsed) {
    AirportReading reading;
    EXPECT_EQ(gf_readApf("", reading), "gf_readApf xml is empty...");
    EXPECT_EQ(gf_readApf("x", reading), "gf_readApf no park airport set");
    reading.code = "EDTT";
    EXPECT_THAT(gf_readApf("archive/stock/EDTT.xml", reading), HasSubstr("failed to download: \"file://"));
    EXPECT_EQ(gf_readApf("airports/none.xml", reading),
              "airports/none.xml could not be loaded: File was not found");
    const std::string whole = baseFile(stand("A", 0, 20));
    for (const std::string& broken :
         {std::string(), whole.substr(0, whole.size() / 2), std::string("\x01\x02\x03")}) {
        putStock("EDTT", broken);
        EXPECT_THAT(read("EDTT").error, HasSubstr("archive/stock/EDTT.xml could not be loaded: ")) << broken;
    }
    putStock("EDTT", baseFile(""));
    EXPECT_EQ(read("EDTT").error, "no stands found");

    const auto userError = [&](const std::string& text) -> std::string {
        putStock("EDTT", text);
        try {
            read("EDTT");
        } catch (const orvo::UserErrorException& e) {
            return e.what();
        }
        return "none";
    };
    EXPECT_EQ(userError("<html><body>Sign in</body></html>"), "65: Parameter altitude not found");
    EXPECT_EQ(userError(baseFile(stand("A", 0, 20) + stand("A", 100, 20))),
              "94: Parking position A appears more than once?");
}

// ---- the learned file -------------------------------------------------------------------------------------------

TEST_F(Reading, ALearnedFileIsLaidOverTheBase) {
    putStock("EDTT", baseFile(stand("A", 0, 20, option("GBAFM", 1, "10,11")) + stand("B", 200, 20) +
                              stand("C", 400, 20) + stand("D", 600, 20)));
    putLearned("EDTT",
               learnedFile(
                   "<parkpos id=\"A\">" + option("GBAFM", 1, "11,12,13") + option("GBAFM", 2, "11") +
                   option("GBAFM", 2, "11") +
                   option("GBAFM", 1, "20", "airl=\"BAW\" type=\"A320\" soft=\"1\"") +
                   "</parkpos><parkpos id=\"B\" radius_change=\"true\" radius=\"33.5\"/>"
                   "<parkpos id=\"C\" radius_change=\"true\" cargo_change=\"true\" cargo=\"true\"/>" +
                   stand("M", 800, 25, option("DAIZZ", 5, "5"), "manual=\"true\"") +
                   stand("D", 800, 25, "", "manual=\"true\"") +
                   "<parkpos id=\"N\" latitude=\"0.0009\" longitude=\"0.05\" radius=\"9\" manual=\"true\"/>" +
                   stand("O", 900, 0, "", "manual=\"true\"") + "<parkpos id=\"gone\"/>"));
    const AirportReading reading = read("EDTT");
    EXPECT_EQ(reading.error, "");
    ASSERT_EQ(reading.file.stands.size(), 5u);

    const auto& options = standOf(reading, "A").options;
    ASSERT_EQ(options.size(), 3u) << "one overlaps the base's and goes whole, one its own double";
    EXPECT_TRUE(options[1].day == 2 && options[1].index == 2 && options[1].origin == 0);
    EXPECT_TRUE(options[2].real == 0 && options[2].index == 3);
    EXPECT_DOUBLE_EQ(standOf(reading, "B").radius * metersPerNm, 33.5);
    EXPECT_TRUE(standOf(reading, "B").radiusChanged && !standOf(reading, "B").cargoChanged);
    EXPECT_TRUE(standOf(reading, "C").radius == 0 && standOf(reading, "C").cargo);
    EXPECT_TRUE(standOf(reading, "M").manual && standOf(reading, "M").seq == 5);
    EXPECT_EQ(standOf(reading, "M").options[0].origin, 0);

    const std::string path = native("airports/learned/stock/EDTT.xml");
    EXPECT_THAT(texts(reading), HasSubstr("Read from learned airport file: \"" + path + "\"\n"));
    EXPECT_THAT(texts(reading), HasSubstr("manually created standid D already exists in " + path));
    EXPECT_THAT(texts(reading), HasSubstr("manually created standid N misses correct attributes in " + path));
    EXPECT_THAT(texts(reading), HasSubstr("manually created standid O misses correct attributes in " + path));
    EXPECT_THAT(texts(reading), HasSubstr("learned stand gone in " + path + " not found?"));
    EXPECT_TRUE(reading.learnedWhole.empty()) << "some of it was left out";
    EXPECT_EQ(reading.file.qfReal, gf_qualityFactor(reading.file.stands).real) << "counted anew";
}

TEST_F(Reading, AHandmadeFileTakesThePlaceOfTheBase) {
    putStock("EDTT", baseFile(stand("A", 0, 20)));
    putLearned("EDTT", learnedFile(stand("X", 0, 30) + stand("Y", 300, 30),
                                   parameter("handmade", "false") + parameter("airport_name", "Other")));
    const AirportReading reading = read("EDTT");
    ASSERT_EQ(reading.file.stands.size(), 2u);
    EXPECT_TRUE(reading.file.handmade) << "its presence counts, not its value";
    EXPECT_EQ(reading.learnedWhole, folders.learnedStock / "EDTT.xml");
    EXPECT_THAT(texts(reading), HasSubstr("A handmade airport file overruled the archived file!\n"));
    EXPECT_THAT(texts(reading),
                HasSubstr(native("Airport file read from \"airports/learned/stock/EDTT.xml\"")));
    EXPECT_THAT(texts(reading), Not(HasSubstr("Warning"))) << "the first of two names counts";
    putLearned("EDTT", metaText + "<parameters>" + parameter("airport_name", "Other") + "</parameters>");
    EXPECT_THAT(texts(read("EDTT")),
                HasSubstr("Warning: learned file airport name: \"Other\" differs from archived "
                          "file airport name: \"Testfield\"\n"));
}

TEST_F(Reading, AnUnusableLearnedFileIsSetAsideAndTheBaseStands) {
    putStock("EDTT", baseFile(stand("A", 0, 20)));
    const auto path = folders.learnedStock / "EDTT.xml", aside = folders.learnedStock / "EDTT.0.xml";
    const std::string whole = learnedFile(stand("X", 0, 30), parameter("handmade", "true"));
    const std::string noMeta = whole.substr(metaText.size());
    const std::string doubles = learnedFile(stand("X", 0, 30) + stand("X", 9, 30),
                                            parameter("WEEK", "true") + parameter("handmade", "true"));
    for (const auto& [text, why] :
         {std::pair(whole.substr(0, whole.size() - 20), std::string("saved as *.0.xml: ")),
          std::pair(std::string("no XML at all"), std::string("saved as *.0.xml: ")),
          std::pair(noMeta, std::string("meta data incorrect?\n")),
          std::pair(doubles, std::string("lf_readLearned: 94: Parking position X appears"))}) {
        putLearned("EDTT", text);
        const AirportReading reading = read("EDTT");
        EXPECT_EQ(reading.error, "");
        EXPECT_THAT(texts(reading), HasSubstr(why));
        EXPECT_EQ(reading.file.stands.size(), 1u);
        EXPECT_EQ(reading.file.stands[0].id, "A");
        EXPECT_FALSE(reading.file.handmade || std::filesystem::exists(path));
        EXPECT_EQ(readFile(aside), text) << "an older one gave way";
        for (const ReadingStep& step : reading.steps) EXPECT_NE(step.kind, ReadingStep::Kind::setFlag);
    }
}

TEST_F(Reading, ANonsenseFileIsReadInBoundedTimeAndToldInFewLines) {
    std::string options, stands;
    for (int i = 0; i < 6000; ++i) options += "<opt hh=\"" + std::string(100, ',') + "\"/>";
    for (int i = 0; i < 2100; ++i) stands += stand("S" + std::to_string(i), i % 7, i % 2 == 0 ? 1e9 : 900);
    putStock("EDTT", baseFile(stand("A", 0, 20, options) + stands));
    const AirportReading reading = read("EDTT");
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.file.stands.size(), 2000u);
    EXPECT_EQ(reading.file.stands[0].options.size(), 5000u);
    EXPECT_LT(reading.steps.size(), 1100u);
}

// ---- writing and reading back -----------------------------------------------------------------------------------

TEST_F(Reading, WhatIsWrittenReadsBackTheSame) {
    const CommaLocale commas;
    AirportFile file;
    file.code = "EDTT";
    file.airportName = "A & <B> \"C\"";
    file.publisher = "unknown";
    file.bglPath = "x/y";
    file.altitude = 12;
    file.handmade = true;
    Stand heli;
    heli.id = "H 1";
    heli.lat = -33.1234567;
    heli.lon = 151.5;
    heli.heading = 6.1;
    heli.radius = 20.04 / metersPerNm;
    heli.heli = heli.cargo = heli.manual = true;
    heli.options = {{"BAW", "A320", "GBAFM", "BAW1", "BAW2", gf_hours2bitset("0,47"), 1, 3, 0, 1},
                    {"DEAD", "DEAD", "DEAD", "", "", {}, 0, 1, 0, 1},
                    {"DLH", "A320", "DAIZZ", "", "", gf_hours2bitset("5"), 3, 7, 0, 0}};
    file.stands.push_back(heli);
    MAX_LIVE.value = 150;

    ASSERT_TRUE(gf_writeAirportFile(file, folders.learnedStock / "EDTT.xml", 0));
    const std::string text = readFile(folders.learnedStock / "EDTT.xml");
    std::istringstream order(
        "airport_name publisher handmade altitude num_parkpos Qf_real Qf_soft BGLpath manufacturer creator "
        "LATERAL_RANGE AUTO_RANGE WEEK PARK_FAKE PARK_SOFT parking_percentage INITIAL_LOAD_ONLY MAX_FIT "
        "MAX_LIVE LEARN_SOFT parkpositions");
    std::size_t at = 0;
    for (std::string name; order >> name;) {
        const std::size_t quoted = text.find("\"" + name + "\"");
        const std::size_t next = quoted == text.npos ? text.find("<" + name) : quoted;
        EXPECT_TRUE(next != std::string::npos && next > at) << name;
        at = next;
    }
    EXPECT_THAT(text,
                HasSubstr("<parkpos id=\"H 1\" latitude=\"-33.123457\" longitude=\"151.500000\" "
                          "heading=\"349.5\" radius=\"20.0\" heli=\"true\" ramp=\"false\" manual=\"true\">"));
    EXPECT_THAT(
        text,
        HasSubstr("<opt reg=\"GBAFM\" airl=\"BAW\" type=\"A320\" day=\"3\" hh=\"0,47\" cs=\"BAW1:BAW2\" />"));
    EXPECT_THAT(text, HasSubstr("<opt reg=\"DAIZZ\" soft=\"true\" day=\"7\" hh=\"5\" />"));
    EXPECT_THAT(text, Not(HasSubstr("DEAD")));

    putStock("EDTT", baseFile(stand("A", 0, 20)));
    const AirportReading reading = read("EDTT");
    ASSERT_EQ(reading.file.stands.size(), 1u);
    const Stand& back = reading.file.stands[0];
    EXPECT_NEAR(back.lat, heli.lat, 1e-6);
    EXPECT_NEAR(back.heading, heli.heading, 0.001);
    EXPECT_TRUE(back.heli && !back.cargo);
    ASSERT_EQ(back.options.size(), 2u);
    EXPECT_EQ(back.options[0].cs2, "BAW2");
    EXPECT_EQ(back.options[1].airl, "DLH");

    ASSERT_TRUE(gf_writeAirportFile(file, "scanned.xml", 1));
    const std::string scanned = readFile("scanned.xml");
    EXPECT_THAT(scanned, HasSubstr("\"altitude\" value=\"12\""));
    EXPECT_THAT(scanned, Not(HasSubstr("LATERAL_RANGE")));
    EXPECT_THAT(scanned, Not(HasSubstr("<opt")));
}

} // namespace test

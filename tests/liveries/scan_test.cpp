// What one aircraft.cfg yields: tables of files and sections, with what comes of them.

#include "scan_test.h"

#include "platform/text.h"

static const std::string plainPath = "fleet/pkg/aircraft.cfg";

class ScanOutcome : public ScanTest {
  protected:
    // The liveries of a text at a path, then the reports, as one text; the lists are empty again afterwards.
    std::string outcome(const std::string& bytes, const std::string& path = plainPath) {
        std::vector<Livery> liveries;
        gf_liveriesOfCfg(bytes, path, 3, liveries);
        for (const auto& livery : liveries) EXPECT_EQ(livery.priority, 3);
        const std::string result = plain(texts(liveries)) + reports();
        gf_clearScanLists();
        return result;
    }
    // Of a file with one section of the given lines.
    std::string section(const std::string& lines, const std::string& model = "A320") {
        return outcome("[GENERAL]\nicao_type_designator=\"" + model + "\"\n[FLTSIM.0]\n" + lines);
    }
};

TEST_F(ScanOutcome, ReadsFilesAsTheyAreWrittenByHand) {
    const std::string expected = "BAW A320 One G-EUUA|AFR A320 Two |";
    EXPECT_EQ(
        outcome("; a comment\r\n[General]\r\nICAO_Type_Designator =\t\"A320\" ; the type\r\n"
                "[Fltsim.0]\r\nTitle = \"One\" ; a name\r\natc_id=G-EUUA\r\nicao_airline=\"baw\" ; \"x\"\r\n"
                "atc_parking_types = \"GATE\" ; or CARGO\r\n\r\n[FLTSIM.1]\nTITLE=Two\nicao_airline = AFR"),
        expected)
        << "mixed ends, comments, cases, no last end";
    EXPECT_EQ(outcome("[FLTSIM.1]\rtitle=One\ratc_id=G-EUUA\r[FLTSIM.0]\rtitle=Two\r"
                      "icao_airline=AFR\r[GENERAL]\ricao_type_designator=A320neo\r"),
              expected)
        << "lone CR, a designator behind the sections, sections out of order";
    EXPECT_EQ(
        outcome("icao_type_designator=\"\" ; none\nicao_type_designator=a320\nicao_type_designator=B738\n"
                "[fltsim.0]\ntitle=One\natc_id=G-EUUA\n   [x]\ntitle=not of a section\n[fltsim.1]\n"
                "title=Two\nicao_airline=AFR\n      [is within no six characters\n[VARIATION]\ntitle=x"),
        expected)
        << "sections end at a bracket";
}

TEST_F(ScanOutcome, ReadsEachEncoding) {
    const std::string cfg =
        "icao_type_designator=A320\r\n[FLTSIM.0]\r\ntitle=\"Zürich €\"\r\nicao_airline=BAW\r\n";
    const std::string expected = "BAW A320 Zürich € |";
    EXPECT_EQ(outcome("\xEF\xBB\xBF" + cfg), expected);
    EXPECT_EQ(outcome(cfg), expected);
    std::string little = "\xFF\xFE", big = "\xFE\xFF";
    for (const char16_t unit : plat::utf16FromUtf8(cfg)) {
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        little += {low, high};
        big += {high, low};
    }
    EXPECT_EQ(outcome(little), expected);
    EXPECT_EQ(outcome(big), expected);
    EXPECT_EQ(outcome(little.substr(0, little.size() - 1)), "") << "half a unit";
    EXPECT_TRUE(logged("conversion from error from utf16 to utf8, code: 1113"));
    EXPECT_TRUE(logged("no text in " + plainPath));
    gf_clearMessage();
}

// Names in 8-bit text used to be a reason to lose a livery; the file of liveries needs UTF-8.
TEST_F(ScanOutcome, EightBitTextIsTakenAsWindows1252) {
    EXPECT_EQ(section("title=\"Z\xFCrich \x80\"\nicao_airline=BAW\n"), "BAW A320 Zürich € |");
    EXPECT_EQ(section("; \xFC in a comment\ntitle=\"Zürich\"\nicao_airline=BAW\n"), "BAW A320 Zürich |");
    EXPECT_EQ(section("title=\x81\x8D\x8F\x90\x9D\xFF\xC3\nicao_airline=BAW\n"),
              "BAW A320 \u0081\u008D\u008F\u0090\u009DÿÃ |");
    EXPECT_EQ(section("title=\xC3\xBC\xED\xA0\x80\xF4\x90\x80\x80\nicao_airline=BAW\n"),
              "BAW A320 Ã¼í\u00A0€ô\u0090€€ |")
        << "surrogates and what lies beyond Unicode are no UTF-8";
    EXPECT_EQ(section(std::string("title=A\0B\nicao_airline=BAW\n", 26)), "BAW A320 A |") << "up to a zero";
    EXPECT_EQ(section(std::string("title=\0B\nicao_airline=BAW\n", 25)),
              "4: fleet/pkg [FLTSIM.0] misses title|");
    const std::string halves(300'000, '\xC3');
    EXPECT_EQ(section("title=" + halves + "\nicao_airline=BAW").size(),
              2 * halves.size() + std::string("BAW A320  |").size())
        << "a huge line";
}

TEST_F(ScanOutcome, SectionNumbersRunFromNought) {
    const auto numbers = [&](const std::vector<std::string>& heads) {
        std::string cfg = "icao_type_designator=A320\n";
        int n = 0;
        for (const auto& head : heads)
            cfg += head + "\ntitle=T" + std::to_string(n++) + "\nicao_airline=BAW\n";
        return outcome(cfg);
    };
    const std::string t0 = "BAW A320 T0 |", t1 = "BAW A320 T1 |", t2 = "BAW A320 T2 |",
                      path = "3: " + plainPath;
    EXPECT_EQ(numbers({"[FLTSIM.0]", " [fltsim.2]\t", "[FltSim.01]"}), t0 + t1 + t2);
    const std::string gap = path + " contains non-consecutive [fltsim.x] numbers at .x=";
    EXPECT_EQ(numbers({"[FLTSIM.0]", "[FLTSIM.1]", "[FLTSIM.3]"}), gap + "3|");
    EXPECT_EQ(numbers({"[FLTSIM.1]"}), gap + "1|");
    EXPECT_EQ(numbers({"[FLTSIM.0]", "[FLTSIM.0]", "[FLTSIM.1]"}), gap + "0|");
    const std::string none = path + " contains a [fltsim.] section without a number|";
    EXPECT_EQ(numbers({"[FLTSIM.0]", "[FLTSIM.]"}), none);
    EXPECT_EQ(numbers({"[FLTSIM.0]", "[FLTSIM.1] ; second"}), none);
    EXPECT_EQ(numbers({"[FLTSIM.0]", "[FLTSIM.10000]"}), none) << "counted alike";
    EXPECT_EQ(numbers({"[FLTSIM.0]", "; as in [fltsim.1]"}), none);
    EXPECT_EQ(numbers({"[FLTSIM.0]", "//[FLTSIM.1]"}), t0)
        << "out of use, and what follows belongs to nothing";
    EXPECT_EQ(numbers({"[FLTSIM.0]", "[Fltsim.1] ; neither spelling"}), t0)
        << "ends the section all the same";
    EXPECT_EQ(numbers({"[FLTSIM.0]", "[FLTSIM.99999999999]"}), "");
    EXPECT_TRUE(logged("fltsim num 99999999999 incorrect"));
    EXPECT_EQ(outcome("icao_type_designator=A320\n[GENERAL]\ntitle=A"), "5: " + plainPath + "|");
    EXPECT_EQ(outcome(""), "3: Line icao_type_designator= is missing in [General] section of " + plainPath +
                               "|5: " + plainPath + "|");
}

TEST_F(ScanOutcome, TheModelOfAFile) {
    const auto model = [&](const std::string& lines, const std::string& path = plainPath) {
        return outcome(lines + "[FLTSIM.0]\ntitle=T\nicao_airline=BAW\n", path);
    };
    EXPECT_EQ(model("icao_type_designator=\"b738 winglets\"\n"), "BAW B738 T |");
    EXPECT_EQ(model("icao_type_designator=A32neo\n"),
              "BAW A20N T |2: Model fix: A32N found in " + plainPath + " changed into A20N|");
    EXPECT_EQ(model("base_container=\"..\\Asobo_C172sp_AS1000\"\n"), "BAW C172 T |");
    EXPECT_EQ(model("base_container=\"..\\Nothing\"\nbase_container=..\\Asobo_A320_NEO\n"), "BAW A20N T |");
    EXPECT_EQ(model("base_container=\"..\\Asobo_CJ4\"\n"), "1: C25C             in " + plainPath + "|");
    EXPECT_EQ(model("base_container=..\\Asobo_A320_NEO\nicao_type_designator=B738\n"), "BAW B738 T |");
    const std::string missing = "3: Line icao_type_designator= is missing in [General] section of ";
    EXPECT_EQ(model("base_container=x\n;icao_type_designator=A320\n"), missing + plainPath + "|");
    EXPECT_EQ(model("", "a/pmdg-aircraft-738/aircraft.cfg"), "") << "the user's own";
    EXPECT_EQ(model("", "a/fnx-aircraft-320/aircraft.cfg"), "");
    EXPECT_EQ(model("icao_type_designator=A\xC3\xBC"
                    "3200\n"),
              "1: Aü32             in " + plainPath + "|")
        << "characters are cut whole";
}

TEST_F(ScanOutcome, TitlesThatCountAndTitlesThatDoNot) {
    const std::string place = "4: fleet/pkg [FLTSIM.0] ", airline = "icao_airline=BAW\n";
    EXPECT_EQ(section("title=\"  A title \"; B\n" + airline), "BAW A320 A title |");
    EXPECT_EQ(section("title=A ; B\n" + airline), "BAW A320 A ; B |") << "no quotes: all of it";
    EXPECT_EQ(section(airline), place + "misses title|");
    EXPECT_EQ(section("title=\"\"\n" + airline), place + "misses title|");
    EXPECT_EQ(section("title=A\ntitle=B\n" + airline), place + "has more than one title key|");
    EXPECT_EQ(section("title=A PMDG 737 B\ntitle=B\n" + airline), "");
    EXPECT_EQ(section("title=FenixA320\n" + airline), "");
    EXPECT_EQ(section("title=fenixa320\n" + airline), "BAW A320 fenixa320 |");
    EXPECT_EQ(section("title=\"A-STUB \"\n" + airline), "");
    SUPPRESS_STUB.value = false;
    EXPECT_EQ(section("title=A-STUB\n" + airline), "BAW A320 A-STUB |");
    dontUseTitles = {"other", "A"};
    EXPECT_EQ(section("title=A\n" + airline), "");
    EXPECT_EQ(section("title=A\n" + airline), "BAW A320 A |") << "forgotten with the lists";
}

TEST_F(ScanOutcome, TheAirlineOfASection) {
    const std::string reported = " in " + plainPath + " [FLTSIM.0]|";
    const auto airline = [&](const std::string& value, const std::string& more = "") {
        return section("title=T\nicao_airline=" + value + "\n" + more, "C172");
    };
    EXPECT_EQ(airline("\" baw \" ; x"), "BAW C172 T |");
    EXPECT_EQ(airline("BAWX"), "BAW C172 T |");
    EXPECT_EQ(airline("bawc"), "BAW C172 T |");
    EXPECT_EQ(airline("BAWA"), "PVT C172 T |0: BAWA        " + reported);
    EXPECT_EQ(airline("QQQX"), "PVT C172 T |0: QQQ         " + reported);
    EXPECT_EQ(airline("ZZZZ"), "PVT C172 T |");
    EXPECT_EQ(airline("\"\""), "PVT C172 T |");
    EXPECT_EQ(airline("RFO"), "");
    EXPECT_EQ(airline("BAW\nicao_airline=AFR"),
              "4: fleet/pkg [FLTSIM.0] has more than one icao_airline key|");
    EXPECT_EQ(airline("ZZZ", "atc_id=G-EUUA"), "ZZZ C172 T |") << "a generic livery has no registration";
    EXPECT_EQ(airline("XYZ", "atc_id=G-EUUA"), "BAW C172 T G-EUUA|0: XYZ         " + reported);
}

TEST_F(ScanOutcome, WithoutAnAirlineTheRegistrationOrTheSizeDecides) {
    const std::string unknown =
        "4: \"fleet/pkg\" \"T\" has no airline and its regcode is not in my dbase (very old liv?)|";
    const std::string nothing = "4: \"fleet/pkg\" \"T\" has no airline and no regcode info|";
    EXPECT_EQ(section("title=T\natc_id=GEUUA\n", "B772"), "BAW B772 T GEUUA|");
    for (const char* model : {"B772", "A320"}) {
        EXPECT_EQ(section("title=T\natc_id=G-ABCD\n", model), unknown);
        EXPECT_EQ(section("title=T\n", model), nothing);
    }
    for (const char* model : {"C172", "C25B", "F16", "A139"}) {
        EXPECT_EQ(section("title=T\natc_id=G-ABCD\n", model), std::string("PVT ") + model + " T G-ABCD|");
        EXPECT_EQ(section("title=T\n", model), std::string("PVT ") + model + " T |");
    }
    EXPECT_EQ(section("title=T\natc_id=G-OPER\n", "A320"), "TUI A320 T G-OPER|")
        << "only an operator is known";
    EXPECT_EQ(section("title=T\natc_id=G-NULL\n", "A320"), unknown) << "known, but for no airline";
    EXPECT_EQ(section("title=T\natc_id=G-NULL\n", "C172"), "PVT C172 T G-NULL|");
}

// A private aircraft without a registration gets the smallest of the short ones that its title holds.
TEST_F(ScanOutcome, AShortRegistrationInTheTitleOfAPrivateAircraft) {
    EXPECT_EQ(section("title=Cessna N9 N12 LONGREG\n", "C172"), "PVT C172 Cessna N9 N12 LONGREG N12|");
    EXPECT_EQ(section("title=Cessna G-XN9\n", "C172"), "PVT C172 Cessna G-XN9 G-X|");
    EXPECT_EQ(section("title=Cessna LONGREG\n", "C172"), "PVT C172 Cessna LONGREG |");
    EXPECT_EQ(section("title=Cessna N9\nicao_airline=BAW\n", "C172"), "BAW C172 Cessna N9 |");
    EXPECT_EQ(section("title=Cessna N9\natc_id=G-ABCD\n", "C172"), "PVT C172 Cessna N9 G-ABCD|");
}

TEST_F(ScanOutcome, TheRegistrationOfASection) {
    const auto regcode = [&](const std::string& value) {
        const std::string result = section("title=T\nicao_airline=BAW\natc_id=" + value + "\n");
        return result.starts_with("BAW A320 T ") && result.ends_with("|")
                   ? result.substr(11, result.size() - 12)
                   : result;
    };
    EXPECT_EQ(regcode("G-EUUA"), "G-EUUA");
    EXPECT_EQ(regcode("\"G-EUUA\" ; x"), "G-EUUA");
    EXPECT_EQ(regcode("G-EUUA ; x"), "G-EUUA");
    EXPECT_EQ(regcode("G-EUUA,G-EUUB"), "G-EUUA");
    EXPECT_EQ(regcode("G-EUUA, G-EUUB"), "G-EUUA");
    EXPECT_EQ(regcode("N123"), "") << "four characters";
    EXPECT_EQ(regcode("N1234"), "N1234");
    EXPECT_EQ(regcode("123456789012"), "123456789012");
    EXPECT_FALSE(logged("regcode"));
    EXPECT_EQ(regcode("1234567890123"), "");
    EXPECT_TRUE(logged("regcode: 1234567890123, has more than 12 chars or contains UTF16 chars in \"" +
                       plainPath + "\"?"));
    EXPECT_EQ(regcode("G-EUUA,"), "");
    EXPECT_TRUE(logged("empty regcode in " + plainPath + " [FLTSIM.0]"));
    EXPECT_EQ(regcode("G-EUUA, ,G-EUUB"), "");
    EXPECT_TRUE(logged("regcode is a space char? " + plainPath + " [FLTSIM.0]"));
    EXPECT_EQ(regcode("G-EU*A"), "");
    EXPECT_TRUE(logged(plainPath + " [FLTSIM.0] wild cards no longer supported, atc_id skipped\n"));
    EXPECT_EQ(regcode(";G-EUUA"), "");
    EXPECT_TRUE(logged("invalid atc_id=;G-EUUA ==> in: " + plainPath));
    EXPECT_EQ(regcode("G-EUUA\natc_id=G-EUUB"), "4: fleet/pkg, [FLTSIM.0], has more than one atc_id key|");
    EXPECT_EQ(section("atc_id=ABCDEFGHIJKLM\n"), "4: fleet/pkg [FLTSIM.0] misses title|");
    EXPECT_TRUE(logged("regcode: ABCDEFGHIJKLM, has more")) << "of a section that is dropped, too";
}

TEST_F(ScanOutcome, CargoIsWhatNeverStandsAtAGate) {
    const auto cargo = [&](const std::string& types) {
        return section("title=T\nicao_airline=FDX\natc_parking_types=" + types + "\n", "B772");
    };
    EXPECT_EQ(cargo("\"CARGO,RAMP\""), "FDX B772 T  cargo|");
    EXPECT_EQ(cargo("mil_cargo"), "FDX B772 T  cargo|");
    EXPECT_EQ(cargo("\"CARGO\" ; not at a GATE"), "FDX B772 T  cargo|") << "a comment behind the value";
    EXPECT_EQ(cargo("CARGO ; not at a GATE"), "FDX B772 T |") << "without quotes it belongs to the value";
    EXPECT_EQ(cargo("RAMP"), "FDX B772 T |");
    EXPECT_EQ(cargo("RAMP\natc_parking_types=CARGO"),
              "4: fleet/pkg [FLTSIM.0] has more than one atc_parking_types key|");
}

TEST_F(ScanOutcome, ABadSectionLeavesItsNeighboursAlone) {
    EXPECT_EQ(outcome("icao_type_designator=A320\n[FLTSIM.0]\ntitle=One\nicao_airline=BAW\n[FLTSIM.1]\n"
                      "icao_airline=BAW\n[FLTSIM.2]\ntitle=One\nicao_airline=AFR\n[FLTSIM.3]\n[FLTSIM.4]\n"
                      "title=Three\nicao_airline=AFR\n//\n\n"),
              "BAW A320 One |AFR A320 Three |4: fleet/pkg [FLTSIM.1] misses title|"
              "4: fleet/pkg [FLTSIM.3] misses title|4: fleet/pkg [FLTSIM.2] title \"One\" already exists|");
}

// The parameter file: first start, repairs, limits, versions, single saves, the window's place.

#include "app_fixture.h"

#include "comma_locale.h"

#include <pugixml.hpp>

#include <thread>

namespace {

std::string inFile(const char* key) { // "-" for a key that is not there
    pugi::xml_document document;
    document.load_file(folders.parameters.c_str());
    const auto element = document.child("parameters").find_child_by_attribute("parameter", "name", key);
    return element ? element.attribute("value").value() : "-";
}

void writeParameters(const std::string& elements) {
    test::writeFile(folders.parameters,
                    "<?xml version=\"1.0\"?>\n<parameters>\n" + elements + "</parameters>\n");
}

std::string element(const std::string& key, const std::string& value) {
    return "<parameter name=\"" + key + "\" value=\"" + value + "\"/>\n";
}

const std::string current = element("PROGRAM_VERSION", "10.10.10") + element("SCAN_LIVERIES", "false") +
                            element("SCAN_AIRPORTS", "false");

} // namespace

TEST_F(AppTest, AFirstStartWritesAllKeysWithTheirDefaults) {
    gf_readParameters();
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(folders.parameters.c_str()));
    int count = 0;
    for ([[maybe_unused]] const auto& p : document.child("parameters").children("parameter")) ++count;
    EXPECT_EQ(count, 26 + 15 + 18) << "each key once";
    EXPECT_EQ(inFile("PROGRAM_VERSION") + " " + inFile("MAX_LIVE") + " " + inFile("LOG"), "10.10.10 -1 true");
    EXPECT_EQ(inFile("parking_percentage"), "-") << "not stored";
    EXPECT_TRUE(logged(plat::pathText(folders.parameters) + " not found, default values taken:"));
    EXPECT_TRUE(logged("\"" + plat::pathText(folders.parameters) + "\" saved"));
    EXPECT_EQ(timesLogged("This is a version update"), 0);
}

TEST_F(AppTest, LogsTheValuesBetweenTwoHeadlines) {
    writeParameters(current + element("RANDOM", "yes"));
    gf_readParameters();
    const std::string stars(34, '*'), file = "\"" + plat::pathText(folders.parameters) + "\"";
    EXPECT_EQ(timesLogged("\n\n" + stars + " Parameters " + stars + "\nfrom " + file +
                          "\nRANDOM=1\nAEROWINX=0\nMSFS_2020=1\n"),
              1)
        << logText();
    EXPECT_TRUE(
        logged("\nAI_PACKAGE_ORDER=1\nPROGRAM_VERSION=10.10.10\nMSFS_INSTALL_PATH=\nPORT_NUMBER=10747"));
    EXPECT_EQ(timesLogged("\nCUSTOM_MAX_PARK=-1\n"), 2) << "among the numbers with and without a control";
    EXPECT_TRUE(logged("\nBLOCK_CALLSIGN=\n" + file + " saved\n" + std::string(80, '*') + "\n"));
}

TEST_F(AppTest, ABrokenFileGivesDefaultsAndIsRepaired) {
    for (const char* content : {"", "<parameters><parameter name=", "<other/>", "\xFF\xFE<\0", "not xml"}) {
        LATERAL_RANGE.value = 77;
        test::writeFile(folders.parameters, content);
        gf_readParameters();
        EXPECT_EQ(LATERAL_RANGE.value, 40) << content;
        EXPECT_EQ(inFile("LATERAL_RANGE"), "40") << content;
        EXPECT_EQ(inFile("PROGRAM_VERSION"), "10.10.10") << content;
    }
}

TEST_F(AppTest, ValuesAreBroughtIntoTheirLimitsAndStayInTheFile) {
    struct Row {
        IntParameter& p;
        const char* stored;
        std::int32_t value;
    };
    for (const Row& row :
         {Row{LATERAL_RANGE, "1", 2}, Row{LATERAL_RANGE, "abc", 2}, Row{LATERAL_RANGE, "", 2},
          Row{LATERAL_RANGE, "99999999999", 100}, Row{LATERAL_RANGE, "12.9", 12}, Row{MAX_LIVE, "-1", -1},
          Row{MAX_LIVE, "-999999999999999999999", -1}, Row{MAX_LIVE, "300", 300}, Row{MAX_FIT, " 7", 7}}) {
        writeParameters(current + element(row.p.name, row.stored));
        gf_readParameters();
        EXPECT_EQ(row.p.value, row.value) << row.p.name << " " << row.stored;
        EXPECT_EQ(inFile(row.p.name), row.stored);
    }
    writeParameters(current + element("LOG", "nonsense") + "<parameter name=\"WEEK\"/>");
    gf_readParameters();
    EXPECT_FALSE(LOG || WEEK);
}

TEST_F(AppTest, ReadsNumbersAlikeUnderAComma) {
    const test::CommaLocale comma;
    if (!comma.ok()) GTEST_SKIP() << "no locale with a comma could be made here";
    writeParameters(current + element("LAST_EPOCH_TIME", "1698383167") + element("LATERAL_RANGE", "55,9"));
    gf_readParameters();
    EXPECT_EQ(LAST_EPOCH_TIME.value, 1698383167);
    EXPECT_EQ(LATERAL_RANGE.value, 55);
    gf_saveParameter(LAST_EPOCH_TIME);
    EXPECT_EQ(inFile("LAST_EPOCH_TIME"), "1698383167") << "no thousands are grouped";
}

TEST_F(AppTest, AnEmptyLiveryFolderGoesAndASetOneStays) {
    writeParameters(current + element("lfolder3", "") + element("lfolder4", "C:\\a & b"));
    gf_readParameters();
    EXPECT_EQ(inFile("lfolder3"), "-");
    EXPECT_EQ(inFile("lfolder4"), "C:\\a & b");
    EXPECT_EQ(inFile("lfolder5"), "-") << "a missing one is not added";
    EXPECT_TRUE(logged("Parameter lfolder3 removed"));
    EXPECT_EQ(inFile("DESTINATION"), "") << "any other missing key is";
}

TEST_F(AppTest, AnUnknownKeyOutlivesReadingAndSaving) {
    writeParameters(current + element("FUTURE", "42") + "<other/>");
    gf_readParameters();
    gf_setAndSave(DESTINATION, "E'GLL\" & <x>");
    EXPECT_EQ(inFile("FUTURE"), "42");
    EXPECT_EQ(inFile("DESTINATION"), "E'GLL\" & <x>");
    EXPECT_NE(test::readFile(folders.parameters).find("<other"), std::string::npos);
}

TEST_F(AppTest, ANewVersionScansAgain) {
    const std::vector<std::string> versions{"10.10.9",  "9-99-99",  "no version",
                                            "", // of which four are older
                                            "10.10.10", "10-10-10", "11.0.0"};
    for (std::size_t i = 0; i < versions.size(); ++i) {
        SCOPED_TRACE(versions[i]);
        test::writeFile(folders.installer, "exe");
        writeParameters(element("PROGRAM_VERSION", versions[i]) + element("SCAN_LIVERIES", "false") +
                        element("SCAN_AIRPORTS", "false"));
        gf_readParameters();
        EXPECT_TRUE(SCAN_LIVERIES.value == (i < 4) && SCAN_AIRPORTS.value == (i < 4));
        EXPECT_EQ(inFile("SCAN_LIVERIES"), i < 4 ? "true" : "false");
        EXPECT_EQ(inFile("PROGRAM_VERSION"), "10.10.10");
        EXPECT_EQ(std::filesystem::exists(folders.installer), i >= 4);
    }
    EXPECT_TRUE(logged("This is a version update from 10.10.9 -> 10.10.10"));
    EXPECT_EQ(timesLogged("This is a version update from 0.0.0 -> 10.10.10"), 2);
    EXPECT_EQ(timesLogged("VersionData exception: parse error in version string\n"), 1) << "not for none";
}

TEST_F(AppTest, ASaveThatFailsKeepsTheValueInMemory) {
    std::filesystem::remove_all(folders.appData);
    gf_setAndSave(BLOCK_CALLSIGN, "ABC123");
    EXPECT_EQ(BLOCK_CALLSIGN.value(), "ABC123");
    EXPECT_TRUE(logged("saving xml did not work?"));
}

TEST_F(AppTest, BothThreadsSaveWithoutLosingEachOther) {
    gf_readParameters();
    std::thread worker([] {
        for (int i = 0; i < 20; ++i) {
            LATERAL_RANGE.value = 2 + i;
            gf_saveParameter(LATERAL_RANGE);
        }
    });
    for (int i = 0; i < 20; ++i) gf_setAndSave(BLOCK_CALLSIGN, "CALL" + std::to_string(i));
    worker.join();
    EXPECT_EQ(inFile("LATERAL_RANGE"), "21");
    EXPECT_EQ(inFile("BLOCK_CALLSIGN"), "CALL19");
}

TEST_F(AppTest, TheWindowsPlaceOnALimitGoesBackToTheOneBefore) {
    const auto place = [] { return inFile("MAIN_WINDOW_X") + "," + inFile("MAIN_WINDOW_Y"); };
    gf_readParameters();
    gf_saveWindowPosition(100, -200);
    EXPECT_EQ(place(), "100,-200");
    gf_saveWindowPosition(-32000, 300); // where a system puts a minimized window
    EXPECT_EQ(place(), "100,300");

    // A file that an older program left on a limit, or beyond it, opens the window where it can be seen.
    MAIN_WINDOW_X.value = -32000;
    gf_saveParameter(MAIN_WINDOW_X);
    gf_resetParametersToDefaults();
    gf_readWindowPosition();
    EXPECT_EQ(MAIN_WINDOW_X.value, MAIN_WINDOW_X.defaultValue);
    EXPECT_EQ(place(), "400,300");
}

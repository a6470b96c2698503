// Where an airport file is looked for, what a link file leads to, and where its learned file belongs.

#include "airports_fixture.h"

using testing::HasSubstr;
using testing::Not;

namespace test {

class Locate : public AirportsTest {};

TEST_F(Locate, LooksInTheUsersFoldersBeforeTheServer) {
    putStock("EDTT", "<x/>");
    EXPECT_EQ(gf_locateAirportFile("EDTT"), "archive/stock/EDTT.xml");
    EXPECT_FALSE(std::filesystem::exists("EDTT.xml"));
    writeFile(folders.mySimaddon / "EDTT.xml", "");
    EXPECT_EQ(gf_locateAirportFile("EDTT"), native("airports/my_simaddon/EDTT.xml"));
    writeFile(folders.mySimaddon / "EDTT.txt", "archive/simaddon/EDTT.xml \r\n");
    EXPECT_EQ(gf_locateAirportFile("EDTT"), "archive/simaddon/EDTT.xml");
    writeFile(folders.myThirdparty / "EDTT.xml", "");
    EXPECT_EQ(gf_locateAirportFile("EDTT"), native("airports/my_thirdparty/EDTT.xml"));
    writeFile(folders.myThirdparty / "EDTT.txt", "archive/thirdparty/Some%20One/EDTT.xml?x=1\nsecond\n");
    EXPECT_EQ(gf_locateAirportFile("EDTT"), "archive/thirdparty/Some%20One/EDTT.xml");
    for (const char* useless : {"", "\n", "no such etter"}) {
        writeFile(folders.myThirdparty / "EDTT.txt", useless);
        EXPECT_EQ(gf_locateAirportFile("EDTT"), native("airports/my_thirdparty/EDTT.xml")) << useless;
    }
    EXPECT_EQ(gf_locateAirportFile(""), "");
}

TEST_F(Locate, TellsAPathThatCannotBeTested) {
    std::filesystem::remove(folders.myThirdparty);
    std::error_code error;
    std::filesystem::create_symlink(folders.myThirdparty.filename(), folders.myThirdparty,
                                    error); // to itself
    if (error) GTEST_SKIP() << "no symbolic links here";
    try {
        gf_locateAirportFile("EDTT");
        ADD_FAILURE();
    } catch (const std::filesystem::filesystem_error& e) {
        EXPECT_THAT(e.what(), HasSubstr("exists"));
        EXPECT_EQ(e.path1(), folders.myThirdparty / "EDTT.txt");
    }
}

TEST_F(Locate, RemembersForTheRunWhatTheServerHasNotGot) {
    EXPECT_EQ(gf_locateAirportFile("EDTT"), "");
    EXPECT_THAT(logText(), HasSubstr("failed to download: \"file://"));
    EXPECT_THAT(logText(), HasSubstr("server/MSFS/archive/stock/EDTT.xml\""));
    putStock("EDTT", "<x/>");
    EXPECT_EQ(gf_locateAirportFile("EDTT"), "") << "it is not asked again";
    lf_resetAirports();
    EXPECT_EQ(gf_locateAirportFile("EDTT"), "archive/stock/EDTT.xml");

    gf_setDownloadBase("http://127.0.0.1:1/"); // nobody listens
    EXPECT_EQ(gf_locateAirportFile("EDNN"), "");
    gf_setDownloadBase("server/");
    putStock("EDNN", "<x/>");
    EXPECT_EQ(gf_locateAirportFile("EDNN"), "archive/stock/EDNN.xml")
        << "a failed transfer says nothing of the file";
}

TEST_F(Locate, FetchesFromTheTreeOfTheSimulator) {
    MSFS_2020.value = false;
    putOnServer("MSFS2024/archive/thirdparty/EDTT.xml", "24");
    putOnServer("MSFS/archive/thirdparty/EDTT.xml", "20");
    putOnServer("MSFS/archive/simaddon/EDTT.xml", "addon");
    EXPECT_EQ(lf_fetch("archive/thirdparty/EDTT.xml", "x"), "");
    EXPECT_EQ(readFile("x"), "24");
    EXPECT_EQ(lf_fetch("archive/simaddon/EDTT.xml", "x"), "");
    EXPECT_EQ(readFile("x"), "addon");
    MSFS_2020.value = true;
    EXPECT_EQ(lf_fetch("archive/thirdparty/EDTT.xml", "x"), "");
    EXPECT_EQ(readFile("x"), "20");
    EXPECT_THAT(lf_fetch("archive/none.xml", "x"), HasSubstr("failed to download: \"file://"));
    EXPECT_FALSE(std::filesystem::exists("x"));
}

TEST_F(Locate, GivesEachBaseFileItsLearnedFile) {
    EXPECT_EQ(gf_learnedPath("", "x"), "");
    EXPECT_EQ(gf_learnedPath("archive/stock/EDTT.xml", ""), native("airports/learned/stock/EDTT.xml"));
    EXPECT_EQ(gf_learnedPath("archive/thirdparty/Some%20One/EDTT.xml", ""),
              native("airports/learned/thirdparty/Some One/EDTT.xml"));
    EXPECT_EQ(gf_learnedPath("airports/my_thirdparty/EDTT.xml", "Some One"),
              native("airports/learned/thirdparty/Some One/EDTT.xml"));
    EXPECT_EQ(gf_learnedPath("airports/my_thirdparty2024/EDTT.xml", "Some One"),
              native("airports/learned/thirdparty/Some One/EDTT.xml"));
    EXPECT_EQ(gf_learnedPath("airports/my_simaddon/EDTT.xml", "simaddon"),
              native("airports/learned/simaddon/EDTT.xml"));

    // No name from outside leads out of the folder.
    EXPECT_EQ(gf_learnedPath("airports/my_thirdparty/EDTT.xml", "../../x"),
              native("airports/learned/thirdparty/.._.._x/EDTT.xml"));
    EXPECT_TRUE(lf_isLearnedPath("airports/learned/stock/EDTT.xml"));
    for (const char* outside :
         {"", "airports/learned", "airports/learned/../x.xml", "x.xml", "/airports/learned/x"})
        EXPECT_FALSE(lf_isLearnedPath(outside)) << outside;
}

} // namespace test

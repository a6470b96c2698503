// The packages whose model stands in the path and whose airline stands in the title.

#include "scan_test.h"

class ScanIvao : public ScanTest {
  protected:
    static std::filesystem::path place(const std::string& folderName) {
        return std::filesystem::path("x") / "IVAO_MTL" / "SimObjects" / "Airplanes" / ("IVAO_" + folderName);
    }
    // What a section of these lines gives, with the folder "texture.X" beside it.
    std::string section(const std::string& lines, const std::string& folderName = "B738") {
        const auto path = place(folderName);
        std::filesystem::create_directories(path / "texture.X");
        std::vector<Livery> liveries;
        gf_liveriesOfCfg("[FLTSIM.0]\n" + lines, path / "aircraft.cfg", 2, liveries);
        const std::string result = texts(liveries) + reports();
        gf_clearScanLists();
        return result;
    }
    std::string head = plain(place("B738")) + " [FLTSIM.0]";
    std::string tex = "texture=X\n";
};

TEST_F(ScanIvao, TheModelComesFromThePath) {
    EXPECT_EQ(section("title=B738 RYR\n" + tex), "RYR B738 B738 RYR |");
    EXPECT_EQ(section("title=A320 RYR\n" + tex, "A320neo"), "RYR A320 A320 RYR |") << "four characters of it";
    EXPECT_EQ(section("title=A20N RYR\n" + tex, "A32N"), "RYR A20N A20N RYR |2: Model fix: A32N found in " +
                                                             plain(place("A32N") / "aircraft.cfg") +
                                                             " changed into A20N|");
    EXPECT_EQ(section("title=QQQQ RYR\nicao_type_designator=B738\n" + tex, "QQQQ"),
              "1: QQQQ             in " + plain(place("QQQQ") / "aircraft.cfg") + "|");
    write("x/IVAO_MTL/B738/aircraft.cfg", "[FLTSIM.0]\ntitle=B738 RYR\n");
    EXPECT_EQ(texts(search("x/IVAO_MTL/B738")) + reports(), "");
    EXPECT_TRUE(logged("no model in the path x/IVAO_MTL/B738/aircraft.cfg"));
}

TEST_F(ScanIvao, TheAirlineComesFromTheTitle) {
    EXPECT_EQ(section("title=\" B738  ryr \"\n" + tex),
              "0: ryr          in " + plain(place("B738") / "aircraft.cfg") + " [FLTSIM.0]|");
    EXPECT_TRUE(logged("removed spaces around title \" B738  ryr \" --> \"B738  ryr\""));
    EXPECT_EQ(section("title=b738RYRX\n" + tex), "RYR B738 b738RYRX |");
    EXPECT_EQ(section("title=B738 ZZZ\natc_id=G-EUUA\n" + tex), "ZZZ B738 B738 ZZZ |");
    EXPECT_EQ(section("title=X B738 RYR\natc_id=GEUUA\n" + tex), "BAW B738 X B738 RYR GEUUA|");
    EXPECT_EQ(section("title=B738\natc_id=G-OPER\n" + tex), "TUI B738 B738 G-OPER|");
    EXPECT_EQ(section("title=B738\natc_id=G-ABCD\n" + tex),
              "4: " + head + " misses airlinecode in title: B738, and regcode unknownG-ABCD|");
    EXPECT_EQ(section("title=B738 RY\nicao_airline=RYR\n" + tex),
              "4: " + head + " misses airlinecode in title: B738 RY, and no regcode|");
    EXPECT_EQ(section("title=B738W RYR\n" + tex, "B738WLfa"), "RYR B738 B738W RYR |");
    EXPECT_EQ(section("title=B738 RYR\n" + tex, "B738WLfa").find("4: "), 0u) << "the W must be there";
}

TEST_F(ScanIvao, OneRegistrationCountsAndSeveralAreNone) {
    const auto regcode = [&](const std::string& value) {
        const std::string result = section("title=B738 RYR\natc_id=" + value + "\n" + tex);
        EXPECT_EQ(result.find("RYR B738 B738 RYR "), 0u) << result;
        return result.substr(18, result.size() - 19);
    };
    EXPECT_EQ(regcode("\"EI-ABC\" ; x"), "EI-ABC");
    EXPECT_EQ(regcode("EI-ABC,EI-ABD"), "");
    EXPECT_EQ(regcode("EI-A"), "");
    EXPECT_EQ(regcode("G-BAFM"), "");
    EXPECT_EQ(regcode("EI-ABC;x"), "EI-ABC;x") << "nothing is cut";
    EXPECT_FALSE(logged("regcode"));
    EXPECT_EQ(regcode("EI-ABC,"), "");
    EXPECT_TRUE(logged(" empty regcode in: B738 RYR\n"));
    EXPECT_EQ(regcode("1234567890123"), "");
    EXPECT_TRUE(logged("regcode: 1234567890123, has more than 12 chars in title: B738 RYR\n"));
    EXPECT_EQ(regcode("EI-A*"), "");
    EXPECT_TRUE(logged("[FLTSIM.0] wild cards no longer supported, atc_id skipped \n"));
}

TEST_F(ScanIvao, TheTextureFolderMustBeThere) {
    const auto textures = [&](const std::string& name) {
        return plain(place("B738") / name) + " [FLTSIM.0] ";
    };
    EXPECT_EQ(section("title=B738 RYR\ntexture=Y\ntexture=X\n"),
              "4: " + textures("texture.Y") + "does not exist|");
    EXPECT_EQ(section("title=B738 RYR\ntexture=X\ntexture=Y\n"), "RYR B738 B738 RYR |") << "the first counts";
    EXPECT_EQ(section("title=B738 RYR\ntexture=\"x\"; in other case\n"), "RYR B738 B738 RYR |");
    EXPECT_EQ(section("title=B738 RYR\n"), "4: " + textures("texture.") + "does not exist|");
    std::filesystem::create_directory(place("B738") / "Texture");
    EXPECT_EQ(section("title=B738 RYR\n"), "RYR B738 B738 RYR |")
        << "a dot at the end of a name counts for nothing";
    EXPECT_EQ(section("title=B738 RYR\ntexture=..\\IVAO_B738\\texture.X\n"),
              "4: " + plain(place("B738") / "texture..." / "IVAO_B738" / "texture.X") +
                  " [FLTSIM.0] does not exist|");
}

TEST_F(ScanIvao, SectionsAreDroppedAsElsewhereButWithTheirOwnWords) {
    EXPECT_EQ(section(tex), "4: " + head + " misses title|");
    EXPECT_EQ(section("title=B738 RYR\ntitle=B738 RYR\n" + tex),
              "4: " + head + " has more than one title key|");
    EXPECT_EQ(section("title=B738 RYR\natc_parking_types=CARGO\n" + tex), "RYR B738 B738 RYR |")
        << "never cargo";
    EXPECT_EQ(section("title=B738 RYR\natc_id=x\natc_id=x\n" + tex).find("4: " + plain(place("B738")) + ", "),
              0u);
    EXPECT_EQ(section("title=B738 RYR-STUB\n" + tex), "RYR B738 B738 RYR-STUB |");
    dontUseTitles = {"B738 RYR"};
    EXPECT_EQ(section("title=B738 RYR\n" + tex), "");
    EXPECT_EQ(section("title=B738 RYR\n" + tex + "[FLTSIM.1]\ntitle=B738 RYR\n" + tex),
              "RYR B738 B738 RYR |4: " + plain(place("B738")) +
                  " [FLTSIM.1] title already exists: B738 RYR|");
    EXPECT_EQ(section("title=B738 RYR\n[FLTSIM.3]\n").find("3: "), 0u) << "numbers are checked here too";
    test::writeFile(place("B738") / "aircraft.cfg", "[FLTSIM.0]\ntitle=B738 RYR\n" + tex);
    EXPECT_EQ(texts(search("x/IVAO_MTL")), "RYR B738 B738 RYR |") << "the walk finds them";
}

// Tables of stands: what passes, what is left out, and what is said about it.

#include "feed/generator.h"
#include "refdata/stands.h"

#include "airports/reading.h"
#include "app/folders.h"
#include "app/geo.h"
#include "app/parameters.h"
#include "support.h"
#include "updates/updates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

using rig::readStandTables;
using Texts = std::vector<std::string>;

static std::filesystem::path ourInput() { return rig::sourceFolder() / "install" / "input"; }

class RigStands : public testing::Test {
  protected:
    RigStands() {
        folder.enter();
        gf_buildFolders();
        std::filesystem::create_directories(folders.airports);
        test::writeFile("index.csv",
                        "icao,name,lat,lon,elev_ft\nXAAA,\"Alpha, East\",10,20,33\nXBBB,Beta,1,1,\n");
    }
    ~RigStands() override {
        gf_setDownloadBase("");
        MSFS_2020.value = MSFS_2020.defaultValue;
    }
    test::ScratchFolder folder;
    static constexpr const char* header = "id,lat,lon,heading,radius_m,kind,width_class,airlines\n";
};

TEST_F(RigStands, KeepTheGoodRowsAndNameTheBadOnes) {
    test::writeFile("XAAA.csv", std::string("\xEF\xBB\xBF") + header +
                                    "A1,10.001,20.000,360,18,gate,C,BAW\r\n"
                                    "A2,10.002,20.000,-90.5,26,cargo,D,\r\n"
                                    ",10.003,20.000,0,18,gate,C,\n"
                                    "B1,,20.000,0,18,gate,C,\n"
                                    "B2,91,20.000,0,18,gate,C,\n"
                                    "B3,0.0005,0.02,0,18,gate,C,\n"
                                    "B4,10.004,20.000,north,18,gate,C,\n"
                                    "B5,10.005,20.000,0,1,gate,C,\n"
                                    "B6,10.006,20.000,0,200,gate,C,\n"
                                    "B7,10.2,20.000,0,18,gate,C,\n"
                                    "A1,10.007,20.000,0,18,gate,C,\n"
                                    "B8,10.001,20.000001,0,18,gate,C,\n"
                                    "B9,10.0080x,20.000,0,18,gate,C,\n"
                                    "\n"
                                    "C1,10.009,20.000,12.5,40,gaet,F,\n");
    const auto tables = readStandTables("XAAA.csv", ourInput());
    EXPECT_EQ(tables.complaints,
              (Texts{"index.csv, line 3: airport \"XBBB\" needs a code, a position and an elevation",
                     "XAAA.csv, line 4: no id", "XAAA.csv, line 5: stand \"B1\" has no position",
                     "XAAA.csv, line 6: stand \"B2\" has no position",
                     "XAAA.csv, line 7: stand \"B3\" has no position",
                     "XAAA.csv, line 8: stand \"B4\" has no heading",
                     "XAAA.csv, line 9: stand \"B5\" has no radius between 1 and 200 metres",
                     "XAAA.csv, line 10: stand \"B6\" has no radius between 1 and 200 metres",
                     "XAAA.csv, line 11: stand \"B7\" is not at XAAA",
                     "XAAA.csv, line 12: stand \"A1\" stands in line 2 already",
                     "XAAA.csv, line 13: stand \"B8\" has the place of \"A1\"",
                     "XAAA.csv, line 14: stand \"B9\" has no position",
                     "XAAA.csv, line 16: kind \"gaet\" of stand \"C1\" is unknown, taken for a gate"}));
    ASSERT_EQ(tables.airports.size(), 1u);
    const auto& airport = tables.airports[0];
    EXPECT_EQ(airport.name, "Alpha, East");
    EXPECT_EQ(airport.elevationFt, 33);
    ASSERT_EQ(airport.stands.size(), 3u);
    EXPECT_EQ(airport.stands[0].heading, 0);
    EXPECT_EQ(airport.stands[1].heading, 269.5);
    EXPECT_EQ(airport.stands[2].heading, 12.5);
    EXPECT_EQ(airport.stands[2].radiusM, 40);
}

TEST_F(RigStands, AreOfTheKindsThatTheProgramTellsApart) {
    std::string text = header, flags;
    int row = 0;
    for (const std::string radiusAndKind : {"18,gate", "7.5,gate", "10,ga", "33,cargo", "33,mil-cargo",
                                            "14,mil-fighter", "12,heli", "18,", "7.5,"}) {
        const std::string number = std::to_string(++row);
        text += number + ",10.0" + number + ",20,0," + radiusAndKind + ",,\n";
    }
    test::writeFile("XAAA.csv", text);
    const auto tables = readStandTables("XAAA.csv", ourInput());
    EXPECT_EQ(tables.complaints.size(), 1u) << "of the index alone";
    for (const auto& stand : tables.airports[0].stands)
        flags +=
            std::string(stand.cargo ? "c" : "") + (stand.ramp ? "r" : "") + (stand.heli ? "h" : "") + "|";
    EXPECT_EQ(flags, "||r|cr|r|r|h||r|");
}

TEST_F(RigStands, ComeFromAFolderOrFromOneTableOfManyAirports) {
    const std::string good = std::string(header) + "1,10.001,20,0,18,gate,C,\n";
    test::writeFile("XAAA.csv", good);
    test::writeFile("XBBB.csv", good); // the index has no elevation, the directory no such airport
    test::writeFile("LEBL.csv", "id,lat,lon\n1,10,20\n");
    for (const char* other : {"notes.csv", "XAAA.nodes.csv"}) test::writeFile(other, "id\n1\n");
    test::writeFile("EHAM.csv", std::string(header) + "1,52.31,4.76,0,18,gate,C,\n2,0,0,0,18,gate,C,\n");
    test::writeFile("EGLL.csv", std::string(header) + "1,52.31,4.76,0,18,gate,C,\n");
    auto tables = readStandTables(".", ourInput());
    ASSERT_EQ(tables.airports.size(), 2u);
    EXPECT_EQ(tables.airports[0].code + tables.airports[1].code, "EHAMXAAA");
    EXPECT_EQ(tables.airports[0].elevationFt, -11) << "from the directory";
    EXPECT_EQ(tables.airports[0].stands.size(), 1u);
    for (const std::string& said : Texts{
             "XBBB.csv, line 2: airport \"XBBB\" is neither in an index nor in the directory",
             "\"" + plat::pathText(std::filesystem::path(".") / "LEBL.csv") + "\" has no column \"heading\"",
             "EGLL is left without a good stand", "EGLL.csv, line 2: stand \"1\" is not at EGLL"})
        EXPECT_EQ(std::count(tables.complaints.begin(), tables.complaints.end(), said), 1) << said;

    test::writeFile("world.csv", std::string("icao,") + header +
                                     "EHAM,1,52.31,4.76,0,18,gate,C,\nXAAA,1,10,20,0,18,gate,C,\n"
                                     "ehs,1,52.31,4.76,0,18,gate,C,\nEHAM,2,52.312,4.76,0,18,gate,C,\n");
    tables = readStandTables("world.csv", ourInput());
    ASSERT_EQ(tables.airports.size(), 2u);
    EXPECT_EQ(tables.airports[0].stands.size(), 2u);
    EXPECT_EQ(tables.complaints.back(),
              "world.csv, line 4: airport \"ehs\" is neither in an index nor in the directory");
}

TEST_F(RigStands, AreAnErrorWhenNoneIsGood) {
    const auto text = [](const std::filesystem::path& place) {
        try {
            readStandTables(place, ourInput());
        } catch (const std::runtime_error& e) {
            return std::string(e.what());
        }
        return std::string();
    };
    EXPECT_EQ(text("XAAA.csv"), "cannot open \"XAAA.csv\"");
    for (const char* name : {"XAAA.csv", "stands.csv"})
        test::writeFile(name, "id,lat,lon,heading,radius_m\n");
    EXPECT_EQ(text("XAAA.csv"),
              "no stands in \"XAAA.csv\": index.csv, line 3: airport \"XBBB\" needs a code, a position "
              "and an elevation");
    EXPECT_EQ(text("stands.csv"), "\"stands.csv\" is named by no airport code and has no column \"icao\"");
}

TEST_F(RigStands, BecomeAirportFilesThatTheProgramFindsWithEitherEdition) {
    test::writeFile("XAAA.csv", std::string(header) +
                                    "A1,10.001,20.0005,360,18,gate,,\nA2,10.002,-20,-90.5,26,cargo,,\n"
                                    "A2,10.002,20,-90.5,26.5,cargo,,\n<H>,10.003,20,45,7,heli,,\n");
    rig::writeAirportFiles(readStandTables("XAAA.csv", ourInput()).airports, "tree");
    gf_setDownloadBase((folder.path / "tree").string() + "/");
    for (const bool is2020 : {true, false}) {
        MSFS_2020.value = is2020;
        EXPECT_EQ(gf_locateAirportFile("XAAA"), "archive/stock/XAAA.xml");
        EXPECT_EQ(gf_locateAirportFile("XBBB"), "");
        AirportReading reading;
        reading.code = "XAAA";
        EXPECT_EQ(gf_readApf("archive/stock/XAAA.xml", reading), "");
        EXPECT_EQ(reading.file.airportName + "/" + reading.file.publisher, "Alpha, East/stock");
        EXPECT_EQ(reading.file.altitude, 33);
        ASSERT_EQ(reading.file.stands.size(), 3u);
        const auto& stands = reading.file.stands;
        EXPECT_NEAR(stands[0].lat, 10.001, 1e-6);
        EXPECT_NEAR(stands[0].lon, 20.0005, 1e-6);
        EXPECT_NEAR(stands[1].heading * radToDeg, 269.5, 0.01);
        EXPECT_NEAR(stands[1].radius * metersPerNm, 26.5, 0.01);
        EXPECT_TRUE(stands[1].cargo && stands[1].ramp && !stands[1].heli);
        EXPECT_EQ(stands[2].id, "<H>");
        EXPECT_TRUE(stands[2].heli && !stands[2].cargo && !stands[2].ramp);
    }
    const std::filesystem::path file = "blocked/MSFS/archive/stock/XAAA.xml/in the way";
    std::filesystem::create_directories(file);
    EXPECT_THROW(rig::writeAirportFiles(readStandTables("XAAA.csv", ourInput()).airports, "blocked"),
                 std::runtime_error);
}

TEST_F(RigStands, OfTheDemonstrationAirportAreThoseOfTheProgramsTree) {
    const std::filesystem::path source = rig::sourceFolder();
    const auto tables = readStandTables(source / "rig" / "airports", ourInput());
    EXPECT_EQ(tables.complaints, Texts{});
    rig::writeAirportFiles(tables.airports, "tree");
    for (const auto& airport : tables.airports) {
        const auto name = std::filesystem::path("MSFS") / "archive" / "stock" / (airport.code + ".xml");
        EXPECT_EQ(test::readFile("tree" / name), test::readFile(source / "install" / "download" / name))
            << "build the tree anew: see docs";
    }
}

TEST_F(RigStands, AreAtAirportsOfTheInstalledDirectory) {
    airportsLife = {};
    folders.airportsXml = ourInput() / "airports_msfs.xml";
    folders.airportNamesXml = ourInput() / "airports_msfs_names.xml";
    ASSERT_TRUE(gf_readAirports());
    ASSERT_TRUE(gf_readAirportNames());
    EXPECT_GE(airportsLife.directory.size(), 4500u);
    std::string before;
    for (const Airport& airport : airportsLife.directory) {
        EXPECT_LT(before, airport.code) << "no code twice";
        before = airport.code;
        EXPECT_TRUE(std::fabs(airport.lat) <= 90 && std::fabs(airport.lon) <= 180) << airport.code;
        EXPECT_TRUE(airport.elevation > -1500 && airport.elevation < 15000) << airport.code;
        EXPECT_TRUE(airport.iata.empty() || airport.iata.size() == 3) << airport.code;
        EXPECT_TRUE(gf_airportName(airport.code)) << airport.code;
    }
    // Those for which the rig makes traffic, and those of the recordings.
    for (const auto& code :
         {"EDDF", "EDDM", "EGLL", "EHAM", "KJFK", "KLAX", "KSFO", "LEBL", "LFBO", "LSZH", "YSSY"}) {
        const auto listed = gf_findAirport(code);
        const auto* known = rig::findKnownAirport(code);
        ASSERT_TRUE(listed && known) << code;
        EXPECT_LT(gf_distanceNm(listed->lat, listed->lon, known->lat, known->lon), 1) << code;
        EXPECT_NEAR(listed->elevation, known->elevationFt, 5) << code;
    }
    for (const auto& code : {"KLGA", "KEWR", "KDCA"}) EXPECT_TRUE(gf_findAirport(code)) << code;
    const auto tables = readStandTables(rig::sourceFolder() / "rig" / "airports", ourInput());
    for (const auto& airport : tables.airports) {
        const auto listed = gf_findAirport(airport.code);
        ASSERT_TRUE(listed) << airport.code;
        EXPECT_EQ(listed->elevation, airport.elevationFt) << airport.code;
        EXPECT_LT(gf_distanceNm(listed->lat, listed->lon, airport.lat, airport.lon), 0.1) << airport.code;
    }
    airportsLife = {};
}

TEST_F(RigStands, OfTheLargeAirportsAllPass) {
    const auto shared = test::sharedFolder() / "refdata" / "stands";
    if (!std::filesystem::exists(shared)) GTEST_SKIP() << "no tables in " << shared;
    const auto tables = readStandTables(shared, ourInput());
    std::size_t stands = 0;
    for (const auto& airport : tables.airports) stands += airport.stands.size();
    EXPECT_EQ(tables.airports.size(), 29u);
    EXPECT_EQ(stands, 4681u);
    EXPECT_EQ(tables.complaints, Texts{});
}

// Public tables of others, made up in their forms: what is understood of them, and the download tree made of them, as the
// program itself reads it.

#include "refdata/publictables.h"

#include "airports/airports.h"
#include "app/folders.h"
#include "app/geo.h"
#include "liveries/refdata.h"
#include "platform/files.h"
#include "refdata/register.h"
#include "refdata/stands.h"
#include "rig.h"
#include "support.h"
#include "updates/updates.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <map>

namespace fs = std::filesystem;

class PublicTables : public testing::Test {
  protected:
    PublicTables() {
        folder.enter();
        gf_buildFolders();
        airportsLife = AirportsProcess{};
    }
    ~PublicTables() override {
        gf_setDownloadBase("");
        refData = RefData{};
        airportsLife = AirportsProcess{};
    }
    // As they are told apart, registration to "type operator cargo".
    static std::map<std::string, std::string> readText(const std::string& text) {
        test::writeFile("register", text);
        std::map<std::string, std::string> rows;
        rig::readRegister("register", [&](rig::RegisterRow&& row) {
            rows[row.registration] = row.type + " " + row.airline + " " + row.cargo;
        });
        return rows;
    }
    test::ScratchFolder folder;
};

TEST_F(PublicTables, RegistersComeInManyForms) {
    const std::map<std::string, std::string> expected{{"EI-DEF", "A320  "}, {"N1", "  "}};
    EXPECT_EQ(
        readText(R"({"4ca7b5": ["EI-DEF", "A320", "00", "x"], "a00001": ["N1"], "a00002": ["", "B738"]})"),
        expected);
    EXPECT_EQ(readText(R"({"4CA7B5": {"r": "EI-DEF", "t": "A320"}, "A00001": {"r": "N1", "t": null}})"),
              expected);
    EXPECT_EQ(
        readText("\xEF\xBB\xBF[{\"reg\": \"EI-DEF\", \"icaotype\": \"A320\"},\n {\"reg\": \"N1\"}, 7, null]"),
        expected);
    EXPECT_EQ(readText("{\"icao\":\"4ca7b5\",\"reg\":\"EI-DEF\",\"icaotype\":\"A320\"}\n"
                       "{\"icao\":\"a00001\",\"reg\":\"N1\"}\n{\"icao\": cut off\n"),
              expected);
    EXPECT_EQ(readText("{\"icao\":\"a00001\",\"reg\":\"N1\"}\n"),
              (std::map<std::string, std::string>{{"N1", "  "}}));
    EXPECT_EQ(readText("'icao24','registration','typecode','operator','operatoricao'\n"
                       "'4ca7b5','EI-DEF','A320','Aer, Lingus','EIN'\n"
                       "'a00001','N1','','','DAL'\n'a00002','','B738','',''\n"),
              (std::map<std::string, std::string>{{"N1", " DAL "}}))
        << "where a comma may have moved the fields nothing is taken";
    EXPECT_EQ(
        readText(
            "icao24,registration,typecode,operator,operatoricao\n4ca7b5,EI-DEF,A320,\"Aer, Lingus\",EIN\n"),
        (std::map<std::string, std::string>{{"EI-DEF", "A320 EIN "}}));
    EXPECT_EQ(readText("hex,reg,type,operator,cargo,model\nx,D-AALA,B77L,BOX,1,777F\n"),
              (std::map<std::string, std::string>{{"D-AALA", "B77L BOX 1"}}));
    for (const char* bad : {"{\"a\": [1, 2", "a,b\n1,2\n", ""})
        EXPECT_THROW(readText(bad), std::runtime_error) << bad;
}

TEST_F(PublicTables, FilesAreKnownByWhatIsInThem) {
    fs::create_directories("all/stands");
    test::writeFile("all/airports.csv",
                    "\"id\",\"ident\",\"type\",\"name\",\"latitude_deg\",\"longitude_deg\"\n");
    test::writeFile("all/db.json", "{\"4ca7b5\": [\"EI-DEF\"]}");
    gzFile packed = gzopen("all/reg.gz", "wb");
    gzputs(packed, "hex,reg,type\n");
    gzclose(packed);
    test::writeFile("all/apt.dat", "I\n1100 Version - data cycle\n\n99\n");
    test::writeFile("all/t.csv", "designator,class,span_m\n");
    test::writeFile("all/c.csv", "designator\n");
    test::writeFile("all/photo.jpg", "\xFF\xD8 nothing known");
    test::writeFile("all/empty", "");
    test::writeFile("all/stands/EGLL.csv", "id,lat,lon,heading,radius_m,kind\n");
    test::writeFile("all/stands/index.csv", "icao,name,lat,lon,elev_ft\n");
    const auto found = rig::sortPublicFiles({"all"});
    const auto names = [](const std::vector<fs::path>& files) {
        std::vector<std::string> texts;
        for (const auto& file : files) texts.push_back(file.filename().string());
        return texts;
    };
    using Texts = std::vector<std::string>;
    EXPECT_EQ(names(found.airports), Texts{"airports.csv"});
    EXPECT_EQ(names(found.stands), (Texts{"stands", "apt.dat"}));
    EXPECT_EQ(names(found.tables.registrations), (Texts{"db.json", "reg.gz"}));
    EXPECT_EQ(names(found.tables.types), Texts{"t.csv"});
    EXPECT_EQ(names(found.tables.cargoTypes), Texts{"c.csv"});
    EXPECT_EQ(found.told.size(), 9u);
    EXPECT_THROW(rig::sortPublicFiles({"nowhere"}), std::exception);
}

TEST_F(PublicTables, AirportsBecomeADirectoryThatTheProgramReads) {
    test::writeFile("airports.csv",
                    "\"id\",\"ident\",\"type\",\"name\",\"latitude_deg\",\"longitude_deg\",\"elevation_ft\","
                    "\"gps_code\",\"iata_code\"\n"
                    "1,EGLL,large_airport,\"Heathrow, \"\"London\"\" & more\",51.4706,-0.461941,83,EGLL,LHR\n"
                    "2,US-0001,medium_airport,Code from the other column,40.5,-70,12.6,KXYZ,\n"
                    "3,EGLW,heliport,London Heliport,51.469,-0.179,18,EGLW,\n"
                    "4,EGXX,closed,Gone,51,0,10,,\n"
                    "5,EGYY,small_airport,No elevation,51,0,,,\n"
                    "6,EGZZ,small_airport,Nowhere,95,0,10,,\n");
    test::writeFile("more.csv", "icao,iata,lat,lon,elev_ft,country,name\nEGLL,XXX,0,0,0,GB,second\n"
                                "EGXX,,51,0,10,GB,still gone\nAAAA,,-0.000001,1.5,-11,GB,First\n");
    const auto rows = rig::readAirportRows({"airports.csv", "more.csv"});
    ASSERT_EQ(rows.size(), 3u);
    rig::writeAirportDirectory(rows, folders.input);
    ASSERT_TRUE(gf_readAirports());
    const auto heathrow = gf_findAirport("EGLL");
    ASSERT_TRUE(heathrow);
    EXPECT_EQ(heathrow->iata, "LHR");
    EXPECT_NEAR(heathrow->lon, -0.46194, 1e-9);
    EXPECT_EQ(gf_findAirport("KXYZ")->elevation, 13);
    EXPECT_EQ(gf_findAirport("AAAA")->elevation, -11);
    EXPECT_FALSE(gf_findAirport("EGLW") || gf_findAirport("EGXX"));
    EXPECT_NE(test::readFile(folders.input / "airports_msfs.xml").find("lat=\"0\""), std::string::npos);
}

TEST_F(PublicTables, ParkingRowsBecomeStands) {
    test::writeFile(
        "apt.dat",
        "I\n1200 Generated by hand\n\n"
        "1 33 0 0 XAAA [H] Alpha East\n"
        "1302 icao_code XALP\n1302 datum_lat 10\n1302 datum_lon 20\n"
        "100 45.00 1 0 0.25 0 2 1 09L 1 2 3\n"
        "1300 10.001 20.000 -90.00 gate heavy|jets Gate A1\n1301 D airline dlh baw\n"
        "1300 10.002 20.000 90 tie_down props Apron\n"
        "1300 10.003 20.000 90 tie_down all Apron\r\n"
        "1300 10.004 20.000 0 hangar jets Cargo\n1301 F cargo fdx\n"
        "1300 10.005 20.000 0 misc props Nobody parks here\n"
        "1300 10.006 20.000 0 tie_down helos Pad\n1301 A none\n"
        "1300 north 20.000 0 gate heavy Bad\n"
        "15 10.007 20.000 45.5 \n"
        "17 100 0 0 XHEL Heliport\n1300 11 21 0 gate helos Roof\n"
        "1 5 0 0 XBBB Beta\n1300 30.000 40.000 0 gate jets One\n1300 30.002 40.000 0 gate jets Two\n"
        "99\n");
    const auto told = rig::readAptDat("apt.dat");
    ASSERT_EQ(told.size(), 2u);
    EXPECT_NEAR(told[1].lat, 30.001, 1e-9) << "no datum: the middle of the stands";
    // The airport that a table tells of has the place of that table; one that a folder has served takes nothing more.
    fs::create_directories("stands");
    test::writeFile("stands/index.csv", "icao,name,lat,lon,elev_ft\nXBBB,Beta,30,40,7\n");
    test::writeFile("stands/XBBB.csv", "id,lat,lon,heading,radius_m,kind\nOWN,30.001,40.001,0,18,gate\n");
    const auto tables =
        rig::readStandTables({"stands", "apt.dat"}, {{"XALP", "", "Alpha", 10.01, 20.01, 44}});
    ASSERT_EQ(tables.airports.size(), 2u);
    EXPECT_EQ(tables.airports[0].code, "XBBB");
    EXPECT_EQ(tables.airports[0].stands.size(), 1u);
    const auto& alpha = tables.airports[1];
    EXPECT_EQ(alpha.elevationFt, 44);
    struct Row {
        const char* id;
        double heading, radius;
        bool cargo, ramp, heli;
    };
    const Row rows[] = {
        {"Gate A1", 270, 26, false, false, false}, {"Apron", 90, 7.5, false, true, false},
        {"Apron 2", 90, 18, false, true, false},   {"Cargo", 0, 40, true, true, false},
        {"Pad", 0, 7.5, false, false, true},       {"Parking 6", 45.5, 18, false, true, false}};
    ASSERT_EQ(alpha.stands.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const auto& stand = alpha.stands[i];
        SCOPED_TRACE(rows[i].id);
        EXPECT_EQ(stand.id, rows[i].id);
        EXPECT_EQ(stand.heading, rows[i].heading);
        EXPECT_EQ(stand.radiusM, rows[i].radius);
        EXPECT_EQ(std::make_tuple(stand.cargo, stand.ramp, stand.heli),
                  std::make_tuple(rows[i].cargo, rows[i].ramp, rows[i].heli));
    }
}

// The real tables at once: what they give, the program can use.
TEST_F(PublicTables, AWholeTreeFromRealTables) {
    const auto shared = test::sharedFolder() / "refdata";
    if (!fs::exists(shared / "airports-cc0.csv.gz")) GTEST_SKIP() << "no tables in " << shared;
    const auto at = [&](const char* name) { return plat::pathText(shared / name); };
    const auto own = [](const char* name) { return plat::pathText(rig::sourceFolder() / name); };
    ASSERT_EQ(rig::runRefdata({"--out", "tree", "--tables", own("rig/refdata/tables"), "--from", at("stands"),
                               "--from", at("airports-cc0.csv.gz"), "--from", at("airports.csv.gz"), "--from",
                               at("registrations-cc0.csv.gz"), "--from", at("types.csv"), "--from",
                               at("airlines.csv")}),
              0);
    gf_setDownloadBase("tree/");
    ASSERT_TRUE(gf_readDbase());
    EXPECT_GT(refData.dbaseRegcodes.size(), 16'000u);
    EXPECT_GT(refData.allModels.size(), 2'800u);
    fs::create_directories(folders.input);
    for (const auto& entry : fs::directory_iterator("tree/input"))
        fs::copy_file(entry.path(), folders.input / entry.path().filename(),
                      fs::copy_options::overwrite_existing);
    ASSERT_TRUE(gf_readAirports());
    std::size_t stands = 0;
    for (const auto& entry : fs::directory_iterator("tree/MSFS/archive/stock")) {
        ++stands;
        const auto airport = gf_findAirport(plat::pathText(entry.path().stem()));
        EXPECT_TRUE(airport) << entry.path();
    }
    EXPECT_EQ(stands, 29u);
}

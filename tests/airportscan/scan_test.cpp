// The scan from the packages folder to the files that it leaves: links, generated files, the scan log.

#include "scan_fixture.h"

#include "airports/reading.h"
#include "fleet/fleet.h"

#include <pugixml.hpp>

#include <set>
#include <thread>

TEST_F(AirportScanTest, LinksAndFilesOfBothSimulators) {
    refData.simaddonAirports20 = {"EDDF"};
    refData.thirdParties20 = {{"Sim Wings", {"EDDM3", "EDTT"}}, {"orbx", {"LFPO40"}}};
    refData.thirdParties24 = {{"orbx", {"LFPO1"}}};
    put("Official/OneStore/microsoft-airport-eddf/scenery/eddf.bgl", "EDDF", 2);
    put("Official/OneStore/asobo-airport-egll/scenery/egll.bgl", "EGLL", 1);
    put("Community/simwings-munich/x.BGL", "EDDM", 3);
    put("Community/simwings-tannheim/x.bgl", "EDTT", 1);
    put("Community/orbx-orly/x.bgl", "LFPO", 41);
    put("Community/orbx-second/x.bgl", "QXXX", 2);
    put("Community/handmade/x.bgl", "QYYY", 4);
    scan();
    EXPECT_EQ(simaddon(), "EDDF.txt=archive/simaddon/EDDF.xml EDDF.xml EGLL.xml ")
        << "the archive's own count of stands is not known";
    EXPECT_EQ(thirdparty(), "EDDM.txt=archive/thirdparty/Sim%20Wings/EDDM.xml "
                            "EDTT.txt=archive/thirdparty/Sim%20Wings/EDTT.xml EDTT.xml "
                            "LFPO.txt=archive/thirdparty/orbx/LFPO.xml LFPO.xml QXXX.xml QYYY.xml ");
    EXPECT_EQ(scanLog,
              "Scanning for addon airports in ~/Official\n"
              "\nTry find publisher in: ~/Official/OneStore/asobo-airport-egll/scenery/egll.bgl\n"
              "from filename => publisher simaddon\nEGLL does not exist as simaddon\n"
              "===> EGLL has 1 parkpos while archived one has 0\nGenerated EGLL.xml: 1 position\n"
              "\nTry find publisher in: ~/Official/OneStore/microsoft-airport-eddf/scenery/eddf.bgl\n"
              "from filename => publisher simaddon\n"
              "simaddon airport EDDF linked to archive/simaddon/EDDF.xml\n"
              "===> EDDF has 2 parkpos while archived one has 0\nGenerated EDDF.xml: 2 positions\n"
              "Scanning for addon airports in ~/Community\n"
              "\nTry find publisher in: ~/Community/handmade/x.bgl\n===> No publisher found\n"
              "===> QYYY has 4 parkpos while archived one has 0\nGenerated QYYY.xml: 4 positions\n"
              "\nTry find publisher in: ~/Community/orbx-orly/x.bgl\npublisher \"orbx\" found\n"
              "thirdparty airport LFPO linked to archive/thirdparty/orbx/LFPO.xml\n"
              "===> LFPO has 41 parkpos while archived one has 40\nGenerated LFPO.xml: 41 positions\n"
              "\nTry find publisher in: ~/Community/orbx-second/x.bgl\npublisher \"orbx\" found\n"
              "thirdparty orbx QXXX does not exist\n"
              "===> QXXX has 2 parkpos while archived one has 0\nGenerated QXXX.xml: 2 positions\n"
              "\nTry find publisher in: ~/Community/simwings-munich/x.BGL\npublisher \"Sim Wings\" found\n"
              "thirdparty airport EDDM linked to archive/thirdparty/Sim%20Wings/EDDM.xml\n"
              "\nTry find publisher in: ~/Community/simwings-tannheim/x.bgl\npublisher \"Sim Wings\" found\n"
              "Sim Wings EDTT EDTT invalid number\n"
              "thirdparty airport EDTT linked to archive/thirdparty/Sim%20Wings/EDTT.xml\n"
              "===> EDTT has 1 parkpos while archived one has 0\nGenerated EDTT.xml: 1 position\n");
    EXPECT_FALSE(SCAN_AIRPORTS || plat::headless::control(SCAN_AIRPORTS.control.controlId).checked);
    EXPECT_TRUE(airportScan.succeeded);
    EXPECT_THAT(log(), HasSubstr("output/info/AirportsScanLog.txt written\n"));
    EXPECT_THAT(log(), HasSubstr("Airports scan successful\n"));
    EXPECT_EQ(gf_airportName("EDDF"), std::nullopt) << "the names are let go";

    install(false);
    scan();
    EXPECT_EQ(simaddon(), "EDDF.txt=archive/simaddon/EDDF.xml EDDF.xml EGLL.xml ")
        << "what is there comes from elsewhere with this simulator, and Official is not scanned";
    EXPECT_EQ(thirdparty(), "EDDM.xml EDTT.xml LFPO.txt=archive/thirdparty/orbx/LFPO.xml QXXX.xml QYYY.xml ")
        << "a link is enough, and the other simulator's archive does not count";
}

TEST_F(AirportScanTest, AGeneratedFileHasWhatTheAirportFileReaderWants) {
    rig::BglAirport airport;
    airport.ident = "EDDF";
    airport.altitudeMm = 111'000;
    airport.helipads = {{50, 8.1, 20}, {50, 8.2, 20}};
    airport.positions = std::vector<rig::BglPosition>(2);
    airport.positions[0].name = 13, airport.positions[0].heading = 0;
    airport.positions[1].name = 12, airport.positions[1].type = 5;
    putBytes("Community/mine/x.bgl", rig::bglFile({{3, 1, {rig::bglAirport(airport)}}}));
    putBytes("Community/mine/manifest.json",
             R"({"manufacturer": "Me & <you>", "creator": "You", "title": "T"})");
    scan();
    EXPECT_THAT(scanLog, HasSubstr("Generated EDDF.xml: 4 positions, of which 2 helipads\n"));
    pugi::xml_document document;
    ASSERT_EQ(lf_loadXml(folders.myThirdparty / "EDDF.xml", document), "");
    std::string values, stands;
    for (const char* name :
         {"airport_name", "publisher", "altitude", "num_parkpos", "BGLpath", "manufacturer", "creator"})
        values += std::string(lf_fileParameter(document, name)) + "|";
    EXPECT_EQ(plain(values), "Frankfurt|unknown|364|4|~/Community/mine/x.bgl|Me & <you>|You|");
    for (const auto stand : document.child("parkpositions").children("parkpos")) {
        for (const char* name : {"id", "heading", "radius", "cargo", "heli", "ramp"})
            stands += stand.attribute(name) ? std::string(stand.attribute(name).value()) + " " : "- ";
        stands += "| ";
    }
    EXPECT_EQ(stands, "A1 90.0 20.0 true - true | B1 360.0 20.0 false - false | "
                      "helipad1 0.0 10.0 - true false | helipad2 0.0 10.0 - true false | ");
    AirportReading reading; // and it is the one that the program takes from now on
    reading.code = "EDDF";
    EXPECT_EQ(gf_readApf(gf_locateAirportFile("EDDF"), reading), "");
    EXPECT_EQ(reading.file.stands.size(), 4u);
}

TEST_F(AirportScanTest, StaysOutOfWhatHoldsNoAirports) {
    auto code = [n = 0]() mutable { return fmt::format("QX{:02}", n++); };
    for (const char* folder :
         {"fs-base", "a-tutorials", "aircraft", "bushtrip", "discovery", "point-of-interest", "simobjects",
          "vcockpits", "aig-aitraffic-x", "justflight-aicraft", "fsltl-x", "gsx-pro", "gsx-world",
          "landingchallenge", "ok/statics", "ok/AFCAD Updates", "ok/my_heliports"})
        put(fs::path("Community") / folder / "x.bgl", code(), 1);
    put("Community/ok/aircraft.bgl", code(), 1);
    put("Community/ok/y.Bgl", code(), 1);
    put("Community/ok/y.bgl.off", code(), 1);
    put("Community/ok/bgl", code(), 1);
    put("Community/Aircraft/x.bgl", "GOOD", 1);
    // Names of 250 and of 249 characters, counted over the whole path; bytes are more.
    const std::size_t room = 250 - gf_characterCount(plat::pathText(packages / "Community" / "1234567.bgl"));
    put(fs::path("Community") / (std::string(room - 1, 'l') + "/123456.bgl"), "FITS", 1);
    put(fs::path("Community") / (std::string(room - 1, 'l') + "/1234567.bgl"), code(), 1);
    put(fs::path("Community") / (std::string(room + 10, 'l') + "/x.bgl"), code(), 1);
    scan();
    EXPECT_EQ(thirdparty(), "FITS.xml GOOD.xml ");
}

TEST_F(AirportScanTest, AnAirportMetTwiceIsWrittenOnceByTheLaterFile) {
    put("Official/OneStore/a/x.bgl", "EDDF", 9);
    put("Community/b/x.bgl", "EDDF", 3);
    put("Community/c/x.bgl", "EDDF", 5);
    put("Community/c/y.bgl", "EDDM", 1);
    scan();
    pugi::xml_document document;
    lf_loadXml(folders.myThirdparty / "EDDF.xml", document);
    EXPECT_STREQ(lf_fileParameter(document, "num_parkpos"), "5");
    EXPECT_THAT(
        scanLog,
        HasSubstr(
            "has 9 parkpos while archived one has 0\nEDDF comes again in a later file, which counts\n"));
    EXPECT_THAT(scanLog,
                HasSubstr("has 5 parkpos while archived one has 0\nGenerated EDDF.xml: 5 positions\n"));
    const std::string text = log(), saved = "EDDF.xml\" saved";
    EXPECT_EQ(text.find(saved), text.rfind(saved));
}

TEST_F(AirportScanTest, AFleetIsFoundAsItIsEachTimeAlike) {
    const rig::RefTables tables =
        rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables"));
    for (const bool is2020 : {true, false}) {
        SCOPED_TRACE(is2020);
        rig::FleetOptions options;
        options.folder = is2020 ? "fleet20" : "fleet24";
        options.is2020 = is2020;
        options.liveries = 1;
        options.sceneries = 32;
        const auto summary = rig::writeFleet(tables, options);
        MSFS_2020.value = is2020;
        gf_installPathParameter().set(plat::pathText(summary.packages));
        refData.publisherGroups = tables.publishers;
        lf_emptyFolder(folders.mySimaddon);
        scan();
        std::string expectedThird, expectedOwn;
        std::set<std::string> third, own;
        for (const auto& airport : summary.airports)
            (airport.publisher == "simaddon" ? own : third).insert(airport.code + ".xml");
        for (const auto& name : third) expectedThird += name + " ";
        for (const auto& name : own) expectedOwn += name + " ";
        EXPECT_EQ(thirdparty(), expectedThird);
        EXPECT_EQ(simaddon(), expectedOwn);
        std::size_t aborted = 0;
        for (auto at = scanLog.find("search aborted"); at != scanLog.npos;
             at = scanLog.find("search aborted", at + 1))
            ++aborted;
        EXPECT_EQ(aborted, 4u) << "the cut ones, and one with a wild table";
        EXPECT_EQ(scanLog.find("Not recognised airport") != scanLog.npos, !is2020);
        for (const auto& airport : summary.airports) {
            pugi::xml_document document;
            lf_loadXml((airport.publisher == "simaddon" ? folders.mySimaddon : folders.myThirdparty) /
                           (airport.code + ".xml"),
                       document);
            EXPECT_EQ(std::to_string(airport.stands), lf_fileParameter(document, "num_parkpos"))
                << airport.code;
            EXPECT_EQ(airport.publisher, lf_fileParameter(document, "publisher")) << airport.file;
        }
        const std::string first = scanLog;
        scan();
        EXPECT_EQ(scanLog, first);
    }
}

TEST_F(AirportScanTest, FoldersThatAreNotThere) {
    gf_installPathParameter().set("");
    scan();
    EXPECT_THAT(log(), HasSubstr("Warning: Scan has not found any add-on airports\n"));
    EXPECT_EQ(gf_shownMessage(), "Warning: Scan has not found any add-on airports");
    EXPECT_FALSE(SCAN_AIRPORTS) << "it has been scanned";
    EXPECT_FALSE(airportScan.succeeded);

    install(true);
    fs::remove(packages / "Official");
    fs::remove(packages / "Community");
    test::writeFile(packages / "Community", "");
    scan();
    EXPECT_THAT(log(), HasSubstr("~/Official does not exist, skipped!\n"));
    EXPECT_THAT(log(), HasSubstr("~/Community is not a folder name, skipped!\n"));
}

TEST_F(AirportScanTest, TheFormerResultsGoFirst) {
    for (const auto& folder : {folders.mySimaddon, folders.myThirdparty, fs::path("TBLO")}) {
        fs::create_directories(folder / "sub");
        test::writeFile(folder / "OLDX.xml", "");
        test::writeFile(folder / "sub" / "x", "");
    }
    test::writeFile(folders.airportsScanLog, "old");
    put("Community/b/x.bgl", "EDDF", 3);
    scan();
    EXPECT_EQ(thirdparty(), "EDDF.xml ");
    EXPECT_EQ(simaddon(), "");
    EXPECT_FALSE(fs::exists("TBLO"));
    EXPECT_THAT(scanLog, Not(HasSubstr("old")));

    fs::remove(folders.airportsScanLog); // what the program does not read does not stop it
    fs::create_directories(folders.airportsScanLog / "sub");
    test::writeFile("TBLO", "");
    SCAN_AIRPORTS.value = true;
    lf_scanAirports();
    EXPECT_EQ(thirdparty(), "EDDF.xml ");
    EXPECT_THAT(log(), HasSubstr("problems with removing previous files (maybe still open?)\n"));
    EXPECT_FALSE(SCAN_AIRPORTS);

    fs::remove_all(folders.myThirdparty);
    test::writeFile(folders.myThirdparty, "");
    EXPECT_THAT([&] { scan(); }, testing::ThrowsMessage<std::exception>(testing::StartsWith("5: ")));
    EXPECT_TRUE(SCAN_AIRPORTS);
}

// Nothing but the walk decides what is found and in which order it is told: the pool's threads race.
TEST_F(AirportScanTest, AStoppedScanLeavesTheNextStartToScanAgainAndFindTheSame) {
    for (int i = 0; i < 40; ++i) put(fmt::format("Community/p{}/x.bgl", i), fmt::format("QX{:02}", i), 2);
    const fs::path cut = packages / "Community/p7/x.bgl";
    test::writeFile(cut, test::readFile(cut).substr(0, fs::file_size(cut) - 60));
    scan();
    EXPECT_THAT(scanLog, HasSubstr("search aborted, futs inner, \nlf_decodeBgl\n~/Community/p7/x.bgl\n"));
    const std::string whole = thirdparty(), wholeLog = scanLog;
    EXPECT_THAT(whole, HasSubstr("QX39.xml"));
    app.stopRequested.set();
    scan();
    EXPECT_TRUE(SCAN_AIRPORTS) << "the request stays";
    EXPECT_EQ(thirdparty(), "") << "nothing of the former scan, which may be wrong by now";
    app.stopRequested.clear();
    scan();
    EXPECT_EQ(thirdparty(), whole);
    EXPECT_EQ(scanLog, wholeLog);

    // Wherever in the scan it comes.
    for (int round = 0; round < 20; ++round) {
        std::thread stopper([round] {
            for (int i = 0; i < round * 100; ++i) std::this_thread::yield();
            app.userClosing.set();
        });
        scan();
        stopper.join();
        const bool ended = !SCAN_AIRPORTS;
        EXPECT_TRUE(!ended || thirdparty() == whole);
        app.userClosing.clear();
        scan();
        EXPECT_EQ(thirdparty(), whole);
    }
}

TEST_F(AirportScanTest, AirportsThatCannotBeReadAreNamedByWhatIsAroundThem) {
    install(false);
    refData.thirdParties24 = {{"orbx", {"LFPO5"}}};
    const std::string bytes = of2024();
    putBytes("Community/a-stem/scenery/eddf.bgl", bytes);
    putBytes("Community/b-title/scenery/x.bgl", bytes);
    putBytes("Community/b-title/manifest.json",
             R"({"title": "EDDM - Munich", "creator": "C", "manufacturer": "M"})");
    putBytes("Community/c-egll-path/x.bgl", bytes);
    putBytes("Community/c-egll-path/manifest.json", R"({"title": "London", "creator": "simwings"})");
    putBytes("Community/d-Edtt-lost/x.bgl", bytes);
    putBytes("Community/d-Edtt-lost/manifest.json", "{}");
    putBytes("Community/e-nothing/x.bgl", bytes);
    putBytes("Community/orbx-link/LFPO.BGL", bytes);
    putBytes("Community/z-microsoft-airport/edtt.bgl", bytes);
    scan();
    EXPECT_EQ(filesIn("TBLO"), "EDDF.xml EDDM.xml EGLL.xml ");
    EXPECT_EQ(plain(test::readFile("TBLO/EDDM.xml")),
              "~/Community/b-title/scenery/x.bgl\nEDDM by unknown, title: EDDM - Munich crea: C manu: M\n");
    EXPECT_EQ(plain(test::readFile("TBLO/EGLL.xml")),
              "~/Community/c-egll-path/x.bgl\nEGLL by Sim Wings, title: London crea: simwings manu: \n");
    EXPECT_EQ(thirdparty(), "LFPO.txt=archive/thirdparty/orbx/LFPO.xml ");
    EXPECT_EQ(airportScan.tbloCount, 3);
    for (const char* line :
         {"\n==> Not recognised airport ~/Community/a-stem/scenery/eddf.bgl\n"
          "Not recognised airport has ICAO code \"EDDF\" as BGL stem\n",
          "Not recognised airport has ICAO \"EDDM\" in title \"EDDM - Munich\" of manifest\n",
          "Not recognised airport has ICAO \"EGLL\" in BGL path \"~/Community/c-egll-path/x.bgl\"\n",
          "==================> Not recognised airport lost ... \"~/Community/d-Edtt-lost/x.bgl\"\n",
          "\n==> Not recognised airport ~/Community/e-nothing/x.bgl\n\n==> Not recognised",
          "==> TBLO entry TBLO/EDDF.xml created\n"})
        EXPECT_THAT(scanLog, HasSubstr(line));
    EXPECT_THAT(log(), HasSubstr("zip the folder TBLO"));

    // What goes wrong in this search takes nothing away that was found in the same file.
    rig::BglAirport readable;
    readable.ident = "QXAA";
    readable.positions = std::vector<rig::BglPosition>(2);
    airportsLife.directory.push_back({"QX", "", 50, 8, 300});
    refData.thirdParties24 = {{"orbx", {"QX"}}}; // too short for a code and a number
    putBytes(
        "Community/orbx-both/x.bgl",
        rig::bglFile({{3, 1, {rig::bglAirport(readable) + rig::bglRecord(0x113, std::string(94, '\0'))}}}));
    putBytes("Community/orbx-both/manifest.json", R"({"title": "QX"})");
    scan();
    EXPECT_THAT(scanLog,
                HasSubstr("search aborted, futs inner, \nlf_decodeBgl\n~/Community/orbx-both/x.bgl\n"));
    EXPECT_THAT(thirdparty(), HasSubstr("QXAA.xml"));

    install(true); // to which all this is no airport
    fs::remove_all(packages / "Community/orbx-both");
    scan();
    EXPECT_FALSE(fs::exists("TBLO"));
    EXPECT_EQ(airportScan.tbloCount, 0);
}

TEST_F(AirportScanTest, WhatIsGatheredForLearning) {
    const auto learned = [](const char* weeks, const char* real = "80") {
        return stock({{"Qf_real", real}, {"RT_traffic_week", weeks}});
    };
    const std::string named = R"({"manufacturer": "Somebody"})";
    for (const char* code : {"EDDF", "EDDM", "EDTT", "EGLL", "LFPO", "QXAA", "QXBB", "KMCI"}) {
        put(fs::path("Community") / code / "x.bgl", code, 2);
        putBytes(fs::path("Community") / code / "manifest.json", named);
        putOnServer(code, learned("24"));
    }
    putOnServer("EDDM", learned("23"));                      // too little
    putOnServer("EDTT", stock({{"RT_traffic_week", "40"}})); // no quality
    putOnServer("EGLL", stock({{"Qf_real", "0"}, {"RT_traffic_week", "24"}}));
    putOnServer("QXAA", "<parameters>");              // broken
    fs::remove("server/MSFS/archive/stock/QXBB.xml"); // none
    putBytes("Community/LFPO/manifest.json",
             R"({"manufacturer": "Me", "creator": "You"})"); // nobody to be found
    fs::rename(packages / "Community/KMCI", packages / "Community/tropicalsim-kmci");
    scan();
    EXPECT_EQ(filesIn("TBLO"), "EDDF.xml EGLL.xml ");
    EXPECT_EQ(airportScan.tbloCount, 2);
    EXPECT_EQ(thirdparty(), "EDDF.xml EDDM.xml EDTT.xml EGLL.xml LFPO.xml QXAA.xml QXBB.xml ")
        << "KMCI is gone";
    EXPECT_THAT(log(), HasSubstr("archive/stock/EDDF.xml\nEDDF copied to TBLO/EDDF.xml\n"));
    EXPECT_THAT(log(), HasSubstr("Failed to load QXAA.xml\nQXAA Not suitable for offline learning\n"));
    EXPECT_THAT(log(), HasSubstr("QXBB.xml\nQXBB Not suitable for offline learning\n"));
    EXPECT_FALSE(fs::exists("EDDF.xml") || fs::exists("QXAA.xml")) << "what was fetched goes again";

    // One that is linked as well gives its file away: the link is found first anyhow.
    refData.thirdParties20 = {{"orbx", {"EDDF1"}}};
    fs::rename(packages / "Community/EDDF", packages / "Community/orbx-eddf");
    scan();
    EXPECT_EQ(filesIn("TBLO"), "EDDF.xml EGLL.xml ");
    EXPECT_THAT(thirdparty(), HasSubstr("EDDF.txt=archive/thirdparty/orbx/EDDF.xml EDDM.xml"));

    fs::remove_all("server");
    scan();
    EXPECT_THAT(log(), HasSubstr("All your third party airports are done, no off line learning needed.\n"));
    EXPECT_FALSE(fs::exists("TBLO"));
}

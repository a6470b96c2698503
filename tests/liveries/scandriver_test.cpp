// The driver of the scan: which folders in which order, what becomes of their liveries, and how a scan ends.

#include "scan_test.h"

#include "platform/files.h"
#include "platform/window.h"

#include <pugixml.hpp>

namespace fs = std::filesystem;

class ScanDriver : public ScanTest {
  protected:
    ScanDriver() {
        fs::create_directories(folders.appData);
        fs::create_directories(folders.output);
        gf_readParameters();
        for (auto* p : lfolders) p->set("");
        MSFS_INSTALL_PATH.set(plat::pathText(fs::absolute("packages")));
        MSFS_2024_INSTALL_PATH.set(plat::pathText(fs::absolute("packages24")));
        fs::create_directories(community);
        SCAN_LIVERIES.value = true;
        LIG_AUTOMATIC.value = true;
        LIG_PRIORITIZE.value = false;
        plat::addCheckBox(SCAN_LIVERIES.control.controlId, 0, 0, 1, 1, true);
    }

    // A package with one aircraft.cfg: "airline title" for each section.
    static void package(const fs::path& folder, const std::vector<std::string>& sections,
                        const std::string& type = "A320") {
        std::string text = "[GENERAL]\nicao_type_designator=" + type + "\n";
        for (std::size_t i = 0; i < sections.size(); ++i)
            text += fmt::format("[FLTSIM.{}]\nicao_airline={}\ntitle={}\n", i, sections[i].substr(0, 3),
                                sections[i].substr(4));
        write(folder / "SimObjects" / "Airplanes" / type / "aircraft.cfg", text);
    }
    // "airline model title" of each livery in the file.
    static std::string fileTexts() {
        pugi::xml_document document;
        document.load_file(folders.scannedLiveries.c_str());
        std::vector<Livery> liveries;
        gf_readLiveriesDocument(document, liveries);
        return texts(liveries);
    }
    static bool scanIsStored() {
        return test::readFile(folders.parameters).find("\"SCAN_LIVERIES\" value=\"true\"") !=
               std::string::npos;
    }
    // What a scan leaves in the file, though one has been done before.
    static std::string scanned() {
        SCAN_LIVERIES.value = true;
        liveryStore.processed = false;
        gf_scanLiveries();
        return fileTexts();
    }

    static constexpr StringParameter* lfolders[] = {&lfolder0, &lfolder1, &lfolder2, &lfolder3, &lfolder4,
                                                    &lfolder5, &lfolder6, &lfolder7, &lfolder8, &lfolder9};
    const fs::path community = "packages/Community";
};

TEST_F(ScanDriver, AnAutomaticScanFindsTheFamiliesWritesTheFileAndFillsTheStore) {
    package(community / "fsltl-traffic-base", {"BAW FSLTL one", "AFR FSLTL two"});
    package(community / "aig-aitraffic-oci", {"BAW AIG one"});
    package(community / "someone-else", {"BAW other"});
    package(community / "my-user-aitraffic-pack", {"FDX mine"});
    gf_scanLiveries();
    const auto found = [&](const char* family, const char* name) {
        return fmt::format("Automatic {} scan found folder: \"{}\"\n", family,
                           plat::pathText(fs::absolute(community / name)));
    };
    const auto in = [&](const char* count, const char* name) {
        return fmt::format("{} found in {}\n", count, plat::pathText(fs::absolute(community / name)));
    };
    expectInOrder(
        {"\n\n++++++++++++++++++++++++ liveries scan automatic starts ++++++++++++++++++++++++++++++++\n",
         found("AIG", "aig-aitraffic-oci"), found("FSLTL", "fsltl-traffic-base"),
         found("user-aitraffic", "my-user-aitraffic-pack"), in("1 liverie", "aig-aitraffic-oci"),
         in("2 liveries", "fsltl-traffic-base"), in("1 liverie", "my-user-aitraffic-pack"), "\n4 in total\n",
         "\n4 liveries in output", "\nNo errors\n",
         "\n\n++++++++++++++++++++++++ liveries scan ends ++++++++++++++++++++++++++++++++\n\n",
         "\n4 liveries read from output", "\nCategory Light: No livery found\n"});
    EXPECT_EQ(fileTexts(), "AFR A320 FSLTL two |BAW A320 AIG one |BAW A320 FSLTL one |FDX A320 mine |");
    EXPECT_FALSE(SCAN_LIVERIES || plat::isChecked(SCAN_LIVERIES.control.controlId) || scanIsStored());
    EXPECT_EQ(display.liveryCount, 4u);
    EXPECT_TRUE(liveryStore.processed);
    EXPECT_EQ(gf_displayText(DisplayText::simLabel), "MSFS");
    EXPECT_EQ(gf_shownMessage(), "");
    fs::remove_all("packages");
    mark();
    gf_scanLiveries();
    EXPECT_EQ(sinceMark(), "Processing scanned liveries skipped; already done in previous start-up\n");
}

TEST_F(ScanDriver, TheOrderOfPackagesIsTheOrderOfPriority) {
    LIG_PRIORITIZE.value = true;
    const std::string letters[] = {"AFJ", "AJF", "FAJ", "FJA", "JAF", "JFA"};
    package(community / "aig-aitraffic-oci", {"BAW A", "AFR a"});
    package(community / "fsltl-traffic-base", {"BAW F", "RYR f"});
    package(community / "justflight-fstraffic-module", {"BAW J", "TUI j"});
    for (int order = 1; order <= 6; ++order) {
        SCOPED_TRACE(order);
        AI_PACKAGE_ORDER.value = order;
        EXPECT_EQ(scanned(),
                  fmt::format("AFR A320 a |BAW A320 {} |RYR A320 f |TUI A320 j |", letters[order - 1][0]));
    }
}

TEST_F(ScanDriver, TakesOfEachFamilyTheFirstEntryThatFits) {
    struct Row {
        const char* name;
        bool is2020;
        std::vector<const char*> entries;
        std::string taken; // the title in the file
    };
    const Row rows[] = {
        {"plain before beta by the alphabet", true, {"aig-aitraffic-oci-beta", "aig-aitraffic-oci"}, "1"},
        {"the beta alone", true, {"aig-aitraffic-oci-beta"}, "0"},
        {"a key of Just Flight", true, {"zz-justflight-fstraffic-module"}, "0"},
        {"and its other one",
         true,
         {"zz-justflight-fstraffic-module", "justflight-aircraft-traffic-fleet"},
         "1"},
        {"never a converted one", true, {"fsltl-traffic-base_CVT_"}, ""},
        {"nor below it", true, {"x_CVT_fsltl-traffic-base", "fsltl-traffic-base"}, "1"},
        {"case matters", true, {"FSLTL-traffic-base"}, ""},
        {"the simulator of 2024", false, {"fsltl-traffic-base"}, "0"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        MSFS_2020.value = row.is2020;
        const fs::path home = row.is2020 ? "packages" : "packages24";
        fs::remove_all("packages");
        fs::remove_all("packages24");
        for (std::size_t i = 0; i < row.entries.size(); ++i)
            package(home / "Community" / row.entries[i], {fmt::format("BAW {}", i)});
        SCAN_LIVERIES.value = true;
        liveryStore.processed = false;
        EXPECT_EQ(errorOf(gf_scanLiveries), row.taken.empty() ? 43 : 0);
        EXPECT_EQ(fileTexts(), row.taken.empty() ? "" : "BAW A320 " + row.taken + " |");
        EXPECT_EQ(gf_displayText(DisplayText::simLabel), row.is2020 ? "MSFS" : "MSFS2024");
    }
    MSFS_2020.value = true;
}

TEST_F(ScanDriver, PrioritizesByAirlineAndModelOverTheFoldersThatTheUserNamed) {
    LIG_AUTOMATIC.value = false;
    package("first", {"BAW first"});
    package("second", {"BAW second", "AFR second a"});
    package("second", {"BAW second 321"}, "A319");
    lfolder0.set("first");
    lfolder1.set("not there");
    lfolder3.set("file");
    lfolder9.set("second");
    test::writeFile("file", "x");
    for (const bool prioritized : {false, true}) {
        LIG_PRIORITIZE.value = prioritized;
        EXPECT_EQ(scanned(),
                  prioritized ? "AFR A320 second a |BAW A319 second 321 |BAW A320 first |"
                              : "AFR A320 second a |BAW A319 second 321 |BAW A320 first |BAW A320 second |");
    }
    EXPECT_TRUE(logged("liveries scan manual starts"));
    EXPECT_TRUE(logged("\nnot there does not exist, skipped!\nfile is not a folder name, skipped!\n"));
}

TEST_F(ScanDriver, PriorityStopsAtTenAndSkipsWhatIsNoFolder) {
    LIG_PRIORITIZE.value = true;
    std::vector<fs::path> list{"", "not there"};
    for (int i = 1; i <= 12; ++i) {
        list.push_back(fmt::format("f{}", i));
        // Folders 9 and 10 have BAW; 10, 11 and 12 AFR.
        std::vector<std::string> sections{fmt::format("RYR only {}", i)};
        if (i == 9 || i == 10) sections.push_back(fmt::format("BAW b{}", i));
        if (i >= 10) sections.push_back(fmt::format("AFR a{}", i));
        package(list.back(), sections);
    }
    ASSERT_TRUE(gf_runFolderScan(list));
    EXPECT_EQ(fileTexts(), "AFR A320 a10 |AFR A320 a11 |AFR A320 a12 |BAW A320 b9 |RYR A320 only 1 |");
}

TEST_F(ScanDriver, BringsCodesInLineBeforeItSorts) {
    write("f/a/aircraft.cfg",
          "icao_type_designator=A319\n[FLTSIM.0]\ntitle=one\nicao_airline=AFR\natc_id=G-EUUA\n"
          "[FLTSIM.1]\ntitle=two\nicao_airline=BAW\natc_id=G-EUUA\n");
    ASSERT_TRUE(gf_runFolderScan({"f"}));
    EXPECT_EQ(fileTexts(), "BAW A320 one G-EUUA|BAW A320 two G-EUUA|");
    EXPECT_FALSE(logged("in total")) << "of one folder";
    EXPECT_TRUE(fs::exists(gf_scanReportPath(ScanReport::conversions)));
}

TEST_F(ScanDriver, WritesAndReadsTitlesOfAnyCharactersAlike) {
    const std::string titles[] = {"Zürich", "a & <b>", "it's", "tab\there"};
    std::string cfg = "icao_type_designator=A320\n";
    for (std::size_t i = 0; i < std::size(titles); ++i)
        cfg += fmt::format("[FLTSIM.{}]\nicao_airline=BAW\ntitle={}\n", i, titles[i]);
    write("f/aircraft.cfg", cfg);
    ASSERT_TRUE(gf_runFolderScan({"f"}));
    EXPECT_EQ(fileTexts(), "BAW A320 Zürich |BAW A320 a & <b> |BAW A320 it's |BAW A320 tab\there |");
}

TEST_F(ScanDriver, AScanThatFindsNothingIsAnErrorAndStaysAskedFor) {
    test::writeFile(folders.scannedLiveries, "<liveries><liv title=\"old\"/></liveries>");
    display.liveryCount = 7;
    EXPECT_EQ(errorOf(gf_scanLiveries), 43);
    EXPECT_FALSE(fs::exists(folders.scannedLiveries)) << "the old file goes before the search";
    EXPECT_EQ(display.liveryCount, 0u);
    EXPECT_TRUE(SCAN_LIVERIES && scanIsStored());
    LIG_AUTOMATIC.value = false;
    EXPECT_EQ(errorOf(gf_scanLiveries), 48);
    fs::create_directory("empty");
    lfolder4.set("empty");
    EXPECT_EQ(errorOf(gf_scanLiveries), 53);
    EXPECT_TRUE(logged("\nNo liveries found in empty\n"));
    package("empty", {"BAW one"}, "ZZZZ");
    EXPECT_EQ(errorOf(gf_scanLiveries), 53) << "no valid model";
    EXPECT_FALSE(fs::exists(gf_scanReportPath(ScanReport::invalidModel)));
    EXPECT_EQ(reports(), "") << "the lists are empty for the next scan";
}

TEST_F(ScanDriver, AScanThatIsStoppedOrCannotBeWrittenLeavesNothingThatTheNextStartWouldTake) {
    package(community / "aig-aitraffic-oci", {"BAW one"});
    test::writeFile(folders.scannedLiveries, "<liveries><liv title=\"old\"/></liveries>");
    app.userClosing.set();
    gf_scanLiveries();
    EXPECT_FALSE(fs::exists(folders.scannedLiveries));
    EXPECT_TRUE(SCAN_LIVERIES && scanIsStored());
    EXPECT_FALSE(liveryStore.processed) << "and nothing is read";
    EXPECT_EQ(reports(), "");
    app = AppRun{};
    gf_scanLiveries();
    EXPECT_EQ(fileTexts(), "BAW A320 one |");
    EXPECT_FALSE(scanIsStored());

    SCAN_LIVERIES.value = true;
    liveryStore.processed = false;
    fs::remove_all(folders.output); // the file cannot be written
    test::writeFile(folders.output, "in the way");
    EXPECT_EQ(errorOf(gf_scanLiveries), 51);
    EXPECT_TRUE(logged("could not save to \"output"));
}

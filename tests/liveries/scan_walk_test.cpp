// The walk through a folder tree, the pool of readers, and the report files.

#include "scan_test.h"

#include <set>
#include <thread>

namespace fs = std::filesystem;

using ScanWalk = ScanTest;

TEST_F(ScanWalk, TakesFilesInTheOrderOfTheSortedTree) {
    write("fleet/b/AIRCRAFT.CFG", cfg("2"));
    write("fleet/a/z/aircraft.cfg", cfg("1"));
    write("fleet/aircraft.cfg/Aircraft.Cfg", cfg("3")); // a folder of that name
    write("fleet/c/aircraft.cfg", cfg("4"));
    write("fleet/c/x/aircraft.cfg", cfg("5"));
    write("fleet/Z/aircraft.cfg", cfg("0")); // by bytes, so capitals first
    write("fleet/c/aircraft.cfg.bak", cfg("no"));
    write("fleet/c/aircraft.txt", cfg("no"));
    write("fleet/c/xaircraft.cfg", cfg("no"));
    const auto liveries = search("fleet", 7);
    EXPECT_EQ(titles(liveries), "0 1 3 2 4 5 ");
    for (const auto& livery : liveries) EXPECT_EQ(livery.priority, 7);
    EXPECT_EQ(plain(gf_fileOfTitle("5")), "fleet/c/x/aircraft.cfg");
    EXPECT_EQ(gf_fileOfTitle("no"), "");
    EXPECT_EQ(titles(search("fleet")), "") << "all titles are taken in this scan";
    EXPECT_EQ(lines(ScanReport::incompleteSection).size(), 6u);
    gf_clearScanLists();
    EXPECT_EQ(titles(search("fleet/c")), "4 5 ");
}

TEST_F(ScanWalk, DoesNotGoBelowExcludedNames) {
    const std::vector<std::string> words{"airport",   "lvfr",     "mkstudios", "simwings", "fsdreamteam",
                                         "navigraph", "flytampa", "inibuilds", "_CVT_"};
    for (const auto& word : words) write("fleet/my" + word + "s/aircraft.cfg", cfg(word));
    write("fleet/Airport_cvt_LVFR/aircraft.cfg", cfg("case"));
    write("fleet/port/air/aircraft.cfg", cfg("parts"));
    EXPECT_EQ(titles(search()), "case parts ");
    gf_clearScanLists();
    for (const char* place : {"my-airport", "my-airport/x"})
        write(fs::path(place) / "aircraft.cfg", cfg(place));
    EXPECT_EQ(titles(search("my-airport")), "my-airport ") << "the words count in the whole path";
}

TEST_F(ScanWalk, WhatCannotBeReadIsToldAndPassedOver) {
    EXPECT_EQ(titles(search("none")), "");
    EXPECT_TRUE(logged("cannot read folder none: "));
    write("fleet/a/aircraft.cfg", cfg("a"));
    write("fleet/b/aircraft.cfg", "");
    fs::resize_file("fleet/b/aircraft.cfg", 70'000'000);
    write("fleet/c/aircraft.cfg", std::string(5'000'000, 'x') + "\n" + cfg("c", std::string(100'000, '[')));
    write("fleet/d/aircraft.cfg", cfg("d"));
    write("fleet/e/aircraft.cfg", "");
    write("fleet/f/aircraft.cfg", "\xFF");
    write("fleet/g/aircraft.cfg", std::string("i\0c\0a\0o\0", 8));
    write("fleet/h/aircraft.cfg", "\xFF\xFEx");
    write("fleet/j/aircraft.cfg", cfg("j"));
    EXPECT_EQ(titles(search()), "a c d j ");
    EXPECT_TRUE(logged("exception in lf_searchLiveriesinFile fleet/b/aircraft.cfg: the file is too large"));
    EXPECT_TRUE(logged("conversion from error from utf16 to utf8, code: 1113"));
    EXPECT_EQ(lines(ScanReport::emptyFile).size(), 3u);
    gf_clearMessage();
}

// Sections that clash, fixes and faults in many files: whoever reads them first must make no difference.
TEST_F(ScanWalk, TheResultDependsOnNeitherThreadsNorTiming) {
    constexpr int files = 160; // more than the pool holds at once
    std::set<std::string> expected;
    for (int i = 0; i < files; ++i) {
        const std::string title = "T" + std::to_string(i % 60);
        std::string text = cfg(
            title, "[FLTSIM." + std::to_string(i % 7 == 0 ? 2 : 1) + "]\ntitle=U" + std::to_string(i % 50) +
                       "\nicao_airline=" + (i % 3 ? "AFR" : "QQQ") + "\natc_id=G-EUUA,*\n");
        if (i % 7 != 0) {
            expected.insert(title);
            if (i % 3) expected.insert("U" + std::to_string(i % 50));
        }
        if (i % 11 == 0) text.replace(text.find("A320"), 4, "A32N");
        if (i % 50 == 0) text.insert(0, std::string(200'000, ';') + "\n"); // slow ones
        write(fmt::format("fleet/{:03}/{}/aircraft.cfg", (i * 37) % files, i), text);
    }
    std::string first, firstReports, firstLog;
    for (const unsigned threads : {1u, 2u, 3u, 16u, 0u}) {
        scanThreads = threads;
        gf_closeLog();
        gf_openLog();
        const std::string found = texts(search()), told = reports();
        std::string log = test::readFile("Log.txt");
        log.erase(0, log.find('\n')); // the time
        if (first.empty()) first = found, firstReports = told, firstLog = log;
        EXPECT_EQ(found, first) << threads;
        EXPECT_EQ(told, firstReports) << threads;
        EXPECT_EQ(log, firstLog) << threads;
        gf_clearScanLists();
    }
    EXPECT_EQ(static_cast<std::size_t>(std::count(first.begin(), first.end(), '|')), expected.size());
    EXPECT_NE(firstReports.find("2: Model fix"), std::string::npos);
    EXPECT_NE(firstLog.find("wild cards no longer supported"), std::string::npos);
}

TEST_F(ScanWalk, AStopEndsTheSearchWithWhatItHas) {
    constexpr int files = 160; // more than the pool holds at once
    for (int i = 0; i < files; ++i)
        write("fleet/" + std::to_string(i) + "/aircraft.cfg", cfg(std::to_string(i)));
    app.stopRequested = true;
    EXPECT_EQ(search().size(), 0u);
    app.stopRequested = false;
    app.userClosing = true;
    EXPECT_EQ(search().size(), 0u);
    app.userClosing = false;
    // In the middle, once the first file's line is in the log: what there is has no gaps.
    write("fleet/0/aircraft.cfg", cfg("0", "atc_id=A*BCD\n"));
    std::thread stopper([] {
        while (!logged("wild cards")) std::this_thread::yield();
        app.stopRequested = true;
    });
    const auto some = search();
    stopper.join();
    app.stopRequested = false;
    gf_clearScanLists();
    const auto all = search();
    ASSERT_EQ(all.size(), static_cast<std::size_t>(files)) << "the next search finds all";
    ASSERT_GT(some.size(), 0u);
    for (std::size_t i = 0; i < some.size(); ++i) EXPECT_EQ(some[i].title, all[i].title);
}

// Folders that go while they are searched are no reason to lose the others.
TEST_F(ScanWalk, AFolderThatVanishesDuringTheWalk) {
    constexpr int stays = 60, goes = 60;
    for (int i = 0; i < stays; ++i)
        write(fmt::format("fleet/s{:03}/aircraft.cfg", i), cfg("s" + std::to_string(i)));
    for (int i = 0; i < goes; ++i)
        write(fmt::format("fleet/r{:03}/x/aircraft.cfg", i), cfg("r" + std::to_string(i)));
    std::thread remover([] {
        std::error_code held; // Windows keeps a folder that is being read
        for (int i = goes - 1; i >= 0; --i) fs::remove_all(fmt::format("fleet/r{:03}", i), held);
    });
    const auto liveries = search();
    remover.join();
    EXPECT_EQ(
        std::count_if(liveries.begin(), liveries.end(), [](const Livery& l) { return l.title[0] == 's'; }),
        stays);
    EXPECT_EQ(reports(), "");
}

TEST_F(ScanWalk, ReportsGoToTheirFilesAndASummaryToTheLog) {
    gf_writeScanReports();
    EXPECT_TRUE(logged("\n\nNo errors\n"));
    EXPECT_FALSE(logged("Information") || fs::exists(folders.errors));
    int n = 0;
    for (auto& list : scanReports.lines) list = {"b" + std::to_string(n), "a" + std::to_string(n)}, ++n;
    lines(ScanReport::invalidModel).pop_back();
    gf_writeScanReports();
    const auto content = [](ScanReport report) { return plain(test::readFile(gf_scanReportPath(report))); };
    EXPECT_EQ(content(ScanReport::invalidAirline), "a0\nb0\n");
    EXPECT_EQ(content(ScanReport::fixes), "b2\na2\n") << "in order of arrival";
    EXPECT_EQ(content(ScanReport::conversions), "b6\na6\n");
    EXPECT_EQ(gf_scanReportPath(ScanReport::incompleteSection),
              folders.errors / "IncompleFltsimSections.txt");
    EXPECT_EQ(gf_scanReportPath(ScanReport::emptyFile), folders.info / "AircraftCfgWithNoFltsimSection.txt");
    const auto path = [](ScanReport report) { return plain(gf_scanReportPath(report)) + "\n"; };
    EXPECT_TRUE(logged(
        "\n\nErrors:\n2 invalid airline codes, see " + path(ScanReport::invalidAirline) +
        "1 invalid model code, see " + path(ScanReport::invalidModel) + "2 code fixes, see " +
        path(ScanReport::fixes) + "2 invalid aircraft.cfg files, see " + path(ScanReport::invalidFile) +
        "2 incomplete [fltsim.x] sections, see " + path(ScanReport::incompleteSection) +
        "\nInformation:\n2 empty aircraft.cfg files, see " + path(ScanReport::emptyFile) +
        "2 liveries updated with real live data from dbase, see " + path(ScanReport::conversions)));
    write(folders.info / "LiveriesSkippedOnPriority.txt", "old");
    write(folders.errors / "InlineRegcodes.txt", "old");
    gf_deleteScanReports();
    EXPECT_FALSE(fs::exists(folders.errors) || fs::exists(gf_scanReportPath(ScanReport::emptyFile)));
    EXPECT_FALSE(fs::exists(folders.info / "LiveriesSkippedOnPriority.txt"));
    EXPECT_TRUE(fs::exists(gf_scanReportPath(ScanReport::conversions))) << "of the last scan that had some";
    gf_deleteScanReports();
    gf_clearScanLists();
    EXPECT_EQ(reports(), "");
}

TEST_F(ScanWalk, TheCodeCheckTakesWhatTheRegistrationsKnow) {
    const auto checked = [](Livery livery) {
        gf_checkLiveryCode(livery);
        return text(livery);
    };
    EXPECT_EQ(checked({"BAW", "A320", "T", "N123AB"}), "AFR B772 T N123AB cargo")
        << "the operator goes first";
    EXPECT_EQ(checked({"AFR", "B738", "T", "GEUUA", true}), "BAW A320 T GEUUA") << "without its dash";
    EXPECT_EQ(checked({"BAW", "A320", "T", "G-EUUA"}), "BAW A320 T G-EUUA");
    EXPECT_EQ(checked({"BAW", "A320", "T", "G-NULL"}), "BAW A320 T G-NULL") << "empty fields replace nothing";
    EXPECT_EQ(checked({"BAW", "A320", "T", "G-ZZZZ", true}), "BAW A320 T G-ZZZZ cargo");
    const std::string title = "T" + std::string(79, ' ');
    EXPECT_EQ(
        lines(ScanReport::conversions),
        (std::vector<std::string>{title + " N123AB cargo false => true", title + " N123AB airl BAW => AFR",
                                  title + " N123AB model A320 => B772", title + " GEUUA cargo true => false",
                                  title + " GEUUA airl AFR => BAW", title + " GEUUA model B738 => A320"}));
}

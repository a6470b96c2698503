// What the walk meets on this system alone: links, names that differ in case, paths of any length, files that open but
// cannot be read.

#include "../scan_test.h"

namespace fs = std::filesystem;

using ScanLinks = ScanTest;

TEST_F(ScanLinks, FilesMayBeLinks) {
    write("elsewhere/aircraft.cfg", cfg("linked"));
    write("fleet/a/aircraft.cfg", cfg("2"));
    write("fleet/A/aircraft.cfg", cfg("1"));
    fs::create_directory_symlink("nowhere", "fleet/dangling");
    fs::create_directories("fleet/b");
    fs::create_symlink("nowhere", "fleet/b/aircraft.cfg");
    fs::create_symlink(fs::absolute("elsewhere/aircraft.cfg"), "fleet/b/Aircraft.cfg");
    fs::create_directories("fleet/c");
    fs::create_symlink("/proc/self/mem", "fleet/c/aircraft.cfg"); // opens, and fails when it is read
    EXPECT_EQ(titles(search()), "1 2 linked ");
    EXPECT_TRUE(logged("exception in lf_searchLiveriesinFile fleet/c/aircraft.cfg: "));
}

TEST_F(ScanLinks, FollowsLinksButNeverInCircles) {
    write("fleet/a/aircraft.cfg", cfg("a"));
    write("elsewhere/pkg/aircraft.cfg", cfg("b"));
    write("outside/aircraft.cfg", cfg("c"));
    fs::create_directory_symlink(fs::absolute("elsewhere/pkg"), "fleet/link");
    fs::create_directory_symlink(fs::absolute("elsewhere/pkg"), "fleet/link-again");
    fs::create_directory_symlink(fs::absolute("outside"), "fleet/out");
    fs::create_directory_symlink(fs::absolute("fleet"), "outside/back");
    fs::create_directory_symlink("..", "fleet/a/up");
    fs::create_directory_symlink(fs::absolute(".."), "fleet/a/upper");
    fs::create_directory_symlink("self", "fleet/a/self");
    EXPECT_EQ(titles(search()), "a b c ");
    EXPECT_EQ(reports(), "");
    EXPECT_TRUE(logged("link fleet/a/up leads to a folder of this search, not followed"));
    EXPECT_TRUE(logged("link fleet/link-again leads to a folder of this search"));
    EXPECT_TRUE(logged("link fleet/out/back leads to a folder of this search"));
    gf_clearScanLists();
    fs::create_directory_symlink(fs::absolute("fleet"), "start");
    EXPECT_EQ(titles(search("start")), "a b c ") << "the folder itself may be a link";
}

TEST_F(ScanLinks, DoesNotGoBelowAPathOf250Characters) {
    // "fleet", a separator, and a name of the rest; "ü" is one character of two bytes.
    const auto place = [](std::size_t characters, const std::string& start) {
        return fs::path("fleet") / (start + std::string(characters - 6 - 1, 'x'));
    };
    write(place(249, "a") / "aircraft.cfg", cfg("249"));
    write(place(250, "b") / "aircraft.cfg", cfg("250"));
    write(place(249, "ü") / "aircraft.cfg", cfg("249 of more bytes"));
    write(place(248, "c") / "d" / "aircraft.cfg", cfg("below"));
    write(place(240, "e") / "1234567" / "aircraft.cfg", cfg("248"));
    EXPECT_EQ(titles(search()), "249 248 249 of more bytes ");
}

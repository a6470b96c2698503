// Replacing files on a Windows file system, where an open or protected file stands in the way; and addresses.

#include "platform/files.h"

#include "platform/clock.h"
#include "support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

#include <windows.h>

namespace {

namespace fs = std::filesystem;

std::size_t entries(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

// As a virus scanner or an editor holds a file.
HANDLE openAlone(const fs::path& path) {
    return CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

TEST(Files, WaitsForAFileThatIsHeldForAMoment) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    test::writeFile(path, "old");
    const auto whileHeld = [&path](auto act) {
        const HANDLE held = openAlone(path);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        std::thread holder([held] {
            plat::sleepMs(100);
            CloseHandle(held);
        });
        act();
        holder.join();
    };
    whileHeld([&] { EXPECT_TRUE(plat::replaceFile(path, "new")); });
    EXPECT_EQ(test::readFile(path), "new");
    EXPECT_EQ(entries(scratch.path), 1u);
    const fs::path older = scratch.path / "parameters0.xml";
    test::writeFile(older, "oldest");
    whileHeld([&] { EXPECT_FALSE(plat::moveFile(path, older)); });
    EXPECT_EQ(test::readFile(older), "new");
    EXPECT_EQ(entries(scratch.path), 1u);
}

TEST(Files, KeepsTheOldContentWholeWhenTheFileIsHeldOrProtected) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    test::writeFile(path, "what was there");
    const HANDLE held = openAlone(path);
    EXPECT_FALSE(plat::replaceFile(path, "new"));
    CloseHandle(held);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(plat::replaceFile(path, "new"));
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(test::readFile(path), "what was there");
    EXPECT_EQ(entries(scratch.path), 1u);
}

TEST(Files, AHiddenFileStaysHidden) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    test::writeFile(path, "old");
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN);
    EXPECT_TRUE(plat::replaceFile(path, "new"));
    EXPECT_TRUE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(test::readFile(path), "new");
}

TEST(Files, WritesAddressesWithDrivesAndShares) {
    EXPECT_EQ(plat::fileUrl("C:\\a\\b-c_d.e~f\\1.zip"), "file:///C:/a/b-c_d.e~f/1.zip");
    EXPECT_EQ(plat::fileUrl("c:/my files/"), "file:///c:/my%20files/");
    EXPECT_EQ(plat::fileUrl(L"C:\\\u00DC\\100%#1.txt"), "file:///C:/%C3%9C/100%25%231.txt");
    EXPECT_EQ(plat::fileUrl("C:\\a\\..\\b\\.\\c"), "file:///C:/b/c");
    EXPECT_EQ(plat::fileUrl("\\\\server\\share\\x"), "file:////server/share/x");
    EXPECT_EQ(plat::fileUrl("download/x"), plat::fileUrl(fs::current_path()) + "/download/x");
}

TEST(Files, PathsAreTextWithBackslashesAndNeverRefused) {
    EXPECT_EQ(plat::pathText(L"C:/a\\\u20AC/b"), "C:\\a\\\xE2\x82\xAC\\b");
    EXPECT_EQ(plat::textPath("C:\\Z\xC3\xBCrich").native(), L"C:\\Z\u00FCrich");
    EXPECT_EQ(plat::pathText(fs::path(std::wstring(L"a\xD800z"))), "a\xEF\xBF\xBDz");
    EXPECT_EQ(plat::textPath("a\xFFz").native(), L"a\uFFFDz");
}

} // namespace

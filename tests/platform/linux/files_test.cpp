// Replacing files on a Linux file system: a full disk, links, permissions; and addresses.

#include "platform/files.h"

#include "support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include <sys/resource.h>

namespace {

namespace fs = std::filesystem;

std::size_t entries(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

// No file may grow beyond a few bytes while it lives: a full disk, for this process alone.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) : formerHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &former);
        const rlimit tiny{bytes, former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tiny);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &former);
        std::signal(SIGXFSZ, formerHandler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    rlimit former{};
    void (*formerHandler)(int);
};

TEST(Files, KeepsTheOldContentWholeWhenTheDiskIsFull) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    ASSERT_TRUE(plat::replaceFile(path, "what was there"));
    bool replaced = true;
    {
        const FullDisk full(20);
        replaced = plat::replaceFile(path, std::string(1000, 'x'));
    }
    EXPECT_FALSE(replaced);
    EXPECT_EQ(test::readFile(path), "what was there");
    EXPECT_EQ(entries(scratch.path), 1u);
}

TEST(Files, KeepsThePermissionsOfAFile) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    test::writeFile(path, "old");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(plat::replaceFile(path, "new"));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_FALSE(plat::replaceFile("/proc/x.xml", "text")); // takes no new file from anybody
}

TEST(Files, ReplacesWhatALinkNamesAndKeepsTheLink) {
    const test::ScratchFolder scratch, elsewhere;
    const fs::path real = elsewhere.path / "kept.xml", link = scratch.path / "parameters.xml";
    test::writeFile(real, "old");
    fs::create_symlink(real, link);
    EXPECT_TRUE(plat::replaceFile(link, "new"));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(test::readFile(real), "new");
    fs::remove(real);
    EXPECT_FALSE(plat::replaceFile(link, "newer")); // a link to nothing
    EXPECT_EQ(entries(elsewhere.path), 0u);
}

TEST(Files, AFolderTellsItsLinksAndWhereTheyLead) {
    const test::ScratchFolder scratch;
    const fs::path real = scratch.path / "real";
    fs::create_directory(real);
    fs::create_symlink("real", scratch.path / "to folder");
    fs::create_symlink("/dev/null", scratch.path / "to device");
    fs::create_symlink("nowhere", scratch.path / "to nothing");
    std::error_code failed;
    for (const plat::FolderEntry& entry : plat::readFolder(scratch.path, failed)) {
        EXPECT_EQ(entry.isLink, entry.name != "real");
        EXPECT_EQ(entry.isFolder, entry.name == "real" || entry.name == "to folder");
        EXPECT_FALSE(entry.isFile);
    }
    EXPECT_EQ(plat::realPath(scratch.path / "to folder", failed), plat::realPath(real, failed));
    EXPECT_TRUE(plat::realPath(scratch.path / "to nothing", failed).empty());
    EXPECT_TRUE(failed);
}

TEST(Files, WritesAddressesThatKeepNothingButPlainCharacters) {
    EXPECT_EQ(plat::fileUrl("/a/b-c_d.e~f/1.zip"), "file:///a/b-c_d.e~f/1.zip");
    EXPECT_EQ(plat::fileUrl("/my files/"), "file:///my%20files/");
    EXPECT_EQ(plat::fileUrl("/\xC3\x9C/100%#1?.txt"), "file:///%C3%9C/100%25%231%3F.txt");
    EXPECT_EQ(plat::fileUrl("/a/../b/./c"), "file:///b/c");
    EXPECT_EQ(plat::fileUrl("download/x"),
              plat::fileUrl(fs::current_path()) + "/download/x"); // of the program folder
}

TEST(Files, PathsAreUtf8AsText) {
    const std::string text = "/tmp/Z\xC3\xBCrich/\xE2\x82\xAC";
    EXPECT_EQ(plat::pathText(plat::textPath(text)), text);
}

} // namespace

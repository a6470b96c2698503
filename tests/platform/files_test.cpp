// Replacing a file as a whole, and addresses of files.

#include "platform/files.h"

#include "support.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

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

TEST(Files, ReplacesAFileAndLeavesNothingBesideIt) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    EXPECT_TRUE(plat::replaceFile(path, "one"));
    EXPECT_EQ(test::readFile(path), "one");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    const std::string large(300'000, 'x');
    EXPECT_TRUE(plat::replaceFile(path, large));
    EXPECT_EQ(test::readFile(path), large);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(plat::replaceFile(path, ""));
    EXPECT_EQ(test::readFile(path), "");
    EXPECT_EQ(entries(scratch.path), 1u);
}

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

TEST(Files, FailsWithoutATraceWhereNoFileCanBeMade) {
    const test::ScratchFolder scratch;
    EXPECT_FALSE(plat::replaceFile(scratch.path / "no folder" / "x.xml", "text"));
    EXPECT_FALSE(plat::replaceFile("/proc/x.xml", "text")); // takes no new file from anybody
    const fs::path folder = scratch.path / "folder.xml";
    fs::create_directory(folder);
    EXPECT_FALSE(plat::replaceFile(folder, "text"));
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(entries(scratch.path), 1u);
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

TEST(Files, TwoThreadsThatReplaceTheSameFileLeaveOneOfTheTexts) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    const std::string a(50'000, 'a'), b(60'000, 'b');
    std::atomic<int> failed{0};
    const auto writeOften = [&](const std::string& text) {
        for (int i = 0; i < 20; ++i)
            if (!plat::replaceFile(path, text)) ++failed;
    };
    std::thread other([&] { writeOften(a); });
    writeOften(b);
    other.join();
    EXPECT_EQ(failed, 0);
    const std::string found = test::readFile(path);
    EXPECT_TRUE(found == a || found == b);
    EXPECT_EQ(entries(scratch.path), 1u);
}

TEST(Files, WritesAddressesThatKeepNothingButPlainCharacters) {
    EXPECT_EQ(plat::fileUrl("/a/b-c_d.e~f/1.zip"), "file:///a/b-c_d.e~f/1.zip");
    EXPECT_EQ(plat::fileUrl("/my files/"), "file:///my%20files/");
    EXPECT_EQ(plat::fileUrl("/\xC3\x9C/100%#1?.txt"), "file:///%C3%9C/100%25%231%3F.txt");
    EXPECT_EQ(plat::fileUrl("/a/../b/./c"), "file:///b/c");
    EXPECT_EQ(plat::fileUrl("download/x"),
              plat::fileUrl(fs::current_path()) + "/download/x"); // of the program folder
}

std::string fetch(const std::string& url) {
    std::string result;
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &result);
    curl_easy_setopt(
        curl, CURLOPT_WRITEFUNCTION, +[](char* data, size_t size, size_t count, void* out) {
            static_cast<std::string*>(out)->append(data, size * count);
            return size * count;
        });
    if (curl_easy_perform(curl) != CURLE_OK) result = "failed";
    curl_easy_cleanup(curl);
    return result;
}

TEST(Files, ATransferLibraryFindsAFileByItsAddress) {
    const test::ScratchFolder scratch;
    const fs::path folder = scratch.path / "Gr\xC3\xB6\xC3\x9F"
                                           "e + 100% & more";
    fs::create_directory(folder);
    const fs::path file = folder / "#1?;=@[x].txt";
    test::writeFile(file, "found");
    EXPECT_EQ(fetch(plat::fileUrl(file)), "found");
}

TEST(Files, PathsAreUtf8AsText) {
    const std::string text = "/tmp/Z\xC3\xBCrich/\xE2\x82\xAC";
    EXPECT_EQ(plat::pathText(plat::textPath(text)), text);
}

} // namespace

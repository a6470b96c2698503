// Replacing a file as a whole, and addresses of files.

#include "platform/files.h"

#include "support.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::size_t entries(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

TEST(Files, ReplacesAFileAndLeavesNothingBesideIt) {
    const test::ScratchFolder scratch;
    const fs::path path = scratch.path / "parameters.xml";
    EXPECT_TRUE(plat::replaceFile(path, "one"));
    EXPECT_EQ(test::readFile(path), "one");
    const std::string large(300'000, 'x');
    EXPECT_TRUE(plat::replaceFile(path, large));
    EXPECT_EQ(test::readFile(path), large);
    EXPECT_TRUE(plat::replaceFile(path, ""));
    EXPECT_EQ(test::readFile(path), "");
    EXPECT_EQ(entries(scratch.path), 1u);
}

TEST(Files, FailsWithoutATraceWhereNoFileCanBeMade) {
    const test::ScratchFolder scratch;
    EXPECT_FALSE(plat::replaceFile(scratch.path / "no folder" / "x.xml", "text"));
    const fs::path folder = scratch.path / "folder.xml";
    fs::create_directory(folder);
    EXPECT_FALSE(plat::replaceFile(folder, "text"));
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(entries(scratch.path), 1u);
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
    const fs::path folder = scratch.path / plat::textPath("Gr\xC3\xB6\xC3\x9F"
                                                          "e + 100% & more");
    fs::create_directory(folder);
    const fs::path file = folder / "#1;=@[x]%20.txt";
    test::writeFile(file, "found");
    EXPECT_EQ(fetch(plat::fileUrl(file)), "found");
}

TEST(Files, AFolderTellsWhatItHoldsAndWhyItCannot) {
    const test::ScratchFolder scratch;
    fs::create_directory(scratch.path / "folder");
    for (int i = 0; i < 500; ++i) test::writeFile(scratch.path / ("file " + std::to_string(i)), "x");
    std::error_code failed = std::make_error_code(std::errc::io_error);
    int files = 0, folders = 0;
    for (const plat::FolderEntry& entry : plat::readFolder(scratch.path, failed)) {
        EXPECT_FALSE(entry.isLink);
        EXPECT_NE(entry.isFile, entry.isFolder);
        EXPECT_EQ(entry.isFolder, entry.name == "folder") << entry.name;
        ++(entry.isFile ? files : folders);
    }
    EXPECT_FALSE(failed);
    EXPECT_EQ(files, 500);
    EXPECT_EQ(folders, 1);
    EXPECT_TRUE(plat::readFolder(scratch.path / "folder", failed).empty());
    EXPECT_FALSE(failed);
    EXPECT_TRUE(plat::readFolder(scratch.path / "none", failed).empty());
    EXPECT_EQ(failed, std::errc::no_such_file_or_directory) << failed.message();
    EXPECT_TRUE(plat::realPath(scratch.path / "none", failed).empty());
    EXPECT_EQ(failed, std::errc::no_such_file_or_directory) << failed.message();
    const fs::path real = plat::realPath(scratch.path / "folder" / ".." / "file 1", failed);
    EXPECT_FALSE(failed);
    EXPECT_EQ(test::readFile(real), "x");
    EXPECT_EQ(real, plat::realPath(scratch.path / "file 1", failed));
}

TEST(Files, ANameKeepsItsLettersOnItsWayThroughText) {
    const std::string name = "Z\xC3\xBCrich \xE2\x82\xAC \xF0\x9F\x9B\xAC.txt";
    const test::ScratchFolder scratch;
    test::writeFile(scratch.path / plat::textPath(name), "found");
    const fs::path found = fs::directory_iterator(scratch.path)->path();
    EXPECT_EQ(plat::pathText(found.filename()), name);
    EXPECT_EQ(test::readFile(plat::textPath(plat::pathText(found))), "found");
}

} // namespace

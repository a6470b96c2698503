#pragma once
// What all tests share: scratch folders, the shared test data, and a log that can be read back.

#include "system.h"

#include "files.h"
#include "platform/files.h"
#include "platform/process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace test {

// A folder that goes with its owner. enter() makes it the program folder and the home of the process. Its name has
// blanks and letters of several alphabets, as the name of a user may have, so that every test meets them.
class ScratchFolder {
  public:
    ScratchFolder()
        : path(rig::makeScratchFolder("velloray test \xC5\x81\xC3\xBC \xE6\x97\xA5\xE6\x9C\xAC")) {}
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::current_path(std::filesystem::temp_directory_path(), ignored);
        std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    void enter() const {
        std::filesystem::current_path(path);
        plat::setUserFolders(path);
        useHome(path);
    }
    const std::filesystem::path path;
};

// An installed simulator that the program finds: below the home that ScratchFolder::enter has set, in the form of the
// Steam edition. Gives its packages folder.
inline std::filesystem::path installSimulator(bool is2020 = true) {
    const auto path = plat::roamingDataFolder() /
                      (is2020 ? "Microsoft Flight Simulator" : "Microsoft Flight Simulator 2024") /
                      "Packages";
    std::filesystem::create_directories(path / "Community");
    std::filesystem::create_directories(path / (is2020 ? "Official" : "Official2024"));
    return path;
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// Real recordings, tables and files lie beside the checkout, or where VELLORAY_SHARED says; a test that wants them
// skips with a message when they are not there.
inline std::filesystem::path sharedFolder() { return rig::sharedFolder(); }

} // namespace test

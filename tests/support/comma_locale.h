#pragma once
// A locale that writes numbers with a comma, made on the spot, as a toolkit may set one for the whole process.

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace test {

// In force for its lifetime; ok() is false where the system has no tool to make a locale.
class CommaLocale {
  public:
    CommaLocale() {
        const auto folder = std::filesystem::temp_directory_path() / "velloray-test-locale";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "source") << "LC_CTYPE\ncopy \"POSIX\"\nEND LC_CTYPE\nLC_NUMERIC\n"
                                            "decimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\n"
                                            "END LC_NUMERIC\n";
        const std::string command = "localedef -c --no-archive -i '" + (folder / "source").string() +
                                    "' -f ANSI_X3.4-1968 '" + (folder / "comma_XX").string() +
                                    "' >/dev/null 2>&1";
        [[maybe_unused]] const int warnings = std::system(command.c_str()); // the missing categories
        setenv("LOCPATH", folder.c_str(), 1);
        char text[8] = {};
        made = std::setlocale(LC_ALL, "comma_XX") && std::snprintf(text, sizeof text, "%.1f", 1.5) == 3 &&
               text[1] == ',';
    }
    ~CommaLocale() {
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    bool ok() const { return made; }

  private:
    bool made = false;
};

} // namespace test

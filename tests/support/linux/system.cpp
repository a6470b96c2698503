// What tests need of Linux.

#include "system.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include <unistd.h>

namespace test {

void setEnvironment(const std::string& name, const char* value) {
    value ? setenv(name.c_str(), value, 1) : unsetenv(name.c_str());
}

void useHome(const std::filesystem::path& home) {
    setEnvironment("HOME", home.c_str());
    setEnvironment("XDG_CONFIG_HOME", (home / "config").c_str());
    setEnvironment("XDG_DATA_HOME", (home / "data").c_str());
    setEnvironment("XDG_RUNTIME_DIR", home.c_str());
}

void prepareForRequestToEnd() { // the program's thread alone takes it: another would die of it
    sigset_t request;
    sigemptyset(&request);
    sigaddset(&request, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &request, nullptr);
}

void askThisProcessToEnd() { kill(getpid(), SIGTERM); }

bool setCommaLocale() { // made on the spot
    const auto folder = std::filesystem::temp_directory_path() / "velloray-test-locale";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "source") << "LC_CTYPE\ncopy \"POSIX\"\nEND LC_CTYPE\nLC_NUMERIC\n"
                                        "decimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\n"
                                        "END LC_NUMERIC\n";
    const std::string command = "localedef -c --no-archive -i '" + (folder / "source").string() +
                                "' -f ANSI_X3.4-1968 '" + (folder / "comma_XX").string() +
                                "' >/dev/null 2>&1";
    [[maybe_unused]] const int warnings = std::system(command.c_str()); // the missing categories
    setEnvironment("LOCPATH", folder.c_str());
    const bool made = std::setlocale(LC_ALL, "comma_XX") != nullptr;
    setEnvironment("LOCPATH", nullptr);
    return made;
}

} // namespace test

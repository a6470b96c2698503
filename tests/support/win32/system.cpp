// What tests need of Windows.

#include "system.h"

#include "platform/files.h"

#include <clocale>
#include <cstdlib>

#include <windows.h>

namespace test {

void setEnvironment(const std::string& name, const char* value) { // an empty value takes it away
    _wputenv_s(plat::textPath(name).c_str(), value ? plat::textPath(value).c_str() : L"");
}

void useHome(const std::filesystem::path&) {} // the shell's folders are not of the environment

void prepareForRequestToEnd() { // in a console of its own: others share that of the test program
    [[maybe_unused]] static const bool once = [] {
        FreeConsole();
        return AllocConsole() != 0;
    }();
}

void askThisProcessToEnd() { GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0); }

bool setCommaLocale() { return std::setlocale(LC_ALL, "German_Germany.1252") != nullptr; }

} // namespace test

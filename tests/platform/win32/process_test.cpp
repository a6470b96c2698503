// On Windows: the shell's folders, and what a console asks.

#include "platform/process.h"

#include "support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include <windows.h>

namespace {

namespace fs = std::filesystem;

TEST(Folders, AreThoseOfTheShell) {
    const fs::path before = plat::homeFolder();
    plat::setUserFolders({});
    // The shell tells the environment of each process the same.
    EXPECT_EQ(plat::roamingDataFolder(), fs::path(_wgetenv(L"APPDATA")));
    EXPECT_EQ(plat::localDataFolder(), fs::path(_wgetenv(L"LOCALAPPDATA")));
    EXPECT_EQ(plat::homeFolder(), fs::path(_wgetenv(L"USERPROFILE")));
    plat::setUserFolders(before);
}

TEST(InstanceGuard, IsTheMutexThatOthersLookFor) {
    const auto there = [] {
        const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, L"Local\\$Test \u017B$");
        if (mutex) CloseHandle(mutex);
        return mutex != nullptr;
    };
    EXPECT_FALSE(there());
    {
        const plat::InstanceGuard guard("Local\\$Test \xC5\xBB$");
        EXPECT_TRUE(there());
    }
    EXPECT_FALSE(there());
}

} // namespace

// On Windows: the shell's folders, and what a console asks.

#include "platform/process.h"

#include "platform/clock.h"
#include "support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>

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

// The rest runs in a process with a console of its own, whose events would end it otherwise.

[[noreturn]] void endAfterEvents(int count) {
    FreeConsole(); // the test program's, which others share
    AllocConsole();
    static std::atomic<int> calls{0};
    const auto mainThread = std::this_thread::get_id();
    plat::onTerminationRequest([mainThread] {
        if (std::this_thread::get_id() != mainThread) ++calls;
    });
    for (int i = 0; i < count; ++i) GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    plat::sleepMs(500);
    _exit(10 + calls); // reached: no event has ended the process
}

TEST(TerminationDeathTest, AConsolesEventIsARequestAndLaterOnesDoNotKill) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(endAfterEvents(0), testing::ExitedWithCode(10), "");
    EXPECT_EXIT(endAfterEvents(1), testing::ExitedWithCode(11), "");
    EXPECT_EXIT(endAfterEvents(3), testing::ExitedWithCode(11), "");
}

} // namespace

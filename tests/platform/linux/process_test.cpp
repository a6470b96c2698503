// On Linux: the places of the file that lets one instance run, the desktop's folders, and signals.

#include "platform/process.h"

#include "support.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include <pwd.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class ScopedEnv {
  public:
    ScopedEnv(const char* variable, const char* value) : name(variable) {
        if (const char* set = std::getenv(variable)) former = set;
        test::setEnvironment(variable, value);
    }
    ~ScopedEnv() { test::setEnvironment(name, former ? former->c_str() : nullptr); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

  private:
    const char* name;
    std::optional<std::string> former;
};

// The folders that the system tells, not those of the test program.
struct OwnFolders {
    fs::path home = plat::homeFolder();
    OwnFolders() { plat::setUserFolders({}); }
    ~OwnFolders() { plat::setUserFolders(home); }
    OwnFolders(const OwnFolders&) = delete;
    OwnFolders& operator=(const OwnFolders&) = delete;
};

constexpr const char* noNewFiles = "/proc"; // a folder that takes no file from anybody

TEST(InstanceGuard, FallsBackWhereItCannotMakeItsFile) {
    const OwnFolders own;
    const test::ScratchFolder temporary, data;
    const ScopedEnv runtime("XDG_RUNTIME_DIR", noNewFiles), folder("XDG_DATA_HOME", data.path.c_str());
    {
        const ScopedEnv temp("TMPDIR", temporary.path.c_str());
        const plat::InstanceGuard first("Test");
        EXPECT_FALSE(fs::is_empty(temporary.path));
        EXPECT_TRUE(fs::is_empty(data.path));
        EXPECT_TRUE(plat::InstanceGuard("Test").alreadyRuns());
    }
    const ScopedEnv temp("TMPDIR", noNewFiles);
    const plat::InstanceGuard first("Test");
    EXPECT_FALSE(first.alreadyRuns());
    EXPECT_FALSE(fs::is_empty(data.path));
    EXPECT_TRUE(plat::InstanceGuard("Test").alreadyRuns());
}

TEST(InstanceGuard, RunsWhenThereIsNoPlaceAtAll) {
    const OwnFolders own;
    const ScopedEnv runtime("XDG_RUNTIME_DIR", noNewFiles), temp("TMPDIR", noNewFiles),
        data("XDG_DATA_HOME", noNewFiles);
    EXPECT_FALSE(plat::InstanceGuard("Test").alreadyRuns());
}

TEST(InstanceGuard, FollowsNoLinkThatSomebodyHasLaid) {
    const test::ScratchFolder runtime, temporary;
    const ScopedEnv env("XDG_RUNTIME_DIR", runtime.path.c_str()), temp("TMPDIR", temporary.path.c_str());
    fs::path file;
    {
        const plat::InstanceGuard guard("Test");
        file = fs::directory_iterator(runtime.path)->path();
    }
    fs::remove(file);
    const fs::path victim = runtime.path / "victim";
    fs::create_symlink(victim, file);
    const plat::InstanceGuard guard("Test");
    EXPECT_FALSE(fs::exists(victim));
    EXPECT_TRUE(plat::InstanceGuard("Test").alreadyRuns()); // by the next place
}

TEST(Folders, FollowTheDesktopsConvention) {
    const OwnFolders own;
    const ScopedEnv home("HOME", "/home/somebody");
    {
        const ScopedEnv config("XDG_CONFIG_HOME", "/c"), data("XDG_DATA_HOME", "/d");
        EXPECT_EQ(plat::roamingDataFolder(), "/c");
        EXPECT_EQ(plat::localDataFolder(), "/d");
    }
    for (const char* none : {static_cast<const char*>(nullptr), "", "relative/folder"}) {
        const ScopedEnv config("XDG_CONFIG_HOME", none), data("XDG_DATA_HOME", none);
        EXPECT_EQ(plat::roamingDataFolder(), "/home/somebody/.config");
        EXPECT_EQ(plat::localDataFolder(), "/home/somebody/.local/share");
    }
    const ScopedEnv noHome("HOME", nullptr);
    const passwd* const entry = getpwuid(getuid());
    EXPECT_EQ(plat::homeFolder(), fs::path(entry ? entry->pw_dir : ""));
}

// The rest runs in a process of its own, since it changes which signals are blocked.

[[noreturn]] void endAfterSignals(const std::vector<int>& signals) {
    static std::atomic<int> calls{0};
    const auto mainThread = std::this_thread::get_id();
    plat::onTerminationRequest([mainThread] {
        if (std::this_thread::get_id() != mainThread) ++calls;
    });
    std::thread other([] { std::this_thread::sleep_for(std::chrono::milliseconds(300)); });
    for (const int number : signals) kill(getpid(), number);
    other.join();
    _exit(10 + calls); // reached: no signal has ended the process
}

TEST(TerminationDeathTest, EachSignalIsARequestAndLaterOnesDoNotKill) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(endAfterSignals({}), testing::ExitedWithCode(10), "");
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        EXPECT_EXIT(endAfterSignals({number}), testing::ExitedWithCode(11), "");
    EXPECT_EXIT(endAfterSignals({SIGTERM, SIGINT, SIGTERM}), testing::ExitedWithCode(11), "");
}

TEST(TerminationDeathTest, AnIgnoredHangUpStaysIgnoredButAnIgnoredInterruptCounts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto ignoring = [](int number) {
        std::signal(number, SIG_IGN);
        endAfterSignals({number});
    };
    EXPECT_EXIT(ignoring(SIGHUP), testing::ExitedWithCode(10), ""); // started to outlive its terminal
    EXPECT_EXIT(ignoring(SIGINT), testing::ExitedWithCode(11), ""); // started in a script's background
}

} // namespace

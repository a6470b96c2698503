// One instance, the user's folders, and what the process has used.

#include "platform/process.h"

#include "support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace {

namespace fs = std::filesystem;

TEST(InstanceGuard, LetsOneRunAtATimeAndTheNextAfterIt) {
    {
        const plat::InstanceGuard first("Local\\$Test$");
        EXPECT_FALSE(first.alreadyRuns());
        EXPECT_TRUE(plat::InstanceGuard("Local\\$Test$").alreadyRuns());
        EXPECT_TRUE(plat::InstanceGuard("Local\\$Test$").alreadyRuns()); // the second took nothing away
        EXPECT_FALSE(plat::InstanceGuard("Local\\$Other$").alreadyRuns());
    }
    EXPECT_FALSE(plat::InstanceGuard("Local\\$Test$").alreadyRuns());
}

TEST(Folders, LieWhereATestPutsThemAndAreTheUsersAgainAfterwards) {
    const fs::path before = plat::homeFolder();
    const test::ScratchFolder scratch;
    plat::setUserFolders(scratch.path);
    EXPECT_EQ(plat::homeFolder(), scratch.path);
    EXPECT_EQ(plat::roamingDataFolder(), scratch.path / "config");
    EXPECT_EQ(plat::localDataFolder(), scratch.path / "data");
    plat::setUserFolders({});
    EXPECT_TRUE(plat::roamingDataFolder().is_absolute());
    EXPECT_TRUE(plat::localDataFolder().is_absolute());
    EXPECT_NE(plat::roamingDataFolder(), plat::localDataFolder());
    plat::setUserFolders(before);
}

TEST(Memory, ThePeakRisesAndStays) {
    constexpr std::size_t size = 64 << 20;
    {
        const std::vector<char> much(size, 'x');
        EXPECT_EQ(much.back(), 'x');
        EXPECT_GE(plat::peakMemoryBytes(), size);
    }
    plat::releaseFreeMemory();
    EXPECT_GE(plat::peakMemoryBytes(), size);
}

} // namespace

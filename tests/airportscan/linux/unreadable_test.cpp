// A folder that the user may not read: a line in the scan log, and the rest is scanned.

#include "../scan_fixture.h"

#include <unistd.h>

TEST_F(AirportScanTest, AFolderThatCannotBeReadIsALineInTheScanLog) {
    put("Community/a/x.bgl", "EDDF", 1);
    put("Community/b/x.bgl", "EDDM", 1);
    put("Community/c/x.bgl", "EGLL", 1);
    for (const auto& entry : fs::recursive_directory_iterator(scratch.path))
        fs::permissions(entry.path(), fs::perms::all);
    fs::permissions(scratch.path, fs::perms::all);
    fs::permissions(packages / "Community/b", fs::perms::none);
    fs::permissions(packages / "Community/c/x.bgl", fs::perms::none);
    constexpr uid_t nobody = 65534;
    const uid_t before = geteuid(); // the superuser may read everything
    if (before == 0) {
        ASSERT_EQ(seteuid(nobody), 0);
    }
    scan();
    if (before == 0) {
        ASSERT_EQ(seteuid(before), 0);
    }
    fs::permissions(packages / "Community/b", fs::perms::all);
    EXPECT_EQ(thirdparty(), "EDDF.xml ");
    EXPECT_THAT(scanLog,
                HasSubstr("===>  airports search in folder ~/Community/b aborted because of iterator "
                          "problem: Permission denied\n"));
}

// A disk without room, for which a limit on the size of files stands: nothing half-written stays, and the next start
// scans again.

#include "../scan_fixture.h"

#include <csignal>
#include <sys/resource.h>

TEST_F(AirportScanTest, AFullDiskLeavesNothingHalfAndTheRequestStanding) {
    install(false);
    refData.thirdParties24 = {{"orbx", {"EDDF2"}}};
    put("Community/orbx-eddf/x.bgl", "EDDF", 2);
    put("Community/mine/x.bgl", "EDDM", 2);
    putBytes("Community/orbx-unknown/EGLL.bgl", of2024());
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    const auto formerAction = std::signal(SIGXFSZ, SIG_IGN);
    rlimit tight = former;
    tight.rlim_cur = 10; // bytes; a link has more
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    scan();
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &former), 0);
    std::signal(SIGXFSZ, formerAction);
    EXPECT_EQ(thirdparty(), "");
    EXPECT_FALSE(fs::exists("TBLO"));
    EXPECT_EQ(airportScan.tbloCount, 0);
    EXPECT_FALSE(airportScan.succeeded);
    EXPECT_TRUE(SCAN_AIRPORTS);
    scan();
    EXPECT_EQ(thirdparty(), "EDDF.txt=archive/thirdparty/orbx/EDDF.xml EDDM.xml ");
    EXPECT_EQ(filesIn("TBLO"), "EGLL.xml ");
    EXPECT_FALSE(SCAN_AIRPORTS);
}

// A packages folder of real sceneries, scanned with either simulator selected.

#include "scan_fixture.h"

class CorpusScan : public AirportScanTest {
  protected:
    void SetUp() override {
        const fs::path corpus = test::sharedFolder() / "corpus" / "bgl" / "Community";
        if (!fs::exists(corpus)) GTEST_SKIP() << "no corpus of real sceneries";
        fs::copy(corpus, packages / "Community", fs::copy_options::recursive);
        refData.publisherGroups = {{"Deepfield"}, {"July's Fire", "julysfire"}, {"vikingstudios"}};
        refData.thirdParties20 = {{"July's Fire", {"KBFR13", "KIWH20"}}, {"vikingstudios", {"LMML78"}}};
        refData.thirdParties24 = {{"Deepfield", {"7WA514"}}};
    }
};

// Identifiers of three characters (CAL3 has four, and YBF, F45 and 1I8 have not) are no airports. An airport without
// stands is linked, but never a file.
TEST_F(CorpusScan, OfBothSimulators) {
    scan();
    EXPECT_EQ(thirdparty(), "7WA5.xml CAL3.xml CAX5.xml CYHE.xml CYJM.xml CYQQ.xml CYZT.xml "
                            "KBFR.txt=archive/thirdparty/July's%20Fire/KBFR.xml "
                            "KIWH.txt=archive/thirdparty/July's%20Fire/KIWH.xml KIWH.xml "
                            "KMCX.xml KNZY.xml KOXI.xml "
                            "LMML.txt=archive/thirdparty/vikingstudios/LMML.xml UKRO.xml ")
        << scanLog;
    EXPECT_THAT(scanLog, HasSubstr("===> KIWH has 21 parkpos while archived one has 20\n"));
    EXPECT_THAT(scanLog, HasSubstr("from manifest.json creator \"Deepfield\" => publisher \"Deepfield\"\n"));
    EXPECT_THAT(scanLog, HasSubstr("UKRO comes again in a later file, which counts\n"))
        << "global, then world";
    EXPECT_THAT(scanLog, Not(HasSubstr("aborted")));

    install(false);
    scan();
    EXPECT_EQ(thirdparty(),
              "7WA5.txt=archive/thirdparty/Deepfield/7WA5.xml CAL3.xml CAX5.xml CYHE.xml CYJM.xml "
              "CYQQ.xml CYZT.xml KBFR.xml KIWH.xml KMCX.xml KNZY.xml KOXI.xml LMML.xml UKRO.xml ");
    EXPECT_FALSE(fs::exists("TBLO"));
}

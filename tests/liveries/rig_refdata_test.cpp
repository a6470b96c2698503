// The maker of the reference data, and the tree that it made for the program.

#include "liveries_test.h"
#include "updates/archive.h"

#include <zlib.h>

#include <map>

static std::string unzipped(const std::filesystem::path& path) {
    std::string text;
    const ZipArchive zip(path);
    EXPECT_EQ(zip.entryCount(), 1) << path;
    std::uint64_t left = 1u << 30;
    zip.readEntry(0, left, [&](const char* data, std::size_t size) {
        text.append(data, size);
        return true;
    });
    return text;
}

TEST(RigRefdata, ExpandsSeriesOfRegistrations) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(rig::expandSeries("G-XLEA"), (Texts{"G-XLEA"}));
    EXPECT_EQ(rig::expandSeries("N[12]A[B-D]"), (Texts{"N1AB", "N1AC", "N1AD", "N2AB", "N2AC", "N2AD"}));
    EXPECT_EQ(rig::expandSeries("D[-]A"), (Texts{"D-A"}));
    EXPECT_THROW(rig::expandSeries("G-XLE[A-C"), std::runtime_error);
    EXPECT_THROW(rig::expandSeries("G-XLE[]"), std::runtime_error);
}

TEST_F(LiveriesTest, TablesMayBeQuotedZippedAndOfOtherColumns) {
    test::writeFile("types.csv", "name,designator,class,span_m\r\n\"Big, \"\"old\"\"\",B744,heavy,64.4\r\n"
                                 "x,B744,large,1\nx,TOOLONG,light,\nx,C56X,business,17.2\nx,AB1,unknown,\n");
    gzFile packed = gzopen("airlines.csv", "wb");
    gzputs(packed, "icao,cargo\nBAW,0\nFDX,1\nXX,0\n");
    gzclose(packed);
    rig::RefTableFiles files;
    files.types = {"types.csv"};
    files.airlines = {"airlines.csv"};
    const auto tables = rig::readRefTables(files);
    ASSERT_EQ(tables.types.size(), 2u);
    EXPECT_EQ(tables.types[0].size, "heavy");
    EXPECT_EQ(tables.types[1].size, "buzjets");
    EXPECT_EQ(tables.airlines.size(), 2u);
    EXPECT_TRUE(tables.airlines[1].cargo);
    EXPECT_EQ(tables.skipped, 4u);
    files.fixes = {"types.csv"};
    EXPECT_THROW(rig::readRefTables(files), std::runtime_error) << "a column is missing";
    files.fixes = {"none.csv"};
    EXPECT_THROW(rig::readRefTables(files), std::runtime_error);
}

TEST_F(LiveriesTest, TheTreeOfTheProgramReadsAndIsWhatTheTablesGive) {
    const auto tree = rig::sourceFolder() / "install" / "download";
    gf_setDownloadBase(plat::pathText(tree) + "/");
    ASSERT_TRUE(gf_readDbase());
    const auto tables = rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables"));
    EXPECT_EQ(tables.skipped, 0u);
    EXPECT_GE(refData.allModels.size(), 1000u);
    EXPECT_EQ(refData.allModels.size(), tables.types.size());
    EXPECT_GE(refData.icaoAirlines.size(), 1200u);
    EXPECT_EQ(refData.icaoAirlines.size(), tables.airlines.size());
    EXPECT_EQ(refData.dbaseRegcodes.size(), tables.registrations.size());
    EXPECT_EQ(refData.modelFixes.size(), tables.fixes.size());
    EXPECT_FALSE(logged("wrong") || logged("already exists") || logged("no valid model"));
    EXPECT_EQ(unzipped(tree / "dbase.zip"), rig::dbaseXml(tables)) << "build the tree anew: see docs";
    for (const double halfSpan : refData.wingspanByCategory) EXPECT_GT(halfSpan, 0.002); // 7 m in all
    for (const auto& group : refData.similarGroups)
        for (const auto& model : group) EXPECT_TRUE(gf_isValidModel(model)) << model;
    for (const auto& model : refData.cargoModels) EXPECT_TRUE(gf_isValidModel(model)) << model;
    for (const auto& [container, model] : baseContainerModels) EXPECT_TRUE(gf_isValidModel(model)) << model;
    for (const auto& row : tables.registrations) {
        EXPECT_TRUE(gf_isValidModel(row.type)) << row.reg;
        EXPECT_TRUE(gf_isValidAirline(row.airl)) << row.reg;
    }
    EXPECT_EQ(gf_modelCategory("A388"), AcCategory::heavy);
    EXPECT_EQ(gf_modelCategory("H60"), AcCategory::rotorcraft);
    EXPECT_EQ(gf_modelCategory("GLF6"), AcCategory::buzjets);
    EXPECT_EQ(gf_modelCategory("F18S"), AcCategory::highPerf);
}

TEST_F(LiveriesTest, InventedRegistrationsAreTheSameForTheSameSeed) {
    const auto made = [](std::uint32_t seed) {
        auto tables = smallTables();
        rig::addSynthetic(tables, 3000, seed);
        return rig::dbaseXml(tables);
    };
    const std::string first = made(7);
    EXPECT_EQ(first, made(7));
    EXPECT_NE(first, made(8));
    read(first);
    EXPECT_EQ(refData.dbaseRegcodes.size(), 3003u) << "none twice";
}

TEST_F(LiveriesTest, ReadsLargeTablesOfOthersInTheirOwnColumns) {
    const auto shared = test::sharedFolder() / "refdata";
    if (!std::filesystem::exists(shared / "types.csv")) GTEST_SKIP() << "no tables in " << shared;
    auto files = rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables");
    files.types = {shared / "types.csv"};
    files.airlines = {shared / "airlines.csv"};
    files.registrations = {shared / "registrations-cc0.csv.gz"};
    const auto tables = rig::readRefTables(files);
    read(rig::dbaseXml(tables));
    EXPECT_GT(refData.allModels.size(), 2800u);
    EXPECT_GT(refData.icaoAirlines.size(), 7000u);
    EXPECT_GT(refData.dbaseRegcodes.size(), 16000u);
    // Our own table against theirs: sizes agree for nearly all types.
    std::map<std::string, std::string> theirs;
    for (const auto& row : tables.types) theirs[row.designator] = row.size;
    std::size_t known = 0, agree = 0;
    for (const auto& row :
         rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables")).types) {
        if (theirs.count(row.designator) == 0) continue;
        ++known;
        agree += theirs[row.designator] == row.size;
    }
    EXPECT_GT(known, 1000u);
    EXPECT_GT(agree, known * 98 / 100);
}

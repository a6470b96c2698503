// Real aircraft.cfg files, with real types, airlines and registrations: what each kind of file yields.

#include "../scan_test.h"

#include <map>

namespace fs = std::filesystem;

class ScanCorpus : public ScanTest {
  protected:
    void SetUp() override {
        const fs::path shared = test::sharedFolder();
        if (!fs::exists(shared / "corpus/aircraft-cfg") || !fs::exists(shared / "refdata/types.csv"))
            GTEST_SKIP() << "no real files in " << shared;
        readTables(shared / "refdata");
        // The folder's own path must not say what is left out.
        fs::create_directory_symlink(fs::absolute(shared / "corpus/aircraft-cfg/Community"), "Community");
    }
    static void readTables(const fs::path& place) {
        rig::RefTableFiles files;
        files.types = {place / "types.csv"};
        files.airlines = {place / "airlines.csv"};
        files.registrations = {place / "registrations-cc0.csv.gz"};
        const auto tables = rig::readRefTables(files);
        refData = RefData{};
        for (const auto& row : tables.types) {
            refData.allModels.insert(row.designator);
            if (row.size == "large") refData.largeModels.insert(row.designator);
            if (row.size == "heavy") refData.heavyModels.insert(row.designator);
        }
        for (const auto& row : tables.airlines) refData.icaoAirlines.insert(row.code);
        for (const auto& row : tables.registrations)
            refData.dbaseRegcodes.insert(row.reg, row.airl, row.type, row.opr, row.cargo);
        refData.modelFixes = {{"737", "B737"}};
    }
    static std::size_t count(ScanReport report, const std::string& part = "") {
        const auto& list = lines(report);
        return static_cast<std::size_t>(std::count_if(list.begin(), list.end(), [&](const auto& line) {
            return line.find(part) != std::string::npos;
        }));
    }
};

// 268 files with 767 sections. 20 sections lie in the six files without a usable model; of the others 437 are stubs.
TEST_F(ScanCorpus, EveryFileYieldsItsLiveriesOrAReason) {
    auto liveries = search("Community");
    std::map<std::string, std::string> byTitle;
    for (const auto& livery : liveries) byTitle[livery.title] = text(livery);
    EXPECT_EQ(byTitle.size(), liveries.size());
    EXPECT_EQ(liveries.size(), 259u);
    EXPECT_EQ(std::count_if(liveries.begin(), liveries.end(), [](const Livery& l) { return l.cargo; }), 86);
    EXPECT_EQ(
        std::count_if(liveries.begin(), liveries.end(), [](const Livery& l) { return l.airl == "PVT"; }), 20);
    EXPECT_EQ(
        std::count_if(liveries.begin(), liveries.end(), [](const Livery& l) { return !l.atcid.empty(); }),
        51);
    // Read off the files by eye.
    for (const char* livery :
         {"FDX B763 FSLTL_FAIB_B763_FDX-FedEx  cargo", "FFT A320 FSLTL_FAIB_A320_FFT-Frontier_N204FR N204FR",
          "FFT A320 FSLTL_FAIB_A320_FFT-Frontier_204 ", "PVT B350 FSLTL_GA_B350_ZZZZ  cargo",
          "HKE A20N Airbus A320 Hong Kong Express ", "ARC C17 C17 RCAF 701 CAF701 cargo",
          "PVT C152 Cessna 152 Asobo VH-XSR"})
        EXPECT_EQ(std::count_if(liveries.begin(), liveries.end(),
                                [&](const Livery& l) { return text(l) == livery; }),
                  1)
            << livery;
    EXPECT_EQ(count(ScanReport::invalidAirline), 13u);
    EXPECT_EQ(count(ScanReport::invalidModel), 3u);
    EXPECT_EQ(count(ScanReport::invalidModel, "AIRC             in Community"), 1u);
    EXPECT_EQ(count(ScanReport::fixes), 3u);
    EXPECT_EQ(count(ScanReport::invalidFile), 3u);
    EXPECT_EQ(count(ScanReport::invalidFile, "icao_type_designator= is missing"), 3u);
    EXPECT_EQ(count(ScanReport::incompleteSection, "its regcode is not in my dbase"), 13u);
    EXPECT_EQ(count(ScanReport::incompleteSection, "no regcode info"), 36u);
    EXPECT_EQ(count(ScanReport::incompleteSection, "already exists"), 2u);
    EXPECT_EQ(count(ScanReport::incompleteSection), 51u);
    EXPECT_EQ(count(ScanReport::emptyFile), 0u);
    EXPECT_EQ(test::readFile("Log.txt").find("exception"), std::string::npos);
    constexpr std::size_t inLostFiles = 20, stubs = 437;
    EXPECT_EQ(liveries.size() + 51 + inLostFiles + stubs, 767u);

    gf_clearScanLists();
    SUPPRESS_STUB.value = false;
    EXPECT_EQ(search("Community").size(), 693u);
    EXPECT_EQ(count(ScanReport::incompleteSection), 54u);
}

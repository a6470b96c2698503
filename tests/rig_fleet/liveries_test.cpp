// rig liveries on a fleet whose content is known: every sound livery and every loss is told, and nothing else.

#include "app/app.h"
#include "app/folders.h"
#include "app/parameters.h"
#include "fleet/fleet.h"
#include "liveries/refdata.h"
#include "platform/files.h"
#include "rig.h"
#include "support.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <map>
#include <set>
#include <sstream>

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

class RigLiveries : public testing::Test {
  protected:
    RigLiveries() {
        app = AppRun{};
        gf_resetParametersToDefaults();
        scratch.enter();
    }
    ~RigLiveries() override {
        gf_resetParametersToDefaults();
        gf_buildFolders();
        refData = RefData{};
    }
    static std::string output(std::vector<std::string> arguments) {
        testing::internal::CaptureStdout();
        const int code = rig::runLiveries(arguments);
        std::string text = testing::internal::GetCapturedStdout();
        EXPECT_EQ(code, 0);
        return text;
    }
    static rig::FleetSummary fleet(std::size_t liveries, std::size_t broken) {
        rig::FleetOptions options;
        options.folder = ".";
        options.liveries = liveries;
        options.brokenRounds = broken;
        return rig::writeFleet(
            rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables")), options);
    }
    const test::ScratchFolder scratch;
};

constexpr const char* reportFiles[] = {
    "InvalidAirlineCodes.txt",     "InvalidAircraftCodes.txt",   "Fixes.txt",
    "InvalidAircraftCfgFiles.txt", "IncompleFltsimSections.txt", "AircraftCfgWithNoFltsimSection.txt",
    "AirlineModelConversions.txt"}; // by ScanReport

TEST_F(RigLiveries, TellsEveryLiveryAndEveryLossOfAFleet) {
    const rig::FleetSummary summary = fleet(400, 2);
    const json told = json::parse(output({plat::pathText(summary.packages), "--json"}));
    EXPECT_EQ(told["counts"]["liveries"], summary.liveries);
    for (std::size_t i = 0; i < scanReportCount; ++i) {
        const json& report = told["reports"][reportFiles[i]];
        EXPECT_EQ(report["count"], summary.reports[i]) << reportFiles[i] << report["lines"].dump(1);
    }
    std::set<std::string> known, found;
    std::istringstream lines(test::readFile("titles.txt"));
    for (std::string line; std::getline(lines, line);) known.insert(line);
    std::map<std::string, std::size_t> perFile;
    std::size_t cargo = 0, registered = 0;
    for (const json& livery : told["liveries"]) {
        found.insert(livery["title"].get<std::string>());
        ++perFile[livery["file"].get<std::string>()];
        cargo += livery["cargo"].get<bool>();
        registered += !livery["registration"].get<std::string>().empty();
    }
    EXPECT_EQ(found.size(), summary.liveries) << "no title twice";
    for (const auto& title : found) EXPECT_EQ(known.count(title), 1u) << title;
    EXPECT_GT(cargo, 3u);
    EXPECT_GT(registered, 10u);
    std::size_t sections = 0;
    for (const json& file : told["files"]) {
        EXPECT_EQ(file["liveries"], perFile[file["file"]]);
        EXPECT_TRUE(fs::is_regular_file(summary.packages / "Community" / file["file"].get<std::string>()));
        sections += file["sections"].get<std::size_t>();
    }
    EXPECT_GE(sections, summary.sections); // with those that the scan does not reach
}

TEST_F(RigLiveries, ShowsAFolderGivenDirectlyWithTheLinesOfItsReports) {
    fs::create_directories("pack/a");
    fs::create_directories("pack/b");
    test::writeFile("pack/a/aircraft.cfg",
                    "[GENERAL]\nicao_type_designator=A320\n[FLTSIM.0]\ntitle=\"My A320\" ; x\n"
                    "icao_airline=BAW\natc_id=\"G-EUUU\"\n[FLTSIM.1]\ntitle=One-STUB\n");
    test::writeFile("pack/b/aircraft.cfg", "[GENERAL]\nicao_type_designator=A320\n[FLTSIM.1]\ntitle=x\n");
    const std::string text = output({"pack", "--reports", "--missing"});
    EXPECT_THAT(text, testing::HasSubstr("BAW     A320 G-EUUU             My A320 a/aircraft.cfg\n"));
    EXPECT_THAT(text, testing::HasSubstr("     1 in InvalidAircraftCfgFiles.txt\n         " +
                                         plat::pathText(scratch.path / "pack" / "b" / "aircraft.cfg") +
                                         " contains non-consecutive [fltsim.x] numbers at .x=1\n"));
    EXPECT_THAT(text,
                testing::HasSubstr("       2        1 a/aircraft.cfg\n       1        0 b/aircraft.cfg\n"));
    EXPECT_THAT(
        text, testing::HasSubstr("     2 aircraft.cfg files\n     3 [fltsim.x] sections\n     1 liveries\n"));
    // The stub flies no airline, and so an airliner is lost in another way when it is not left out for its name.
    EXPECT_THAT(output({"pack", "--stubs"}), testing::HasSubstr("     1 in IncompleFltsimSections.txt\n"));
}

TEST_F(RigLiveries, TakesThePackagesThatTheProgramWouldTake) {
    const rig::FleetSummary summary = fleet(60, 0);
    const fs::path community = summary.packages / "Community";
    const char* const packages[] = {"another-livery", "fsltl-traffic-base_CVT_"};
    for (const char* name : packages) { // of no family, and one that was put aside
        fs::create_directories(community / name);
        test::writeFile(
            community / name / "aircraft.cfg",
            fmt::format("[GENERAL]\nicao_type_designator=A320\n[FLTSIM.0]\ntitle={}\nicao_airline=BAW\n",
                        name));
    }
    const json all = json::parse(output({plat::pathText(summary.packages), "--json"}));
    EXPECT_EQ(all["counts"]["liveries"], 61);
    const json automatic =
        json::parse(output({plat::pathText(summary.packages), "--json", "--automatic", "--order", "5"}));
    EXPECT_EQ(automatic["counts"]["liveries"], 60);
    std::vector<std::string> taken;
    for (const json& package : automatic["packages"])
        taken.push_back(plat::pathText(plat::textPath(package.get<std::string>()).filename()));
    EXPECT_THAT(taken, testing::ElementsAre("justflight-aircraft-traffic-fleet-1", "aig-aitraffic-oci-beta",
                                            "fsltl-traffic-base", "user-aitraffic"));
    EXPECT_THROW(rig::runLiveries({plat::pathText(community), "--automatic"}), std::runtime_error);
}

TEST_F(RigLiveries, TakesOtherReferenceDataZippedOrNot) {
    fs::create_directories("pack");
    test::writeFile("pack/aircraft.cfg",
                    "[GENERAL]\nicao_type_designator=XX1\n[FLTSIM.0]\ntitle=Mine\nicao_airline=QQQ\n");
    rig::RefTables tables = rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables"));
    tables.types.push_back({"XX1", "large", "30"});
    tables.airlines.push_back({"QQQ", false});
    test::writeFile("temp2.xml", rig::dbaseXml(tables));
    rig::writeZip("dbase.zip", {{"temp2.xml", rig::dbaseXml(tables)}});
    EXPECT_EQ(json::parse(output({"pack", "--json"}))["counts"]["liveries"], 0);
    for (const char* file : {"temp2.xml", "dbase.zip"}) {
        const json told = json::parse(output({"pack", "--json", "--refdata", file}));
        ASSERT_EQ(told["liveries"].size(), 1u);
        EXPECT_EQ(told["liveries"][0]["airline"], "QQQ");
    }
    test::writeFile("bad.zip", "PK and no more");
    EXPECT_THROW(rig::runLiveries({"pack", "--refdata", "bad.zip"}), std::runtime_error);
    EXPECT_THROW(rig::runLiveries({"pack", "--refdata", "none"}), std::runtime_error);
    EXPECT_THROW(rig::runLiveries({"nowhere"}), std::runtime_error);
}

TEST_F(RigLiveries, FindsTheLiveriesOfRealFiles) {
    const fs::path shared = test::sharedFolder();
    if (!fs::exists(shared / "corpus/aircraft-cfg")) GTEST_SKIP() << "no real aircraft.cfg files at hand";
    // The path of the originals may hold words that keep a scan away.
    fs::copy(shared / "corpus/aircraft-cfg/Community", "Community", fs::copy_options::recursive);
    auto files = rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables");
    files.types = {shared / "refdata/types.csv"};
    files.airlines = {shared / "refdata/airlines.csv"};
    files.registrations = {shared / "refdata/registrations-cc0.csv.gz"};
    test::writeFile("temp2.xml", rig::dbaseXml(rig::readRefTables(files)));
    const json told = json::parse(output({".", "--json", "--stubs", "--refdata", "temp2.xml"}));
    EXPECT_EQ(told["counts"]["files"], 268);
    EXPECT_EQ(told["counts"]["sections"], 767);
    // Each section is a livery, or a line says why not, or its whole file is lost for a reason that is told.
    std::size_t inLostFiles = 0;
    std::string lost;
    for (const char* report : {"InvalidAircraftCodes.txt", "InvalidAircraftCfgFiles.txt"})
        for (const json& line : told["reports"][report]["lines"]) lost += line.get<std::string>() + "\n";
    for (const json& file : told["files"])
        if (lost.find("/Community/" + file["file"].get<std::string>()) != lost.npos) {
            EXPECT_EQ(file["liveries"], 0);
            inLostFiles += file["sections"].get<std::size_t>();
        }
    EXPECT_EQ(told["counts"]["liveries"].get<std::size_t>() +
                  told["reports"]["IncompleFltsimSections.txt"]["count"].get<std::size_t>() + inLostFiles,
              767u);
}

} // namespace

// Finding the packages folder of each edition on each of its roads, and the path that a user types.

#include "platform/files.h"
#include "platform/process.h"
#include "simlink_fixture.h"

using namespace test;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class Installation : public SimLink {
  protected:
    void SetUp() override {
        scratch.enter();
        SimLink::SetUp();
        fs::create_directories(folders.appData);
        gf_resetParametersToDefaults();
        gf_readParameters();
    }
    void TearDown() override {
        SimLink::TearDown();
        gf_resetParametersToDefaults();
    }
    static fs::path roaming(const char* rest) { return (plat::roamingDataFolder() / rest).make_preferred(); }
    static fs::path local(const char* rest) { return (plat::localDataFolder() / rest).make_preferred(); }
    static fs::path packages(const fs::path& path, const char* own) {
        fs::create_directories(path / "Community");
        fs::create_directories(path / own);
        return path;
    }
    // As the simulators write it: braces and settings, the path in the last line.
    static void userCfg(const fs::path& file, const std::string& line, const char* lineEnd = "\n") {
        fs::create_directories(file.parent_path());
        std::string text;
        for (const char* part : {"Version 66", "{Graphics", "\t{Video", "\t\tMonitor 0", "\t}", "}"})
            text += part + std::string(lineEnd);
        writeFile(file, text + line + lineEnd);
    }
    static std::string quoted(const fs::path& path) {
        return "InstalledPackagesPath \"" + plat::pathText(path) + "\"";
    }
    static fs::path found() { return gf_findPackagesPath(); }
    static std::string stored(const char* key) {
        const std::string text = readFile(folders.parameters);
        const auto at = text.find("name=\"" + std::string(key) + "\" value=\"");
        const auto begin = text.find("value=\"", at) + 7;
        return at == text.npos ? "?" : text.substr(begin, text.find('"', begin) - begin);
    }

    ScratchFolder scratch;
};

TEST_F(Installation, IsFoundOnEachRoadOfEachEdition) {
    for (const bool is2020 : {true, false}) {
        const char* const own = is2020 ? "Official" : "Official2024";
        const char* const steam = is2020 ? "Microsoft Flight Simulator" : "Microsoft Flight Simulator 2024";
        const std::string store =
            is2020 ? "Microsoft.FlightSimulator_8wekyb3d8bbwe" : "Microsoft.Limitless_8wekyb3d8bbwe";
        const fs::path drive = scratch.path / "drive";
        const fs::path cache = local("Packages") / store / "LocalCache";
        const struct Row {
            const char* name;
            fs::path cfg, packages;
            std::size_t missing; // of the lines that the log has before
        } rows[] = {
            {"Steam", {}, roaming(steam) / "Packages", 0},
            {"Store", cache / "UserCfg.opt", cache / "Packages", 0},
            {"Steam, on a drive of its own", roaming(steam) / "UserCfg.opt", drive, 1},
            {"dashboard", local("Packages/Microsoft.FlightDashboard_8wekyb3d8bbwe/LocalCache/UserCfg.opt"),
             drive, 2},
            {"boxed", local("MSFSPackages/UserCfg.opt"), drive, 3},
        };
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(row.name) + (is2020 ? ", 2020" : ", 2024"));
            TearDown();
            for (const char* name : {"config", "data", "drive"}) fs::remove_all(name);
            SetUp();
            MSFS_2020.value = is2020;
            EXPECT_EQ(found(), fs::path());
            EXPECT_THAT(log(), HasSubstr("MSFS detection, no Boxed:" +
                                         plat::pathText(local("MSFSPackages/UserCfg.opt")) +
                                         "\nNo UserCfg.opt found?\n"));
            const fs::path expected = packages(row.packages, own);
            if (!row.cfg.empty()) // and then a Steam folder is none: it is without its own part
                fs::create_directories(roaming(steam) / "Packages/Community");
            if (!row.cfg.empty())
                userCfg(row.cfg, is2020 ? quoted(expected) : "  " + quoted(expected) + "   ",
                        is2020 ? "\n" : "\r\n");
            TearDown(); // a log of its own
            SetUp();
            MSFS_2020.value = is2020;
            EXPECT_EQ(found(), expected);
            EXPECT_EQ(logged("MSFS detection, "), row.missing);
            const char* const missing[] = {"no Store:", "no Steam1:", "no Steam2:"};
            for (std::size_t i = 0; i < row.missing; ++i) EXPECT_EQ(logged(missing[i]), 1u) << missing[i];
            EXPECT_THAT(log(), HasSubstr(row.cfg.empty() ? "Steam packages:" + plat::pathText(expected) + "\n"
                                                         : "UserCfg.opt: InstalledPackagesPath=" +
                                                               plat::pathText(expected) + "\n"));
            MSFS_2020.value = !is2020; // the roads of the other edition do not end at this one's folder
            EXPECT_EQ(found(), fs::path());
        }
    }
}

TEST_F(Installation, OnlyTheFirstLineWithThePathCounts) {
    const std::string good = plat::pathText(packages(scratch.path / "good", "Official"));
    for (const auto& [line, result] : std::vector<std::pair<std::string, std::string>>{
             {"InstalledPackagesPath " + good, "???"}, // without quotes the whole line is the path
             {"InstalledPackagesPath \"" + good, "???"},
             {"InstalledPackagesPath \"\"", "???"},
             {"installedpackagespath \"" + good + "\"", "???"},
             {"InstalledPackagesPath \"" + good + ".gone\"\nInstalledPackagesPath \"" + good + "\"", "???"},
             {"InstalledPackagesPath \"" + good + "\"\nInstalledPackagesPath \"/else\"", good}}) {
        SCOPED_TRACE(line);
        TearDown();
        SetUp();
        userCfg(local("MSFSPackages/UserCfg.opt"), line);
        EXPECT_EQ(plat::pathText(found()), result == "???" ? "" : result);
        EXPECT_EQ(logged("UserCfg.opt: InstalledPackagesPath=" + result + "\n"), 1u) << log();
    }
    writeFile(local("MSFSPackages/UserCfg.opt"), "");
    EXPECT_EQ(found(), fs::path());
    const std::string tooLong(300, 'x');
    userCfg(local("MSFSPackages/UserCfg.opt"), "InstalledPackagesPath \"" + tooLong + "\"");
    std::error_code error;
    if (!fs::exists(tooLong, error) && error) // neither there nor missing
        EXPECT_THROW(found(), fs::filesystem_error);
    else // on this system a name that none can have is missing
        EXPECT_EQ(found(), fs::path());
}

TEST_F(Installation, ReadsTheSimulatorsOwnFiles) {
    const fs::path files = sharedFolder() / "corpus" / "usercfg";
    if (!fs::exists(files)) GTEST_SKIP() << "no real UserCfg.opt files at hand";
    // A path with a drive letter is one odd folder name here, and as good as any.
    const fs::path own = packages(R"(C:\Games\MSFS)", "Official");
    const auto take = [&files](const char* kind, const fs::path& folder) {
        fs::create_directories(folder);
        test::writeFile(folder / "UserCfg.opt", test::readFile(files / kind / "UserCfg.opt"));
    };
    take("msfs2020-own-drive", roaming("Microsoft Flight Simulator"));
    EXPECT_EQ(found(), own);
    const fs::path store = packages(
        R"(C:\Users\micro\AppData\Local\Packages\Microsoft.Limitless_8wekyb3d8bbwe\LocalCache\Packages)",
        "Official2024");
    take("msfs2024-store", local("Packages/Microsoft.Limitless_8wekyb3d8bbwe/LocalCache"));
    MSFS_2020.value = false;
    EXPECT_EQ(found(), store);
}

TEST_F(Installation, ATypedPathIsTestedStoredWithoutItsCommunityAndStartsANewRun) {
    const std::string base = plat::pathText(scratch.path);
    for (const char* folder : {"sim/Community", "sim/Community.old", "lower/community",
                               "Community-x/Community", "Community-y/p/Community", "empty"})
        fs::create_directories(folder);
    const char* const notOne = "This path exists but is not a path to Community ...";
    const char* const taken = "Community path found, Velloray will restart ...";
    const std::string beside = base + "/Community-x";
    const struct Row {
        std::string text, result, message;
    } rows[] = {
        {base + "/sim/Community", base + "/sim", taken},
        {base + "/sim", base + "/sim", taken},
        {base + "/sim/Community.old", base + "/sim", taken}, // the name without an extension is compared
        {base + "/gone", "before", "This install path does not exist: " + base + "/gone"},
        {base + "/empty", "before", notOne},
        {base + "/sim/Community/", "before", notOne}, // its last element is empty
        {base + "/lower/community", "before", notOne},
        {beside, beside, taken},
        {base + "/Community-y/p/Community", "before", notOne}, // the first "Community" in the text counts
        {"", "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        app = AppRun{};
        gf_setAndSave(MSFS_INSTALL_PATH, "before");
        gf_showError("150: an error that hides messages");
        lf_newSimPath(MSFS_INSTALL_PATH, row.text);
        EXPECT_EQ(MSFS_INSTALL_PATH.value(), row.result);
        EXPECT_EQ(stored("MSFS_INSTALL_PATH"), row.result);
        EXPECT_EQ(gf_shownMessage(), row.message);
        EXPECT_EQ(gf_shownError(), "");
        const bool accepted = row.message == taken;
        EXPECT_EQ(app.stopRequested.isSet(), accepted);
        EXPECT_EQ(app.runState, accepted ? RunState::newSettings : RunState::notYetSet);
        EXPECT_EQ(app.restartDelay, accepted ? 3 : 0);
    }
    EXPECT_THAT(log(), HasSubstr(taken));
    EXPECT_EQ(stored("MSFS_2024_INSTALL_PATH"), "");
}

} // namespace

// The update flow against the rig's server: what a newer program and a newer data set leave in the program folder, and
// what stays when something goes wrong on the way.

#include "app/errors.h"
#include "downloads.h"

#include <fmt/format.h>

#include <map>

namespace fs = std::filesystem;

class Versions : public Downloads {
  protected:
    Versions() {
        PROGRAM_INSTALL_PATH.set("");
        MYSIMADDON24_VERSION.set("");
        fs::create_directories("served/release");
        fs::create_directories("served/mysimaddon24");
        fs::create_directories(folders.airports);
        fs::create_directories(folders.appData);
        test::writeFile(folders.parameters,
                        "<parameters><parameter name=\"MYSIMADDON24_VERSION\" value=\"\"/>"
                        "</parameters>");
        serve();
    }
    static VersionData newer() {
        VersionData version = gf_programVersion();
        ++version.minor;
        return version;
    }
    static std::string setupName() {
        return "served/release/setup_Velloray_d_v" + gf_versionText(newer()) + ".zip";
    }
    static void offerProgram(const std::string& version) {
        test::writeFile("served/release/version.json", version + "\n");
    }
    static void offerSet(const std::string& version, const std::vector<rig::ZipEntry>& entries) {
        test::writeFile("served/mysimaddon24/version.json", version + "\n");
        rig::writeZip("served/mysimaddon24/my_simaddon2024.zip", entries);
    }
    static std::map<std::string, std::string> installedSet() {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(folders.mySimaddon))
            files[plat::pathText(entry.path().filename())] = test::readFile(entry.path());
        return files;
    }
    static void installOldSet() {
        fs::create_directories(folders.mySimaddon);
        test::writeFile(folders.mySimaddon / "EGLL.txt", "old");
        MYSIMADDON24_VERSION.set("1.0.0");
    }
    static std::string spoilt(const fs::path& file) {
        std::string text = test::readFile(file);
        for (std::size_t i = 60; i < 90; ++i)
            text[i] = static_cast<char>(text[i] ^ 0x55); // in the packed data
        return text;
    }
    // Nothing of a transfer or of an unpacking stays.
    static void expectNoLeftovers() {
        for (const auto& entry : fs::recursive_directory_iterator(".")) {
            const std::string name = plat::pathText(entry.path().filename());
            if (plat::pathText(entry.path()).find("served") != std::string::npos) continue;
            EXPECT_FALSE(name.ends_with(".zip") || name.ends_with(".new") || name.ends_with(".old")) << name;
        }
    }
};

TEST_F(Versions, NoNewerProgramCostsNothing) {
    EXPECT_NO_THROW(gf_checkProgramVersion()); // the server tells none
    EXPECT_TRUE(logged("Program Version file not found?"));
    const VersionData own = gf_programVersion();
    for (const auto& text : {gf_versionText(own), fmt::format("{}.999.999", own.major - 1)}) {
        offerProgram(text);
        EXPECT_NO_THROW(gf_checkProgramVersion()) << text;
    }
    for (const auto& line : server->journal()) EXPECT_EQ(line.find("setup_"), std::string::npos) << line;
}

TEST_F(Versions, ANewerProgramLiesReadyAndTheStartEnds) {
    test::writeFile(folders.installer, "spent one");
    const std::string content = bytes(400'000);
    rig::writeZip(setupName(), {{"folder/", ""}, {"readme.txt", "first"}, {"../setup.exe", content}});
    offerProgram(gf_versionText(newer()));
    PROGRAM_INSTALL_PATH.set("moved away");
    try {
        gf_checkProgramVersion();
        FAIL() << "the start went on";
    } catch (const orvo::UserErrorException& e) {
        EXPECT_EQ(e.number(), 99);
        EXPECT_EQ(e.what(),
                  fmt::format("New version {} available, exit Velloray. Run as administrator: \"{}\"",
                              gf_versionText(newer()),
                              plat::pathText(fs::absolute("install_new_version.exe"))));
    }
    EXPECT_EQ(test::readFile("install_new_version.exe"), content) << "of several entries the last one stands";
    EXPECT_TRUE(logged("../setup.exe unzipped to install_new_version.exe"));
    expectNoLeftovers();
}

TEST_F(Versions, AnInstallerThatDoesNotComeWholeLeavesTheOldOne) {
    offerProgram(gf_versionText(newer()));
    rig::writeZip(setupName(), {{"setup.exe", bytes(400'000)}});
    const std::string name = fs::path(setupName()).filename().string(), whole = test::readFile(setupName());
    const std::string failed =
        fmt::format("Downloading program installer file version {} failed", gf_versionText(newer()));
    struct Row {
        std::string what, fault, content, logLine;
    };
    const Row rows[] = {
        {"missing", "404=release/" + name, whole, failed},
        {"cut short", "truncate=release/" + name + ":1000", whole, failed},
        {"reset", "reset=release/" + name, whole, failed},
        {"stalled", "stall=release/" + name + ":30", whole, failed},
        {"no archive", "", "<html>not here</html>", "could not open " + name},
        {"half an archive", "", whole.substr(0, whole.size() / 2), "could not open " + name},
        {"damaged", "", spoilt(setupName()), "unzipping error code : "},
        {"bomb", "", "", "unzipping error code : "},
        {"bomb of many", "", "", "unzipping error code : "},
    };
    transferLimits.stallSeconds = 1;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        test::writeFile("install_new_version.exe", "the old one");
        test::writeFile("Log.txt", "");
        if (row.content.empty()) {
            const std::string half(1'500'000, ' ');
            rig::writeZip(setupName(), {{"a.exe", half}, {"b.exe", half}});
            transferLimits.unpackedBytes = row.what == "bomb" ? 1'000'000 : 2'000'000;
        } else {
            test::writeFile(setupName(), row.content);
        }
        if (!row.fault.empty()) fault(row.fault.c_str());
        EXPECT_NO_THROW(gf_checkProgramVersion());
        server->clearFaults();
        EXPECT_EQ(test::readFile("install_new_version.exe"), "the old one");
        EXPECT_TRUE(logged(row.logLine)) << test::readFile("Log.txt");
        EXPECT_TRUE(
            logged("The downloading/unzipping of the new version failed? Try manually via tarnmoor website"));
        expectNoLeftovers();
    }
    transferLimits = TransferLimits{};
    test::writeFile("install_new_version.exe.new", "half of one"); // its run was ended
    fs::remove("install_new_version.exe");
    fs::create_directories("install_new_version.exe/in the way");
    test::writeFile("Log.txt", "");
    test::writeFile(setupName(), whole);
    EXPECT_NO_THROW(gf_checkProgramVersion());
    EXPECT_TRUE(logged("unzipping error code : "));
    expectNoLeftovers();
    test::writeFile("install_new_version.exe.new", "half of one");
    fault("404=release/version.json");
    EXPECT_NO_THROW(gf_checkProgramVersion());
    expectNoLeftovers();
}

TEST_F(Versions, TheDataSetIsReplacedByANewerOne) {
    EXPECT_FALSE(gf_checkSimaddon());
    EXPECT_TRUE(logged("No mysimaddon version info found at the Velloray server?"));
    offerSet("1.9.9", {{"LFPG.xml", "a"}, {"sub/", ""}, {"sub/LEBL.TXT", "b"}, {"KIAD", "c"}});
    EXPECT_TRUE(gf_simaddonMissing());
    EXPECT_TRUE(gf_checkSimaddon());
    const std::map<std::string, std::string> first{{"LFPG.txt", "a"}, {"LEBL.txt", "b"}, {"KIAD.txt", "c"}};
    EXPECT_EQ(installedSet(), first);
    EXPECT_TRUE(logged("my_simaddon2024.zip unzipped 3 files"));
    EXPECT_TRUE(logged("mysimaddon has been updated to version 1.9.9"));
    EXPECT_EQ(MYSIMADDON24_VERSION.value(), "1.9.9");
    EXPECT_NE(test::readFile(folders.parameters).find("1.9.9"), std::string::npos);
    EXPECT_FALSE(gf_checkSimaddon()) << "not twice";
    offerSet("1.10.0", {{"EGLL.xml", "d"}}); // parts compare as numbers
    EXPECT_TRUE(gf_checkSimaddon());
    EXPECT_EQ(installedSet(), (std::map<std::string, std::string>{{"EGLL.txt", "d"}}));
    fs::remove_all(folders.mySimaddon);
    EXPECT_TRUE(gf_checkSimaddon()) << "up to date, but gone";
    fs::remove(folders.mySimaddon / "EGLL.txt");
    EXPECT_TRUE(gf_checkSimaddon()) << "up to date, but empty";
    expectNoLeftovers();
}

TEST_F(Versions, ADataSetThatDoesNotComeWholeLeavesTheOldOne) {
    const std::string zip = "served/mysimaddon24/my_simaddon2024.zip";
    struct Row {
        const char *what, *fault, *logLine;
        std::string content;
    };
    offerSet("2.0.0", {{"EGLL.xml", bytes(50'000)}, {"LFPG.xml", bytes(50'000)}});
    const std::string whole = test::readFile(zip);
    rig::writeZip("nothing.zip", {{"sub/", ""}, {".hidden", "6"}});
    const std::string nothing = test::readFile("nothing.zip");
    fs::remove("nothing.zip");
    const Row rows[] = {
        {"missing", "404=mysimaddon24/my_simaddon2024.zip", "", whole},
        {"cut short", "truncate=mysimaddon24/my_simaddon2024.zip:500", "", whole},
        {"stalled", "stall=mysimaddon24/my_simaddon2024.zip:30", "", whole},
        {"no archive", "", "could not open my_simaddon2024.zip", "nothing of the kind"},
        {"damaged", "", "EGLL.xml could not be unpacked", spoilt(zip)},
        {"bomb", "", "LFPG.xml could not be unpacked", ""},
        {"empty", "", "my_simaddon2024.zip holds no files", nothing},
    };
    transferLimits.stallSeconds = 1;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        installOldSet();
        test::writeFile("Log.txt", "");
        test::writeFile(zip, row.content.empty() ? whole : row.content);
        transferLimits.unpackedBytes = row.content.empty() ? 70'000 : 1'000'000; // both together are too much
        if (*row.fault) fault(row.fault);
        EXPECT_FALSE(gf_checkSimaddon());
        server->clearFaults();
        EXPECT_EQ(installedSet(), (std::map<std::string, std::string>{{"EGLL.txt", "old"}}));
        EXPECT_EQ(MYSIMADDON24_VERSION.value(), "1.0.0");
        EXPECT_TRUE(logged(row.logLine)) << test::readFile("Log.txt");
        expectNoLeftovers();
    }
}

TEST_F(Versions, NamesInADataSetLeadNowhereElse) {
    installOldSet();
    offerSet("2.0.0", {{"../../../evil.xml", "1"},
                       {"..\\..\\worse.xml", "2"},
                       {"/tmp/absolute.xml", "3"},
                       {"..", "4"},
                       {"C:drive.xml", "5"},
                       {".hidden", "6"},
                       {"EGLL.xml:stream", "7"}});
    EXPECT_TRUE(gf_checkSimaddon());
    EXPECT_EQ(installedSet(),
              (std::map<std::string, std::string>{
                  {"evil.txt", "1"}, {"worse.txt", "2"}, {"absolute.txt", "3"}, {"EGLL.txt", "7"}}));
    for (const char* name : {"evil", "worse", "absolute", "drive", "hidden"})
        for (const auto& place : {fs::path("."), fs::path(".."), folders.airports, fs::path("/tmp")})
            for (const char* extension : {".xml", ".txt"})
                EXPECT_FALSE(fs::exists(place / (std::string(name) + extension))) << name;
}

TEST_F(Versions, AReplacementThatWasCutOffIsClearedUp) {
    // Ended between the two renames: the old set waits beside, the folder is made anew, empty, and the server is away.
    fs::create_directories("airports/my_simaddon.old");
    test::writeFile("airports/my_simaddon.old/EGLL.txt", "old");
    fs::create_directories("airports/my_simaddon.new");
    test::writeFile("airports/my_simaddon.new/LFPG.txt", "half");
    fs::create_directories(folders.mySimaddon);
    MYSIMADDON24_VERSION.set("1.0.0");
    offerSet("2.0.0", {{"EGLL.xml", "new"}});
    fault("404=mysimaddon24/version.json");
    EXPECT_FALSE(gf_checkSimaddon());
    EXPECT_EQ(installedSet(), (std::map<std::string, std::string>{{"EGLL.txt", "old"}}));
    server->clearFaults();
    EXPECT_TRUE(gf_checkSimaddon());
    EXPECT_EQ(installedSet(), (std::map<std::string, std::string>{{"EGLL.txt", "new"}}));
    expectNoLeftovers();
}

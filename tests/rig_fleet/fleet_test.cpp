// The installations that rig fleet writes: found by the program's own search, the same for the same seed, and with
// exactly the liveries and losses that they are said to have.

#include "fleet/parts.h"

#include "airportscan/bgl.h"
#include "app/app.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/files.h"
#include "rig.h"
#include "simlink/simlink.h"
#include "support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

namespace fs = std::filesystem;

namespace {

const rig::RefTables& tables() {
    static const rig::RefTables all =
        rig::readRefTables(rig::refTablesIn(rig::sourceFolder() / "rig/refdata/tables"));
    return all;
}

class Fleet : public testing::Test {
  protected:
    Fleet() {
        gf_resetParametersToDefaults();
        scratch.enter();
        gf_buildFolders();
        fs::create_directories(folders.appData);
        gf_openLog();
    }
    ~Fleet() override {
        gf_closeLog();
        gf_resetParametersToDefaults();
    }
    rig::FleetSummary write(std::size_t liveries, std::size_t broken = 0, std::uint32_t seed = 1,
                            const char* folder = ".") {
        rig::FleetOptions options;
        options.folder = folder;
        options.liveries = liveries;
        options.sceneries = broken;
        options.brokenRounds = broken;
        options.seed = seed;
        return rig::writeFleet(tables(), options);
    }
    static std::map<fs::path, std::string> content(const fs::path& folder) {
        std::map<fs::path, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            files[entry.path().lexically_relative(folder)] =
                entry.is_regular_file() ? test::readFile(entry.path()) : "";
        return files;
    }
    const test::ScratchFolder scratch;
};

TEST_F(Fleet, IsFoundByTheProgramInEveryFormOfBothEditions) {
    for (const bool is2020 : {true, false})
        for (const rig::FleetForm form : {rig::FleetForm::steam, rig::FleetForm::store, rig::FleetForm::drive,
                                          rig::FleetForm::dashboard, rig::FleetForm::boxed}) {
            SCOPED_TRACE(static_cast<int>(form) + (is2020 ? 2020 : 2024) * 10);
            for (const char* folder : {"config", "data", "drive"}) fs::remove_all(folder);
            rig::FleetOptions options;
            options.folder = ".";
            options.is2020 = is2020;
            options.form = form;
            options.liveries = 1;
            const auto summary = rig::writeFleet(tables(), options);
            MSFS_2020.value = !is2020;
            EXPECT_EQ(gf_findPackagesPath(), fs::path());
            MSFS_2020.value = is2020;
            const fs::path found = gf_findPackagesPath();
            ASSERT_FALSE(found.empty()) << test::readFile("Log.txt");
            EXPECT_TRUE(fs::equivalent(found, summary.packages));
            EXPECT_THROW(rig::writeFleet(tables(), options), std::runtime_error) << "nothing is written over";
        }
}

TEST_F(Fleet, IsTheSameForTheSameSeed) {
    write(150, 1, 1, "a");
    write(150, 1, 1, "b");
    write(150, 1, 2, "c");
    const auto first = content("a");
    EXPECT_EQ(first, content("b"));
    EXPECT_NE(first, content("c"));
}

TEST_F(Fleet, HasFilesInEveryHabit) {
    const auto summary = write(600);
    std::size_t files = 0, carriage = 0, plain = 0, mixed = 0, noEnd = 0, utf16 = 0, marked = 0, eightBit = 0,
                comment = 0, container = 0, behind = 0;
    for (const auto& [name, text] : content(summary.packages / "Community")) {
        std::string file = plat::pathText(name.filename());
        std::transform(file.begin(), file.end(), file.begin(), ::tolower);
        if (file != "aircraft.cfg") continue;
        ++files;
        if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
            ++utf16;
            continue;
        }
        marked += text.starts_with("\xEF\xBB\xBF");
        eightBit += text.find("Avion \xE0 h") != text.npos;
        const auto ends = std::count(text.begin(), text.end(), '\n'),
                   returns = std::count(text.begin(), text.end(), '\r');
        carriage += ends == returns;
        plain += returns == 0;
        mixed += returns > 0 && returns < ends;
        noEnd += text.back() != '\n';
        comment += text.find("\" ; ") != text.npos;
        const auto model = text.find("designator"), section = text.find("0]");
        container += model == text.npos;
        behind += model != text.npos && model > section;
    }
    EXPECT_EQ(files, summary.files);
    EXPECT_EQ(summary.sections, 600u);
    EXPECT_GT(files, 200u);
    for (const std::size_t count :
         {carriage, plain, mixed, noEnd, utf16, marked, eightBit, comment, container, behind})
        EXPECT_GT(count, 0u);
    EXPECT_GT(comment, files * 8 / 10);
}

TEST_F(Fleet, OfTheUsualSizeServesEveryCategoryAndTheAirlinesOfTheRegistrations) {
    rig::Chance chance(1);
    std::map<std::string, std::string> sizes;
    for (const auto& row : tables().types) sizes[row.designator] = row.size;
    std::map<std::string, int> perSize;
    std::set<std::string> titles;
    std::set<std::pair<std::string, std::string>> made;
    const auto liveries = rig::planLiveries(tables(), rig::FleetOptions().liveries, chance);
    for (const auto& livery : liveries) {
        ++perSize[sizes[livery.type]];
        titles.insert(livery.title);
        made.emplace(livery.airline, livery.type);
    }
    EXPECT_EQ(titles.size(), liveries.size()) << "no title twice";
    for (const char* size : {"light", "buzjets", "large", "heavy", "highperf", "rotor"})
        EXPECT_GE(perSize[size], 50) << size;
    for (const auto& row : tables().registrations)
        if (!row.airl.empty() && !row.type.empty()) {
            EXPECT_TRUE(made.contains({row.airl, row.type})) << row.reg;
        }
}

TEST_F(Fleet, ItsSceneriesAreReadAsItSays) {
    for (const bool is2020 : {true, false}) {
        fs::remove_all("config");
        rig::FleetOptions options;
        options.folder = ".";
        options.is2020 = is2020;
        options.liveries = 1;
        options.sceneries = 24;
        const auto summary = rig::writeFleet(tables(), options);
        const BglRules rules{is2020,
                             [](AirportFile&, std::vector<std::string>&) { return AirportIdentity{}; }};
        const auto decode = [&](const fs::path& path) {
            BglFile file(path);
            WordBuffer buffer;
            EXPECT_TRUE(file.hasAirportSection()) << path;
            return gf_decodeBgl(file.read(buffer).value(), plat::pathText(path), rules);
        };
        std::set<std::string> publishers;
        std::size_t oddSizes = 0;
        for (const auto& airport : summary.airports) {
            publishers.insert(airport.publisher);
            oddSizes += fs::file_size(airport.file) % 4 != 0;
            std::size_t stands = 0;
            for (const auto& found : decode(airport.file).airports)
                if (found.file.code == airport.code) stands = found.file.stands.size();
            EXPECT_EQ(stands, airport.stands) << airport.file << " " << airport.code;
        }
        EXPECT_EQ(publishers.contains("simaddon"), is2020);
        EXPECT_GT(publishers.size(), 4u);
        EXPECT_GT(oddSizes, 5u);
        EXPECT_EQ(summary.notRead.size(), is2020 ? 4u : 5u);
        for (const auto& path : summary.notRead) {
            const auto found = decode(path);
            EXPECT_NE(found.failure.empty(), !found.notRecognised) << path;
        }
    }
}

TEST_F(Fleet, TheCommandRefusesWhatItDoesNotKnow) {
    EXPECT_EQ(rig::runFleet({}), 2);
    EXPECT_THROW(rig::runFleet({"a", "--form", "tape"}), std::runtime_error);
    EXPECT_THROW(rig::runFleet({"a", "--edition", "2010"}), std::runtime_error);
    EXPECT_FALSE(fs::exists("a"));
}

} // namespace

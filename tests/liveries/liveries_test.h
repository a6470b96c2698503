#pragma once
// What the tests of this folder share: a program folder of their own, empty stores, a log that can be read, and a
// small set of tables from which to write a reference data file.

#include "app/app.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "liveries/liveries.h"
#include "platform/headless/window_headless.h"
#include "refdata/refdata.h"
#include "support.h"
#include "updates/updates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

class LiveriesTest : public testing::Test {
  protected:
    LiveriesTest() {
        folder.enter();
        app = AppRun{};
        engine = EngineRun{};
        refData = RefData{};
        display = Display{};
        liveryStore = LiveryStore{};
        engineLife = EngineProcess{};
        gf_forgetNoMatches();
        gf_setDownloadBase("");
        gf_buildFolders();
        gf_openLog();
    }
    ~LiveriesTest() override {
        gf_closeLog();
        gf_setDownloadBase("");
        liveryStore = LiveryStore{};
        engineLife = EngineProcess{};
        refData = RefData{};
        engine = EngineRun{};
        display = Display{};
        gf_resetParametersToDefaults();
        gf_clearError();
        gf_clearMessage();
        plat::headless::reset();
    }

    static bool logged(const std::string& text) {
        return test::readFile("Log.txt").find(text) != std::string::npos;
    }

    // The number of the error that the user gets, 0 for none.
    static int errorOf(void (*action)()) {
        try {
            action();
        } catch (const orvo::UserErrorException& e) {
            return e.number();
        }
        return 0;
    }
    // The parts stand in the log in this order.
    static void expectInOrder(const std::vector<std::string>& parts) {
        const std::string text = test::readFile("Log.txt");
        std::size_t place = 0;
        for (const std::string& part : parts) {
            place = text.find(part, place);
            ASSERT_NE(place, std::string::npos) << part << " is missing in\n" << text;
        }
    }

    // What the log has got since mark().
    void mark() { marked = test::readFile("Log.txt").size(); }
    std::string sinceMark() const { return test::readFile("Log.txt").substr(marked); }

    // One or two types of each size, so that every required section has something.
    static rig::RefTables smallTables() {
        rig::RefTables tables;
        tables.types = {{"C172", "light", "11"},   {"GLID", "light", ""},     {"C25B", "buzjets", "16.2"},
                        {"A320", "large", "35.8"}, {"A321", "large", "36"},   {"B772", "heavy", "60.9"},
                        {"F16", "highperf", "10"}, {"A139", "rotor", "13.8"}, {"A5", "light", "10.6"}};
        tables.airlines = {{"BAW", false}, {"AFR", false}, {"FDX", true}, {"PHA", false}};
        tables.registrations = {{"G-BAFM", "", "C172", "", false},
                                {"N123AB", "FDX", "B772", "AFR", true},
                                {"G-EUUA", "BAW", "A320", "", false}};
        tables.fixes = {{"A32N", "A320"}};
        tables.similar = {{"A321", "A320"}};
        tables.cargoTypes = {"B772"};
        tables.publishers = {{"orbx"}};
        tables.simaddons = {"EGLL"};
        return tables;
    }

    static void replace(std::string& text, const std::string& from, const std::string& to) {
        const std::size_t place = text.find(from);
        ASSERT_NE(place, std::string::npos) << from;
        text.replace(place, from.size(), to);
    }

    // The section's elements replaced by others.
    static void replaceSection(std::string& text, const std::string& section, const std::string& content) {
        const std::string open = "<" + section + ">", close = "</" + section + ">";
        const std::size_t start = text.find(open), end = text.find(close);
        ASSERT_NE(start, std::string::npos) << section;
        text.replace(start, end + close.size() - start, open + content + close);
    }

    static void read(const std::string& xml) {
        test::writeFile("data.xml", xml);
        gf_readDbaseFile("data.xml");
    }

    test::ScratchFolder folder;

  private:
    std::size_t marked = 0;
};

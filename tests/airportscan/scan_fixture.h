#pragma once
// What the tests of the scan share: a program folder, an installed simulator whose packages they fill, a download tree,
// and all state at its start.

#include "airportscan/airportscan.h"
#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/folderwalk.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/runcontrol.h"
#include "fleet/bgl.h"
#include "liveries/refdata.h"
#include "platform/files.h"
#include "platform/headless/window_headless.h"
#include "platform/window.h"
#include "simlink/simlink.h"
#include "support.h"
#include "updates/updates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class AirportScanTest : public testing::Test {
  protected:
    AirportScanTest() {
        scratch.enter();
        gf_buildFolders();
        fs::create_directories(folders.appData);
        fs::create_directory("input");
        lf_makeFolders();
        freshState();
        gf_openLog();
        gf_setDownloadBase("server/");
        plat::WindowHandlers handlers;
        handlers.create = [] { plat::addCheckBox(SCAN_AIRPORTS.control.controlId, 0, 0, 12, 12, true); };
        plat::openWindow("test", 0, 0, 880, 516, handlers);
        refData.publisherGroups = {{"Sim Wings", "simwings"}, {"orbx"}, {"TropicalSim"}};
        test::writeFile(folders.airportNamesXml,
                        "<AirportNames><airport ICAO=\"EDDF\" name=\"Frankfurt\"/></AirportNames>");
        for (const char* code : {"EDDF", "EDDM", "EDTT", "EGLL", "LFPO"})
            airportsLife.directory.push_back({code, "", 50, 8, 300});
        install(true);
    }
    ~AirportScanTest() override {
        freshState();
        gf_setDownloadBase("");
        gf_closeLog();
    }
    static void freshState() {
        app = AppRun{};
        airportScan = AirportScan{};
        airportsLife = AirportsProcess{};
        refData = RefData{};
        display = Display{};
        gf_resetParametersToDefaults();
        gf_clearAirportNames();
        gf_clearError();
        gf_clearMessage();
        plat::headless::reset();
    }
    void install(bool is2020) {
        MSFS_2020.value = is2020;
        packages = scratch.path / "sim";
        fs::create_directories(packages / "Community");
        fs::create_directories(packages / "Official");
        gf_installPathParameter().set(plat::pathText(packages));
    }

    // A file of one airport with so many gates.
    void put(const fs::path& path, const std::string& code, std::size_t stands, float radius = 20) const {
        rig::BglAirport airport;
        airport.ident = code;
        for (std::size_t i = 0; i < stands; ++i) {
            rig::BglPosition position;
            position.number = static_cast<int>(i + 1);
            position.radius = radius;
            airport.positions.push_back(position);
        }
        putBytes(path, rig::bglFile({{3, 1, {rig::bglAirport(airport)}}}));
    }
    void putBytes(const fs::path& path, const std::string& bytes) const {
        fs::create_directories((packages / path).parent_path());
        test::writeFile(packages / path, bytes);
    }
    static std::string of2024() {
        return rig::bglFile({{3, 1, {rig::bglRecord(0x113, std::string(94, '\0'))}}});
    }
    static void putOnServer(const std::string& code, const std::string& parameters) {
        fs::create_directories("server/MSFS/archive/stock");
        test::writeFile("server/MSFS/archive/stock/" + code + ".xml", parameters);
    }
    static std::string stock(const std::map<std::string, std::string>& parameters) {
        std::string text = "<parameters>";
        for (const auto& [name, value] : parameters)
            text += "<parameter name=\"" + name + "\" value=\"" + value + "\"/>";
        return text + "</parameters>";
    }

    void scan() {
        SCAN_AIRPORTS.value = true;
        lf_scanAirports();
        scanLog = plain(test::readFile(folders.airportsScanLog));
    }
    // With plain separators, and the program's and the packages' folder by short names.
    std::string plain(std::string text) const {
        std::replace(text.begin(), text.end(), '\\', '/');
        const std::string root = scratch.path.generic_string() + "/sim";
        for (auto at = text.find(root); at != text.npos; at = text.find(root))
            text.replace(at, root.size(), "~");
        return text;
    }
    std::string log() const { return plain(test::readFile(folders.log)); }
    // The files of a folder: links with their text, others by their name, with blanks between.
    static std::string filesIn(const fs::path& folder) {
        std::map<std::string, std::string> files;
        if (fs::exists(folder))
            for (const auto& entry : fs::directory_iterator(folder)) {
                const std::string name = plat::pathText(entry.path().filename());
                files[name] = entry.path().extension() == ".txt" ? "=" + test::readFile(entry.path()) : "";
            }
        std::string text;
        for (const auto& [name, content] : files) text += name + content + (content.empty() ? " " : "");
        std::replace(text.begin(), text.end(), '\n', ' ');
        return text;
    }
    static std::string thirdparty() { return filesIn(folders.myThirdparty); }
    static std::string simaddon() { return filesIn(folders.mySimaddon); }

    const test::ScratchFolder scratch;
    fs::path packages;
    std::string scanLog;
};

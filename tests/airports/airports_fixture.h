#pragma once
// What the tests of this folder share: a program folder and a download tree of their own, a small directory of
// airports, all state at its start, and a loader that is driven by hand.

#include "airports/airports.h"
#include "airports/reading.h"
#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/runcontrol.h"
#include "app/textfiles.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "liveries/refdata.h"
#include "platform/files.h"
#include "platform/headless/window_headless.h"
#include "platform/virtual_clock.h"
#include "platform/window.h"
#include "support.h"
#include "updates/updates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace test {

constexpr double degreesPerMetre = 1 / 1852.0 / 60; // of latitude

inline const std::string metaText =
    "<meta><info name=\"author\" value=\"a\"/><info name=\"version\" value=\"1.0.0\"/>"
    "<info name=\"date\" value=\"d\"/></meta>";

inline std::string native(std::string path) { // with the system's separators
    std::replace(path.begin(), path.end(), '/',
                 static_cast<char>(std::filesystem::path::preferred_separator));
    return path;
}

inline std::string parameter(const std::string& name, const std::string& value) {
    return "<parameter name=\"" + name + "\" value=\"" + value + "\"/>";
}

// A base file: the stands are elements as they stand in it.
inline std::string baseFile(const std::string& stands, const std::string& publisher = "stock",
                            const std::string& more = "") {
    return "<?xml version=\"1.0\"?>" + metaText + "<parameters>" + parameter("airport_name", "Testfield") +
           parameter("publisher", publisher) + parameter("altitude", "364") + more +
           "</parameters><parkpositions>" + stands + "</parkpositions>";
}

inline std::string learnedFile(const std::string& stands, const std::string& parameters = "") {
    return metaText + "<parameters>" + parameter("airport_name", "Testfield") + parameters +
           "</parameters><parkpositions>" + stands + "</parkpositions>";
}

// A stand so many metres north of 50 N 8 E.
inline std::string stand(const std::string& id, double metresNorth, double radiusMetres,
                         const std::string& options = "", const std::string& attributes = "") {
    return fmt::format(
        "<parkpos id=\"{}\" latitude=\"{:.9f}\" longitude=\"8\" heading=\"90.0\" radius=\"{}\" {}>{}"
        "</parkpos>",
        id, 50 + metresNorth * degreesPerMetre, radiusMetres, attributes, options);
}

class AirportsTest : public testing::Test {
  protected:
    AirportsTest() {
        folder.enter();
        gf_buildFolders();
        std::filesystem::create_directories(folders.appData);
        std::filesystem::create_directory("input");
        lf_makeFolders();
        freshState();
        gf_openLog();
        gf_setDownloadBase("server/");
        airportsLife.loaderByHand = true;
        plat::openWindow("test", 0, 0, 880, 516, {makeControls, {}, {}, {}, {}, {}});
        refData.dbaseRegcodes.insert("DAIZZ", "DLH", "A320", "", false);
        refData.dbaseRegcodes.insert("NCARG", "UPS", "B763", "ABX", true);
        const double mile = 1.0 / 60;
        for (const Airport& airport :
             {Airport{"EDTT", "TST", 50, 8, 364}, Airport{"EDNN", "", 50, 8 + 20 * mile, 300},
              Airport{"EDFF", "FAR", 50 + 60 * mile, 8, 100}})
            airportsLife.directory.push_back(airport);
        std::sort(airportsLife.directory.begin(), airportsLife.directory.end(),
                  [](const Airport& a, const Airport& b) { return a.code < b.code; });
        airportsLife.directoryRead = true;
    }
    ~AirportsTest() override {
        freshState();
        gf_setDownloadBase("");
        gf_closeLog();
    }

    static void freshState() {
        app = AppRun{};
        lf_resetAirports();
        lf_dropSaves();
        airportsLife = AirportsProcess{};
        engine = EngineRun{};
        display = Display{};
        refData = RefData{};
        {
            const LockGuard hold(simLock);
            sim = SimLinkRun{};
        }
        trafficReader.collectCallsigns.clear(); // an airport that is brought up sets it
        gf_resetParametersToDefaults();
        gf_clearDisplayTexts();
        gf_joinRun(0);
        gf_clearError();
        gf_clearMessage();
        plat::headless::reset();
    }

    static void makeControls() { // those that the reading of an airport touches
        for (const BoolParameter* p :
             {&LEARN_SOFT, &AUTO_RANGE, &PARK_FAKE, &PARK_SOFT, &WEEK, &INITIAL_LOAD_ONLY})
            plat::addCheckBox(p->control.controlId, 0, 0, 12, 12, p->value);
        for (const int id :
             {LATERAL_RANGE.control.controlId, MAX_LIVE.control.controlId, MAX_FIT.control.controlId,
              parking_percentage.control.controlId, MAX_FIT_FL.control.controlId,
              AUTO_RANGE_ABOVE_HEIGHT.control.controlId, DESTINATION.control.controlId})
            plat::addEditBox(id, 0, 0, 34, 16);
        for (const ButtonParameter* p : {&FLUSH_STATIC, &RE_READ})
            plat::addPushButton(p->control.controlId, 0, 0, 90, 20, p->name);
    }

    static void putOnServer(const std::string& path, const std::string& text) { // below "MSFS" or "MSFS2024"
        const std::filesystem::path file = "server/" + path;
        std::filesystem::create_directories(file.parent_path());
        writeFile(file, text);
    }
    static void putStock(const std::string& code, const std::string& text) {
        putOnServer("MSFS/archive/stock/" + code + ".xml", text);
    }
    static void putLearned(const std::string& code, const std::string& text) { // of a stock airport
        writeFile(folders.learnedStock / (code + ".xml"), text);
    }
    // Reads as the loader does.
    static AirportReading read(const std::string& code) {
        AirportReading reading;
        reading.code = code;
        gf_readApf(gf_locateAirportFile(code), reading);
        return reading;
    }
    static std::string logText() { return readFile(folders.log); }
    static std::string texts(const AirportReading& reading) { // to log and to show, a line each
        std::string all;
        for (const ReadingStep& step : reading.steps)
            if (!step.text.empty()) all += step.text + "\n";
        return all;
    }

    // The user's aircraft, in metres north of 50 N 8 E, on the ground unless a height is given.
    static void placeUser(double metresNorth, double aglFt = 0) {
        engine.user.lat = 50 + metresNorth * degreesPerMetre;
        engine.user.lon = 8;
        engine.user.agl = aglFt;
        sim.userOnGround = aglFt == 0;
    }
    // A step that follows one whose work the loader has done.
    static void step(bool firstTime = false) {
        lf_serveLoader();
        lf_parkingStep(firstTime);
    }
    // The user stands at the stock airport EDTT, which is brought up.
    static void bringUp(const std::string& stands) {
        putStock("EDTT", baseFile(stands));
        placeUser(0);
        step(true);
        step();
    }

    ScratchFolder folder;
    plat::ScopedVirtualClock clock;
};

} // namespace test

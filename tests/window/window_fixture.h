#pragma once
// What the tests of the window share: the window without a screen, all state at its start, and what a repaint draws.

#include "airports/airports.h"
#include "airportscan/airportscan.h"
#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/headless/window_headless.h"
#include "simlink/simlink.h"
#include "support.h"
#include "window/window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace colours;
using plat::headless::Drawn;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

struct MainWindow : testing::Test {
    MainWindow() {
        startValues();
        scratch.enter();
        gf_buildFolders();
        gf_openLog();
    }
    ~MainWindow() override {
        gf_closeLog();
        startValues();
    }
    static void startValues() {
        plat::headless::reset();
        display = Display{};
        simLife.userModelKnown = true;
        gf_clearDisplayTexts();
        app = AppRun{};
        appLife.windowClosed.clear();
        appLife.newLiveriesRequest.clear();
        appLife.newAirportsRequest.clear();
        airports = AirportsRun{};
        airportScan = AirportScan{};
        gf_clearError();
        gf_clearMessage();
        gf_resetParametersToDefaults();
    }
    static std::string logText() { return test::readFile("Log.txt"); }

    const test::ScratchFolder scratch;
};

// The window with its controls, as a run has put them, and a parameter file.
struct OpenWindow : MainWindow {
    OpenWindow() {
        std::filesystem::create_directories(folders.appData);
        EXPECT_TRUE(lf_createMainWindow());
        gf_readParameters();
        lf_controlsToStartState();
        plat::headless::takeInvalid();
    }
    static void loadAirport() {
        gf_setDisplayText(DisplayText::airportLabel, "EHAM (AMS)");
        display.airportLoaded = true;
        for (const Parameter* p : std::initializer_list<const Parameter*>{
                 &parking_percentage, &MAX_FIT_FL, &DESTINATION, &CALLSIGN_2_OBJECTID, &ALL_INSTALL_PATH})
            plat::setEnabled(p->control.controlId, true);
    }
    // What the parameter file has now: "" when it has no such key.
    static std::string saved(const Parameter& p) {
        const std::string text = test::readFile(folders.parameters);
        const std::string key = "name=\"" + std::string(p.name) + "\" value=\"";
        const auto at = text.find(key);
        if (at == text.npos) return {};
        const auto begin = at + key.size();
        return text.substr(begin, text.find('"', begin) - begin);
    }
    // Since the last look.
    static std::vector<Band> bandsToPaint() {
        std::vector<Band> bands;
        for (const plat::Rect& r : plat::headless::takeInvalid())
            for (const Band band : {Band::title, Band::status, Band::settings, Band::parking, Band::message})
                if (gf_bandRect(band).top == r.top) bands.push_back(band);
        return bands;
    }
    static void click(const Parameter& p) { plat::headless::click(p.control.controlId); }
    static void enter(const Parameter& p, const std::string& text) {
        plat::headless::enter(p.control.controlId, text);
    }
    static std::string box(const Parameter& p) { return plat::getText(p.control.controlId); }
    static bool enabled(const Parameter& p) { return plat::isEnabled(p.control.controlId); }
    static bool ticked(const Parameter& p) { return plat::isChecked(p.control.controlId); }
};

struct Text { // a text, and the place and colour that it is drawn with
    int x, y;
    std::string text;
    plat::Colour colour;
    auto operator<=>(const Text&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const Text& t) {
    return out << t.x << ',' << t.y << " \"" << t.text << "\" " << std::hex << t.colour << std::dec;
}

inline std::vector<Text> textsIn(Band band) {
    const plat::Rect r = gf_bandRect(band);
    std::vector<Text> result;
    for (const Drawn& d : plat::headless::repaint())
        if (d.kind == 't' && d.place.top >= r.top && d.place.top < r.bottom)
            result.push_back({d.place.left, d.place.top, d.text, d.colour});
    return result;
}

#pragma once
// What the tests of this folder share: a program folder of their own, a virtual clock, and all state at its start.

#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "liveries/liveries.h"
#include "platform/headless/window_headless.h"
#include "platform/virtual_clock.h"
#include "support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

class AppTest : public testing::Test {
  protected:
    AppTest() {
        folder.enter();
        gf_buildFolders();
        std::filesystem::create_directories(folders.appData);
        std::filesystem::create_directory("docs");
        std::filesystem::create_directory("input");
        freshState();
        gf_openLog();
    }
    ~AppTest() override {
        gf_closeLog();
        freshState();
    }

    static void freshState() {
        app = AppRun{};
        appLife = AppProcess{};
        engine = EngineRun{};
        engineLife = EngineProcess{};
        lf_resetAirports();
        airportsLife = AirportsProcess{};
        airportsLife.directoryRead = true;
        airportsLife.directory = {{"NZSP", "", -90, 0, 9300}}; // far from all that happens
        airportsLife.loaderByHand = true;                      // in virtual time
        {
            const LockGuard hold(simLock);
            sim = SimLinkRun{};
        }
        gf_dropUpdates();
        lf_resetReaders();
        gf_enableTraffic(false);
        trafficReader.userPosition.store({});
        trafficReader.collectCallsigns.clear();
        controlLink.rtProfessional = false;
        display = Display{};
        liveryStore = LiveryStore{};
        gf_resetParametersToDefaults();
        gf_joinRun(0);
        gf_clearError();
        gf_clearMessage();
        plat::headless::reset();
    }

    static std::string logText() { return test::readFile("Log.txt"); }
    static bool logged(const std::string& line) { return logText().find(line + "\n") != std::string::npos; }
    static int timesLogged(const std::string& part) {
        int count = 0;
        const std::string text = logText();
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
        return count;
    }

    test::ScratchFolder folder;
};

// The same in virtual time: a Friday, 2023-10-27 05:06:07 UTC.
class VirtualAppTest : public AppTest {
  protected:
    VirtualAppTest() { clock.setUtcSeconds(1698383167); }
    plat::ScopedVirtualClock clock;
};

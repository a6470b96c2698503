#pragma once
// What the tests of the feed share: fresh state, a log, and feed lines built field by field.

#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "feed/feed.h"
#include "platform/clock.h"
#include "support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

class FeedTest : public testing::Test {
  protected:
    FeedTest() {
        plat::startSockets(); // for the peer of the test, which outlives what the program has started
        folder.enter();
        gf_buildFolders();
        freshState();
        gf_openLog();
        appLife.realTrafficLocal = true;
        app.rangeNm = 40.0;
        trafficReader.userPosition.store({userLat, userLon});
        gf_enableTraffic(true);
    }
    ~FeedTest() override {
        gf_closeLog();
        freshState();
        plat::stopSockets();
    }

    static void freshState() {
        app = AppRun{};
        appLife = AppProcess{};
        gf_closeControlLink();
        controlLink = ControlLink{};
        lf_resetReaders();
        gf_enableTraffic(false);
        for (UdpReader* reader :
             {static_cast<UdpReader*>(&trafficReader), static_cast<UdpReader*>(&qnhReader)})
            reader->lastDatagram.clear();
        trafficReader.userPosition.store({});
        trafficReader.parkAirport.store({});
        trafficReader.collectCallsigns.clear();
        display = Display{};
        gf_clearDisplayTexts();
        gf_joinRun(0);
        gf_clearError();
        gf_clearMessage();
    }

    static std::string logText() { return test::readFile("Log.txt"); }
    static bool logged(const std::string& line) { return logText().find(line + "\n") != std::string::npos; }
    static int timesLogged(const std::string& part) {
        int count = 0;
        const std::string text = logText();
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
        return count;
    }
    static std::uint64_t droppedFor(Drop reason) {
        return trafficReader.dropped[static_cast<std::size_t>(reason)];
    }
    static std::vector<TrafficRecord> takeRecords() {
        std::vector<TrafficRecord> records;
        gf_takeFeedRecords(records, feedQueueLimit);
        return records;
    }

    // Waits for what another thread is to bring about; wall time, at most ten seconds.
    static bool soon(const std::function<bool()>& happened) {
        for (int i = 0; i < 1000; ++i) {
            if (happened()) return true;
            plat::sleepMs(10);
        }
        return false;
    }

    static constexpr double userLat = 50, userLon = 8;
    test::ScratchFolder folder;
};

using Changes = std::map<std::size_t, std::string>; // field index to text

// A line that is kept: an A320 in the air near the user, with all that a full report holds.
inline std::string feedLine(const Changes& changes = {}, std::size_t fieldCount = 43) {
    std::vector<std::string> fields{
        "RTTFC", "3958272", "50.1", "8.1", "5000",         "-640", "0",   "91.5",      "250",  "DLH1A",
        "A320",  "D-AIZA",  "FRA",  "BCN", "1700000000.5", "X",    "LH1", "adsb_icao", "5100", "240",
        "270",   "0.4",     "0.1",  "5",   "88",           "90",   "-1",  "none",      "A3"};
    fields.resize(43, "-1");
    for (const auto& [index, text] : changes) fields[index] = text;
    std::string line = fields[0];
    for (std::size_t i = 1; i < fieldCount; ++i) line += ',' + fields[i];
    return line;
}

#pragma once
// The window with all its texts on show, for the benchmarks of its repaint.

#include "airportscan/airportscan.h"
#include "app/display.h"
#include "app/parameters.h"

inline void fillDisplay() {
    display.simConnected = display.simRunning = display.feedConnected = true;
    display.feedWaiting = false;
    display.trafficMark = display.weatherMark = ReaderMark::live;
    display.liveCount = 312;
    display.liveryCount = 12345;
    display.mySimaddonCount = 1200;
    display.myThirdpartyCount = 12;
    display.airportLoaded = display.airportHandmade = display.softParking = display.reservedStandKnown = true;
    display.standCount = 212;
    display.parkedLive = 12;
    display.parkedStatic = 75;
    display.liveFit = 2.5f;
    display.staticFit = 4.5f;
    display.maxParked = 90;
    display.parkedPercentage = 40;
    display.minutesToSummary = 7;
    airportScan.tbloCount = 3;
    for (const auto& [which, text] : std::initializer_list<std::pair<DisplayText, const char*>>{
             {DisplayText::simLabel, "Microsoft Flight Simulator 11.0"},
             {DisplayText::userStand, "B24"},
             {DisplayText::userTitle, "Airbus A320 Neo with a livery of some name"},
             {DisplayText::feedText, "RealTraffic professional 10.0.240"},
             {DisplayText::airportLabel, "EHAM (AMS)"},
             {DisplayText::airportName, "Amsterdam Airport Schiphol"},
             {DisplayText::publisher, "a publisher"},
             {DisplayText::quality, "45-12 %"},
             {DisplayText::reservedStand, "B24"},
             {DisplayText::objectId, "= 4711"}})
        gf_setDisplayText(which, text);
    CALLSIGN_2_OBJECTID.set("BAW1");
}

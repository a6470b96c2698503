// The band of the park airport: which it is, what is known of it, and how many stand there.

#include "window/window.h"

#include "airports/airports.h"
#include "app/display.h"

#include <fmt/format.h>

#include <string>

using namespace colours;

static constexpr int firstRow = 399, secondRow = 427;

// What follows a text of any length: that one ends where this begins.
static void lf_drawBehind(int x, const std::string& text) {
    constexpr int gap = 4, lineHeight = 16;
    plat::fillRect({x - gap, firstRow, gf_bandRect(Band::parking).right, firstRow + lineHeight}, black);
    lf_drawText(x, firstRow, text, green);
}

static void lf_paintAirport() {
    lf_drawText(85, firstRow,
                fmt::format(" {}, {}{}, wk={}", gf_displayText(DisplayText::airportName),
                            gf_displayText(DisplayText::publisher), display.airportHandmade ? " (h)" : "",
                            display.trafficWeeks.load()),
                green);
    if (display.softParking) lf_drawBehind(370, "*S*");
    lf_drawBehind(430, fmt::format("qf: {}", gf_displayText(DisplayText::quality)));
    if (const std::string stand = gf_displayText(DisplayText::reservedStand); !stand.empty())
        lf_drawText(571, firstRow, fmt::format("reserved stand: {}", stand),
                    display.reservedStandKnown ? green : red);
    lf_drawText(748, firstRow, fmt::format("# updates: {:4}", airports.updates.load()), green);
}

static void lf_paintFit(int x, float hours) {
    if (hours > 0) lf_drawText(x, secondRow, fmt::format("average fit: {}", gf_floatText(hours)), green);
}

static void lf_paintParked() {
    lf_drawText(5, secondRow, fmt::format("# stands: {:3}", display.standCount.load()), green);
    lf_drawText(111, secondRow, fmt::format("parked live: {:3}", display.parkedLive.load()), green);
    lf_paintFit(249, display.liveFit);
    const std::int32_t most = display.maxParked;
    if (most > 0) {
        lf_drawText(430, secondRow, fmt::format("parked static: {:3}", display.parkedStatic.load()), green);
        if (!WEEK) lf_paintFit(571, display.staticFit);
    }
    lf_drawText(708, secondRow,
                most == 0 ? std::string("no max park live")
                          : fmt::format("max park: {:3} (={} %)", most, display.parkedPercentage.load()),
                green);
}

void lf_paintParking() {
    const std::string label = gf_displayText(DisplayText::airportLabel);
    if (label.empty()) return; // there is no park airport
    const bool loaded = display.airportLoaded;
    lf_drawText(5, firstRow, label, loaded ? green : yellow);
    if (!loaded) return;
    lf_paintAirport();
    lf_paintParked();
}

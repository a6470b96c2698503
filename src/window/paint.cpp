// What the window shows, drawn whole at each repaint from the display values. It changes none of them and holds no
// lock while it draws. Thread of the message loop, inside the window's paint handler.

#include "window/window.h"

#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/version.h"
#include "platform/text.h"
#include "platform/window.h"
#include "simlink/simlink.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>

using plat::Colour;
using namespace colours;

static constexpr plat::Rect simBox{397, 30, 425, 112}, feedBox{425, 30, 453, 112};

void lf_drawText(int x, int y, std::string_view text, Colour colour) {
    try {
        plat::utf16FromUtf8(text); // a text that the window system could not take is left out
        plat::drawText(x, y, text, colour);
    } catch (const win32::Utf8ConversionException& e) {
        gf_logLine(fmt::format("{} conversion exception {}, error code: {}", "lf_drawText", e.what(),
                               e.errorCode()));
    }
}

static void lf_fillBand(Band band, Colour colour) { plat::fillRect(gf_bandRect(band), colour); }

// ---- the status band -------------------------------------------------------------------------------------------

static Colour lf_simColour() {
    if (!display.simConnected) return red;
    return display.simRunning && !gf_displayText(DisplayText::userTitle).empty() ? green : yellow;
}

static void lf_paintSim() {
    const Colour colour = lf_simColour();
    plat::fillRect(simBox, colour);
    lf_drawText(398, 63, "Sim", black);
    if (!display.simConnected) {
        lf_drawText(5, 35, fmt::format("MSFS 20{} mode", MSFS_2020 ? "20" : "24"), green);
        return;
    }
    std::string label = gf_displayText(DisplayText::simLabel);
    if (const std::string stand = gf_displayText(DisplayText::userStand); !stand.empty())
        label += ", user stand " + stand;
    lf_drawText(5, 35, label, colour);
    lf_drawText(5, 63, gf_displayText(DisplayText::userTitle), simLife.userModelKnown ? colour : yellow);
}

// A count that is not yet known is 0.
static void lf_paintCount(int x, const char* name, std::uint32_t count, Colour unknown) {
    if (count == 0)
        lf_drawText(x, 91, fmt::format("# {}: ...", name), unknown);
    else
        lf_drawText(x, 91, fmt::format("# {}: {}", name, count), green);
}

static void lf_paintReaderMark(int y, const char* name, ReaderMark mark) {
    if (mark != ReaderMark::notStarted) lf_drawText(458, y, name, mark == ReaderMark::live ? green : yellow);
}

static Colour lf_feedColour() {
    if (display.feedWaiting) return black;
    if (!display.feedConnected) return red;
    return display.trafficMark == ReaderMark::live ? green : yellow;
}

static void lf_paintFeed() {
    plat::fillRect(feedBox, lf_feedColour());
    lf_drawText(430, 63, "RT", black);
    if (!display.feedConnected) return;
    lf_drawText(458, 35, gf_displayText(DisplayText::feedText), green);
    lf_paintReaderMark(63, "Weather", display.weatherMark);
    lf_paintReaderMark(91, "Traffic", display.trafficMark);
}

static void lf_paintLink() {
    lf_paintSim();
    lf_paintCount(5, "liveries", display.liveryCount, red);
    lf_paintCount(141, "simaddon", display.mySimaddonCount, yellow);
    lf_paintCount(278, "thirdp", display.myThirdpartyCount, yellow);
    lf_paintFeed();
    plat::drawLine(425, 29, 425, 112, black);
}

static bool lf_hasStarted(ReaderMark mark) { return mark == ReaderMark::live || mark == ReaderMark::silent; }

static void lf_paintQnh() {
    const std::int32_t qnh = display.qnh;
    if (display.feedConnected && lf_hasStarted(display.weatherMark) && qnh > 0)
        lf_drawText(642, 63, fmt::format("qnh: {:4}", qnh), green);
}

static void lf_paintLiveCount() {
    if (display.feedConnected && lf_hasStarted(display.trafficMark))
        lf_drawText(642, 91, fmt::format("live: {:3}", display.liveCount.load()), green);
}

// ---- the other bands -------------------------------------------------------------------------------------------

static void lf_paintBackground() {
    lf_fillBand(Band::title, black);
    lf_fillBand(Band::status, black);
    lf_fillBand(Band::settings, blue);
    lf_fillBand(Band::parking, black);
    lf_fillBand(Band::message, green);
    for (const int y : {28, 113, 449, 392}) plat::drawLine(0, y, 880, y, white);
}

static void lf_paintTitle() {
    lf_drawText(3, 7, fmt::format("Version {}", gf_versionText(gf_programVersion())), green);
    lf_drawText(390, 7, programName, green);
}

static void lf_paintSettingsLines() {
    plat::drawLine(0, 140, 880, 140, black);
    for (const int y : {168, 196, 224, 252, 280}) plat::drawLine(0, y, 642, y, black);
    plat::drawLine(0, 308, 880, 308, black);
    plat::drawLine(642, 140, 642, 308, black);
}

static void lf_paintMessage() {
    const std::string error = gf_shownError();
    const std::string text = error.empty() ? gf_shownMessage() : error;
    lf_fillBand(Band::message, error.empty() ? green : red);
    if (!text.empty()) lf_drawText(3, 455, text, yellow);
}

void lf_paintAll() {
    lf_paintBackground();
    lf_paintTitle();
    lf_paintSettingsLines();
    lf_paintLink();
    lf_paintQnh();
    lf_paintLiveCount();
    lf_paintSettings();
    lf_paintParking();
    lf_paintMessage();
}

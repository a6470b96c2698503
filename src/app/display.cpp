// The values that the window shows, and the requests to paint them again. Any thread writes; it paints nothing.

#include "app/display.h"

#include "app/parameters.h"
#include "platform/lock.h"

#include <array>

Display display;

static Lock textLock;
static std::array<std::string, static_cast<std::size_t>(DisplayText::count)> texts GUARDED_BY(textLock);

plat::Rect gf_bandRect(Band band) {
    switch (band) {
    case Band::title: return {0, 0, 880, 28};
    case Band::status: return {0, 28, 880, 112};
    case Band::settings: return {0, 112, 880, 392};
    case Band::parking: return {0, 392, 880, 448};
    case Band::message: return {0, 448, 880, 476};
    }
    return {0, 0, 0, 0};
}

void gf_repaint(Band band) { plat::invalidate(gf_bandRect(band)); }

void gf_setDisplayText(DisplayText which, std::string_view text) {
    const LockGuard held(textLock);
    texts[static_cast<std::size_t>(which)] = text;
}

std::string gf_displayText(DisplayText which) {
    const LockGuard held(textLock);
    return texts[static_cast<std::size_t>(which)];
}

bool gf_renewalShown() {
    constexpr std::int32_t most = 19; // 20: one has just begun
    const std::int32_t minutes = display.minutesToSummary;
    return display.airportLoaded && !display.staticWork && !INITIAL_LOAD_ONLY && minutes >= 1 &&
           minutes <= most;
}

void gf_clearDisplayTexts() {
    const LockGuard held(textLock);
    texts = {};
}

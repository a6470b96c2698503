// The slower work of the main cycle: the schedule of each 15 seconds, and the watch over both readers. Worker.

#include "app/maincycle.h"

#include "app/app.h"
#include "app/display.h"
#include "app/log.h"
#include "app/parameters.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "liveries/liveries.h"

// Two visits 15 seconds apart: the first begins to collect the callsigns that the feed shows, the second renews the
// static aircraft by them.
static void visitRepark() {
    if (!app.reparkRequest) return;
    if (!app.reparkFirstPhase) {
        app.reparkFirstPhase = true;
        lf_beginStaticWork();
        return gf_collectCallsigns();
    }
    app.reparkFirstPhase = false;
    gf_clearError();
    gf_clearMessage();
    app.reparkRequest.clear();
    if (airports.park.loaded)
        lf_adjustStatics();
    else if (!airports.pending)
        trafficReader.collectCallsigns.clear();
}

static void endOfSimDay() {
    app.secondCount = 0;
    gf_writeMatchSummary();
    engine.ghosts.clear();
}

void lf_slowSchedule(int second) {
    constexpr int summaryMinutes = 20;
    visitRepark();
    if (display.trafficMark == ReaderMark::silent || display.weatherMark == ReaderMark::silent)
        lf_readerWatch();
    if (second % 30 != 0) return;
    if (AUTO_RANGE) lf_autoRange();
    if (second % 60 != 0) return;
    const bool wasShown = gf_renewalShown();
    display.minutesToSummary = summaryMinutes - second / 60 % summaryMinutes;
    if (wasShown || gf_renewalShown()) gf_repaint(Band::settings);
    if (second % 1200 != 0) return;
    gf_logNoMatches();
    if (airports.park.loaded && !INITIAL_LOAD_ONLY) app.reparkRequest.raise();
    if (second % 86400 == 0) endOfSimDay();
}

static void watchReader(UdpReader& reader, Relaxed<ReaderMark>& mark) {
    const std::uint32_t count = reader.datagramCount;
    const ReaderMark seen = count == reader.watchedCount ? ReaderMark::silent : ReaderMark::live;
    reader.watchedCount = count;
    if (mark == seen) return;
    mark = seen;
    gf_repaint(Band::status);
}

void lf_readerWatch() {
    if (!display.feedConnected) return;
    watchReader(qnhReader, display.weatherMark);
    watchReader(trafficReader, display.trafficMark);
}

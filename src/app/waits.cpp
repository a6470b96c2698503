// The two waits before the main cycle: for a flight with a user's aircraft, and for the first report. Worker.

#include "app/maincycle.h"

#include "app/app.h"
#include "app/log.h"
#include "engine/engine.h"
#include "feed/feed.h"

static bool userHasNoPosition() { return gf_isNoPosition(engine.user.lat, engine.user.lon); }

bool lf_waitForUserAircraft() {
    while (!app.simRunning || app.simConnectFailed)
        if (!gf_sleepUnlessStopped(100)) return false;
    gf_requestOnGround();
    while (!sim.userOnGroundKnown || userHasNoPosition()) {
        engine.user = gf_requestUserAircraft();
        if (!gf_sleepUnlessStopped(500)) return false;
    }
    gf_requestUserNames();
    while (userHasNoPosition()) {
        engine.user = gf_requestUserAircraft();
        if (!gf_sleepUnlessStopped(200)) return false;
    }
    return !gf_stopping();
}

void lf_waitForFirstReport() {
    constexpr int looks = 150; // 15 seconds
    for (int i = 0; i < looks; ++i) {
        if (!gf_sleepUnlessStopped(100)) return;
        if (static_cast<std::int64_t>(trafficReader.latestFeedTime) != 0) return;
    }
    gf_logLine("No traffic in this region?");
}

// The requests of the window, served once a second in a running cycle and in each pass of a paused one. Worker.

#include "app/maincycle.h"

#include "app/app.h"
#include "app/parameters.h"
#include "engine/engine.h"

static void setNavLightsOfParked() {
    const bool on = NAV_LIGHTS_WHILE_PARKED.value;
    for (const ParkedAc& ac : engine.parked)
        if (ac.st == SimState::active) gf_setNavLights(ac.objectId, on);
    for (const LiveAc& ac : engine.live)
        if (ac.st == SimState::active && ac.fs == FlightState::parked) gf_setNavLights(ac.objectId, on);
}

static void flush() {
    gf_flushStatics();
    lf_cancelRenewal();             // what is under way would bring them back
    INITIAL_LOAD_ONLY.value = true; // what was flushed does not come back by itself
    gf_showParameter(INITIAL_LOAD_ONLY);
}

static void trimLive() {
    if (!airports.park.loaded) app.liveLimit = MAX_LIVE.value;
    lf_trimLive();
}

void lf_serveRequests() {
    if (app.objectIdRequest.take()) lf_findObjectId();
    if (app.flushRequest.take()) flush();
    if (app.navLightsRequest.take()) setNavLightsOfParked();
    if (app.trimLiveRequest.take()) trimLive();
    if (app.blockRequest.take()) lf_removeBlocked();
    if (app.forgetTypesRequest.take()) lf_forgetTypesWithoutLivery();
    if (app.destinationRequest.take()) lf_serveDestination();
    if (app.reReadRequest.take()) lf_rereadParkAirports();
    if (app.autoRangeRequest.take()) lf_autoRange(); // behind the list that it looks at
}

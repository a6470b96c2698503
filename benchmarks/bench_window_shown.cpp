// What a repaint of the real window costs, with all its texts on show: the whole of it, and the status band alone, as in a
// run. From the request in the loop to the next one; the screen's work is in it as far as it holds the loop up. It needs a
// screen, or a virtual one.

#include "full_display.h"

#include "app/app.h"
#include "platform/clock.h"
#include "window/window.h"

#include <cstdio>

static constexpr unsigned again = messageEndProcess + 1;
static constexpr int repaints = 1000;

static int left = repaints;
static bool wholly = true;
static plat::SteadyNs begin = 0;

static void tellAndGoOn() {
    std::printf("repaintShown/%s %.0f us\n", wholly ? "window" : "status band",
                static_cast<double>(plat::steadyNow() - begin) / repaints / 1000);
    if (!wholly) return plat::quitLoop(0);
    wholly = false;
    left = repaints;
    begin = plat::steadyNow();
    plat::postMessage(again);
}

static void onPosted(unsigned) {
    if (left-- == 0) return tellAndGoOn();
    if (wholly)
        plat::invalidate({0, 0, 880, 476});
    else
        gf_repaint(Band::status);
    plat::postMessage(again);
}

int main() {
    plat::WindowHandlers handlers;
    handlers.create = lf_createControls;
    handlers.paint = lf_paintAll;
    handlers.posted = onPosted;
    if (!plat::openWindow(programName, 40, 40, 880, 516, handlers)) {
        std::printf("repaintShown: no screen\n");
        return 0;
    }
    fillDisplay();
    lf_controlsToStartState();
    begin = plat::steadyNow();
    plat::postMessage(again);
    return plat::runLoop();
}

// The one window of the program: where it opens, and what its messages mean. It draws nothing itself. Called and
// run by the thread of the message loop.

#include "window/window.h"

#include "app/app.h"
#include "app/parameters.h"
#include "platform/window.h"

static constexpr int windowWidth = 880, windowHeight = 516; // with its frame and caption

static void lf_onPosted(unsigned message) {
    if (message == messageStartRun) gf_startRunThread();
    if (message == messageEndProcess) gf_endProcess();
}

bool lf_createMainWindow() {
    gf_readWindowPosition();
    plat::WindowHandlers handlers;
    handlers.create = lf_createControls;
    handlers.paint = lf_paintAll;
    handlers.command = lf_HandleWMCOMMAND;
    handlers.enter = lf_enterPressed;
    handlers.posted = lf_onPosted;
    handlers.close = gf_userClosesWindow;
    return plat::openWindow(programName, MAIN_WINDOW_X.value, MAIN_WINDOW_Y.value, windowWidth, windowHeight,
                            handlers);
}

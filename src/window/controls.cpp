// The controls of the window, each bound to a parameter by its number. Labels are painted, not made. Thread of the
// message loop, while the window is made.

#include "app/display.h"
#include "app/parameters.h"
#include "window/window.h"

static constexpr int editHeight = 16;

static void lf_createEditBox(const Parameter& p, int x, int width) {
    plat::addEditBox(p.control.controlId, x, p.control.row, width, editHeight);
}

void lf_createControls() {
    lf_createEditBox(ALL_INSTALL_PATH, 111, 1200); // runs past the right edge
    gf_repaint(Band::settings);
}

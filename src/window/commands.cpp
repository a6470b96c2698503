// What the controls do when they are used: a parameter changes at once, heavy work is asked for. Thread of the message
// loop.

#include "app/log.h"
#include "app/parameters.h"
#include "platform/window.h"
#include "simlink/simlink.h"
#include "window/window.h"

#include <exception>
#include <fmt/format.h>

void lf_enterPressed(int id) {
    try {
        if (id == ALL_INSTALL_PATH.control.controlId)
            lf_newSimPath(gf_installPathParameter(), plat::getText(id));
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{} exception {}", "lf_stringBoxProc", e.what()));
    }
}

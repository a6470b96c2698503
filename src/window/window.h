#pragma once
// The window's contents, written once against platform/window.h: five bands, repainted in a fixed order, the controls of
// the settings band, and what those do. All of it runs on the thread of the message loop, except where told.

#include "app/parameters.h"
#include "platform/window.h"

#include <cstdint>
#include <string>
#include <string_view>

bool lf_createMainWindow(); // at its saved place; false when there is none

// ---- controls (controls.cpp) ------------------------------------------------------------------------------------------
void lf_createControls();             // the create handler
void lf_controlsToStartState();       // at the start of each run; worker
BoolParameter* lf_checkBoxOf(int id); // nullptr: no check box

// ---- painting (paint.cpp, labels.cpp, parkingband.cpp) ------------------------------------------------------------------
namespace colours {
constexpr plat::Colour red = 255, blue = 16764057, black = 0, green = 3329330, yellow = 65535,
                       white = 0xFFFFFF, grey = 0xA0A0A0;
}
void lf_paintAll(); // the paint handler
void lf_paintSettings();
void lf_paintParking();
void lf_drawText(int x, int y, std::string_view text, plat::Colour colour); // every text of the window

// ---- commands (commands.cpp, boxes.cpp) ---------------------------------------------------------------------------------
bool lf_HandleWMCOMMAND(int id);       // a click; false: no control of the window
void lf_enterPressed(int id);          // the enter handler: an edit box takes effect
std::string lf_getTextFromId(int id);  // UTF-8; "" when it is none
bool lf_processTbInt(IntParameter& p); // takes the text of its box; true when the value has changed
bool lf_processTbFloat(FloatParameter& p);
void lf_parkingChanged(); // the answer to a change of a parking setting
void lf_unblock();

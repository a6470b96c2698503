#pragma once
// The whole interface to the window system: one window of fixed size, its controls, and drawing at pixel places.
// Insides: a toolkit per system, and a headless table for tests and the replay (headless/window_headless.h).

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace plat {

struct Rect {
    int left, top, right, bottom; // pixels of the client area; right and bottom lie outside
};
using Colour = std::uint32_t; // 0x00BBGGRR

struct WindowHandlers {                  // all called on the thread of the message loop
    std::function<void()> create;        // make the controls here, and only here
    std::function<void()> paint;         // only inside it may the draw operations be called
    std::function<void(int id)> command; // a click on a check box (not yet toggled) or a push button
    std::function<void(int id)> enter;   // Enter in an edit box
    std::function<void(unsigned message)> posted;
    std::function<void()> close; // the close box; quitLoop() ends the loop
};

// On the thread of the message loop.
const char* prepareWindow(); // once, before openWindow: "", or for the log what the system refused
bool openWindow(const char* title, int x, int y, int outerWidth, int outerHeight, WindowHandlers handlers);
int runLoop();                       // until quitLoop(); gives its code
bool windowPosition(int& x, int& y); // of the outer frame, as openWindow takes it

// Before there is a window: tells the user why there will be none. May wait for the user.
void tellFailure(const char* title, std::string_view utf8);

// From any thread; none waits for the loop. Before the window exists they do nothing.
void postMessage(unsigned message);
void quitLoop(int code);
void invalidate(Rect band);
void setTopMost(bool on);

// Controls, inside WindowHandlers::create.
void addCheckBox(int id, int x, int y, int w, int h, bool checked);
void addPushButton(int id, int x, int y, int w, int h, const char* text); // starts disabled
void addEditBox(int id, int x, int y, int w, int h);                      // starts disabled
void setTabOrder(const std::vector<int>& ids); // Tab goes round them, and passes over what is disabled

// An edit box that gets the focus has its text selected; Escape in it brings back the text last set.

// Controls, from any thread; none waits for the loop. A read gives the value last set or typed. An unknown id is
// ignored. A text that the system cannot take changes nothing; that and a typed one that is none in UTF-8 throw
// win32::Utf8ConversionException.
void setEnabled(int id, bool on);
bool isEnabled(int id);
void setChecked(int id, bool on);
bool isChecked(int id);
void setText(int id, std::string_view utf8);
std::string getText(int id);

// Drawing, inside WindowHandlers::paint. A text that the system cannot take throws as above.
void fillRect(Rect r, Colour c);
void drawLine(int x1, int y1, int x2, int y2, Colour c); // horizontal or vertical; the end point is not drawn
void drawText(int x, int y, std::string_view utf8, Colour c); // left top corner of the first character's cell

} // namespace plat

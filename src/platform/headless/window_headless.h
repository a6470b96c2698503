#pragma once
// What a test may do to a window that is not there.

#include "platform/window.h"

#include <string>
#include <vector>

namespace plat::headless {

struct Control {
    char kind; // 'c' check box, 'b' push button, 'e' edit box
    Rect place;
    bool enabled, checked;
    std::string text;
    std::string shown; // what the program has set last
};
struct Drawn {
    char kind; // 'f' fill, 'l' line, 't' text
    Rect place;
    Colour colour;
    std::string text;
};

std::vector<Drawn> repaint();
std::vector<Rect> takeInvalid();
void click(int id);
void type(int id, std::string_view text); // in the place of what the box has
void escape(int id);
void enter(int id, std::string_view text); // types, and presses Enter
void close();
void setPosition(int x, int y);
Control control(int id);
std::vector<int> tabOrder();
bool isTopMost();
void reset(); // as before openWindow

} // namespace plat::headless

#pragma once
// What the pictures of a replay share: a plane of values laid over a rectangle of pixels, as plain SVG text.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

namespace rig {

struct Canvas {                                        // grows with add(); y points up
    double x0 = 0, y0 = 0, width = 1000, height = 600; // pixels
    double left = 1e9, right = -1e9, bottom = 1e9, top = -1e9;

    void add(double x, double y) {
        left = std::min(left, x);
        right = std::max(right, x);
        bottom = std::min(bottom, y);
        top = std::max(top, y);
    }
    bool empty() const { return right < left; }
    double x(double v) const { return x0 + (v - left) / std::max(1e-9, right - left) * width; }
    double y(double v) const { return y0 + height - (v - bottom) / std::max(1e-9, top - bottom) * height; }
    double scale() const { return width / std::max(1e-9, right - left); } // pixels for one of x
    void widen(double share);                                             // room on each side
    void squareUp(); // the same scale both ways, with more room where there is too much
};

struct Points { // of one line
    std::string text;
    void add(const Canvas& c, double x, double y);
};

std::string svgHead(double width, double height);
std::string svgText(double x, double y, const std::string& text, const std::string& more = "");
std::string svgLine(const Points& points, const std::string& colour, double width = 1,
                    const std::string& more = "");
std::string svgFrame(const Canvas& c, const std::string& title);
// Grey lines across with their numbers, about so many.
std::string svgGrid(const Canvas& c, int count);
std::string escaped(const std::string& text); // for SVG and HTML
std::string colourOf(std::uint32_t hexid);

struct Ground {                // metres north and east of a place
    double lat0 = 0, lon0 = 0; // degrees
    double east(double lon) const;
    double north(double lat) const;
};

} // namespace rig

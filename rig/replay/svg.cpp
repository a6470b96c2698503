// Pieces of SVG. No state.

#include "replay/svg.h"

#include "app/geo.h"

#include <fmt/format.h>

namespace rig {

constexpr double metersPerDegree = 60 * metersPerNm;

double Ground::east(double lon) const { return (lon - lon0) * metersPerDegree * std::cos(lat0 * degToRad); }
double Ground::north(double lat) const { return (lat - lat0) * metersPerDegree; }

void Canvas::widen(double share) {
    const double sides = (right - left) * share, ends = (top - bottom) * share;
    left -= sides;
    right += sides;
    bottom -= ends;
    top += ends;
}

void Canvas::squareUp() {
    const double perPixel = std::max({(right - left) / width, (top - bottom) / height, 1e-6});
    const double spareX = perPixel * width - (right - left), spareY = perPixel * height - (top - bottom);
    left -= spareX / 2;
    right += spareX / 2;
    bottom -= spareY / 2;
    top += spareY / 2;
}

void Points::add(const Canvas& c, double x, double y) {
    text += fmt::format("{:.1f},{:.1f} ", c.x(x), c.y(y));
}

std::string svgHead(double width, double height) {
    return fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} "
        "{1}\" font-family=\"sans-serif\" font-size=\"11\">\n<rect width=\"{0}\" height=\"{1}\" "
        "fill=\"#fff\"/>\n",
        width, height);
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) switch (c) {
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '&': result += "&amp;"; break;
        case '"': result += "&quot;"; break;
        default: result += c;
        }
    return result;
}

std::string svgText(double x, double y, const std::string& text, const std::string& more) {
    return fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" {}>{}</text>\n", x, y, more, escaped(text));
}

std::string svgLine(const Points& points, const std::string& colour, double width, const std::string& more) {
    if (points.text.empty()) return {};
    return fmt::format("<polyline fill=\"none\" stroke=\"{}\" stroke-width=\"{}\" {} points=\"{}\"/>\n",
                       colour, width, more, points.text);
}

std::string svgFrame(const Canvas& c, const std::string& title) {
    return fmt::format("<rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\" fill=\"none\" stroke=\"#999\"/>\n",
                       c.x0, c.y0, c.width, c.height) +
           svgText(c.x0 + 4, c.y0 - 5, title, "font-weight=\"bold\"");
}

std::string svgGrid(const Canvas& c, int count) {
    double step = std::pow(10, std::floor(std::log10(std::max(1e-6, (c.top - c.bottom) / count))));
    for (const double larger : {2.0, 2.5, 2.0}) // 2, 5, 10
        if ((c.top - c.bottom) / step > count) step *= larger;
    std::string out;
    for (double v = std::ceil(c.bottom / step) * step; v <= c.top; v += step)
        out += fmt::format(
            "<line x1=\"{0:.1f}\" x2=\"{1:.1f}\" y1=\"{2:.1f}\" y2=\"{2:.1f}\" stroke=\"#e4e4e4\"/>"
            "<text x=\"{3:.1f}\" y=\"{4:.1f}\" text-anchor=\"end\" fill=\"#666\">{5:.0f}</text>\n",
            c.x0, c.x0 + c.width, c.y(v), c.x0 - 4, c.y(v) + 4, v);
    return out;
}

std::string colourOf(std::uint32_t hexid) { return fmt::format("hsl({},70%,40%)", hexid * 47u % 360u); }

} // namespace rig

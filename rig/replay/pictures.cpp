// Pictures of a replay as SVG: tracks over the ground, and altitude over time.

#include "replay/report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>

namespace rig {

namespace {

constexpr double width = 1400, height = 900, margin = 50; // pixels
constexpr double profileCeilingFt = 12000;                // arrivals and departures are those that come below

struct Box {
    double left = 1e9, right = -1e9, bottom = 1e9, top = -1e9;
    void add(double x, double y) {
        left = std::min(left, x);
        right = std::max(right, x);
        bottom = std::min(bottom, y);
        top = std::max(top, y);
    }
    double x(double v) const {
        return margin + (v - left) / std::max(1e-9, right - left) * (width - 2 * margin);
    }
    double y(double v) const {
        return height - margin - (v - bottom) / std::max(1e-9, top - bottom) * (height - 2 * margin);
    }
};

std::string head(const std::string& title) {
    return fmt::format("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 {0} {1}\" "
                       "font-family=\"sans-serif\" font-size=\"11\">\n"
                       "<rect width=\"{0}\" height=\"{1}\" fill=\"#fff\"/><text x=\"{2}\" y=\"24\" "
                       "font-size=\"15\">{3}</text>\n",
                       width, height, margin, title);
}

std::string colourOf(std::uint32_t hexid) { return fmt::format("hsl({},70%,40%)", hexid * 47u % 360u); }

template <class X, class Y>
void polyline(std::string& out, const Watched& w, std::uint32_t hexid, const Box& box, X x, Y y) {
    out += fmt::format("<polyline fill=\"none\" stroke=\"{}\" stroke-width=\"1\" points=\"", colourOf(hexid));
    for (const Sample& s : w.samples) out += fmt::format("{:.1f},{:.1f} ", box.x(x(s)), box.y(y(s)));
    out += "\"/>\n";
    const Sample& last = w.samples.back();
    out += fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" fill=\"{}\">{}</text>\n", box.x(x(last)) + 3,
                       box.y(y(last)), colourOf(hexid), w.callsign);
}

void drawTracks(const Measure& m, const std::filesystem::path& file) {
    double lat0 = 0;
    std::size_t count = 0;
    for (const auto& [hexid, w] : m.aircraft)
        for (const Sample& s : w.samples) lat0 += s.lat, ++count;
    if (count == 0) return;
    const double squeeze = std::cos(lat0 / static_cast<double>(count) * degToRad);
    const auto x = [squeeze](const Sample& s) { return s.lon * squeeze * 60; };
    const auto y = [](const Sample& s) { return s.lat * 60; };
    Box box;
    for (const auto& [hexid, w] : m.aircraft)
        for (const Sample& s : w.samples) box.add(x(s), y(s));
    const double side =
        std::max((box.right - box.left) * height / width, box.top - box.bottom); // same scale both ways
    box.top = box.bottom + side;
    box.right = box.left + side * width / height;
    std::string out = head(
        fmt::format("Tracks over the ground, {:.0f} by {:.0f} nautical miles", side * width / height, side));
    for (const auto& [hexid, w] : m.aircraft)
        if (!w.samples.empty()) polyline(out, w, hexid, box, x, y);
    std::ofstream(file, std::ios::binary) << out << "</svg>\n";
}

void drawProfiles(const Measure& m, const std::filesystem::path& file) {
    Box box;
    box.add(0, 0);
    box.add(0, profileCeilingFt);
    const auto low = [](const Watched& w) {
        return std::any_of(w.samples.begin(), w.samples.end(),
                           [](const Sample& s) { return s.altFt < profileCeilingFt; });
    };
    for (const auto& [hexid, w] : m.aircraft)
        if (low(w))
            for (const Sample& s : w.samples) box.add(s.time, 0);
    if (box.right <= 0) return;
    std::string out =
        head(fmt::format("Altitude below {:.0f} ft over time (0 to {:.0f} s)", profileCeilingFt, box.right));
    for (double ft = 0; ft <= profileCeilingFt; ft += 2000)
        out += fmt::format("<line x1=\"{0}\" x2=\"{1}\" y1=\"{2:.1f}\" y2=\"{2:.1f}\" stroke=\"#ddd\"/><text "
                           "x=\"4\" y=\"{2:.1f}\">{3:.0f}</text>\n",
                           margin, width - margin, box.y(ft), ft);
    for (const auto& [hexid, w] : m.aircraft)
        if (low(w)) {
            Watched part = w;
            std::erase_if(part.samples, [](const Sample& s) { return s.altFt > profileCeilingFt; });
            polyline(
                out, part, hexid, box, [](const Sample& s) { return s.time; },
                [](const Sample& s) { return s.altFt; });
        }
    std::ofstream(file, std::ios::binary) << out << "</svg>\n";
}

} // namespace

void drawPictures(const Measure& measure, const std::filesystem::path& folder) {
    drawTracks(measure, folder / "tracks.svg");
    drawProfiles(measure, folder / "profiles.svg");
}

} // namespace rig

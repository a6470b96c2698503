// Pictures of a replay as SVG: tracks over the ground, those on the airport over its stands, and altitude over time.

#include "replay/report.h"
#include "replay/svg.h"

#include <fmt/format.h>

#include <fstream>

namespace rig {

namespace {

constexpr double width = 1400, height = 900, margin = 50; // pixels
constexpr double profileCeilingFt = 12000;                // arrivals and departures are those that come below

Canvas emptyCanvas() {
    Canvas canvas;
    canvas.x0 = canvas.y0 = margin;
    canvas.width = width - 2 * margin;
    canvas.height = height - 2 * margin;
    return canvas;
}

void write(const std::filesystem::path& file, const std::string& title, const std::string& drawing) {
    std::ofstream(file, std::ios::binary)
        << svgHead(width, height) << svgText(margin, 24, title, "font-size=\"15\"") << drawing << "</svg>\n";
}

// The line of an aircraft, of the samples that are wanted; a pause begins a new line. Its name stands at the end, or where it
// began when that is higher: names of arrivals would lie over each other at the airport.
template <class Wanted, class X, class Y>
void drawTrack(std::string& out, const Watched& w, std::uint32_t hexid, const Canvas& canvas, Wanted wanted,
               X x, Y y) {
    constexpr float pauseS = 5;
    Points points;
    const Sample *first = nullptr, *last = nullptr;
    for (const Sample& s : w.samples) {
        if (!wanted(s)) continue;
        if (!first) first = &s;
        if (last && s.time - last->time > pauseS) {
            out += svgLine(points, colourOf(hexid));
            points = {};
        }
        points.add(canvas, x(s), y(s));
        last = &s;
    }
    if (!last) return;
    out += svgLine(points, colourOf(hexid));
    constexpr float higherFt = 500;
    const Sample& named = first->altFt > last->altFt + higherFt ? *first : *last;
    out += svgText(canvas.x(x(named)) + 3, canvas.y(y(named)), w.callsign,
                   fmt::format("fill=\"{}\"", colourOf(hexid)));
}

std::string standsOn(const Canvas& canvas, const Ground& ground, const std::vector<StandPlace>& stands) {
    std::string out;
    for (const StandPlace& s : stands) {
        const double x = canvas.x(ground.east(s.lon)), y = canvas.y(ground.north(s.lat)),
                     r = s.radiusM * canvas.scale();
        out += fmt::format(
            "<circle cx=\"{0:.1f}\" cy=\"{1:.1f}\" r=\"{2:.1f}\" fill=\"#f2f2f2\" stroke=\"#bbb\"/>"
            "<line x1=\"{0:.1f}\" y1=\"{1:.1f}\" x2=\"{3:.1f}\" y2=\"{4:.1f}\" stroke=\"#bbb\"/>\n",
            x, y, r, x + r * std::sin(s.heading), y - r * std::cos(s.heading));
    }
    return out;
}

void drawTracks(const Measure& m, const std::vector<StandPlace>& stands, bool groundAlone,
                const std::filesystem::path& file) {
    Ground ground;
    Canvas canvas = emptyCanvas();
    const auto wanted = [groundAlone](const Sample& s) { return s.onGround || !groundAlone; };
    const auto x = [&](const Sample& s) { return ground.east(s.lon); };
    const auto y = [&](const Sample& s) { return ground.north(s.lat); };
    for (const auto& [hexid, w] : m.aircraft)
        for (const Sample& s : w.samples) {
            if (!wanted(s)) continue;
            if (canvas.empty()) ground = {s.lat, s.lon};
            canvas.add(x(s), y(s));
        }
    if (groundAlone && !canvas.empty())
        for (const StandPlace& s : stands) canvas.add(ground.east(s.lon), ground.north(s.lat));
    if (canvas.empty()) return;
    canvas.widen(0.02);
    canvas.squareUp();
    std::string out = standsOn(canvas, ground, stands);
    for (const auto& [hexid, w] : m.aircraft) drawTrack(out, w, hexid, canvas, wanted, x, y);
    const double wide = canvas.right - canvas.left, high = canvas.top - canvas.bottom;
    write(file,
          groundAlone ? fmt::format("Tracks on the ground, {:.0f} by {:.0f} m", wide, high)
                      : fmt::format("Tracks over the ground, {:.0f} by {:.0f} nautical miles",
                                    wide / metersPerNm, high / metersPerNm),
          out);
}

void drawProfiles(const Measure& m, const std::filesystem::path& file) {
    Canvas canvas = emptyCanvas();
    const auto low = [](const Sample& s) { return !s.onGround && s.altFt < profileCeilingFt; };
    for (const auto& [hexid, w] : m.aircraft)
        for (const Sample& s : w.samples)
            if (low(s)) canvas.add(s.time, s.altFt);
    if (canvas.empty()) return;
    canvas.add(0, 0);
    constexpr int lines = 8;
    std::string out = svgGrid(canvas, lines);
    for (const auto& [hexid, w] : m.aircraft)
        drawTrack(
            out, w, hexid, canvas, low, [](const Sample& s) { return s.time; },
            [](const Sample& s) { return s.altFt; });
    write(file,
          fmt::format("Altitude below {:.0f} ft over time (0 to {:.0f} s)", profileCeilingFt, canvas.right),
          out);
}

} // namespace

void drawPictures(const Measure& measure, const std::vector<StandPlace>& stands,
                  const std::filesystem::path& folder) {
    drawTracks(measure, stands, false, folder / "tracks.svg");
    drawTracks(measure, stands, true, folder / "ground.svg");
    drawProfiles(measure, folder / "profiles.svg");
}

} // namespace rig

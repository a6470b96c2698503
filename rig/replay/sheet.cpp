// Writes the sheet of an aircraft as one HTML page with a drawing in it.

#include "replay/sheet.h"

#include "replay/svg.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <fstream>

namespace rig {

// ---- the log -----------------------------------------------------------------------------------------------------

SheetLog::SheetLog(const std::vector<std::string>& wanted) {
    constexpr std::size_t digits = 6;
    for (const std::string& text : wanted) {
        std::uint32_t hexid = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), hexid, 16);
        if (text.size() == digits && error == std::errc() && end == text.data() + text.size())
            hexids.push_back(hexid);
        else
            callsigns.push_back(text);
    }
}

std::map<std::uint32_t, const SheetTrack*> SheetLog::wanted() const {
    static const SheetTrack noTrack;
    std::map<std::uint32_t, const SheetTrack*> result;
    for (const std::uint32_t hexid : hexids) result[hexid] = &noTrack;
    for (const auto& [hexid, track] : tracks)
        if (result.contains(hexid) ||
            std::find_first_of(track.callsigns.begin(), track.callsigns.end(), callsigns.begin(),
                               callsigns.end()) != track.callsigns.end())
            result[hexid] = &track;
    return result;
}

void SheetLog::afterTick(double time, const std::vector<Shown>& shown) {
    constexpr std::uint64_t ticksOnGround = 20, ticksInAir = 100;
    ++ticks;
    if (ticks % ticksOnGround != 0 || (hexids.empty() && callsigns.empty())) return;
    for (const Shown& s : shown) {
        if (!s.onGround && ticks % ticksInAir != 0) continue;
        SheetTrack& track = tracks[s.hexid];
        track.points.push_back({time, s.shape.lat, s.shape.lon, s.altFt, s.shape.heading, s.fs, s.onGround});
        if (track.callsigns.empty() || track.callsigns.back() != s.callsign)
            track.callsigns.push_back(s.callsign);
    }
}

namespace {

constexpr const char* feedColour = "#999";

const char* colourOfState(FlightState fs) {
    switch (fs) {
    case FlightState::pushingBack: return "#d62728";
    case FlightState::pushedBack: return "#e8a0a0";
    case FlightState::taxi: return "#1f77b4";
    case FlightState::takeOff: return "#9467bd";
    case FlightState::flying: return "#17becf";
    case FlightState::parking: return "#ff7f0e";
    case FlightState::parked: return "#2ca02c";
    case FlightState::birth: return "#000";
    }
    return "#000";
}

struct Sheet {
    const SheetInput& input;
    std::uint32_t hexid;
    const SheetTrack& track;
    const std::vector<FeedFix>& feed;
    const std::vector<Decision>& decisions;
    double from = 0, to = 0; // replay seconds that it covers

    double shownAt(double feedTime) const { // when the program, which is behind, should show it
        return feedTime - input.startFeedTime + input.feedDelayS;
    }
    bool covers(double time) const { return time >= from && time <= to; }
};

// One line per stretch of one state; `at` gives the place of a point.
template <class At> std::string stateLines(const Sheet& sheet, const Canvas& canvas, double width, At at) {
    std::string out;
    Points points;
    const SheetPoint* last = nullptr;
    for (const SheetPoint& p : sheet.track.points) {
        constexpr double pauseS = 3;
        const auto [x, y] = at(p);
        if (last && (p.fs != last->fs || p.time - last->time > pauseS)) {
            if (p.time - last->time <= pauseS) points.add(canvas, x, y);
            out += svgLine(points, colourOfState(last->fs), width);
            points = {};
        }
        points.add(canvas, x, y);
        last = &p;
    }
    return last ? out + svgLine(points, colourOfState(last->fs), width) : out;
}

// ---- the way over the stands -------------------------------------------------------------------------------------

std::string drawStands(const Sheet& sheet, const Canvas& canvas, const Ground& ground, bool names) {
    std::string out;
    for (const StandPlace& s : sheet.input.stands) {
        const double x = canvas.x(ground.east(s.lon)), y = canvas.y(ground.north(s.lat)),
                     r = s.radiusM * canvas.scale();
        if (x < canvas.x0 - r || x > canvas.x0 + canvas.width + r || y < canvas.y0 - r ||
            y > canvas.y0 + canvas.height + r)
            continue;
        out += fmt::format(
            "<circle cx=\"{0:.1f}\" cy=\"{1:.1f}\" r=\"{2:.1f}\" fill=\"#f4f4f4\" stroke=\"#ccc\"/>"
            "<line x1=\"{0:.1f}\" y1=\"{1:.1f}\" x2=\"{3:.1f}\" y2=\"{4:.1f}\" stroke=\"#ccc\"/>\n",
            x, y, r, x + r * std::sin(s.heading), y - r * std::cos(s.heading));
        if (names) out += svgText(x + 3, y + 4, s.id, "fill=\"#888\"");
    }
    return out;
}

// An arrow for where the nose points, at most one for each so many metres and seconds.
std::string drawNoses(const Sheet& sheet, const Canvas& canvas, const Ground& ground, double meters) {
    std::string out;
    const SheetPoint* last = nullptr;
    for (const SheetPoint& p : sheet.track.points) {
        const bool turned =
            last && std::abs(gf_headingDiff(last->heading, p.heading)) > 0.15 && p.time - last->time > 1;
        if (last && !turned && metersBetween(last->lat, last->lon, p.lat, p.lon) < meters) continue;
        last = &p;
        const double x = canvas.x(ground.east(p.lon)), y = canvas.y(ground.north(p.lat));
        constexpr double length = 14;
        out += fmt::format("<line x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\" stroke=\"{}\"/>"
                           "<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"1.6\" fill=\"{}\"/>\n",
                           x, y, x + length * std::sin(p.heading), y - length * std::cos(p.heading),
                           colourOfState(p.fs), x, y, colourOfState(p.fs));
    }
    return out;
}

std::string drawWay(const Sheet& sheet, Canvas canvas, const Ground& ground, bool near,
                    const std::string& title) {
    const std::string clip = near ? "near" : "whole";
    std::string out =
        fmt::format("<clipPath id=\"{}\"><rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\"/></clipPath>"
                    "<g clip-path=\"url(#{})\">\n",
                    clip, canvas.x0, canvas.y0, canvas.width, canvas.height, clip);
    out += drawStands(sheet, canvas, ground, near);
    Points feed;
    std::string dots;
    for (const FeedFix& fix : sheet.feed) {
        if (!sheet.covers(sheet.shownAt(fix.time))) continue;
        feed.add(canvas, ground.east(fix.lon), ground.north(fix.lat));
        dots += fmt::format("<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"2\" fill=\"{}\"/>",
                            canvas.x(ground.east(fix.lon)), canvas.y(ground.north(fix.lat)), feedColour);
    }
    out += svgLine(feed, feedColour, 1, "stroke-dasharray=\"4 3\"");
    if (near) out += dots;
    out += stateLines(sheet, canvas, 2, [&](const SheetPoint& p) {
        return std::pair(ground.east(p.lon), ground.north(p.lat));
    });
    if (near) {
        constexpr double noseEveryM = 8;
        out += drawNoses(sheet, canvas, ground, noseEveryM);
    }
    return out + "</g>\n" +
           svgFrame(canvas, fmt::format("{}, {:.0f} by {:.0f} m", title, canvas.right - canvas.left,
                                        canvas.top - canvas.bottom));
}

// What is worth a closer look: where it stood, was pushed or parked; else where it stopped.
const SheetPoint* focusOf(const Sheet& sheet) {
    const SheetPoint* focus = nullptr;
    for (const SheetPoint& p : sheet.track.points)
        if (p.fs == FlightState::parked || p.fs == FlightState::parking || p.fs == FlightState::pushingBack)
            focus = &p;
    if (!focus)
        for (const SheetPoint& p : sheet.track.points)
            if (p.onGround) focus = &p;
    return focus;
}

std::string drawWays(const Sheet& sheet) {
    const SheetPoint* focus = focusOf(sheet);
    const SheetPoint& any = focus ? *focus : sheet.track.points.front();
    const Ground ground{any.lat, any.lon};
    Canvas whole, near;
    whole.x0 = near.x0 = 60;
    whole.y0 = near.y0 = 40;
    whole.width = near.width = 620;
    whole.height = near.height = 520;
    near.x0 = 740;
    for (const SheetPoint& p : sheet.track.points)
        if (p.onGround || !focus) whole.add(ground.east(p.lon), ground.north(p.lat));
    whole.widen(0.05);
    whole.squareUp();
    std::string out = drawWay(sheet, whole, ground, false, focus ? "the way on the ground" : "the whole way");
    if (!focus) return out;
    constexpr double nearM = 130;
    near.add(-nearM, -nearM);
    near.add(nearM, nearM);
    near.squareUp();
    return out + drawWay(sheet, near, ground, true, "at the stand (grey: the feed; strokes: the nose)");
}

// ---- over time ---------------------------------------------------------------------------------------------------

std::string timeMarks(const Sheet& sheet, const Canvas& canvas, bool numbers) {
    std::string out;
    int number = 0;
    for (const Decision& d : sheet.decisions) {
        ++number;
        if (!sheet.covers(d.time)) continue;
        const double x = canvas.x(d.time);
        out += fmt::format("<line x1=\"{0:.1f}\" x2=\"{0:.1f}\" y1=\"{1}\" y2=\"{2}\" stroke=\"#f3d9b0\"/>",
                           x, canvas.y0, canvas.y0 + canvas.height);
        if (numbers)
            out += svgText(x, canvas.y0 + canvas.height + 12 + number % 3 * 11, std::to_string(number),
                           "text-anchor=\"middle\" fill=\"#a60\"");
    }
    return out;
}

using ByFeedTime = std::map<double, double>;

template <class ShownValue>
std::string drawOverTime(const Sheet& sheet, double y0, double width, const std::string& title, bool wraps,
                         bool numbers, const ByFeedTime& feed, ShownValue shownValue) {
    Canvas canvas;
    canvas.x0 = 60;
    canvas.y0 = y0;
    canvas.width = width;
    canvas.height = 130;
    for (const SheetPoint& p : sheet.track.points) canvas.add(p.time, shownValue(p));
    for (const auto& [time, value] : feed)
        if (sheet.covers(sheet.shownAt(time))) canvas.add(sheet.shownAt(time), value);
    constexpr double leastSpan = 10;
    canvas.top = std::max(canvas.top, canvas.bottom + leastSpan);
    canvas.left = sheet.from;
    canvas.right = std::max(sheet.to, sheet.from + 1);
    constexpr int lines = 5;
    std::string out = svgGrid(canvas, lines) + timeMarks(sheet, canvas, numbers);
    for (const auto& [time, value] : feed) // dots: a line would join what lies across a silence, or north
        if (sheet.covers(sheet.shownAt(time)))
            out += fmt::format("<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"1.4\" fill=\"{}\"/>",
                               canvas.x(sheet.shownAt(time)), canvas.y(value), feedColour);
    const SheetPoint* last = nullptr;
    Points points;
    for (const SheetPoint& p : sheet.track.points) {
        const bool jump = last && (p.fs != last->fs || p.time - last->time > 3 ||
                                   (wraps && std::abs(shownValue(p) - shownValue(*last)) > 180));
        if (jump) {
            out += svgLine(points, colourOfState(last->fs), 1.5);
            points = {};
        }
        points.add(canvas, p.time, shownValue(p));
        last = &p;
    }
    if (last) out += svgLine(points, colourOfState(last->fs), 1.5);
    return out + svgFrame(canvas, title);
}

// The course of its places, in degrees: what feeds say of the track of slow aircraft is often noise.
ByFeedTime feedCourse(const std::vector<FeedFix>& feed) {
    constexpr double stepM = 15, longestS = 30;
    ByFeedTime result;
    const FeedFix* last = nullptr;
    for (const FeedFix& fix : feed) {
        if (last && metersBetween(last->lat, last->lon, fix.lat, fix.lon) < stepM) continue;
        if (last && fix.time - last->time < longestS)
            result[(last->time + fix.time) / 2] =
                gf_bearing(last->lat, last->lon, fix.lat, fix.lon) * radToDeg;
        last = &fix;
    }
    return result;
}

std::string drawPlots(const Sheet& sheet, double width) {
    std::map<double, double> speeds; // by time: over a second, so that single steps do not show
    const auto& points = sheet.track.points;
    for (std::size_t i = 0, j = 0; i < points.size(); ++i) {
        while (points[i].time - points[j].time > 1.01) ++j;
        const double seconds = points[i].time - points[j].time;
        const double m = metersBetween(points[j].lat, points[j].lon, points[i].lat, points[i].lon);
        speeds[points[i].time] = seconds > 0 ? m / seconds / metersPerNm * 3600 : 0;
    }
    ByFeedTime feedSpeeds, feedAltitudes;
    for (const FeedFix& fix : sheet.feed) {
        feedSpeeds[fix.time] = fix.speed;
        if (fix.alt > 0) feedAltitudes[fix.time] = fix.alt;
    }
    return drawOverTime(sheet, 20, width, "heading, degrees (grey: the course of the feed's places)", true,
                        false, feedCourse(sheet.feed),
                        [](const SheetPoint& p) { return p.heading * radToDeg; }) +
           drawOverTime(sheet, 180, width, "speed, knots", false, false, feedSpeeds,
                        [&](const SheetPoint& p) { return speeds.at(p.time); }) +
           drawOverTime(sheet, 340, width, "altitude, feet (numbers: decisions below)", false, true,
                        feedAltitudes, [](const SheetPoint& p) { return p.altFt; });
}

// ---- the page ----------------------------------------------------------------------------------------------------

std::string clockText(double feedTime) {
    return fmt::format("{:%H:%M:%S}", fmt::gmtime(static_cast<std::time_t>(feedTime)));
}

std::string listDecisions(const Sheet& sheet) {
    std::string out = "<table><tr><th>#</th><th>replay, s</th><th>clock, UTC</th><th>decision</th></tr>\n";
    for (std::size_t i = 0; i < sheet.decisions.size(); ++i) {
        const Decision& d = sheet.decisions[i];
        const std::size_t first = i;
        while (i + 1 < sheet.decisions.size() && sheet.decisions[i + 1].what == d.what) ++i;
        const std::string times =
            i > first ? fmt::format(", {} times until {:.1f} s", i - first + 1, sheet.decisions[i].time) : "";
        out += fmt::format("<tr><td>{}</td><td>{:.1f}</td><td>{}</td><td>{}</td></tr>\n", first + 1, d.time,
                           clockText(sheet.input.startFeedTime + d.time), escaped(d.what) + times);
    }
    return out + "</table>\n";
}

std::string tellLines(const Sheet& sheet) {
    const auto found = sheet.input.decisions.lines.find(sheet.hexid);
    const LineFates fates = found == sheet.input.decisions.lines.end() ? LineFates{} : found->second;
    const std::string dropped = fates.whyDropped();
    return fmt::format("<p>Lines of the feed: {} taken, dropped: {}.</p>\n", fates.kept,
                       dropped.empty() ? "none" : dropped);
}

std::string legend() {
    std::string out;
    for (int i = 0; i <= static_cast<int>(FlightState::birth); ++i) {
        const auto fs = static_cast<FlightState>(i);
        out += fmt::format("<b style=\"color:{}\">{}</b> ", colourOfState(fs), gf_flightStateName(fs));
    }
    return out;
}

std::string sheetPage(const Sheet& sheet) {
    std::string names;
    for (const std::string& callsign : sheet.track.callsigns) names += callsign + " ";
    const std::string title = fmt::format("{}{:06X}", names, sheet.hexid);
    std::string out = fmt::format(
        "<!DOCTYPE html><meta charset=\"utf-8\"><title>{0}</title>\n"
        "<style>body{{font:13px sans-serif;margin:16px}}td,th{{padding:1px 10px 1px 0;text-align:left}}"
        "div{{overflow-x:auto}}</style>\n<h2>{0}</h2><p>{1}</p>\n",
        escaped(title), legend());
    if (sheet.track.points.empty()) {
        out += "<p>It never appeared.</p>\n" + tellLines(sheet);
        return out + listDecisions(sheet);
    }
    constexpr double waysHeight = 580, plotsHeight = 520, leastWidth = 1300, most = 8000, pixelsPerS = 1;
    const double width = std::clamp((sheet.to - sheet.from) * pixelsPerS, leastWidth, most);
    out += svgHead(1380, waysHeight) + drawWays(sheet) + "</svg>\n<div>";
    out += svgHead(width + 80, plotsHeight) + drawPlots(sheet, width) + "</svg></div>\n";
    out += fmt::format("<p>{:.0f} to {:.0f} s of the replay; the feed is drawn {:.0f} s later than it was "
                       "received, as the program is behind it by that.</p>\n",
                       sheet.from, sheet.to, sheet.input.feedDelayS);
    return out + listDecisions(sheet);
}

// What is drawn, in numbers.
std::string sheetNumbers(const Sheet& sheet) {
    std::string out = "time_s,lat,lon,altitude_ft,heading_deg,on_ground,state,feed_lat,feed_lon\n";
    for (const SheetPoint& p : sheet.track.points) {
        out += fmt::format("{:.2f},{:.7f},{:.7f},{:.1f},{:.2f},{},{}", p.time, p.lat, p.lon, p.altFt,
                           p.heading * radToDeg, p.onGround ? 1 : 0, gf_flightStateName(p.fs));
        double lat = 0, lon = 0;
        const double feedTime = sheet.input.startFeedTime + p.time - sheet.input.feedDelayS;
        if (sheet.input.feed.place(sheet.hexid, feedTime, lat, lon))
            out += fmt::format(",{:.7f},{:.7f}", lat, lon);
        out += '\n';
    }
    return out;
}

} // namespace

int writeSheets(const SheetInput& input, const std::filesystem::path& folder) {
    static const std::vector<FeedFix> noFeed;
    static const std::vector<Decision> noDecisions;
    const auto wanted = input.log.wanted();
    for (const auto& [hexid, track] : wanted) {
        const auto* feed = input.feed.of(hexid);
        const auto said = input.decisions.of.find(hexid);
        Sheet sheet{input, hexid, *track, feed ? *feed : noFeed,
                    said == input.decisions.of.end() ? noDecisions : said->second};
        if (!track->points.empty()) {
            sheet.from = track->points.front().time;
            sheet.to = track->points.back().time;
        }
        const std::string name = fmt::format("aircraft-{:06X}", hexid);
        std::ofstream(folder / (name + ".html"), std::ios::binary) << sheetPage(sheet);
        std::ofstream(folder / (name + ".csv"), std::ios::binary) << sheetNumbers(sheet);
    }
    return static_cast<int>(wanted.size());
}

} // namespace rig

// Finds ways among others on the ground. Each point of a way has windows of time in which nobody is near it; the search
// gives the earliest time for each point and window, and the aircraft is then driven so that it is nowhere before that.

#include "groundtraffic.h"

#include <algorithm>
#include <cmath>

namespace rig {

namespace {

constexpr double besideM = 3;         // between two half spans, for aircraft side by side
constexpr double inTrailM = 40;       // likewise on the same way
constexpr double laneHalfWidthM = 30; // as far aside is the same way
constexpr int headway = 6;            // seconds behind one that has left
constexpr int horizon = 2400;         // seconds that a way may take
constexpr int lag = 12;               // seconds that a start after a wait may cost
constexpr double accelerationMps2 = 0.5, brakingMps2 = 0.5, hardBrakingMps2 = 1.0;

// How far the other lies beside the way there; `ahead` is one metre of it.
double aside(const Spot& at, const Spot& ahead, const Spot& other) {
    return std::fabs((other.east - at.east) * ahead.north - (other.north - at.north) * ahead.east);
}

// Seconds from each point to the next, driven without a wait.
std::vector<double> freeTimes(const GroundWay& way, double startMps) {
    std::vector<double> seconds;
    double speed = startMps;
    for (std::size_t i = 0; i + 1 < way.points.size(); ++i) {
        const double step = way.along[i + 1] - way.along[i];
        const double next =
            std::min(way.points[i + 1].mostMps, std::sqrt(speed * speed + 2 * accelerationMps2 * step));
        constexpr double slowest = 0.2;
        seconds.push_back(step / std::max(slowest, (speed + next) / 2));
        speed = next;
    }
    return seconds;
}

// The points of a way by squares of the ground.
class PointGrid {
  public:
    PointGrid(const GroundWay& way, double reachM) : size(reachM) {
        Spot low = way.points.front().at, high = low;
        for (const PathPoint& point : way.points) {
            low = {std::min(low.east, point.at.east), std::min(low.north, point.at.north)};
            high = {std::max(high.east, point.at.east), std::max(high.north, point.at.north)};
        }
        corner = {low.east - size, low.north - size}; // a row of empty squares all around
        columns = static_cast<int>((high.east - low.east) / size) + 3;
        rows = static_cast<int>((high.north - low.north) / size) + 3;
        squares.resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
        for (std::size_t i = 0; i < way.points.size(); ++i)
            at(column(way.points[i].at), row(way.points[i].at)).push_back(i);
    }
    // Hands out those that are nearer than the reach, and some others.
    template <typename Take> void around(const Spot& spot, Take take) {
        if (spot.east < corner.east || spot.north < corner.north) return;
        const int x = column(spot), y = row(spot);
        if (x >= columns || y >= rows) return;
        for (int c = std::max(0, x - 1); c <= std::min(columns - 1, x + 1); ++c)
            for (int r = std::max(0, y - 1); r <= std::min(rows - 1, y + 1); ++r)
                for (const std::size_t i : at(c, r)) take(i);
    }

  private:
    int column(const Spot& spot) const { return static_cast<int>((spot.east - corner.east) / size); }
    int row(const Spot& spot) const { return static_cast<int>((spot.north - corner.north) / size); }
    std::vector<std::size_t>& at(int c, int r) {
        return squares[static_cast<std::size_t>(r) * static_cast<std::size_t>(columns) +
                       static_cast<std::size_t>(c)];
    }
    double size;
    Spot corner;
    int columns = 0, rows = 0;
    std::vector<std::vector<std::size_t>> squares;
};

} // namespace

std::size_t GroundTraffic::addStanding(const Spot& at, double halfSpanM, int from) {
    standing.push_back({at, halfSpanM, from, forever});
    return standing.size() - 1;
}
void GroundTraffic::leaves(std::size_t which, int second) { standing[which].to = second; }
void GroundTraffic::addMoving(double halfSpanM, GroundTrack track) {
    if (!track.empty()) moving.push_back({halfSpanM, std::move(track)});
}

bool GroundTraffic::isFree(const GroundTrack& track, double halfSpanM, double marginM,
                           std::size_t ignored) const {
    if (track.empty()) return true;
    const int first = track.front().second, last = track.back().second;
    for (std::size_t i = 0; i < standing.size(); ++i) {
        const Standing& other = standing[i];
        if (i == ignored || other.from > last || other.to < first) continue;
        for (const GroundFix& fix : track)
            if (fix.second >= other.from && fix.second <= other.to &&
                metersBetween(fix.at, other.at) < halfSpanM + other.halfSpanM)
                return false;
    }
    for (const Moving& other : moving) {
        const int from = std::max(first, other.track.front().second);
        const int to = std::min(last, other.track.back().second);
        for (int second = from; second <= to; ++second) {
            const Spot& mine = track[static_cast<std::size_t>(second - first)].at;
            const Spot& its = other.track[static_cast<std::size_t>(second - other.track.front().second)].at;
            if (metersBetween(mine, its) < halfSpanM + other.halfSpanM + marginM) return false;
        }
    }
    return true;
}

GroundTraffic::Windows GroundTraffic::freeWindows(const GroundWay& way, double halfSpanM, int start,
                                                  std::size_t ignored) const {
    constexpr double widestHalfSpan = 40;
    PointGrid grid(way, halfSpanM + widestHalfSpan + inTrailM);
    Windows taken(way.points.size());
    for (std::size_t i = 0; i < standing.size(); ++i) {
        const Standing& other = standing[i];
        if (i == ignored || other.to < start || other.from > start + horizon) continue;
        grid.around(other.at, [&](std::size_t point) {
            if (metersBetween(way.points[point].at, other.at) < halfSpanM + other.halfSpanM)
                taken[point].push_back({other.from, other.to});
        });
    }
    std::vector<Spot> ahead;
    for (const PathPoint& point : way.points) ahead.push_back(moved({}, point.course, 1));
    const Window none{0, -1};
    std::vector<Window> open(way.points.size(), none); // of the one at hand
    std::vector<std::size_t> touched;                  // its points
    for (const Moving& other : moving) {
        if (other.track.back().second < start || other.track.front().second > start + horizon) continue;
        const double reach = halfSpanM + other.halfSpanM;
        touched.clear();
        const int skipped = std::max(0, start - other.track.front().second);
        for (auto at = other.track.begin() + skipped; at != other.track.end(); ++at) {
            const GroundFix& fix = *at;
            if (fix.second > start + horizon) break;
            grid.around(fix.at, [&](std::size_t i) {
                const double meters = metersBetween(way.points[i].at, fix.at);
                if (meters >= reach + besideM && (meters >= reach + inTrailM ||
                                                  aside(way.points[i].at, ahead[i], fix.at) > laneHalfWidthM))
                    return;
                if (open[i].from > open[i].to) {
                    touched.push_back(i);
                    open[i].from = fix.second;
                } else if (fix.second - open[i].to > headway) {
                    taken[i].push_back({open[i].from, open[i].to + headway});
                    open[i].from = fix.second;
                }
                open[i].to = fix.second;
            });
        }
        for (const std::size_t i : touched) {
            taken[i].push_back({open[i].from, open[i].to + headway});
            open[i] = none;
        }
    }
    Windows free(way.points.size());
    for (std::size_t i = 0; i < taken.size(); ++i) {
        auto& windows = taken[i];
        std::sort(windows.begin(), windows.end(),
                  [](const Window& a, const Window& b) { return a.from < b.from; });
        int from = start;
        for (const Window& window : windows) {
            if (window.from - 1 > from) free[i].push_back({from, window.from - 1});
            from = std::max(from, window.to + 1);
        }
        if (from < forever) free[i].push_back({from, forever});
    }
    return free;
}

std::optional<Driven> GroundTraffic::drive(const GroundWay& way, double halfSpanM, int start, double startMps,
                                           const std::vector<Pause>& pauses, std::size_t ignored) const {
    struct State {
        double earliest = -1; // negative: not reached
        std::size_t before = 0;
    };
    const Windows windows = freeWindows(way, halfSpanM, start, ignored);
    const std::vector<double> seconds = freeTimes(way, startMps);
    std::vector<double> pauseAt(way.points.size(), 0.0);
    for (const Pause& pause : pauses) pauseAt[way.pointAfter(pause.alongM)] += pause.seconds;
    std::vector<std::vector<State>> states(way.points.size());
    for (std::size_t i = 0; i < states.size(); ++i) states[i].resize(windows[i].size());
    if (windows[0].empty() || windows[0][0].from > start) return std::nullopt;
    const double base = start; // times count from here, so that none is negative
    states[0][0].earliest = 0;
    double freeRun = 0;
    for (std::size_t i = 0; i + 1 < states.size(); ++i) {
        freeRun += seconds[i];
        for (std::size_t w = 0; w < states[i].size(); ++w) {
            if (states[i][w].earliest < 0) continue;
            const double leaves = states[i][w].earliest + pauseAt[i];
            const double mustLeave = windows[i][w].to >= forever ? forever : windows[i][w].to - base - lag;
            for (std::size_t v = 0; v < windows[i + 1].size(); ++v) {
                const double opens = windows[i + 1][v].from - base, closes = windows[i + 1][v].to - base;
                const double arrives = std::max(leaves + seconds[i], opens);
                if (arrives > mustLeave + seconds[i]) break; // later windows open later still
                if (arrives > closes) continue;
                State& state = states[i + 1][v];
                if (state.earliest >= 0 && state.earliest <= arrives) continue;
                state = {arrives, w};
            }
        }
    }
    std::size_t best = 0;
    const auto& ends = states.back();
    while (best < ends.size() && ends[best].earliest < 0) ++best;
    if (best == ends.size() || ends[best].earliest > horizon) return std::nullopt;
    std::vector<double> earliest(states.size());
    std::size_t at = best;
    for (std::size_t i = states.size(); i-- > 0;) {
        earliest[i] = base + states[i][at].earliest;
        at = states[i][at].before;
    }
    Driven driven;
    driven.track = driveWay(way, start, startMps, earliest);
    driven.mayStay = windows.back()[best].to;
    driven.waitedS = driven.track.back().second - start - freeRun;
    if (driven.track.back().second > driven.mayStay || !isFree(driven.track, halfSpanM, 1, ignored))
        return std::nullopt;
    return driven;
}

GroundTrack driveWay(const GroundWay& way, int start, double startMps, const std::vector<double>& earliest) {
    constexpr double stepS = 0.25, lookAheadM = 150, creepMps = 0.4, thereM = 0.2;
    constexpr double slowestMps = 1; // who would have to be slower stops instead
    constexpr int stepsPerSecond = 4;
    GroundTrack track;
    double along = 0, speed = startMps;
    for (int step = 0;; ++step) {
        const double now = start + step * stepS;
        const bool there = along >= way.length() - thereM;
        if (there) {
            along = way.length();
            speed = 0;
        }
        const PathPoint here = way.at(along);
        if (step % stepsPerSecond == 0) {
            track.push_back({start + step / stepsPerSecond, here.at, here.course, here.course, speed});
            if (there) return track;
        }
        if (there) continue;
        double most = here.mostMps;
        bool mayCreep = true;
        if (!earliest.empty()) {
            for (std::size_t i = way.pointAfter(along); i < way.points.size(); ++i) {
                const double ahead = way.along[i] - along;
                if (ahead > lookAheadM) break;
                const double left = earliest[i] - now;
                if (left <= 0) continue;
                const double braked = std::sqrt(2 * brakingMps2 * std::max(0.0, ahead - 1));
                most = std::min(most, ahead / left < slowestMps ? braked : std::max(ahead / left, braked));
                if (ahead < creepMps * left) mayCreep = false;
            }
        }
        if (mayCreep) most = std::max(most, creepMps);
        const double before = speed;
        speed = std::clamp(most, speed - hardBrakingMps2 * stepS, speed + accelerationMps2 * stepS);
        speed = std::max(0.0, speed);
        along = std::min(way.length(), along + (before + speed) / 2 * stepS);
    }
}

} // namespace rig

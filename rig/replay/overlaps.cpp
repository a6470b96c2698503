// Finds crosses that touch, and keeps how long each pair did.

#include "replay/overlaps.h"

#include "app/geo.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace rig {

namespace {

constexpr double fuselageWidth = 0.11, wingChord = 0.16; // of the span; airliners have about that

struct Plane { // metres
    double x, y;
};
struct Box {
    Plane middle, along; // along: a unit vector
    double halfLength, halfWidth;
};

std::array<Box, 2> boxesOf(const CrossShape& s, Plane middle) {
    const Plane nose{std::sin(s.heading), std::cos(s.heading)}, wing{nose.y, -nose.x};
    return {Box{middle, nose, s.radiusM, s.radiusM * fuselageWidth},
            Box{middle, wing, s.radiusM, s.radiusM * wingChord}};
}

double reachOf(const Box& box, Plane axis) {
    const double along = axis.x * box.along.x + axis.y * box.along.y;
    const double across = axis.x * box.along.y - axis.y * box.along.x;
    return box.halfLength * std::abs(along) + box.halfWidth * std::abs(across);
}

bool boxesTouch(const Box& a, const Box& b) { // no line parallel to a side of one parts them
    const Plane way{b.middle.x - a.middle.x, b.middle.y - a.middle.y};
    for (const Plane along : {a.along, b.along})
        for (const Plane axis : {along, Plane{along.y, -along.x}})
            if (std::abs(way.x * axis.x + way.y * axis.y) > reachOf(a, axis) + reachOf(b, axis)) return false;
    return true;
}

} // namespace

bool crossesTouch(const CrossShape& a, const CrossShape& b) {
    constexpr double metersPerDegree = 60 * metersPerNm;
    const double north = (b.lat - a.lat) * metersPerDegree;
    const double reach = a.radiusM + b.radiusM;
    if (std::abs(north) > reach * 1.02) return false; // the corners of a cross lie a little beyond its span
    const Plane way{(b.lon - a.lon) * metersPerDegree * std::cos(a.lat * degToRad), north};
    if (std::hypot(way.x, way.y) > reach * 1.02) return false;
    for (const Box& mine : boxesOf(a, {0, 0}))
        for (const Box& its : boxesOf(b, way))
            if (boxesTouch(mine, its)) return true;
    return false;
}

void OverlapWatch::look(double time, double stepS, const std::vector<Body>& bodies, const InFeed& inFeed) {
    for (std::size_t i = 0; i < bodies.size(); ++i)
        for (std::size_t j = i + 1; j < bodies.size(); ++j) {
            if (!crossesTouch(bodies[i].shape, bodies[j].shape)) continue;
            const auto key = std::minmax(bodies[i].hexid, bodies[j].hexid);
            auto [it, isNew] = open.try_emplace(key);
            Overlap& o = it->second;
            if (isNew) o = {key.first, key.second, time, time, 0, false};
            o.last = time;
            o.seconds += stepS;
            if (!o.inFeed && inFeed && key.first != userHexid)
                o.inFeed = inFeed(key.first, key.second, bodies[i].shape.radiusM + bodies[j].shape.radiusM);
        }
    constexpr double pauseS = 5; // a pair that parts for less overlaps still
    for (auto it = open.begin(); it != open.end();)
        if (time - it->second.last > pauseS) {
            ended.push_back(it->second);
            it = open.erase(it);
        } else {
            ++it;
        }
}

std::vector<Overlap> OverlapWatch::all() const {
    std::vector<Overlap> result = ended;
    for (const auto& [key, overlap] : open) result.push_back(overlap);
    std::sort(result.begin(), result.end(),
              [](const Overlap& a, const Overlap& b) { return a.since < b.since; });
    return result;
}

} // namespace rig

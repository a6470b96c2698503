// Lays out ways on the ground.

#include "groundpath.h"

#include <algorithm>
#include <cmath>

namespace rig {

constexpr double sidewaysAcceleration = 0.5; // m/s² in a turn: passengers notice no more
constexpr double brakingMps2 = 0.5;

double metersBetween(const Spot& a, const Spot& b) {
    const double east = b.east - a.east, north = b.north - a.north;
    return std::sqrt(east * east + north * north); // much faster than hypot, and nothing here overflows
}
double courseBetween(const Spot& from, const Spot& to) {
    return gf_wrapHeading(std::atan2(to.east - from.east, to.north - from.north));
}
Spot moved(const Spot& from, double course, double meters) {
    return {from.east + meters * std::sin(course), from.north + meters * std::cos(course)};
}

constexpr double metersPerDegree = 60 * metersPerNm;

LocalPlane::LocalPlane(const LatLon& where)
    : origin(where), metersPerDegreeEast(metersPerDegree * std::cos(where.lat * degToRad)) {}
Spot LocalPlane::spot(const LatLon& place) const {
    return {(place.lon - origin.lon) * metersPerDegreeEast, (place.lat - origin.lat) * metersPerDegree};
}
LatLon LocalPlane::place(const Spot& spot) const {
    return {origin.lat + spot.north / metersPerDegree, origin.lon + spot.east / metersPerDegreeEast};
}

std::size_t GroundWay::pointAfter(double meters) const {
    const auto next = std::upper_bound(along.begin(), along.end(), meters);
    return std::min(static_cast<std::size_t>(next - along.begin()), along.size() - 1);
}

PathPoint GroundWay::at(double meters) const {
    const std::size_t i = std::max<std::size_t>(1, pointAfter(meters));
    const PathPoint &a = points[i - 1], &b = points[i];
    const double part = std::clamp((meters - along[i - 1]) / (along[i] - along[i - 1]), 0.0, 1.0);
    return {{a.at.east + part * (b.at.east - a.at.east), a.at.north + part * (b.at.north - a.at.north)},
            gf_wrapHeading(a.course + part * gf_headingDiff(a.course, b.course)),
            a.mostMps + part * (b.mostMps - a.mostMps)};
}

namespace {

// Pieces of the way: straight, or a turn about a centre.
struct Piece {
    Spot start; // of a turn its centre
    double course, length, mostMps;
    double radius, side; // 0: straight; side 1: to the right
    PathPoint at(double meters) const {
        if (radius == 0) return {moved(start, course, meters), course, mostMps};
        const double now = course + side * meters / radius;
        return {moved(start, now - side * pi / 2, radius), gf_wrapHeading(now), mostMps};
    }
};

constexpr double straightOn = 1 * degToRad;

// Without the corners at which it goes straight on at the same speed.
std::vector<Corner> realCorners(const std::vector<Corner>& all) {
    std::vector<Corner> result{all.front()};
    for (std::size_t i = 1; i < all.size(); ++i) {
        const bool last = i + 1 == all.size();
        if (!last && all[i].mostMps == all[i + 1].mostMps &&
            std::fabs(gf_headingDiff(courseBetween(result.back().at, all[i].at),
                                     courseBetween(all[i].at, all[i + 1].at))) < straightOn)
            continue;
        result.push_back(all[i]);
    }
    return result;
}

std::vector<Piece> piecesOf(const std::vector<Corner>& corners, double radiusM, GroundWay& way) {
    constexpr double tellTurn = 20 * degToRad;
    constexpr double widest = 8; // times the radius, of a turn that is hardly one
    std::vector<Piece> pieces;
    double along = 0;
    const auto add = [&](const Piece& piece) {
        if (piece.length <= 0) return;
        pieces.push_back(piece);
        along += piece.length;
    };
    Spot from = corners.front().at;
    for (std::size_t i = 1; i < corners.size(); ++i) {
        const Corner& corner = corners[i];
        const double course = courseBetween(from, corner.at), left = metersBetween(from, corner.at);
        double cut = 0, turn = 0; // metres that the turn takes of the two straight pieces
        if (i + 1 < corners.size()) {
            turn = gf_headingDiff(course, courseBetween(corner.at, corners[i + 1].at));
            const double next = metersBetween(corner.at, corners[i + 1].at);
            const bool lastTurn = i + 2 == corners.size();
            const double room = std::min(left, lastTurn ? next : next / 2);
            if (std::fabs(turn) > straightOn)
                cut = std::min(radiusM * std::clamp(pi / 2 / std::fabs(turn), 1.0, widest) *
                                   std::tan(std::fabs(turn) / 2),
                               room * 0.98);
        }
        add({from, course, left - cut, corner.mostMps, 0, 0});
        from = moved(corner.at, course, -cut);
        if (cut == 0) continue;
        const double side = turn > 0 ? 1 : -1, radius = cut / std::tan(std::fabs(turn) / 2);
        const double most = std::min(corner.mostMps, std::sqrt(sidewaysAcceleration * radius));
        if (std::fabs(turn) > tellTurn) way.turns.push_back(along + radius * std::fabs(turn) / 2);
        add({moved(from, course + side * pi / 2, radius), course, radius * std::fabs(turn), most, radius,
             side});
        from = moved(corner.at, course + turn, cut);
    }
    return pieces;
}

} // namespace

GroundWay layWay(const std::vector<Corner>& corners, double radiusM, bool stops) {
    GroundWay way;
    const std::vector<Piece> pieces = piecesOf(realCorners(corners), radiusM, way);
    double length = 0;
    for (const Piece& piece : pieces) length += piece.length;
    std::size_t i = 0;
    double before = 0; // length of the pieces before this one
    for (double along = 0;; along = std::min(length, along + pathStepM)) {
        while (i + 1 < pieces.size() && along - before > pieces[i].length) before += pieces[i++].length;
        way.points.push_back(pieces[i].at(along - before));
        way.along.push_back(along);
        if (along >= length) break;
    }
    if (stops) way.points.back().mostMps = 0;
    for (std::size_t p = way.points.size() - 1; p-- > 0;) { // brakes in time for what follows
        const double next = way.points[p + 1].mostMps, step = way.along[p + 1] - way.along[p];
        way.points[p].mostMps =
            std::min(way.points[p].mostMps, std::sqrt(next * next + 2 * brakingMps2 * step));
    }
    return way;
}

} // namespace rig

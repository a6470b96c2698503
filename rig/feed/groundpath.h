#pragma once
// The way of an aircraft on the ground: straight pieces with rounded corners, as a row of points, with the speed that
// each allows. In metres on a plane that touches the earth at the airport.

#include "app/geo.h"

#include <cstddef>
#include <vector>

namespace rig {

struct Spot {
    double east = 0, north = 0; // metres
};
double metersBetween(const Spot& a, const Spot& b);
double courseBetween(const Spot& from, const Spot& to); // radians, true
Spot moved(const Spot& from, double course, double meters);

// A degree of longitude counts as long as at the origin: within 5 km that is 2 m off at most, and there and back
// gives the same place.
class LocalPlane {
  public:
    explicit LocalPlane(const LatLon& where);
    Spot spot(const LatLon& place) const;
    LatLon place(const Spot& spot) const;

  private:
    LatLon origin;
    double metersPerDegreeEast;
};

struct Corner { // of the way as it is laid out; the way cuts it
    Spot at;
    double mostMps = 0; // on the straight piece that leads here
};

struct PathPoint {
    Spot at;
    double course = 0;  // radians, true, of the motion
    double mostMps = 0; // the speed that place and braking for what follows allow
};

constexpr double pathStepM = 4; // between two points; the last step is shorter

struct GroundWay {
    std::vector<PathPoint> points;
    std::vector<double> along; // metres, of each point from the first
    std::vector<double> turns; // metres, of the middle of each turn above 20 degrees
    double length() const { return along.back(); }
    PathPoint at(double meters) const; // between two points
    std::size_t pointAfter(double meters) const;
};

// Corners of 90 degrees and more are rounded with a radius of `radiusM`, others with a larger one, each with a smaller one
// where there is no room, and driven as slowly as that asks. The way ends at a standstill when `stops`.
GroundWay layWay(const std::vector<Corner>& corners, double radiusM, bool stops);

} // namespace rig

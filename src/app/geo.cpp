// Great-circle formulas on a sphere of radius 10800/π nautical miles. Pure; any thread.

#include "app/geo.h"

#include <cmath>

static constexpr double nmPerRadian = 10800 / pi; // one minute of arc is one nautical mile

double gf_distanceNm(double lat1, double lon1, double lat2, double lon2) {
    const double phi1 = lat1 * degToRad, phi2 = lat2 * degToRad;
    const double sinLat = std::sin((phi2 - phi1) / 2);
    const double sinLon = std::sin((lon2 - lon1) * degToRad / 2);
    const double a = sinLat * sinLat + std::cos(phi1) * std::cos(phi2) * sinLon * sinLon;
    const double rest = a < 1 ? 1 - a : 0; // rounding may lift a above 1 at antipodes
    return 2 * nmPerRadian * std::atan2(std::sqrt(a), std::sqrt(rest));
}

double gf_bearing(double lat1, double lon1, double lat2, double lon2) {
    const double phi1 = lat1 * degToRad, phi2 = lat2 * degToRad;
    const double deltaLon = (lon2 - lon1) * degToRad;
    const double east = std::sin(deltaLon) * std::cos(phi2);
    const double north =
        std::cos(phi1) * std::sin(phi2) - std::sin(phi1) * std::cos(phi2) * std::cos(deltaLon);
    return gf_wrapHeading(std::atan2(east, north));
}

LatLon gf_destination(double lat, double lon, double bearing, double feet) {
    const double arc = feet / feetPerNm / nmPerRadian;
    const double phi = lat * degToRad;
    const double sinPhi = std::sin(phi) * std::cos(arc) + std::cos(phi) * std::sin(arc) * std::cos(bearing);
    const double sinLat = sinPhi > 1 ? 1 : sinPhi < -1 ? -1 : sinPhi;
    const double deltaLon =
        std::atan2(std::sin(bearing) * std::sin(arc) * std::cos(phi), std::cos(arc) - std::sin(phi) * sinLat);
    double lonOut = lon + deltaLon * radToDeg;
    if (lonOut > 180) lonOut -= 360;
    if (lonOut < -180) lonOut += 360;
    return {std::asin(sinLat) * radToDeg, lonOut};
}

double gf_headingDiff(double from, double to) { return std::remainder(to - from, twoPi); }

double gf_wrapHeading(double heading) {
    if (heading >= 0 && heading < twoPi) return heading;
    const double wrapped = std::fmod(heading, twoPi);
    const double result = wrapped < 0 ? wrapped + twoPi : wrapped;
    return result < twoPi ? result : 0; // a tiny negative heading rounds up to the full turn
}

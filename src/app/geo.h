#pragma once
// Great-circle geometry on a sphere on which one minute of arc is one nautical mile. Angles in degrees for
// positions, radians for bearings and headings; distances in nautical miles unless a name says otherwise.

constexpr double pi = 3.14159265358979323846;
constexpr double twoPi = 2 * pi;
constexpr double metersPerNm = 1852.0;
constexpr double feetPerNm = 6076.11549;
constexpr double degToRad = pi / 180;
constexpr double radToDeg = 180 / pi;

struct LatLon {
    double lat = 0, lon = 0; // degrees
};

double gf_distanceNm(double lat1, double lon1, double lat2, double lon2); // haversine
double gf_bearing(double lat1, double lon1, double lat2, double lon2);    // initial bearing, 0 to 2π
LatLon gf_destination(double lat, double lon, double bearing, double feet);
double gf_headingDiff(double from, double to); // radians to turn from the one to the other, -π to π
double gf_wrapHeading(double heading);         // 0 to below 2π

inline double gf_distanceNm(const LatLon& a, const LatLon& b) {
    return gf_distanceNm(a.lat, a.lon, b.lat, b.lon);
}
inline double gf_bearing(const LatLon& a, const LatLon& b) { return gf_bearing(a.lat, a.lon, b.lat, b.lon); }

// The simulator reports a position near 0, 0 while no flight is loaded: it counts as no position at all.
inline bool gf_isNoPosition(double lat, double lon) {
    return lat >= 0 && lat <= 0.0009 && lon >= 0 && lon <= 0.05;
}

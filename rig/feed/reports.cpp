// Reports of generated flights.

#include "reports.h"

#include "app/geo.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rig {

Reporter::Reporter(Dice& chance, const KnownAirport& where, double startTime, double endTime, bool withFaults)
    : dice(chance), airport(where), start(startTime), end(endTime), faults(withFaults) {}

// The drift is two slow swings across each other, which begin where the aircraft comes to rest.
struct Reporter::Standing {
    double since = 0; // 0: it moves
    double phaseA = 0, phaseB = 0;
    double track = 0;                                       // degrees
    double wanderEast = 0, wanderNorth = 0, wanderTime = 0; // feet, of multilateration on the ground
    void look(const TrueFix& fix) {
        if (fix.speedKt > 0 || !fix.onGround)
            since = 0;
        else if (since == 0)
            since = fix.time;
        if (fix.speedKt > 0) track = fix.course;
    }
    LatLon drifted(const TrueFix& fix, double meters) const {
        constexpr double periodA = 220, periodB = 340, growS = 60; // seconds
        const double seconds = fix.time - since, feet = meters * feetPerNm / metersPerNm;
        const double size = feet * std::min(1.0, seconds / growS);
        const LatLon east =
            gf_destination(fix.lat, fix.lon, pi / 2, size * std::sin(twoPi * seconds / periodA + phaseA));
        return gf_destination(east.lat, east.lon, 0, size * std::sin(twoPi * seconds / periodB + phaseB));
    }
};

std::string Reporter::lineOf(const Flight& flight, std::size_t at, Standing& standing) {
    constexpr double gravity = 9.80665, metersPerSecondPerKnot = metersPerNm / 3600;
    const TrueFix& fix = flight.track[at];
    const TrueFix& before = flight.track[at > 0 ? at - 1 : 0];
    const TrueFix& after = flight.track[std::min(at + 1, flight.track.size() - 1)];
    const double seconds = std::max(1.0, after.time - before.time);
    const double climb = fix.onGround ? 0 : (after.altFt - before.altFt) / seconds * 60;
    const double turn = gf_headingDiff(before.heading * degToRad, after.heading * degToRad) / seconds;

    standing.look(fix);
    LatLon place{fix.lat, fix.lon};
    double track = fix.onGround && flight.sendsHeading ? fix.heading : fix.course, speedKt = fix.speedKt;
    if (standing.since > 0 && faults && !flight.sendsHeading) {
        if (flight.restTrack == RestTrack::chance) track = dice.between(0, 359);
        if (flight.restTrack == RestTrack::zero) track = 0;
        if (flight.restTrack == RestTrack::last) track = standing.track;
    }
    if (standing.since > 0 && faults && flight.driftM > 0) {
        place = standing.drifted(fix, flight.driftM);
        if (dice.oneIn(3)) speedKt = dice.between(0, 2);
    }
    if (flight.multilateration && fix.onGround) { // its error changes slowly
        constexpr double settleS = 20, mostFt = 45;
        const double stays = std::exp(-(fix.time - standing.wanderTime) / settleS);
        const auto wander = [&](double& ft) {
            ft = stays * ft + (1 - stays) * dice.between(-mostFt, mostFt);
            return ft;
        };
        standing.wanderTime = fix.time;
        const LatLon north = gf_destination(place.lat, place.lon, 0, wander(standing.wanderNorth));
        place = gf_destination(north.lat, north.lon, pi / 2, wander(standing.wanderEast));
    } else if (flight.multilateration) {
        place = gf_destination(place.lat, place.lon, dice.between(0, twoPi), dice.between(0, 40)); // feet
    }
    const bool full = flight.fullReports && !fix.onGround;
    const double roll = std::atan(turn * fix.speedKt * metersPerSecondPerKnot / gravity) * radToDeg;
    const std::string attitude =
        full ? fmt::format("{:.0f},{:.0f},-1,{:.1f},{:.1f},{:.2f},{:.2f}", fix.speedKt * 0.75, fix.speedKt,
                           turn * radToDeg, roll == -1 ? -1.01 : roll, fix.heading, fix.heading)
             : std::string("-1,-1,-1,-1,-1,-1,-1");
    const double reported = fix.onGround ? 0 : fix.altFt;
    return fmt::format(
        "RTTFC,{},{:.5f},{:.5f},{:.0f},{:.0f},{},{:.2f},{:.2f},{},{},{},{},{},{:.1f},X,{},{},{:.0f},"
        "{},-1,none,{},-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,{:.0f},0",
        flight.hexid, place.lat, place.lon, reported, climb, fix.onGround ? 1 : 0, track, speedKt,
        flight.callsign, flight.type, flight.registration, flight.origin, flight.destination, fix.time,
        flight.flightNumber, flight.multilateration ? "mlat" : "adsb_icao", reported, attitude,
        flight.by->category, reported);
}

// Every 2 to 4 s in the air and 3 to 5 s on the ground, times the flight's own rate, with a gap now and then.
void Reporter::report(const Flight& flight, std::vector<TimedLine>& lines) {
    if (flight.track.empty()) return;
    double next = flight.track.front().time + dice.between(0, 3);
    Standing standing;
    standing.phaseA = dice.below(2) * pi; // begins at no drift
    standing.phaseB = dice.below(2) * pi;
    standing.track = flight.track.front().course;
    for (std::size_t i = 0; i < flight.track.size(); ++i) {
        const TrueFix& fix = flight.track[i];
        if (fix.time < next || fix.time < start || fix.time >= end) {
            standing.look(fix);
            continue;
        }
        const auto silence = std::find_if(flight.silences.begin(), flight.silences.end(), [&](const auto& s) {
            return fix.time > s.first && fix.time < s.second;
        });
        if (faults && silence != flight.silences.end()) continue;
        lines.push_back({fix.time, lineOf(flight, i, standing)});
        next = fix.time + flight.intervalRate * (fix.onGround ? dice.between(2.5, 5) : dice.between(1.5, 4));
        const double gapOneIn = 100 / std::min(1.0, flight.intervalRate); // not more of them for more reports
        if (faults && dice.oneIn(gapOneIn)) next += dice.between(25, 110);
    }
}

// Vehicles, lines of other kinds and broken ones, about one in fifty.
void Reporter::addGarbage(std::vector<TimedLine>& lines) {
    constexpr int oneIn = 50;
    const std::size_t real = lines.size();
    for (std::size_t i = 0; i < real; ++i) {
        if (!dice.oneIn(oneIn)) continue;
        const TimedLine& whole = lines[i];
        std::string bad;
        switch (dice.below(7)) {
        case 0:
            bad = fmt::format("XTRAFFICPSX,{},{:.3f},{:.3f},0,0,1,0,0", 1 + dice.below(100), airport.lat,
                              airport.lon);
            break;
        case 1: bad = whole.line.substr(0, whole.line.size() / 2); break;
        case 2:
            bad = fmt::format(
                "RTTFC,{},{:.5f},{:.5f},0,0,1,0.00,5.00,TUG {},GRND,null,null,null,{:.1f},X,null,"
                "adsb_icao,-1,-1,-1,-1,-1,-1,-1,-1,-1,none,C2,-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,-1,0",
                0x3FF000 + dice.below(200), airport.lat, airport.lon, dice.below(30), whole.time);
            break;
        case 3:
            bad = fmt::format(
                "RTTFC,{},{:.5f},{:.5f},0,0,1,0.00,5.00,FIRE VEH {},null,null,null,null,{:.1f},X,null",
                0x3FE000 + dice.below(200), airport.lat, airport.lon, dice.below(30), whole.time);
            break;
        case 4: bad = fmt::format("RTTFC,{},nan,inf,,,,,{}", whole.line.size(), whole.line); break;
        case 5: bad = "{\"QNH\":1013}"; break;
        default: bad = std::string(static_cast<std::size_t>(1 + dice.below(60)), ','); break;
        }
        lines.push_back({whole.time, std::move(bad)});
    }
}

// Every few minutes the feed falls silent for some seconds and then sends all at once.
void Reporter::holdBack(std::vector<TimedLine>& lines) {
    for (double begin = start + dice.between(60, 240); begin < end; begin += dice.between(240, 480)) {
        const double release = begin + dice.between(4, 9);
        for (TimedLine& line : lines)
            if (line.time >= begin && line.time < release) line.time = release;
    }
}

} // namespace rig

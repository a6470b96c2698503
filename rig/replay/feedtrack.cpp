// What the feed itself said of each aircraft.

#include "replay/feedtrack.h"

#include "app/textfiles.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace rig {

namespace {

constexpr double searchWindowS =
    60; // the nearest place of the track is looked for this far around the moment
// Longer than the delay of the program: nobody could know the way between.
constexpr double longestGapS = 30;

struct Local { // metres north and east of an origin
    double north, east;
};

Local toLocal(double lat, double lon, double lat0, double lon0) {
    const double metersPerDegree = 60 * metersPerNm;
    return {(lat - lat0) * metersPerDegree, (lon - lon0) * metersPerDegree * std::cos(lat0 * degToRad)};
}

} // namespace

double metersBetween(double lat1, double lon1, double lat2, double lon2) {
    const Local way = toLocal(lat2, lon2, lat1, lon1);
    return std::hypot(way.north, way.east);
}

std::uint32_t FeedTracks::add(std::string_view line) {
    std::array<std::string_view, 15> fields;
    std::size_t count = 0, from = 0;
    while (count < fields.size() && from <= line.size()) {
        const std::size_t comma = std::min(line.find(',', from), line.size());
        fields[count++] = line.substr(from, comma - from);
        from = comma + 1;
    }
    if (count < fields.size()) return 0;
    std::uint32_t hexid = 0;
    const auto parsed = std::from_chars(fields[1].data(), fields[1].data() + fields[1].size(), hexid);
    FeedFix fix{};
    if (parsed.ec != std::errc() || !gf_parseDouble(fields[2], fix.lat) ||
        !gf_parseDouble(fields[3], fix.lon) || !gf_parseDouble(fields[4], fix.alt) ||
        !gf_parseDouble(fields[8], fix.speed) || !gf_parseDouble(fields[14], fix.time))
        return 0;
    fix.onGround = fields[6] == "1" || fix.alt <= 0;
    add(hexid, fix);
    return hexid;
}

void FeedTracks::add(std::uint32_t hexid, const FeedFix& fix) {
    auto& track = tracks[hexid];
    if (!track.empty() && fix.time <= track.back().time) return;
    track.push_back(fix);
}

const std::vector<FeedFix>* FeedTracks::of(std::uint32_t hexid) const {
    const auto found = tracks.find(hexid);
    return found == tracks.end() ? nullptr : &found->second;
}

bool FeedTracks::place(std::uint32_t hexid, double time, double& lat, double& lon) const {
    const auto* track = of(hexid);
    if (!track || track->empty()) return false;
    const auto next = std::lower_bound(track->begin(), track->end(), time,
                                       [](const FeedFix& fix, double t) { return fix.time < t; });
    const FeedFix& b = next == track->end() ? track->back() : *next;
    const FeedFix& a = next == track->begin() ? b : *(next - 1);
    const double part = b.time > a.time ? std::clamp((time - a.time) / (b.time - a.time), 0.0, 1.0) : 0;
    lat = a.lat + part * (b.lat - a.lat);
    lon = a.lon + part * (b.lon - a.lon);
    return true;
}

double FeedTracks::closest(std::uint32_t a, std::uint32_t b, double from, double to) const {
    double best = std::numeric_limits<double>::max();
    for (double time = from; time <= to; time += 1) {
        double latA = 0, lonA = 0, latB = 0, lonB = 0;
        if (place(a, time, latA, lonA) && place(b, time, latB, lonB))
            best = std::min(best, metersBetween(latA, lonA, latB, lonB));
    }
    return best;
}

const FeedFix* FeedTracks::firstGroundFixAfter(std::uint32_t hexid, double time) const {
    const auto* track = of(hexid);
    if (!track) return nullptr;
    for (const auto& fix : *track)
        if (fix.time >= time && fix.onGround) return &fix;
    return nullptr;
}

bool FeedTracks::offset(std::uint32_t hexid, double time, double lat, double lon, double alt,
                        TrackOffset& result) const {
    const auto* track = of(hexid);
    if (!track || track->size() < 2) return false;
    const auto later = [](const FeedFix& fix, double t) { return fix.time < t; };
    auto it = std::lower_bound(track->begin(), track->end(), time - searchWindowS, later);
    if (it != track->begin()) --it;
    double best = std::numeric_limits<double>::max();
    bool covered = false; // the moment itself lies between two fixes of the feed
    bool onTrack = false; // the nearest place lies on the track, not in a silence or beyond an end of it
    for (; it + 1 != track->end() && it->time <= time + searchWindowS; ++it) {
        const FeedFix &a = *it, &b = *(it + 1);
        const bool silent = b.time - a.time > longestGapS;
        covered = covered || (!silent && a.time <= time && time <= b.time);
        const Local to = toLocal(b.lat, b.lon, a.lat, a.lon), at = toLocal(lat, lon, a.lat, a.lon);
        const double length2 = to.north * to.north + to.east * to.east;
        const double place = length2 > 0 ? (at.north * to.north + at.east * to.east) / length2 : 0;
        const double along = std::clamp(place, 0.0, 1.0);
        const double across = std::hypot(at.north - along * to.north, at.east - along * to.east);
        if (across >= best) continue;
        const bool beyondEnd = (place < 0 && it == track->begin()) || (place > 1 && it + 2 == track->end());
        best = across;
        onTrack = !silent && !beyondEnd;
        result.acrossM = across;
        result.delayS = time - (a.time + along * (b.time - a.time));
        result.verticalFt = alt - (a.alt + along * (b.alt - a.alt));
        result.speedKt = a.speed + along * (b.speed - a.speed);
        result.onGround = a.onGround && b.onGround;
    }
    return covered && onTrack;
}

} // namespace rig

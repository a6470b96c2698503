// The stands of the park airport, found by number, name or place. Worker.

#include "airports/airports.h"

#include "engine/engine.h"

static constexpr double nearUserNm = 55 / metersPerNm;

Stand* gf_standBySeq(std::uint32_t seq) {
    if (seq == 0 || seq > airports.file.stands.size()) return nullptr;
    return &airports.file.stands[seq - 1];
}

Stand* gf_standById(std::string_view id) {
    for (Stand& stand : airports.file.stands)
        if (stand.id == id) return &stand;
    return nullptr;
}

static const Stand* lf_nearestStand(double lat, double lon) {
    const Stand* best = nullptr;
    double bestNm = nearUserNm;
    for (const Stand& stand : airports.file.stands) {
        const double nm = gf_distanceNm(lat, lon, stand.lat, stand.lon);
        if (nm > bestNm || (best && nm == bestNm)) continue; // of two as near the first stays
        best = &stand;
        bestNm = nm;
    }
    return best;
}

static const Stand* lf_standUnderUser(double lat, double lon) {
    return sim.userOnGround ? lf_nearestStand(lat, lon) : nullptr;
}

const Stand* gf_userStand() { return lf_standUnderUser(engine.user.lat, engine.user.lon); }

std::string gf_standText(double lat, double lon) {
    const Stand* stand = lf_standUnderUser(lat, lon);
    return stand ? stand->id : std::string();
}

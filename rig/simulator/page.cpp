// The world as JSON, and tracks. The page itself is in mappage.cpp.

#include "simulator/page.h"

#include "app/geo.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace rig {

static constexpr double trackStepSeconds = 2;
static constexpr std::size_t trackPoints = 120; // four minutes

void Tracks::note(const World& world) {
    if (world.elapsed < nextAt) return;
    nextAt = world.elapsed + trackStepSeconds;
    std::erase_if(points, [&world](const auto& entry) { return !world.objects.count(entry.first); });
    for (const auto& [id, object] : world.objects) {
        std::deque<Point>& way = points[id];
        if (!way.empty() && way.back().lat == object.lat && way.back().lon == object.lon) continue;
        way.push_back({object.lat, object.lon});
        if (way.size() > trackPoints) way.pop_front();
    }
}

static double rounded(double value, double step) { return std::round(value / step) * step; }

// The stand on which it stands; "" for none.
static std::string standOf(const World& world, const SimObject& o, const std::vector<StandRow>& stands) {
    constexpr double stillKt = 0.5, nearNm = 15 / metersPerNm;
    if (!world.onGround(o) || o.groundSpeed > stillKt) return "";
    const StandRow* best = nullptr;
    double bestNm = nearNm;
    for (const StandRow& stand : stands) {
        const double nm = gf_distanceNm(o.lat, o.lon, stand.lat, stand.lon);
        if (nm >= bestNm) continue;
        best = &stand;
        bestNm = nm;
    }
    return best ? best->id : "";
}

static nlohmann::json objectJson(const World& world, const SimObject& o,
                                 const std::vector<StandRow>& stands) {
    constexpr double degreeStep = 1e-7, angleStep = 0.01, plainStep = 0.1;
    return {
        {"id", o.id},
        {"title", o.title},
        {"tail", o.tailNumber},
        {"client", o.owner},
        {"lat", rounded(o.lat, degreeStep)},
        {"lon", rounded(o.lon, degreeStep)},
        {"altitude_ft", rounded(o.alt, plainStep)},
        {"height_ft", rounded(world.heightFt(o), plainStep)},
        {"on_ground", world.onGround(o)},
        {"stand", standOf(world, o, stands)},
        {"ground_speed_kt", rounded(o.groundSpeed, plainStep)},
        {"heading_deg", rounded(o.heading * radToDeg, angleStep)},
        {"pitch_deg", rounded(o.pitch * radToDeg, angleStep)},
        {"bank_deg", rounded(o.bank * radToDeg, angleStep)},
        {"lights",
         {{"nav", (o.lights & lightNav) != 0},
          {"beacon", (o.lights & lightBeacon) != 0},
          {"landing", (o.lights & lightLanding) != 0},
          {"taxi", (o.lights & lightTaxi) != 0},
          {"strobe", (o.lights & lightStrobe) != 0},
          {"logo", (o.lights & lightLogo) != 0},
          {"cabin", (o.lights & lightCabin) != 0}}},
        {"gear_down", o.gearDown},
        {"engine", o.engineRunning},
        {"flaps_pct", rounded(o.flaps, plainStep)},
        {"spoilers_pct", rounded(o.spoilers, plainStep)},
        {"throttle_pct", {rounded(o.throttle[0], plainStep), rounded(o.throttle[1], plainStep)}},
        {"released", o.released},
        {"frozen",
         {{"position", o.frozenPosition}, {"altitude", o.frozenAltitude}, {"attitude", o.frozenAttitude}}},
        {"flight_plan", o.flightPlan},
        {"positions_set", o.positionsSet},
        {"age_s", rounded(world.elapsed - o.createdAt, plainStep)}};
}

std::string worldJson(const SimHub& hub, const std::vector<StandRow>& stands) {
    const World& world = hub.world;
    nlohmann::json objects = nlohmann::json::array();
    for (const auto& [id, object] : world.objects)
        if (id != userObjectId) objects.push_back(objectJson(world, object, stands));
    const nlohmann::json all{{"user", objectJson(world, world.user(), stands)},
                             {"objects", std::move(objects)},
                             {"counts",
                              {{"created", world.createdCount},
                               {"removed", world.removedCount},
                               {"refused", world.refusedCount},
                               {"positions", hub.positionsReceived}}},
                             {"clients", hub.openClients()},
                             {"elapsed_s", world.elapsed},
                             {"utc", world.utc},
                             {"paused", world.paused},
                             {"running", world.running}};
    return all.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string standsJson(const std::vector<StandRow>& stands) {
    nlohmann::json all = nlohmann::json::array();
    for (const StandRow& stand : stands)
        all.push_back({{"id", stand.id},
                       {"lat", stand.lat},
                       {"lon", stand.lon},
                       {"heading_deg", stand.heading},
                       {"radius_m", stand.radiusM}});
    return all.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string tracksJson(const Tracks& tracks) {
    nlohmann::json all = nlohmann::json::object();
    for (const auto& [id, way] : tracks.points) {
        nlohmann::json& list = all[std::to_string(id)] = nlohmann::json::array();
        for (const Tracks::Point& point : way) list.push_back({point.lat, point.lon});
    }
    return all.dump();
}

std::string journalText(const SimHub& hub) {
    std::string text;
    for (const std::string& line : hub.journal) text += line + "\n";
    return text;
}

} // namespace rig

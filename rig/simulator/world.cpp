// The world's bookkeeping: creations with their delay, removals, the ground, time. How objects move is in motion.cpp.

#include "simulator/world.h"

#include "app/geo.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace rig {

// Feet that a wheel may be off the ground and still count as standing.
static constexpr double standingToleranceFt = 1.0;
// Seconds over which the speed that an object shows is averaged.
static constexpr double speedAverageSeconds = 0.5;
// With gaps, a new object's number lies up to this far above the last one.
static constexpr double largestIdGap = 7;

World::World(const WorldSettings& s) : settings(s), utc(s.utc), random(s.seed) {
    SimObject& own = objects[userObjectId];
    own.id = userObjectId;
    own.title = settings.userTitle;
    own.model = settings.userModel;
    own.tailNumber = "RIG1";
    const Stance stance = stanceOf(own.title);
    own.staticCg = stance.cgFt;
    own.staticPitch = stance.pitchRad;
    own.lights = lightNav | lightBeacon;
    placeUser(settings.userLat, settings.userLon, settings.userAlt, settings.userHeading,
              settings.userOnGround, settings.userSpeed);
}

double GroundSlope::riseFt(double lat, double lon) const {
    if (percent == 0) return 0;
    const double wayFt = gf_distanceNm(fromLat, fromLon, lat, lon) * feetPerNm;
    const double bearing = gf_bearing(fromLat, fromLon, lat, lon);
    return percent / 100 * wayFt * std::cos(bearing - towardsDeg * degToRad);
}

GroundSlope parseSlope(const std::string& text, double fromLat, double fromLon) {
    constexpr double steepest = 10; // percent
    GroundSlope slope;
    char more = 0;
    if (std::sscanf(text.c_str(), "%lf,%lf%c", &slope.percent, &slope.towardsDeg, &more) != 2 ||
        !(std::abs(slope.percent) <= steepest) || !(std::abs(slope.towardsDeg) <= 360))
        throw std::runtime_error("--slope takes PERCENT,TOWARDS, not \"" + text + "\"");
    slope.fromLat = fromLat;
    slope.fromLon = fromLon;
    return slope;
}

double World::groundFt(double lat, double lon) const {
    return settings.groundFt + settings.slope.riseFt(lat, lon);
}

bool World::onGround(const SimObject& o) const { return heightFt(o) <= o.staticCg + standingToleranceFt; }

SimObject* World::find(std::uint32_t id) {
    if (id == 0) return &user();
    const auto found = objects.find(id);
    return found == objects.end() ? nullptr : &found->second;
}

bool World::titleExists(const std::string& title) const {
    for (const std::string& part : refusedTitles)
        if (title.find(part) != std::string::npos) return false;
    if (settings.titles.empty()) return !title.empty() && title.rfind("No Such", 0) != 0;
    return settings.titles.count(title) > 0;
}

void World::placeUser(double lat, double lon, double alt, double headingDeg, bool ground, double speedKt) {
    SimObject& own = user();
    own.lat = own.lastLat = lat;
    own.lon = own.lastLon = lon;
    own.alt = alt;
    own.pitch = own.bank = own.verticalSpeed = 0;
    own.heading = gf_wrapHeading(headingDeg * degToRad);
    own.trueAirspeed = own.groundSpeed = speedKt;
    userMove = UserMove::straight;
    if (ground) putOnGround(*this, own);
    own.gearDown = ground;
}

void putOnGround(const World& world, SimObject& object) {
    object.alt = world.groundFt(object.lat, object.lon) + object.staticCg;
    object.pitch = object.staticPitch;
    object.bank = 0;
    object.verticalSpeed = 0;
}

double World::chance() {
    return static_cast<double>(random()) / (static_cast<double>(std::mt19937::max()) + 1);
}

void World::create(CreationRequest request) {
    if (creationsVanish) return;
    const double delay =
        settings.creationDelayMin + (settings.creationDelayMax - settings.creationDelayMin) * chance();
    creations.push_back({std::move(request), elapsed + delay});
}

bool World::remove(std::uint32_t id) {
    if (id == userObjectId || objects.find(id) == objects.end()) return false;
    if (std::find(removals.begin(), removals.end(), id) != removals.end()) return false;
    removals.push_back(id);
    return true;
}

void World::removeAllOf(int client) {
    std::erase_if(creations, [client](const Creation& c) { return c.request.client == client; });
    for (const auto& [id, object] : objects)
        if (id != userObjectId && object.owner == client) remove(id);
}

void World::finishCreation(const CreationRequest& request) {
    WorldChange change{WorldChange::refused, 0, ObjectType::aircraft, request};
    if (!titleExists(request.title)) {
        ++refusedCount;
        changes.push_back(std::move(change));
        return;
    }
    if (settings.idGaps) nextId += static_cast<std::uint32_t>(chance() * largestIdGap);
    SimObject& o = objects[nextId];
    o.id = nextId++;
    o.owner = request.client;
    o.title = request.title;
    o.tailNumber = request.tailNumber;
    o.lat = o.lastLat = request.lat;
    o.lon = o.lastLon = request.lon;
    o.alt = request.alt;
    o.pitch = request.pitch * degToRad;
    o.bank = request.bank * degToRad;
    o.heading = gf_wrapHeading(request.heading * degToRad);
    o.trueAirspeed = o.groundSpeed = request.airspeed;
    const Stance stance = stanceOf(o.title);
    o.staticCg = stance.cgFt;
    o.staticPitch = stance.pitchRad;
    o.gearDown = request.onGround;
    o.createdAt = elapsed;
    if (request.onGround) putOnGround(*this, o);
    ++createdCount;
    change.kind = WorldChange::added;
    change.objectId = o.id;
    changes.push_back(std::move(change));
}

// The speed of the way made, averaged a little so that it can be read.
static void measureSpeed(SimObject& o, double seconds) {
    const double north = (o.lat - o.lastLat) * 60;
    const double east = (o.lon - o.lastLon) * 60 * std::cos(o.lat * degToRad);
    const double knots = std::sqrt(north * north + east * east) / seconds * 3600;
    o.groundSpeed += (knots - o.groundSpeed) * std::min(1.0, seconds / speedAverageSeconds);
    o.lastLat = o.lat;
    o.lastLon = o.lon;
}

void World::frame(double seconds) {
    elapsed += seconds;
    if (!paused) {
        simSeconds += seconds;
        utc += seconds;
    }
    if (!paused && running && seconds > 0) {
        moveUser(*this, seconds);
        for (auto& [id, object] : objects) {
            if (id == userObjectId) continue;
            moveFree(*this, object, seconds);
            measureSpeed(object, seconds);
        }
    }

    std::vector<Creation> due;
    std::erase_if(creations, [&](Creation& c) {
        if (c.due > elapsed) return false;
        due.push_back(std::move(c));
        return true;
    });
    // What takes less time is there first, also within a frame.
    std::stable_sort(due.begin(), due.end(),
                     [](const Creation& a, const Creation& b) { return a.due < b.due; });
    for (const Creation& creation : due) finishCreation(creation.request);

    for (const std::uint32_t id : removals) {
        WorldChange change{WorldChange::removed, id, objects[id].type, {}};
        objects.erase(id);
        ++removedCount;
        changes.push_back(std::move(change));
    }
    removals.clear();
}

Stance stanceOf(const std::string& title) {
    std::string upper;
    for (const char c : title) upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const struct {
        std::vector<const char*> words;
        Stance stance;
    } kinds[] = {
        // feet, and a slightly nose-high stance for most
        {{"747", "B74", "777", "B77", "787", "B78", "A33", "A34", "A35", "A38", "MD11", "MD-11", "767",
          "B76"},
         {14.5, -0.004}},
        {{"A318", "A319", "A320", "A321", "A20N", "A21N", "737", "B73", "B38M", "757", "B75", "A220", "MD8"},
         {10.5, -0.008}},
        {{"CRJ", "E170", "E175", "E190", "E195", "E75", "DH8", "ATR", "AT7"}, {8.5, -0.010}},
        {{"C172", "CESSNA", "PA28", "DA40", "DA42", "SR22", "BE58", "BONANZA"}, {5.0, 0.035}},
        {{"H135", "H145", "EC35", "R44", "R22", "B407", "HELI"}, {6.0, 0.0}},
        {{"CITATION", "C25", "C56", "GLF", "LEARJET", "LJ", "FALCON", "CL60"}, {6.5, -0.006}},
    };
    for (const auto& kind : kinds)
        for (const char* word : kind.words)
            if (upper.find(word) != std::string::npos) return kind.stance;
    return {9.0, -0.006};
}

} // namespace rig

#pragma once
// The world of the stand-in simulator: the user's aircraft, AI objects, time and ground. It knows nothing of the
// protocol. Everything happens in frame() or in the call itself, in a fixed order, with chance from one seeded
// generator, so the same calls give the same world. One thread at a time.

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace rig {

constexpr std::uint32_t userObjectId = 1; // the smallest id; AI objects get larger ones, never used again
constexpr std::size_t maxObjects = 1000;  // with the user's aircraft and those under creation
constexpr int noClient = -1;              // owner of what the simulator made itself

enum class ObjectType : std::uint32_t { aircraft = 2, helicopter = 3, boat = 4, ground = 5 };

// Bits of the variables LIGHT STATES and LIGHT ON STATES.
enum Light : std::uint32_t {
    lightNav = 0x001,
    lightBeacon = 0x002,
    lightLanding = 0x004,
    lightTaxi = 0x008,
    lightStrobe = 0x010,
    lightLogo = 0x100,
    lightCabin = 0x200,
    lightAll = 0x31F
};

struct SimObject {
    std::uint32_t id = 0;
    ObjectType type = ObjectType::aircraft;
    int owner = noClient; // client that made it
    std::string title, tailNumber, model;

    double lat = 0, lon = 0; // degrees
    double alt = 0;          // feet above sea level, of the centre of gravity
    double pitch = 0, bank = 0,
           heading = 0;       // radians; nose up and right wing down are negative; heading 0 to 2π
    double verticalSpeed = 0; // feet per second
    double trueAirspeed = 0;  // knots
    double groundSpeed = 0;   // knots, from the way made in the last frames
    double staticCg = 8;      // feet from the ground to the centre of gravity, standing
    double staticPitch = 0;   // radians, standing

    std::uint32_t lights = 0; // Light bits
    bool gearDown = true;
    bool engineRunning = true;
    double flaps = 0, spoilers = 0; // percent
    double throttle[2] = {0, 0};    // percent of each lever, -100 to 100
    std::string flightPlan;         // path, as it was given
    bool released = false;          // the simulator's AI no longer flies it
    bool frozenPosition = false, frozenAltitude = false, frozenAttitude = false;

    double createdAt = 0;            // World::elapsed
    std::uint64_t positionsSet = 0;  // writes of a position since then
    double lastLat = 0, lastLon = 0; // at the frame before, for groundSpeed; world.cpp alone
};

struct CreationRequest {
    int client = noClient;
    std::uint32_t sendId = 0, requestId = 0;
    std::string title, tailNumber;
    double lat = 0, lon = 0, alt = 0;        // degrees, feet
    double pitch = 0, bank = 0, heading = 0; // degrees
    bool onGround = false;                   // puts it on its wheels, whatever alt says
    double airspeed = 0;                     // knots
};

// What a frame brought about, in order; whoever drives the world takes it after the frame.
struct WorldChange {
    enum Kind { added, removed, refused } kind = added;
    std::uint32_t objectId = 0; // not when refused
    ObjectType type = ObjectType::aircraft;
    CreationRequest
        creation; // added and refused: client, sendId and requestId; noClient for the simulator's own
};

// The lie of the land: an even slope over the whole world.
struct GroundSlope {
    double percent = 0;              // the rise over the way
    double towardsDeg = 0;           // true direction of the rise
    double fromLat = 0, fromLon = 0; // where the ground is as high as settings say; degrees

    double riseFt(double lat, double lon) const;
};
// "PERCENT,TOWARDS", 10 percent either way at most. Throws std::runtime_error.
GroundSlope parseSlope(const std::string& text, double fromLat, double fromLon);

struct WorldSettings {
    std::uint32_t seed = 1;
    double creationDelayMin = 0.2, creationDelayMax = 1.0; // seconds; both 0: with the next frame
    bool idGaps = false;                                   // leave numbers out, as if others made objects too
    double groundFt = 13;                                  // feet above sea level
    GroundSlope slope;                                     // level unless set
    std::set<std::string> titles; // that exist; empty: all but those that begin with "No Such"
    std::string userTitle = "Rig Demo A320", userModel = "A320";
    double userLat = 40.64, userLon = -73.78, userAlt = 13; // degrees, feet
    double userHeading = 0;                                 // degrees
    bool userOnGround = true;
    double userSpeed = 0;       // knots
    double utc = 1'700'000'000; // seconds since 1970
};

enum class UserMove { straight, taxi, takeoff, landing };

struct World {
    explicit World(const WorldSettings& settings = {});

    // Moves time and, unless paused or not running, all that is free to move; then ends the creations and removals
    // that are due, which go to changes. seconds >= 0.
    void frame(double seconds);

    void create(CreationRequest request); // the outcome comes in changes, at once or after the delay
    bool remove(std::uint32_t id);        // gone with the next frame; false: no such object, or the user's
    void removeAllOf(int client);         // with those still under creation
    SimObject* find(std::uint32_t id);    // also 0 for the user's aircraft; nullptr: none
    SimObject& user() { return objects.begin()->second; }
    const SimObject& user() const { return objects.begin()->second; }
    std::size_t count() const { return objects.size() + creations.size(); } // against maxObjects

    double groundFt(double lat, double lon) const; // feet
    double heightFt(const SimObject& o) const { return o.alt - groundFt(o.lat, o.lon); }
    bool onGround(const SimObject& o) const; // within a foot of standing on its wheels, or below
    bool titleExists(const std::string& title) const;
    void placeUser(double lat, double lon, double alt, double headingDeg, bool onGround, double speedKt);

    std::map<std::uint32_t, SimObject> objects; // by id, the user's first
    std::vector<WorldChange> changes;
    WorldSettings settings;                 // titles, ground and delays may change while it runs
    std::vector<std::string> refusedTitles; // parts of titles that can't be created
    bool creationsVanish = false;           // creations get no answer at all

    bool paused = false, running = true;
    UserMove userMove = UserMove::straight;
    double elapsed = 0;    // seconds since the start, paused ones too
    double simSeconds = 0; // the same without the paused ones
    double utc = 0;        // seconds since 1970; stands while paused

    std::uint64_t createdCount = 0, removedCount = 0, refusedCount = 0; // AI objects

  private:
    struct Creation {
        CreationRequest request;
        double due = 0; // elapsed
    };
    void finishCreation(const CreationRequest& request);
    double chance(); // 0 to below 1
    std::vector<Creation> creations;
    std::vector<std::uint32_t> removals;
    std::mt19937 random;
    std::uint32_t nextId = userObjectId + 2; // the simulator keeps one for itself
};

// A plausible height and pitch on the wheels for a title; world.cpp's own models, by the words in it.
struct Stance {
    double cgFt, pitchRad;
};
Stance stanceOf(const std::string& title);

// The wheels on the ground, the aircraft in its stance.
void putOnGround(const World& world, SimObject& object);

// One step of what moves by itself; World::frame calls them, motion.cpp has them.
void moveFree(const World& world, SimObject& object, double seconds);
void moveUser(World& world, double seconds);

} // namespace rig

#pragma once
// Watches the live aircraft of a replay, Tick by Tick, and keeps what the report tells.

#include "engine/engine.h"
#include "replay/feedtrack.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace rig {

struct World;

struct Sample { // one second of one aircraft, for the pictures
    float time, lat, lon, altFt, speedKt;
    bool onGround;
};

struct Landing {
    std::string callsign;
    double time;            // replay seconds
    double fromGroundFixM;  // to the feed's first report from the ground; negative when it has none
    double sinkFpm;         // of the Tick before the touch-down
    double wheelErrorFtMax; // largest height of the wheels over or under the ground afterwards
};

struct Spread { // samples of one figure
    std::vector<float> values;
    void add(double v) { values.push_back(static_cast<float>(v)); }
    double quantile(double q) const; // 0 for no samples
    double max() const;
    double median() const { return quantile(0.5); }
};

struct Fidelity {
    Spread acrossM, delayS, verticalFt;
};

// How evenly an aircraft at constant speed moves from frame to frame: displacement over the expected one.
struct Evenness {
    double fps;
    double phase = 0;  // seconds until the next frame
    int framesDue = 0; // in this Tick
    std::uint64_t count = 0;
    double sum = 0, sumOfSquares = 0; // of the ratios
};

struct Watched { // one aircraft, by hexid
    bool active = false, everActive = false, queueWasEmpty = false;
    double firstKept = 0; // replay seconds of its first record in the engine
    double lat = 0, lon = 0, alt = 0, heading = 0, pitch = 0, bank = 0; // at the last Tick
    double altStep = 0;                                                 // feet, of the last Tick
    bool onGround = false, landingRoll = false, takingOff = false;
    int landing = -1; // place in `landings`
    std::array<double, 3> frameLat{}, frameLon{};
    std::array<bool, 3> frameKnown{};
    std::string callsign;
    std::vector<Sample> samples;
    std::uint32_t objectId = 0; // of its last object; 0: none yet
    std::string look;           // the title of that one
    bool respawnAsked = false;  // the engine has exchanged that one for another look
};

class Measure {
  public:
    double feedDelayS = 30;
    const World* world = nullptr; // whose ground it is; must outlive the measuring
    FeedTracks tracks;
    FeedTracks truth; // of generated traffic; else empty

    void afterTick(double time, double feedTime); // replay seconds, and the feed's clock
    void everySecond(double time, double feedTime);

    Fidelity air, ground, airQueueEmpty; // against the feed's tracks
    Fidelity airTruth, groundTruth;      // against the true ones
    Fidelity taxiTruth;                  // likewise, of those that truly taxi: 3 to 30 knots
    std::uint64_t leftBehindSeconds = 0; // shown on the ground while they truly fly
    Spread appearS, aliveOverTime, touchdownFpm, tickUs;
    std::uint64_t movesOver5m = 0, movesOver50m = 0;
    double altitudeStepMax = 0, headingRateMax = 0, pitchRateMax = 0,
           bankRateMax = 0; // feet, degrees per second
    std::uint64_t landingCount = 0, takeoffCount = 0, duplicateSeconds = 0, ghostSeconds = 0;
    std::uint64_t creations = 0;
    std::uint64_t returned = 0, looksChanged = 0, looksExchanged = 0; // new objects of known aircraft
    int aliveMax = 0;
    std::array<Evenness, 3> evenness{{{30}, {60}, {144}}};
    std::vector<Landing> landings;
    std::map<std::uint32_t, Watched> aircraft;

  private:
    void watchMotion(const LiveAc& ac, const Watched& w);
    void watchEvenness(const LiveAc& ac, Watched& w);
    void watchLook(const LiveAc& ac, Watched& w);
    void watchFidelity(const LiveAc& ac, const Watched& w, double delayed);
    double wheelsFt(const LiveAc& ac) const; // over the ground
    void watchLanding(const LiveAc& ac, Watched& w, double time, double feedTime);
};

} // namespace rig

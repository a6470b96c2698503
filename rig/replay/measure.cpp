// Watches the live aircraft of a replay. Reads the engine's records between two passes of the cycle and changes
// nothing.

#include "replay/measure.h"

#include "simulator/world.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace rig {

namespace {

constexpr double tickS = 0.01;
constexpr double metersPerSecondPerKnot = metersPerNm / 3600;
constexpr double speedMargin = 1.5; // the engine may fly this much faster than the feed to catch up
constexpr double fastestKt = 700;   // and no airliner is faster than this
constexpr double crawlingKt = 30;   // below it a creeping aircraft is no sample of fidelity on the ground

void raise(double& largest, double value) { largest = std::max(largest, std::abs(value)); }

} // namespace

double Spread::quantile(double q) const {
    if (values.empty()) return 0;
    std::vector<float> sorted = values;
    const auto place =
        sorted.begin() + static_cast<std::ptrdiff_t>(q * static_cast<double>(sorted.size() - 1) + 0.5);
    std::nth_element(sorted.begin(), place, sorted.end());
    return *place;
}

double Spread::max() const { return values.empty() ? 0 : *std::max_element(values.begin(), values.end()); }

void Measure::watchMotion(const LiveAc& ac, const Watched& w) {
    const double moved = metersBetween(w.lat, w.lon, ac.lat, ac.lon);
    const double speedKt =
        std::min(fastestKt, speedMargin * std::max({ac.stream.empty() ? 0 : ac.stream.front().speed,
                                                    std::abs(ac.tas), std::abs(ac.tasTarget)}));
    const double beyond = moved - speedKt * metersPerSecondPerKnot * tickS;
    if (beyond > 5) ++movesOver5m;
    if (beyond > 50) ++movesOver50m;
    raise(altitudeStepMax, ac.alt - w.alt);
    raise(headingRateMax, gf_headingDiff(w.heading, ac.heading) * radToDeg / tickS);
    if (!ac.onGround && !w.onGround) {
        raise(pitchRateMax, (ac.pitch - w.pitch) * radToDeg / tickS);
        raise(bankRateMax, (ac.bank - w.bank) * radToDeg / tickS);
    }
}

void Measure::watchEvenness(const LiveAc& ac, Watched& w) {
    const double perTick = metersBetween(0, 0, ac.latStep, ac.lonStep * std::cos(ac.lat * degToRad));
    for (std::size_t i = 0; i < evenness.size(); ++i) {
        Evenness& e = evenness[i];
        if (e.framesDue == 0) continue;
        if (w.frameKnown[i] && !ac.onGround && perTick > 0.5) {
            // The first frame shows all the way since the one before, further frames of the same Tick show none.
            const double expected = perTick / tickS / e.fps;
            const double ratio = metersBetween(w.frameLat[i], w.frameLon[i], ac.lat, ac.lon) / expected;
            e.count += static_cast<std::uint64_t>(e.framesDue);
            e.sum += ratio;
            e.sumOfSquares += ratio * ratio;
        }
        w.frameLat[i] = ac.lat;
        w.frameLon[i] = ac.lon;
        w.frameKnown[i] = true;
    }
}

// An aircraft that comes back shows its former look, unless the engine itself asked for another.
void Measure::watchLook(const LiveAc& ac, Watched& w) {
    if (ac.st == SimState::liveryRespawn) w.respawnAsked = true;
    if (ac.objectId == 0 || ac.objectId == w.objectId) return;
    if (w.objectId != 0 && w.respawnAsked) {
        if (w.look != ac.title) ++looksExchanged;
    } else if (w.objectId != 0) {
        ++returned;
        if (w.look != ac.title) ++looksChanged;
    }
    w.objectId = ac.objectId;
    w.look = ac.title;
    w.respawnAsked = false;
}

double Measure::wheelsFt(const LiveAc& ac) const {
    return ac.alt - ac.staticCg - world->groundFt(ac.lat, ac.lon);
}

void Measure::watchLanding(const LiveAc& ac, Watched& w, double time, double feedTime) {
    if (ac.landingRoll && !w.landingRoll) {
        ++landingCount;
        Landing landing{ac.callsign, time, -1, -w.altStep / tickS * 60, 0};
        const double delayed = feedTime - feedDelayS;
        if (const FeedFix* fix = tracks.firstGroundFixAfter(ac.hexid, delayed - 60))
            landing.fromGroundFixM = metersBetween(fix->lat, fix->lon, ac.lat, ac.lon);
        touchdownFpm.add(landing.sinkFpm);
        w.landing = static_cast<int>(landings.size());
        landings.push_back(std::move(landing));
    }
    if (ac.fs == FlightState::takeOff && !w.takingOff) ++takeoffCount;
    if (w.landing >= 0 && ac.onGround && w.onGround && ac.fs != FlightState::takeOff)
        raise(landings[static_cast<std::size_t>(w.landing)].wheelErrorFtMax, wheelsFt(ac));
    if (!ac.onGround && !ac.landingRoll) w.landing = -1;
}

void Measure::afterTick(double time, double feedTime) {
    for (Evenness& e : evenness) {
        e.phase -= tickS;
        for (e.framesDue = 0; e.phase <= 0; ++e.framesDue) e.phase += 1 / e.fps;
    }
    for (const LiveAc& ac : engine.live) {
        Watched& w = aircraft[ac.hexid];
        if (w.firstKept == 0) w.firstKept = time;
        watchLook(ac, w);
        const bool asked = ac.st == SimState::adding2sim;
        if (asked && !w.active && w.callsign.empty()) {
            w.callsign = ac.callsign;
            w.queueWasEmpty = engine.creationQueue.size() + engine.spawnRequests.size() <= 1; // itself alone
        }
        const bool active = ac.st == SimState::active;
        if (active && !w.everActive) {
            w.everActive = true;
            appearS.add(time - w.firstKept);
        }
        if (active && w.active) {
            watchMotion(ac, w);
            watchEvenness(ac, w);
            watchLanding(ac, w, time, feedTime);
        } else {
            w.frameKnown = {};
        }
        w.active = active;
        w.lat = ac.lat;
        w.lon = ac.lon;
        w.altStep = ac.alt - w.alt;
        w.alt = ac.alt;
        w.heading = ac.heading;
        w.pitch = ac.pitch;
        w.bank = ac.bank;
        w.onGround = ac.onGround;
        w.landingRoll = ac.landingRoll;
        w.takingOff = ac.fs == FlightState::takeOff;
    }
}

constexpr double aboveGroundFt = 500; // surely in the air

void Measure::watchFidelity(const LiveAc& ac, const Watched& w, double delayed) {
    const auto hold = [&](const FeedTracks& yardstick, Fidelity& inAir, Fidelity& onGround) {
        TrackOffset offset;
        if (!yardstick.offset(ac.hexid, delayed, ac.lat, ac.lon, ac.alt, offset)) return;
        constexpr double standingKt = 3;
        const bool isTruth = &yardstick == &truth;
        if (isTruth && ac.onGround && !offset.onGround && offset.verticalFt < -aboveGroundFt) {
            ++leftBehindSeconds;
            return;
        }
        if (isTruth && ac.onGround && offset.speedKt < crawlingKt && offset.speedKt > standingKt) {
            taxiTruth.acrossM.add(offset.acrossM);
            taxiTruth.delayS.add(offset.delayS);
            taxiTruth.verticalFt.add(0);
        }
        if (ac.onGround && offset.speedKt < crawlingKt) return;
        Fidelity& f = ac.onGround ? onGround : inAir;
        f.acrossM.add(offset.acrossM);
        f.delayS.add(offset.delayS);
        // On the ground the feed's altitude is 0: the wheels' height over the ground counts.
        f.verticalFt.add(std::abs(ac.onGround ? wheelsFt(ac) : offset.verticalFt));
        if (&yardstick == &tracks && !ac.onGround && w.queueWasEmpty) airQueueEmpty.delayS.add(offset.delayS);
    };
    hold(tracks, air, ground);
    hold(truth, airTruth, groundTruth);
}

void Measure::everySecond(double time, double feedTime) {
    int alive = 0;
    std::set<std::string> callsigns, registrations;
    for (const LiveAc& ac : engine.live) {
        if (ac.st != SimState::active) continue;
        ++alive;
        if (!ac.callsign.empty() && !callsigns.insert(ac.callsign).second) ++duplicateSeconds;
        if (!ac.regcode.empty() && !registrations.insert(ac.regcode).second) ++duplicateSeconds;
        if (!ac.callsign.empty() && ac.callsign.back() == '_') ++ghostSeconds;
        Watched& w = aircraft[ac.hexid];
        w.samples.push_back({static_cast<float>(time), static_cast<float>(ac.lat), static_cast<float>(ac.lon),
                             static_cast<float>(ac.alt), static_cast<float>(ac.tas), ac.onGround});
        watchFidelity(ac, w, feedTime - feedDelayS);
    }
    aliveMax = std::max(aliveMax, alive);
    aliveOverTime.add(alive);
}

} // namespace rig

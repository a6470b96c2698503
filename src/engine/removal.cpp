// The way out of the simulator, for every aircraft and every reason: removals asked, objects that are gone, refused
// creations, ghosts, the farthest of too many, and the loss of RealTraffic. Worker.

#include "engine/parking.h"
#include "engine/trace.h"

#include "app/errors.h"
#include "app/log.h"
#include "app/parameters.h"

#include <algorithm>
#include <fmt/format.h>

static bool lf_isLive(const AcBase& ac) { return ac.hexid >= firstLiveHexid; }

static void lf_countRemoved(const AcBase& ac, Removed why) {
    if (!lf_isLive(ac)) return;
    ++engineCounters.removed[static_cast<int>(why)];
    lf_trace(ac.hexid, "removed: {}", removedNames[static_cast<int>(why)]);
}

// ---- removal asked -----------------------------------------------------------------------------------------------

// True when the simulator has not been told of it yet; then it never will be.
static bool lf_takeOutOfQueues(std::uint32_t hexid) {
    const auto isIt = [&](const CreationRecord& record) { return record.hexid == hexid; };
    return std::erase(engine.spawnRequests, hexid) + std::erase_if(engine.creationQueue, isIt) +
               std::erase_if(engine.staticCreationQueue, isIt) >
           0;
}

void lf_beginRemoval(AcBase& ac) {
    const bool alreadyGoing =
        ac.st == SimState::liveryRespawn; // its object's removal was asked by the respawn
    if (lf_isLive(ac) && ac.standId != 0) lf_freeStand(ac);
    ac.st = SimState::removingFromSim;
    lf_forgetObjectId(ac, false);
    if (ac.objectId == 0) {
        gf_logLine(
            fmt::format("{} removing act {}, with objectid=0 ?", "removeAircraftFromSim", lf_acLabel(ac)));
        ac.eraseNow = true; // the simulator will report no removal
    } else if (!alreadyGoing) {
        engine.removalQueue.push_back(ac.objectId);
    }
}

void removeAircraftFromSim(AcBase& ac, Removed why) {
    switch (ac.st) {
    case SimState::buffer:
        if (ac.eraseNow) return;
        ac.eraseNow = true;
        ++engineCounters.notSpawned[static_cast<int>(NotSpawned::removed)];
        lf_trace(ac.hexid, "does not appear: {}", notSpawnedNames[static_cast<int>(NotSpawned::removed)]);
        return;
    case SimState::adding2sim:
        if (ac.removeWhenSpawned || ac.eraseFromQueue) return;
        lf_countRemoved(ac, why);
        if (lf_takeOutOfQueues(ac.hexid))
            ac.eraseFromQueue = true;
        else
            ac.removeWhenSpawned = true;
        return;
    case SimState::removingFromSim: return;
    case SimState::active:
    case SimState::liveryRespawn: break;
    }
    lf_countRemoved(ac, why);
    lf_beginRemoval(ac);
}

// ---- objects that are gone ---------------------------------------------------------------------------------------

static void lf_eraseLiveAc(LiveAc& ac) { lf_eraseLive(static_cast<std::size_t>(&ac - engine.live.data())); }

static void lf_eraseParked(ParkedAc& ac) {
    if (&ac != &engine.parked.back()) ac = std::move(engine.parked.back());
    engine.parked.pop_back();
}

void lf_objectRemoved(std::uint32_t objectId) {
    if (LiveAc* ac = lf_findByObjectId(objectId)) {
        if (ac->st == SimState::liveryRespawn) { // and up again, with the stream that it has
            ac->st = SimState::buffer;
            ac->thrustIndex = noThrustSent;
            ac->flapsIndex = noFlapsSent;
            lf_setObjectId(*ac, 0);
            lf_trace(ac->hexid, "its object has gone, it may appear again");
            return;
        }
        if (ac->st != SimState::removingFromSim) {
            if (!ac->removeWhenSpawned) lf_countRemoved(*ac, Removed::simRemoved);
            if (ac->standId != 0) lf_freeStand(*ac);
            lf_forgetObjectId(*ac, false);
        }
        if (ac->hasFlightPlan) lf_removeFlightPlan(*ac);
        lf_eraseLiveAc(*ac);
        return;
    }
    for (ParkedAc& ac : engine.parked)
        if (ac.objectId == objectId) return lf_eraseParked(ac);
}

static void lf_noteFailedTitle(const AcBase& ac) {
    constexpr std::size_t mostFailures = 20; // then the user's liveries are wrong as a whole
    constexpr int tooManyFailures = 81;
    gf_showMessage(fmt::format("{} \"{}\" could not be created by your Sim!", ac.callsign, ac.title), true);
    engine.failedTitles.emplace(ac.title);
    gf_noteLiveryFailure(ac);
    if (engine.failedTitles.size() < mostFailures) return;
    const std::string text =
        fmt::format("there are too many liveries that could not be created by {}!", "MSFS");
    gf_logRaw(fmt::format("\n{}Error 81, {}\n", "===> ", text));
    throw orvo::UserErrorException(tooManyFailures, fmt::format("{}, see Log.txt", text));
}

void lf_liveryFailed(std::uint32_t hexid, bool titleRefused) {
    if (gf_stopping()) return;
    LiveAc* live = lf_findByHexid(hexid);
    ParkedAc* parked = lf_findParkedByHexid(hexid);
    AcBase* ac = live ? static_cast<AcBase*>(live) : parked;
    if (!ac || ac->st != SimState::adding2sim || ac->objectId != 0)
        return; // the failed one has gone meanwhile
    if (titleRefused) lf_noteFailedTitle(*ac);
    if (!live) return lf_eraseParked(*parked);
    if (!live->removeWhenSpawned)
        lf_countRemoved(*live, titleRefused ? Removed::liveryFailed : Removed::other);
    if (live->standId != 0) lf_freeStand(*live);
    lf_eraseLiveAc(*live);
}

// ---- ghosts ------------------------------------------------------------------------------------------------------

bool lf_isGhostCallsign(std::string_view callsign) { return callsign.ends_with('_'); }

static LiveAc* lf_findCallsign(std::string_view callsign) { // of an aircraft that stays
    for (LiveAc& ac : engine.live)
        if (ac.st != SimState::removingFromSim && ac.callsign == callsign) return &ac;
    return nullptr;
}

void lf_removeGhost(std::string_view callsign) {
    LiveAc* ghost = lf_findCallsign(std::string(callsign) + "_");
    if (!ghost) return;
    if (LOG) {
        const std::string place = ghost->fs == FlightState::parked
                                      ? fmt::format("{:8}: ", lf_standName(ghost->standId))
                                      : std::string(10, ' ');
        gf_logLine(fmt::format("{}{:8} is a ghost and will be removed, continue with {}", place,
                               ghost->callsign, callsign));
    }
    engine.ghosts.insert(ghost->callsign);
    removeAircraftFromSim(*ghost, Removed::ghost);
}

bool lf_realExists(std::string_view ghostCallsign) {
    return lf_isGhostCallsign(ghostCallsign) &&
           lf_findCallsign(ghostCallsign.substr(0, ghostCallsign.size() - 1));
}

// ---- too many, or none ------------------------------------------------------------------------------------------

std::size_t lf_countActive() {
    return static_cast<std::size_t>(std::count_if(
        engine.live.begin(), engine.live.end(), [](const LiveAc& ac) { return ac.st == SimState::active; }));
}

bool lf_removeFarthest(double beyondNm) {
    LiveAc* farthest = nullptr;
    for (LiveAc& ac : engine.live) {
        if (ac.st != SimState::active) continue;
        const double d = gf_distanceNm(engine.user.lat, engine.user.lon, ac.lat, ac.lon);
        if (d <= beyondNm) continue;
        beyondNm = d;
        farthest = &ac;
    }
    if (!farthest) return false;
    removeAircraftFromSim(*farthest, Removed::farthest);
    return true;
}

void lf_removeAllForLostFeed() {
    for (LiveAc& ac : engine.live) removeAircraftFromSim(ac, Removed::feedGone);
    lf_compactLive();
    const LockGuard held(trafficLock);
    feedQueue.records.clear();
}

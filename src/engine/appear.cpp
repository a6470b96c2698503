// The simulator's messages, and what follows when an object has appeared: its flight plan, the request of its centre
// of gravity, the wait, its lights and engines, and from then on it is active. Worker.

#include "engine/parking.h"
#include "engine/trace.h"

#include "app/log.h"
#include "app/parameters.h"

// Ticks after an object has appeared: the lights of a new object come up only when all have been toggled twice, and
// the simulator needs two seconds before it takes the start state.
static constexpr std::int32_t firstToggle = 50, secondToggle = 100, waitEnds = 200;

static void lf_queueSpoilersDown(const LiveAc& ac) {
    if (ac.category != AcCategory::rotorcraft) gf_queueEvent(ac.objectId, evSpoilers, 0);
}

static void lf_startInAir(LiveAc& ac) {
    const int low = ac.alt <= 10000, cabin = ac.agl >= 2000; // feet
    gf_queueEvent(ac.objectId, evEngineStart, 0);
    lf_queueSpoilersDown(ac);
    lf_setLights(ac.objectId, {1, 1, low, 0, 1, low, cabin});
}

static void lf_startOnGround(LiveAc& ac) {
    const bool parked = ac.fs == FlightState::parked, taxi = ac.fs == FlightState::taxi;
    const bool rotor = ac.category == AcCategory::rotorcraft;
    lf_queueSpoilersDown(ac);
    gf_queueEvent(ac.objectId, parked ? evEngineShutdown : evEngineStart, 0);
    const int nav = parked ? NAV_LIGHTS_WHILE_PARKED.value.load() : 1;
    lf_setLights(ac.objectId, {nav, parked ? 0 : 1, 0, taxi ? 1 : 0, 0, 1, 1});
    lf_setThrottle(ac, rotor ? 4 : 0);
    if (!rotor) lf_setFlaps(ac, taxi ? 1 : 0);
}

void lf_activate(LiveAc& ac) {
    const bool airborne = !ac.stream.empty() ? ac.stream.front().airborne : !ac.onGround;
    if (airborne)
        lf_startInAir(ac);
    else
        lf_startOnGround(ac);
    ac.st = SimState::active;
    ++engineCounters.ready;
    lf_trace(ac.hexid, "its object {} is ready", ac.objectId);
}

bool lf_objectReady(LiveAc& ac, const SimMessage& message) {
    constexpr std::uint32_t firstObject = 3; // 1 and 2 are the user's
    if (message.objectId < firstObject) return false;
    lf_setObjectId(ac, message.objectId);
    ac.agl = message.a;
    if (!ac.stream.empty() && !ac.stream.front().airborne) {
        ac.onGround = true;
        if (ac.category != AcCategory::rotorcraft) gf_queueEvent(ac.objectId, evGear, 1);
        ac.altStep = 0;
        ac.takeoffCounter = 1;
        if (ac.fs == FlightState::parked) lf_parkedAtCreation(ac);
    }
    lf_giveFlightPlan(ac);
    lf_askStance(ac.objectId);
    return true;
}

// ---- messages ----------------------------------------------------------------------------------------------------

// An object whose record is gone, or that nobody waits for any more, is in nobody's charge: it is removed.
static void lf_onLiveAppeared(const SimMessage& message) {
    LiveAc* ac = lf_findByHexid(message.hexid);
    const bool awaited = ac && ac->st == SimState::adding2sim && ac->objectId == 0;
    if (awaited && lf_objectReady(*ac, message)) {
        engine.waitList.push_back({message});
        return;
    }
    if (awaited) { // refused: it may come again, with another object
        ac->eraseNow = true;
        lf_trace(ac->hexid, "removed: its object has a number that belongs to the user");
        ++engineCounters.removed[static_cast<int>(Removed::other)];
    }
    engine.removalQueue.push_back(message.objectId);
}

static void lf_onStaticAppeared(const SimMessage& message) {
    const ParkedAc* ac = lf_findParkedByHexid(message.hexid);
    if (ac && ac->st == SimState::adding2sim && ac->objectId == 0)
        engine.waitList.push_back({message});
    else
        engine.removalQueue.push_back(message.objectId);
}

static void lf_serveMessage(const SimMessage& message) {
    switch (message.kind) {
    case SimMessageKind::liveAppeared: return lf_onLiveAppeared(message);
    case SimMessageKind::staticAppeared: return lf_onStaticAppeared(message);
    case SimMessageKind::removed: return lf_objectRemoved(message.objectId);
    case SimMessageKind::heightReport: return lf_onHeightReport(message);
    case SimMessageKind::staticCg: return lf_onStaticCg(message);
    case SimMessageKind::creationFailed: return lf_liveryFailed(message.hexid, message.counter == 1);
    }
}

// ---- the wait ----------------------------------------------------------------------------------------------------

static void lf_removalAskedMeanwhile(AcBase& ac) {
    if (!ac.removeWhenSpawned) return;
    ac.removeWhenSpawned = false; // or the removal itself would be put off again
    lf_beginRemoval(ac);
}

static void lf_liveWaitStep(SimMessage& wait) {
    const std::int32_t count = wait.counter;
    if (count != firstToggle && count != secondToggle && count < waitEnds) return;
    LiveAc* ac = lf_findByHexid(wait.hexid);
    if (!ac || ac->st != SimState::adding2sim || ac->objectId != wait.objectId) { // the object has gone again
        wait.counter = -1;
    } else if (count < waitEnds) {
        gf_allLightsToggle(wait.objectId);
    } else {
        lf_activate(*ac);
        lf_removalAskedMeanwhile(*ac);
        wait.counter = -1;
    }
}

static void lf_staticWaitStep(SimMessage& wait) {
    if (wait.counter < waitEnds) return;
    wait.counter = -1;
    ParkedAc* ac = lf_findParkedByHexid(wait.hexid);
    if (!ac || ac->st != SimState::adding2sim) return;
    ac->st = SimState::active;
    ac->objectId = wait.objectId;
    lf_shutDownAtStand(*ac);
    gf_logLine(fmt::format("{:8}: {:8} parked", lf_standName(ac->standId), ac->callsign));
    lf_removalAskedMeanwhile(*ac);
    // A live aircraft that came while the object was being made did not find it.
    for (const LiveAc& live : engine.live)
        if (live.st != SimState::buffer && live.st != SimState::removingFromSim && lf_sameAircraft(live, *ac))
            return removeAircraftFromSim(*ac, Removed::conflict);
}

static void lf_waitStep() {
    if (engine.waitList.empty()) return;
    for (WaitRecord& record : engine.waitList) {
        ++record.message.counter;
        if (record.message.kind == SimMessageKind::liveAppeared)
            lf_liveWaitStep(record.message);
        else
            lf_staticWaitStep(record.message);
    }
    std::erase_if(engine.waitList, [](const WaitRecord& record) { return record.message.counter < 0; });
}

void lf_handleSimMessages() {
    lf_waitStep();
    gf_takeSimMessages(engine.messages);
    for (const SimMessage& message : engine.messages) lf_serveMessage(message);
    lf_serveStanceQuestions();
}

// The shared state of the simulator link and the queues in both directions: what the engine wants sent, which the
// frame step empties, and the messages to the engine. Nothing here calls the simulator. Any thread, each call one
// hold of a lock.

#include "simlink/simlink.h"

#include <utility>

Lock simLock;
SimLinkRun sim;
SimLinkProcess simLife;
std::vector<PositionUpdate> fillingUpdates;

static Lock engineMessageLock;
static std::vector<SimMessage> engineMessages GUARDED_BY(engineMessageLock); // owner: simlink

constexpr std::size_t queuePlaces = 256;    // more than the pacing of creations and removals lets pile up
constexpr std::size_t updatePlaces = 1024;  // the simulator takes at most 1000 objects
constexpr std::size_t messagePlaces = 4096; // three by-type answers of a full sky between two Ticks
constexpr float frameRateWorthWaiting = 50; // frames a second; above it a lost Tick would be seen

// Start of a run: everything empty, with room so that neither a Tick nor a frame allocates.
void lf_presizeSimQueues() {
    {
        LockGuard hold(simLock);
        sim.draining.clear();
        sim.events.clear();
        sim.creations.clear();
        sim.removals.clear();
        sim.pending.clear();
        sim.newObjects.clear();
        sim.draining.reserve(updatePlaces);
        sim.events.reserve(updatePlaces);
        sim.creations.reserve(queuePlaces);
        sim.removals.reserve(queuePlaces);
        sim.pending.reserve(queuePlaces);
        sim.newObjects.reserve(queuePlaces);
        fillingUpdates.clear();
        fillingUpdates.reserve(updatePlaces);
    }
    LockGuard hold(engineMessageLock);
    engineMessages.clear();
    engineMessages.reserve(messagePlaces);
}

// ---- to the simulator ----------------------------------------------------------------------------------------

void gf_queueEvents(const QueuedEvent* events, std::size_t count) {
    LockGuard hold(simLock);
    sim.events.insert(sim.events.end(), events, events + count);
}

void gf_queueEvent(std::uint32_t objectId, std::uint32_t event, std::uint32_t data) {
    const QueuedEvent queued{objectId, event, data};
    gf_queueEvents(&queued, 1);
}

void gf_setNavLights(std::uint32_t objectId, bool on) { gf_queueEvent(objectId, evNavLights, on); }
void gf_setCabinLights(std::uint32_t objectId, bool on) { gf_queueEvent(objectId, evCabinLights, on); }

void gf_queueCreation(CreationRecord record) {
    LockGuard hold(simLock);
    sim.creations.push_back(std::move(record));
}

void gf_queueRemoval(std::uint32_t objectId) {
    LockGuard hold(simLock);
    sim.removals.push_back(objectId);
}

// A frame holds the lock while it sends. At a low frame rate that takes long enough to delay the Tick, and the next
// frame takes the positions of a later Tick anyway, so these are given up; at a high rate the wait is short.
void gf_exchangeUpdates() {
    if (!simLock.try_lock()) {
        if (sim.frameRate <= frameRateWorthWaiting) {
            fillingUpdates.clear();
            return;
        }
        simLock.lock();
    }
    fillingUpdates.swap(sim.draining);
    simLock.unlock();
    fillingUpdates.clear();
}

void gf_dropUpdates() {
    LockGuard hold(simLock);
    sim.draining.clear();
    fillingUpdates.clear();
}

// ---- to the engine -------------------------------------------------------------------------------------------

void gf_postSimMessage(const SimMessage& message) {
    LockGuard hold(engineMessageLock);
    engineMessages.push_back(message);
}

void gf_takeSimMessages(std::vector<SimMessage>& out) {
    out.clear();
    LockGuard hold(engineMessageLock);
    out.swap(engineMessages);
}

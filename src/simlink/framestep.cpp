// What leaves with each frame of the simulator: positions, events, creations and removals, in this order. Runs on
// the simulator thread from the dispatch of a Frame event, so that the packets of a frame leave together when it
// returns. Logs and messages to the engine wait until the lock is free again.

#include "app/app.h"
#include "app/log.h"
#include "platform/clock.h"
#include "simlink/simlink.h"

#include <fmt/format.h>

#include <algorithm>

constexpr std::int64_t creationPatienceNs = 60'000'000'000; // then a creation is given up
constexpr std::int64_t lateObjectNs = 600'000'000'000;      // so long its object may still turn up
constexpr std::size_t tailNumberLength = 12;                // as the simulator takes and returns it
constexpr std::size_t titleLength = 256;

namespace {

struct Trouble {
    enum Kind { message, alert, failedRequest } kind;
    std::string text;
};
// Ordinarily both stay empty and allocate nothing.
struct FrameReport {
    std::vector<Trouble> troubles;
    std::vector<SimMessage> messages;
};

class SCOPED_CAPABILITY AdoptedGuard { // a lock that a try_lock has taken
  public:
    explicit AdoptedGuard(Lock& l) REQUIRES(l) : held(l) {}
    ~AdoptedGuard() RELEASE() { held.unlock(); }
    AdoptedGuard(const AdoptedGuard&) = delete;
    AdoptedGuard& operator=(const AdoptedGuard&) = delete;

  private:
    Lock& held;
};

} // namespace

static void lf_sendUpdates(HANDLE handle) {
    for (PositionUpdate& update : sim.draining)
        if (update.objectId > sim.userObjectId)
            SimConnect_SetDataOnSimObject(handle, defPosition, update.objectId, 0, 0, sizeof update.block,
                                          &update.block);
    sim.draining.clear();
}

static void lf_sendEvents(HANDLE handle, FrameReport& report) {
    for (const QueuedEvent& event : sim.events) {
        if (event.objectId <= sim.userObjectId) continue; // never the user's own lights and flaps
        const bool flaps = event.event == evFlaps;
        if (flaps) SimConnect_AIReleaseControl(handle, event.objectId, reqRelease);
        if (SimConnect_TransmitClientEvent(handle, event.objectId, event.event, event.data, simEventGroup,
                                           0) != S_OK)
            report.troubles.push_back(
                {Trouble::message, fmt::format("SimConnect TransmitClientEvent: {} fails", event.event)});
        else if (flaps)
            SimConnect_AIReleaseControl(handle, event.objectId, reqRelease);
    }
    sim.events.clear();
}

static void lf_sendCreation(HANDLE handle, const CreationRecord& record, FrameReport& report) {
    char title[titleLength + 1] = {};
    record.title.copy(title, titleLength);
    SIMCONNECT_DATA_INITPOSITION place;
    place.Latitude = record.lat;
    place.Longitude = record.lon;
    place.Altitude = record.alt;
    place.Pitch = record.pitch;
    place.Bank = record.bank;
    place.Heading = record.heading;
    place.OnGround = record.onGround;
    place.Airspeed = record.airspeed;
    if (SimConnect_AICreateNonATCAircraft(handle, title, record.tailNumber.c_str(), place, reqCreate) !=
        S_OK) {
        report.troubles.push_back(
            {Trouble::failedRequest,
             fmt::format("! Simcon call to create ac in sim failed, hexid:{}, liv: \"{}\", callsign: {}",
                         record.hexid, record.title, record.tailNumber)});
        return;
    }
    PendingCreation pending;
    if (SimConnect_GetLastSentPacketID(handle, &pending.packetId) != S_OK)
        report.troubles.push_back({Trouble::alert, "GetLastSentPacketID"});
    pending.hexid = record.hexid;
    pending.tailNumber = record.tailNumber.substr(0, tailNumberLength);
    pending.sentAt = plat::steadyNow();
    sim.pending.push_back(std::move(pending));
}

static void lf_sendRemovals(HANDLE handle, FrameReport& report) {
    for (const std::uint32_t id : sim.removals) {
        if (id <= sim.userObjectId)
            report.troubles.push_back(
                {Trouble::alert, fmt::format("Simconnect call to remove ac with objectid {}", id)});
        else if (SimConnect_AIRemoveObject(handle, id, reqRemove) != S_OK)
            report.troubles.push_back(
                {Trouble::failedRequest,
                 fmt::format("{}!Simconnect call to remove AI ac from sim failed, id {}?", gf_shortTimeText(),
                             id)});
    }
    sim.removals.clear();
}

// An entry that is given up stays for a while: its object is removed should it turn up late.
static void lf_giveUpCreations(FrameReport& report) {
    const std::int64_t now = plat::steadyNow();
    const std::int64_t sinceLastFrame = sim.lastFrameAt == 0 ? 0 : now - sim.lastFrameAt;
    sim.lastFrameAt = now;
    for (PendingCreation& pending : sim.pending) {
        if (!app.simRunning) pending.sentAt += sinceLastFrame; // nobody asks for answers meanwhile
        if (pending.givenUp || now - pending.sentAt < creationPatienceNs) continue;
        SimMessage message;
        message.hexid = pending.hexid;
        message.kind = SimMessageKind::creationFailed;
        report.messages.push_back(message);
        pending.givenUp = true;
    }
    std::erase_if(sim.pending, [&](const PendingCreation& pending) {
        return pending.givenUp && now - pending.sentAt >= lateObjectNs;
    });
}

static void lf_sendQueued(FrameReport& report) {
    const HANDLE handle = sim.handle;
    lf_sendUpdates(handle);
    lf_sendEvents(handle, report);
    for (const CreationRecord& record : sim.creations) lf_sendCreation(handle, record, report);
    sim.creations.clear();
    lf_sendRemovals(handle, report);
    lf_giveUpCreations(report);
}

void lf_frameStep() {
    FrameReport report;
    if (!simLock.try_lock()) return; // the next frame does it
    {
        const AdoptedGuard hold(simLock);
        if (app.simConnectFailed)
            sim.draining.clear();
        else
            lf_sendQueued(report);
    }
    for (const SimMessage& message : report.messages) gf_postSimMessage(message);
    for (const Trouble& trouble : report.troubles) {
        if (trouble.kind == Trouble::message)
            gf_showMessage(trouble.text, true);
        else
            gf_logAlert(trouble.text);
        if (trouble.kind == Trouble::failedRequest) gf_simRequestFailed();
    }
}

// What arrives from the simulator. Each message is checked against the size that came with it before a field is
// read; what concerns aircraft leaves as a SimMessage, so that the engine never runs on this thread. Simulator
// thread.

#include "simlink/dispatch.h"

#include "app/app.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/clock.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

constexpr std::uint32_t firstLiveHexid = 10001; // below it are the serial numbers of static aircraft
constexpr double teleportNm = 10;
constexpr double highestReportFeet = 2500; // above it nobody asks for the height over the ground
constexpr double standingKnots = 2;
constexpr int framesPerRate = 30;
constexpr std::size_t longestTitle = 48; // bytes; what the header has room for
constexpr std::size_t modelWidth = 32;   // of a STRING32
constexpr std::size_t dataOffset = sizeof(SIMCONNECT_RECV_SIMOBJECT_DATA) - sizeof(DWORD); // dwData begins it

enum SimException : DWORD { // of the simulator's numbers, those that mean something here
    exUnrecognizedId = 3,
    exVersionMismatch = 5,
    exTooManyObjects = 11,
    exInvalidDataSize = 19,
    exCreateObjectFailed = 22,
    exLoadFlightPlanFailed = 23,
    exInvalidForObjectType = 24,
    exOutsideRealityBubble = 33, // from here to the next, creations that the simulator refuses
    exObjectSchedule = 37,
};

#pragma pack(push, 1)
struct InRangeBlock {           // definition 404
    double agl, groundAltitude; // feet
    std::int64_t onGround;
    char atcId[32];
};
struct StaticCgBlock { // definition 405
    double cgHeight;   // feet
    double pitch;      // radians
};
#pragma pack(pop)

// ---- untrusted bytes -----------------------------------------------------------------------------------------

static void lf_countBad(const SIMCONNECT_RECV* message, DWORD size) {
    if (std::has_single_bit(++sim.badMessages)) // a stream of them does not fill the log
        gf_logAlert(fmt::format("SimConnect: bad message, dwID {}, {} bytes, {} so far", DWORD{message->dwID},
                                size, sim.badMessages));
}

// The message as its record, when it is long enough.
template <class Record> static const Record* lf_record(const SIMCONNECT_RECV* message, DWORD size) {
    if (size >= sizeof(Record)) return static_cast<const Record*>(message);
    lf_countBad(message, size);
    return nullptr;
}

// A copy of the data behind the head of an answer, when it is whole.
template <class Block>
static bool lf_block(const SIMCONNECT_RECV_SIMOBJECT_DATA* message, DWORD size, Block& block) {
    if (size < dataOffset + sizeof(Block)) {
        lf_countBad(message, size);
        return false;
    }
    std::memcpy(&block, reinterpret_cast<const char*>(message) + dataOffset, sizeof(Block));
    return true;
}

// A text ends at the first zero or at the end of its field.
static std::string_view lf_text(const char* field, std::size_t width) {
    return {field, static_cast<std::size_t>(std::find(field, field + width, '\0') - field)};
}

static std::string_view lf_textData(const SIMCONNECT_RECV_SIMOBJECT_DATA* message, DWORD size,
                                    std::size_t width) {
    if (size <= dataOffset) return {};
    return lf_text(reinterpret_cast<const char*>(message) + dataOffset, std::min(size - dataOffset, width));
}

template <class... Numbers> static bool lf_finite(Numbers... numbers) {
    return (std::isfinite(numbers) && ...);
}

// ---- the session and the flight ------------------------------------------------------------------------------

static void lf_onOpen(const SIMCONNECT_RECV_OPEN& open) {
    std::string name;
    for (const char c : lf_text(open.szApplicationName, sizeof open.szApplicationName)) {
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (letter || (c >= '0' && c <= '9') || c == ' ' || (c >= '\t' && c <= '\r')) name += c;
    }
    if (open.szApplicationName[0] == '\0') {
        gf_logLine("! Simulator name empty?");
        return;
    }
    display.simConnected = true;
    gf_repaint(Band::status);
    const bool is2020 = name == "KittyHawk";
    if (!is2020 && name != "SunRise")
        throw orvo::UserErrorException(
            77, fmt::format("\"{}\" not being MSFS 2020 or MSFS 2024 connects ... ? ", name));
    if (is2020 != static_cast<bool>(MSFS_2020))
        throw orvo::UserErrorException(
            71, fmt::format("MSFS 20{} is running ..., switch Sim or toggle the Install path checkbox of {}",
                            MSFS_2020 ? "24" : "20", programName));
    std::string label = is2020 ? "MSFS 2020" : "MSFS 2024";
    if (is2020)
        label = fmt::format("{} ({}.{}.{}.{})", label, DWORD{open.dwApplicationVersionMajor},
                            DWORD{open.dwApplicationVersionMinor}, DWORD{open.dwApplicationBuildMajor},
                            DWORD{open.dwApplicationBuildMinor});
    gf_logLine(fmt::format("{} connected", label));
    gf_setDisplayText(DisplayText::simLabel, label);
    gf_repaint(Band::status);
    gf_clearMessage();
}

static bool lf_userPositionKnown() { return !gf_isNoPosition(sim.userBlock.lat, sim.userBlock.lon); }

void lf_askToStoreUserStand() {
    if (sim.userOnGroundKnown && sim.userBlock.groundSpeed <= standingKnots) sim.storeUserStand.set();
}

// The program may be started before the flight, and its first flight is no new one.
static void lf_onNewFlight() {
    if (!lf_userPositionKnown()) return;
    lf_askToStoreUserStand();
    gf_requestStop(RunState::newFlight, 0);
}

static void lf_onEvent(const SIMCONNECT_RECV_EVENT& event) {
    if (event.uEventID == evSim) {
        const bool running = event.dwData == 1;
        app.simRunning.set(running);
        display.simRunning = running;
        gf_repaint(Band::status);
    } else if (event.uEventID == evFlightLoaded) {
        gf_logLine("Simconnect: flight loaded event");
        lf_onNewFlight();
    }
}

static void lf_onFrame(const SIMCONNECT_RECV_EVENT_FRAME& frame) {
    lf_frameStep();
    if (++sim.framesCounted < framesPerRate) return;
    sim.framesCounted = 0;
    const float rate = frame.fFrameRate;
    if (std::isfinite(rate)) sim.frameRate = rate;
}

// ---- objects -------------------------------------------------------------------------------------------------

static void lf_onAddRemove(const SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE& event) {
    if (event.eObjType != SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT) return;
    const DWORD id = event.dwData;
    if (event.uEventID == evObjectAdded && id > sim.userObjectId) {
        LockGuard hold(simLock);
        sim.newObjects.push_back(id);
    } else if (event.uEventID == evObjectRemoved) {
        {
            LockGuard hold(simLock);
            std::erase(sim.newObjects, id); // gone before it was seen
        }
        SimMessage message;
        message.objectId = id;
        message.kind = SimMessageKind::removed;
        gf_postSimMessage(message);
    }
}

template <class List, class Place> static void lf_dropPlace(List& list, Place place) {
    if (place != list.end() - 1) *place = std::move(list.back());
    list.pop_back();
}

// The creation that an object with this tail number comes from; one that is given up only when no other fits.
static bool lf_takePending(std::string_view tailNumber, PendingCreation& found) REQUIRES(simLock) {
    auto best = sim.pending.end();
    for (auto i = sim.pending.begin(); i != sim.pending.end(); ++i) {
        if (i->tailNumber != tailNumber) continue;
        if (best == sim.pending.end() || best->givenUp) best = i;
    }
    if (best == sim.pending.end()) return false;
    found = std::move(*best);
    lf_dropPlace(sim.pending, best);
    return true;
}

static void lf_onNewObject(DWORD id, const InRangeBlock& block, std::string_view tailNumber) {
    bool ours = false;
    PendingCreation creation;
    {
        LockGuard hold(simLock);
        ours = lf_takePending(tailNumber, creation);
        if (ours && !creation.givenUp) {
            SimConnect_AIReleaseControl(sim.handle, id, reqRelease);
            for (const SimEvent freeze : {evFreezeLatLon, evFreezeAltitude, evFreezeAttitude})
                sim.events.push_back({id, freeze, 1});
        } else if (ours)
            sim.removals.push_back(id); // nobody waits for it any more
    }
    if (!ours) {
        gf_logLine(
            fmt::format("just spawned, but not by {}, oid: {}, callsign \"{}\", altaboveGnd:{:.0f} ft, "
                        "onground:{}, gnd_alt:{:.0f} ft ",
                        programName, id, tailNumber, double{block.agl}, std::int64_t{block.onGround},
                        double{block.groundAltitude}));
        return;
    }
    if (creation.givenUp) return;
    SimMessage message;
    message.objectId = id;
    message.hexid = creation.hexid;
    const bool live = creation.hexid >= firstLiveHexid;
    message.kind = live ? SimMessageKind::liveAppeared : SimMessageKind::staticAppeared;
    if (live) message.a = block.agl;
    gf_postSimMessage(message);
}

static void lf_onObjectInRange(const SIMCONNECT_RECV_SIMOBJECT_DATA* answer, DWORD size) {
    const DWORD id = answer->dwObjectID;
    if (answer->dwRequestID != reqInRange || id <= sim.userObjectId) return;
    InRangeBlock block;
    if (!lf_block(answer, size, block)) return;
    if (!lf_finite(block.agl, block.groundAltitude)) return lf_countBad(answer, size);
    const std::string_view tailNumber = lf_text(block.atcId, sizeof block.atcId);
    // This thread alone writes the list, so it looks without the lock: most answers are of known objects.
    const auto place = std::find(sim.newObjects.begin(), sim.newObjects.end(), id);
    if (place != sim.newObjects.end()) {
        {
            LockGuard hold(simLock);
            lf_dropPlace(sim.newObjects, place);
        }
        return lf_onNewObject(id, block, tailNumber);
    }
    // Tail numbers of static aircraft end in an asterisk.
    if (block.agl > highestReportFeet || tailNumber.empty() || tailNumber.back() == '*') return;
    SimMessage message;
    message.objectId = id;
    message.hexid = static_cast<std::uint32_t>(block.onGround);
    message.kind = SimMessageKind::heightReport;
    message.a = block.groundAltitude;
    message.b = block.agl;
    gf_postSimMessage(message);
}

static void lf_onStaticCgAnswer(const SIMCONNECT_RECV_SIMOBJECT_DATA* answer, DWORD size) {
    StaticCgBlock block;
    if (!lf_block(answer, size, block)) return;
    if (!lf_finite(block.cgHeight, block.pitch)) return lf_countBad(answer, size);
    SimMessage message;
    message.objectId = answer->dwObjectID;
    message.kind = SimMessageKind::staticCg;
    message.a = block.cgHeight;
    message.b = block.pitch;
    gf_postSimMessage(message);
}

// ---- the user's aircraft -------------------------------------------------------------------------------------

static void lf_onUserTitle(std::string_view title) {
    if (title.size() > longestTitle) {
        std::size_t end = longestTitle; // not within a UTF-8 sequence
        while (end > 0 && (static_cast<unsigned char>(title[end]) & 0xC0) == 0x80) --end;
        title = title.substr(0, end);
    }
    if (title != sim.userTitle) {
        sim.userTitle = title;
        gf_setDisplayText(DisplayText::userTitle, title);
        gf_repaint(Band::status);
        gf_logLine(fmt::format("SimConnect: User aircraft title: {}", title));
    }
    if (title.empty()) gf_logLine("! title of your ac is empty?");
}

static void lf_onOnGround(const SIMCONNECT_RECV_SIMOBJECT_DATA* answer, DWORD size) {
    std::int64_t onGround = 0;
    if (!lf_block(answer, size, onGround)) return;
    if (lf_userPositionKnown()) {
        sim.userOnGround = onGround != 0;
        sim.userOnGroundKnown = true;
    }
    app.secondTick.set();
}

static bool lf_zuluPlausible(const UserBlock& user) {
    return user.zuluYear >= 1970 && user.zuluYear <= 2100 && user.zuluDay >= 1 && user.zuluDay <= 366 &&
           user.zuluTime >= 0 && user.zuluTime <= 86400;
}

// Days before the first of January of a year, counted from the first of January of the year 1.
static std::int64_t lf_daysBefore(std::int64_t year) {
    const std::int64_t past = year - 1;
    return 365 * past + past / 4 - past / 100 + past / 400;
}

std::int64_t gf_epochOfZulu(std::int64_t year, std::int64_t dayOfYear, std::int64_t secondOfDay) {
    return (lf_daysBefore(year) - lf_daysBefore(1970) + dayOfYear - 1) * 86400 + secondOfDay;
}

static void lf_onUserBlock(const SIMCONNECT_RECV_SIMOBJECT_DATA* answer, DWORD size) {
    UserBlock user;
    if (!lf_block(answer, size, user)) return;
    if (!lf_finite(user.lat, user.lon, user.pitch, user.bank, user.heading, user.alt, user.agl,
                   user.groundSpeed))
        return lf_countBad(answer, size);
    user.alt = std::max(user.alt, 0.0);
    const LatLon before = sim.userPrevPosition;
    const LatLon position{user.lat, user.lon};
    {
        LockGuard hold(simLock);
        sim.userBlock = user;
        sim.userPrevPosition = position;
    }
    if (!gf_isNoPosition(before.lat, before.lon) && gf_distanceNm(before, position) > teleportNm) {
        gf_logLine("Teleport");
        gf_requestStop(RunState::newFlight, 0);
    }
    if (lf_zuluPlausible(user)) sim.simTimeEpoch = gf_epochOfZulu(user.zuluYear, user.zuluDay, user.zuluTime);
    sim.userObjectId = answer->dwObjectID;
}

static void lf_onObjectData(const SIMCONNECT_RECV_SIMOBJECT_DATA* answer, DWORD size) {
    switch (answer->dwRequestID) {
    case reqStaticCg: return lf_onStaticCgAnswer(answer, size);
    case reqTitle: return lf_onUserTitle(lf_textData(answer, size, size));
    case reqModel:
        if (size > dataOffset) lf_onUserModel(lf_textData(answer, size, modelWidth));
        return;
    case reqOnGround: return lf_onOnGround(answer, size);
    case reqUser: return lf_onUserBlock(answer, size);
    default: return;
    }
}

// ---- exceptions ----------------------------------------------------------------------------------------------

// A creation that the simulator will not answer any more, whatever the reason, ends here.
static void lf_endRefusedCreation(DWORD sendId, DWORD number) {
    SimMessage message;
    bool givenUp = false;
    {
        LockGuard hold(simLock);
        const auto place = std::find_if(sim.pending.begin(), sim.pending.end(),
                                        [&](const PendingCreation& p) { return p.packetId == sendId; });
        if (sendId == 0 || place == sim.pending.end()) return;
        message.hexid = place->hexid;
        givenUp = place->givenUp;
        lf_dropPlace(sim.pending, place);
    }
    if (givenUp) return;
    const bool titleRefused =
        number == exCreateObjectFailed || (number >= exOutsideRealityBubble && number <= exObjectSchedule);
    message.counter = titleRefused ? 1 : 0;
    message.kind = SimMessageKind::creationFailed;
    gf_postSimMessage(message);
}

static void lf_onException(const SIMCONNECT_RECV_EXCEPTION& exception) {
    const DWORD number = exception.dwException;
    lf_endRefusedCreation(exception.dwSendID, number);
    switch (number) {
    case exUnrecognizedId:
        if (lf_userPositionKnown() && !gf_stopping()) gf_logAlert("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID");
        break;
    case exVersionMismatch:
        throw orvo::UserErrorException(
            95, fmt::format("Simconnect Version Mismatch, dwindex: {} ", DWORD{exception.dwIndex}));
    case exTooManyObjects: gf_showMessage("SimConnect: too many objects (max 1000)", true); break;
    case exInvalidDataSize: gf_logLine("SIMCON EXCEP 19"); break;
    case exCreateObjectFailed: break;
    case exLoadFlightPlanFailed: gf_logAlert("Simconnect exception: load flight plan failed"); break;
    case exInvalidForObjectType: gf_logLine("SIMCON EXCEP 24"); break;
    default: gf_logAlert(fmt::format("SIMCON EXCEP {}", number));
    }
}

// ---- the callback --------------------------------------------------------------------------------------------

// Answers carry a head without data in the simulator's eyes, so they are measured against it alone.
static void lf_onAnswer(const SIMCONNECT_RECV* message, DWORD size) {
    if (size < dataOffset) return lf_countBad(message, size);
    const auto* answer = static_cast<const SIMCONNECT_RECV_SIMOBJECT_DATA*>(message);
    if (message->dwID == SIMCONNECT_RECV_ID_SIMOBJECT_DATA)
        lf_onObjectData(answer, size);
    else
        lf_onObjectInRange(answer, size);
}

static void lf_handle(const SIMCONNECT_RECV* message, DWORD size) {
    switch (message->dwID) {
    case SIMCONNECT_RECV_ID_EXCEPTION:
        if (const auto* record = lf_record<SIMCONNECT_RECV_EXCEPTION>(message, size)) lf_onException(*record);
        break;
    case SIMCONNECT_RECV_ID_OPEN:
        if (const auto* record = lf_record<SIMCONNECT_RECV_OPEN>(message, size)) lf_onOpen(*record);
        break;
    case SIMCONNECT_RECV_ID_QUIT: app.simRunning.clear(); break;
    case SIMCONNECT_RECV_ID_EVENT:
        if (const auto* record = lf_record<SIMCONNECT_RECV_EVENT>(message, size)) lf_onEvent(*record);
        break;
    case SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE:
        if (const auto* record = lf_record<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>(message, size))
            lf_onAddRemove(*record);
        break;
    case SIMCONNECT_RECV_ID_EVENT_FILENAME:
        gf_logAlert("SimConnect: New file event");
        lf_onNewFlight();
        break;
    case SIMCONNECT_RECV_ID_EVENT_FRAME:
        if (const auto* record = lf_record<SIMCONNECT_RECV_EVENT_FRAME>(message, size)) lf_onFrame(*record);
        break;
    case SIMCONNECT_RECV_ID_SIMOBJECT_DATA:
    case SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE: lf_onAnswer(message, size); break;
    case SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID:
    case 16: // client data
    case 27: // an event with more arguments
        break;
    default: gf_logLine(fmt::format("! Unknown Dispatch dwID {}", DWORD{message->dwID}));
    }
}

void CALLBACK lf_dispatch(SIMCONNECT_RECV* message, DWORD size, void* context) {
    auto& state = *static_cast<DispatchContext*>(context);
    if (!message || state.raised) return;
    if (size < sizeof(SIMCONNECT_RECV)) return;
    try {
        lf_handle(message, size);
    } catch (...) {
        state.raised = std::current_exception();
    }
}

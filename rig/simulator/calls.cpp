// What each call of a client does. A packet that is at fault changes nothing and is answered with an exception that
// names it.

#include "app/geo.h"
#include "platform/files.h"
#include "simulator/session.h"
#include "simulator/wire.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <utility>

namespace rig {

using namespace wire;

static constexpr std::size_t maxRequests = 1000, maxEventIds = 1000, maxGroups = 20;
static constexpr std::uint32_t maxRadius = 200'000; // metres
static constexpr std::uint32_t lastObjectType = 9;
static constexpr std::size_t largestPlan = 1 << 20; // bytes

struct SimHub::Call {
    int number;
    Client& client;
    std::uint32_t sendId;
    Reader body;
};

// In the order of wire::SystemEvent; the last ones are known and never happen here.
static constexpr std::array systemEventNames{"Sim",
                                             "Pause",
                                             "SimStart",
                                             "SimStop",
                                             "Frame",
                                             "PauseFrame",
                                             "ObjectAdded",
                                             "ObjectRemoved",
                                             "FlightLoaded",
                                             "Paused",
                                             "Unpaused",
                                             "1sec",
                                             "4sec",
                                             "6Hz",
                                             "AircraftLoaded",
                                             "FlightPlanActivated",
                                             "FlightPlanDeactivated",
                                             "FlightSaved",
                                             "Crashed",
                                             "CrashReset",
                                             "PositionChanged",
                                             "Sound",
                                             "View"};

// How a simulator's event acts on an object.
static constexpr double fullLever = 16383; // data of the axis events at full travel

static void setLight(SimObject& o, Light light, std::uint32_t data) {
    o.lights = data ? o.lights | light : o.lights & ~static_cast<std::uint32_t>(light);
}
static double leverPercent(std::uint32_t data) {
    return std::clamp(static_cast<std::int32_t>(data) / fullLever, -1.0, 1.0) * 100;
}

static const struct SimEventRow {
    const char* name;
    void (*apply)(SimObject& object, std::uint32_t data);
} simEvents[] = {
    {"BEACON_LIGHTS_SET", [](SimObject& o, std::uint32_t data) { setLight(o, lightBeacon, data); }},
    {"NAV_LIGHTS_SET", [](SimObject& o, std::uint32_t data) { setLight(o, lightNav, data); }},
    {"TAXI_LIGHTS_SET", [](SimObject& o, std::uint32_t data) { setLight(o, lightTaxi, data); }},
    {"STROBES_SET", [](SimObject& o, std::uint32_t data) { setLight(o, lightStrobe, data); }},
    {"LANDING_LIGHTS_SET", [](SimObject& o, std::uint32_t data) { setLight(o, lightLanding, data); }},
    {"CABIN_LIGHTS_SET", [](SimObject& o, std::uint32_t data) { setLight(o, lightCabin, data); }},
    {"LOGO_LIGHTS_SET", [](SimObject& o, std::uint32_t data) { setLight(o, lightLogo, data); }},
    {"ALL_LIGHTS_TOGGLE",
     [](SimObject& o, std::uint32_t) { o.lights = o.lights == 0 ? std::uint32_t{lightAll} : 0; }},
    {"FREEZE_LATITUDE_LONGITUDE_SET", [](SimObject& o, std::uint32_t data) { o.frozenPosition = data != 0; }},
    {"FREEZE_ALTITUDE_SET", [](SimObject& o, std::uint32_t data) { o.frozenAltitude = data != 0; }},
    {"FREEZE_ATTITUDE_SET", [](SimObject& o, std::uint32_t data) { o.frozenAttitude = data != 0; }},
    {"FLAPS_SET", [](SimObject& o, std::uint32_t data) { o.flaps = std::max(0.0, leverPercent(data)); }},
    {"SPOILERS_SET",
     [](SimObject& o, std::uint32_t data) { o.spoilers = std::max(0.0, leverPercent(data)); }},
    {"GEAR_SET", [](SimObject& o, std::uint32_t data) { o.gearDown = data != 0; }},
    {"ENGINE_AUTO_START", [](SimObject& o, std::uint32_t) { o.engineRunning = true; }},
    {"ENGINE_AUTO_SHUTDOWN", [](SimObject& o, std::uint32_t) { o.engineRunning = false; }},
    {"THROTTLE_SET",
     [](SimObject& o, std::uint32_t data) { o.throttle[0] = o.throttle[1] = leverPercent(data); }},
};

static bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
        const auto fold = [](unsigned char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; };
        return fold(x) == fold(y);
    });
}

static int simEventRow(std::string_view name) { // -1: unknown
    const auto row = std::find_if(std::begin(simEvents), std::end(simEvents),
                                  [name](const SimEventRow& r) { return sameName(name, r.name); });
    return row == std::end(simEvents) ? -1 : static_cast<int>(row - simEvents);
}

void SimHub::execute(int number, Client& client, const Packet& packet) {
    constexpr std::uint32_t functionOpen = 0x01;
    static const struct {
        std::uint32_t function;
        void (SimHub::*call)(Call&);
    } calls[] = {
        {0x04, &SimHub::callMapEvent},    {0x05, &SimHub::callTransmitEvent},
        {0x07, &SimHub::callAddToGroup},  {0x09, &SimHub::callGroupPriority},
        {0x0C, &SimHub::callAddDatum},    {0x0D, &SimHub::callClearDefinition},
        {0x0E, &SimHub::callRequestData}, {0x0F, &SimHub::callRequestType},
        {0x10, &SimHub::callSetData},     {0x17, &SimHub::callSubscribe},
        {0x18, &SimHub::callUnsubscribe}, {0x29, &SimHub::callCreate},
        {0x2B, &SimHub::callRelease},     {0x2C, &SimHub::callRemove},
        {0x2D, &SimHub::callFlightPlan},
    };
    Call call{number, client, packet.sendId, {packet.body}};
    if (packet.function == functionOpen) {
        const std::uint32_t newest = edition == Edition::msfs2020 ? 5 : 6;
        if (client.opened) return;
        if (packet.protocol < 2 || packet.protocol > newest) {
            note(fmt::format("client #{} asks for protocol {}", number, packet.protocol));
            exception(client, exVersion, packet.sendId, 0);
            return;
        }
        callOpen(call);
        if (onPacket && client.opened) onPacket(number, packet);
        return;
    }
    if (!client.opened) return; // nothing is answered before the open packet
    if (onPacket) onPacket(number, packet);
    constexpr std::uint32_t functionClose = 0x02;
    if (packet.function == functionClose) return; // the end of the stream counts
    const auto found = std::find_if(std::begin(calls), std::end(calls),
                                    [&packet](const auto& c) { return c.function == packet.function; });
    if (found == std::end(calls)) {
        note(fmt::format("{} makes call {:#04x}, which is not played here", label(number, client),
                         packet.function));
        exception(client, exError, packet.sendId, 0);
        return;
    }
    (this->*found->call)(call);
    if (!call.body.good) exception(client, exDataSize, packet.sendId, 0);
}

void SimHub::callOpen(Call& call) {
    call.client.name = call.body.text(256);
    constexpr std::size_t signatureAndVersions = 24;
    call.body.take(signatureAndVersions);
    if (!call.body.good) {
        exception(call.client, exDataSize, call.sendId, 0);
        return;
    }
    call.client.opened = true;
    note(label(call.number, call.client) + " connects");
    const bool old = edition == Edition::msfs2020;
    Body<296> open;
    open.text(old ? "KittyHawk" : "SunRise", 256);
    open.u32(old ? 11 : 12).u32(old ? 0 : 2).u32(282174).u32(999); // application
    open.u32(old ? 11 : 12).u32(old ? 0 : 2).u32(old ? 62651 : 0).u32(old ? 3 : 0);
    send(call.client, msgOpen, open.view());
}

// ---- events ------------------------------------------------------------------------------------------------

void SimHub::callMapEvent(Call& call) {
    const std::uint32_t id = call.body.u32();
    const std::string_view name = call.body.text(256);
    if (!call.body.good) return;
    Client& client = call.client;
    const int row = simEventRow(name);
    if (client.simEvents.size() >= maxEventIds)
        exception(client, exTooManyEvents, call.sendId, 1);
    else if (client.simEvents.count(id) || client.systemEvents.count(id))
        exception(client, exDuplicateEvent, call.sendId, 1);
    else if (row < 0)
        exception(client, exName, call.sendId, 2);
    else
        client.simEvents[id] = row;
}

void SimHub::callTransmitEvent(Call& call) {
    const std::uint32_t objectId = call.body.u32(), event = call.body.u32(), data = call.body.u32();
    constexpr std::size_t groupAndFlags = 8;
    call.body.take(groupAndFlags);
    if (!call.body.good) return;
    SimObject* object = world.find(objectId);
    const auto found = call.client.simEvents.find(event);
    if (!object || found == call.client.simEvents.end()) {
        exception(call.client, exUnrecognizedId, call.sendId, object ? 2 : 1);
        return;
    }
    note(fmt::format("{} sends {} {} to object {}", label(call.number, call.client),
                     simEvents[found->second].name, static_cast<std::int32_t>(data), object->id));
    simEvents[found->second].apply(*object, data);
    if (object->id == userObjectId) tellUserEvent(found->second, data);
}

// Whoever has such an event in a group hears of it when it happens to the user's aircraft.
void SimHub::tellUserEvent(int event, std::uint32_t data) {
    for (auto& [number, client] : clients)
        for (const auto& [group, ids] : client.groups)
            for (const std::uint32_t id : ids)
                if (client.simEvents[id] == event)
                    send(client, msgEvent, Body<12>().u32(group).u32(id).u32(data).view());
}

bool SimHub::userEvent(const std::string& name, std::uint32_t data) {
    const int row = simEventRow(name);
    if (row < 0) return false;
    note(fmt::format("the user: {} {}", simEvents[row].name, static_cast<std::int32_t>(data)));
    simEvents[row].apply(world.user(), data);
    tellUserEvent(row, data);
    return true;
}

void SimHub::callAddToGroup(Call& call) {
    const std::uint32_t group = call.body.u32(), event = call.body.u32();
    call.body.u32(); // maskable
    if (!call.body.good) return;
    Client& client = call.client;
    if (!client.simEvents.count(event)) {
        exception(client, exUnrecognizedId, call.sendId, 2);
        return;
    }
    if (!client.groups.count(group) && client.groups.size() >= maxGroups) {
        exception(client, exTooManyGroups, call.sendId, 1);
        return;
    }
    std::vector<std::uint32_t>& ids = client.groups[group];
    if (std::find(ids.begin(), ids.end(), event) == ids.end()) ids.push_back(event);
}

void SimHub::callGroupPriority(Call& call) {
    const std::uint32_t group = call.body.u32();
    call.body.u32(); // priority: nothing is masked here
    if (call.body.good && !call.client.groups.count(group))
        exception(call.client, exUnrecognizedId, call.sendId, 1);
}

void SimHub::callSubscribe(Call& call) {
    const std::uint32_t id = call.body.u32();
    const std::string_view name = call.body.text(256);
    if (!call.body.good) return;
    Client& client = call.client;
    const auto found = std::find_if(systemEventNames.begin(), systemEventNames.end(),
                                    [name](const char* known) { return sameName(name, known); });
    if (client.systemEvents.size() >= maxEventIds) {
        exception(client, exTooManyEvents, call.sendId, 1);
    } else if (client.simEvents.count(id) || client.systemEvents.count(id)) {
        exception(client, exDuplicateEvent, call.sendId, 1);
    } else if (found == systemEventNames.end()) {
        exception(client, exName, call.sendId, 2);
    } else {
        const int event = static_cast<int>(found - systemEventNames.begin());
        client.systemEvents[id] = event;
        note(fmt::format("{} subscribes to {}", label(call.number, client), *found));
        // These two tell their state at once.
        if (event == sysSim || event == sysPause) {
            const bool on = event == sysSim ? world.running : world.paused;
            send(client, msgEvent, Body<12>().u32(noGroup).u32(id).u32(on).view());
        }
    }
}

void SimHub::callUnsubscribe(Call& call) {
    const std::uint32_t id = call.body.u32();
    if (call.body.good && call.client.systemEvents.erase(id) == 0)
        exception(call.client, exUnrecognizedId, call.sendId, 1);
}

// ---- data --------------------------------------------------------------------------------------------------

void SimHub::callAddDatum(Call& call) {
    const std::uint32_t id = call.body.u32();
    const std::string_view name = call.body.text(256), unit = call.body.text(256);
    const std::uint32_t type = call.body.u32();
    constexpr std::size_t epsilonAndDatumId = 8;
    call.body.take(epsilonAndDatumId);
    if (!call.body.good) return;
    if (call.client.definitions.size() >= maxRequests && !call.client.definitions.count(id)) {
        exception(call.client, exTooManyObjects, call.sendId, 1);
        return;
    }
    Definition extended = call.client.definitions[id];
    if (extended.datums.size() >= maxRequests) {
        exception(call.client, exTooManyObjects, call.sendId, 1);
        return;
    }
    const std::uint32_t fault = addDatum(extended, name, unit, type);
    if (fault == exceptionNone) {
        call.client.definitions[id] = std::move(extended);
        return;
    }
    if (call.client.definitions[id].datums.empty()) call.client.definitions.erase(id);
    exception(call.client, fault, call.sendId, fault == exceptionName ? 2 : 4);
}

void SimHub::callClearDefinition(Call& call) {
    const std::uint32_t id = call.body.u32();
    if (call.body.good && call.client.definitions.erase(id) == 0)
        exception(call.client, exUnrecognizedId, call.sendId, 1);
}

void SimHub::callRequestData(Call& call) {
    const std::uint32_t id = call.body.u32(), definition = call.body.u32(), objectId = call.body.u32();
    const std::uint32_t period = call.body.u32(), flags = call.body.u32(), origin = call.body.u32();
    const std::uint32_t interval = call.body.u32(), limit = call.body.u32();
    if (!call.body.good) return;
    Client& client = call.client;
    constexpr std::uint32_t lastPeriod = 4;
    const SimObject* object = world.find(objectId);
    if (period == 0) {
        client.requests.erase(id);
    } else if (!client.definitions.count(definition)) {
        exception(client, exUnrecognizedId, call.sendId, 2);
    } else if (!object) {
        exception(client, exUnrecognizedId, call.sendId, 3);
    } else if (period > lastPeriod) {
        exception(client, exEnum, call.sendId, 4);
    } else if (flags > 1) {
        exception(client, exData, call.sendId, 5); // tagged data is not played here
    } else if (client.requests.size() >= maxRequests && !client.requests.count(id)) {
        exception(client, exTooManyRequests, call.sendId, 1);
    } else {
        Request request;
        request.definition = definition;
        request.object = object->id;
        request.period = period;
        request.interval = interval;
        request.left = limit;
        request.onlyChanged = flags == 1;
        request.dueSecond = world.simSeconds + origin;
        request.waitFrames = origin;
        client.requests[id] = std::move(request);
        if (object->id != userObjectId || client.journaledRequests.insert(id).second)
            note(fmt::format("{} asks for definition {} of object {} (request {}, {})",
                             label(call.number, client), definition, object->id, id,
                             period == 1   ? "once"
                             : period == 4 ? "each second"
                                           : "each frame"));
    }
}

void SimHub::callRequestType(Call& call) {
    const std::uint32_t id = call.body.u32(), definition = call.body.u32(), radius = call.body.u32();
    const std::uint32_t type = call.body.u32();
    if (!call.body.good) return;
    Client& client = call.client;
    if (!client.definitions.count(definition)) {
        exception(client, exUnrecognizedId, call.sendId, 2);
    } else if (radius > maxRadius) {
        exception(client, exOutOfBounds, call.sendId, 3);
    } else if (type > lastObjectType) {
        exception(client, exEnum, call.sendId, 4);
    } else if (client.typeRequests.size() >= maxRequests) {
        exception(client, exTooManyRequests, call.sendId, 1);
    } else {
        client.typeRequests.push_back({id, definition, radius, type});
        if (client.journaledRequests.insert(id).second)
            note(fmt::format("{} asks for definition {} of all within {} m (request {})",
                             label(call.number, client), definition, radius, id));
    }
}

void SimHub::callSetData(Call& call) {
    const std::uint32_t definitionId = call.body.u32(), objectId = call.body.u32(), flags = call.body.u32();
    const std::uint32_t count = std::max(1u, call.body.u32()), size = call.body.u32();
    if (!call.body.good) return;
    Client& client = call.client;
    const auto definition = client.definitions.find(definitionId);
    SimObject* object = world.find(objectId);
    if (definition == client.definitions.end()) {
        exception(client, exUnrecognizedId, call.sendId, 1);
    } else if (!object) {
        exception(client, exUnrecognizedId, call.sendId, 2);
    } else if (flags != 0) {
        exception(client, exData, call.sendId, 3);
    } else if (size != definition->second.size || definition->second.variableLength ||
               call.body.bytes.size() != std::uint64_t{count} * size) {
        exception(client, exDataSize, call.sendId, 5);
    } else {
        // Of an array the last element stays.
        const char* last = call.body.bytes.data() + std::size_t{count - 1} * size;
        if (const std::uint32_t fault = writeData(*object, definition->second, last);
            fault != exceptionNone) {
            note(fmt::format("{} sets object {} to values that no aircraft can take, or that can't be set",
                             label(call.number, client), object->id));
            exception(client, fault, call.sendId, 6);
        } else if (!definition->second.position) {
            note(fmt::format("{} sets definition {} of object {}", label(call.number, client), definitionId,
                             object->id));
        } else {
            ++positionsReceived;
            if (object->positionsSet++ == 0)
                note(fmt::format("{} moves object {} for the first time, to {:.5f} {:.5f} {:.0f} ft",
                                 label(call.number, client), object->id, object->lat, object->lon,
                                 object->alt));
        }
    }
}

// ---- AI objects --------------------------------------------------------------------------------------------

void SimHub::callCreate(Call& call) {
    constexpr std::uint32_t cruiseSpeed = 0xFFFFFFFF, keepSpeed = 0xFFFFFFFE;
    constexpr double cruiseKt = 250;
    CreationRequest request;
    request.client = call.number;
    request.sendId = call.sendId;
    request.title = call.body.text(256);
    request.tailNumber = call.body.text(12);
    for (double* field :
         {&request.lat, &request.lon, &request.alt, &request.pitch, &request.bank, &request.heading})
        *field = call.body.f64();
    request.onGround = call.body.u32() != 0;
    const std::uint32_t speed = call.body.u32();
    request.airspeed = speed == cruiseSpeed ? cruiseKt : speed == keepSpeed ? 0 : speed;
    request.requestId = call.body.u32();
    if (!call.body.good) return;
    note(fmt::format("{} creates {} \"{}\" at {:.5f} {:.5f}, {}, heading {:.0f}, {:.0f} kt (packet {})",
                     label(call.number, call.client), request.tailNumber, request.title, request.lat,
                     request.lon, request.onGround ? "on ground" : fmt::format("{:.0f} ft", request.alt),
                     request.heading, request.airspeed, call.sendId));
    constexpr double limit = 1e6; // feet, degrees, knots: beyond it nothing flies
    const auto sane = [](double value, double most) {
        return std::isfinite(value) && std::fabs(value) <= most;
    };
    if (!sane(request.lat, 90) || !sane(request.lon, 180) || !sane(request.alt, limit) ||
        !sane(request.pitch, limit) || !sane(request.bank, limit) || !sane(request.heading, limit) ||
        !sane(request.airspeed, limit)) {
        ++world.refusedCount;
        exception(call.client, exCreation, call.sendId, 3);
    } else if (world.count() >= maxObjects) {
        ++world.refusedCount;
        exception(call.client, exTooManyObjects, call.sendId, 0);
    } else {
        world.create(std::move(request));
    }
}

void SimHub::callRelease(Call& call) {
    const std::uint32_t id = call.body.u32();
    call.body.u32(); // request
    if (!call.body.good) return;
    SimObject* object = world.find(id);
    if (!object) {
        exception(call.client, exUnrecognizedId, call.sendId, 1);
        return;
    }
    if (!object->released) note(fmt::format("{} releases object {}", label(call.number, call.client), id));
    object->released = object->id != userObjectId;
}

void SimHub::callRemove(Call& call) {
    const std::uint32_t id = call.body.u32();
    call.body.u32(); // request
    if (!call.body.good) return;
    const SimObject* object = world.find(id);
    if (object)
        note(fmt::format("{} removes object {} {}, moved {} times", label(call.number, call.client), id,
                         object->tailNumber, object->positionsSet));
    if (!object)
        exception(call.client, exUnrecognizedId, call.sendId, 1);
    else if (object->id == userObjectId || object->owner != call.number)
        exception(call.client, exIllegal, call.sendId, 1);
    else if (!world.remove(id)) // asked for twice in a frame
        exception(call.client, exUnrecognizedId, call.sendId, 1);
}

// A plan is good when it is a file, with or without its ending named, that looks like one.
static bool planIsGood(const std::string& utf8) {
    std::error_code error;
    std::filesystem::path path = plat::textPath(utf8);
    if (!std::filesystem::is_regular_file(path, error)) path += ".pln";
    if (!std::filesystem::is_regular_file(path, error)) return false;
    if (std::filesystem::file_size(path, error) > largestPlan || error) return false;
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    return text.find("<FlightPlan.FlightPlan>") != std::string::npos &&
           text.find("</FlightPlan.FlightPlan>") != std::string::npos;
}

void SimHub::callFlightPlan(Call& call) {
    const std::uint32_t id = call.body.u32();
    const std::string path(call.body.text(260));
    call.body.u32(); // request
    if (!call.body.good) return;
    SimObject* object = world.find(id);
    if (object)
        note(fmt::format("{} gives object {} the plan \"{}\"", label(call.number, call.client), id, path));
    if (!object)
        exception(call.client, exUnrecognizedId, call.sendId, 1);
    else if (object->type != ObjectType::aircraft)
        exception(call.client, exObjectType, call.sendId, 1);
    else if (!planIsGood(path))
        exception(call.client, exFlightPlan, call.sendId, 2);
    else
        object->flightPlan = path;
}

} // namespace rig

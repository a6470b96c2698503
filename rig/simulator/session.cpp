// The hub's streams and frames: packets out of bytes, messages into bytes, and the order of a frame. What a packet
// does is in calls.cpp.

#include "simulator/session.h"

#include "app/geo.h"
#include "simulator/wire.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <utility>

namespace rig {

using namespace wire;

// A client that sends or leaves unread so much between two frames is closed.
static constexpr std::size_t largestBacklog = 64u << 20;
static constexpr std::size_t journalLimit = 100'000;
// A frame's length summed up in floating point may miss a full second by this much.
static constexpr double timeSlack = 1e-6;
static constexpr float frameRateWeight = 0.1f; // of the newest frame in the average

SimHub::SimHub(const WorldSettings& settings, Edition e) : world(settings), edition(e) {}

void SimHub::note(const std::string& line) {
    if (!journalOn) return;
    journal.push_back(fmt::format("{:9.3f} {}", world.elapsed, line));
    ++journalCount;
    if (journal.size() > journalLimit) journal.pop_front();
}

std::string SimHub::label(int number, const Client& client) {
    std::string name = client.name.empty() ? "client" : client.name;
    for (char& c : name)
        if (static_cast<unsigned char>(c) < ' ') c = '?';
    return fmt::format("{}#{}", name, number);
}

// ---- clients and their streams -----------------------------------------------------------------------------

int SimHub::addClient() {
    clients[nextClient].closed = hasEnded;
    return nextClient++;
}

int SimHub::openClients() const {
    return static_cast<int>(std::count_if(clients.begin(), clients.end(), [](const auto& entry) {
        return entry.second.opened && !entry.second.closed;
    }));
}

bool SimHub::isOpen(int client) const {
    const auto found = clients.find(client);
    return found != clients.end() && !found->second.closed;
}

void SimHub::receive(int client, std::span<const char> bytes) {
    const auto found = clients.find(client);
    if (found == clients.end() || found->second.closed) return;
    if (found->second.input.size() + bytes.size() > largestBacklog) {
        note(label(client, found->second) + " sends faster than anyone can read, closed");
        close(client, found->second);
        return;
    }
    found->second.input.append(bytes.data(), bytes.size());
}

std::string SimHub::takeOutput(int client) {
    const auto found = clients.find(client);
    return found == clients.end() ? std::string() : std::exchange(found->second.output, {});
}

void SimHub::dropClient(int client) {
    const auto found = clients.find(client);
    if (found == clients.end()) return;
    if (found->second.opened && !found->second.closed) note(label(client, found->second) + " leaves");
    world.removeAllOf(client);
    clients.erase(found);
}

void SimHub::close(int number, Client& client) {
    client.closed = true;
    client.requests.clear();
    client.typeRequests.clear();
    world.removeAllOf(number);
}

void SimHub::takePackets(int number, Client& client) {
    std::size_t at = 0;
    while (!client.closed && client.input.size() - at >= sizeof(std::uint32_t)) {
        Reader header{{client.input.data() + at, client.input.size() - at}};
        Packet packet;
        packet.size = header.u32();
        if (packet.size < packetHeader || packet.size > largestPacket) {
            note(fmt::format("{} sends a packet of {} bytes, closed", label(number, client), packet.size));
            close(number, client);
            break;
        }
        if (client.input.size() - at < packet.size) break;
        packet.protocol = header.u32();
        packet.function = header.u32() & 0x0FFFFFFF;
        packet.sendId = header.u32();
        packet.body = {client.input.data() + at + packetHeader, packet.size - packetHeader};
        at += packet.size;
        execute(number, client, packet);
    }
    client.input.erase(0, at);
}

void SimHub::send(Client& client, std::uint32_t message, std::string_view body) {
    if (client.closed || faults.silent) return;
    const bool isAnswer = message == msgData || message == msgDataByType || message == msgAssignedId;
    if (faults.dropAnswers && isAnswer) return;
    Body<messageHeader> header;
    header.u32(static_cast<std::uint32_t>(messageHeader + body.size()));
    header.u32(edition == Edition::msfs2020 ? 5 : 6).u32(message);
    std::string* out = &client.output;
    if (faults.late > 0 || !client.delayed.empty()) {
        const double due = world.elapsed + faults.late;
        client.delayed.push_back(
            {client.delayed.empty() ? due : std::max(due, client.delayed.back().due), {}});
        out = &client.delayed.back().bytes;
    }
    out->append(header.view()).append(body);
}

void SimHub::exception(Client& client, std::uint32_t number, std::uint32_t sendId, std::uint32_t index) {
    note(fmt::format("  exception {} for packet {}", number, sendId));
    send(client, msgException, Body<12>().u32(number).u32(sendId).u32(index).view());
}

// ---- events ------------------------------------------------------------------------------------------------

void SimHub::systemEventTo(Client& client, int event, std::uint32_t data) {
    if (client.closed) return;
    for (const auto& [id, subscribed] : client.systemEvents)
        if (subscribed == event) send(client, msgEvent, Body<12>().u32(noGroup).u32(id).u32(data).view());
}

void SimHub::systemEvent(int event, std::uint32_t data) {
    for (auto& [number, client] : clients) systemEventTo(client, event, data);
}

void SimHub::setPaused(bool on) {
    if (world.paused == on) return;
    world.paused = on;
    note(on ? "the simulator pauses" : "the simulator goes on");
    systemEvent(sysPause, on);
    systemEvent(on ? sysPaused : sysUnpaused, 0);
}

void SimHub::setRunning(bool on) {
    if (world.running == on) return;
    world.running = on;
    note(on ? "the flight runs" : "the flight stands");
    systemEvent(sysSim, on);
    systemEvent(on ? sysSimStart : sysSimStop, 0);
}

void SimHub::flightLoaded(const std::string& file) {
    note("flight loaded: " + file);
    for (auto& [number, client] : clients)
        for (const auto& [id, event] : client.systemEvents)
            if (event == sysFlightLoaded)
                send(client, msgFilename,
                     Body<276>().u32(noGroup).u32(id).u32(0).text(file, 260).u32(0).view());
}

void SimHub::quit() {
    if (hasEnded) return;
    note("the simulator ends");
    hasEnded = true;
    for (auto& [number, client] : clients) {
        if (client.opened) send(client, msgQuit, {});
        close(number, client);
    }
}

void SimHub::closeConnections() {
    note("the simulator drops all connections");
    for (auto& [number, client] : clients) {
        client.output.clear();
        client.delayed.clear();
        close(number, client);
    }
}

// ---- the frame ---------------------------------------------------------------------------------------------

void SimHub::frame(double seconds) {
    for (auto& [number, client] : clients) takePackets(number, client);
    secondsBefore = world.simSeconds;
    world.frame(seconds);
    tellChanges();
    for (auto& [number, client] : clients) answerRequests(client);
    sendFrameEvents(seconds);
    for (auto& [number, client] : clients) {
        while (!client.delayed.empty() && client.delayed.front().due <= world.elapsed) {
            client.output += client.delayed.front().bytes;
            client.delayed.pop_front();
        }
        if (client.output.size() > largestBacklog) {
            note(label(number, client) + " does not read, closed");
            client.output.clear();
            close(number, client);
        }
    }
}

void SimHub::tellChanges() {
    for (const WorldChange& change : world.changes) {
        const auto creator = clients.find(change.creation.client);
        if (change.kind == WorldChange::refused) {
            note(fmt::format("  \"{}\" {} is refused", change.creation.title, change.creation.tailNumber));
            if (creator != clients.end()) exception(creator->second, exCreation, change.creation.sendId, 0);
            continue;
        }
        const bool added = change.kind == WorldChange::added;
        note(added ? fmt::format("  object {} is there: {} \"{}\"", change.objectId,
                                 change.creation.tailNumber, change.creation.title)
                   : fmt::format("  object {} is gone", change.objectId));
        for (auto& [number, client] : clients)
            for (const auto& [id, event] : client.systemEvents)
                if (event == (added ? sysObjectAdded : sysObjectRemoved))
                    send(client, msgAddRemove,
                         Body<16>()
                             .u32(noGroup)
                             .u32(id)
                             .u32(change.objectId)
                             .u32(static_cast<std::uint32_t>(change.type))
                             .view());
        if (added && creator != clients.end())
            send(creator->second, msgAssignedId,
                 Body<8>().u32(change.creation.requestId).u32(change.objectId).view());
    }
    world.changes.clear();
}

// One answer; without an object its data means nothing.
void SimHub::answer(Client& client, std::uint32_t message, std::uint32_t request, std::uint32_t definitionId,
                    const Definition& definition, const SimObject* object, std::uint32_t entry,
                    std::uint32_t outOf, std::uint32_t flags) {
    constexpr std::size_t fields = 28;
    Body<fields> head;
    head.u32(request).u32(object ? object->id : 0).u32(definitionId).u32(flags).u32(entry).u32(outOf);
    head.u32(static_cast<std::uint32_t>(definition.datums.size()));
    packed.clear();
    packed.append(head.view());
    if (object)
        appendData(packed, world, *object, definition);
    else
        packed.append(definition.size + (definition.variableLength ? 4 : 0), '\0');
    send(client, message, packed);
}

void SimHub::answerRequests(Client& client) {
    if (client.closed) return;
    for (auto entry = client.requests.begin(); entry != client.requests.end();) {
        Request& request = entry->second;
        const std::uint32_t id = entry->first;
        SimObject* object = world.find(request.object);
        const auto definition = client.definitions.find(request.definition);
        if (!object || definition == client.definitions.end()) {
            entry = client.requests.erase(entry);
            continue;
        }
        bool due = request.period == 1;
        if (request.period == 4) { // simulator seconds stand while paused
            due = !world.paused && world.simSeconds + timeSlack >= request.dueSecond;
            while (due && request.dueSecond <= world.simSeconds + timeSlack)
                request.dueSecond += 1.0 + request.interval;
        } else if (request.period == 2 || (request.period == 3 && !world.paused)) {
            due = request.waitFrames == 0;
            request.waitFrames = due ? request.interval : request.waitFrames - 1;
        }
        if (due && request.onlyChanged) {
            std::string data;
            appendData(data, world, *object, definition->second);
            due = request.period == 1 || data != request.lastData;
            request.lastData = std::move(data);
        }
        if (due)
            answer(client, msgData, id, request.definition, definition->second, object, 1, 1,
                   request.onlyChanged ? 1 : 0);
        const bool last = due && (request.period == 1 || (request.left > 0 && --request.left == 0));
        entry = last ? client.requests.erase(entry) : std::next(entry);
    }
    for (const TypeRequest& request : client.typeRequests) answerType(client, request);
    client.typeRequests.clear();
}

void SimHub::answerType(Client& client, const TypeRequest& request) {
    const auto definition = client.definitions.find(request.definition);
    if (definition == client.definitions.end()) return;
    constexpr std::uint32_t typeUser = 0, typeAll = 1, typeUserCurrent = 9;
    const SimObject& own = world.user();
    const double radiusNm = request.radius / metersPerNm;
    std::vector<const SimObject*> found;
    for (const auto& [id, object] : world.objects) {
        const bool isUser = id == userObjectId;
        const bool fits = request.type == typeAll ||
                          static_cast<std::uint32_t>(object.type) == request.type ||
                          (isUser && (request.type == typeUser || request.type == typeUserCurrent));
        if (!fits) continue;
        if (!isUser) {
            if (request.radius == 0) break;
            if (object.createdAt == world.elapsed) continue; // listed from the next frame on
            // The latitude alone tells most of those that are too far.
            if (std::fabs(object.lat - own.lat) * 60 > radiusNm) continue;
            if (gf_distanceNm(own.lat, own.lon, object.lat, object.lon) > radiusNm) continue;
        }
        found.push_back(&object);
    }
    const auto count = static_cast<std::uint32_t>(found.size());
    for (std::uint32_t i = 0; i < count; ++i)
        answer(client, msgDataByType, request.request, request.definition, definition->second, found[i],
               i + 1, count, 0);
    if (count == 0)
        answer(client, msgDataByType, request.request, request.definition, definition->second, nullptr, 0, 0,
               0);
}

void SimHub::sendFrameEvents(double seconds) {
    const float rate = seconds > 0 ? static_cast<float>(1 / seconds) : 0;
    frameRate = frameRate == 0 ? rate : frameRate + (rate - frameRate) * frameRateWeight;
    const int event = world.paused ? sysPauseFrame : sysFrame;
    const auto passed = [this](double period) {
        return std::floor(world.simSeconds / period) > std::floor(secondsBefore / period);
    };
    if (passed(1)) systemEvent(sysOneSecond, 0);
    if (passed(4)) systemEvent(sysFourSeconds, 0);
    if (passed(1.0 / 6)) systemEvent(sysSixHertz, 0);
    for (auto& [number, client] : clients)
        for (const auto& [id, subscribed] : client.systemEvents)
            if (subscribed == event)
                send(client, msgFrame,
                     Body<20>().u32(noGroup).u32(id).u32(0).put(frameRate).put(1.0f).view());
}

} // namespace rig

#pragma once
// A client that writes and reads the bytes itself, so that the hub is not judged by its own code: packets in, the
// messages of its stream out.

#include "simulator/session.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace test {

template <typename T> std::string raw(T value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}
inline std::string u32(std::uint32_t value) { return raw(value); }
inline std::string text(const std::string& value, std::size_t width) {
    std::string field = value.substr(0, width);
    field.resize(width, '\0');
    return field;
}

struct Message {
    std::uint32_t version = 0, id = 0;
    std::string body; // behind the 12 bytes of header
    template <typename T> T at(std::size_t offset) const {
        T value{};
        if (offset + sizeof value <= body.size()) std::memcpy(&value, body.data() + offset, sizeof value);
        return value;
    }
    std::uint32_t u32(std::size_t offset) const { return at<std::uint32_t>(offset); }
    double f64(std::size_t offset) const { return at<double>(offset); }
};

inline std::string packet(std::uint32_t function, std::uint32_t sendId, const std::string& body,
                          std::uint32_t protocol = 5) {
    return u32(static_cast<std::uint32_t>(16 + body.size())) + u32(protocol) + u32(0xF0000000 | function) +
           u32(sendId) + body;
}
inline std::string openPacket(std::uint32_t protocol = 5, std::uint32_t sendId = 1) {
    return packet(0x01, sendId,
                  text("Test", 256) + u32(0) + text(std::string("\0HK\0", 4), 4) + u32(11) + u32(0) +
                      u32(62651) + u32(3),
                  protocol);
}

// Cuts whole messages from a stream, leaving the rest.
inline std::vector<Message> cutMessages(std::string& stream) {
    std::vector<Message> list;
    while (stream.size() >= 12) {
        std::uint32_t head[3];
        std::memcpy(head, stream.data(), sizeof head);
        if (head[0] < 12 || stream.size() < head[0]) break;
        list.push_back({head[1], head[2], stream.substr(12, head[0] - 12)});
        stream.erase(0, head[0]);
    }
    return list;
}

struct WireClient {
    explicit WireClient(rig::SimHub& h) : hub(h), number(h.addClient()) { give(openPacket(5, sendId)); }
    void give(const std::string& bytes) { hub.receive(number, bytes); }
    std::uint32_t call(std::uint32_t function, const std::string& body) { // its send id
        give(packet(function, ++sendId, body));
        return sendId;
    }
    std::vector<Message> messages() { // since the last call
        stream += hub.takeOutput(number);
        return cutMessages(stream);
    }
    // Those of one kind, from a frame of the given length.
    std::vector<Message> frame(std::uint32_t kind, double seconds = 0.1) {
        hub.frame(seconds);
        std::vector<Message> wanted;
        for (Message& m : messages())
            if (m.id == kind) wanted.push_back(std::move(m));
        return wanted;
    }
    std::vector<std::vector<std::uint32_t>>
    exceptions(double seconds = 0.1) { // number, send id, index of each
        std::vector<std::vector<std::uint32_t>> list;
        for (const Message& m : frame(1, seconds)) list.push_back({m.u32(0), m.u32(4), m.u32(8)});
        return list;
    }

    std::uint32_t define(std::uint32_t id, const std::string& name, const std::string& unit,
                         std::uint32_t type) {
        return call(0x0C,
                    u32(id) + text(name, 256) + text(unit, 256) + u32(type) + raw(0.0f) + u32(0xFFFFFFFF));
    }
    void definePosition(std::uint32_t id) {
        const char* const names[][2] = {{"Plane Latitude", "degree"},
                                        {"Plane Longitude", "degree"},
                                        {"Plane Pitch degrees", "radians"},
                                        {"Plane Bank degrees", "radians"},
                                        {"Plane Heading degrees true", "radians"},
                                        {"Plane Altitude", "feet"},
                                        {"Vertical Speed", "feet per second"},
                                        {"Airspeed True", "knots"}};
        for (const auto& name : names) define(id, name[0], name[1], 4);
    }
    std::uint32_t subscribe(std::uint32_t id, const std::string& name) {
        return call(0x17, u32(id) + text(name, 256));
    }
    std::uint32_t map(std::uint32_t id, const std::string& name) {
        return call(0x04, u32(id) + text(name, 256));
    }
    std::uint32_t transmit(std::uint32_t object, std::uint32_t event, std::uint32_t data) {
        return call(0x05, u32(object) + u32(event) + u32(data) + u32(301) + u32(0));
    }
    std::uint32_t request(std::uint32_t id, std::uint32_t definition, std::uint32_t object,
                          std::uint32_t period, std::uint32_t flags = 0, std::uint32_t origin = 0,
                          std::uint32_t interval = 0, std::uint32_t limit = 0) {
        return call(0x0E, u32(id) + u32(definition) + u32(object) + u32(period) + u32(flags) + u32(origin) +
                              u32(interval) + u32(limit));
    }
    std::uint32_t byType(std::uint32_t id, std::uint32_t definition, std::uint32_t radius,
                         std::uint32_t type) {
        return call(0x0F, u32(id) + u32(definition) + u32(radius) + u32(type));
    }
    std::uint32_t setData(std::uint32_t definition, std::uint32_t object, const std::vector<double>& values,
                          std::uint32_t count = 0) {
        std::string data;
        for (const double value : values) data += raw(value);
        return call(0x10, u32(definition) + u32(object) + u32(0) + u32(count) +
                              u32(static_cast<std::uint32_t>(data.size())) + data);
    }
    std::uint32_t create(const std::string& title, const std::string& tail, double lat, double lon,
                         double alt, double heading, bool ground, std::uint32_t speed,
                         std::uint32_t requestId = 104) {
        return call(0x29, text(title, 256) + text(tail, 12) + raw(lat) + raw(lon) + raw(alt) + raw(0.0) +
                              raw(0.0) + raw(heading) + u32(ground) + u32(speed) + u32(requestId));
    }
    std::uint32_t release(std::uint32_t object) { return call(0x2B, u32(object) + u32(103)); }
    std::uint32_t remove(std::uint32_t object) { return call(0x2C, u32(object) + u32(105)); }

    rig::SimHub& hub;
    int number;
    std::uint32_t sendId = 1;
    std::string stream;
};

// Creation without delay, ground at sea level, the user parked in the open.
inline rig::WorldSettings plainWorld() {
    rig::WorldSettings settings;
    settings.creationDelayMin = settings.creationDelayMax = 0;
    settings.groundFt = 0;
    settings.userLat = 50;
    settings.userLon = 8;
    return settings;
}

} // namespace test

// What a frame of the stand-in simulator costs in the replay: 450 aircraft, 300 of them written in the frame; and a
// round of answers by type for all of them.

#include "simulator/session.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <string>

namespace {

template <typename T> std::string raw(T value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}
std::string u32(std::uint32_t value) { return raw(value); }
std::string text(const std::string& value, std::size_t width) {
    std::string field = value;
    field.resize(width, '\0');
    return field;
}
std::string packet(std::uint32_t function, const std::string& body) {
    return u32(static_cast<std::uint32_t>(16 + body.size())) + u32(5) + u32(0xF0000000 | function) + u32(1) +
           body;
}

// A hub with one client, the program's definitions 402 and 404, and frozen aircraft around the user.
struct Fixture {
    rig::SimHub hub;
    int client = 0;

    explicit Fixture(int aircraft) : hub(settings()) {
        client = hub.addClient();
        give(packet(0x01, text("Bench", 256) + std::string(24, '\0')));
        const char* const position[][2] = {{"Plane Latitude", "degree"},
                                           {"Plane Longitude", "degree"},
                                           {"Plane Pitch degrees", "radians"},
                                           {"Plane Bank degrees", "radians"},
                                           {"Plane Heading degrees true", "radians"},
                                           {"Plane Altitude", "feet"},
                                           {"Vertical Speed", "feet per second"},
                                           {"Airspeed True", "knots"}};
        for (const auto& [name, unit] : position) define(402, name, unit, 4);
        define(404, "Plane Alt Above Ground", "feet", 4);
        define(404, "Ground Altitude", "feet", 4);
        define(404, "SIM ON GROUND", "Bool", 2);
        define(404, "ATC ID", "", 6);
        for (int i = 0; i < aircraft; ++i)
            give(packet(0x29, text("Airbus A320", 256) + text("BENCH", 12) + raw(40.0 + i * 0.001) +
                                  raw(-73.0) + raw(5000.0) + raw(0.0) + raw(0.0) + raw(90.0) + u32(0) +
                                  u32(250) + u32(104)));
        hub.frame(1.0 / 60);
        for (auto& [id, object] : hub.world.objects)
            object.released = object.frozenPosition = object.frozenAltitude = object.frozenAttitude = true;
        hub.frame(1.0 / 60);
        hub.takeOutput(client);
    }
    static rig::WorldSettings settings() {
        rig::WorldSettings s;
        s.creationDelayMin = s.creationDelayMax = 0;
        return s;
    }
    void give(const std::string& bytes) { hub.receive(client, bytes); }
    void define(std::uint32_t id, const char* name, const char* unit, std::uint32_t type) {
        give(packet(0x0C,
                    u32(id) + text(name, 256) + text(unit, 256) + u32(type) + raw(0.0f) + u32(0xFFFFFFFF)));
    }
};

} // namespace

static void FrameWith300Writes(benchmark::State& state) {
    Fixture fixture(450);
    std::string writes;
    int count = 0;
    for (const auto& [id, object] : fixture.hub.world.objects) {
        if (id == rig::userObjectId || count++ >= 300) continue;
        std::string block = raw(object.lat) + raw(object.lon) + raw(0.0) + raw(0.0) + raw(1.0) + raw(5000.0) +
                            raw(0.0) + raw(250.0);
        writes += packet(0x10, u32(402) + u32(id) + u32(0) + u32(0) + u32(64) + block);
    }
    for (auto _ : state) {
        fixture.give(writes);
        fixture.hub.frame(1.0 / 60);
        benchmark::DoNotOptimize(fixture.hub.takeOutput(fixture.client));
    }
}
BENCHMARK(FrameWith300Writes)->Unit(benchmark::kMicrosecond);

static void AnswersByTypeFor450(benchmark::State& state) {
    Fixture fixture(450);
    const std::string request = packet(0x0F, u32(101) + u32(404) + u32(185200) + u32(2));
    for (auto _ : state) {
        fixture.give(request);
        fixture.hub.frame(1.0 / 60);
        benchmark::DoNotOptimize(fixture.hub.takeOutput(fixture.client));
    }
}
BENCHMARK(AnswersByTypeFor450)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();

#pragma once
// Numbers and bytes of the protocol that session.cpp and calls.cpp share. All numbers are little-endian, nothing is
// aligned.

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace rig::wire {

constexpr std::size_t packetHeader = 16, messageHeader = 12;
constexpr std::uint32_t largestPacket = 1 << 20; // beyond it the stream counts as broken
constexpr std::uint32_t noGroup = 0xFFFFFFFF;    // group of system events

enum Message : std::uint32_t {
    msgException = 1,
    msgOpen = 2,
    msgQuit = 3,
    msgEvent = 4,
    msgAddRemove = 5,
    msgFilename = 6,
    msgFrame = 7,
    msgData = 8,
    msgDataByType = 9,
    msgAssignedId = 12
};

enum Exception : std::uint32_t {
    exError = 1,
    exUnrecognizedId = 3,
    exVersion = 5,
    exTooManyGroups = 6,
    exName = 7,
    exTooManyEvents = 8,
    exDuplicateEvent = 9,
    exTooManyObjects = 11,
    exTooManyRequests = 12,
    exDataSize = 19,
    exData = 20,
    exCreation = 22,
    exFlightPlan = 23,
    exObjectType = 24,
    exIllegal = 25,
    exEnum = 27,
    exOutOfBounds = 31
};

// Rows of the table of system events in calls.cpp.
enum SystemEvent : int {
    sysSim,
    sysPause,
    sysSimStart,
    sysSimStop,
    sysFrame,
    sysPauseFrame,
    sysObjectAdded,
    sysObjectRemoved,
    sysFlightLoaded,
    sysPaused,
    sysUnpaused,
    sysOneSecond,
    sysFourSeconds,
    sysSixHertz
};

// Takes fields one after the other; once bytes are missing it is no longer good and gives zeros.
struct Reader {
    std::span<const char> bytes;
    bool good = true;

    std::span<const char> take(std::size_t count) {
        if (!good || bytes.size() < count) {
            good = false;
            return {};
        }
        const auto taken = bytes.first(count);
        bytes = bytes.subspan(count);
        return taken;
    }
    template <typename T> T number() {
        T value{};
        const auto taken = take(sizeof value);
        if (good) std::memcpy(&value, taken.data(), sizeof value);
        return value;
    }
    std::uint32_t u32() { return number<std::uint32_t>(); }
    double f64() { return number<double>(); }
    std::string_view text(std::size_t width) { // up to the first zero or the end of the field
        const auto taken = take(width);
        const std::string_view field(taken.data(), taken.size());
        return field.substr(0, field.find('\0'));
    }
};

// A message's body of fixed size, filled field by field.
template <std::size_t size> struct Body {
    char bytes[size] = {};
    std::size_t used = 0;

    template <typename T> Body& put(T value) {
        std::memcpy(bytes + used, &value, sizeof value);
        used += sizeof value;
        return *this;
    }
    Body& u32(std::uint32_t value) { return put(value); }
    Body& text(std::string_view value, std::size_t width) {
        std::memcpy(bytes + used, value.data(), value.size() < width ? value.size() : width);
        used += width;
        return *this;
    }
    std::string_view view() const { return {bytes, size}; }
};

} // namespace rig::wire

#pragma once
// The byte stream below the client library: TCP, on Windows a named pipe too, in the replay the stand-in within
// the same process.

#include "simconnect/SimConnect.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

namespace simconnect {

struct Transport {
    virtual ~Transport() = default;
    // Sends all bytes. Waits for a slow peer at most a second in all; false: the stream is broken.
    virtual bool send(std::span<const char> bytes) = 0;
    // What has arrived, without waiting: bytes > 0, none 0, the stream has ended -1.
    virtual int receive(std::span<char> buffer) = 0;
    // A larger message ends the session; 1 MiB is the most in any case.
    virtual std::size_t maxReceiveSize() const { return 1 << 20; }
};

// Opens the stream to the simulator of a configuration index, or gives nullptr. Takes at most a second and gives up
// earlier when cancelled says so.
using Opener = std::function<std::unique_ptr<Transport>(DWORD configIndex)>;
void setOpener(Opener opener); // nullptr: as SimConnect.cfg says; the replay sets its own
void setCancelled(
    std::function<bool()> cancelled); // asked while connecting; the program gives its stop flags

// Writes since the process began, for the benchmark of the frame step.
unsigned long long sendCalls();

} // namespace simconnect

#pragma once
// The one clock of the program. No other file reads a clock or sleeps. A test or the replay installs an inside of
// its own, in which time moves when it says so.

#include <cstdint>

namespace plat {

using SteadyNs = std::int64_t; // nanoseconds on a clock that never jumps; its zero means nothing

// What a clock must be able to do. The real one is the default.
struct ClockInside {
    virtual ~ClockInside() = default;
    virtual SteadyNs steadyNow() = 0;
    virtual std::int64_t utcNow() = 0;         // units of 100 ns since 1970-01-01 00:00 UTC
    virtual void sleepMs(std::int64_t ms) = 0; // ms > 0, at most one day
};

void setClock(ClockInside* inside); // nullptr: the real clock. Call it while no other thread runs.

SteadyNs steadyNow();
std::int64_t utcNow();           // units of 100 ns since 1970
std::int64_t utcSeconds();       // whole seconds since 1970
void sleepUntil(SteadyNs point); // in whole milliseconds, rounded up, in pieces of at most a day
void sleepMs(std::int64_t ms);
SteadyNs addSaturating(SteadyNs a, SteadyNs b); // a point beyond the clock's range is the largest value

// A timer resolution of 1 ms between the two calls, where a system needs to be asked for it.
void beginTimerResolution();
void endTimerResolution();

} // namespace plat

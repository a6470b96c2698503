#pragma once
// A clock that moves only when it is told: by advance(), or by a sleep of the one thread that runs.

#include "platform/clock.h"

#include <functional>

namespace plat {

class VirtualClock : public ClockInside {
  public:
    SteadyNs now = 1'000'000'000;                    // nanoseconds
    std::int64_t utcAtZero = 16'000'000'000'000'000; // units of 100 ns since 1970, at now == 0
    std::function<void(SteadyNs)> onAdvance;         // called after each step with the new time

    SteadyNs steadyNow() override { return now; }
    std::int64_t utcNow() override { return utcAtZero + now / 100; }
    void sleepMs(std::int64_t ms) override { advance(ms * 1'000'000); }
    void advance(SteadyNs ns) {
        now += ns;
        if (onAdvance) onAdvance(now);
    }
    void setUtcSeconds(std::int64_t seconds) { utcAtZero = seconds * 10'000'000 - now / 100; }
};

// Installs itself for its lifetime.
class ScopedVirtualClock : public VirtualClock {
  public:
    ScopedVirtualClock() { setClock(this); }
    ~ScopedVirtualClock() override { setClock(nullptr); }
    ScopedVirtualClock(const ScopedVirtualClock&) = delete;
    ScopedVirtualClock& operator=(const ScopedVirtualClock&) = delete;
};

} // namespace plat

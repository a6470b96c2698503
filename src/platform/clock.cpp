// The clock behind platform/clock.h: the system's own, or the one that a test or the replay has installed. Any
// thread; it holds no state but which of the two it is.

#include "platform/clock.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>
#include <ratio>
#include <thread>

namespace plat {

namespace {

constexpr SteadyNs nsPerMs = 1'000'000;
constexpr std::int64_t dayMs = 86'400'000; // the longest single sleep that an inside must be able to do

struct SystemClock : ClockInside {
    SteadyNs steadyNow() override {
        using std::chrono::nanoseconds;
        return std::chrono::duration_cast<nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
    std::int64_t utcNow() override {
        using Units = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
        return std::chrono::floor<Units>(std::chrono::system_clock::now().time_since_epoch()).count();
    }
    void sleepMs(std::int64_t ms) override { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
};

SystemClock systemClock;
std::atomic<ClockInside*> clockInUse{&systemClock};

} // namespace

void setClock(ClockInside* inside) { clockInUse = inside ? inside : &systemClock; }

SteadyNs steadyNow() { return clockInUse.load()->steadyNow(); }

std::int64_t utcNow() { return clockInUse.load()->utcNow(); }

std::int64_t utcSeconds() {
    constexpr std::int64_t unitsPerSecond = 10'000'000;
    const std::int64_t units = utcNow();
    return units / unitsPerSecond - (units % unitsPerSecond < 0 ? 1 : 0);
}

void sleepUntil(SteadyNs point) {
    for (;;) {
        const SteadyNs now = steadyNow();
        if (now >= point) return;
        const SteadyNs left = now < 0 ? addSaturating(point, -now) : point - now;
        const std::int64_t ms = left / nsPerMs + (left % nsPerMs != 0 ? 1 : 0);
        clockInUse.load()->sleepMs(std::min(ms, dayMs));
    }
}

void sleepMs(std::int64_t ms) {
    for (; ms > 0; ms -= dayMs) clockInUse.load()->sleepMs(std::min(ms, dayMs));
}

SteadyNs addSaturating(SteadyNs a, SteadyNs b) {
    constexpr SteadyNs largest = std::numeric_limits<SteadyNs>::max();
    constexpr SteadyNs smallest = std::numeric_limits<SteadyNs>::min();
    if (b > 0 && a > largest - b) return largest;
    if (b < 0 && a < smallest - b) return smallest;
    return a + b;
}

} // namespace plat

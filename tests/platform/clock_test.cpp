// The clock and the generator of chance.

#include "platform/clock.h"
#include "platform/random.h"
#include "platform/virtual_clock.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <thread>
#include <vector>

namespace {

constexpr std::int64_t dayMs = 86'400'000;
constexpr plat::SteadyNs ms = 1'000'000;

// Wakes up early now and then, as a system may.
struct RecordingClock : plat::ClockInside {
    plat::SteadyNs now = 0;
    std::int64_t utc = 0;
    int early = 0; // how many sleeps end before their time
    std::vector<std::int64_t> sleeps;
    RecordingClock() { plat::setClock(this); }
    ~RecordingClock() override { plat::setClock(nullptr); }
    plat::SteadyNs steadyNow() override { return now; }
    std::int64_t utcNow() override { return utc; }
    void sleepMs(std::int64_t wanted) override {
        sleeps.push_back(wanted);
        now += early-- > 0 ? wanted * ms / 2 : wanted * ms;
    }
};

TEST(Clock, SleepsInWholeMillisecondsRoundedUpAndOnlyForward) {
    RecordingClock clock;
    clock.now = 5 * ms;
    plat::sleepUntil(5 * ms);
    plat::sleepUntil(4 * ms);
    plat::sleepMs(0);
    plat::sleepMs(-7);
    EXPECT_TRUE(clock.sleeps.empty());
    plat::sleepUntil(5 * ms + 1);
    plat::sleepUntil(16 * ms);
    plat::sleepMs(3);
    EXPECT_EQ(clock.sleeps, (std::vector<std::int64_t>{1, 10, 3}));
}

TEST(Clock, SleepsOnAfterAnEarlyAwakening) {
    RecordingClock clock;
    clock.early = 2;
    plat::sleepUntil(8 * ms);
    EXPECT_EQ(clock.sleeps, (std::vector<std::int64_t>{8, 4, 2}));
    EXPECT_EQ(clock.now, 8 * ms);
}

TEST(Clock, CutsALongSleepIntoDays) {
    RecordingClock clock;
    clock.now = -2 * dayMs * ms;
    plat::sleepUntil(dayMs / 2 * ms);
    plat::sleepMs(dayMs + 1);
    EXPECT_EQ(clock.sleeps, (std::vector<std::int64_t>{dayMs, dayMs, dayMs / 2, dayMs, 1}));
}

TEST(Clock, AddsUpToTheEndsOfItsRangeAndNotBeyond) {
    constexpr plat::SteadyNs most = std::numeric_limits<plat::SteadyNs>::max();
    constexpr plat::SteadyNs least = std::numeric_limits<plat::SteadyNs>::min();
    EXPECT_EQ(plat::addSaturating(most - 5, 5), most);
    EXPECT_EQ(plat::addSaturating(most - 5, 6), most);
    EXPECT_EQ(plat::addSaturating(most, most), most);
    EXPECT_EQ(plat::addSaturating(least, -1), least);
    EXPECT_EQ(plat::addSaturating(most, least), -1);
    EXPECT_EQ(plat::addSaturating(7, -9), -2);
}

TEST(Clock, CountsWholeSecondsDownwardsBeforeTheEpochToo) {
    RecordingClock clock;
    for (const auto& [units, seconds] : std::vector<std::pair<std::int64_t, std::int64_t>>{
             {0, 0}, {9'999'999, 0}, {10'000'000, 1}, {-1, -1}, {-10'000'000, -1}, {-10'000'001, -2}}) {
        clock.utc = units;
        EXPECT_EQ(plat::utcSeconds(), seconds) << units;
    }
}

TEST(Clock, VirtualTimeMovesOnlyWhenToldAndTellsEachStep) {
    plat::ScopedVirtualClock clock;
    clock.setUtcSeconds(1'700'000'000);
    const plat::SteadyNs start = plat::steadyNow();
    EXPECT_EQ(plat::steadyNow(), start);
    std::vector<plat::SteadyNs> steps;
    clock.onAdvance = [&](plat::SteadyNs now) { steps.push_back(now - start); };
    plat::sleepUntil(start + 2500 * ms);
    clock.advance(500 * ms);
    EXPECT_EQ(steps, (std::vector<plat::SteadyNs>{2500 * ms, 3000 * ms}));
    EXPECT_EQ(plat::utcSeconds(), 1'700'000'003);
}

TEST(Clock, RealTimeNeverEndsASleepEarlyAndKeepsUtc) {
    const plat::SteadyNs start = plat::steadyNow();
    plat::sleepUntil(start + 20 * ms);
    EXPECT_GE(plat::steadyNow() - start, 20 * ms);
    EXPECT_NEAR(static_cast<double>(plat::utcSeconds()), static_cast<double>(std::time(nullptr)), 2);
}

TEST(Random, IsTheStandardGeneratorWithOnePerThread) {
    constexpr unsigned standardSeed = 5489;
    constexpr unsigned tenThousandth = 4123659995; // of a standard generator with the standard seed
    constexpr int skipped = 9999;
    plat::seedRandom(standardSeed);
    plat::randomEngine().discard(skipped);
    std::uint32_t first = 0, second = 0;
    std::thread([&] { // what another thread draws does not move this one
        first = plat::randomEngine()();
    })
        .join();
    std::thread([&] { second = plat::randomEngine()(); }).join();
    EXPECT_EQ(plat::randomEngine()(), tenThousandth);
    EXPECT_NE(first, second); // each seeded from the system's device
}

} // namespace

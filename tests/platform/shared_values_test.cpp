// Values that threads share without a lock. The thread sanitizer is the second judge of these.

#include "platform/shared_values.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr int threadCount = 4;

template <class Work> void onThreads(Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) threads.emplace_back(work);
    for (std::thread& t : threads) t.join();
}

TEST(SharedValues, ASequenceLockedRecordIsNeverSeenInHalves) {
    struct Record {
        std::int64_t a = 0;
        double b = 0;
        std::int32_t c = 0; // its tail does not fill a word
    };
    SeqLocked<Record> shared;
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (std::int32_t i = 0; !stop; ++i) shared.store({i, static_cast<double>(i), i});
    });
    std::atomic<int> torn{0}, seen{0};
    onThreads([&] {
        std::int64_t last = 0;
        for (int i = 0; i < 20000; ++i) {
            const Record r = shared.load();
            const auto asDouble = static_cast<double>(r.a);
            if (asDouble != r.b || r.a != r.c || r.a < last) ++torn;
            last = r.a;
            ++seen;
        }
    });
    stop = true;
    writer.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(seen, threadCount * 20000);
}

TEST(SharedValues, SeveralThreadsCountAndOneAloneRaisesAFlag) {
    Relaxed<std::uint64_t> count;
    Relaxed<double> sum;
    Flag flag;
    std::atomic<int> raisers{0}, takers{0};
    onThreads([&] {
        for (int i = 0; i < 5000; ++i) count += 1, sum += 0.5;
        if (flag.raise()) ++raisers;
    });
    EXPECT_EQ(count, threadCount * 5000u);
    EXPECT_EQ(sum.load(), threadCount * 2500.0);
    EXPECT_EQ(raisers, 1);
    onThreads([&] {
        if (flag.take()) ++takers;
    });
    EXPECT_EQ(takers, 1);
    EXPECT_FALSE(flag.isSet());
}

TEST(SharedValues, AFlagPublishesWhatWasWrittenBeforeIt) {
    for (int round = 0; round < 200; ++round) {
        int plain = 0;
        Flag ready;
        std::thread writer([&] {
            plain = round + 1;
            ready.set();
        });
        while (!ready) std::this_thread::yield();
        EXPECT_EQ(plain, round + 1);
        writer.join();
    }
}

TEST(SharedValues, ARecordOfThemGoesBackToItsStartByAssignment) {
    struct Record {
        Relaxed<int> number{7};
        Flag up{true}, down;
        SeqLocked<std::array<double, 2>> pair;
    };
    Record record;
    record.number = 9;
    record.up.clear();
    record.down.set();
    record.pair.store({1, 2});
    const Record copy = record;
    record = Record{};
    EXPECT_EQ(record.number, 7);
    EXPECT_TRUE(record.up.isSet());
    EXPECT_FALSE(record.down.isSet());
    EXPECT_EQ(record.pair.load(), (std::array<double, 2>{}));
    EXPECT_EQ(copy.number, 9);
    EXPECT_EQ(copy.pair.load(), (std::array<double, 2>{1, 2}));
}

} // namespace

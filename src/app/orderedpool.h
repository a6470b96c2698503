#pragma once
// Threads that read the files of a search. One thread adds files and takes what they yield, in the order in which they
// were added, so that the outcome is the same however many threads there are. A file that is being read is waited for; a
// stop skips those not yet begun.

#include "app/app.h"
#include "platform/lock.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

// As many as the machine runs at once.
inline unsigned gf_scanThreadCount() { return std::max(1u, std::thread::hardware_concurrency()); }

template <class Found> class OrderedPool {
  public:
    using Work = std::function<Found(const std::filesystem::path&)>; // of one thread; throws nothing
    // Each thread makes a work of its own, which may keep memory from file to file. Fewer threads, or none, where there
    // are no more.
    OrderedPool(unsigned threadCount, std::function<Work()> maker) : makeWork(std::move(maker)) {
        try {
            for (unsigned i = 0; i < threadCount; ++i) threads.emplace_back([this] { work(); });
        } catch (const std::system_error&) { // those that there are will do
        }
    }
    ~OrderedPool() { // waits for the files that are being read; those not yet begun are left out
        {
            const LockGuard guard(lock);
            ending = true;
        }
        jobAdded.notify_all();
        for (auto& thread : threads) thread.join();
    }
    OrderedPool(const OrderedPool&) = delete;
    OrderedPool& operator=(const OrderedPool&) = delete;

    void add(std::filesystem::path path) {
        batch.push_back(std::move(path));
        ++added;
        if (batch.size() == batchSize) handOver();
    }

    // The findings of the oldest files, as far as they are done; waits for the oldest. None when all have been taken.
    std::vector<Found> take() {
        handOver();
        std::vector<Found> done;
        const LockGuard guard(lock);
        if (threads.empty() && !jobs.empty()) {
            const Work own = makeWork();
            for (; begun < jobs.size(); ++begun) jobs[begun].found = own(jobs[begun].path);
        }
        while (!jobs.empty() && !jobs.front().found) {
            takerWaits = true;
            oldestDone.wait(lock);
        }
        takerWaits = false;
        for (; !jobs.empty() && jobs.front().found; jobs.pop_front(), --begun)
            done.push_back(std::move(*jobs.front().found));
        taken += done.size();
        return done;
    }
    bool full() const { return added - taken >= capacity; } // time to take

  private:
    struct Job {
        std::filesystem::path path;
        std::optional<Found> found;
    };

    void handOver() {
        bool wake = false;
        {
            const LockGuard guard(lock);
            for (auto& path : batch) jobs.push_back({std::move(path), std::nullopt});
            wake = idle > 0;
        }
        if (wake) jobAdded.notify_all();
        batch.clear();
    }

    void work() {
        const Work own = makeWork();
        const LockGuard guard(lock);
        for (;;) {
            while (!ending && begun == jobs.size()) {
                ++idle;
                jobAdded.wait(lock);
                --idle;
            }
            if (ending) return;
            Job& job = jobs[begun++];
            lock.unlock();
            Found found;
            if (!gf_stopping()) found = own(job.path);
            lock.lock();
            job.found = std::move(found);
            if (takerWaits && jobs.front().found) oldestDone.notify_one();
        }
    }

    static constexpr std::size_t capacity = 128; // files; enough that a slow one does not hold the walk up
    static constexpr std::size_t batchSize =
        16; // files; a thread that is woken for each waits longer than it works
    const std::function<Work()> makeWork;
    Lock lock;
    std::condition_variable_any jobAdded, oldestDone;
    std::deque<Job> jobs GUARDED_BY(lock);  // the oldest first; elements do not move
    std::size_t begun GUARDED_BY(lock) = 0; // of jobs
    unsigned idle GUARDED_BY(lock) = 0;     // threads that wait for a job
    bool ending GUARDED_BY(lock) = false;
    bool takerWaits GUARDED_BY(lock) = false;
    std::size_t added = 0, taken = 0;         // of the adding thread
    std::vector<std::filesystem::path> batch; // of the adding thread: not handed over yet
    std::vector<std::thread> threads;
};

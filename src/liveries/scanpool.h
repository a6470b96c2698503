#pragma once
// The threads that read the files of a search. One thread adds files and takes what they yield, in the order in which
// they were added.

#include "liveries/scanfile.h"
#include "platform/lock.h"

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <optional>
#include <thread>
#include <vector>

class ScanPool {
  public:
    ScanPool(unsigned threadCount,
             const ScanRules& scanRules); // fewer threads, or none, where there are no more
    ~ScanPool(); // waits for the files that are being read; those not yet begun are left out
    ScanPool(const ScanPool&) = delete;
    ScanPool& operator=(const ScanPool&) = delete;

    void add(std::filesystem::path path);
    // The findings of the oldest files, as far as they are done; waits for the oldest. None when all have been taken.
    std::vector<FileFindings> take();
    bool full() const { return added - taken >= capacity; } // time to take

  private:
    struct Job {
        std::filesystem::path path;
        std::optional<FileFindings> found;
    };
    void work();

    static constexpr std::size_t capacity = 128; // files; enough that a slow one does not hold the walk up
    const ScanRules& rules;
    Lock lock;
    std::condition_variable_any jobAdded, oldestDone;
    std::deque<Job> jobs GUARDED_BY(lock);  // the oldest first; elements do not move
    std::size_t begun GUARDED_BY(lock) = 0; // of jobs
    unsigned idle GUARDED_BY(lock) = 0;     // threads that wait for a job
    bool ending GUARDED_BY(lock) = false;
    bool takerWaits GUARDED_BY(lock) = false;
    std::size_t added = 0, taken = 0; // of the adding thread
    ScanMemory ownMemory; // of the adding thread, which reads the files where there are no threads
    std::vector<std::thread> threads;
};

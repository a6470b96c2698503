// The pool of the scan: threads that read files one by one and leave what they found beside the job, until the
// searching thread takes it. A file that is being read is waited for; a stop skips those not yet begun.

#include "liveries/scanpool.h"

#include "app/app.h"

#include <algorithm>
#include <system_error>

ScanPool::ScanPool(unsigned threadCount, const ScanRules& scanRules) : rules(scanRules) {
    try {
        for (unsigned i = 0; i < threadCount; ++i) threads.emplace_back([this] { work(); });
    } catch (const std::system_error&) { // those that there are will do
    }
}

ScanPool::~ScanPool() {
    {
        const LockGuard guard(lock);
        ending = true;
    }
    jobAdded.notify_all();
    for (auto& thread : threads) thread.join();
}

void ScanPool::add(std::filesystem::path path) {
    bool wake = false;
    {
        const LockGuard guard(lock);
        jobs.push_back({std::move(path), std::nullopt});
        wake = idle > 0;
    }
    if (wake) jobAdded.notify_one();
    ++added;
}

std::vector<FileFindings> ScanPool::take() {
    std::vector<FileFindings> done;
    const LockGuard guard(lock);
    if (threads.empty() && !jobs.empty())
        for (; begun < jobs.size(); ++begun)
            jobs[begun].found = gf_scanFile(jobs[begun].path, rules, ownMemory);
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

void ScanPool::work() {
    ScanMemory memory;
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
        FileFindings found;
        if (!gf_stopping()) found = gf_scanFile(job.path, rules, memory);
        lock.lock();
        job.found = std::move(found);
        if (takerWaits && jobs.front().found) oldestDone.notify_one();
    }
}

// The queue between the traffic reader and the engine, and what both readers have in common for the worker: their
// reset between runs, their stop, and the test whether they have ended. Runs on the worker.

#include "feed/feed.h"

#include "app/display.h"

#include <algorithm>
#include <iterator>

Lock trafficLock;
FeedQueue feedQueue;

constexpr std::int32_t standardQnh = 1013; // hectopascals, in force until the weather says otherwise

void gf_enableTraffic(bool on) {
    const LockGuard guard(trafficLock);
    feedQueue.trafficEnabled = on;
}

std::size_t gf_takeFeedRecords(std::vector<TrafficRecord>& out, std::size_t most) {
    const LockGuard guard(trafficLock);
    const std::size_t taken = std::min(most, feedQueue.records.size());
    for (std::size_t i = 0; i < taken; ++i) {
        out.push_back(std::move(feedQueue.records.front()));
        feedQueue.records.pop_front();
    }
    return taken;
}

// Called between runs, and in the middle of one, with both readers at work, when RealTraffic is awaited. A reader of
// an older run that has missed its stop does not run on: it ends as soon as the run number has changed.
static void lf_resetReader(UdpReader& reader) {
    reader.stopFlag.clear();
    reader.datagramCount = 0;
    reader.watchedCount = 0;
}

void lf_resetReaders() {
    lf_resetReader(trafficReader);
    lf_resetReader(qnhReader);
    trafficReader.latestFeedTime = 0.0;
    trafficReader.kept = 0;
    for (auto& counter : trafficReader.dropped) counter = 0;
    qnhReader.lastQnh = 0;
    qnhReader.currentQnh = standardQnh;
    display.qnh = standardQnh;

    std::deque<TrafficRecord> old; // freed outside the lock
    const LockGuard guard(trafficLock);
    old.swap(feedQueue.records);
    trafficReader.seenCallsigns.clear();
}

void gf_stopReaders() {
    trafficReader.stopFlag.set();
    qnhReader.stopFlag.set();
}

bool gf_readersFinished() { return trafficReader.finished.isSet() && qnhReader.finished.isSet(); }

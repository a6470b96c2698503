// The loader thread: all that concerns airports and may wait for a server or a disk. It answers two kinds of question,
// the file of an airport and the airport at which the user stands, and does the file work that must not be lost. One
// job at a time, in order. The worker asks, looks for the answer in a later step, and takes it over by move; an answer
// that nobody waits for any more is dropped. The thread begins with the first job of a run and is joined by the closing.

#include "airports/reading.h"

#include "app/app.h"
#include "app/errors.h"
#include "app/log.h"
#include "platform/clock.h"

#include <condition_variable>
#include <deque>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <thread>

namespace {

struct Job {
    std::function<void()> run;
    bool mustRun = false; // also when the loader ends
};

// A question of one kind. The number tells the answer that is waited for from one that comes late.
template <class Answer> struct Question {
    std::uint64_t number = 0;
    bool open = false; // asked, and neither answered nor dropped
    std::unique_ptr<Answer> answer;
};

} // namespace

static Lock loaderLock;
static std::condition_variable loaderWake;
static std::deque<Job> jobs GUARDED_BY(loaderLock);
static bool ending GUARDED_BY(loaderLock) = false;
static Question<AirportReading> loading; // both under loaderLock
static Question<GroundAnswer> ground;
static std::thread loaderThread; // worker, and the thread of the message loop when that has ended

// ---- the jobs ---------------------------------------------------------------------------------------------------

static AirportReading lf_readAirport(const std::string& code) {
    AirportReading reading;
    reading.code = code;
    try {
        lf_retrySaves(); // or it would read without them
        Located found = lf_locate(code);
        for (std::string& text : found.texts) reading.log(std::move(text));
        reading.path = found.path;
        if (found.path.empty())
            reading.error = fmt::format("{} {} not found", "lf_readParkedFile", code);
        else if (found.path.find("unknown") != std::string::npos)
            reading.error =
                fmt::format("{} {} has publisher:{}, {}", "lf_readParkedFile", code, "unknown", found.path);
        else
            gf_readApf(found.path, reading);
    } catch (const orvo::UserErrorException& e) {
        reading.userError = e.number();
        reading.error =
            std::string(e.what()).substr(std::to_string(e.number()).size() + 2); // without its number
    } catch (const std::exception& e) {
        reading.error = fmt::format("{}: {}", "lf_readParkedFile", e.what());
    }
    return reading;
}

static GroundAnswer lf_findGround(LatLon position) {
    GroundAnswer answer;
    answer.asked = position;
    try {
        answer.airport = gf_findClosestAirport(position.lat, position.lon);
        answer.hasFile = answer.airport && !gf_locateAirportFile(answer.airport->code).empty();
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("{}: {}", "gf_findClosestAirport", e.what()));
    }
    return answer;
}

template <class Answer> static bool lf_isOpen(Question<Answer>& question, std::uint64_t number) {
    const LockGuard hold(loaderLock);
    return question.open && question.number == number;
}

template <class Answer>
static void lf_answer(Question<Answer>& question, std::uint64_t number, std::unique_ptr<Answer> answer) {
    const LockGuard hold(loaderLock);
    if (!question.open || question.number != number) return;
    question.open = false;
    question.answer = std::move(answer);
}

// ---- the thread -------------------------------------------------------------------------------------------------

// False when there is no job to take.
static bool lf_nextJob(Job& job) {
    const LockGuard hold(loaderLock);
    if (ending) std::erase_if(jobs, [](const Job& waiting) { return !waiting.mustRun; });
    if (jobs.empty()) return false;
    job = std::move(jobs.front());
    jobs.pop_front();
    return true;
}

void lf_serveLoader() {
    for (Job job; lf_nextJob(job);) {
        try {
            job.run();
        } catch (const std::exception& e) { // out of memory, say; the next job may fare better
            gf_logRaw(fmt::format("{}: {}", "lf_serveLoader", e.what()));
        }
    }
}

static void lf_runLoader() NO_THREAD_SAFETY_ANALYSIS {
    for (;;) {
        lf_serveLoader();
        std::unique_lock<std::mutex> hold(loaderLock.native());
        while (!ending && jobs.empty()) loaderWake.wait(hold);
        if (jobs.empty()) return;
    }
}

static void lf_post(Job job) {
    {
        const LockGuard hold(loaderLock);
        jobs.push_back(std::move(job));
    }
    if (airportsLife.loaderByHand) return;
    if (loaderThread.joinable())
        loaderWake.notify_one();
    else
        loaderThread = std::thread(lf_runLoader);
}

// ---- for the worker ---------------------------------------------------------------------------------------------

template <class Answer, class Work> static void lf_ask(Question<Answer>& question, Work work) {
    std::uint64_t number = 0;
    {
        const LockGuard hold(loaderLock);
        number = ++question.number;
        question.open = true;
        question.answer.reset();
    }
    lf_post({[&question, number, work] {
                 if (lf_isOpen(question, number))
                     lf_answer(question, number, std::make_unique<Answer>(work()));
             },
             false});
}

template <class Answer> static bool lf_take(Question<Answer>& question, Answer& result) {
    std::unique_ptr<Answer> answer;
    {
        const LockGuard hold(loaderLock);
        answer = std::move(question.answer);
    }
    if (!answer) return false;
    result = std::move(*answer);
    return true;
}

template <class Answer> static void lf_drop(Question<Answer>& question) {
    const LockGuard hold(loaderLock);
    question.open = false;
    question.answer.reset();
}

void lf_startLoading(const std::string& code) {
    lf_ask(loading, [code] { return lf_readAirport(code); });
}

bool lf_loadingDone() {
    const LockGuard hold(loaderLock);
    return loading.answer != nullptr;
}

bool lf_takeLoaded(AirportReading& result) { return lf_take(loading, result); }

void lf_dropLoading() { lf_drop(loading); }

static bool lf_groundOpen() {
    const LockGuard hold(loaderLock);
    return ground.open;
}

void lf_askGround(LatLon position) {
    if (lf_groundOpen()) return;
    lf_ask(ground, [position] { return lf_findGround(position); });
}

bool lf_takeGroundAnswer(GroundAnswer& answer) { return lf_take(ground, answer); }

void lf_awaitGroundAnswer() {
    constexpr std::int64_t longestMs = 5000, stepMs = 20; // a slow server is waited for by later steps
    if (airportsLife.loaderByHand) return lf_serveLoader();
    for (std::int64_t waited = 0; waited < longestMs && lf_groundOpen(); waited += stepMs)
        if (!gf_sleepUnlessStopped(stepMs)) return;
}

void lf_postFileWork(std::function<void()> work) { lf_post({std::move(work), true}); }

void lf_endLoader() {
    {
        const LockGuard hold(loaderLock);
        ending = true;
    }
    loaderWake.notify_one();
    if (loaderThread.joinable())
        loaderThread.join();
    else
        lf_serveLoader();
    lf_retrySaves();
    lf_drop(loading);
    lf_drop(ground);
    const LockGuard hold(loaderLock);
    ending = false;
}

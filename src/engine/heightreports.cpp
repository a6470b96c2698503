// What the simulator reports about an object of ours: its height above the ground several times a second, which puts
// it on the ground and keeps it there, and once, after its creation, how it stands. Worker.

#include "engine/motion.h"

#include "app/log.h"
#include "app/parameters.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

void lf_onHeightReport(const SimMessage& message) {
    LiveAc* const ac = lf_findByObjectId(message.objectId);
    const double ground = message.a, agl = message.b; // feet
    if (!ac || !std::isfinite(ground) || !std::isfinite(agl)) return;
    const bool reportedOnGround = message.hexid != 0;
    if (reportedOnGround && !ac->onGround && ac->takeoffCounter < 2) lf_touchdown(*ac);
    ac->agl = agl;
    if (ac->onGround || ac->takeoffCounter >= 2) ac->alt = ac->staticCg + ground;
}

// All these requests have one number, and a second one takes the place of the first in the simulator: an object whose
// question is lost would stand metres deep in the ground for as long as it lives. So each waits for the answer before.
void lf_askStance(std::uint32_t objectId) {
    engine.stanceQuestions.push_back({objectId, 0, 0});
    lf_serveStanceQuestions();
}

void lf_serveStanceQuestions() {
    constexpr std::int32_t patienceTicks = 100; // longer than a frame of the slowest simulator
    constexpr int mostTimes = 5;
    auto& questions = engine.stanceQuestions;
    if (questions.empty()) return;
    const bool waits = questions.front().times > 0;
    if (waits && lf_ticksBetween(questions.front().asked, lf_now()) < patienceTicks) return;
    if (waits) std::rotate(questions.begin(), questions.begin() + 1, questions.end());
    std::erase_if(questions, [](const StanceQuestion& question) {
        return question.times >= mostTimes || !lf_findByObjectId(question.objectId);
    });
    if (questions.empty()) return;
    StanceQuestion& next = questions.front();
    next.asked = lf_now();
    ++next.times;
    gf_requestStaticCg(next.objectId);
}

void lf_onStaticCg(const SimMessage& message) {
    constexpr double lowestCg = 1, highestCg = 35; // feet
    constexpr double lowestPitch = -1 * degToRad, highestPitch = 2.5 * degToRad, usualPitch = 0.7 * degToRad;
    std::erase_if(engine.stanceQuestions,
                  [&](const StanceQuestion& question) { return question.objectId == message.objectId; });
    LiveAc* const ac = lf_findByObjectId(message.objectId);
    if (!ac) return;
    if (message.a >= lowestCg && message.a <= highestCg)
        ac->staticCg = message.a;
    else if (LOG)
        gf_logLine(fmt::format("{}: static CG {:.1F}ft wrong?", ac->callsign, message.a));
    ac->staticPitch = message.b > lowestPitch && message.b <= highestPitch ? message.b : usualPitch;
}

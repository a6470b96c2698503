// What the simulator reports about an object of ours: its height above the ground several times a second, which puts
// it on the ground and keeps it there, and once, after its creation, how it stands. Worker.

#include "engine/motion.h"

#include "app/log.h"
#include "app/parameters.h"

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

void lf_onStaticCg(const SimMessage& message) {
    constexpr double lowestCg = 1, highestCg = 35; // feet
    constexpr double lowestPitch = -1 * degToRad, highestPitch = 2.5 * degToRad, usualPitch = 0.7 * degToRad;
    LiveAc* const ac = lf_findByObjectId(message.objectId);
    if (!ac) return;
    if (message.a >= lowestCg && message.a <= highestCg)
        ac->staticCg = message.a;
    else if (LOG)
        gf_logLine(fmt::format("{}: static CG {:.1F}ft wrong?", ac->callsign, message.a));
    ac->staticPitch = message.b > lowestPitch && message.b <= highestPitch ? message.b : usualPitch;
}

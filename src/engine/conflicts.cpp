// One of two aircraft goes: static doubles of a live one. The conflicts with the user's aircraft, between live and
// static aircraft and at an arrival are not looked for yet. Worker.

#include "engine/engine.h"

static bool lf_isStaticDouble(const LiveAc& ac, const ParkedAc& parked) {
    const std::string& name = parked.callsign; // that of a static aircraft ends in "*"
    const bool sameFlight =
        name.size() == ac.callsign.size() + 1 && name.back() == '*' && name.starts_with(ac.callsign);
    return sameFlight || (!ac.regcode.empty() && parked.regcode == ac.regcode);
}

void lf_removeStaticDoubles() {
    for (const LiveAc& ac : engine.live) {
        if (!ac.onGround || ac.st != SimState::active) continue;
        for (ParkedAc& parked : engine.parked) {
            if (!lf_isStaticDouble(ac, parked)) continue;
            if (parked.st == SimState::active) removeAircraftFromSim(parked, Removed::conflict);
            break;
        }
    }
}

void lf_userConflicts() {}
void lf_parkedConflicts() {}
void lf_arrivalCheck(LiveAc&) {}

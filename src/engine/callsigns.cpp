// Which object of the simulator bears a callsign: the look-up that the user asks for, and the file for other programs.
// Worker.

#include "engine/parking.h"

#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"

#include <algorithm>
#include <fmt/format.h>
#include <fstream>
#include <system_error>

// ---- the look-up -------------------------------------------------------------------------------------------------

static void lf_showObject(const ShownObject& shown) {
    engine.shownObject = shown;
    gf_setDisplayText(DisplayText::objectId,
                      shown.callsign.empty() ? std::string() : fmt::format("= {}", shown.objectId));
    gf_repaint(Band::settings);
}

void lf_findObjectId() {
    const std::string callsign = CALLSIGN_2_OBJECTID.value();
    const auto found = std::find_if(engine.live.begin(), engine.live.end(), [&](const LiveAc& ac) {
        return ac.st == SimState::active && ac.callsign == callsign;
    });
    if (!callsign.empty() && found != engine.live.end()) return lf_showObject({callsign, found->objectId});
    lf_showObject({});
    if (!callsign.empty()) gf_showMessage(fmt::format("callsign \"{}\" is unknown", callsign), true);
}

void lf_forgetObjectId(const AcBase& ac, bool respawns) {
    const ShownObject shown = engine.shownObject;
    if (shown.callsign.empty() || shown.objectId != ac.objectId) return;
    lf_showObject({});
    // Not when the user has meanwhile asked for another.
    if (CALLSIGN_2_OBJECTID.replace(shown.callsign, respawns ? ac.callsign : std::string()))
        gf_showParameter(CALLSIGN_2_OBJECTID);
}

// ---- the file ----------------------------------------------------------------------------------------------------

static std::string lf_callsignLine(const LiveAc& ac) {
    const bool parked = ac.fs == FlightState::parked;
    return fmt::format("{} {:9} {} {}: {} {}", ac.onGround ? "Gnd" : "Air", ac.callsign, ac.airline,
                       ac.acType, ac.objectId,
                       parked ? fmt::format("Parked at {}", lf_standName(ac.standId)) : "");
}

void lf_writeCallsignFile() {
    std::vector<std::string> lines;
    for (const LiveAc& ac : engine.live)
        if (ac.st == SimState::active) lines.push_back(lf_callsignLine(ac));
    std::sort(lines.begin(), lines.end());
    lf_postFileWork([lines = std::move(lines), path = folders.callsignFile] {
        std::ofstream file(path, std::ios::binary);
        for (const std::string& line : lines) file << line << '\n';
        file.flush();
    });
}

void gf_removeCallsignFile() {
    std::error_code error;
    const bool there = std::filesystem::exists(folders.callsignFile, error);
    if (error) return gf_logRaw(fmt::format("exists: {}", error.message()));
    if (there) std::filesystem::remove(folders.callsignFile, error);
    if (error) gf_logRaw(fmt::format("remove: {}", error.message()));
}

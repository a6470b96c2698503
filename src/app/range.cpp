// The radius of traffic: the user's own, and the automatic one that takes its place for a while. The window switches,
// the worker works out; whoever comes second sees what the first has done. Any thread.

#include "app/app.h"
#include "app/parameters.h"
#include "platform/window.h"

static Lock rangeLock; // LATERAL_RANGE, AUTO_RANGE and app.savedRange; held for their change alone

void gf_setRange(double nm) {
    app.rangeNm = nm;
    app.rangeMeters = static_cast<std::int32_t>(nm * metersPerNm);
}

static void setLateralRange(std::int32_t nm, bool byUser) {
    {
        const LockGuard hold(rangeLock);
        LATERAL_RANGE.value = LATERAL_RANGE.limited(nm);
        gf_setRange(LATERAL_RANGE.value);
        if (byUser) app.savedRange = LATERAL_RANGE.value.load();
    }
    gf_showParameter(LATERAL_RANGE);
}

void gf_setUserRange(std::int32_t nm) { setLateralRange(nm, true); }
void gf_setAirportRange(std::int32_t nm) { setLateralRange(nm, false); }

void gf_setAutoRange(bool on) {
    {
        const LockGuard hold(rangeLock);
        if (on) {
            app.savedRange = LATERAL_RANGE.value.load();
        } else {
            LATERAL_RANGE.value = LATERAL_RANGE.limited(app.savedRange);
            gf_setRange(app.savedRange);
        }
        AUTO_RANGE.value = on;
    }
    plat::setEnabled(LATERAL_RANGE.control.controlId, !on);
    plat::setEnabled(AUTO_RANGE_ABOVE_HEIGHT.control.controlId, on);
    gf_showParameter(AUTO_RANGE);
    gf_showParameter(LATERAL_RANGE);
}

void gf_takeAutoRange(std::int32_t nm) {
    bool changed = false;
    {
        const LockGuard hold(rangeLock);
        if (!AUTO_RANGE) return;
        gf_setRange(nm);
        const std::int32_t limited = LATERAL_RANGE.limited(nm);
        changed = LATERAL_RANGE.value.exchange(limited) != limited;
    }
    if (changed) gf_showParameter(LATERAL_RANGE);
}

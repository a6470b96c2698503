#pragma once
// What the window shows, as values that any thread writes; the thread of the message loop alone paints them. A
// writer stores the value and asks for a repaint of its band.

#include "platform/shared_values.h"
#include "platform/window.h"

#include <cstdint>
#include <string>
#include <string_view>

enum class Band { title, status, settings, parking, message };
plat::Rect gf_bandRect(Band band);
void gf_repaint(Band band); // invalidates the band's rectangle; any thread

enum class ReaderMark : std::int32_t { live = 1, silent = 2, notStarted = 3 };

enum class DisplayText {
    simLabel,
    userStand,
    userTitle,
    feedText,
    airportLabel,
    airportName,
    publisher,
    quality,
    reservedStand,
    objectId, // of the aircraft that the user asked for: "= 123"
    count
};

// owner: app; written by the subsystem named; read by the window. Reset at the start of a run by assignment.
struct Display {
    Relaxed<bool> simConnected{false};  // simlink
    Relaxed<bool> simRunning{false};    // simlink
    Relaxed<bool> feedWaiting{true};    // worker
    Relaxed<bool> feedConnected{false}; // worker
    Relaxed<ReaderMark> trafficMark{ReaderMark::notStarted},
        weatherMark{ReaderMark::notStarted};                         // readers, worker
    Relaxed<std::int32_t> qnh{1013};                                 // QNH reader, hectopascals
    Relaxed<std::uint32_t> liveCount{0};                             // engine: active and not parked
    Relaxed<std::uint32_t> liveryCount{0};                           // liveries; 0: not yet known
    Relaxed<std::uint32_t> mySimaddonCount{0}, myThirdpartyCount{0}; // airports; 0: not yet known
    Relaxed<bool> airportLoaded, airportHandmade;                    // airports: of the park airport's file
    Relaxed<bool> reservedStandKnown;                                // airports: its file has that stand
    Relaxed<bool> softParking;                                       // airports: soft stands were filled
    Relaxed<bool>
        staticWork; // airports: busy with static aircraft, from lf_beginStaticWork to lf_endStaticWork
    Relaxed<std::int32_t> trafficWeeks;                // airports: weeks of traffic behind what was learned
    Relaxed<std::int32_t> maxParked, parkedPercentage; // airports: aircraft that are to stand, of its stands
    Relaxed<std::uint32_t> standCount;                 // airports
    Relaxed<std::uint32_t> parkedLive{0}, parkedStatic{0}; // engine
    Relaxed<float> liveFit{-1},
        staticFit{-1}; // engine: hours that those have stood on average; -1: not yet known
    Relaxed<std::int32_t> minutesToSummary{0}; // to the next renewal and summary; worker; 0: not yet known
};
extern Display display;

void gf_setDisplayText(DisplayText which, std::string_view text); // any thread; under a lock of its own
std::string gf_displayText(DisplayText which);
void gf_clearDisplayTexts();
bool gf_renewalShown(); // the minutes to the next renewal stand in the settings band

#pragma once
// The insides of static parking: what one calculation works with. Called by the files of this folder, tests and
// benchmarks. Worker.

#include "airports/airports.h"
#include "engine/engine.h"

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// ---- half hours of the week -----------------------------------------------------------------------------------------

constexpr std::int32_t slotsOfDay = 48, slotsOfWeek = 7 * slotsOfDay;

inline std::int32_t lf_slotNumber(WeekSlot slot) { return (slot.day - 1) * slotsOfDay + slot.hh; }

inline WeekSlot lf_slotBack(WeekSlot slot, std::int32_t n) { // day 1 steps back to day 7; negative n: forward
    const std::int32_t number = ((lf_slotNumber(slot) - n) % slotsOfWeek + slotsOfWeek) % slotsOfWeek;
    return {number / slotsOfDay + 1, number % slotsOfDay};
}

inline std::int32_t lf_slotAge(WeekSlot slot, WeekSlot now) { // half hours, less than a week
    return ((lf_slotNumber(now) - lf_slotNumber(slot)) % slotsOfWeek + slotsOfWeek) % slotsOfWeek;
}

// ---- what a calculation works with ----------------------------------------------------------------------------------

// The part of an option that decides whether it matches a half hour. A calculation looks at forty thousand options up
// to a hundred times: these are a twelfth of the records in size, and lie in a row.
struct OptionKey {
    std::uint64_t hours = 0; // 0: set aside until the next calculation
    std::uint32_t place = 0; // in the stand's options
    std::uint8_t day = 0;
    bool real = false;
};

struct StandKeys {
    std::uint32_t first = 0, count = 0; // in StaticWork::keys
    // Half hours that any option has, by its kind (soft, real) and day; day 0 is any day.
    std::array<std::array<std::uint64_t, 8>, 2> any{};
};

struct LiveStayer { // a live aircraft that stands at this airport
    std::uint32_t hexid = 0, standId = 0;
    std::int64_t minutes = 0; // since the feed saw it last; 0 while it is reported
};

struct StaticStayer {
    ParkedAc* ac = nullptr;
    bool changeCallsign = false; // the flight that has come gives way to the one that leaves
};

struct StaticWork {
    WeekSlot now;
    std::set<std::string> snapshot; // callsigns in the feed
    std::vector<OptionKey> keys;
    std::vector<StandKeys> standKeys;     // by stand
    std::vector<const ParkedAc*> present; // by stand: the first active static aircraft on it
    // Flights and registrations that are not to be shown once more. With a stand: by the static aircraft on it alone.
    struct Holder {
        bool elsewhere = false;
        std::uint32_t standId = 0;
    };
    std::unordered_map<std::string_view, Holder, TextHash> flights, regs;
    std::vector<LiveStayer> liveStayers;
    std::vector<StaticStayer> stayers;
    std::vector<ParkedAc*> removals;
    std::size_t takenStands = 0;        // in all
    std::vector<StaticCandidate> found; // of one pass
};

StaticWork lf_beginCalculation();   // takes the feed's callsigns, clears the marks of the stands
void lf_listKeys(StaticWork& work); // of all stands, and who is not to be shown once more
void lf_takeForCalculation(StaticWork& work, Stand& stand); // its neighbours are blocked
// Fills airports.staticQueue up to the target, which counts `existing` aircraft: real options, then soft ones.
void lf_addStatics(StaticWork& work, std::int64_t target, std::size_t existing);
// A flight without the mark that ghosts bear; a file from elsewhere may have it.
inline std::string_view lf_flightOf(std::string_view callsign) {
    return callsign.substr(0, callsign.find_last_not_of('_') + 1);
}
bool lf_matches(const OptionKey& key, WeekSlot slot); // in the half hour, on the day unless WEEK ignores it
bool lf_continuesAcross(
    const StaticWork& work, const Stand& stand, std::int32_t day, std::string_view airl,
    std::string_view type); // some option of that aircraft has the first half hour of the day
// Whether a static aircraft is shown as one of these flights of the airline and type.
bool lf_isShownAs(const ParkedAc& ac, std::string_view airl, std::string_view type, std::string_view cs,
                  std::string_view cs2);
std::string lf_detcs(const StaticCandidate& candidate, std::uint32_t serial);
inline double lf_hours(std::int32_t halfHours) { return halfHours * 0.5 + 0.5; } // for texts

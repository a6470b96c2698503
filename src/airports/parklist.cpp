// The list of park airports: the user's file, the folder of the user's own airports, the destination, and the stand
// under the user, which is written back. Worker; the file is written by the loader thread.

#include "airports/airports.h"

#include "airports/reading.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "engine/engine.h"
#include "platform/files.h"
#include "platform/window.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>
#include <unordered_set>

// ---- reading ----------------------------------------------------------------------------------------------------

using Codes = std::unordered_set<std::string>; // of the list, while it is read: it may be long

static std::string lf_listName() { return plat::pathText(folders.myParkAirports.filename()); }

// False: the list has it already.
static bool lf_append(Codes& codes, const Airport& airport, const std::string& stand) {
    if (!codes.insert(airport.code).second) return false;
    airports.parkAirports.push_back({airport.code, stand, airport.lat, airport.lon, 0});
    return true;
}

static bool lf_takeLine(Codes& codes, const std::string& line) {
    constexpr std::size_t mostFields = 2;
    const auto fields = gf_splitAtCommas(line);
    if (fields.empty()) return true;
    if (fields.size() > mostFields) {
        gf_logLine(fmt::format("{}:{} wrong syntax, skipped", lf_listName(), line));
        return true;
    }
    const auto airport = gf_findAirport(fields[0]);
    if (!airport) {
        gf_showMessage(fmt::format("airport {} is unknown", fields[0]), true);
        return false;
    }
    if (!lf_append(codes, *airport, fields.size() == mostFields ? fields[1] : std::string()))
        gf_logLine(fmt::format("{}:{} double, skipped", lf_listName(), line));
    return true;
}

static bool lf_readList(Codes& codes) {
    constexpr std::size_t many = 3000;
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(folders.myParkAirports, ignored)) {
        gf_logLine(fmt::format("{} not found", plat::pathText(folders.myParkAirports)));
        return true;
    }
    bool known = true;
    if (const auto lines = gf_readLines(folders.myParkAirports))
        for (const std::string& line : *lines)
            if (!lf_takeLine(codes, line)) known = false;
    const std::size_t count = airports.parkAirports.size();
    if (count > 0)
        gf_logLine(
            fmt::format("{} park airport{} read from \"{}\"", count, count == 1 ? "" : "s", lf_listName()));
    if (count > many)
        gf_showMessage(
            fmt::format("Warning: There are a lot of airports ({}) in {}, that will cost Velloray much cpu "
                        "time, and may give stutters",
                        count, lf_listName()),
            true);
    return known;
}

// In the order of the codes, so that the list does not hang on the order of the folder.
static std::set<std::string> lf_codesOfFolder(const std::filesystem::path& folder) {
    std::set<std::string> codes;
    std::error_code error;
    std::filesystem::directory_iterator place(folder, error);
    if (error)
        throw std::filesystem::filesystem_error("directory_iterator::directory_iterator", folder, error);
    for (const std::filesystem::directory_iterator end; place != end;) {
        if (place->is_regular_file(error)) codes.insert(plat::pathText(place->path().stem()));
        place.increment(error);
        if (error) throw std::filesystem::filesystem_error("directory_iterator::operator++", folder, error);
    }
    return codes;
}

static void lf_readMyThirdpartyFolder(Codes& codes) {
    std::size_t added = 0;
    for (const std::string& code : lf_codesOfFolder(folders.myThirdparty))
        if (const auto airport = gf_findAirport(code); airport && lf_append(codes, *airport, {})) ++added;
    if (added > 0)
        gf_logLine(fmt::format("{} park airport{} added from my_thirdparty folder(-s)", added,
                               added == 1 ? "" : "s"));
}

bool lf_readMyParkAirports() {
    airports.parkAirports.clear();
    airports.sortedFor = {};
    Codes codes;
    const bool known = lf_readList(codes);
    lf_readMyThirdpartyFolder(codes);
    return known;
}

// ---- writing back -----------------------------------------------------------------------------------------------

// The new lines of the file; what was done to it is told.
static std::vector<std::string> lf_withEntry(std::vector<std::string> lines, const ParkAirportEntry& first) {
    const std::string line = first.code + (first.stand.empty() ? "" : fmt::format(",{}", first.stand));
    const auto same = std::find_if(lines.begin(), lines.end(), [&](const std::string& old) {
        const auto fields = gf_splitAtCommas(old);
        return !fields.empty() && fields[0] == first.code;
    });
    if (same == lines.end()) {
        lines.insert(lines.begin(), line);
        gf_logRaw(fmt::format("{}:{} new entry", lf_listName(), line));
    } else {
        const auto fields = gf_splitAtCommas(*same);
        if ((fields.size() > 1 ? fields[1] : std::string()) != first.stand) {
            *same = fmt::format("{},{}", first.code, first.stand);
            gf_logRaw(fmt::format("{}:{},{} updated stand", lf_listName(), first.code, first.stand));
        }
    }
    std::sort(lines.begin(), lines.end());
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    return lines;
}

// The loader thread. A list that is there and cannot be read is left alone.
static void lf_writeEntry(const ParkAirportEntry& first) {
    const auto& path = folders.myParkAirports;
    std::error_code error;
    const bool there = std::filesystem::exists(path, error);
    auto lines = gf_readLines(path);
    const bool empty = there && std::filesystem::file_size(path, error) == 0;
    if (error || (there && !lines && !empty))
        return gf_logRaw(fmt::format("could not read \"{}\"", plat::pathText(path)));
    std::string text;
    if (there) {
        for (const std::string& line :
             lf_withEntry(lines ? std::move(*lines) : std::vector<std::string>(), first))
            text += line + '\n';
    } else {
        text = first.code + (first.stand.empty() ? "" : fmt::format(",{}", first.stand)) + '\n';
    }
    if (!plat::replaceFile(path, text))
        return gf_logRaw(fmt::format("could not save to \"{}\"", plat::pathText(path)));
    if (!there)
        gf_logRaw(fmt::format("{} created with {}", lf_listName(),
                              std::string_view(text).substr(0, text.size() - 1)));
}

void lf_rememberParkStand() {
    if (airports.parkAirports.empty()) return;
    lf_postFileWork([first = airports.parkAirports.front()] { lf_writeEntry(first); });
}

void gf_storeUserStand() {
    const std::string stand = gf_standText(engine.user.lat, engine.user.lon);
    auto& list = airports.parkAirports;
    if (stand.empty() || list.empty() || list.front().code != airports.park.code ||
        list.front().stand == stand)
        return;
    list.front().stand = stand;
    lf_rememberParkStand();
}

// ---- order ------------------------------------------------------------------------------------------------------

double gf_firstParkAirportNm(double lat, double lon) {
    constexpr double noneNm = 10000;
    if (airports.parkAirports.empty()) return noneNm;
    const ParkAirportEntry& first = airports.parkAirports.front();
    return gf_distanceNm(lat, lon, first.lat, first.lon);
}

void lf_sortParkAirports() {
    auto& list = airports.parkAirports;
    if (list.empty()) return;
    const LatLon user{engine.user.lat, engine.user.lon};
    const auto measure = [&](ParkAirportEntry& entry) {
        entry.distanceNm = gf_distanceNm(user, {entry.lat, entry.lon});
    };
    if (user.lat == airports.sortedFor.lat && user.lon == airports.sortedFor.lon)
        return measure(list.front());
    airports.sortedFor = user;
    if (!DESTINATION.value().empty()) return;
    for (ParkAirportEntry& entry : list) measure(entry);
    list.sort(
        [](const ParkAirportEntry& a, const ParkAirportEntry& b) { return a.distanceNm < b.distanceNm; });
}

bool lf_bringToFront(std::string_view code) {
    auto& list = airports.parkAirports;
    const auto entry =
        std::find_if(list.begin(), list.end(), [&](const ParkAirportEntry& one) { return one.code == code; });
    if (entry == list.end()) return false;
    list.splice(list.begin(), list, entry);
    return true;
}

void lf_setDestination(const Airport& airport) {
    if (lf_bringToFront(airport.code)) return;
    airports.parkAirports.push_front({airport.code, {}, airport.lat, airport.lon, 0});
    lf_rememberParkStand();
}

// Only the first of the list is looked for from the air, and the airport of departure has gone before it.
bool lf_keepDestinationFirst() {
    const auto destination = gf_findAirport(DESTINATION.value());
    if (destination) lf_setDestination(*destination);
    return destination.has_value();
}

void lf_newDestination(const Airport& airport) {
    gf_setAndSave(DESTINATION, airport.code);
    gf_showParameter(DESTINATION);
    gf_showMessage(fmt::format("New destination: {}", airport.code), true);
    plat::setEnabled(RE_READ.control.controlId, false);
    app.destinationRequest.set();
}

void lf_serveDestination() { lf_keepDestinationFirst(); }

// ---- the button "Re-read" ---------------------------------------------------------------------------------------

static void lf_clearForUser(const Stand& stand) {
    for (LiveAc& ac : engine.live)
        if (ac.standId == static_cast<std::uint32_t>(stand.seq) && ac.fs == FlightState::parked)
            removeAircraftFromSim(ac, Removed::conflict);
    for (ParkedAc& ac : engine.parked)
        if (ac.standId == static_cast<std::uint32_t>(stand.seq)) removeAircraftFromSim(ac, Removed::conflict);
}

// The message of a change; "" when there is none to make.
static std::string lf_takeNewReservation() {
    if (!sim.userOnGround || display.staticWork || airports.parkAirports.empty()) return {};
    const ParkAirportEntry& first = airports.parkAirports.front();
    if (!airports.park.known() || first.code != airports.park.code || first.stand.empty() ||
        first.stand == airports.reservedStand || gf_userStand())
        return {};
    std::string message =
        fmt::format("reserved stand changed from \"{}\" to \"{}\"", airports.reservedStand, first.stand);
    if (Stand* old = gf_standById(airports.reservedStand)) old->reserved = false;
    lf_reserveStand(first.stand);
    if (Stand* stand = gf_standById(first.stand)) {
        lf_clearForUser(*stand);
        stand->reserved = true;
    }
    return message;
}

// In a run a folder that cannot be read is told, and no more: the start has shown that it was there.
static bool lf_readAgain() {
    try {
        return lf_readMyParkAirports();
    } catch (const std::filesystem::filesystem_error& e) {
        gf_showMessage(e.what(), true);
        return false;
    }
}

bool lf_rereadParkAirports() {
    const bool known = lf_readAgain();
    const bool destinationFirst = lf_keepDestinationFirst(); // of what has been read, whatever it is
    if (known) {
        if (!destinationFirst && !gf_isNoPosition(engine.user.lat, engine.user.lon)) lf_sortParkAirports();
        std::string message = lf_takeNewReservation();
        if (message.empty()) message = "park airports and stands are okay";
        gf_showMessage(message, true);
    }
    plat::setEnabled(RE_READ.control.controlId, true);
    plat::setEnabled(DESTINATION.control.controlId, true);
    return known;
}

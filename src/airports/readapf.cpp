// Reading of an airport file: the base file, its stands with their options, and the learned file that is laid over it.
// Runs on the loader thread and fills a plain result.

#include "airports/reading.h"

#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "liveries/refdata.h"
#include "platform/files.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <unordered_set>

static constexpr std::uintmax_t longestFile = 64u << 20; // bytes; the largest airports have a tenth of it
static constexpr std::size_t mostStands = 2000;          // three times what the largest airport has
static constexpr int missingParameter = 65, doubleStand = 94; // numbers of errors

// ---- XML --------------------------------------------------------------------------------------------------------

static std::string lf_description(pugi::xml_parse_status status) {
    pugi::xml_parse_result result;
    result.status = status;
    return result.description();
}

std::string lf_loadXml(const std::filesystem::path& path, pugi::xml_document& document) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return lf_description(pugi::status_file_not_found);
    const auto size = std::filesystem::file_size(path, error);
    if (error) return lf_description(pugi::status_io_error);
    if (size > longestFile) return fmt::format("File has {} bytes, which is too large", size);
    const pugi::xml_parse_result loaded = document.load_file(path.c_str());
    return loaded ? std::string() : loaded.description();
}

double lf_number(pugi::xml_node element, const char* attribute) {
    double value = 0;
    return gf_parseDouble(element.attribute(attribute).value(), value) ? value : 0;
}

LatLon lf_position(pugi::xml_node element) {
    constexpr double largestLat = 90, largestLon = 180;
    const LatLon place{lf_number(element, "latitude"), lf_number(element, "longitude")};
    const bool onEarth = std::abs(place.lat) <= largestLat && std::abs(place.lon) <= largestLon;
    return onEarth ? place : LatLon();
}

double lf_radiusNm(pugi::xml_node element) {
    constexpr double largest = 1000; // metres; beyond it the number is nonsense
    const double metres = lf_number(element, "radius");
    return metres >= 0 && metres <= largest ? metres / metersPerNm : 0;
}

const char* lf_fileParameter(const pugi::xml_document& document, const char* name) {
    const pugi::xml_node found =
        document.child("parameters").find_child_by_attribute("parameter", "name", name);
    return found ? found.attribute("value").value() : nullptr;
}

static std::int32_t lf_intParameter(const pugi::xml_document& document, const char* name,
                                    std::int32_t absent) {
    const char* text = lf_fileParameter(document, name);
    int value = 0;
    if (!text) return absent;
    return gf_parseInt(text, value) ? value : 0;
}

static std::string lf_textParameter(const pugi::xml_document& document, const char* name) {
    const char* text = lf_fileParameter(document, name);
    return text ? text : "";
}

// ---- half hours -------------------------------------------------------------------------------------------------

// Calls bad(piece) for each piece that is no half hour; blanks around one do not count.
template <class Bad> static HalfHours lf_parseHours(std::string_view text, Bad bad) {
    constexpr int last = 47;
    constexpr std::size_t mostDigits = 2;
    HalfHours hours;
    for (bool more = !text.empty(); more;) {
        const auto comma = text.find(',');
        const std::string_view piece = text.substr(0, comma);
        more = comma != text.npos;
        if (more) text.remove_prefix(comma + 1);
        std::string_view digits = piece;
        while (!digits.empty() && digits.front() == ' ') digits.remove_prefix(1);
        while (!digits.empty() && digits.back() == ' ') digits.remove_suffix(1);
        int value = digits.empty() || digits.size() > mostDigits ? last + 1 : 0;
        for (const char c : digits.substr(0, mostDigits))
            value = c >= '0' && c <= '9' ? value * 10 + (c - '0') : last + 1;
        if (value <= last)
            hours.set(static_cast<std::size_t>(value));
        else
            bad(piece);
    }
    return hours;
}

static std::string lf_invalidHour(std::string_view piece, std::string_view text) {
    constexpr std::size_t longest = 500; // of a text that is told; more is no list of hours
    piece = piece.substr(0, longest);
    text = text.substr(0, longest);
    return fmt::format("{} invalid hour \"{}\" in {}", "gf_hours2bitset", piece, text);
}

HalfHours gf_hours2bitset(std::string_view text) {
    return lf_parseHours(text, [&](std::string_view piece) { gf_logLine(lf_invalidHour(piece, text)); });
}

// ---- stands -----------------------------------------------------------------------------------------------------

static constexpr std::size_t mostSteps = 1000; // a file full of nonsense is not told line by line

void StandReader::leaveOut(std::string text) {
    whole = false;
    if (result.steps.size() < mostSteps) result.log(std::move(text));
}

void StandReader::showLeftOut(std::string text) {
    whole = false;
    if (result.steps.size() < mostSteps) result.show(std::move(text));
}

bool StandReader::hasRoom(const Stand& stand) {
    constexpr std::size_t mostOptions =
        5000; // an airport of a hundred flights a day at every stand has fewer
    if (stand.options.size() < mostOptions) return true;
    leaveOut(fmt::format("more than {} options at stand {}, the others are left out", mostOptions, stand.id));
    return false;
}

StandOption StandReader::readOption(pugi::xml_node element, std::int32_t index, std::int32_t origin) {
    StandOption option;
    std::string_view hours, calls;
    const char *airline = "", *type = "";
    bool soft = false;
    for (const pugi::xml_attribute attribute : element.attributes()) { // one walk for all of them
        const std::string_view name = attribute.name();
        if (name == "reg")
            option.reg = attribute.value();
        else if (name == "airl")
            airline = attribute.value();
        else if (name == "type")
            type = attribute.value();
        else if (name == "soft")
            soft = gf_boolOfText(attribute.value());
        else if (name == "day")
            gf_parseInt(attribute.value(), option.day);
        else if (name == "hh")
            hours = attribute.value();
        else if (name == "cs")
            calls = attribute.value();
    }
    option.real = soft ? 0 : 1;
    option.index = index;
    option.origin = origin;
    option.hours =
        lf_parseHours(hours, [&](std::string_view piece) { leaveOut(lf_invalidHour(piece, hours)); });
    const auto colon = calls.find(':');
    option.cs = calls.substr(0, colon);
    if (colon != calls.npos && calls.find(':', colon + 1) == calls.npos) option.cs2 = calls.substr(colon + 1);
    if (auto known = gf_lookupRegcode(option.reg)) {
        option.airl = std::move(known->airl);
        option.type = std::move(known->type);
    } else {
        option.airl = airline;
        option.type = type;
    }
    return option;
}

bool StandReader::readStand(pugi::xml_node element, std::int32_t origin) {
    const LatLon place = lf_position(element);
    if (place.lat == 0 && place.lon == 0) return false;
    Stand& stand = stands.emplace_back();
    stand.id = element.attribute("id").value();
    stand.lat = place.lat;
    stand.lon = place.lon;
    stand.radius = lf_radiusNm(element);
    std::int32_t index = 0;
    for (const pugi::xml_node option : element.children("opt")) {
        if (!hasRoom(stand)) break;
        stand.options.push_back(readOption(option, ++index, origin));
    }
    stand.heli = gf_boolOfText(element.attribute("heli").value());
    stand.ramp = gf_boolOfText(element.attribute("ramp").value());
    stand.cargo = gf_boolOfText(element.attribute("cargo").value());
    stand.heading = lf_number(element, "heading") * degToRad;
    constexpr std::size_t usualNeighbours = 8;
    stand.adjacent.reserve(usualNeighbours);
    return true;
}

void StandReader::readAll(const pugi::xml_document& document) {
    std::unordered_set<std::string_view> seen;
    for (const pugi::xml_node element : document.child("parkpositions").children("parkpos")) {
        const char* id = element.attribute("id").value();
        if (!seen.insert(id).second)
            throw orvo::UserErrorException(doubleStand,
                                           fmt::format("Parking position {} appears more than once?", id));
        if (stands.size() >= mostStands)
            return leaveOut(fmt::format("more than {} stands, the others are left out", mostStands));
        if (!readStand(element, 1)) whole = false;
        if (gf_stopping()) return; // nobody will use it any more
    }
}

// Two stands are neighbours when aircraft that fill them would touch, or nearly so. Stands are looked at from south to
// north, so that most pairs need no distance: a minute of latitude is a mile.
static void lf_findNeighbours(std::vector<Stand>& stands) {
    constexpr double margin = 1.1, milesPerDegree = 59.9; // a little short of 60, for the roundings
    std::vector<Stand*> byLat(stands.size());
    std::transform(stands.begin(), stands.end(), byLat.begin(), [](Stand& stand) { return &stand; });
    std::sort(byLat.begin(), byLat.end(), [](const Stand* a, const Stand* b) { return a->lat < b->lat; });
    double largest = 0;
    for (const Stand& stand : stands) largest = std::max(largest, stand.radius);
    for (auto a = byLat.begin(); a != byLat.end() && !gf_stopping(); ++a) {
        const double reach = ((*a)->radius + largest) / margin / milesPerDegree;
        for (auto b = a + 1; b != byLat.end() && (*b)->lat - (*a)->lat <= reach; ++b) {
            if (!((*a)->radius + (*b)->radius >
                  gf_distanceNm((*a)->lat, (*a)->lon, (*b)->lat, (*b)->lon) * margin))
                continue;
            (*a)->adjacent.push_back((*b)->seq);
            (*b)->adjacent.push_back((*a)->seq);
        }
    }
    for (Stand& stand : stands) std::sort(stand.adjacent.begin(), stand.adjacent.end());
}

void lf_finishStands(std::vector<Stand>& stands) {
    std::int32_t seq = 0;
    for (Stand& stand : stands) stand.seq = ++seq;
    lf_findNeighbours(stands);
    stands.shrink_to_fit();
}

// ---- the file ---------------------------------------------------------------------------------------------------

std::string lf_qualityText(std::int32_t real, std::int32_t soft) {
    constexpr std::int32_t good = 45;
    if (real < 0 && soft < 0) return "  ";
    return real < good ? fmt::format("{:2}/{:2}", real, soft) : fmt::format("{:2}", real);
}

void lf_readBaseDocument(const pugi::xml_document& document, AirportReading& result) {
    AirportFile& file = result.file;
    file.code = result.code;
    file.trafficWeeks = lf_intParameter(document, "RT_traffic_week", 0);
    file.publisher = lf_textParameter(document, "publisher");
    if (!lf_fileParameter(document, "altitude"))
        throw orvo::UserErrorException(missingParameter, fmt::format("Parameter {} not found", "altitude"));
    file.altitude = lf_intParameter(document, "altitude", 0);
    file.airportName = lf_textParameter(document, "airport_name");
    file.bglPath = lf_textParameter(document, "BGLpath");
    file.manufacturer = lf_textParameter(document, "manufacturer");
    file.creator = lf_textParameter(document, "creator");
    StandReader{result, file.stands}.readAll(document);
    file.qfReal = lf_intParameter(document, "Qf_real", -1);
    file.qfSoft = lf_intParameter(document, "Qf_soft", -1);
}

// The learned file follows the path of the base file, a save its publisher. Where the two lead apart, as they do for a
// stock file in a folder of the user's own, what was saved goes first: it is the younger one. Empty: there is none.
static std::filesystem::path lf_findLearned(const AirportReading& reading) {
    auto path = lf_savedLearnedPath(reading.file);
    if (lf_exists(path)) return path;
    path = plat::textPath(gf_learnedPath(reading.path, reading.file.publisher));
    return lf_isLearnedPath(path) && lf_exists(path) ? path : std::filesystem::path();
}

static void lf_layLearnedOver(AirportReading& result) {
    AirportFile& file = result.file;
    if (!lf_takeWaitingSave(result)) {
        result.learnedPath = lf_findLearned(result);
        if (!result.learnedPath.empty()) lf_readLearned(result);
    }
    if (result.learnedPath.empty()) {
        constexpr std::int32_t usualPercentage = 30;
        result.steps.push_back(
            {ReadingStep::Kind::setNumber, {}, nullptr, &parking_percentage, usualPercentage});
        result.log(fmt::format("{:24}: {}%", parking_percentage.name, usualPercentage));
        return;
    }
    const Quality quality = gf_qualityFactor(file.stands);
    file.qfReal = quality.real;
    file.qfSoft = quality.soft;
    if (file.handmade) result.show("A handmade airport file overruled the archived file!");
}

static void lf_tellFile(AirportReading& result) {
    const AirportFile& file = result.file;
    const auto tell = [&](const char* name, const auto& value) {
        result.log(fmt::format("{:24}: {}", name, value));
    };
    const std::string path = file.handmade ? plat::pathText(result.learnedPath) : result.path;
    result.log(fmt::format("Airport file read from \"{}\" for {}", path, file.airportName));
    tell("publisher", file.publisher);
    tell("altitude", fmt::format("{} ft", file.altitude));
    tell("num_parkpos", file.stands.size());
    tell("quality factor", lf_qualityText(file.qfReal, file.qfSoft));
    tell("RT traffic week", file.trafficWeeks);
}

static std::string lf_readPath(const std::string& path, AirportReading& result) {
    constexpr const char* self = "gf_readApf";
    if (path.empty()) return fmt::format("{} xml is empty...", self);
    if (result.code.empty()) return fmt::format("{} no park airport set", self);
    result.path = path;
    std::filesystem::path local = plat::textPath(path);
    const bool fetched = !lf_isLocalPath(path);
    if (fetched) {
        local = folders.airports / "park_airport.xml";
        const std::string failure = lf_fetch(path, local);
        if (!failure.empty()) {
            result.log(failure);
            return failure;
        }
    }
    pugi::xml_document document;
    const std::string failure = lf_loadXml(local, document);
    if (!failure.empty()) return fmt::format("{} could not be loaded: {}", path, failure);
    lf_readBaseDocument(document, result);
    lf_layLearnedOver(result);
    lf_finishStands(result.file.stands);
    lf_tellFile(result);
    if (gf_stopping()) return fmt::format("{} was stopped", self); // it may be read in part
    return result.file.stands.empty() ? "no stands found" : "";
}

std::string gf_readApf(const std::string& path, AirportReading& result) {
    try {
        result.error = lf_readPath(path, result);
    } catch (const orvo::UserErrorException&) {
        throw;
    } catch (const std::exception& e) {
        result.error = fmt::format("{}: {}", "gf_readApf", e.what());
    }
    return result.error;
}

// The tables of variables and units, and the packing of values.

#include "simulator/variables.h"

#include "app/geo.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

namespace rig {

enum class Dimension { text, plain, angle, length, speed, time, ratio };

enum class Id {
    title,
    model,
    tail,
    lat,
    lon,
    pitch,
    bank,
    heading,
    alt,
    height,
    ground,
    verticalSpeed,
    trueAirspeed,
    groundSpeed,
    onGround,
    zuluTime,
    zuluDay,
    zuluYear,
    lights,
    staticCg,
    staticPitch,
    spoilers,
    throttle1,
    throttle2,
    gear,
    flaps
};

// The value in base units (radian, metre, metre a second, second, part of 1) of one own unit.
static constexpr double metresPerFoot = 0.3048;
static constexpr double knot = metersPerNm / 3600;

static const struct Row {
    const char* name; // upper case
    Id id;
    Dimension dimension;
    double base;
    bool writable;
} rows[] = {
    {"TITLE", Id::title, Dimension::text, 1, false},
    {"ATC MODEL", Id::model, Dimension::text, 1, false},
    {"ATC ID", Id::tail, Dimension::text, 1, false},
    {"PLANE LATITUDE", Id::lat, Dimension::angle, degToRad, true},
    {"PLANE LONGITUDE", Id::lon, Dimension::angle, degToRad, true},
    {"PLANE PITCH DEGREES", Id::pitch, Dimension::angle, 1, true},
    {"PLANE BANK DEGREES", Id::bank, Dimension::angle, 1, true},
    {"PLANE HEADING DEGREES TRUE", Id::heading, Dimension::angle, 1, true},
    {"PLANE ALTITUDE", Id::alt, Dimension::length, metresPerFoot, true},
    {"PLANE ALT ABOVE GROUND", Id::height, Dimension::length, metresPerFoot, false},
    {"GROUND ALTITUDE", Id::ground, Dimension::length, metresPerFoot, false},
    {"VERTICAL SPEED", Id::verticalSpeed, Dimension::speed, metresPerFoot, true},
    {"AIRSPEED TRUE", Id::trueAirspeed, Dimension::speed, knot, true},
    {"GROUND VELOCITY", Id::groundSpeed, Dimension::speed, knot, false},
    {"SIM ON GROUND", Id::onGround, Dimension::plain, 1, false},
    {"ZULU TIME", Id::zuluTime, Dimension::time, 1, false},
    {"ZULU DAY OF YEAR", Id::zuluDay, Dimension::plain, 1, false},
    {"ZULU YEAR", Id::zuluYear, Dimension::plain, 1, false},
    {"LIGHT STATES", Id::lights, Dimension::plain, 1, false},
    {"LIGHT ON STATES", Id::lights, Dimension::plain, 1, false},
    {"STATIC CG TO GROUND", Id::staticCg, Dimension::length, metresPerFoot, false},
    {"STATIC PITCH", Id::staticPitch, Dimension::angle, 1, false},
    {"SPOILERS HANDLE POSITION", Id::spoilers, Dimension::ratio, 0.01, true},
    {"GENERAL ENG THROTTLE LEVER POSITION:1", Id::throttle1, Dimension::ratio, 0.01, true},
    {"GENERAL ENG THROTTLE LEVER POSITION:2", Id::throttle2, Dimension::ratio, 0.01, true},
    {"GEAR HANDLE POSITION", Id::gear, Dimension::plain, 1, false},
    {"FLAPS HANDLE PERCENT", Id::flaps, Dimension::ratio, 0.01, false},
};

static const struct Unit {
    const char* name; // lower case
    Dimension dimension;
    double base;
} units[] = {
    {"number", Dimension::plain, 1},
    {"numbers", Dimension::plain, 1},
    {"bool", Dimension::plain, 1},
    {"boolean", Dimension::plain, 1},
    {"mask", Dimension::plain, 1},
    {"enum", Dimension::plain, 1},
    {"radian", Dimension::angle, 1},
    {"radians", Dimension::angle, 1},
    {"degree", Dimension::angle, degToRad},
    {"degrees", Dimension::angle, degToRad},
    {"foot", Dimension::length, metresPerFoot},
    {"feet", Dimension::length, metresPerFoot},
    {"ft", Dimension::length, metresPerFoot},
    {"meter", Dimension::length, 1},
    {"meters", Dimension::length, 1},
    {"metre", Dimension::length, 1},
    {"metres", Dimension::length, 1},
    {"m", Dimension::length, 1},
    {"nautical mile", Dimension::length, metersPerNm},
    {"nautical miles", Dimension::length, metersPerNm},
    {"knot", Dimension::speed, knot},
    {"knots", Dimension::speed, knot},
    {"foot per second", Dimension::speed, metresPerFoot},
    {"feet per second", Dimension::speed, metresPerFoot},
    {"feet/second", Dimension::speed, metresPerFoot},
    {"foot per minute", Dimension::speed, metresPerFoot / 60},
    {"feet per minute", Dimension::speed, metresPerFoot / 60},
    {"feet/minute", Dimension::speed, metresPerFoot / 60},
    {"meter per second", Dimension::speed, 1},
    {"meters per second", Dimension::speed, 1},
    {"second", Dimension::time, 1},
    {"seconds", Dimension::time, 1},
    {"minute", Dimension::time, 60},
    {"minutes", Dimension::time, 60},
    {"hour", Dimension::time, 3600},
    {"hours", Dimension::time, 3600},
    {"percent", Dimension::ratio, 0.01},
    {"percent over 100", Dimension::ratio, 1},
};

enum DataType : std::uint32_t {
    int32 = 1,
    int64 = 2,
    float32 = 3,
    float64 = 4,
    string8 = 5,
    string260 = 10,
    stringV = 11
};
static constexpr std::uint32_t typeSizes[] = {0, 4, 8, 4, 8, 8, 32, 64, 128, 256, 260, 0};

static bool sameText(std::string_view given, std::string_view folded, bool upper) {
    return std::equal(given.begin(), given.end(), folded.begin(), folded.end(), [upper](char a, char b) {
        if (upper && a >= 'a' && a <= 'z') a = static_cast<char>(a - 'a' + 'A');
        if (!upper && a >= 'A' && a <= 'Z') a = static_cast<char>(a - 'A' + 'a');
        return a == b;
    });
}

std::uint32_t addDatum(Definition& definition, std::string_view name, std::string_view unit,
                       std::uint32_t type) {
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [name](const Row& r) { return sameText(name, r.name, true); });
    if (row == std::end(rows)) return exceptionName;
    Datum datum;
    datum.variable = static_cast<int>(row - rows);
    datum.type = type;
    const bool text = row->dimension == Dimension::text;
    if (text) {
        if (!unit.empty() && !sameText(unit, "string", false)) return exceptionName;
        if (type < string8 || type > stringV) return exceptionDataType;
    } else {
        const auto found = std::find_if(std::begin(units), std::end(units), [&](const Unit& u) {
            return u.dimension == row->dimension && sameText(unit, u.name, false);
        });
        if (found == std::end(units)) return exceptionName;
        if (type < int32 || type > float64) return exceptionDataType;
        // Exactly 1 for the same unit, so that what was written is read back unchanged.
        datum.factor = found->base == row->base ? 1 : row->base / found->base;
    }
    datum.size = typeSizes[type];
    definition.size += datum.size;
    definition.variableLength = definition.variableLength || type == stringV;
    definition.writable = definition.writable && row->writable;
    definition.position = definition.position || row->id == Id::lat;
    definition.datums.push_back(datum);
    return exceptionNone;
}

static std::chrono::year zuluYear(double utc) {
    const std::chrono::sys_seconds time{std::chrono::seconds(static_cast<std::int64_t>(std::floor(utc)))};
    return std::chrono::year_month_day(std::chrono::floor<std::chrono::days>(time)).year();
}

static double numberOf(const World& world, const SimObject& o, Id id) {
    constexpr double daySeconds = 86400;
    switch (id) {
    case Id::lat: return o.lat;
    case Id::lon: return o.lon;
    case Id::pitch: return o.pitch;
    case Id::bank: return o.bank;
    case Id::heading: return o.heading;
    case Id::alt: return o.alt;
    case Id::height: return world.heightFt(o);
    case Id::ground: return world.groundFt(o.lat, o.lon);
    case Id::verticalSpeed: return o.verticalSpeed;
    case Id::trueAirspeed: return o.trueAirspeed;
    case Id::groundSpeed: return o.groundSpeed;
    case Id::onGround: return world.onGround(o) ? 1 : 0;
    case Id::zuluTime: return std::floor(world.utc - std::floor(world.utc / daySeconds) * daySeconds);
    case Id::zuluDay: {
        const std::chrono::sys_days newYear{zuluYear(world.utc) / std::chrono::January / 1};
        return std::floor(world.utc / daySeconds) - static_cast<double>(newYear.time_since_epoch().count()) +
               1;
    }
    case Id::zuluYear: return static_cast<int>(zuluYear(world.utc));
    case Id::lights: return o.lights;
    case Id::staticCg: return o.staticCg;
    case Id::staticPitch: return o.staticPitch;
    case Id::spoilers: return o.spoilers;
    case Id::throttle1: return o.throttle[0];
    case Id::throttle2: return o.throttle[1];
    case Id::gear: return o.gearDown ? 1 : 0;
    case Id::flaps: return o.flaps;
    case Id::title:
    case Id::model:
    case Id::tail: break; // texts
    }
    return 0;
}

static const std::string& textOf(const SimObject& o, Id id) {
    return id == Id::title ? o.title : id == Id::model ? o.model : o.tailNumber;
}

template <typename T> static void appendRaw(std::string& out, T value) {
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    out.append(bytes, sizeof value);
}

void appendData(std::string& out, const World& world, const SimObject& object, const Definition& definition) {
    const std::size_t start = out.size();
    for (const Datum& datum : definition.datums) {
        const Row& row = rows[datum.variable];
        if (row.dimension == Dimension::text) {
            const std::string& text = textOf(object, row.id);
            if (datum.type == stringV) {
                out += text;
                out += '\0';
                while ((out.size() - start) % 4 != 0) out += '\0';
            } else {
                // A text that fills its field has no closing zero.
                const std::size_t length = std::min<std::size_t>(text.size(), datum.size);
                out.append(text, 0, length);
                out.append(datum.size - length, '\0');
            }
            continue;
        }
        const double value = numberOf(world, object, row.id) * datum.factor;
        switch (datum.type) {
        case int32:
            appendRaw(out, static_cast<std::int32_t>(
                               std::clamp(std::nearbyint(value), -2147483648.0, 2147483647.0)));
            break;
        case int64:
            appendRaw(out, static_cast<std::int64_t>(std::clamp(std::nearbyint(value), -9e18, 9e18)));
            break;
        case float32: appendRaw(out, static_cast<float>(value)); break;
        default: appendRaw(out, value);
        }
    }
}

template <typename T> static T readRaw(const char* data) {
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

static double readNumber(const Datum& datum, const char* data) {
    switch (datum.type) {
    case int32: return readRaw<std::int32_t>(data) / datum.factor;
    case int64: return static_cast<double>(readRaw<std::int64_t>(data)) / datum.factor;
    case float32: return static_cast<double>(readRaw<float>(data)) / datum.factor;
    default: return readRaw<double>(data) / datum.factor;
    }
}

// Values that no aircraft can take; a simulator would fall over or refuse, the stand-in refuses.
static bool plausible(Id id, double value) {
    constexpr double latLimit = 90, lonLimit = 360, otherLimit = 1e6;
    if (!std::isfinite(value)) return false;
    return std::fabs(value) <= (id == Id::lat ? latLimit : id == Id::lon ? lonLimit : otherLimit);
}

static void setNumber(SimObject& o, Id id, double value) {
    switch (id) {
    case Id::lat: o.lat = value; break;
    case Id::lon: o.lon = value > 180 ? value - 360 : value < -180 ? value + 360 : value; break;
    case Id::pitch: o.pitch = value; break;
    case Id::bank: o.bank = value; break;
    case Id::heading: o.heading = value >= 0 && value < twoPi ? value : gf_wrapHeading(value); break;
    case Id::alt: o.alt = value; break;
    case Id::verticalSpeed: o.verticalSpeed = value; break;
    case Id::trueAirspeed: o.trueAirspeed = value; break;
    case Id::spoilers: o.spoilers = value; break;
    case Id::throttle1: o.throttle[0] = value; break;
    case Id::throttle2: o.throttle[1] = value; break;
    default: break; // not writable; writeData does not come here with one
    }
}

std::uint32_t writeData(SimObject& object, const Definition& definition, const char* data) {
    if (!definition.writable) return exceptionData;
    const char* at = data;
    for (const Datum& datum : definition.datums) {
        if (!plausible(rows[datum.variable].id, readNumber(datum, at))) return exceptionData;
        at += datum.size;
    }
    at = data;
    for (const Datum& datum : definition.datums) {
        setNumber(object, rows[datum.variable].id, readNumber(datum, at));
        at += datum.size;
    }
    return exceptionNone;
}

} // namespace rig

// The file of the parameters: read whole at the start of a run, and written again for each value that changes, beside
// and renamed, so that a crash leaves the old one. Message loop and worker.

#include "app/parameters.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "app/version.h"
#include "platform/files.h"

#include <array>
#include <fmt/format.h>
#include <pugixml.hpp>
#include <sstream>
#include <string_view>
#include <system_error>
#include <variant>

using AnyParameter = std::variant<BoolParameter*, IntParameter*, StringParameter*>;

// In the order in which they are read, logged and first written. CUSTOM_MAX_PARK counts among the numbers without a
// control and among those with one, and the log lists it in both places.
static const AnyParameter fileParameters[] = {&RANDOM,

                                              &AEROWINX,
                                              &MSFS_2020,
                                              &CALLSIGN_OBJECTIDS,
                                              &COLLISION_USER_AIR,
                                              &COLLISION_USER_GND,
                                              &COLLISION_LIVE_PARKED_GND,
                                              &SUPPRESS_STUB,
                                              &LOG,
                                              &ALWAYS_ON_TOP,
                                              &SCAN_LIVERIES,
                                              &LIG_AUTOMATIC,
                                              &LIG_PRIORITIZE,
                                              &SCAN_AIRPORTS,
                                              &LIGHT_AIRCRAFT,
                                              &HELICOPTERS,
                                              &HIGH_PERF_AIRCRAFT,
                                              &NAV_LIGHTS_WHILE_PARKED,
                                              &AUTO_RANGE,
                                              &LEARN_SOFT,
                                              &STRAIGHT_PBS_ONLY,
                                              &PARK_SOFT,
                                              &PARK_FAKE,
                                              &WEEK,
                                              &INITIAL_LOAD_ONLY,
                                              &GUID_CHANGES,

                                              &CUSTOM_PARKING_PERCENTAGE,
                                              &CUSTOM_MAX_PARK,
                                              &MAIN_WINDOW_X,
                                              &MAIN_WINDOW_Y,
                                              &LAST_EPOCH_TIME,
                                              &HOLDING_THRESHOLD_METERS,
                                              &MAX_HOLDING_MINUTES,

                                              &MATCHING_DEPTH,
                                              &LATERAL_RANGE,
                                              &MAX_FIT,
                                              &AUTO_RANGE_ABOVE_HEIGHT,
                                              &MAX_LIVE,
                                              &AIRPORT_RANGE,
                                              &AIRPORT_HEIGHT,
                                              &CUSTOM_MAX_PARK,
                                              &AI_PACKAGE_ORDER,

                                              &PROGRAM_VERSION,
                                              &MSFS_INSTALL_PATH,
                                              &PORT_NUMBER,
                                              &lfolder0,
                                              &lfolder1,
                                              &lfolder2,
                                              &lfolder3,
                                              &lfolder4,
                                              &lfolder5,
                                              &lfolder6,
                                              &lfolder7,
                                              &lfolder8,
                                              &lfolder9,
                                              &PROGRAM_INSTALL_PATH,
                                              &MYSIMADDON24_VERSION,
                                              &MSFS_2024_INSTALL_PATH,
                                              &DESTINATION,

                                              &BLOCK_CALLSIGN};

// One rewriting of the file at a time: both threads read it, change one value and write it. Only the log is written
// under it; controls are set after it, since setting one may wait for the message loop, which may wait for this lock.
static Lock fileLock;

// Value to text and back, as the file spells them ----------------------------------------------------------------
static std::string fileText(const BoolParameter& p) { return p.value ? "true" : "false"; }
static std::string fileText(const IntParameter& p) { return std::to_string(p.value); }
static std::string fileText(const StringParameter& p) { return p.value(); }

static std::string logText(const BoolParameter& p) { return p.value ? "1" : "0"; }
template <class P> static std::string logText(const P& p) { return fileText(p); }

// A missing attribute is false, 0 or empty. No number reads as 0, one beyond 64 bits as the largest; both end within
// the limits.
static void takeValue(BoolParameter& p, pugi::xml_attribute value) { p.value = value.as_bool(); }
static void takeValue(IntParameter& p, pugi::xml_attribute value) { p.value = p.limited(value.as_llong()); }
static void takeValue(StringParameter& p, pugi::xml_attribute value) { p.set(value.value()); }

static void takeDefault(BoolParameter& p) { p.value = p.defaultValue; }
static void takeDefault(IntParameter& p) { p.value = p.defaultValue; }
static void takeDefault(StringParameter& p) { p.set(p.defaultValue); }

// The document ---------------------------------------------------------------------------------------------------
static bool load(pugi::xml_document& document) {
    std::string text;
    return gf_readTextFile(FileEncoding::plain, folders.parameters, text) &&
           document.load_buffer(text.data(), text.size()) && document.child("parameters");
}

static pugi::xml_node elementOf(const pugi::xml_document& document, const char* key) {
    return document.child("parameters").find_child_by_attribute("parameter", "name", key);
}

static bool setValue(pugi::xml_node element, const std::string& text) {
    pugi::xml_attribute value = element.attribute("value");
    if (!value) value = element.append_attribute("value");
    return value.set_value(text.c_str());
}

static void addElement(pugi::xml_document& document, const char* key, const std::string& text) {
    pugi::xml_node element = document.child("parameters").append_child("parameter");
    if (!element.append_attribute("name").set_value(key) || !setValue(element, text))
        gf_logRaw(fmt::format("{}adding init xml parameter {} with {} failed!", "===> ", key, text));
}

static bool isLiveryFolder(const char* key) {
    return std::string_view(key).find("lfolder") != std::string_view::npos;
}

template <class P> static void readOne(pugi::xml_document& document, P& p) {
    const pugi::xml_node element = elementOf(document, p.name);
    if (element) {
        takeValue(p, element.attribute("value"));
        if (isLiveryFolder(p.name) && fileText(p).empty()) {
            document.child("parameters").remove_child(element);
            gf_logLine(fmt::format("Parameter {} removed", p.name));
        }
    } else {
        takeDefault(p);
        if (!isLiveryFolder(p.name)) addElement(document, p.name, fileText(p));
    }
}

template <class P> static void logValue(const P& p) { gf_logLine(fmt::format("{}={}", p.name, logText(p))); }

static void readAll(pugi::xml_document& document) {
    gf_logLine(fmt::format("from \"{}\"", plat::pathText(folders.parameters)));
    for (const AnyParameter& any : fileParameters)
        std::visit([&](auto* p) { readOne(document, *p), logValue(*p); }, any);
}

static void takeAllDefaults(pugi::xml_document& document) {
    gf_logLine(fmt::format("{} not found, default values taken:", plat::pathText(folders.parameters)));
    document.reset();
    document.append_child("parameters");
    for (const AnyParameter& any : fileParameters) {
        std::visit(
            [&](auto* p) {
                takeDefault(*p);
                if constexpr (std::is_same_v<decltype(p), StringParameter*>)
                    if (p == &PROGRAM_VERSION) p->set(gf_versionText(gf_programVersion()));
                if (!elementOf(document, p->name)) addElement(document, p->name, fileText(*p));
                logValue(*p);
            },
            any);
    }
}

// A new version scans again, whatever the user had chosen.
static void versionStep() {
    const VersionData own = gf_programVersion();
    const std::string ownText = gf_versionText(own), storedText = PROGRAM_VERSION.value();
    const VersionData stored(storedText);
    if (storedText != ownText) gf_setAndSave(PROGRAM_VERSION, ownText);
    if (stored >= own) return;
    gf_logLine(fmt::format("This is a version update from {} -> {}", gf_versionText(stored), ownText));
    std::error_code ignored;
    std::filesystem::remove(folders.installer, ignored);
    gf_setAndSave(SCAN_LIVERIES, true);
    gf_setAndSave(SCAN_AIRPORTS, true);
}

void gf_readParameters() {
    constexpr int width = 70, closingExtra = 10; // both lines then have 80 characters
    gf_logLine(gf_headline(width, 0, true, false, "Parameters"));
    {
        const LockGuard hold(fileLock);
        pugi::xml_document document;
        if (load(document))
            readAll(document);
        else
            takeAllDefaults(document);
        gf_saveXml(document, folders.parameters);
    }
    gf_logLine(gf_headline(width, closingExtra, false, true, ""));
    for (const AnyParameter& any : fileParameters)
        std::visit([](const auto* p) { gf_showParameter(*p); }, any);
    versionStep();
}

// One value ------------------------------------------------------------------------------------------------------
template <class P> static void saveOne(const P& p) {
    const LockGuard hold(fileLock);
    pugi::xml_document document;
    bool saved = load(document);
    if (saved) {
        if (pugi::xml_node element = elementOf(document, p.name))
            setValue(element, fileText(p));
        else
            addElement(document, p.name, fileText(p));
        std::ostringstream text;
        document.save(text);
        saved = plat::replaceFile(folders.parameters, text.str());
    }
    if (!saved) gf_logLine("saving xml did not work?");
}

void gf_saveParameter(const BoolParameter& p) { saveOne(p); }
void gf_saveParameter(const IntParameter& p) { saveOne(p); }
void gf_saveParameter(const StringParameter& p) { saveOne(p); }

// True when the file had a place on a limit: such a window would open where nobody sees it.
static bool readAxis(const pugi::xml_document& document, IntParameter& p) {
    const pugi::xml_node element = elementOf(document, p.name);
    if (!element) return false;
    const std::int32_t before = p.value;
    takeValue(p, element.attribute("value"));
    if (p.value != p.minimum && p.value != p.maximum) return false;
    p.value = p.limited(before);
    return true;
}

void gf_readWindowPosition() {
    bool mendX = false, mendY = false;
    {
        const LockGuard hold(fileLock);
        pugi::xml_document document;
        if (!load(document)) return;
        mendX = readAxis(document, MAIN_WINDOW_X);
        mendY = readAxis(document, MAIN_WINDOW_Y);
    }
    if (mendX) gf_saveParameter(MAIN_WINDOW_X);
    if (mendY) gf_saveParameter(MAIN_WINDOW_Y);
}

// An axis on a limit belongs to a minimized window or one that left the desktop: the place before is the better one.
static void saveAxis(IntParameter& p, int position) {
    const std::int32_t wanted = p.limited(position);
    if (wanted != p.minimum && wanted != p.maximum) p.value = wanted;
    gf_saveParameter(p);
}

void gf_saveWindowPosition(int x, int y) {
    saveAxis(MAIN_WINDOW_X, x);
    saveAxis(MAIN_WINDOW_Y, y);
}

void gf_resetParametersToDefaults() {
    for (const AnyParameter& any : fileParameters) std::visit([](auto* p) { takeDefault(*p); }, any);
    parking_percentage.value = parking_percentage.defaultValue;
    MAX_FIT_FL.value = MAX_FIT_FL.defaultValue;
    ALL_INSTALL_PATH.set("");
    CALLSIGN_2_OBJECTID.set("");
}

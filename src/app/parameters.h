#pragma once
// The typed settings of "parameters.xml": one global object per key, named by its key. Read from any thread.
// Numbers and booleans are written by the thread of the message loop and, at the start and the closing of a run, by
// the worker; the texts have a lock of their own.

#include "platform/lock.h"
#include "platform/shared_values.h"

#include <cstdint>
#include <string>

struct ControlData {
    int controlId = 0; // 0: no control
    int row = 0;       // pixels from the top of the client area
};

struct Parameter {
    const char* name;
    ControlData control;
    bool stored = true; // has a place in the file

  protected:
    Parameter(const char* key, ControlData c, bool inFile) : name(key), control(c), stored(inFile) {}
    ~Parameter() = default;
};

struct BoolParameter : Parameter {
    const bool defaultValue;
    Relaxed<bool> value;
    BoolParameter(const char* key, bool start, ControlData c = {}, bool inFile = true)
        : Parameter(key, c, inFile), defaultValue(start), value(start) {}
    explicit operator bool() const { return value; }
};

struct IntParameter : Parameter {
    const std::int32_t defaultValue, minimum, maximum;
    Relaxed<std::int32_t> value;
    IntParameter(const char* key, std::int32_t start, std::int32_t low, std::int32_t high, ControlData c = {},
                 bool inFile = true)
        : Parameter(key, c, inFile), defaultValue(start), minimum(low), maximum(high), value(start) {}
    std::int32_t limited(std::int64_t number) const; // into minimum to maximum
};

struct FloatParameter : Parameter {
    const float defaultValue, minimum, maximum;
    Relaxed<float> value;
    FloatParameter(const char* key, float start, float low, float high, ControlData c)
        : Parameter(key, c, false), defaultValue(start), minimum(low), maximum(high), value(start) {}
};

struct StringParameter : Parameter {
    const char* defaultValue;
    StringParameter(const char* key, const char* start = "", ControlData c = {}, bool inFile = true)
        : Parameter(key, c, inFile), defaultValue(start), text(start) {}
    std::string value() const; // a copy
    void set(const std::string& newText);
    bool replace(const std::string& oldText, const std::string& newText); // false: it had another text

  private:
    mutable Lock lock;
    std::string text GUARDED_BY(lock);
};

struct ButtonParameter : Parameter {
    ButtonParameter(const char* label, ControlData c) : Parameter(label, c, false) {}
};

extern BoolParameter RANDOM;
extern BoolParameter AEROWINX, MSFS_2020, CALLSIGN_OBJECTIDS, COLLISION_USER_AIR, COLLISION_USER_GND,
    COLLISION_LIVE_PARKED_GND, SUPPRESS_STUB, LOG, ALWAYS_ON_TOP, SCAN_LIVERIES, LIG_AUTOMATIC,
    LIG_PRIORITIZE, SCAN_AIRPORTS, LIGHT_AIRCRAFT, HELICOPTERS, HIGH_PERF_AIRCRAFT, NAV_LIGHTS_WHILE_PARKED,
    AUTO_RANGE, LEARN_SOFT, STRAIGHT_PBS_ONLY, PARK_SOFT, PARK_FAKE, WEEK, INITIAL_LOAD_ONLY, GUID_CHANGES;
extern IntParameter CUSTOM_PARKING_PERCENTAGE, CUSTOM_MAX_PARK, MAIN_WINDOW_X, MAIN_WINDOW_Y, LAST_EPOCH_TIME,
    HOLDING_THRESHOLD_METERS, MAX_HOLDING_MINUTES;
extern IntParameter MATCHING_DEPTH, LATERAL_RANGE, MAX_FIT, AUTO_RANGE_ABOVE_HEIGHT, MAX_LIVE, AIRPORT_RANGE,
    AIRPORT_HEIGHT, AI_PACKAGE_ORDER;
extern IntParameter parking_percentage; // not in the file
extern FloatParameter MAX_FIT_FL;       // not in the file
extern StringParameter PROGRAM_VERSION, MSFS_INSTALL_PATH, PORT_NUMBER, PROGRAM_INSTALL_PATH,
    MYSIMADDON24_VERSION, MSFS_2024_INSTALL_PATH, DESTINATION, BLOCK_CALLSIGN;
extern StringParameter lfolder0, lfolder1, lfolder2, lfolder3, lfolder4, lfolder5, lfolder6, lfolder7,
    lfolder8, lfolder9;
extern StringParameter ALL_INSTALL_PATH, CALLSIGN_2_OBJECTID; // not in the file
extern ButtonParameter FLUSH_STATIC, UNBLOCK, RE_READ;

// Reads the file into all objects, or writes a new one with the defaults; then the version step. Never fails.
void gf_readParameters();
void gf_saveParameter(const BoolParameter& p); // the one value into the file, at once
void gf_saveParameter(const IntParameter& p);
void gf_saveParameter(const StringParameter& p);
void gf_setAndSave(StringParameter& p, const std::string& text);
void gf_setAndSave(BoolParameter& p, bool on); // with its check box
void gf_showParameter(const BoolParameter& p); // value to the control, and its labels anew
void gf_showParameter(const IntParameter& p);
void gf_showParameter(const FloatParameter& p);
void gf_showParameter(const StringParameter& p);
void gf_takeMaxFit();                  // MAX_FIT_FL, hours, becomes what MAX_FIT, half hours, says
std::string gf_floatText(float value); // one decimal, with a point

// The window's place alone, before the full reading: an axis on a limit of its range goes back to the value before.
void gf_readWindowPosition();
void gf_saveWindowPosition(int x, int y);

void gf_resetParametersToDefaults(); // in memory; for tests

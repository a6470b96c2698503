#pragma once
// What a person or a test tells the stand-in: single lines ("pause", "fail title A320"), and scripts of such lines
// with the second at which each is due.

#include "simulator/session.h"

#include <string>
#include <string_view>
#include <vector>

namespace rig {

// Carries one line out. Throws std::runtime_error, with the line in its text, when it makes no sense.
void tellSimulator(SimHub& hub, std::string_view line);

extern const char* const simulatorVerbs; // the list for --help

struct Script {
    struct Line {
        double due; // seconds since the start
        std::string text;
    };
    std::vector<Line> lines; // by time
    std::size_t next = 0;
};

// One line each: seconds, then the verb. Blank lines and those that begin with # are left out. Throws
// std::runtime_error with the line's number; a verb that makes no sense shows only when it is due.
Script parseScript(const std::string& text);

// Carries out what is due by the hub's time; a bad line is noted in the journal and passed over.
void runScript(Script& script, SimHub& hub);

// "lat,lon,alt,heading,ground|air[,speed]" into the user's place; throws std::runtime_error.
void parseUserPlace(std::string_view text, WorldSettings& settings);

} // namespace rig

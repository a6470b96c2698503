#pragma once
// Recordings of the feed: text files, plain or .gz, one feed line per line. Also the few things that everybody who
// plays a line does with its fields.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

struct TimedLine {
    double time = 0;  // seconds since 1970, from field 14
    std::string line; // without its line end
};

// In the order of the file. A line without a readable time keeps its place with the time of the line before it (of
// the first readable one, at the start); empty lines are left out. Throws std::runtime_error with one clear line
// for a file that cannot be read, is no proper gzip, or holds no line with a time.
std::vector<TimedLine> loadRecording(const std::filesystem::path& path);

bool lineTime(std::string_view line, double& time); // of field 14
std::string lineWithTime(std::string_view line,
                         double time); // field 14 replaced; without one, the line as it is
void shiftTimes(std::vector<TimedLine>& lines, double seconds);

} // namespace rig

// Reads recordings of the feed, plain or gzip.

#include "recording.h"

#include "files.h"
#include "platform/files.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace rig {

constexpr int timeField = 14;
constexpr std::size_t longestLine = 65536; // bytes; a file with longer ones is no recording

// Where field 14 begins and ends; false for a line that has none.
static bool findTimeField(std::string_view line, std::size_t& begin, std::size_t& end) {
    begin = 0;
    for (int field = 0; field < timeField; ++field) {
        begin = line.find(',', begin);
        if (begin == std::string_view::npos) return false;
        ++begin;
    }
    end = std::min(line.find(',', begin), line.size());
    return true;
}

bool lineTime(std::string_view line, double& time) {
    std::size_t begin = 0, end = 0;
    if (!findTimeField(line, begin, end)) return false;
    double value = 0;
    if (std::from_chars(line.data() + begin, line.data() + end, value).ec != std::errc()) return false;
    if (!std::isfinite(value)) return false;
    time = value;
    return true;
}

std::string lineWithTime(std::string_view line, double time) {
    std::size_t begin = 0, end = 0;
    std::string result(line);
    if (!findTimeField(line, begin, end)) return result;
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%lld.%d", static_cast<long long>(std::floor(time)),
                                     static_cast<int>((time - std::floor(time)) * 10));
    result.replace(begin, end - begin, text, static_cast<std::size_t>(length));
    return result;
}

void shiftTimes(std::vector<TimedLine>& lines, double seconds) {
    for (TimedLine& entry : lines) {
        double own = 0;
        if (lineTime(entry.line, own)) entry.line = lineWithTime(entry.line, own + seconds);
        entry.time += seconds;
    }
}

// Calls `take` for each line of the file.
template <class Take> static void readLines(const std::filesystem::path& path, Take take) {
    std::string pending;
    readPlainOrGzip(path, [&](std::string_view block) {
        pending.append(block);
        std::size_t begin = 0;
        for (std::size_t end; (end = pending.find('\n', begin)) != std::string::npos; begin = end + 1)
            take(std::string_view(pending).substr(begin, end - begin));
        pending.erase(0, begin);
        if (pending.size() > longestLine)
            throw std::runtime_error("the recording \"" + plat::pathText(path) + "\" has no line ends");
    });
    take(pending);
}

std::vector<TimedLine> loadRecording(const std::filesystem::path& path) {
    std::vector<TimedLine> lines;
    double time = 0;
    std::size_t untimed = 0; // lines before the first readable time
    bool timed = false;
    readLines(path, [&](std::string_view line) {
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty()) return;
        if (lineTime(line, time))
            timed = true;
        else if (!timed)
            ++untimed;
        lines.push_back({time, std::string(line)});
    });
    if (!timed) throw std::runtime_error("the recording \"" + plat::pathText(path) + "\" holds no feed line");
    for (std::size_t i = 0; i < untimed; ++i) lines[i].time = lines[untimed].time;
    return lines;
}

} // namespace rig

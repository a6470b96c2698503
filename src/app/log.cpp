// The log file, the message line and the error line. The texts are kept here; the window paints them. No lock is
// held across a window call; messageLock is taken before logLock, never after it.

#include "app/log.h"

#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/version.h"
#include "platform/clock.h"
#include "platform/files.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <fstream>
#include <stdexcept>
#include <system_error>

static Lock logLock; // one line at a time; each is flushed, so that a crash loses none
static std::ofstream logStream GUARDED_BY(logLock); // closed: every line is swallowed

static Lock messageLock;
static std::string messageText GUARDED_BY(messageLock);         // empty: none is on show
static std::int32_t messageShownAt GUARDED_BY(messageLock) = 0; // messageAge when shown, at least 1; 0: none
static std::string errorText GUARDED_BY(messageLock);           // while it is not empty no message is shown

static void writeLine(std::string_view prefix, std::string_view text) {
    const LockGuard hold(logLock);
    logStream.clear(); // a write that failed, on a full disk say, must not silence those after it
    logStream << prefix << text << '\n' << std::flush;
}

void gf_logRaw(std::string_view text) { writeLine("", text); }

void gf_logLine(std::string_view text) {
    if (!gf_stopping()) writeLine("", text);
}

void gf_logAlert(std::string_view text) { writeLine("===> ", text); }

void gf_openLog() {
    gf_rotateFile(folders.log);
    {
        const LockGuard hold(logLock);
        if (logStream.is_open()) logStream.close();
        logStream.clear();
        logStream.open(folders.log, std::ios::binary); // line ends are the same on every system
        if (!logStream.is_open()) {
            logStream.clear();
            throw std::runtime_error("Failed to write file " + plat::pathText(folders.log));
        }
    }
    gf_logRaw(fmt::format("{} (utc) {} version {} for {}", gf_timeText(plat::utcSeconds()), programName,
                          gf_versionText(gf_programVersion()), "MSFS 2020/2024"));
}

void gf_closeLog() {
    gf_logRaw(gf_timeText(plat::utcSeconds()));
    const LockGuard hold(logLock);
    logStream.close();
}

void gf_rotateFile(const std::filesystem::path& path) {
    const std::filesystem::path name = path.filename();
    const auto& native = name.native();
    const auto dot = native.find_last_of('.');
    if (dot == native.npos) return;
    const auto withZeros = [&](std::size_t count) {
        auto text = native;
        text.insert(dot, count, '0');
        return path.parent_path() / text;
    };
    const auto move = [](const std::filesystem::path& from, const std::filesystem::path& to) {
        if (!std::filesystem::exists(from)) return;
        if (const std::error_code error = plat::moveFile(from, to))
            throw std::filesystem::filesystem_error("cannot rename", from, to, error);
    };
    move(withZeros(1), withZeros(2));
    move(path, withZeros(1));
}

void gf_showMessage(const std::string& text, bool alsoLog) {
    {
        const LockGuard hold(messageLock);
        if (!errorText.empty()) return;
        messageText = text;
        messageShownAt = text.empty() ? 0 : std::max<std::int32_t>(app.messageAge, 1);
        if (alsoLog && !text.empty()) gf_logLine(text);
    }
    gf_repaint(Band::message);
}

void gf_showError(const std::string& text) {
    {
        const LockGuard hold(messageLock);
        messageText.clear();
        messageShownAt = 0;
        errorText = text;
        gf_logLine(fmt::format("Error {}", text));
    }
    gf_repaint(Band::message);
}

void gf_clearMessage() { gf_showMessage("", false); }

void gf_clearError() {
    {
        const LockGuard hold(messageLock);
        errorText.clear();
    }
    gf_repaint(Band::message);
}

void gf_expireMessage() {
    constexpr std::int32_t lifeSeconds = 25;
    {
        const LockGuard hold(messageLock);
        if (messageText.empty() || app.messageAge - messageShownAt < lifeSeconds) return;
        messageText.clear();
        messageShownAt = 0;
    }
    gf_repaint(Band::message);
}

std::string gf_shownMessage() {
    const LockGuard hold(messageLock);
    return messageText;
}

std::string gf_shownError() {
    const LockGuard hold(messageLock);
    return errorText;
}

std::string gf_headline(int width, int extra, bool newlineBefore, bool newlineAfter, std::string_view text) {
    const int total = std::max(width + extra, 0);
    const std::size_t full = static_cast<std::size_t>(total + total % 2);
    std::string line;
    if (text.empty())
        line.assign(full, '*');
    else if (text.size() + 2 < full)
        line = fmt::format("{0} {1} {0}", std::string(full / 2 - 1, '*'), text);
    else
        line = text;
    return (newlineBefore ? "\n" : "") + line + (newlineAfter ? "\n" : "");
}

namespace {
struct ClockParts {
    int hours, minutes, seconds;
};
ClockParts clockParts(std::chrono::seconds ofDay) {
    const auto s = static_cast<int>(ofDay.count());
    return {s / 3600, s / 60 % 60, s % 60};
}
} // namespace

std::string gf_timeText(std::int64_t utcSeconds) {
    static constexpr const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Okt", "Nov", "Dec"};
    const std::chrono::sys_seconds moment{std::chrono::seconds(utcSeconds)};
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(day);
    const auto [hours, minutes, seconds] = clockParts(moment - day);
    const unsigned month = static_cast<unsigned>(date.month());
    return fmt::format("{:3} {:3} {:02} {:02}:{:02}:{:02} {:4}", days[std::chrono::weekday(day).c_encoding()],
                       month >= 1 && month <= 12 ? months[month - 1] : "???",
                       static_cast<unsigned>(date.day()), hours, minutes, seconds,
                       static_cast<int>(date.year()));
}

std::string gf_shortTimeText() {
    const std::chrono::seconds now{plat::utcSeconds()};
    const auto [hours, minutes, seconds] = clockParts(now - std::chrono::floor<std::chrono::days>(now));
    return fmt::format("{:02}:{:02}:{:02}", hours, minutes, seconds);
}

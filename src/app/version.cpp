// Versions: parsing, text form, and the one compiled in. Pure but for the log line of a bad text; any thread.

#include "app/version.h"

#include "app/log.h"
#include "app/textfiles.h"

#include <fmt/format.h>
#include <stdexcept>

// Three numbers of 32 bits and two separators need 32 characters; a longer text is no version.
static constexpr std::size_t longestVersionText = 64;

static std::size_t countDigits(std::string_view text) {
    const auto end = text.find_first_not_of("0123456789");
    return end == text.npos ? text.size() : end;
}

static bool startsWithSeparator(std::string_view text) {
    return !text.empty() && text[0] != '\n' && text[0] != '\r';
}

// The numbers of a text that fits. A digit may be a separator too: the first number is then as long as it can be, and
// after it the second.
static bool splitVersion(std::string_view text, std::string_view (&numbers)[3]) {
    for (std::size_t first = countDigits(text); first >= 1; --first) {
        if (!startsWithSeparator(text.substr(first))) continue;
        const std::string_view behindFirst = text.substr(first + 1);
        for (std::size_t second = countDigits(behindFirst); second >= 1; --second) {
            if (!startsWithSeparator(behindFirst.substr(second))) continue;
            const std::string_view third = behindFirst.substr(second + 1);
            if (third.empty() || countDigits(third) != third.size()) continue;
            numbers[0] = text.substr(0, first);
            numbers[1] = behindFirst.substr(0, second);
            numbers[2] = third;
            return true;
        }
    }
    return false;
}

VersionData gf_parseVersion(std::string_view text) {
    std::string_view numbers[3];
    VersionData result;
    if (text.size() > longestVersionText || !splitVersion(text, numbers) ||
        !gf_parseInt(numbers[0], result.major) || !gf_parseInt(numbers[1], result.minor) ||
        !gf_parseInt(numbers[2], result.patch))
        throw std::runtime_error("parse error in version string");
    return result;
}

VersionData::VersionData(std::string_view text) {
    if (text.empty()) return;
    try {
        *this = gf_parseVersion(text);
    } catch (const std::runtime_error& e) {
        gf_logLine(fmt::format("{} exception: {}", "VersionData", e.what()));
    }
}

std::string gf_versionText(const VersionData& version) {
    return fmt::format("{}.{}.{}", version.major, version.minor, version.patch);
}

VersionData gf_programVersion() {
    return {VELLORAY_VERSION_MAJOR, VELLORAY_VERSION_MINOR, VELLORAY_VERSION_PATCH};
}

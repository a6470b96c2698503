// Versions: parsing, text form, and the one compiled in. Pure but for the log line of a bad text; any thread.

#include "app/version.h"

#include "app/log.h"
#include "app/textfiles.h"

#include <fmt/format.h>
#include <regex>
#include <stdexcept>

// Three numbers of 32 bits and two separators need 32 characters; a longer text is no version, and the expression
// would recurse once per character of it.
static constexpr std::size_t longestVersionText = 64;

VersionData gf_parseVersion(std::string_view text) {
    static const std::regex form("(\\d+).(\\d+).(\\d+)");
    std::cmatch match;
    VersionData result;
    if (text.size() > longestVersionText ||
        !std::regex_match(text.data(), text.data() + text.size(), match, form) ||
        !gf_parseInt(match[1].str(), result.major) || !gf_parseInt(match[2].str(), result.minor) ||
        !gf_parseInt(match[3].str(), result.patch))
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

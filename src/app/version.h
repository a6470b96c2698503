#pragma once
// Versions: "major.minor.patch".

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

struct VersionData {
    std::int32_t major = 0, minor = 0, patch = 0;

    VersionData() = default;
    VersionData(std::int32_t a, std::int32_t b, std::int32_t c) : major(a), minor(b), patch(c) {}
    // An empty text gives 0.0.0; one that does not fit is logged and gives 0.0.0.
    explicit VersionData(std::string_view text);
    auto operator<=>(const VersionData&) const = default;
};

// The whole text must be three numbers with any one character between them. Throws std::runtime_error with
// "parse error in version string" otherwise; a number beyond 32 bits counts as no match.
VersionData gf_parseVersion(std::string_view text);
std::string gf_versionText(const VersionData& version); // "{}.{}.{}"
VersionData gf_programVersion();                        // compiled in

// The search for a scenery's publisher: names in the path of the file, then those in the package's manifest.json.

#include "airportscan/publishers.h"

#include "app/textfiles.h"
#include "liveries/refdata.h"
#include "platform/files.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace fs = std::filesystem;

// ---- the manifest --------------------------------------------------------------------------------------------------

// Exactly this name, on systems that would open another spelling too. An empty path when there is none.
static fs::path lf_findManifest(const fs::path& folder) {
    static const fs::path name = "manifest.json";
    std::error_code failed;
    if (!fs::is_regular_file(folder / name, failed)) return {};
    const auto entries = plat::readFolder(folder, failed);
    if (failed) throw fs::filesystem_error("directory_iterator::directory_iterator", folder, failed);
    const bool there = std::any_of(entries.begin(), entries.end(), [](const plat::FolderEntry& entry) {
        return entry.isFile && entry.name == name;
    });
    return there ? folder / name : fs::path();
}

std::optional<ManifestInfo> lf_parseManifest(const std::string& text) {
    const auto json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object()) return std::nullopt;
    const auto textOf = [&](const char* key) {
        const auto found = json.find(key);
        return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
    };
    return ManifestInfo{textOf("manufacturer"), textOf("creator"), textOf("title")};
}

static std::optional<ManifestInfo> lf_parseManifestFile(const fs::path& path,
                                                        std::vector<std::string>& lines) {
    constexpr std::uintmax_t longest = 1024 * 1024; // bytes; release notes are long, but not so long
    lines.push_back(plat::pathText(path) + " found");
    std::error_code failed;
    const auto size = fs::file_size(path, failed);
    if (failed || size > longest) return std::nullopt;
    std::string text;
    for (const std::string& line : gf_readLines(path).value_or(std::vector<std::string>())) text += line;
    return lf_parseManifest(text);
}

// The package's folder below Community; "" for a file that lies in none.
static std::string lf_packageFolder(const std::string& bglPath) {
    constexpr std::string_view community = "Community";
    constexpr char separator = static_cast<char>(fs::path::preferred_separator);
    const auto at = bglPath.find(community);
    if (at == bglPath.npos) return {};
    const auto before = bglPath.find(separator, at + community.size());
    const auto behind = before == bglPath.npos ? bglPath.npos : bglPath.find(separator, before + 1);
    return behind == bglPath.npos ? std::string() : bglPath.substr(0, behind);
}

std::optional<ManifestInfo> lf_readManifest(const std::string& bglPath, std::vector<std::string>& lines) {
    if (const std::string package = lf_packageFolder(bglPath); !package.empty())
        if (const fs::path manifest = lf_findManifest(plat::textPath(package)); !manifest.empty())
            return lf_parseManifestFile(manifest, lines); // a broken one counts as none
    fs::path folder;
    for (const fs::path& part : plat::textPath(bglPath).parent_path()) {
        folder /= part;
        const fs::path manifest = lf_findManifest(folder);
        if (manifest.empty()) continue;
        if (auto info = lf_parseManifestFile(manifest, lines)) return info;
    }
    return std::nullopt;
}

// ---- the publisher -------------------------------------------------------------------------------------------------

static bool lf_isOwnAirport(const std::string& path) {
    std::string lower = path;
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower.find("microsoft-airport") != lower.npos || lower.find("asobo-airport") != lower.npos;
}

PublisherResult gf_identifyPublisher(const std::string& bglPath, std::vector<std::string>& lines) {
    PublisherResult result;
    const auto known = [&](const std::string& text) {
        result.publisher = gf_publisherOf(text);
        return result.publisher != "unknown";
    };
    lines.push_back("\nTry find publisher in: " + bglPath);
    if (lf_isOwnAirport(bglPath)) {
        result.publisher = "simaddon";
        lines.push_back("from filename => publisher " + result.publisher);
        return result;
    }
    if (known(bglPath)) {
        lines.push_back(fmt::format("publisher \"{}\" found", result.publisher));
        return result;
    }
    const auto manifest = lf_readManifest(bglPath, lines);
    if (!manifest) {
        lines.push_back("===> No publisher found");
        return result;
    }
    result.manifest = *manifest;
    const auto& [manufacturer, creator, title] = *manifest;
    if (!manufacturer.empty() && known(manufacturer))
        lines.push_back(fmt::format("from manifest.json: manufacturer \"{}\" => publisher \"{}\"",
                                    manufacturer, result.publisher));
    else if (!creator.empty() && known(creator))
        lines.push_back(
            fmt::format("from manifest.json creator \"{}\" => publisher \"{}\"", creator, result.publisher));
    else
        lines.push_back(fmt::format("no valid info found in manifest about publisher, manufacturer:\"{}\", "
                                    "creator:\"{}\" {}",
                                    manufacturer, creator, bglPath));
    return result;
}

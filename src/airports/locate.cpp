// Where the file of an airport lies: in the user's folders, behind a link file, or on the download server. What the
// server has not got is remembered for the run. Any thread, never in a Tick: it may wait for the server.

#include "airports/reading.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "platform/files.h"
#include "updates/updates.h"

#include <algorithm>
#include <fmt/format.h>
#include <system_error>
#include <unordered_set>

static Lock missingLock;
static std::unordered_set<std::string> missingOnServer GUARDED_BY(missingLock); // codes

static constexpr std::uintmax_t longestLink = 64 * 1024; // bytes; a link is one line

void lf_forgetMissingFiles() {
    const LockGuard hold(missingLock);
    missingOnServer.clear();
}

static bool lf_contains(std::string_view text, std::string_view part) { return text.find(part) != text.npos; }

bool lf_isLocalPath(std::string_view path) { return path.starts_with("airports"); }

// ---- local files and links --------------------------------------------------------------------------------------

bool lf_exists(const std::filesystem::path& path) {
    std::error_code error;
    const bool there = std::filesystem::exists(path, error);
    if (error) throw std::filesystem::filesystem_error("exists", path, error);
    return there;
}

std::string lf_linkTarget(std::string_view line) {
    return std::string(line.substr(0, line.find_last_of('l') + 1)); // without one nothing is left
}

static std::string lf_readLink(const std::filesystem::path& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error || size > longestLink) return {};
    const auto lines = gf_readLines(path);
    return lines && !lines->empty() ? lf_linkTarget(lines->front()) : std::string();
}

// ---- the server -------------------------------------------------------------------------------------------------

static std::string lf_serverUrl(const std::string& path) {
    return gf_simFolderUrl(lf_contains(path, "simaddon") || lf_contains(path, "stock")) + path;
}

static std::string lf_fetchFailure(const std::string& url) {
    return fmt::format("failed to download: \"{}\"", url);
}

std::string lf_fetch(const std::string& path, const std::filesystem::path& target) {
    const std::string url = lf_serverUrl(path);
    return gf_fetchFile(url, target) == Fetched::yes ? std::string() : lf_fetchFailure(url);
}

static Located lf_askServer(const std::string& code) {
    const std::string name = code + ".xml", path = "archive/stock/" + name;
    {
        const LockGuard hold(missingLock);
        if (missingOnServer.contains(code)) return {};
    }
    const std::filesystem::path scratch = plat::textPath(name);
    const std::string url = lf_serverUrl(path);
    const Fetched fetched = gf_fetchFile(url, scratch);
    if (fetched == Fetched::yes) {
        std::error_code ignored;
        std::filesystem::remove(scratch, ignored);
        return {path, {}};
    }
    if (fetched == Fetched::notThere) { // a transfer that failed says nothing about the file
        const LockGuard hold(missingLock);
        missingOnServer.insert(code);
    }
    return {"", {lf_fetchFailure(url)}};
}

// ---- in order ---------------------------------------------------------------------------------------------------

Located lf_locate(const std::string& code) {
    if (code.empty()) return {};
    for (const auto* folder : {&folders.myThirdparty, &folders.mySimaddon}) {
        const auto link = *folder / plat::textPath(code + ".txt"),
                   file = *folder / plat::textPath(code + ".xml");
        if (lf_exists(link))
            if (std::string target = lf_readLink(link); !target.empty()) return {target, {}};
        if (lf_exists(file)) return {plat::pathText(file), {}};
    }
    return lf_askServer(code);
}

std::string gf_locateAirportFile(const std::string& code) {
    const Located found = lf_locate(code);
    for (const std::string& text : found.texts) gf_logLine(text);
    return found.path;
}

// ---- learned files ----------------------------------------------------------------------------------------------

std::string lf_publisherFolder(std::string_view publisher) {
    std::string name(publisher);
    for (char& c : name)
        if (std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos ||
            static_cast<unsigned char>(c) < ' ')
            c = '_';
    if (name.find_first_not_of(". ") == name.npos) std::fill(name.begin(), name.end(), '_'); // ".." above all
    return name;
}

bool lf_isLearnedPath(const std::filesystem::path& path) {
    const auto whole = path.lexically_normal(), root = folders.learned.lexically_normal();
    const auto parts = std::mismatch(root.begin(), root.end(), whole.begin(), whole.end());
    return parts.first == root.end() && parts.second != whole.end();
}

static std::string lf_replaced(std::string text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

static void lf_replaceFirst(std::string& text, std::string_view from, std::string_view to) {
    if (const auto at = text.find(from); at != text.npos) text.replace(at, from.size(), to);
}

std::string gf_learnedPath(const std::string& path, const std::string& publisher) {
    constexpr char separator = static_cast<char>(std::filesystem::path::preferred_separator);
    if (path.empty()) return {};
    const std::string learned = plat::pathText(folders.learned);
    std::string result = path;
    if (lf_contains(path, "archive")) {
        lf_replaceFirst(result, "archive", learned);
        std::replace(result.begin(), result.end(), '/', separator);
        return lf_replaced(std::move(result), "%20", " ");
    }
    if (!lf_isLocalPath(path)) return result;
    lf_replaceFirst(result, "airports", learned);
    const std::string folder = fmt::format("thirdparty{}{}", separator, lf_publisherFolder(publisher));
    if (lf_contains(result, "my_thirdparty2024"))
        lf_replaceFirst(result, "my_thirdparty2024", folder);
    else
        lf_replaceFirst(result, "my_thirdparty", folder);
    lf_replaceFirst(result, "my_simaddon", "simaddon");
    return result;
}

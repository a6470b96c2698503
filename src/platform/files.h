#pragma once
// File operations that the standard library lacks.

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace plat {

// Writes text beside path, flushes it to the disk and renames it over path: after a crash or with a full disk the
// old content is still there, whole. False, with nothing changed, when any step fails. Never call it in a Tick.
bool replaceFile(const std::filesystem::path& path, std::string_view text);

// Renames a file over what is there under the new name. Where another program, a virus scanner say, holds one of the two
// for a moment, that is waited for, at most half a second. Never call it in a Tick.
std::error_code moveFile(const std::filesystem::path& from, const std::filesystem::path& to);

// The file:// address of a path: blanks, letters beyond ASCII and drive letters percent-encoded or kept as a
// transfer library wants them.
std::string fileUrl(const std::filesystem::path& path);

// UTF-8, with native separators. What cannot be converted is replaced, never refused.
std::string pathText(const std::filesystem::path& path);
std::filesystem::path textPath(std::string_view utf8);

// What a folder holds, in no order, without asking for each entry anew. The parent's own names are left out. When the
// folder cannot be read to its end `failed` says why, and what was read until then is the result.
struct FolderEntry {
    std::filesystem::path name;
    bool isFolder = false; // or a link to one
    bool isFile = false;   // or a link to one; a device is neither
    bool isLink = false;
};
std::vector<FolderEntry> readFolder(const std::filesystem::path& folder, std::error_code& failed);

// The absolute path behind all links; empty, with the reason in `failed`, when there is nothing.
std::filesystem::path realPath(const std::filesystem::path& path, std::error_code& failed);

} // namespace plat

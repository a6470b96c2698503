#pragma once
// File operations that the standard library lacks.

#include <filesystem>
#include <string>
#include <string_view>

namespace plat {

// Writes text beside path, flushes it to the disk and renames it over path: after a crash or with a full disk the
// old content is still there, whole. False, with nothing changed, when any step fails. Never call it in a Tick.
bool replaceFile(const std::filesystem::path& path, std::string_view text);

// The file:// address of a path: blanks, letters beyond ASCII and drive letters percent-encoded or kept as a
// transfer library wants them.
std::string fileUrl(const std::filesystem::path& path);

// UTF-8, with native separators. What cannot be converted is replaced, never refused.
std::string pathText(const std::filesystem::path& path);
std::filesystem::path textPath(std::string_view utf8);

} // namespace plat

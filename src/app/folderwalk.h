#pragma once
// A walk through a folder tree, the same on every system: the entries of a folder come sorted by the bytes of their
// names, files and folders mixed. Links to folders are followed, but not to where the walk is or has been. It ends early
// when a stop is requested. What cannot be read is told and passed over.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>

struct FolderWalk {
    std::function<bool(const std::string& name)> wanted; // a file's name
    std::function<bool(const std::string& name, const std::filesystem::path& path)>
        enters; // a folder below the start
    std::function<void(std::filesystem::path path)> file;
    std::function<void(const std::filesystem::path& folder, const std::error_code& error)> unreadable;
    std::function<void(const std::string& line)> tell; // of a link that is not followed
};

void gf_walkFolder(const std::filesystem::path& start, const FolderWalk& walk);

std::size_t gf_characterCount(std::string_view utf8); // not bytes

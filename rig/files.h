#pragma once
// Files of the rig: scratch folders, and tables and recordings that may be packed.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace rig {

// The folder of the project that this was built from: install/, tables and test data lie in it.
std::filesystem::path sourceFolder();

// Recordings and tables of others: beside the project, or where the environment's VELLORAY_SHARED says. It may be missing.
std::filesystem::path sharedFolder();

// A new and empty folder below the system's temporary one; its name begins with `name`.
std::filesystem::path makeScratchFolder(const std::string& name);

// The bytes of a file in order, plain or unpacked when it is a gzip file. Throws std::runtime_error with a text that
// names the file when it cannot be read to its end.
void readPlainOrGzip(const std::filesystem::path& path, const std::function<void(std::string_view)>& take);

} // namespace rig

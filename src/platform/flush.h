#pragma once
// Many files at once onto the disk: what replaceFile does for a single one costs a wait for each.

#include <filesystem>

namespace plat {

// What was written into the files of this folder, those of its folders left aside, is on the disk when this returns, as
// far as the system lets that be known. Never call it in a Tick.
void flushFilesOf(const std::filesystem::path& folder);

} // namespace plat

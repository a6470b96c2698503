// All that waits to be written to the folder's file system is written in one go.

#include "platform/flush.h"

#include <fcntl.h>
#include <unistd.h>

namespace plat {

void flushFilesOf(const std::filesystem::path& folder) {
    const int handle = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) return;
    syncfs(handle);
    close(handle);
}

} // namespace plat

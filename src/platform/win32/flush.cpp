// File by file: the whole of a drive is for administrators alone.

#include "platform/flush.h"

#include "platform/files.h"

#include <system_error>
#include <windows.h>

namespace plat {

void flushFilesOf(const std::filesystem::path& folder) {
    std::error_code failed;
    for (const FolderEntry& entry : readFolder(folder, failed)) {
        if (!entry.isFile) continue;
        const HANDLE file = CreateFileW((folder / entry.name).c_str(), GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE) continue;
        FlushFileBuffers(file);
        CloseHandle(file);
    }
}

} // namespace plat

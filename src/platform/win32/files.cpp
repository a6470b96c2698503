// Files on Windows: replacing one as a whole, and paths as text. Any thread; no state but a counter.

#include "platform/files.h"
#include "platform/win32/wide.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <optional>

#include <windows.h>

namespace win32 {

std::wstring wideText(std::string_view utf8) {
    const int size = static_cast<int>(std::min<std::size_t>(utf8.size(), std::numeric_limits<int>::max()));
    if (size == 0) return {};
    std::wstring result(static_cast<std::size_t>(size), L'\0'); // never more units than bytes
    result.resize(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, result.data(), size)));
    return result;
}

std::string utf8Text(std::wstring_view wide) {
    constexpr std::size_t most = std::numeric_limits<int>::max() / 3; // a unit makes at most three bytes
    const int size = static_cast<int>(std::min(wide.size(), most));
    if (size == 0) return {};
    std::string result(static_cast<std::size_t>(size) * 3, '\0');
    result.resize(static_cast<std::size_t>(WideCharToMultiByte(
        CP_UTF8, 0, wide.data(), size, result.data(), static_cast<int>(result.size()), nullptr, nullptr)));
    return result;
}

} // namespace win32

namespace plat {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longestPath = 32768; // units, that the system knows

// An open file. Its destructor closes what is still open.
class File {
  public:
    explicit File(HANDLE opened) : handle(opened) {}
    ~File() {
        if (isOpen()) CloseHandle(handle);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool isOpen() const { return handle != INVALID_HANDLE_VALUE; }
    bool write(std::string_view text) {
        constexpr std::size_t most = 1 << 30; // in one call, whose count has 32 bits
        while (!text.empty()) {
            DWORD done = 0;
            const DWORD wanted = static_cast<DWORD>(std::min(text.size(), most));
            if (!WriteFile(handle, text.data(), wanted, &done, nullptr) || done == 0) return false;
            text.remove_prefix(done);
        }
        return true;
    }
    bool flushAndClose() {
        const bool flushed = FlushFileBuffers(handle);
        const bool closed = CloseHandle(handle);
        handle = INVALID_HANDLE_VALUE;
        return flushed && closed;
    }
    std::optional<fs::path> finalPath() const {
        std::wstring buffer(longestPath, L'\0');
        const DWORD length = GetFinalPathNameByHandleW(
            handle, buffer.data(), static_cast<DWORD>(buffer.size()), FILE_NAME_NORMALIZED);
        if (length == 0 || length >= buffer.size()) return std::nullopt;
        buffer.resize(length);
        return fs::path(buffer);
    }

  private:
    HANDLE handle;
};

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Absolute, without steps up and down.
std::wstring wholePath(const fs::path& path) {
    std::wstring result(longestPath, L'\0');
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(result.size()), result.data(), nullptr);
    if (length == 0 || length >= result.size()) return path.native();
    result.resize(length);
    return result;
}

std::error_code lastSystemError() { return {static_cast<int>(GetLastError()), std::system_category()}; }

} // namespace

// A virus scanner or an indexer holds a file for a moment after each change of it.
std::error_code moveFile(const fs::path& from, const fs::path& to) {
    constexpr int attempts = 25;
    constexpr DWORD stepMs = 20;
    for (int left = attempts;;) {
        if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
            return {};
        const std::error_code error = lastSystemError();
        const auto number = static_cast<DWORD>(error.value());
        if ((number != ERROR_SHARING_VIOLATION && number != ERROR_ACCESS_DENIED) || --left == 0) return error;
        Sleep(stepMs);
    }
}

bool replaceFile(const fs::path& path, std::string_view text) {
    static std::atomic<unsigned> counter; // two threads that replace the same file write beside each other
    fs::path target = path;
    DWORD attributes = GetFileAttributesW(path.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        // The file that the link names is replaced, the link stays.
        std::error_code failed;
        target = realPath(path, failed);
        if (failed) return false;
        attributes = GetFileAttributesW(target.c_str());
    }
    if (exists && (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY))) return false;
    fs::path beside = target;
    beside += L".new" + std::to_wstring(counter++);

    File out(CreateFileW(beside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                         nullptr));
    if (!out.isOpen()) return false;
    // What the user has set on the file, hiding it say, stays with its name.
    constexpr DWORD kept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    const bool written = out.write(text) && out.flushAndClose();
    if (written && exists && (attributes & kept)) SetFileAttributesW(beside.c_str(), attributes & kept);
    if (written && !moveFile(beside, target)) return true;
    if (out.isOpen()) out.flushAndClose();
    DeleteFileW(beside.c_str());
    return false;
}

std::string fileUrl(const fs::path& path) {
    constexpr std::string_view kept = "-._~/";
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text = win32::utf8Text(wholePath(path));
    std::replace(text.begin(), text.end(), '\\', '/');
    std::string url = "file://";
    if (!text.starts_with('/')) url += '/'; // before a drive letter; a share has slashes of its own
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        const bool ofDrive = c == ':' && i == 1;
        if (plain || ofDrive || kept.find(c) != kept.npos) {
            url += c;
        } else {
            url += '%';
            url += digits[byte >> 4];
            url += digits[byte & 15];
        }
    }
    return url;
}

std::vector<FolderEntry> readFolder(const fs::path& folder, std::error_code& failed) {
    failed.clear();
    std::vector<FolderEntry> entries;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileExW((folder / L"*").c_str(), FindExInfoBasic, &found,
                                           FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE) {
        // An empty drive has no file; a folder that is missing has no path.
        if (GetLastError() != ERROR_FILE_NOT_FOUND) failed = lastSystemError();
        return entries;
    }
    do {
        const std::wstring_view name = found.cFileName;
        if (name == L"." || name == L"..") continue;
        const DWORD attributes = found.dwFileAttributes;
        FolderEntry entry{fs::path(name)};
        entry.isFolder = attributes & FILE_ATTRIBUTE_DIRECTORY;
        entry.isFile = !(attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE));
        // Other reparse points are files and folders that a service keeps elsewhere.
        entry.isLink =
            (attributes & FILE_ATTRIBUTE_REPARSE_POINT) &&
            (found.dwReserved0 == IO_REPARSE_TAG_SYMLINK || found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
        entries.push_back(std::move(entry));
    } while (FindNextFileW(search, &found));
    if (GetLastError() != ERROR_NO_MORE_FILES) failed = lastSystemError();
    FindClose(search);
    return entries;
}

fs::path realPath(const fs::path& path, std::error_code& failed) {
    failed.clear();
    // The flag lets a folder be opened.
    const File file(
        CreateFileW(path.c_str(), 0, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (const auto found = file.isOpen() ? file.finalPath() : std::nullopt) return *found;
    failed = lastSystemError();
    return {};
}

std::string pathText(const fs::path& path) {
    std::wstring text = path.native();
    std::replace(text.begin(), text.end(), L'/', L'\\');
    return win32::utf8Text(text);
}

fs::path textPath(std::string_view utf8) { return fs::path(win32::wideText(utf8)); }

} // namespace plat

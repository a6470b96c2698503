// Files on Linux: replacing one as a whole, and paths as text. Any thread; no state but a counter.

#include "platform/files.h"

#include <atomic>
#include <cerrno>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace plat {

namespace fs = std::filesystem;

namespace {

// A file open for writing. Its destructor closes what is still open.
class OutFile {
  public:
    explicit OutFile(const fs::path& path)
        : file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666)) {}
    ~OutFile() {
        if (file >= 0) close(file);
    }
    OutFile(const OutFile&) = delete;
    OutFile& operator=(const OutFile&) = delete;

    bool isOpen() const { return file >= 0; }
    bool write(std::string_view text) {
        while (!text.empty()) {
            const ssize_t done = ::write(file, text.data(), text.size());
            if (done < 0 && errno == EINTR) continue;
            if (done <= 0) return false;
            text.remove_prefix(static_cast<std::size_t>(done));
        }
        return true;
    }
    bool takeModeOf(const fs::path& other) {
        struct stat found {};
        return stat(other.c_str(), &found) != 0 || fchmod(file, found.st_mode & 07777) == 0;
    }
    bool flushAndClose() {
        const bool flushed = fsync(file) == 0;
        const bool closed = close(file) == 0; // some file systems report a full disk only here
        file = -1;
        return flushed && closed;
    }

  private:
    int file;
};

// The rename is on the disk once its folder is. It has already taken place, so a failure changes no result.
void flushFolder(const fs::path& folder) {
    const int handle = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) return;
    fsync(handle);
    close(handle);
}

} // namespace

bool replaceFile(const fs::path& path, std::string_view text) {
    static std::atomic<unsigned> counter; // two threads that replace the same file write beside each other
    std::error_code failed;
    fs::path target = path;
    if (fs::is_symlink(path, failed)) { // the file that the link names is replaced, the link stays
        target = fs::canonical(path, failed);
        if (failed) return false;
    }
    if (fs::exists(target, failed) && !fs::is_regular_file(target, failed)) return false;
    fs::path beside = target;
    beside += ".new" + std::to_string(counter++);

    OutFile out(beside);
    if (!out.isOpen()) return false;
    const bool done = out.write(text) && out.takeModeOf(target) && out.flushAndClose() &&
                      rename(beside.c_str(), target.c_str()) == 0;
    if (!done) {
        unlink(beside.c_str());
        return false;
    }
    flushFolder(target.has_parent_path() ? target.parent_path() : fs::path("."));
    return true;
}

std::error_code moveFile(const fs::path& from, const fs::path& to) {
    std::error_code failed;
    fs::rename(from, to, failed);
    return failed;
}

std::string fileUrl(const fs::path& path) {
    constexpr std::string_view kept = "-._~/";
    constexpr char digits[] = "0123456789ABCDEF";
    std::error_code failed;
    const fs::path whole = fs::absolute(path, failed).lexically_normal();
    std::string url = "file://";
    for (const char c : whole.native()) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (plain || kept.find(c) != kept.npos) {
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
    std::vector<FolderEntry> entries;
    fs::directory_iterator place(folder, failed);
    for (; !failed && place != fs::directory_iterator(); place.increment(failed)) {
        std::error_code gone; // since the folder was read
        FolderEntry entry{place->path().filename()};
        entry.isFolder = place->is_directory(gone);
        entry.isFile = !entry.isFolder && place->is_regular_file(gone);
        entry.isLink = place->is_symlink(gone);
        entries.push_back(std::move(entry));
    }
    return entries;
}

fs::path realPath(const fs::path& path, std::error_code& failed) { return fs::canonical(path, failed); }

std::string pathText(const fs::path& path) { return path.native(); }

fs::path textPath(std::string_view utf8) { return fs::path(utf8); }

} // namespace plat

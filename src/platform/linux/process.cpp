// The process on Linux: one instance per user by a locked file, the folders of the desktop's convention, and the
// requests to end that come as signals. Called by the thread that starts the process, releaseFreeMemory by any.

#include "platform/process.h"
#include "platform/clock.h"
#include "platform/files.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <malloc.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace plat {

namespace fs = std::filesystem;

// ---- one instance ----------------------------------------------------------------------------------------------

struct InstanceGuard::Inside {
    int file = -1;
    ~Inside() {
        if (file >= 0) close(file); // the lock goes with it; the file stays, since removing it would race
    }
};

// A file that only this user can have made, open for locking; -1 when the folder does not allow it.
static int lf_openLockFile(const fs::path& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) return -1;
    struct stat found {};
    if (fstat(file, &found) == 0 && found.st_uid == getuid() && S_ISREG(found.st_mode)) return file;
    close(file);
    return -1;
}

// Where the lock file may lie, best first. The folder for run-time files is the user's own and is emptied at
// log-out; the temporary one is shared, hence the user's number in the name.
static std::vector<fs::path> lf_lockPlaces(const std::string& name) {
    std::string plain;
    for (const char c : name)
        if (std::isalnum(static_cast<unsigned char>(c))) plain += c;
    const std::string own = plain + "-" + std::to_string(getuid()) + ".lock";

    std::vector<fs::path> places;
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime == '/')
        places.push_back(fs::path(runtime) / own);
    std::error_code failed;
    if (const fs::path temporary = fs::temp_directory_path(failed); !failed)
        places.push_back(temporary / own);
    if (const fs::path data = localDataFolder(); !data.empty()) {
        fs::create_directories(data, failed);
        places.push_back(data / own);
    }
    return places;
}

InstanceGuard::InstanceGuard(const std::string& name) : inside(std::make_unique<Inside>()) {
    for (const fs::path& place : lf_lockPlaces(name)) {
        inside->file = lf_openLockFile(place);
        if (inside->file < 0) continue;
        other = flock(inside->file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        return;
    }
    // No place at all: a second instance cannot be seen, and this one is not kept from running.
}

InstanceGuard::~InstanceGuard() = default;

// ---- folders ---------------------------------------------------------------------------------------------------

static fs::path replacedHome; // empty: the user's own folders

void setUserFolders(const fs::path& home) { replacedHome = home; }

fs::path homeFolder() {
    if (!replacedHome.empty()) return replacedHome;
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    std::array<char, 16384> buffer; // the size that the system's own data base asks for is far below
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return {};
    return found->pw_dir ? fs::path(found->pw_dir) : fs::path();
}

// The convention ignores a variable that holds no absolute path.
static fs::path lf_folderOf(const char* variable, const char* belowHome) {
    if (const char* set = std::getenv(variable); set && *set == '/') return set;
    const fs::path home = homeFolder();
    return home.empty() ? fs::path() : home / belowHome;
}

fs::path roamingDataFolder() {
    return replacedHome.empty() ? lf_folderOf("XDG_CONFIG_HOME", ".config") : replacedHome / "config";
}

fs::path localDataFolder() {
    return replacedHome.empty() ? lf_folderOf("XDG_DATA_HOME", ".local/share") : replacedHome / "data";
}

// ---- signals, timers, memory -----------------------------------------------------------------------------------

void onTerminationRequest(std::function<void()> handler) {
    sigset_t requests;
    sigemptyset(&requests);
    sigaddset(&requests, SIGTERM);
    sigaddset(&requests, SIGINT);
    // A terminal that closes; a process that was told to outlive its terminal has this one ignored.
    struct sigaction hangup {};
    if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN)
        sigaddset(&requests, SIGHUP);

    // Blocked in this thread and so in all that it starts: the signals wait for the thread below. Later ones stay
    // blocked, so that a second request does not cut an orderly closing short.
    pthread_sigmask(SIG_BLOCK, &requests, nullptr);
    std::thread([requests, work = std::move(handler)] {
        int number = 0;
        if (sigwait(&requests, &number) == 0) work();
    }).detach();
}

void releaseFreeMemory() { malloc_trim(0); }

std::uint64_t peakMemoryBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

// The system's timers are exact to a fraction of a millisecond without being asked.
void beginTimerResolution() {}
void endTimerResolution() {}

} // namespace plat

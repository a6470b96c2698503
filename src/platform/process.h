#pragma once
// What the program needs of the operating system around its process.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace plat {

// Held for the life of the process: at most one instance of the given name runs per user.
class InstanceGuard {
  public:
    explicit InstanceGuard(const std::string& name); // "Local\$Velloray$"
    ~InstanceGuard();
    InstanceGuard(const InstanceGuard&) = delete;
    InstanceGuard& operator=(const InstanceGuard&) = delete;
    bool alreadyRuns() const { return other; }

  private:
    bool other = false;
    struct Inside;
    std::unique_ptr<Inside> inside;
};

// The user's folders; an empty path when the system does not tell.
std::filesystem::path
roamingDataFolder(); // settings: $XDG_CONFIG_HOME or ~/.config; the shell's AppData\Roaming
std::filesystem::path localDataFolder(); // bulk data: $XDG_DATA_HOME or ~/.local/share; AppData\Local
std::filesystem::path homeFolder();

// For tests and the replay: from now on these folders are home and its "config" and "data"; an empty path brings the
// user's own back. Call it while no other thread runs.
void setUserFolders(const std::filesystem::path& home);

// Calls handler once, on a thread of its own, at the first request from outside to end (SIGTERM, SIGINT, the end
// of the session). Call it once, before any thread is started.
void onTerminationRequest(std::function<void()> handler);

void releaseFreeMemory();        // gives freed memory back to the system; not for a Tick
std::uint64_t peakMemoryBytes(); // the most that this process has used; for the replay's report

} // namespace plat

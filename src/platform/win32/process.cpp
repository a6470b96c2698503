// The process on Windows: one instance per user session by a named mutex, the shell's folders, and requests to end
// that come by way of a console. The end of the user's session comes to the window. Called by the thread that
// starts the process, releaseFreeMemory by any.

#include "platform/process.h"
#include "platform/clock.h"
#include "platform/win32/wide.h"

#include <array>
#include <atomic>
#include <thread>
#include <utility>

#include <winsock2.h>

#include <windows.h>

#include <malloc.h>
#include <mmsystem.h>
#include <psapi.h>
#include <shlobj.h>

namespace plat {

namespace fs = std::filesystem;

// ---- one instance ----------------------------------------------------------------------------------------------

struct InstanceGuard::Inside {
    HANDLE mutex = nullptr;
    ~Inside() {
        if (mutex) CloseHandle(mutex);
    }
};

InstanceGuard::InstanceGuard(const std::string& name) : inside(std::make_unique<Inside>()) {
    inside->mutex = CreateMutexW(nullptr, FALSE, win32::wideText(name).c_str());
    const DWORD error = GetLastError();
    // An instance that was started with higher rights has a mutex that this one may not even open.
    other = error == ERROR_ALREADY_EXISTS || (!inside->mutex && error == ERROR_ACCESS_DENIED);
}

InstanceGuard::~InstanceGuard() = default;

// ---- folders ---------------------------------------------------------------------------------------------------

static fs::path lf_shellFolder(int id) {
    std::array<wchar_t, MAX_PATH> buffer{};
    if (SHGetFolderPathW(nullptr, id, nullptr, SHGFP_TYPE_CURRENT, buffer.data()) != S_OK) return {};
    return buffer.data();
}

static fs::path replacedHome; // empty: the user's own folders

void setUserFolders(const fs::path& home) { replacedHome = home; }

fs::path homeFolder() { return replacedHome.empty() ? lf_shellFolder(CSIDL_PROFILE) : replacedHome; }

fs::path roamingDataFolder() {
    return replacedHome.empty() ? lf_shellFolder(CSIDL_APPDATA) : replacedHome / "config";
}

fs::path localDataFolder() {
    return replacedHome.empty() ? lf_shellFolder(CSIDL_LOCAL_APPDATA) : replacedHome / "data";
}

// ---- requests to end, timers, memory ---------------------------------------------------------------------------

static HANDLE endRequested = nullptr; // set at each request; made once, before the handler below is known

static BOOL WINAPI lf_onConsoleEvent(DWORD event) {
    SetEvent(endRequested);
    // After these the system ends the process as soon as this thread returns; it waits some seconds for it.
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

void onTerminationRequest(std::function<void()> handler) {
    endRequested = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!endRequested) return;
    std::thread([work = std::move(handler)] {
        if (WaitForSingleObject(endRequested, INFINITE) == WAIT_OBJECT_0) work();
    }).detach();
    SetConsoleCtrlHandler(nullptr,
                          FALSE); // an ignored Ctrl+C, as a script's background leaves it, counts again
    SetConsoleCtrlHandler(lf_onConsoleEvent, TRUE);
}

void releaseFreeMemory() {
    _heapmin();
    HeapCompact(GetProcessHeap(), 0);
}

std::uint64_t peakMemoryBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)
               ? counters.PeakWorkingSetSize
               : 0;
}

constexpr UINT timerMs = 1;

void beginTimerResolution() { timeBeginPeriod(timerMs); }
void endTimerResolution() { timeEndPeriod(timerMs); }

} // namespace plat

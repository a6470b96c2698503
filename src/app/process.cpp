// The process: one instance, the log, the window, the message loop, and a worker thread for each run. Thread of the
// message loop; it never waits for a run that goes on.

#include "app/app.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/runcontrol.h"
#include "app/stop.h"
#include "platform/files.h"
#include "platform/process.h"
#include "platform/window.h"
#include "window/window.h"

#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <thread>

// The worker of the present run. Joined when it has posted its last message, so that neither a next run nor the end
// of the process overtakes it.
static std::thread worker;

static void joinWorker() {
    if (worker.joinable()) worker.join();
}

static void runOnWorker(std::uint32_t runNumber) {
    gf_joinRun(runNumber);
    lf_startRun();
}

void gf_startRunThread() {
    if (appLife.windowClosed) {
        plat::postMessage(messageEndProcess);
        return;
    }
    joinWorker();
    try {
        worker = std::thread(runOnWorker, appLife.runNumber.load());
    } catch (const std::exception& e) {
        gf_fatalError(e.what());
        lf_noteClosingFailed(); // there is no worker that would end the process
    }
}

void gf_endProcess() {
    int x = 0, y = 0;
    if (plat::windowPosition(x, y)) gf_saveWindowPosition(x, y);
    gf_closeLog();
    plat::quitLoop(0);
}

static bool makeDataFolder() {
    std::error_code error;
    std::filesystem::create_directories(folders.appData, error);
    if (!error) return true;
    gf_logRaw(fmt::format("Failed to create directory: {}", plat::pathText(folders.appData)));
    return false;
}

int gf_main() {
    const plat::InstanceGuard guard("Local\\$Velloray$");
    if (guard.alreadyRuns()) return -1;
    gf_buildFolders();
    try {
        gf_openLog();
    } catch (const std::exception& e) {
        plat::tellFailure(programName, e.what());
        return 1;
    }
    if (folders.appData.empty()) gf_logRaw("Could not find the AppData path");
    plat::onTerminationRequest(gf_userClosesWindow);
    if (const char* const refused = plat::prepareWindow(); *refused) {
        gf_logRaw(refused);
        return 0;
    }
    if (!lf_createMainWindow()) {
        gf_logRaw("initInstance failed");
        return 0;
    }
    if (!makeDataFolder()) return 0;
    plat::postMessage(messageStartRun);
    const int code = plat::runLoop();
    joinWorker();
    lf_endThreads(); // a closing that failed may have left some
    return code;
}

// Sets the real program up on one thread against the simulator in this process.

#include "replay/stage.h"

#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/maincycle.h"
#include "app/parameters.h"
#include "app/runcontrol.h"
#include "engine/engine.h"
#include "feed/feed.h"
#include "files.h"
#include "fleet/fleet.h"
#include "platform/process.h"
#include "platform/random.h"
#include "simlink/simlink.h"

#include <fstream>
#include <stdexcept>
#include <string_view>

namespace rig {

namespace {

constexpr std::uint32_t flightPlanCall = 0x2D; // its path names the scratch folder

void setRange(int rangeNm) {
    AUTO_RANGE.value = rangeNm == 0;
    if (rangeNm == 0) return;
    LATERAL_RANGE.value = rangeNm;
    gf_saveParameter(AUTO_RANGE);
    gf_saveParameter(LATERAL_RANGE);
}

} // namespace

Stage::Stage(const StageOptions& wanted) : hub(wanted.world), options(wanted) {
    hub.journalOn = false;
    hub.onPacket = [this](int, const Packet& packet) { addToDigest(packet); };
    clock.setUtcSeconds(static_cast<std::int64_t>(options.startUtc));
    startNs = nextFrameNs = clock.now;
    plat::seedRandom(options.seed);
    makeProgramFolder();

    gf_buildFolders();
    gf_openLog();
    std::filesystem::create_directories(folders.appData);
    appLife.runNumber = 1;
    gf_joinRun(1);
    airportsLife.loaderByHand = true;
    gf_readParameters();
    gf_setAndSave(SCAN_LIVERIES, options.liveries.empty());
    setRange(options.rangeNm);
    lf_readSetup();
    gf_scanLiveries();
    lf_makeFlightPlanFolder();
    lf_presizeEngine();
    lf_presizeSimQueues();
    if (AUTO_RANGE) lf_autoRange();

    simconnect::setOpener([this](DWORD) { return connectInProcess(hub); });
    clock.onAdvance = [this](plat::SteadyNs) { pump(); };
    if (!lf_openSession()) throw std::runtime_error("the simulator within the process cannot be opened");
    if (!lf_waitForUserAircraft())
        throw std::runtime_error("the program did not find the user's aircraft, see its log");
    display.feedWaiting = false;
    display.feedConnected = true;
    const UserBlock user = gf_requestUserAircraft();
    trafficReader.userPosition.store({user.lat, user.lon});
    lf_beginCycle();
    startNs = clock.now;
    clock.setUtcSeconds(static_cast<std::int64_t>(options.startUtc));
}

Stage::~Stage() {
    clock.onAdvance = nullptr;
    lf_endEngineRun();
    lf_resetAirports();
    lf_closeSession();
    simconnect::setOpener(nullptr);
    gf_closeLog();
    std::error_code ignored;
    if (!options.out.empty())
        std::filesystem::copy_file(folder / "Log.txt", options.out / "Log.txt",
                                   std::filesystem::copy_options::overwrite_existing, ignored);
    std::filesystem::current_path(home, ignored);
    plat::setUserFolders({});
    std::filesystem::remove_all(folder, ignored);
}

void Stage::makeProgramFolder() {
    home = std::filesystem::current_path();
    folder = makeScratchFolder("velloray-replay");
    std::filesystem::copy(sourceFolder() / "install", folder, std::filesystem::copy_options::recursive);
    writeAirportFiles(options.airports, folder / "download");
    FleetOptions fleet; // the same whatever the replay's seed
    fleet.folder = folder;
    fleet.brokenRounds = 0;
    fleet.liveries = options.liveries.empty() ? options.fleet : 0;
    writeFleet(readRefTables(refTablesIn(sourceFolder() / "rig/refdata/tables")), fleet);
    if (!options.liveries.empty()) {
        std::filesystem::create_directories(folder / "output");
        std::filesystem::copy_file(options.liveries, folder / "output" / "LiveriesScanned.xml");
    }
    plat::setUserFolders(folder);
    if (!options.out.empty()) options.out = std::filesystem::absolute(options.out);
    std::filesystem::current_path(folder);
}

void Stage::pump() {
    if (pumping) return; // a handler that sleeps must not start a frame within a frame
    pumping = true;
    while (nextFrameNs <= clock.now) {
        hub.frame(1 / options.fps);
        ++frameCount;
        nextFrameNs =
            startNs + static_cast<std::int64_t>(static_cast<double>(frameCount) * 1e9 / options.fps);
        lf_dispatchArrived();
    }
    pumping = false;
}

void Stage::addToDigest(const Packet& packet) {
    const auto add = [this](std::string_view bytes) {
        for (const char c : bytes) digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001b3ull;
    };
    const char function = static_cast<char>(packet.function);
    add({&function, 1});
    std::string_view body(packet.body.data(), packet.body.size());
    if (packet.function == flightPlanCall &&
        body.size() > 4) { // object id, then the path: its file name alone
        const std::string_view path = body.substr(4, body.substr(4).find('\0'));
        add(body.substr(0, 4));
        const std::size_t slash = path.find_last_of("/\\");
        add(slash == std::string_view::npos ? path : path.substr(slash + 1));
        return;
    }
    add(body);
}

} // namespace rig

#pragma once
// The stage of a replay: a scratch program folder, a clock that moves when it is told, a simulator in the same
// process, and the real program set up against both. One thread.

#include "platform/virtual_clock.h"
#include "refdata/stands.h"
#include "simulator/inprocess.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace rig {

struct StageOptions {
    WorldSettings world;
    double fps = 30;
    double startUtc = 0; // seconds since 1970
    std::uint32_t seed = 1;
    int rangeNm = 0;                  // 0: the program chooses
    std::filesystem::path liveries;   // a "LiveriesScanned.xml"; empty: the program scans a fleet
    std::size_t fleet = 2000;         // liveries of that fleet
    std::vector<StandTable> airports; // whose files the download tree gets, beside those that it has
    std::filesystem::path out;        // where the log is kept; empty: nowhere
};

class Stage {
  public:
    explicit Stage(
        const StageOptions& options); // the program is up, connected, and knows the user's aircraft
    ~Stage();                         // ends the run as a closing does
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    plat::ScopedVirtualClock clock;
    SimHub hub;
    std::uint64_t digest = 0xcbf29ce484222325ull; // over all that the program sent; FNV-1a 64
    double replaySeconds() const { return static_cast<double>(clock.now - startNs) / 1e9; }

  private:
    void makeProgramFolder();
    void pump(); // the frames that are due, and what they bring to the program
    void addToDigest(const Packet& packet);

    StageOptions options;
    std::filesystem::path folder, home;
    std::int64_t startNs = 0, nextFrameNs = 0, frameCount = 0;
    bool pumping = false;
};

} // namespace rig

#pragma once
// Plays feed lines to the program's UDP port in step with the clock, with the weather beside them, and speaks the
// control link.

#include "controlclient.h"
#include "recording.h"

#include "feed/feed.h"

#include <memory>
#include <ostream>
#include <string_view>

namespace rig {

struct PlayerSettings {
    double speed = 1;                  // times the recording's pace
    bool loop = false;                 // at the end once more, with later times
    int qnh = 1013;                    // hectopascals
    int level = 1;                     // edition, for the control link
    std::uint16_t lines = trafficPort; // UDP
    std::uint16_t weather = qnhPort;   // UDP
    std::uint16_t control = 10747;     // TCP; 0: no control link
    std::ostream* journal = nullptr;   // not owned; nullptr: none
};

extern const char* const feedVerbs; // for --help

class FeedPlayer {
  public:
    // The lines in the order of time. Throws std::runtime_error when there is no line or no socket.
    FeedPlayer(std::vector<TimedLine> recording, const PlayerSettings& settings);
    ~FeedPlayer();
    FeedPlayer(const FeedPlayer&) = delete;
    FeedPlayer& operator=(const FeedPlayer&) = delete;

    bool step(); // sends what is due; false once all has been sent, or after the verb quit
    void tell(std::string_view verb); // throws std::runtime_error for one that makes no sense
    double seconds() const;           // since the start

    std::uint64_t sent = 0; // lines
    const ControlClient* link() const { return control.get(); }

  private:
    void send(std::uint16_t port, std::string_view text);
    void note(const std::string& line);

    std::vector<TimedLine> lines;
    PlayerSettings settings;
    plat::Socket socket = plat::noSocket;
    std::unique_ptr<ControlClient> control;
    plat::SteadyNs begin;
    plat::SteadyNs passBegin; // of the present pass through the lines
    plat::SteadyNs nextWeather;
    plat::SteadyNs silentUntil;
    std::size_t next = 0;
    bool quit = false;
};

} // namespace rig

// The player of the stand-in for RealTraffic. One thread; everything goes to the loopback address.

#include "player.h"

#include <fmt/format.h>

#include <charconv>
#include <stdexcept>

namespace rig {

constexpr plat::SteadyNs nsPerSecond = 1'000'000'000;
constexpr plat::SteadyNs weatherEvery = 10 * nsPerSecond;

const char* const feedVerbs =
    R"(verbs, in a script behind the second at which they are due:
  fail silent SECONDS             nothing is sent over UDP for that long; what was due meanwhile is lost
  fail garbage COUNT              that many datagrams of nonsense, at once
  fail gone SECONDS               the control link drops and stays away for that long
  qnh NUMBER                      the weather from now on
  quit                            the end
)";

FeedPlayer::FeedPlayer(std::vector<TimedLine> recording, const PlayerSettings& s)
    : lines(std::move(recording)), settings(s), begin(plat::steadyNow()), passBegin(begin),
      nextWeather(begin), silentUntil(begin) {
    if (lines.empty()) throw std::runtime_error("there is no line to play");
    plat::startSockets();
    socket = plat::openUdp();
    if (socket == plat::noSocket) throw std::runtime_error("cannot make a UDP socket");
    if (settings.control != 0)
        control = std::make_unique<ControlClient>(settings.control, settings.level,
                                                  [this](const std::string& line) { note(line); });
}

FeedPlayer::~FeedPlayer() {
    plat::closeSocket(socket);
    plat::stopSockets();
}

double FeedPlayer::seconds() const { return static_cast<double>(plat::steadyNow() - begin) / nsPerSecond; }

void FeedPlayer::note(const std::string& line) {
    if (!settings.journal) return;
    *settings.journal << fmt::format("{:9.3f} {}\n", seconds(), line) << std::flush;
}

void FeedPlayer::send(std::uint16_t port, std::string_view text) {
    if (plat::steadyNow() >= silentUntil) plat::sendDatagram(socket, port, text);
}

bool FeedPlayer::step() {
    if (control) control->step();
    const plat::SteadyNs now = plat::steadyNow();
    if (now >= nextWeather) {
        send(settings.weather, fmt::format(R"({{"QNH":{}}})", settings.qnh));
        nextWeather = now + weatherEvery;
    }
    const double played =
        lines.front().time + static_cast<double>(now - passBegin) / nsPerSecond * settings.speed;
    for (; next < lines.size() && lines[next].time <= played; ++next, ++sent)
        send(settings.lines, lines[next].line);
    if (next == lines.size() && settings.loop) {
        constexpr double pause = 5; // seconds between the last line and the first of the next pass
        shiftTimes(lines, lines.back().time - lines.front().time + pause);
        next = 0;
        passBegin = now + static_cast<plat::SteadyNs>(pause / settings.speed * nsPerSecond);
        note("once more from the start");
    }
    return !quit && next < lines.size();
}

static double numberOf(std::string_view verb, std::string_view text, double low, double high) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(value >= low && value <= high))
        throw std::runtime_error(fmt::format("\"{}\": a number from {} to {} is needed", verb, low, high));
    return value;
}

void FeedPlayer::tell(std::string_view verb) {
    constexpr double day = 86400;
    static const char* const nonsense[] = {
        "", ",", "RTTFC", "{\"QNH\":", "RTTFC,1,2,3", "RTTFC,x,91,181,,,,,,,,,,,1e999,,,,,,,,,,,,,,,,"};
    const auto behind = [&](std::string_view start) { return verb.substr(start.size()); };
    const auto begins = [&](std::string_view start) { return verb.substr(0, start.size()) == start; };
    if (begins("fail silent ")) {
        const double pause = numberOf(verb, behind("fail silent "), 0, day);
        silentUntil = plat::steadyNow() + static_cast<plat::SteadyNs>(pause * nsPerSecond);
    } else if (begins("fail garbage ")) {
        const auto count = static_cast<std::size_t>(numberOf(verb, behind("fail garbage "), 1, 1e6));
        for (std::size_t i = 0; i < count; ++i) {
            std::string text = nonsense[i % std::size(nonsense)];
            if (i % 7 == 6) text.assign(20000, static_cast<char>(i)); // larger than the program takes
            send(settings.lines, text);
            send(settings.weather, text);
        }
    } else if (begins("fail gone ")) {
        const double pause = numberOf(verb, behind("fail gone "), 0, day);
        if (control) control->dropFor(static_cast<plat::SteadyNs>(pause * nsPerSecond));
    } else if (begins("qnh ")) {
        settings.qnh = static_cast<int>(numberOf(verb, behind("qnh "), 0, 10000));
        nextWeather = plat::steadyNow();
    } else if (verb == "quit") {
        quit = true;
    } else {
        throw std::runtime_error(fmt::format("unknown verb \"{}\"", verb));
    }
    note(fmt::format("told {}", verb));
}

} // namespace rig

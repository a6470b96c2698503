#pragma once
// Who is where on the ground, second by second, and the way of another one among them: each is planned to its end when
// it begins, waits where those that were planned before are in its way, and never overlaps them.

#include "groundpath.h"

#include <limits>
#include <optional>
#include <vector>

namespace rig {

struct GroundFix {
    int second = 0; // from the begin of the traffic; may be negative
    Spot at;
    double heading = 0, course = 0; // radians, true: of the nose, and of the motion
    double mps = 0;
};
using GroundTrack = std::vector<GroundFix>; // one fix a second

constexpr int forever = std::numeric_limits<int>::max() / 4;

struct Pause { // a stop without a reason that anybody sees
    double alongM = 0, seconds = 0;
};

struct Driven {
    GroundTrack track;     // from the start to the standstill at the end
    int mayStay = forever; // until that second nobody needs the place of the end
    double waitedS = 0;    // by others in the way, and the pauses
};

class GroundTraffic {
  public:
    // One that stands; gives a number for `ignored` and `leaves`.
    std::size_t addStanding(const Spot& at, double halfSpanM, int from);
    void leaves(std::size_t standing, int second);
    void addMoving(double halfSpanM, GroundTrack track); // in the order of time, second by second

    static constexpr std::size_t nobody = static_cast<std::size_t>(-1);
    // Nobody, but for the standing one `ignored`, comes nearer to it than both half spans and the margin.
    bool isFree(const GroundTrack& track, double halfSpanM, double marginM,
                std::size_t ignored = nobody) const;
    // Nothing when there is no way through.
    std::optional<Driven> drive(const GroundWay& way, double halfSpanM, int start, double startMps,
                                const std::vector<Pause>& pauses, std::size_t ignored = nobody) const;

  private:
    struct Standing {
        Spot at;
        double halfSpanM;
        int from, to;
    };
    struct Moving {
        double halfSpanM;
        GroundTrack track;
    };
    struct Window { // in which a point of a way is free; seconds, both included
        int from, to;
    };
    using Windows = std::vector<std::vector<Window>>;
    Windows freeWindows(const GroundWay& way, double halfSpanM, int start, std::size_t ignored) const;

    std::vector<Standing> standing;
    std::vector<Moving> moving;
};

// Drives a way as fast as it allows; `earliest`, when not empty, are seconds before which its points must not be reached.
GroundTrack driveWay(const GroundWay& way, int start, double startMps, const std::vector<double>& earliest);

} // namespace rig

#pragma once
// Aircraft that stand in each other on the ground. An aircraft is a cross here: a fuselage and a wing, each as long as
// its type's span; two overlap when the crosses touch.

#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace rig {

struct CrossShape {
    double lat = 0, lon = 0; // degrees, of its middle
    double heading = 0;      // radians
    double radiusM = 0;      // half its span
};
bool crossesTouch(const CrossShape& a, const CrossShape& b);

constexpr std::uint32_t userHexid = 0; // stands for the user's aircraft among the others

struct Overlap { // of one pair, from its beginning to its end
    std::uint32_t a = 0, b = 0;
    double since = 0, last = 0, seconds = 0; // replay seconds
    bool inFeed = false;                     // the feed's own places were closer than the two spans allow
};

class OverlapWatch {
  public:
    // Whether the feed itself had the two that close about now; asked of pairs that overlap.
    using InFeed = std::function<bool(std::uint32_t a, std::uint32_t b, double reachM)>;
    struct Body {
        std::uint32_t hexid;
        CrossShape shape;
    };
    void look(double time, double stepS, const std::vector<Body>& bodies,
              const InFeed& inFeed);  // each stepS seconds; inFeed may be empty
    std::vector<Overlap> all() const; // in the order of their beginning

  private:
    std::map<std::pair<std::uint32_t, std::uint32_t>, Overlap> open;
    std::vector<Overlap> ended;
};

} // namespace rig

// The decisions on an aircraft, as a listener hears them.

#include "engine/trace.h"
#include "life_fixture.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::uint32_t hex = 4242424, otherHex = 4242425;
std::vector<std::pair<std::uint32_t, std::string>> heard;

class Trace : public Life {
  protected:
    Trace() {
        heard.clear();
        engineTrace = [](std::uint32_t hexid, std::string_view what) { heard.emplace_back(hexid, what); };
    }
    ~Trace() override { engineTrace = nullptr; }
    static std::vector<std::string> about(std::uint32_t hexid) {
        std::vector<std::string> result;
        for (const auto& [who, what] : heard)
            if (who == hexid) result.push_back(what);
        return result;
    }
};

TEST_F(Trace, TellsEachDecisionOnAnAircraftInOrder) {
    due(hex, 50, 0, 12);
    due(otherHex, 51, 5000, 200, 1); // a single point
    bringUp(hex, 77, 8);
    removeAircraftFromSim(*lf_findByHexid(hex), Removed::range);
    const std::vector<std::string> expected = {"birth -> taxi",
                                               "appears as taxi DLH424 A320 \"FSLTL_A320_DLH\"",
                                               "its object 77 is ready", "removed: range"};
    EXPECT_EQ(about(hex), expected);
    EXPECT_EQ(about(otherHex), std::vector<std::string>{"does not appear: single_point"});
}

TEST_F(Trace, SaysNothingWithoutAListener) {
    engineTrace = nullptr;
    due(hex, 50);
    bringUp(hex, 77);
    EXPECT_TRUE(heard.empty());
}

} // namespace

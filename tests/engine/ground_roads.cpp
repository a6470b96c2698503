// Whole roads on the ground: an arrival to its stand, push backs, a pull-out, a tow.

#include "ground_fixture.h"

namespace {

constexpr std::uint32_t hex = 4242424;

class Roads : public Ground {};

TEST_F(Roads, AnArrivalLandsTaxiesAndParksOnItsStand) {
    Stand& home = stand("A1", 2200, 700, 90, 18);
    // A final from the south, a runway northwards from the field, a way east, and 12 m short of the stand.
    const double end = feed(hex, "DLH1AB",
                            {{-14000, 0, 140, 2513},
                             {-60, 0, 138, 14},
                             {0, 0, 136},
                             {1500, 0, 30},
                             {1700, 100, 20},
                             {2200, 300, 15},
                             {2200, 650, 8},
                             {2200, 688, 0, 0, 60}},
                            5);
    run(end + 40);
    SCOPED_TRACE(story(hex));
    rig::SimObject* o = object("DLH1AB");
    ASSERT_TRUE(o);
    EXPECT_EQ(state(hex), FlightState::parked);
    EXPECT_LT(metersFrom(*o, home), 0.5);
    EXPECT_LT(degreesOff(*o, 90), 3);
    EXPECT_EQ(o->lights & ~rig::lightCabin, rig::lightNav | rig::lightLogo);
    EXPECT_FALSE(o->engineRunning);
}

} // namespace

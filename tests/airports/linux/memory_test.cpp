// What an airport leaves behind in memory when it is given up.

#include "../airports_fixture.h"

#include <malloc.h>

namespace test {

class Memory : public AirportsTest {
  protected:
    static void visit() {
        placeUser(0);
        step(true);
        step();
        ASSERT_TRUE(airports.park.loaded && airports.file.stands.size() == 60);
        airports.updates = 1;
        lf_calculateStatics();
        lf_removeAllParked();
        lf_serveLoader();
        ASSERT_FALSE(airports.park.known());
        plat::headless::takeInvalid(); // which nobody paints
    }
};

TEST_F(Memory, DoesNotGrowOverTwoHundredLoads) {
    std::string stands;
    for (int i = 0; i < 60; ++i) {
        std::string options;
        for (int o = 0; o < 40; ++o)
            options += fmt::format(
                "<opt reg=\"G{}-{}\" airl=\"BAW\" type=\"A320\" day=\"{}\" hh=\"{}\" cs=\"BAW{}\"/>", i, o,
                o % 7 + 1, o, o);
        stands += stand("S" + std::to_string(i), i * 100, 20, options);
    }
    putStock("EDTT", baseFile(stands));
    putLearned(
        "EDTT",
        learnedFile(
            "<parkpos id=\"S1\"><opt reg=\"GX\" airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"1\"/></parkpos>"));
    constexpr int loads = 200;
    for (int i = 0; i < loads; ++i) visit(); // the allocator's own stores fill up
    const std::size_t before = mallinfo2().uordblks;
    if (before == 0) GTEST_SKIP() << "this allocator does not count";
    for (int i = 0; i < loads; ++i) visit();
    constexpr std::size_t noise = 16 * 1024; // bytes: less than a hundredth of one airport
    EXPECT_LT(mallinfo2().uordblks, before + noise);
}

} // namespace test

// Entry of every test program. Each runs in a scratch program folder and a scratch home of its own.

#include "support.h"

#include <gtest/gtest.h>

#include <filesystem>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const test::ScratchFolder scratch;
    scratch.enter();
    return RUN_ALL_TESTS();
}

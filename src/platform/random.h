#pragma once
// The program's one source of chance: a Mersenne twister per thread, seeded from the system's random device.

#include <cstdint>
#include <random>

namespace plat {

std::mt19937& randomEngine();        // of the calling thread
void seedRandom(std::uint32_t seed); // the calling thread's; for the rig and for tests

} // namespace plat

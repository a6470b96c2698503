// The generator of each thread. It lives as long as its thread.

#include "platform/random.h"

namespace plat {

std::mt19937& randomEngine() {
    thread_local std::mt19937 engineOfThread{std::random_device{}()};
    return engineOfThread;
}

void seedRandom(std::uint32_t seed) { randomEngine().seed(seed); }

} // namespace plat

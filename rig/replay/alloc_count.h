#pragma once
// Counts the heap allocations of the calling thread, by replacing the global operator new of the rig.

#include <cstdint>

namespace rig {

std::uint64_t allocationCount(); // of the calling thread since it began

} // namespace rig

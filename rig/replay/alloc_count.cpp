// Counts the heap allocations of each thread. Linked in only where allocationCount() is used.

#include "replay/alloc_count.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::uint64_t allocations = 0;
}

namespace rig {
std::uint64_t allocationCount() { return allocations; }
} // namespace rig

// Kept out of line: the compiler would take malloc and free for a mismatched pair.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(size ? size : 1);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* p = operator new(size, std::nothrow)) return p;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }

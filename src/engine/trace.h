#pragma once
// The decisions that the engine takes on an aircraft, in words, for whoever asks: the report on one aircraft and
// tests. Without a listener nothing is formatted. Worker.

#include <cstdint>
#include <fmt/format.h>
#include <iterator>
#include <string_view>
#include <utility>

// Gets each decision as it is taken; `what` is good for the call only. Set and reset by the listener, between Ticks.
extern void (*engineTrace)(std::uint32_t hexid, std::string_view what);

template <class... Args>
inline void lf_trace(std::uint32_t hexid, fmt::format_string<Args...> text, Args&&... args) {
    if (!engineTrace) return;
    fmt::memory_buffer said; // on the stack: a listener that counts allocations finds none of ours
    fmt::format_to(std::back_inserter(said), text, std::forward<Args>(args)...);
    engineTrace(hexid, {said.data(), said.size()});
}

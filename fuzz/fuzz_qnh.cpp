// A datagram into the QNH reader: whatever comes, the pressure in force stays one that the earth has.

#include "feed/feed.h"

#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qnhReader.takeDatagram({reinterpret_cast<const char*>(data), size});
    if (qnhReader.currentQnh < 930 || qnhReader.currentQnh > 1080) __builtin_trap();
    return 0;
}

// Any bytes as the manifest.json of a package.

#include "airportscan/publishers.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    lf_parseManifest({reinterpret_cast<const char*>(data), size});
    return 0;
}

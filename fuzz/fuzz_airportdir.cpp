// Any text as the directory of airports.

#include "airports/reading.h"

#include <cstddef>
#include <cstdint>
#include <exception>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pugi::xml_document document;
    if (!document.load_buffer(data, size)) return 0;
    try {
        airportsLife.directory = lf_readDirectoryDocument(document, "file");
    } catch (const std::exception&) { // what the user is told
        return 0;
    }
    gf_findAirport("EDTT");
    gf_findAirport("");
    return 0;
}

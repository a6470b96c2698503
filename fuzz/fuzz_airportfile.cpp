// Any text as the base file of an airport: its stands, their options, numbers and neighbours.

#include "airports/reading.h"

#include <cstddef>
#include <cstdint>
#include <exception>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pugi::xml_document document;
    if (!document.load_buffer(data, size)) return 0;
    AirportReading reading;
    reading.code = "EDTT";
    try {
        lf_readBaseDocument(document, reading);
    } catch (const std::exception&) { // an error that the user is told
    }
    lf_finishStands(reading.file.stands);
    gf_qualityFactor(reading.file.stands);
    return 0;
}

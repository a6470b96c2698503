// Any text as the learned file of an airport of two stands.

#include "airports/reading.h"

#include <cstddef>
#include <cstdint>
#include <exception>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pugi::xml_document document;
    if (!document.load_buffer(data, size)) return 0;
    AirportReading reading;
    for (const char* id : {"A", "B 2"}) {
        Stand& stand = reading.file.stands.emplace_back();
        stand.id = id;
        stand.options.resize(1);
        stand.options[0].index = stand.options[0].real = stand.options[0].day = 1;
        stand.options[0].hours.set(0);
    }
    try {
        lf_takeLearnedDocument(document, "file", reading);
    } catch (const std::exception&) { // an id that stands there twice
    }
    lf_finishStands(reading.file.stands);
    return 0;
}

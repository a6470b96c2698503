// Any text as the reference data file.

#include "liveries/refdata.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pugi::xml_document document;
    if (!document.load_buffer(data, size)) return 0;
    try {
        gf_readDbaseDocument(document, "fuzz");
    } catch (const std::exception&) { // told to the user by number and text
    }
    gf_halfWingspanNm("A320");
    gf_publisherOf("fuzz");
    gf_lookupRegcode("GBAFM");
    return 0;
}

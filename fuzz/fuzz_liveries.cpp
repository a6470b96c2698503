// Any text as the file of scanned liveries: read, indexed, and an aircraft matched.

#include "liveries/liveries.h"

#include "engine/engine.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pugi::xml_document document;
    if (!document.load_buffer(data, size)) return 0;
    std::vector<Livery> liveries;
    gf_readLiveriesDocument(document, liveries);
    gf_indexLiveries(std::move(liveries));
    LiveAc ac;
    ac.acType = "A320";
    ac.airline = "BAW";
    ac.cargo = size % 2;
    gf_titleForLiveAc(ac);
    gf_titleOfRegcode("GBAFM");
    return 0;
}

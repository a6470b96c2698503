// Any text as a file of registrations: each line as one of the user's, the whole as the downloaded document.

#include "liveries/cfgtext.h"
#include "liveries/regcodes.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<RegcodeEntry> entries;
    CfgLines lines(std::string_view(reinterpret_cast<const char*>(data), size));
    for (std::string_view line; lines.next(line);) gf_parseRegcodeLine(line, "fuzz", entries);
    pugi::xml_document document;
    if (document.load_buffer(data, size)) gf_readRegcodesDocument(document, entries);
    return 0;
}

// Any bytes as a BGL file, for both simulators, with an airport that is linked now and then.

#include "airportscan/bgl.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = "x.bgl";
    std::vector<std::uint32_t> words(size / 4);
    if (!words.empty()) std::memcpy(words.data(), data, words.size() * 4);
    for (const bool is2020 : {true, false}) {
        std::size_t stands = 0;
        const BglFindings findings = gf_decodeBgl(
            words, path, {is2020, [](AirportFile& airport, std::vector<std::string>&) {
                              if (airport.code.front() != 'L') return AirportIdentity{};
                              return AirportIdentity{"archive/thirdparty/x/" + airport.code + ".xml", 2};
                          }});
        for (const FoundAirport& airport : findings.airports) stands += airport.file.stands.size();
        // A position takes 56 bytes and a helipad 32, and each gives a stand or a line, but not both.
        const std::size_t records = size / 32 + 1;
        if (stands > records || findings.lines.size() > 4 * records) std::abort();
    }
    return 0;
}

// Any bytes as an aircraft.cfg: as one of any package, and as one of a package whose path names the model.

#include "liveries/scanfile.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    refData.allModels = refData.largeModels = {"A320"};
    refData.icaoAirlines = {"BAW", "ZZZ"};
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::vector<Livery> liveries;
    gf_liveriesOfCfg(bytes, "x/aircraft.cfg", 1, liveries);
    gf_liveriesOfCfg(bytes, "x/IVAO_MTL/SimObjects/Airplanes/IVAO_A320/aircraft.cfg", 1, liveries);
    gf_ivaoPathModel(bytes);
    gf_ivaoTitleAirline(bytes, "A320", true);
    for (Livery& livery : liveries) gf_checkLiveryCode(livery);
    gf_clearScanLists();
    return 0;
}

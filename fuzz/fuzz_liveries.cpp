// Any text as the file of scanned liveries: read, indexed, and aircraft matched, those of the file and others.

#include "liveries/liveries.h"

#include "app/folders.h"
#include "engine/engine.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

static bool prepare() {
    refData.largeModels = {"A319", "A320", "A321"};
    refData.rotorModels = {"A139", "R44"};
    refData.similarGroups = {{"A319", "A320", "A321"}, {"C152", "C172"}};
    folders.errors = std::filesystem::temp_directory_path() / "velloray-fuzz"; // clashes of registrations
    return true;
}

static void match(const Livery& livery) {
    for (const bool other : {false, true}) {
        LiveAc ac;
        ac.airline = livery.airl;
        ac.acType = other ? "A319" : livery.type;
        ac.regcode = other ? "" : livery.atcid;
        ac.cargo = livery.cargo;
        ac.category = gf_modelCategory(ac.acType);
        ac.hexid = static_cast<std::uint32_t>(20'000 + engineLife.hexidTitles.size());
        const bool matched = gf_titleForLiveAc(ac);
        if (!matched && !other && !ac.airline.empty()) std::abort(); // its own livery is there
        ac.title = {};
        gf_matchStaticLivery(ac, !livery.cargo, "A1");
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool prepared = prepare();
    pugi::xml_document document;
    if (!prepared || !document.load_buffer(data, size)) return 0;
    std::vector<Livery> liveries;
    gf_readLiveriesDocument(document, liveries);
    gf_indexLiveries(liveries);
    constexpr std::size_t most = 20;
    for (std::size_t i = 0; i < liveries.size() && i < most; ++i) match(liveries[i]);
    gf_titleOfRegcode("GBAFM");
    return 0;
}

// The file of scanned liveries and the way from it to the store. Worker, in the start sequence.

#include "liveries/building.h"

#include "app/display.h"
#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "platform/files.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>

constexpr int errorNoFile = 51, errorNoSection = 52, errorNoLiveries = 533;

void gf_readLiveriesDocument(const pugi::xml_document& document, std::vector<Livery>& liveries) {
    std::size_t untitled = 0;
    for (const auto node : document.child("liveries").children("liv")) {
        const char* title = node.attribute("title").value();
        if (!*title) { // the simulator creates nothing without one
            ++untitled;
            continue;
        }
        liveries.push_back({node.attribute("airl").value(), node.attribute("type").value(), title,
                            node.attribute("atcid").value(), gf_boolOfText(node.attribute("cargo").value())});
    }
    if (untitled > 0) gf_logLine(fmt::format("{} liveries without a title left out", untitled));
}

void gf_readLiveriesFile(std::vector<Livery>& liveries) {
    liveries.clear();
    const std::string path = plat::pathText(folders.scannedLiveries);
    pugi::xml_document document;
    if (!document.load_file(folders.scannedLiveries.c_str()))
        throw orvo::UserErrorException(errorNoFile, fmt::format("File {} not found", path));
    gf_testMeta(document);
    if (!document.child("liveries"))
        throw orvo::UserErrorException(errorNoSection,
                                       fmt::format("{} does not contain a <liveries> section", path));
    gf_readLiveriesDocument(document, liveries);
    if (liveries.empty())
        throw orvo::UserErrorException(errorNoLiveries, path + " does not contain liveries");
    gf_logLine(fmt::format("{} liveries read from {}", liveries.size(), path));
    lf_sortLiveries(liveries);
}

void gf_processScannedLiveries() {
    if (liveryStore.processed) {
        lf_switchCategories();
        return gf_logLine("Processing scanned liveries skipped; already done in previous start-up");
    }
    std::vector<Livery> liveries;
    gf_readLiveriesFile(liveries);
    gf_clearLiveryStores();
    lf_buildIndex(std::move(liveries), true);
    lf_reportGenericModels();
    lf_reportCategories();
    liveryStore.processed = true;
    gf_repaint(Band::status);
}

void gf_scanLiveries() {
    if (SCAN_LIVERIES && !lf_scanInstalledLiveries()) return;
    gf_processScannedLiveries();
}

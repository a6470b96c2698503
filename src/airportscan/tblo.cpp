// Airports for offline learning. Of an airport that a third party made and whose stock file holds learned traffic, that
// traffic can be carried over by whoever keeps the server: such airports are gathered in a folder for the user to send
// in. Worker, at the end of a scan; a stop ends it between any two airports.

#include "airportscan/airportscan.h"

#include "airports/reading.h"
#include "app/app.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "platform/files.h"
#include "updates/updates.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <string_view>

namespace fs = std::filesystem;

static constexpr const char* maintainers =
    "airports@velloray.example"; // whoever offers a build puts theirs here

static std::size_t lf_entryCount(const fs::path& folder) {
    std::error_code failed;
    return plat::readFolder(folder, failed).size();
}

void lf_countTblo() { airportScan.tbloCount = static_cast<std::int32_t>(lf_entryCount(folders.tblo)); }

// What cannot be removed is told, and stays.
void lf_emptyFolder(const fs::path& folder) {
    bool left = false;
    std::error_code failed;
    const auto entries = plat::readFolder(folder, failed);
    if (failed) throw fs::filesystem_error("directory_iterator::directory_iterator", folder, failed);
    for (const plat::FolderEntry& entry : entries) {
        fs::remove_all(folder / entry.name, failed);
        if (!failed) continue;
        gf_logLine(plat::pathText(folder) + " could not be removed");
        left = true;
    }
    if (left) gf_logLine(formerFilesLeft);
}

// ---- the tests -------------------------------------------------------------------------------------------------------

static int lf_numberParameter(const pugi::xml_document& document, const char* name, int otherwise) {
    int number = otherwise;
    const char* text = lf_fileParameter(document, name);
    return text && gf_parseInt(text, number) ? number : otherwise;
}

// The stock file of an airport has traffic that was learned over weeks enough.
static bool lf_stockIsSuitable(const std::string& code) {
    constexpr int leastWeeks = 24;
    const std::string name = code + ".xml", url = gf_simFolderUrl(true) + "archive/stock/" + name;
    const fs::path file = plat::textPath(name); // of the program folder, and not to stay
    gf_logLine(url);
    pugi::xml_document document;
    const bool fetched = gf_fetchFile(url, file) == Fetched::yes;
    const bool loaded = fetched && lf_loadXml(file, document).empty();
    std::error_code ignored;
    fs::remove(file, ignored);
    if (!loaded) {
        gf_logLine(fmt::format("Failed to {} {}", fetched ? "load" : "download", fetched ? name : url));
        gf_logLine(code + " Not suitable for offline learning");
        return false;
    }
    if (lf_numberParameter(document, "Qf_real", -1) < 0 && lf_numberParameter(document, "Qf_soft", -1) < 0)
        return false;
    return lf_numberParameter(document, "RT_traffic_week", 0) >= leastWeeks;
}

// "" when the file says enough about who made the airport.
static std::string lf_publisherProblem(const fs::path& path, const pugi::xml_document& document,
                                       bool loaded) {
    constexpr std::size_t shortest = 4; // characters of a name that can be looked up
    if (!loaded) return fmt::format("\"{}\" not found", plat::pathText(path));
    const auto textOf = [&](const char* name) {
        const char* text = lf_fileParameter(document, name);
        return std::string(text ? text : "");
    };
    const std::string manufacturer = textOf("manufacturer"), creator = textOf("creator");
    if (textOf("publisher") != "unknown" || manufacturer.size() >= shortest || creator.size() >= shortest)
        return {};
    return fmt::format("{}={}, {}={}", "manufacturer", manufacturer, "creator", creator);
}

// ---- the copies --------------------------------------------------------------------------------------------------------

static bool lf_copy(const std::string& code, const fs::path& file) {
    const fs::path target = folders.tblo / file.filename();
    std::error_code failed;
    fs::create_directory(folders.tblo, failed);
    fs::copy_file(file, target, fs::copy_options::overwrite_existing, failed);
    if (failed) {
        std::error_code ignored;
        fs::remove(target, ignored);
        gf_logLine(fmt::format("{} \"{}\" failed to copy \"{}\"", gf_shortTimeText(), plat::pathText(file),
                               plat::pathText(target)));
        return false;
    }
    gf_logLine(fmt::format("{} copied to {}", code, plat::pathText(target)));
    return true;
}

// False when it was to be copied and could not be.
static bool lf_gather(const std::string& code) {
    const fs::path file = folders.myThirdparty / plat::textPath(code + ".xml");
    pugi::xml_document document;
    const bool loaded = lf_loadXml(file, document).empty();
    std::error_code ignored;
    const char* publisher = lf_fileParameter(document, "publisher");
    if (code == "KMCI" && publisher && std::string_view(publisher) == "TropicalSim") {
        fs::remove(file, ignored); // that file is known to be no good
        return true;
    }
    if (!lf_stockIsSuitable(code) || !lf_publisherProblem(file, document, loaded).empty()) return true;
    if (!lf_copy(code, file)) return false;
    if (fs::exists(folders.myThirdparty / plat::textPath(code + ".txt"), ignored)) fs::remove(file, ignored);
    return true;
}

// Codes of the generated files, sorted.
static std::vector<std::string> lf_thirdpartyCodes() {
    constexpr std::size_t codeLength = 4;
    std::vector<std::string> codes;
    std::error_code failed;
    for (const plat::FolderEntry& entry : plat::readFolder(folders.myThirdparty, failed)) {
        std::string stem = plat::pathText(entry.name.stem()),
                    extension = plat::pathText(entry.name.extension());
        for (char& c : extension)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (entry.isFile && extension == ".xml" && stem.size() == codeLength)
            codes.push_back(std::move(stem));
    }
    std::sort(codes.begin(), codes.end());
    return codes;
}

bool lf_gatherForLearning() {
    const auto codes = lf_thirdpartyCodes();
    bool complete = true;
    for (const std::string& code : codes)
        if (!gf_stopping() && !lf_gather(code)) complete = false;
    lf_countTblo();
    if (airportScan.tbloCount > 0) {
        gf_logLine("");
        gf_logLine(fmt::format("Please zip the folder {} and mail it to {}: the traffic that was learned at "
                               "the stock airports can then be carried over to yours",
                               plat::pathText(folders.tblo), maintainers));
        return complete;
    }
    if (!codes.empty()) gf_logLine("All your third party airports are done, no off line learning needed.");
    std::error_code ignored;
    fs::remove(folders.tblo, ignored); // when it is empty
    return complete;
}

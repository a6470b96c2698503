// The search through a folder: the walk, the pool that decodes, and what becomes of the findings, put together in walk
// order whatever the timing. The walk and the results are the worker's; the pool writes nothing global.

#include "airportscan/airportscan.h"

#include "airports/reading.h"
#include "app/app.h"
#include "app/folders.h"
#include "app/folderwalk.h"
#include "app/log.h"
#include "app/orderedpool.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

namespace fs = std::filesystem;

using DecoderPool = OrderedPool<SceneryFindings>;

static constexpr std::string_view alert = "===> ";

// ---- which files -----------------------------------------------------------------------------------------------------

static bool lf_holdsAny(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return text.find(word) != text.npos; });
}

// Packages without airports, which need not be entered; and what a system cannot open.
bool lf_isExcludedPath(std::string_view pathText) {
    constexpr std::size_t longest = 250; // characters; from this length on it is excluded
    return gf_characterCount(pathText) >= longest ||
           lf_holdsAny(pathText, {"fs-base", "tutorials", "aircraft", "bushtrip", "discovery",
                                  "point-of-interest", "simobjects", "vcockpits", "aig-aitraffic",
                                  "justflight-aicraft", "fsltl", "gsx-pro", "gsx-world", "landingchallenge"});
}

static bool lf_isBglName(const std::string& name) {
    const std::string extension = plat::pathText(plat::textPath(name).extension());
    return extension == ".bgl" || extension == ".BGL";
}

// ---- one file ----------------------------------------------------------------------------------------------------------

// As a file: with its stands sorted, and without the user's own folders where they say nothing.
static GeneratedFile lf_generateAirportFile(FoundAirport& found, std::size_t place) {
    AirportFile& airport = found.file;
    const auto community = airport.bglPath.find("Community");
    if (airport.publisher != "unknown" && community != std::string::npos) airport.bglPath.erase(0, community);
    const auto count = airport.stands.size();
    const auto helipads = std::count_if(airport.stands.begin(), airport.stands.end(),
                                        [](const Stand& stand) { return stand.heli; });
    std::sort(airport.stands.begin(), airport.stands.end(),
              [](const Stand& a, const Stand& b) { return a.id < b.id; });
    GeneratedFile file;
    file.airport = place;
    file.simaddon = airport.publisher == "simaddon";
    file.code = airport.code;
    file.text = lf_scannedFileText(airport);
    file.line = fmt::format("Generated {}.xml: {} position{}", airport.code, count, count == 1 ? "" : "s");
    if (helipads > 0) file.line += fmt::format(", of which {} helipad{}", helipads, helipads == 1 ? "" : "s");
    return file;
}

static void lf_decodeWhole(BglFile& file, WordBuffer& buffer, SceneryFindings& findings) {
    const auto words = file.read(buffer);
    if (!words) {
        findings.failure = "cannot be read";
        return;
    }
    SceneryIdentity identity(findings.pathText);
    const BglRules rules{MSFS_2020.value, [&](AirportFile& airport, std::vector<std::string>& lines) {
                             return identity.lf_identifyAirport(airport, lines);
                         }};
    static_cast<BglFindings&>(findings) = gf_decodeBgl(*words, findings.pathText, rules);
    for (std::size_t i = 0; i < findings.airports.size(); ++i) {
        FoundAirport& airport = findings.airports[i];
        if (airport.toGenerate) findings.generated.push_back(lf_generateAirportFile(airport, i));
        airport.file.stands = {};
    }
    if (findings.notRecognised) identity.lf_notRecognised(findings);
}

SceneryFindings lf_decodeBgl(const fs::path& path, WordBuffer& buffer) {
    SceneryFindings findings;
    findings.pathText = plat::pathText(path);
    try {
        BglFile file(path);
        if (file.hasAirportSection()) lf_decodeWhole(file, buffer, findings);
    } catch (const std::exception& e) {
        findings.failure = e.what();
    }
    return findings;
}

// ---- what becomes of it -------------------------------------------------------------------------------------------------

bool ScanResults::write(const std::string& text, const fs::path& path) {
    if (gf_writeFile(text, path, true)) return true;
    std::error_code ignored;
    fs::remove(path, ignored); // a part of it says something else, and counts
    lf_scanLog(fmt::format("{}could not write {}", alert, plat::pathText(path)));
    complete = false;
    return false;
}

static const fs::path& lf_folderOf(bool simaddon) {
    return simaddon ? folders.mySimaddon : folders.myThirdparty;
}

void ScanResults::toGenerate(GeneratedFile&& file) {
    const std::size_t place = log.size();
    lf_scanLog({});
    const auto [slot, isNew] = generated.try_emplace({file.simaddon, file.code});
    if (!isNew)
        log[slot->second.logPlace] = fmt::format("{} comes again in a later file, which counts", file.code);
    slot->second = {std::move(file), place};
}

void ScanResults::take(SceneryFindings&& found) {
    auto line = found.lines.begin();
    auto file = found.generated.begin();
    for (std::size_t i = 0; i < found.airports.size(); ++i) {
        const FoundAirport& airport = found.airports[i];
        const auto end = found.lines.begin() + static_cast<std::ptrdiff_t>(airport.linesBefore);
        log.insert(log.end(), std::move_iterator(line), std::move_iterator(end));
        line = end;
        if (airport.identity.linked() &&
            write(airport.identity.link, lf_folderOf(airport.file.publisher == "simaddon") /
                                             plat::textPath(airport.file.code + ".txt")))
            airportScan.succeeded = true;
        if (file != found.generated.end() && file->airport == i) toGenerate(std::move(*file++));
    }
    log.insert(log.end(), std::move_iterator(line), std::move_iterator(found.lines.end()));
    if (found.tblo) {
        std::error_code failed; // shows in the writing
        fs::create_directory(folders.tblo, failed);
        const fs::path path = folders.tblo / plat::textPath(found.tblo->code + ".xml");
        if (write(found.tblo->text, path))
            lf_scanLog(fmt::format("==> TBLO entry {} created", plat::pathText(path)));
    }
    if (!found.failure.empty() && !gf_stopping())
        lf_scanLog(fmt::format("{} airports search aborted, futs inner, \n{}\n{}\n{}", alert, "lf_decodeBgl",
                               found.pathText, found.failure));
}

std::string ScanResults::write(const GeneratedFile& file) {
    const auto& folder = lf_folderOf(file.simaddon);
    std::error_code failed; // shows in the writing
    fs::create_directories(folder, failed);
    const fs::path path = folder / plat::textPath(file.code + ".xml");
    if (!lf_writeScannedFile(file.text, path)) {
        complete = false;
        return file.line + fmt::format("\n{}Generating {} did not succeed", alert, plat::pathText(path));
    }
    airportScan.succeeded = true;
    return file.line;
}

void ScanResults::writeGenerated() {
    for (auto& [key, one] : generated) {
        if (gf_stopping()) return;
        log[one.logPlace] = write(one.file);
    }
    generated.clear();
}

// ---- the folder -----------------------------------------------------------------------------------------------------------

// The oldest files' findings; false when there are no more. Once a stop is under way files have been skipped.
static bool lf_collect(DecoderPool& pool, ScanResults& results) {
    auto done = pool.take();
    if (done.empty() || gf_stopping()) return false;
    for (SceneryFindings& found : done) results.take(std::move(found));
    return true;
}

static void lf_walkFolder(const fs::path& folder, ScanResults& results) {
    DecoderPool pool(gf_scanThreadCount(), [] {
        return [buffer = std::make_shared<WordBuffer>()](const fs::path& path) {
            return lf_decodeBgl(path, *buffer);
        };
    });
    FolderWalk walk;
    walk.wanted = lf_isBglName;
    walk.enters = [](const std::string&, const fs::path& path) {
        return !lf_isExcludedPath(plat::pathText(path));
    };
    walk.file = [&](fs::path path) {
        const std::string text = plat::pathText(path);
        if (lf_isExcludedPath(text) || lf_holdsAny(text, {"statics", "AFCAD Updates", "_heliports"})) return;
        pool.add(std::move(path));
        if (pool.full()) lf_collect(pool, results);
    };
    const auto logInOrder = [&](std::string line) { // behind what was met before
        while (lf_collect(pool, results)) {}
        results.lf_scanLog(std::move(line));
    };
    walk.unreadable = [&](const fs::path& path, const std::error_code& error) {
        logInOrder(fmt::format("{} airports search in folder {} aborted because of iterator problem: {}",
                               alert, plat::pathText(path), error.message()));
    };
    walk.tell = logInOrder;
    gf_walkFolder(folder, walk);
    while (lf_collect(pool, results)) {}
}

void lf_scanFolder(const fs::path& folder, ScanResults& results) {
    if (folder.empty()) return;
    const std::string text = plat::pathText(folder);
    std::error_code error;
    const auto status = fs::status(folder, error);
    if (!fs::exists(status)) return gf_showMessage(text + " does not exist, skipped!", true);
    if (!fs::is_directory(status)) return gf_showMessage(text + " is not a folder name, skipped!", true);
    results.lf_scanLog(fmt::format("Scanning for {} in {}", "addon airports", text));
    try {
        lf_walkFolder(folder, results);
    } catch (const std::exception& e) {
        results.lf_scanLog(
            fmt::format("{} airports search in folder {} aborted, cause: {}", alert, text, e.what()));
    }
}

// The search: the walk through a folder tree, and what the files yield put together in walk order. Both run on the
// calling thread, the worker; the reading is the pool's. The reports' files are in scanreports.cpp.

#include "liveries/scan.h"

#include "app/app.h"
#include "app/folderwalk.h"
#include "app/log.h"
#include "app/orderedpool.h"
#include "app/parameters.h"
#include "liveries/scanfile.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>

namespace fs = std::filesystem;

using ScanPool = OrderedPool<FileFindings>;

ScanReports scanReports;
std::vector<std::string> dontUseTitles;
unsigned scanThreads = 0;

// The titles that became liveries in this scan, and the place of their file in usedFiles. Owner: liveries; worker.
static TextMap<std::uint32_t> usedTitles;
static std::vector<std::string> usedFiles;

// Collecting -----------------------------------------------------------------------------------------------------

ScanRules gf_scanRules(std::int32_t priority) {
    constexpr std::size_t shortRegcode = 5; // characters; a title seldom holds such a text by chance
    ScanRules rules;
    rules.dontUse.insert(dontUseTitles.begin(), dontUseTitles.end());
    rules.privateRegcodes = refData.dbaseRegcodes.shortRegcodes("PVT", shortRegcode);
    rules.suppressStub = SUPPRESS_STUB.value;
    rules.priority = priority;
    return rules;
}

static std::string lf_takenLine(const FileFindings& found, const FoundLivery& one) {
    const std::string_view file = found.pathText;
    const std::string_view folder = file.substr(0, std::min(file.find_last_of("/\\"), file.size()));
    return found.ivao ? fmt::format("{} {} title already exists: {}", folder, one.head, one.livery.title)
                      : fmt::format("{} {} title \"{}\" already exists", folder, one.head, one.livery.title);
}

void gf_mergeFindings(FileFindings&& found, std::vector<Livery>& liveries) {
    if (!found.message.empty()) gf_showMessage(found.message, true);
    for (const auto& line : found.logLines) gf_logLine(line);
    for (auto& [report, line] : found.reports)
        scanReports.lines[static_cast<std::size_t>(report)].push_back(std::move(line));
    const auto fileNumber = static_cast<std::uint32_t>(usedFiles.size());
    bool used = false;
    for (auto& one : found.liveries) {
        if (!usedTitles.try_emplace(one.livery.title, fileNumber).second) {
            scanReports.lines[static_cast<std::size_t>(ScanReport::incompleteSection)].push_back(
                lf_takenLine(found, one));
            continue;
        }
        liveries.push_back(std::move(one.livery));
        used = true;
    }
    if (used) usedFiles.push_back(std::move(found.pathText));
}

std::string gf_fileOfTitle(std::string_view title) {
    const auto number = usedTitles.find(title);
    return number == usedTitles.end() ? std::string() : usedFiles[number->second];
}

void gf_clearScanLists() {
    scanReports = {};
    dontUseTitles.clear();
    usedTitles.clear();
    usedFiles.clear();
}

void gf_liveriesOfCfg(std::string_view bytes, const fs::path& path, std::int32_t priority,
                      std::vector<Livery>& liveries) {
    ScanMemory memory;
    gf_mergeFindings(gf_scanBytes(bytes, path, gf_scanRules(priority), memory), liveries);
}

// The oldest files' findings; false when there are no more. Once a stop is under way files have been skipped, and what
// others yielded behind them is left, too.
static bool lf_collect(ScanPool& pool, std::vector<Livery>& liveries) {
    auto done = pool.take();
    if (done.empty() || gf_stopping()) return false;
    for (auto& found : done) gf_mergeFindings(std::move(found), liveries);
    return true;
}

// Walk -----------------------------------------------------------------------------------------------------------

constexpr std::size_t longestPath = 250; // characters; from this length on the walk does not go below
// Names of sceneries and of other packages without traffic. Case matters.
constexpr std::array<std::string_view, 9> excludedWords{
    "airport", "lvfr", "mkstudios", "simwings", "fsdreamteam", "navigraph", "flytampa", "inibuilds", "_CVT_"};

static bool lf_holdsExcludedWord(std::string_view text) {
    return std::any_of(excludedWords.begin(), excludedWords.end(),
                       [&](std::string_view word) { return text.find(word) != text.npos; });
}

void gf_searchFolder(std::int32_t priority, const fs::path& folder, std::vector<Livery>& liveries) {
    const ScanRules rules = gf_scanRules(priority);
    ScanPool pool(scanThreads > 0 ? scanThreads : gf_scanThreadCount(), [&rules] {
        return [&rules, memory = std::make_shared<ScanMemory>()](const fs::path& path) {
            return gf_scanFile(path, rules, *memory);
        };
    });
    const bool startExcluded =
        lf_holdsExcludedWord(plat::pathText(folder)); // its own files are read all the same
    FolderWalk walk;
    walk.wanted = [](const std::string& name) { return gf_sameButCase(name, "aircraft.cfg"); };
    walk.enters = [&](const std::string& name, const fs::path& path) {
        return !startExcluded && !lf_holdsExcludedWord(name) &&
               gf_characterCount(plat::pathText(path)) < longestPath;
    };
    walk.file = [&](fs::path path) {
        pool.add(std::move(path));
        if (pool.full()) lf_collect(pool, liveries);
    };
    walk.unreadable = [](const fs::path& path, const std::error_code& error) {
        gf_logLine(fmt::format("cannot read folder {}: {}", plat::pathText(path), error.message()));
    };
    walk.tell = [](const std::string& line) { gf_logLine(line); };
    gf_walkFolder(folder, walk);
    while (lf_collect(pool, liveries)) {}
}

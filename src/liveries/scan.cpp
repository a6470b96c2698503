// The search: the walk through a folder tree, and what the files yield put together in walk order. Both run on the
// calling thread, the worker; the reading is the pool's. The reports' files are in scanreports.cpp.

#include "liveries/scan.h"

#include "app/app.h"
#include "app/log.h"
#include "app/parameters.h"
#include "liveries/scanpool.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <thread>

namespace fs = std::filesystem;

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

namespace {

constexpr std::size_t longestPath = 250; // characters; from this length on the walk does not go below
// Names of sceneries and of other packages without traffic. Case matters.
constexpr std::array<std::string_view, 9> excludedWords{
    "airport", "lvfr", "mkstudios", "simwings", "fsdreamteam", "navigraph", "flytampa", "inibuilds", "_CVT_"};

bool holdsExcludedWord(std::string_view text) {
    return std::any_of(excludedWords.begin(), excludedWords.end(),
                       [&](std::string_view word) { return text.find(word) != text.npos; });
}

std::size_t characterCount(std::string_view utf8) {
    return static_cast<std::size_t>(std::count_if(
        utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// An entry that matters: a folder or an aircraft.cfg.
struct Entry {
    std::string name; // of the last part, as text: what is sorted by
    fs::path path;
    bool isFolder = false, isLink = false;
};

class Walk {
  public:
    Walk(const fs::path& start, ScanPool& scanPool, std::vector<Livery>& result)
        : pool(scanPool), liveries(result) {
        std::error_code failed;
        followed.push_back(plat::realPath(start, failed));
    }

    // A folder whose own path text is known, with whether that text keeps the walk from going below.
    void folder(const fs::path& path, bool excluded) {
        for (auto& entry : sortedEntries(path)) {
            if (gf_stopping()) return;
            if (!entry.isFolder) {
                file(std::move(entry.path));
            } else if (!excluded && !holdsExcludedWord(entry.name) &&
                       characterCount(plat::pathText(entry.path)) < longestPath) {
                if (!entry.isLink || mayFollow(entry.path)) folder(entry.path, false);
            }
        }
    }

  private:
    std::vector<Entry> sortedEntries(const fs::path& path) const;
    bool mayFollow(const fs::path& link);
    void file(fs::path path) {
        pool.add(std::move(path));
        if (pool.full()) lf_collect(pool, liveries);
    }

    ScanPool& pool;
    std::vector<Livery>& liveries;
    std::vector<fs::path> followed; // the real folder of the start and those of the links
};

void logUnreadable(const fs::path& path, const std::error_code& error) {
    gf_logLine(fmt::format("cannot read folder {}: {}", plat::pathText(path), error.message()));
}

std::vector<Entry> Walk::sortedEntries(const fs::path& path) const {
    std::vector<Entry> entries;
    std::error_code failed;
    for (const plat::FolderEntry& found : plat::readFolder(path, failed)) {
        std::string name = plat::pathText(found.name);
        if (found.isFolder || (found.isFile && gf_sameButCase(name, "aircraft.cfg")))
            entries.push_back({std::move(name), path / found.name, found.isFolder, found.isLink});
    }
    if (failed) logUnreadable(path, failed);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

// Not into what has been or will be walked: that is how loops of links end.
bool Walk::mayFollow(const fs::path& link) {
    std::error_code failed;
    const fs::path target = plat::realPath(link, failed);
    if (failed) {
        logUnreadable(link, failed);
        return false;
    }
    const auto holds = [](const fs::path& outer, const fs::path& inner) {
        return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
    };
    for (const auto& walked : followed) {
        if (!holds(walked, target) && !holds(target, walked)) continue;
        gf_logLine(
            fmt::format("link {} leads to a folder of this search, not followed", plat::pathText(link)));
        return false;
    }
    followed.push_back(target);
    return true;
}

} // namespace

void gf_searchFolder(std::int32_t priority, const fs::path& folder, std::vector<Livery>& liveries) {
    const ScanRules rules = gf_scanRules(priority);
    ScanPool pool(scanThreads > 0 ? scanThreads : std::max(1u, std::thread::hardware_concurrency()), rules);
    Walk(folder, pool, liveries).folder(folder, holdsExcludedWord(plat::pathText(folder)));
    while (lf_collect(pool, liveries)) {}
}

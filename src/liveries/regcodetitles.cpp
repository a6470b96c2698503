// The table from registration to title: filled from the liveries' own registrations, then overruled by the downloaded
// file and by the user's files. Worker.

#include "liveries/regcodesources.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "liveries/scan.h"
#include "platform/files.h"

#include <fmt/format.h>

namespace fs = std::filesystem;

static std::vector<std::string> regcodeReport; // for "OfflineRegcodes.txt"

static std::string lf_plural(std::size_t count) { return count == 1 ? "" : "s"; }

static bool lf_hasRegcodeFolder() {
    std::error_code failed;
    return fs::exists(folders.myRegcodes, failed);
}

static std::string lf_errorsInFile(const char* kind) {
    return fmt::format("There were errors in processing the {} \"{}\", see the Log.txt", kind,
                       plat::pathText(lf_aigRegcodesPath()));
}

static std::string lf_errorsInFolder() {
    return fmt::format("There were errors in processing the regcode files in folder \"{}\", see the Log.txt",
                       plat::pathText(folders.myRegcodes));
}

// Titles not to use ----------------------------------------------------------------------------------------------

static std::size_t lf_addDontUseTitles(std::vector<RegcodeEntry>& entries) {
    const std::size_t before = dontUseTitles.size();
    for (auto& entry : entries)
        if (entry.regcodes.empty()) dontUseTitles.push_back(std::move(entry.title));
    return dontUseTitles.size() - before;
}

void gf_readDontUseTitles() {
    dontUseTitles.clear();
    if (lf_fetchAigRegcodes()) {
        std::vector<RegcodeEntry> entries;
        if (!lf_readAigRegcodes(entries)) regcodeReport.push_back(lf_errorsInFile("file"));
        const std::size_t count = lf_addDontUseTitles(entries);
        gf_logLine(fmt::format("{} don't use title{} read", count, lf_plural(count)));
        lf_deleteAigRegcodes();
    } else {
        gf_logLine("reading AIG-regcodes.zip failed?");
    }
    if (!lf_hasRegcodeFolder()) return;
    std::vector<RegcodeEntry> entries;
    if (!lf_readRegcodeFolder(entries)) regcodeReport.push_back(lf_errorsInFolder());
    const std::size_t count = lf_addDontUseTitles(entries);
    gf_logLine(fmt::format("{} don't use title{} read from files in {}", count, lf_plural(count),
                           plat::pathText(folders.myRegcodes)));
}

// The table ------------------------------------------------------------------------------------------------------

using TitleIndex = std::unordered_set<std::string_view, TextHash>; // views of the store's texts

static TitleIndex lf_titleIndex() {
    TitleIndex index;
    std::size_t count = 0;
    for (const auto& [airline, models] : liveryStore.airlineLiveries)
        for (const auto& [model, entries] : models) count += entries.size();
    index.reserve(count); // else it grows a dozen times
    for (const auto& [airline, models] : liveryStore.airlineLiveries)
        for (const auto& [model, entries] : models)
            for (const auto& entry : entries) index.insert(entry.title);
    return index;
}

// The store's own text of the livery's title; empty when it has none.
static std::string_view lf_storedTitle(const Livery& livery) {
    const auto models = liveryStore.airlineLiveries.find(livery.airl);
    if (models == liveryStore.airlineLiveries.end()) return {};
    const auto entries = models->second.find(livery.type);
    if (entries == models->second.end()) return {};
    for (const TitleEntry& entry : entries->second)
        if (entry.title == livery.title) return entry.title;
    return {};
}

void gf_loadInlineRegcodes(const std::vector<Livery>& liveries) {
    std::vector<std::string> clashes;
    for (const Livery& livery : liveries) {
        if (livery.atcid.empty()) continue;
        const std::string_view title = lf_storedTitle(livery);
        if (title.empty()) {
            clashes.push_back(
                fmt::format("==> [{} {}] {} \"{}\" not available, system error, should not happen?",
                            livery.airl, livery.type, livery.atcid, livery.title));
            continue;
        }
        const auto [place, isNew] = liveryStore.regcodeTitles.try_emplace(livery.atcid, title);
        if (!isNew && place->second != title)
            clashes.push_back(fmt::format("{} \"{}\" => already in use by \"{}\"", livery.atcid, livery.title,
                                          place->second));
    }
    if (clashes.empty()) return;
    const fs::path path = folders.errors / "InlineRegcodes.txt";
    if (gf_writeReportLines(clashes, path))
        gf_logLine(
            fmt::format("{} in-line regcode clashes, see \"{}\"", clashes.size(), plat::pathText(path)));
}

// Registrations of titles that are not installed are nobody's.
static void lf_applyEntries(const std::vector<RegcodeEntry>& entries, const TitleIndex& titles) {
    std::size_t added = 0, replaced = 0, special = 0;
    for (const auto& entry : entries) {
        const auto title = titles.find(entry.title);
        if (title == titles.end()) continue;
        for (const auto& regcode : entry.regcodes) {
            const auto [place, isNew] = liveryStore.regcodeTitles.try_emplace(regcode, *title);
            if (isNew) {
                ++added;
            } else if (place->second != *title) {
                regcodeReport.push_back(
                    fmt::format("   regcode {} for \"{}\", instead of the same for \"{}\"", regcode, *title,
                                place->second));
                place->second = *title;
                ++replaced;
            }
        }
        if (!entry.special) continue;
        liveryStore.specialTitles.insert(*title);
        ++special;
    }
    std::string line = fmt::format("{} new regcode{} added", added, lf_plural(added));
    if (replaced > 0) line += fmt::format(", {} regcode{} replaced", replaced, lf_plural(replaced));
    if (special > 0) line += fmt::format(", {} regcode{} defined as special", special, lf_plural(special));
    regcodeReport.push_back(std::move(line));
}

static void lf_applyAigRegcodes(const TitleIndex& titles) {
    if (!lf_fetchAigRegcodes()) return gf_logLine("reading AIG-regcodes failed?");
    regcodeReport.push_back("Processing file " + plat::pathText(lf_aigRegcodesPath()));
    std::vector<RegcodeEntry> entries;
    if (!lf_readAigRegcodes(entries)) regcodeReport.push_back(lf_errorsInFile("AIG-regcode file"));
    lf_applyEntries(entries, titles);
    lf_deleteAigRegcodes();
}

static void lf_applyRegcodeFolder(const TitleIndex& titles) {
    if (!lf_hasRegcodeFolder()) return;
    regcodeReport.push_back("Processing files in " + plat::pathText(folders.myRegcodes));
    std::vector<RegcodeEntry> entries;
    if (!lf_readRegcodeFolder(entries)) {
        regcodeReport.push_back(lf_errorsInFolder());
        gf_showMessage(lf_errorsInFolder(), true);
    }
    lf_applyEntries(entries, titles);
}

void gf_loadRegcodeFiles() {
    regcodeReport.clear();
    const TitleIndex titles = lf_titleIndex();
    lf_applyAigRegcodes(titles);
    lf_applyRegcodeFolder(titles);
    const fs::path path = folders.info / "OfflineRegcodes.txt";
    std::error_code failed;
    fs::remove(path, failed);
    if (!regcodeReport.empty() && gf_writeReportLines(regcodeReport, path))
        gf_logLine(fmt::format("Offline regcode files processed, results can be found in \"{}\"",
                               plat::pathText(path)));
    if (!liveryStore.specialTitles.empty())
        gf_logLine(fmt::format("{} special liveries", liveryStore.specialTitles.size()));
}

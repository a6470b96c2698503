// rig liveries: what the program's own scan makes of a folder, for people who wonder why a livery is missing. Nothing
// is written but a log in the temporary folder, which goes again.

#include "liveries/scan.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "files.h"
#include "options.h"
#include "platform/files.h"
#include "rig.h"
#include "simlink/simlink.h"
#include "updates/archive.h"
#include "updates/updates.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <tuple>

namespace fs = std::filesystem;

namespace rig {

namespace {

constexpr const char* usage = R"(usage: rig liveries FOLDER [options]
What the program's scan makes of the aircraft.cfg files below FOLDER. When FOLDER holds a folder "Community", that
one is scanned, with all its packages.
  --automatic     only the packages that the program takes by itself, in their order of priority
  --edition 2020|2024, --order 1..6   which simulator's they are (2020), and AI_PACKAGE_ORDER (1)
  --json          liveries, files and reports as one JSON object
  --missing       the files in which there are more sections than liveries, with both counts
  --reports       the lines of each report file
  --log           the lines that the scan writes to the log
  --refdata FILE  reference data: dbase.zip or temp2.xml (that of the program's own download tree)
  --stubs         with the titles that SUPPRESS_STUB leaves out
A path that holds one of the words of sceneries (as "airport"), and one of 250 characters, keeps the scan from going
below: that counts from the root on.
)";

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error(fmt::format("can't read \"{}\"", plat::pathText(path)));
    return {std::istreambuf_iterator<char>(in), {}};
}

void readReferenceData(const fs::path& path) {
    std::string text = readFile(path);
    if (text.starts_with("PK")) {
        std::uint64_t left = transferLimits.xmlBytes;
        text.clear();
        const ZipArchive zip(path);
        const bool read =
            zip.entryCount() > 0 && zip.readEntry(0, left, [&](const char* data, std::size_t size) {
                text.append(data, size);
                return true;
            });
        if (!read) throw std::runtime_error(fmt::format("\"{}\" is damaged", plat::pathText(path)));
    }
    pugi::xml_document document;
    const auto result = document.load_buffer(text.data(), text.size());
    if (!result)
        throw std::runtime_error(fmt::format("\"{}\": {}", plat::pathText(path), result.description()));
    gf_readDbaseDocument(document, plat::pathText(path));
}

// ---- the files, counted apart from the scan --------------------------------------------------------------------

struct FileCount {
    std::size_t sections = 0, liveries = 0;
};
using Files = std::map<std::string, FileCount>; // by path

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// Lines that begin with "[fltsim.". Of UTF-16, the zero bytes are left out.
std::size_t sectionsIn(std::string text) {
    std::erase(text, '\0');
    text = lowerCase(std::move(text));
    std::size_t count = 0;
    for (auto at = text.find("[fltsim."); at != text.npos; at = text.find("[fltsim.", at + 1)) {
        // Blanks may stand before it, and at the start of the file a mark of the encoding.
        const auto before = at == 0 ? text.npos : text.find_last_not_of(" \t\xEF\xBB\xBF\xFE\xFF", at - 1);
        count += before == text.npos || text[before] == '\n';
    }
    return count;
}

void addFilesBelow(const fs::path& folder, Files& files) {
    std::error_code failed;
    fs::recursive_directory_iterator place(folder, fs::directory_options::skip_permission_denied, failed);
    for (; !failed && place != fs::recursive_directory_iterator(); place.increment(failed)) {
        std::error_code gone;
        if (!place->is_regular_file(gone) ||
            lowerCase(plat::pathText(place->path().filename())) != "aircraft.cfg")
            continue;
        try {
            files[plat::pathText(place->path())].sections = sectionsIn(readFile(place->path()));
        } catch (const std::runtime_error&) {
            files[plat::pathText(place->path())]; // the scan's log tells of it
        }
    }
}

// ---- the scan --------------------------------------------------------------------------------------------------

struct Outcome {
    fs::path folder;
    std::vector<fs::path> packages; // that have been scanned
    Files files;
    std::vector<Livery> liveries;
    std::vector<std::string> liveryFiles; // of each
    ScanReports reports;
    std::string log;
    std::size_t sections() const {
        std::size_t sum = 0;
        for (const auto& [path, count] : files) sum += count.sections;
        return sum;
    }
};

Outcome scan(const fs::path& folder, bool automatic) {
    const fs::path scratch = makeScratchFolder("velloray-liveries");
    folders.log = scratch / "Log.txt";
    gf_openLog();
    Outcome outcome;
    outcome.folder = folder;
    outcome.packages = automatic ? gf_automaticFolders() : std::vector<fs::path>{folder};
    std::int32_t priority = 0;
    for (const fs::path& package : outcome.packages) {
        addFilesBelow(package, outcome.files);
        gf_searchFolder(++priority, package, outcome.liveries);
    }
    for (Livery& livery : outcome.liveries) gf_checkLiveryCode(livery);
    std::sort(outcome.liveries.begin(), outcome.liveries.end(), [](const Livery& a, const Livery& b) {
        return std::tie(a.airl, a.type, a.title) < std::tie(b.airl, b.type, b.title);
    });
    for (const Livery& livery : outcome.liveries) {
        outcome.liveryFiles.push_back(gf_fileOfTitle(livery.title));
        ++outcome.files[outcome.liveryFiles.back()].liveries;
    }
    outcome.reports = scanReports;
    gf_clearScanLists();
    gf_closeLog();
    outcome.log = readFile(folders.log);
    std::error_code ignored;
    fs::remove_all(scratch, ignored);
    return outcome;
}

std::string reportName(std::size_t report) {
    return plat::pathText(gf_scanReportPath(static_cast<ScanReport>(report)).filename());
}

// ---- output ----------------------------------------------------------------------------------------------------

std::string relativeTo(const Outcome& outcome, const std::string& path) {
    return plat::pathText(plat::textPath(path).lexically_relative(outcome.folder));
}

void printJson(const Outcome& outcome) {
    nlohmann::ordered_json json;
    json["folder"] = plat::pathText(outcome.folder);
    for (const fs::path& package : outcome.packages) json["packages"].push_back(plat::pathText(package));
    json["counts"] = {{"files", outcome.files.size()},
                      {"sections", outcome.sections()},
                      {"liveries", outcome.liveries.size()}};
    json["liveries"] = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < outcome.liveries.size(); ++i) {
        const Livery& livery = outcome.liveries[i];
        json["liveries"].push_back({{"airline", livery.airl},
                                    {"type", livery.type},
                                    {"title", livery.title},
                                    {"registration", livery.atcid},
                                    {"cargo", livery.cargo},
                                    {"file", relativeTo(outcome, outcome.liveryFiles[i])}});
    }
    json["files"] = nlohmann::ordered_json::array();
    for (const auto& [path, count] : outcome.files)
        json["files"].push_back({{"file", relativeTo(outcome, path)},
                                 {"sections", count.sections},
                                 {"liveries", count.liveries}});
    for (std::size_t i = 0; i < scanReportCount; ++i)
        json["reports"][reportName(i)] = {{"count", outcome.reports.lines[i].size()},
                                          {"lines", outcome.reports.lines[i]}};
    // What is not UTF-8 in a path or a report is shown as a replacement.
    fmt::print("{}\n", json.dump(1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void printTable(const Outcome& outcome) {
    std::size_t width = 5;
    for (const auto& livery : outcome.liveries) width = std::max(width, livery.title.size());
    if (!outcome.liveries.empty())
        fmt::print("{:7} {:4} {:12} {:5} {:{}} {}\n", "airline", "type", "registration", "", "title", width,
                   "file");
    for (std::size_t i = 0; i < outcome.liveries.size(); ++i) {
        const Livery& livery = outcome.liveries[i];
        fmt::print("{:7} {:4} {:12} {:5} {:{}} {}\n", livery.airl, livery.type, livery.atcid,
                   livery.cargo ? "cargo" : "", livery.title, width,
                   relativeTo(outcome, outcome.liveryFiles[i]));
    }
}

void printSummary(const Outcome& outcome, bool withLines, bool withMissing) {
    if (withMissing) {
        fmt::print("\nsections liveries file\n");
        for (const auto& [path, count] : outcome.files)
            if (count.liveries < count.sections || count.sections == 0)
                fmt::print("{:8} {:8} {}\n", count.sections, count.liveries, relativeTo(outcome, path));
    }
    fmt::print("\n");
    for (const fs::path& package : outcome.packages) fmt::print("{}\n", plat::pathText(package));
    fmt::print("{:6} aircraft.cfg files\n{:6} [fltsim.x] sections\n{:6} liveries\n", outcome.files.size(),
               outcome.sections(), outcome.liveries.size());
    for (std::size_t i = 0; i < scanReportCount; ++i) {
        fmt::print("{:6} in {}\n", outcome.reports.lines[i].size(), reportName(i));
        if (withLines)
            for (const auto& line : outcome.reports.lines[i]) fmt::print("         {}\n", line);
    }
}

} // namespace

int runLiveries(const std::vector<std::string>& arguments) {
    const Options options(arguments, {"refdata", "edition", "order"},
                          {"json", "missing", "reports", "log", "stubs", "automatic", "help"});
    if (options.has("help") || options.rest.size() != 1) {
        fmt::print(options.has("help") ? stdout : stderr, "{}", usage);
        return options.has("help") ? 0 : 2;
    }
    fs::path folder = fs::absolute(plat::textPath(options.rest.front()));
    if (!fs::is_directory(folder))
        throw std::runtime_error(fmt::format("\"{}\" is no folder", plat::pathText(folder)));
    const std::string edition = options.text("edition", "2020");
    if (edition != "2020" && edition != "2024") throw std::runtime_error("--edition is 2020 or 2024");
    MSFS_2020.value = edition == "2020";
    AI_PACKAGE_ORDER.value = static_cast<std::int32_t>(
        options.integer("order", 1, AI_PACKAGE_ORDER.minimum, AI_PACKAGE_ORDER.maximum));
    SUPPRESS_STUB.value = !options.has("stubs");
    gf_installPathParameter().set(plat::pathText(folder));
    if (fs::is_directory(folder / "Community"))
        folder /= "Community";
    else if (options.has("automatic"))
        throw std::runtime_error("--automatic wants a packages folder, one that holds \"Community\"");
    gf_buildFolders();
    readReferenceData(options.has("refdata") ? options.path("refdata")
                                             : sourceFolder() / "install" / "download" / "dbase.zip");
    const Outcome outcome = scan(folder, options.has("automatic"));
    if (options.has("json")) {
        printJson(outcome);
        return 0;
    }
    printTable(outcome);
    printSummary(outcome, options.has("reports"), options.has("missing"));
    if (options.has("log")) fmt::print("\n{}", outcome.log);
    return 0;
}

} // namespace rig

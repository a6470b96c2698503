#pragma once
// Between the files of the scan: what is made of one aircraft.cfg. Everything here works on its arguments and on the
// reference data, which nobody writes meanwhile, so that the pool's threads call it without a lock.

#include "liveries/cfgtext.h"
#include "liveries/scan.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

// What holds for all files of a search. Views of dontUseTitles.
struct ScanRules {
    std::unordered_set<std::string_view, TextHash> dontUse;
    std::vector<std::string> privateRegcodes; // sorted: the short registrations of private aircraft
    bool suppressStub = false;
    std::int32_t priority = 0;
};
ScanRules gf_scanRules(std::int32_t priority); // calling thread only

struct FoundLivery {
    Livery livery;
    std::string head; // of its section
};

// What a file yields. The searching thread puts it where it belongs, file after file in walk order.
struct FileFindings {
    std::vector<FoundLivery> liveries;
    std::vector<std::pair<ScanReport, std::string>> reports;
    std::vector<std::string> logLines;
    std::string message; // for the message line
    std::string pathText;
    bool ivao = false;
};

// A file while it is read.
struct CfgFile {
    const std::filesystem::path& path;
    const ScanRules& rules;
    FileFindings& found;
    std::string model;

    const std::string& pathText() const { return found.pathText; }
    std::string_view folderText() const; // its folder
    void report(ScanReport to, std::string line) { found.reports.emplace_back(to, std::move(line)); }
    void log(std::string line) { found.logLines.push_back(std::move(line)); }
};

// Memory that a thread uses again for each file.
struct ScanMemory {
    std::string bytes;
    CfgText text;
};

FileFindings gf_scanFile(const std::filesystem::path& path, const ScanRules& rules, ScanMemory& memory);
// The same for a file whose bytes are at hand.
FileFindings gf_scanBytes(std::string_view bytes, const std::filesystem::path& path, const ScanRules& rules,
                          ScanMemory& memory);
// Puts findings into the scan's lists and the liveries behind the others, but those whose title is taken.
void gf_mergeFindings(FileFindings&& found, std::vector<Livery>& liveries);

// Sections: what a section yields goes to file.found.
void gf_scanSection(CfgFile& file, std::string_view head, const CfgKeyLine* lines, std::size_t count);
void gf_scanIvaoSection(CfgFile& file, std::string_view head, const CfgKeyLine* lines, std::size_t count);

// Shared by both readers of a section --------------------------------------------------------------------------
// Text that may go into an XML file: valid UTF-8, up to a zero byte.
std::string gf_cfgValue(std::string_view value);
// True, with a report, when the section already had such a line; seen holds a bit per key.
bool gf_isSecondLine(CfgFile& file, std::string_view head, CfgKey key, std::uint32_t& seen);
bool gf_isLargeOrHeavy(std::string_view model);
// The airline that the reference data knows for a registration, else its operator; "" for none.
std::string gf_airlineOfRegcode(std::string_view regcode);

// The model for a file: the value itself, what the fixes make of it, or "" with a report.
std::string gf_acceptedModel(CfgFile& file, const std::string& value);
std::string gf_modelText(std::string_view value); // its first four characters, in upper case
std::string gf_upperCase(std::string text);       // of A to Z alone

// The IVAO packages: model and airline are in the names. The patterns accept what these expressions do, with either
// slash for "\\", letters of either case:
//   .+\\IVAO_MTL\\SimObjects\\Airplanes\\IVAO_(\w+)\\aircraft.cfg$ and the same with ivao_x-csl; gives group 1, "" for no
//   fit; and, fitted to a title, MODEL\s*(\w\w\w).*$ with or without a W behind the model; gives group 1.
bool gf_isIvaoPath(std::string_view pathText);
std::string_view gf_ivaoPathModel(std::string_view pathText);
std::string_view gf_ivaoTitleAirline(std::string_view title, std::string_view model, bool wide);
bool gf_isIvaoWidePath(std::string_view pathText); // of the packages whose titles have the W

#pragma once
// Which title bears which registration, from three sources in rising order of authority: the aircraft.cfg files, the
// downloaded file "AIG-regcodes.xml", the user's text files in "my_regcodes". Worker, before the main cycle.

#include "liveries/liveries.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

struct RegcodeEntry {
    std::string title;
    std::vector<std::string> regcodes; // empty: a title not to use
    bool special = false;              // only these registrations may wear the title
};

void gf_readDontUseTitles(); // fills dontUseTitles, before a scan
void gf_loadInlineRegcodes(
    const std::vector<Livery>& liveries); // into liveryStore.regcodeTitles, first one stays
void gf_loadRegcodeFiles();               // replaces, and fills liveryStore.specialTitles
// One line of a text file; false marks the file's reading as failed. For the fuzz target too.
bool gf_parseRegcodeLine(std::string_view line, const std::string& fileName,
                         std::vector<RegcodeEntry>& entries);

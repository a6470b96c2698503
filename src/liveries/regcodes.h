#pragma once
// Which title bears which registration, from three sources in rising order of authority: the aircraft.cfg files, the
// downloaded file "AIG-regcodes.xml", the user's text files in "my_regcodes". Worker, before the main cycle. No failure
// here stops anything: what cannot be read is logged, and the other sources count.

#include "liveries/liveries.h"

#include <string>
#include <string_view>
#include <vector>

struct RegcodeEntry {
    std::string title;
    std::vector<std::string> regcodes; // empty: a title not to use
    bool special = false;              // only these registrations may wear the title
};

void gf_readDontUseTitles(); // fills dontUseTitles anew, before a scan
// During the indexing, once liveryStore.airlineLiveries stands: into liveryStore.regcodeTitles, where the first one of
// a registration stays. The clashes go to "InlineRegcodes.txt".
void gf_loadInlineRegcodes(const std::vector<Livery>& liveries);
// Behind the above: replaces registrations of the sources before, and fills liveryStore.specialTitles. Tells of it in
// "OfflineRegcodes.txt".
void gf_loadRegcodeFiles();

// One line of a text file; false, with a log line, when its form is wrong and the file counts as not wholly read.
bool gf_parseRegcodeLine(std::string_view line, const std::string& fileName,
                         std::vector<RegcodeEntry>& entries);
// Of the parsed "AIG-regcodes.xml"; appends.
void gf_readRegcodesDocument(const pugi::xml_document& document, std::vector<RegcodeEntry>& entries);

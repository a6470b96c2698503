// The sources of registrations outside the aircraft.cfg files: how they are fetched and read. What is made of them is
// in regcodetitles.cpp. Worker.

#include "liveries/regcodesources.h"

#include "app/folders.h"
#include "app/log.h"
#include "app/textfiles.h"
#include "liveries/cfgtext.h"
#include "liveries/scan.h"
#include "platform/files.h"
#include "platform/text.h"
#include "updates/updates.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>

namespace fs = std::filesystem;

// The user's text files ------------------------------------------------------------------------------------------

static std::vector<std::string_view> lf_fields(std::string_view line) {
    std::vector<std::string_view> fields;
    for (;;) {
        const auto end = line.find(';');
        fields.push_back(line.substr(0, end));
        if (end == line.npos) return fields;
        line.remove_prefix(end + 1);
    }
}

static bool lf_isRegcodeLength(const std::string& regcode, const std::string& fileName) {
    constexpr std::size_t shortest = 3, longest = 12; // characters
    if (regcode.size() >= shortest && regcode.size() <= longest) return true;
    gf_logLine(fmt::format("wrong regcode length \"{}\" in {}", regcode, fileName));
    return false;
}

bool gf_parseRegcodeLine(std::string_view line, const std::string& fileName,
                         std::vector<RegcodeEntry>& entries) {
    if (line.empty()) return true;
    const auto fields = lf_fields(line);
    RegcodeEntry entry{std::string(fields[0]), {}, false};
    if (fields.size() == 1) {
        entries.push_back(std::move(entry));
        return true;
    }
    if (fields.size() > 3) {
        gf_logLine(fmt::format("{}: wrong format \"{}\"", fileName, line));
        return false;
    }
    entry.regcodes = gf_splitAtCommas(fields[1]);
    const std::size_t listed = entry.regcodes.size();
    entry.special = listed == 1 || (fields.size() == 3 && fields[2] == "#");
    std::erase_if(entry.regcodes,
                  [&](const auto& regcode) { return !lf_isRegcodeLength(regcode, fileName); });
    if (!entry.regcodes.empty())
        entries.push_back(std::move(entry));
    else if (listed != 1) // of a single one the length has been told
        gf_logLine(fmt::format("{} ; regs empty? ", fileName));
    return true;
}

static bool lf_readRegcodeFile(const fs::path& path, std::vector<RegcodeEntry>& entries) {
    gf_logLine(fmt::format("Processing regcodes file \"{}\"", plat::pathText(path)));
    const FileEncoding encoding = gf_fileEncoding(path);
    std::string text;
    if (encoding == FileEncoding::unreadable || !gf_readTextFile(encoding, path, text)) return false;
    const std::string name = plat::pathText(path.filename());
    const std::size_t before = entries.size();
    bool good = true;
    CfgLines lines(text);
    for (std::string_view line; lines.next(line);)
        good = gf_parseRegcodeLine(plat::utf8FromAnyText(line), name, entries) && good;
    const std::size_t count = entries.size() - before;
    gf_logLine(fmt::format("{} liverie{} read", count, count == 1 ? "" : "s"));
    return good;
}

bool lf_readRegcodeFolder(std::vector<RegcodeEntry>& entries) {
    std::vector<std::pair<std::string, fs::path>>
        files; // sorted by name, so that the later file wins everywhere
    std::error_code failed;
    fs::directory_iterator place(folders.myRegcodes, failed);
    for (; !failed && place != fs::directory_iterator(); place.increment(failed)) {
        std::error_code gone;
        if (gf_sameButCase(plat::pathText(place->path().extension()), ".txt") && place->is_regular_file(gone))
            files.emplace_back(plat::pathText(place->path().filename()), place->path());
    }
    if (failed)
        gf_logLine(
            fmt::format("cannot read folder {}: {}", plat::pathText(folders.myRegcodes), failed.message()));
    std::sort(files.begin(), files.end());
    bool good = !failed;
    for (const auto& [name, path] : files) good = lf_readRegcodeFile(path, entries) && good;
    return good;
}

// The downloaded file --------------------------------------------------------------------------------------------

fs::path lf_aigRegcodesPath() { return folders.input / "AIG-regcodes.xml"; }

bool lf_fetchAigRegcodes() { return gf_downloadAndUnzip("AIG-regcodes.zip", lf_aigRegcodesPath()); }

// Throws nothing: a registration that no decoding fits is left out.
static std::vector<std::string> lf_decodedRegcodes(const char* list) {
    std::vector<std::string> regcodes;
    for (const auto& stored : gf_splitAtCommas(list)) {
        if (stored.empty()) continue;
        try {
            regcodes.push_back(gf_decryptReg(stored));
        } catch (const std::out_of_range&) {
            gf_logLine(fmt::format("wrong regcode \"{}\" in AIG-regcodes", stored));
        }
    }
    return regcodes;
}

void gf_readRegcodesDocument(const pugi::xml_document& document, std::vector<RegcodeEntry>& entries) {
    for (const auto node : document.child("AIG-regcodes").children("livery")) {
        const char* title = node.attribute("title").value();
        if (!*title) continue;
        const char* list = node.attribute("reg").value();
        RegcodeEntry entry{title, lf_decodedRegcodes(list), node.attribute("special").as_bool()};
        // A list of which nothing is left must not turn into a title not to use.
        if (!*list || !entry.regcodes.empty()) entries.push_back(std::move(entry));
    }
}

bool lf_readAigRegcodes(std::vector<RegcodeEntry>& entries) {
    const fs::path path = lf_aigRegcodesPath();
    const std::string text = plat::pathText(path);
    pugi::xml_document document;
    if (!document.load_file(path.c_str())) {
        gf_logLine(fmt::format("Failed to load {}", text));
        return false;
    }
    const std::size_t before = entries.size();
    gf_readRegcodesDocument(document, entries);
    try {
        gf_rotateFile(path);
    } catch (const fs::filesystem_error& e) { // the copies are for the user to look at, no more
        gf_logLine(fmt::format("could not keep {}: {}", text, e.what()));
    }
    const std::size_t count = entries.size() - before;
    gf_logLine(fmt::format("{} liverie{} read from {}", count, count == 1 ? "" : "s", text));
    return true;
}

void lf_deleteAigRegcodes() {
    std::error_code failed;
    fs::remove(lf_aigRegcodesPath(), failed);
    if (failed)
        gf_logLine(
            fmt::format("could not delete {}: {}", plat::pathText(lf_aigRegcodesPath()), failed.message()));
}

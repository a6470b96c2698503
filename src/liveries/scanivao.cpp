// The IVAO packages of the scan: their model stands in the path, their airline in the title. Any thread.

#include "liveries/scanfile.h"

#include "app/textfiles.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

static constexpr std::array<std::string_view, 2> packages{"ivao_x-csl", "IVAO_MTL"};

static bool lf_isSlash(char c) { return c == '/' || c == '\\'; }
static bool lf_isWord(char c) {
    return (c >= '0' && c <= '9') || (gf_cfgLower(c) >= 'a' && gf_cfgLower(c) <= 'z') || c == '_';
}

static bool lf_contains(std::string_view text, std::string_view part) { return text.find(part) != text.npos; }

bool gf_isIvaoPath(std::string_view pathText) {
    for (const auto package : packages)
        if (lf_contains(pathText, package)) return true;
    return false;
}

bool gf_isIvaoWidePath(std::string_view pathText) {
    for (const auto* folder :
         {"IVAO_B738WLfa", "IVAO_B739WLfa", "IVAO_A320wCFM", "IVAO_A320wIAE", "IVAO_A319fIAEw"})
        if (lf_contains(pathText, folder)) return true;
    return false;
}

// Takes a name with the slash before it off the end of text.
static bool lf_takeEnd(std::string_view& text, std::string_view name) {
    if (text.size() < name.size() + 1) return false;
    const std::size_t start = text.size() - name.size();
    if (!gf_sameButCase(text.substr(start), name) || !lf_isSlash(text[start - 1])) return false;
    text = text.substr(0, start - 1);
    return true;
}

std::string_view gf_ivaoPathModel(std::string_view pathText) {
    constexpr std::string_view beforeDot = "\\aircraft", afterDot = "cfg", beforeModel = "IVAO_";
    std::string_view text = pathText;
    // The dot of the expression is any character.
    if (text.size() < beforeDot.size() + 1 + afterDot.size()) return {};
    if (!gf_sameButCase(text.substr(text.size() - afterDot.size()), afterDot)) return {};
    text.remove_suffix(afterDot.size());
    if (text.back() == '\n' || text.back() == '\r') return {};
    text.remove_suffix(1);
    if (!lf_takeEnd(text, beforeDot.substr(1))) return {};

    const auto slash = text.find_last_of("/\\");
    if (slash == text.npos) return {};
    std::string_view model = text.substr(slash + 1);
    if (model.size() <= beforeModel.size() ||
        !gf_sameButCase(model.substr(0, beforeModel.size()), beforeModel))
        return {};
    model.remove_prefix(beforeModel.size());
    for (const char c : model)
        if (!lf_isWord(c)) return {};
    text = text.substr(0, slash);

    if (!lf_takeEnd(text, "Airplanes") || !lf_takeEnd(text, "SimObjects")) return {};
    if (!lf_takeEnd(text, packages[0]) && !lf_takeEnd(text, packages[1])) return {};
    if (text.empty() || text.find_first_of("\r\n") != text.npos) return {};
    return model;
}

std::string_view gf_ivaoTitleAirline(std::string_view title, std::string_view model, bool wide) {
    constexpr std::size_t codeLength = 3;
    if (!gf_sameButCase(title.substr(0, model.size()), model)) return {};
    std::string_view rest = title.substr(model.size());
    if (wide) {
        if (rest.empty() || gf_cfgLower(rest[0]) != 'w') return {};
        rest.remove_prefix(1);
    }
    while (!rest.empty() && gf_isCfgSpace(rest[0])) rest.remove_prefix(1);
    const std::string_view code = rest.substr(0, codeLength);
    if (code.size() < codeLength) return {};
    for (const char c : code)
        if (!lf_isWord(c)) return {};
    if (rest.find_first_of("\r\n") != rest.npos) return {};
    return code;
}

namespace {

struct Section {
    std::string title;
    std::string_view atcId, texture;
};

// False when the section is to be dropped.
bool takeLines(CfgFile& file, std::string_view head, const CfgKeyLine* lines, std::size_t count,
               Section& section) {
    std::uint32_t seen = 0;
    bool hasTexture = false;
    for (std::size_t i = 0; i < count; ++i) {
        const auto [key, value] = lines[i];
        if (key == CfgKey::airline) continue;
        if (key == CfgKey::texture) {
            if (!hasTexture) section.texture = value;
            hasTexture = true;
            continue;
        }
        if (gf_isSecondLine(file, head, key, seen)) return false;
        if (key == CfgKey::atcId) section.atcId = value;
        if (key != CfgKey::title) continue;
        const std::string title = gf_cfgValue(value);
        section.title = gf_trimmed(title);
        if (section.title != title)
            file.log(fmt::format("removed spaces around title \"{}\" --> \"{}\"", title, section.title));
    }
    return true;
}

// The one registration of the list; "" for several, and when one of them is none.
std::string regcodeOf(CfgFile& file, std::string_view head, const Section& section) {
    constexpr std::size_t shortest = 5, longest = 12; // characters
    if (section.atcId.size() < shortest) return {};
    const auto items = gf_splitAtCommas(gf_cfgValue(section.atcId));
    for (const auto& item : items) {
        if (item.empty())
            file.log(fmt::format(" empty regcode in: {}", section.title));
        else if (item.size() > longest)
            file.log(fmt::format("regcode: {}, has more than 12 chars in title: {}", item, section.title));
        else if (item.find('*') != std::string::npos)
            file.log(
                fmt::format("{} {} wild cards no longer supported, atc_id skipped ", file.pathText(), head));
        else if (item != "G-BAFM") // what its authors left in where they knew no registration
            continue;
        return {};
    }
    return items.size() == 1 ? std::string(gf_trimmed(items.front())) : std::string();
}

// A file system that keeps the case, and a dot at the end of a name, may hold the folder under another form of the
// name than the system for which the package was made.
bool folderExists(const std::filesystem::path& folder) {
    std::error_code failed;
    if (std::filesystem::is_directory(folder, failed)) return true;
    const auto withoutDot = [](std::string name) {
        while (name.ends_with('.')) name.pop_back();
        return name;
    };
    const std::string wanted = withoutDot(plat::pathText(folder.filename()));
    std::filesystem::directory_iterator entries(folder.parent_path(), failed), end;
    for (; !failed && entries != end; entries.increment(failed)) {
        std::error_code gone;
        if (gf_sameButCase(withoutDot(plat::pathText(entries->path().filename())), wanted) &&
            entries->is_directory(gone))
            return true;
    }
    return false;
}

bool hasTextureFolder(CfgFile& file, std::string_view head, const Section& section) {
    std::string name = "texture." + gf_cfgValue(section.texture);
    std::replace(name.begin(), name.end(), '\\', '/');
    const auto folder = (file.path.parent_path() / plat::textPath(name)).make_preferred();
    if (folderExists(folder)) return true;
    file.report(ScanReport::incompleteSection,
                plat::pathText(folder) + " " + std::string(head) + " does not exist");
    return false;
}

// False, with a report, when the section is to be dropped.
bool findAirline(CfgFile& file, std::string_view head, const Section& section, Livery& livery) {
    const auto code = gf_ivaoTitleAirline(livery.title, file.model, gf_isIvaoWidePath(file.pathText()));
    if (!code.empty()) {
        livery.airl = code;
        if (!gf_isValidAirline(code)) {
            file.report(ScanReport::invalidAirline,
                        fmt::format("{:12} in {} ", code, file.pathText()) + std::string(head));
            return false;
        }
        if (code == "ZZZ") livery.atcid.clear();
        return true;
    }
    livery.airl = gf_airlineOfRegcode(livery.atcid);
    if (!livery.airl.empty()) return true;
    file.report(
        ScanReport::incompleteSection,
        fmt::format("{} {} misses airlinecode in title: {}{}{}", file.folderText(), head, section.title,
                    livery.atcid.empty() ? ", and no regcode" : ", and regcode unknown", livery.atcid));
    return false;
}

} // namespace

void gf_scanIvaoSection(CfgFile& file, std::string_view head, const CfgKeyLine* lines, std::size_t count) {
    Section section;
    if (!takeLines(file, head, lines, count, section)) return;
    Livery livery;
    livery.type = file.model;
    livery.priority = file.rules.priority;
    livery.atcid = regcodeOf(file, head, section);
    if (!hasTextureFolder(file, head, section)) return;
    if (section.title.empty()) {
        file.report(ScanReport::incompleteSection,
                    fmt::format("{} {} misses title", file.folderText(), head));
        return;
    }
    if (file.rules.dontUse.count(section.title) > 0) return;
    livery.title = section.title;
    if (!findAirline(file, head, section, livery)) return;
    file.found.liveries.push_back({std::move(livery), std::string(head)});
}

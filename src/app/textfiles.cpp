// Small file helpers: reading a text of unknown encoding, writing one, saving XML, and numbers and booleans as the
// files spell them. No state but the log; any thread, never in a Tick.

#include "app/textfiles.h"

#include "app/app.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/version.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/text.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <pugixml.hpp>
#include <sstream>
#include <system_error>

static constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

bool gf_saveXml(const pugi::xml_document& document, const std::filesystem::path& path) {
    std::ostringstream text;
    document.save(text);
    const bool saved = plat::replaceFile(path, text.str());
    if (saved)
        gf_logLine(fmt::format("\"{}\" saved", plat::pathText(path)));
    else
        gf_logLine(fmt::format("could not save to \"{}\"", plat::pathText(path)));
    return saved;
}

bool gf_writeFile(std::string_view text, const std::filesystem::path& path, bool addLineEnd) {
    std::ofstream out(path, std::ios::binary); // line ends are the same on every system
    if (!out) return false;
    out << text;
    if (addLineEnd) out << '\n';
    out.close();
    return !out.fail();
}

bool gf_writeReportLines(const std::vector<std::string>& lines, const std::filesystem::path& path) {
    std::string text;
    for (const auto& line : lines) text += line + "\n";
    std::error_code failed; // shows in the writing
    std::filesystem::create_directories(path.parent_path(), failed);
    if (gf_writeFile(text, path, false)) return true;
    gf_logLine(fmt::format("could not write {}", plat::pathText(path)));
    return false;
}

static bool readBytes(const std::filesystem::path& path, std::string& result) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    result.assign(std::istreambuf_iterator<char>(in), {});
    return true;
}

std::optional<std::vector<std::string>> gf_readLines(const std::filesystem::path& path) {
    std::string text;
    if (!readBytes(path, text)) return std::nullopt;
    std::string_view rest = text;
    if (rest.starts_with(utf8Mark)) rest.remove_prefix(utf8Mark.size());
    if (rest.empty()) return std::nullopt;
    std::vector<std::string> lines;
    while (!rest.empty()) {
        const auto end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.emplace_back(line);
    }
    return lines;
}

FileEncoding gf_fileEncoding(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        const int error = errno;
        gf_logLine(
            fmt::format("cannot open file {} for character encoding, err: {}", plat::pathText(path), error));
        return FileEncoding::unreadable;
    }
    char start[2] = {};
    in.read(start, 2);
    return gf_encodingOfBytes(std::string_view(start, static_cast<std::size_t>(in.gcount())));
}

FileEncoding gf_encodingOfBytes(std::string_view bytes) {
    const std::string_view mark = bytes.substr(0, 2);
    if (mark == "\xFF\xFE") return FileEncoding::utf16le;
    if (mark == "\xFE\xFF") return FileEncoding::utf16be;
    if (mark == "\xEF\xBB") return FileEncoding::utf8bom; // the third byte is not looked at
    return FileEncoding::plain;
}

std::string gf_utf8OfUtf16Bytes(std::string_view bytes, bool bigEndian) {
    constexpr unsigned noTranslation = 1113; // the Windows number for an invalid sequence
    if (bytes.size() % 2 != 0)
        throw win32::Utf8ConversionException("Invalid UTF-16 sequence found in input string.", noTranslation);
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]),
                   second = static_cast<unsigned char>(bytes[i + 1]);
        units.push_back(static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first));
    }
    if (units.starts_with(u'\xFEFF')) units.erase(0, 1);
    return plat::utf8FromUtf16(units);
}

std::string gf_utf16FailureText(const std::exception& failure) {
    if (const auto* invalid = dynamic_cast<const win32::Utf8ConversionException*>(&failure))
        return fmt::format("conversion from error from utf16 to utf8, code: {}", invalid->errorCode());
    return fmt::format("conversion from error from utf16 to utf8: {}", failure.what());
}

bool gf_readTextFile(FileEncoding encoding, const std::filesystem::path& path, std::string& result) {
    std::string bytes;
    if (!readBytes(path, bytes)) return false;
    switch (encoding) {
    case FileEncoding::utf16le:
    case FileEncoding::utf16be: try { result = gf_utf8OfUtf16Bytes(bytes, encoding == FileEncoding::utf16be);
        } catch (const std::exception& e) {
            gf_showMessage(gf_utf16FailureText(e), true);
            return false;
        }
        return true;
    case FileEncoding::utf8bom: bytes.erase(0, utf8Mark.size()); break;
    case FileEncoding::plain:
    case FileEncoding::unreadable: break;
    }
    result = std::move(bytes);
    return true;
}

bool gf_boolOfText(std::string_view text) {
    return !text.empty() && std::string_view("1tTyY").find(text[0]) != std::string_view::npos;
}

std::vector<std::string> gf_splitAtCommas(std::string_view text) {
    std::vector<std::string> parts;
    if (text.empty()) return parts;
    for (;;) {
        const auto comma = text.find(',');
        parts.emplace_back(text.substr(0, comma));
        if (comma == text.npos) return parts;
        text.remove_prefix(comma + 1);
    }
}

void gf_writeMeta(pugi::xml_document& document) {
    pugi::xml_node meta = document.prepend_child("meta");
    const auto add = [&](const char* name, const std::string& value) {
        pugi::xml_node info = meta.append_child("info");
        info.append_attribute("name") = name;
        info.append_attribute("value") = value.c_str();
    };
    add("author", programName);
    add("version", gf_versionText(gf_programVersion()));
    add("date", gf_timeText(plat::utcSeconds()));
    add("copyright", std::string("Written by ") + programName + "; yours to use and to share");
    add("MSFS", MSFS_2020 ? "2020" : "2024");
}

bool gf_metaComplete(const pugi::xml_document& document) {
    const pugi::xml_node meta = document.child("meta");
    for (const char* name : {"author", "date", "version"})
        if (!meta.find_child_by_attribute("info", "name", name)) return false;
    return true;
}

void gf_testMeta(const pugi::xml_document& document) {
    if (!gf_metaComplete(document)) gf_logLine(metaIncorrect);
}

// Blanks and a plus sign may stand before a number, as the C functions allow.
static std::string_view numberStart(std::string_view text) {
    while (!text.empty() && (text[0] == ' ' || (text[0] >= '\t' && text[0] <= '\r'))) text.remove_prefix(1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

bool gf_parseDouble(std::string_view text, double& result) {
    text = numberStart(text);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || !std::isfinite(value)) return false;
    result = value;
    return true;
}

bool gf_parseInt(std::string_view text, int& result) {
    text = numberStart(text);
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{}) return false;
    result = value;
    return true;
}

#pragma once
// Small file helpers of the scans and stores.

#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pugi {
class xml_document;
}

enum class FileEncoding { plain = 0, utf16le = 1, utf16be = 2, utf8bom = 3, unreadable = 5 };

bool gf_saveXml(const pugi::xml_document& document,
                const std::filesystem::path& path); // beside, then renamed; logs
bool gf_writeFile(std::string_view text, const std::filesystem::path& path, bool addLineEnd);
// A line each, with the folder that it lies in; false, with a log line, when that fails.
bool gf_writeReportLines(const std::vector<std::string>& lines, const std::filesystem::path& path);
// The lines of a file without their ends; nullopt when it is missing or empty.
std::optional<std::vector<std::string>> gf_readLines(const std::filesystem::path& path);
FileEncoding gf_fileEncoding(const std::filesystem::path& path); // by the first two bytes
bool gf_readTextFile(FileEncoding encoding, const std::filesystem::path& path,
                     std::string& result);               // as UTF-8
FileEncoding gf_encodingOfBytes(std::string_view bytes); // the same rule, for bytes already read
// Of such bytes, mark or not. Throws win32::Utf8ConversionException for an odd number of bytes and for an invalid
// sequence, std::overflow_error for more text than a conversion takes.
std::string gf_utf8OfUtf16Bytes(std::string_view bytes, bool bigEndian);
std::string gf_utf16FailureText(const std::exception& failure); // of the above, for the user

bool gf_boolOfText(
    std::string_view text); // the files' rule: true when the first character is one of 1 t T y Y
std::vector<std::string> gf_splitAtCommas(std::string_view text); // no trimming; an empty text gives none

// The element "meta", the first of several at the top of the program's own XML files.
void gf_writeMeta(pugi::xml_document& document);
bool gf_metaComplete(const pugi::xml_document& document);
constexpr const char* metaIncorrect = "meta data incorrect?"; // what is logged when it is not
void gf_testMeta(const pugi::xml_document& document);         // logs it

// Number of the field's start, independent of the locale: what follows the number is ignored. False for no number
// and for one that is not finite or out of range.
bool gf_parseDouble(std::string_view text, double& result);
bool gf_parseInt(std::string_view text, int& result); // signed decimal

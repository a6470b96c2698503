// One aircraft.cfg of the scan: its bytes, its encoding, the check of its section numbers, its model, and its sections
// one by one. What it yields is a value; nothing global is written. Any thread.

#include "liveries/scanfile.h"

#include "app/textfiles.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fstream>

std::string_view CfgFile::folderText() const {
    const std::string_view text = found.pathText;
    const auto separator = text.find_last_of("/\\");
    return separator == text.npos ? std::string_view() : text.substr(0, separator);
}

// Reading ------------------------------------------------------------------------------------------------------

enum class ReadResult { done, gone, unreadable };

// With one read where the memory of the files before is large enough. Throws std::ios_base::failure for a read that
// fails, std::length_error for a file that is too large to be what its name says.
static ReadResult lf_readFile(const std::filesystem::path& path, std::string& memory, std::string_view& bytes,
                              int& error) {
    constexpr std::size_t firstMemory = 64 * 1024, largestFile = 64 * 1024 * 1024; // bytes
    std::filebuf file;
    file.pubsetbuf(nullptr, 0); // reads go straight to our memory
    errno = 0;
    if (!file.open(path, std::ios::in | std::ios::binary)) {
        error = errno;
        std::error_code ignored;
        return std::filesystem::exists(path, ignored) ? ReadResult::unreadable : ReadResult::gone;
    }
    std::size_t size = 0;
    for (;;) {
        if (memory.size() == size) memory.resize(std::clamp(2 * size, firstMemory, largestFile + 1));
        const auto room = memory.size() - size;
        const auto got =
            static_cast<std::size_t>(file.sgetn(memory.data() + size, static_cast<std::streamsize>(room)));
        size += got;
        if (size > largestFile) throw std::length_error("the file is too large");
        if (got < room) break;
    }
    bytes = std::string_view(memory).substr(0, size);
    return ReadResult::done;
}

// Section numbers ----------------------------------------------------------------------------------------------

static constexpr std::int32_t withoutNumber = 10000; // how a head that has none is counted

static bool lf_checkNumbers(CfgFile& file, const CfgText& text) {
    if (text.numbers.empty()) {
        file.report(ScanReport::emptyFile, file.pathText());
        return true;
    }
    std::vector<std::int32_t> numbers;
    numbers.reserve(text.numbers.size());
    for (const auto digits : text.numbers) {
        std::int32_t number = withoutNumber;
        if (!digits.empty()) {
            const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
            if (error != std::errc{}) {
                file.log(fmt::format("fltsim num {} incorrect", digits));
                return false;
            }
        }
        numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] == static_cast<std::int32_t>(i)) continue;
        file.report(ScanReport::invalidFile,
                    file.pathText() + " contains " +
                        (numbers[i] == withoutNumber
                             ? std::string("a [fltsim.] section without a number")
                             : fmt::format("non-consecutive [fltsim.x] numbers at .x={}", numbers[i])));
        return false;
    }
    return true;
}

// Model --------------------------------------------------------------------------------------------------------

std::string gf_upperCase(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

std::string gf_modelText(std::string_view value) {
    constexpr std::size_t longest = 4; // characters, of one or more bytes
    std::string text = gf_cfgValue(value);
    std::size_t end = 0;
    for (std::size_t characters = 0; end < text.size(); ++end) {
        const bool continues = (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80;
        if (!continues && characters++ == longest) break;
    }
    text.resize(end);
    return gf_upperCase(std::move(text));
}

std::string gf_acceptedModel(CfgFile& file, const std::string& value) {
    if (refData.allModels.count(value) > 0) return value;
    const auto fix = refData.modelFixes.find(value);
    if (fix != refData.modelFixes.end()) {
        file.report(ScanReport::fixes, fmt::format("Model fix: {} found in {} changed into {}", value,
                                                   file.pathText(), fix->second));
        return fix->second;
    }
    file.report(ScanReport::invalidModel, fmt::format("{:16} in {}", value, file.pathText()));
    return {};
}

static std::string lf_baseContainerModel(const CfgText& text) {
    constexpr std::size_t upToName = 3; // "..\"
    for (const auto value : text.baseContainers) {
        const auto found = baseContainerModels.find(value.substr(std::min(upToName, value.size())));
        if (found != baseContainerModels.end()) return gf_upperCase(found->second);
    }
    return {};
}

static std::string lf_modelOfFile(CfgFile& file, const CfgText& text) {
    const std::string value =
        text.designator.empty() ? lf_baseContainerModel(text) : gf_modelText(text.designator);
    if (!value.empty()) return gf_acceptedModel(file, value);
    for (const auto* addOn : {"pmdg-aircraft-7", "fnx-aircraft-3"}) // flown by the user, never by traffic
        if (file.pathText().find(addOn) != std::string::npos) return {};
    file.report(ScanReport::invalidFile,
                "Line icao_type_designator= is missing in [General] section of " + file.pathText());
    return {};
}

// The file -----------------------------------------------------------------------------------------------------

// As UTF-8, or as 8-bit text that is turned into UTF-8 value by value. False, with a message, for broken UTF-16.
static bool lf_decode(CfgFile& file, std::string_view& bytes, std::string& converted) {
    constexpr std::size_t utf8MarkLength = 3;
    const FileEncoding encoding = gf_encodingOfBytes(bytes);
    if (encoding == FileEncoding::utf8bom) bytes.remove_prefix(std::min(utf8MarkLength, bytes.size()));
    if (encoding != FileEncoding::utf16le && encoding != FileEncoding::utf16be) return true;
    try {
        converted = gf_utf8OfUtf16Bytes(bytes, encoding == FileEncoding::utf16be);
    } catch (const std::exception& e) {
        file.found.message = gf_utf16FailureText(e);
        file.log("no text in " + file.pathText());
        return false;
    }
    bytes = converted;
    return true;
}

static void lf_scanSections(CfgFile& file, const CfgText& text) {
    const auto read = file.found.ivao ? gf_scanIvaoSection : gf_scanSection;
    try {
        for (const auto& section : text.sections)
            read(file, section.head, text.keyLines.data() + section.firstLine, section.lineCount);
    } catch (const std::exception& e) {
        file.log(fmt::format("exception in lf_procesFltSimSection: {}, file: {}", e.what(), file.pathText()));
    }
}

static void lf_scanText(CfgFile& file, std::string_view bytes, CfgText& text) {
    std::string converted;
    if (!lf_decode(file, bytes, converted)) return;
    gf_parseCfg(bytes, text);
    if (!lf_checkNumbers(file, text)) return;
    if (!file.found.ivao) file.model = lf_modelOfFile(file, text);
    if (!file.model.empty()) lf_scanSections(file, text);
}

// False when the path of an IVAO file names no model; then the file is not looked at.
static bool lf_modelOfIvaoPath(CfgFile& file) {
    const std::string value = gf_modelText(gf_ivaoPathModel(file.pathText()));
    if (value.empty())
        file.log("no model in the path " + file.pathText());
    else
        file.model = gf_acceptedModel(file, value);
    return !file.model.empty();
}

static bool lf_readOrTell(CfgFile& file, std::string& memory, std::string_view& bytes) {
    int error = 0;
    switch (lf_readFile(file.path, memory, bytes, error)) {
    case ReadResult::done: return true;
    case ReadResult::gone: file.log(file.pathText() + " has gone"); break;
    case ReadResult::unreadable:
        file.log(fmt::format("cannot open file {} for character encoding, err: {}", file.pathText(), error));
        if (file.found.ivao) file.log(fmt::format("no character set found for {}", file.pathText()));
        break;
    }
    return false;
}

// With bytes of its own, or with given ones.
static FileFindings lf_scan(const std::filesystem::path& path, const ScanRules& rules, ScanMemory& memory,
                            const std::string_view* given) {
    FileFindings found;
    found.pathText = plat::pathText(path);
    found.ivao = gf_isIvaoPath(found.pathText);
    CfgFile file{path, rules, found, {}};
    try {
        std::string_view bytes = given ? *given : std::string_view();
        if ((!found.ivao || lf_modelOfIvaoPath(file)) && (given || lf_readOrTell(file, memory.bytes, bytes)))
            lf_scanText(file, bytes, memory.text);
    } catch (const std::exception& e) {
        file.log(fmt::format("exception in lf_searchLiveriesinFile {}: {}", found.pathText, e.what()));
    }
    return found;
}

FileFindings gf_scanFile(const std::filesystem::path& path, const ScanRules& rules, ScanMemory& memory) {
    return lf_scan(path, rules, memory, nullptr);
}

FileFindings gf_scanBytes(std::string_view bytes, const std::filesystem::path& path, const ScanRules& rules,
                          ScanMemory& memory) {
    return lf_scan(path, rules, memory, &bytes);
}

// Reads SimConnect.cfg: sections [SimConnect] or [SimConnect.0], [SimConnect.1], ..., one for each configuration
// index, with the keys Protocol, Address, Port, MaxReceiveSize and DisableNagle. It connects to nothing.

#include "platform/process.h"
#include "simconnect/session.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace simconnect {

constexpr DWORD localIndex = 0xFFFFFFFF; // "this computer, whatever a file says"

static std::string_view lf_trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

static std::string lf_lower(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

static std::optional<DWORD> lf_number(std::string_view text) {
    DWORD value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

// Index of a section header between its brackets; nullopt for a section that is not ours.
static std::optional<DWORD> lf_sectionIndex(std::string_view header) {
    constexpr std::string_view name = "simconnect";
    const std::string lower = lf_lower(lf_trimmed(header));
    if (lower == name) return 0;
    if (lower.size() <= name.size() + 1 || !lower.starts_with(name) || lower[name.size()] != '.')
        return std::nullopt;
    return lf_number(std::string_view(lower).substr(name.size() + 1));
}

static std::optional<Endpoint> lf_endpoint(const std::map<std::string, std::string>& keys) {
    const auto value = [&](const char* key) {
        const auto found = keys.find(key);
        return found == keys.end() ? std::string() : found->second;
    };
    Endpoint result;
    const std::string protocol = lf_lower(value("protocol"));
    if (protocol.empty() || protocol == "ipv4")
        result.protocol = Protocol::ipv4;
    else if (protocol == "ipv6")
        result.protocol = Protocol::ipv6;
    else if (protocol == "pipe")
        result.protocol = Protocol::pipe;
    else if (protocol == "auto")
        result.protocol = Protocol::automatic;
    else
        return std::nullopt;
    result.address = value("address");
    result.port = value("port");
    const auto size = lf_number(value("maxreceivesize"));
    if (size && *size > 0) result.maxReceiveSize = *size;
    // One packet of positions a frame should not wait for the answer to the one before, so the algorithm stays off
    // unless the file asks for it.
    result.disableNagle = value("disablenagle") != "0";
    return result;
}

std::optional<Endpoint> readConfig(std::string_view text, DWORD index) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    std::map<std::string, std::string> keys;
    bool found = false, inside = false;
    while (!text.empty()) {
        const auto lineEnd = std::min(text.find('\n'), text.size());
        const std::string_view line = lf_trimmed(text.substr(0, lineEnd));
        text.remove_prefix(std::min(lineEnd + 1, text.size()));
        if (line.empty() || line.front() == ';') continue;
        if (line.front() == '[') {
            const bool ours = line.back() == ']' && lf_sectionIndex(line.substr(1, line.size() - 2)) == index;
            inside = ours && !found; // the first section of an index counts
            found = found || ours;
            continue;
        }
        const auto equals = line.find('=');
        if (!inside || equals == line.npos) continue;
        keys.emplace(lf_lower(lf_trimmed(line.substr(0, equals))), lf_trimmed(line.substr(equals + 1)));
    }
    return found ? lf_endpoint(keys) : std::nullopt;
}

std::optional<Endpoint> findEndpoint(DWORD index) {
    Endpoint local;
    local.protocol = Protocol::local;
    if (index == localIndex) return local;
    for (const auto& folder : {std::filesystem::path("."), plat::homeFolder()}) {
        if (folder.empty()) continue;
        std::ifstream file(folder / "SimConnect.cfg", std::ios::binary);
        if (!file) continue;
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        return readConfig(text, index);
    }
    return local;
}

} // namespace simconnect

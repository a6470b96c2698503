// Reading of plain tables.

#include "refdata/csv.h"

#include "files.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace rig {

CsvReader::CsvReader(const std::filesystem::path& p) : path(p) {
    if (path.empty()) return;
    readPlainOrGzip(path, [&](std::string_view block) { text.append(block); });
    if (text.starts_with("\xEF\xBB\xBF")) place = 3; // what some editors put before a text
    header = nextRow();
}

// The fields of the line at `place`, which moves behind it. A field in quotes may hold commas, line ends and doubled
// quotes.
std::vector<std::string> CsvReader::nextRow() {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (; place < text.size(); ++place) {
        const char c = text[place];
        if (c == '\n') ++lines;
        if (quoted) {
            if (c != '"') {
                fields.back() += c;
            } else if (place + 1 < text.size() && text[place + 1] == '"') {
                fields.back() += text[++place];
            } else {
                quoted = false;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            fields.emplace_back();
        } else if (c == '\n') {
            ++place;
            break;
        } else if (c != '\r') {
            fields.back() += c;
        }
    }
    return fields;
}

bool CsvReader::next() {
    while (place < text.size()) {
        rowLine = lines;
        row = nextRow();
        if (row.size() > 1 || !row[0].empty()) return true;
    }
    return false;
}

bool CsvReader::has(const char* column) const {
    return std::find(header.begin(), header.end(), column) != header.end();
}

std::string CsvReader::field(const char* name, bool needed) const {
    const auto found = std::find(header.begin(), header.end(), name);
    if (found == header.end() && needed)
        throw std::runtime_error(fmt::format("\"{}\" has no column \"{}\"", plat::pathText(path), name));
    const auto column = static_cast<std::size_t>(found - header.begin());
    return column < row.size() ? row[column] : std::string();
}

std::optional<double> wholeNumber(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace rig

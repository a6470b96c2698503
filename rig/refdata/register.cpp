// Reading of registers of aircraft.

#include "refdata/register.h"

#include "files.h"
#include "platform/files.h"
#include "refdata/csv.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

namespace rig {

namespace {

using nlohmann::json;
using Names = std::initializer_list<const char*>;

// What the publishers call a column or a member; the first that is there counts.
constexpr Names registrationNames = {"registration", "reg", "r"};
constexpr Names typeNames = {"typecode", "icaotype", "icaoType", "type", "t"};
constexpr Names airlineNames = {"operatoricao", "operatorIcao", "operator"};
constexpr Names cargoNames = {"cargo"};

// One publisher puts his fields in single quotes.
std::string unquoted(std::string text) {
    if (text.size() >= 2 && text.front() == '\'' && text.back() == '\'')
        text = text.substr(1, text.size() - 2);
    return text;
}

std::string fieldOf(const CsvReader& in, Names names) {
    for (const char* name : names)
        for (const std::string& column : {std::string(name), fmt::format("'{}'", name)})
            if (in.has(column.c_str())) return unquoted(in.field(column.c_str()));
    return {};
}

void readCsv(const std::filesystem::path& file, const std::function<void(RegisterRow&&)>& take) {
    CsvReader in(file);
    if (std::none_of(registrationNames.begin(), registrationNames.end(), [&](const char* name) {
            return in.has(name) || in.has(fmt::format("'{}'", name).c_str());
        }))
        throw std::runtime_error(fmt::format("\"{}\" has no column \"reg\"", plat::pathText(file)));
    while (in.next()) {
        if (in.wholeRow().size() > in.columns()) continue; // a comma within single quotes: what is where?
        RegisterRow row{fieldOf(in, registrationNames), fieldOf(in, typeNames), fieldOf(in, airlineNames),
                        fieldOf(in, cargoNames)};
        if (!row.registration.empty()) take(std::move(row));
    }
}

std::string memberOf(const json& object, Names names) {
    for (const char* name : names)
        if (const auto found = object.find(name); found != object.end() && found->is_string())
            return found->get<std::string>();
    return {};
}

// An object, or an array with registration and type as its first two members.
void takeAircraft(const json& aircraft, const std::function<void(RegisterRow&&)>& take) {
    RegisterRow row;
    if (aircraft.is_object()) {
        row = {memberOf(aircraft, registrationNames), memberOf(aircraft, typeNames),
               memberOf(aircraft, airlineNames), ""};
    } else if (aircraft.is_array() && !aircraft.empty() && aircraft[0].is_string()) {
        row.registration = aircraft[0];
        if (aircraft.size() > 1 && aircraft[1].is_string()) row.type = aircraft[1];
    }
    if (!row.registration.empty()) take(std::move(row));
}

// False when the text is no single JSON value.
bool readJson(const std::string& text, const std::function<void(RegisterRow&&)>& take) {
    const json whole = json::parse(text, nullptr, false);
    if (whole.is_discarded()) return false;
    if (whole.is_object() && !memberOf(whole, registrationNames).empty())
        takeAircraft(whole, take); // a register of one line
    else
        for (const json& aircraft : whole) takeAircraft(aircraft, take);
    return true;
}

void readJsonLines(const std::filesystem::path& file, const std::string& text,
                   const std::function<void(RegisterRow&&)>& take) {
    std::size_t good = 0, bad = 0;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        const std::string_view line(text.data() + from, end - from);
        from = end + 1;
        if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
        const json aircraft = json::parse(line, nullptr, false);
        ++(aircraft.is_discarded() ? bad : good);
        takeAircraft(aircraft, take);
    }
    if (good <= bad)
        throw std::runtime_error(fmt::format("\"{}\" is no register in JSON", plat::pathText(file)));
}

} // namespace

void readRegister(const std::filesystem::path& file, const std::function<void(RegisterRow&&)>& take) {
    std::string text;
    readPlainOrGzip(file, [&](std::string_view block) { text.append(block); });
    const std::size_t first = text.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    if (first == std::string::npos || (text[first] != '{' && text[first] != '['))
        readCsv(file, take);
    else if (!readJson(text, take))
        readJsonLines(file, text, take);
}

} // namespace rig

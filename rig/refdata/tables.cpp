// Reading of the plain tables of types, airlines, registrations and the like.

#include "refdata/csv.h"
#include "refdata/refdata.h"
#include "refdata/register.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <stdexcept>

namespace rig {

static std::vector<std::string> splitAtBlanks(const std::string& text) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(' ', start), text.size());
        if (end > start) parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

// What the scrambling can carry.
static bool fitsAlphabet(const std::string& code) {
    return std::all_of(code.begin(), code.end(), [](char c) { return c >= '-' && c <= 'Z'; });
}
static bool isModel(const std::string& code) {
    return code.size() >= 2 && code.size() <= 4 && fitsAlphabet(code);
}
static bool isAirline(const std::string& code) { return code.size() == 3 && fitsAlphabet(code); }
static bool isRegistration(const std::string& reg) {
    constexpr std::size_t longest = 24;
    return !reg.empty() && reg.size() <= longest && fitsAlphabet(reg);
}
static bool isTrue(const std::string& text) { return text == "1" || text == "true"; }

static std::string sizeName(const std::string& name) {
    if (name == "business") return "buzjets";
    static const std::set<std::string> known{"light", "buzjets", "large", "heavy", "highperf", "rotor"};
    return known.count(name) > 0 ? name : std::string();
}

RefTableFiles refTablesIn(const std::filesystem::path& folder) {
    return {{folder / "types.csv"},      {folder / "airlines.csv"}, {folder / "registrations.csv"},
            {folder / "fixes.csv"},      {folder / "similar.csv"},  {folder / "cargo_types.csv"},
            {folder / "publishers.csv"}, {folder / "simaddons.csv"}};
}

// The rows of all files of a table, in order.
static void eachRow(const RefTableFiles::Files& files, const std::function<void(const CsvReader&)>& take) {
    for (const auto& file : files)
        for (CsvReader in(file); in.next();) take(in);
}

static void readTypes(const RefTableFiles::Files& files, RefTables& tables) {
    std::set<std::string> seen;
    eachRow(files, [&](const CsvReader& in) {
        const TypeRow row{in.field("designator"), sizeName(in.field("class")), in.field("span_m")};
        if (!isModel(row.designator) || row.size.empty() || !seen.insert(row.designator).second)
            ++tables.skipped;
        else
            tables.types.push_back(row);
    });
}

static void readAirlines(const RefTableFiles::Files& files, RefTables& tables) {
    std::set<std::string> seen;
    eachRow(files, [&](const CsvReader& in) {
        const AirlineRow row{in.field("icao"), isTrue(in.field("cargo"))};
        if (!isAirline(row.code) || !seen.insert(row.code).second)
            ++tables.skipped;
        else
            tables.airlines.push_back(row);
    });
}

static void readRegistrations(const RefTableFiles::Files& files, RefTables& tables) {
    std::set<std::string> seen, cargoAirlines;
    for (const auto& airline : tables.airlines)
        if (airline.cargo) cargoAirlines.insert(airline.code);
    const auto take = [&](RegisterRow&& told) {
        RegistrationRow row;
        row.type = isModel(told.type) ? told.type : std::string();
        row.airl = isAirline(told.airline) ? told.airline : std::string();
        row.cargo = told.cargo.empty() ? cargoAirlines.count(row.airl) > 0 : isTrue(told.cargo);
        const bool series = told.registration.find(']') != std::string::npos;
        for (auto& reg : series ? expandSeries(told.registration) : std::vector{told.registration}) {
            if (!isRegistration(reg) || !seen.insert(reg).second) {
                ++tables.skipped;
                continue;
            }
            row.reg = std::move(reg);
            tables.registrations.push_back(row);
        }
    };
    for (const auto& file : files) readRegister(file, take);
}

RefTables readRefTables(const RefTableFiles& files) {
    RefTables tables;
    readTypes(files.types, tables);
    readAirlines(files.airlines, tables);
    readRegistrations(files.registrations, tables);
    eachRow(files.fixes,
            [&](const CsvReader& in) { tables.fixes.emplace_back(in.field("wrong"), in.field("right")); });
    eachRow(files.similar, [&](const CsvReader& in) {
        auto group = splitAtBlanks(in.field("types"));
        tables.skipped += std::erase_if(group, [](const std::string& code) { return !isModel(code); });
        tables.similar.push_back(std::move(group));
    });
    eachRow(files.cargoTypes, [&](const CsvReader& in) {
        if (isModel(in.field("designator")))
            tables.cargoTypes.push_back(in.field("designator"));
        else
            ++tables.skipped;
    });
    eachRow(files.publishers, [&](const CsvReader& in) { tables.publishers.push_back(in.wholeRow()); });
    eachRow(files.simaddons, [&](const CsvReader& in) { tables.simaddons.push_back(in.field("airport")); });
    return tables;
}

std::vector<std::string> expandSeries(const std::string& pattern) {
    std::vector<std::string> result{""};
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        std::string choices(1, pattern[i]);
        if (pattern[i] == '[') {
            const std::size_t end = pattern.find(']', i);
            choices.clear();
            for (std::size_t k = i + 1; end != std::string::npos && k < end; ++k) {
                if (pattern[k] == '-' && k > i + 1 && k + 1 < end) {
                    for (char c = pattern[k - 1]; ++c < pattern[k + 1];) choices += c;
                } else {
                    choices += pattern[k];
                }
            }
            if (choices.empty()) throw std::runtime_error(fmt::format("bad series \"{}\"", pattern));
            i = end;
        }
        std::vector<std::string> longer;
        for (const auto& start : result)
            for (const char c : choices) longer.push_back(start + c);
        result = std::move(longer);
    }
    return result;
}

void addSynthetic(RefTables& tables, std::size_t count, std::uint32_t seed) {
    if (tables.types.empty() || tables.airlines.empty())
        throw std::runtime_error("invented registrations need types and airlines");
    static const char* const prefixes[] = {"D-",  "G-",  "F-",  "C-",  "I-", "EI-",
                                           "PH-", "VH-", "OE-", "HB-", "JA", "N"};
    constexpr std::size_t prefixCount = std::size(prefixes), letters = 26, places = 4;
    std::set<std::string> taken;
    for (const auto& row : tables.registrations) taken.insert(row.reg);
    std::mt19937 chance(seed);
    tables.registrations.reserve(tables.registrations.size() + count);
    for (std::size_t number = 0, made = 0; made < count; ++number) {
        std::string reg = prefixes[number % prefixCount];
        std::size_t rest = number / prefixCount;
        for (std::size_t i = 0; i < places; ++i, rest /= letters)
            reg += static_cast<char>('A' + rest % letters);
        if (rest > 0) throw std::runtime_error("too many invented registrations");
        if (taken.count(reg) > 0) continue;
        RegistrationRow row;
        row.reg = std::move(reg);
        row.type = tables.types[chance() % tables.types.size()].designator;
        const auto& airline = tables.airlines[chance() % tables.airlines.size()];
        if (chance() % 4 != 0) row.airl = airline.code; // a quarter is private
        if (chance() % 8 == 0) row.opr = tables.airlines[chance() % tables.airlines.size()].code;
        row.cargo = airline.cargo && !row.airl.empty();
        tables.registrations.push_back(std::move(row));
        ++made;
    }
}

} // namespace rig

// Command-line options of the subcommands.

#include "options.h"

#include "platform/files.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace rig {

Options::Options(const std::vector<std::string>& arguments, const std::vector<std::string>& withValue,
                 const std::vector<std::string>& flags) {
    const auto in = [](const std::vector<std::string>& list, const std::string& name) {
        return std::find(list.begin(), list.end(), name) != list.end();
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i].compare(0, 2, "--") != 0) {
            rest.push_back(arguments[i]);
            continue;
        }
        const std::string name = arguments[i].substr(2);
        if (in(flags, name)) {
            values[name].emplace_back();
        } else if (in(withValue, name)) {
            if (i + 1 == arguments.size()) throw std::runtime_error("--" + name + " needs a value");
            values[name].push_back(arguments[++i]);
        } else {
            throw std::runtime_error("unknown option --" + name + " (see --help)");
        }
    }
}

std::string Options::text(const std::string& name, const std::string& otherwise) const {
    const auto found = values.find(name);
    return found == values.end() ? otherwise : found->second.back();
}

std::vector<std::string> Options::all(const std::string& name) const {
    const auto found = values.find(name);
    return found == values.end() ? std::vector<std::string>() : found->second;
}

double Options::number(const std::string& name, double otherwise, double low, double high) const {
    if (!has(name)) return otherwise;
    const std::string value = text(name);
    double result = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), result);
    if (error != std::errc() || end != value.data() + value.size() || !(result >= low && result <= high))
        throw std::runtime_error("--" + name + " takes a number from " + std::to_string(low) + " to " +
                                 std::to_string(high) + ", not \"" + value + "\"");
    return result;
}

std::filesystem::path Options::path(const std::string& name) const { return plat::textPath(text(name)); }

std::int64_t Options::integer(const std::string& name, std::int64_t otherwise, std::int64_t low,
                              std::int64_t high) const {
    const double value =
        number(name, static_cast<double>(otherwise), static_cast<double>(low), static_cast<double>(high));
    if (value != std::floor(value)) throw std::runtime_error("--" + name + " takes a whole number");
    return static_cast<std::int64_t>(value);
}

} // namespace rig

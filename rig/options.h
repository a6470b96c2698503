#pragma once
// Command-line options of the form --name VALUE and --name, for the subcommands.

#include <cstdint>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace rig {

// Throws std::runtime_error for an unknown option, a missing value or a bad number; the text names the option.
class Options {
  public:
    // Names without dashes; those in `flags` take no value.
    Options(const std::vector<std::string>& arguments, const std::vector<std::string>& withValue,
            const std::vector<std::string>& flags);
    bool has(const std::string& name) const { return values.count(name) > 0; }
    std::string text(const std::string& name, const std::string& otherwise = "") const;
    double number(const std::string& name, double otherwise, double low, double high) const;
    std::filesystem::path path(const std::string& name) const;
    std::int64_t integer(const std::string& name, std::int64_t otherwise, std::int64_t low,
                         std::int64_t high) const;
    std::vector<std::string>
    all(const std::string& name) const; // of an option that may be given several times
    std::vector<std::string> rest;      // positional arguments

  private:
    std::map<std::string, std::vector<std::string>> values;
};

} // namespace rig

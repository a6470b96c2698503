#pragma once
// Plain tables: comma-separated files with a header line, plain or gzip. Columns are found by name and others ignored, so
// that tables of other makers with the same columns do as well.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

// Walks the rows of one table; an empty path is a table without rows. Throws std::runtime_error for a file that
// cannot be read.
class CsvReader {
  public:
    explicit CsvReader(const std::filesystem::path& p);
    bool next(); // to the next row that is not empty; false: there is none
    // "" when the row is short. Throws for a column that is missing, unless only some tables have it.
    std::string field(const char* name, bool needed = true) const;
    bool has(const char* column) const;
    std::size_t columns() const { return header.size(); }
    const std::vector<std::string>& wholeRow() const { return row; }
    std::size_t line() const { return rowLine; } // of the row's begin, from 1

  private:
    std::vector<std::string> nextRow();

    std::filesystem::path path;
    std::string text;
    std::size_t place = 0, lines = 1, rowLine = 1;
    std::vector<std::string> header, row;
};

std::optional<double> wholeNumber(std::string_view text); // nullopt unless all of it is one finite number

} // namespace rig

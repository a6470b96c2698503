#pragma once
// Reading of zip archives: the few operations that downloads need. Archives come from outside: a damaged one gives an
// error, never a crash, and the name of an entry is only looked at, never used as a path.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

// Opens an archive for reading; closes it at the end.
class ZipArchive {
  public:
    explicit ZipArchive(const std::filesystem::path& path);
    ~ZipArchive();
    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;
    bool isOpen() const { return inside != nullptr; }
    std::int64_t entryCount() const;                 // 0 when it could not be opened
    std::string entryName(std::int64_t index) const; // "" when it cannot be read
    // Hands the content on in blocks, each of which is taken off the bytes left: one count serves all entries of an
    // archive. False when the content is damaged, larger than what is left, or when take gives false.
    bool readEntry(std::int64_t index, std::uint64_t& left,
                   const std::function<bool(const char* data, std::size_t size)>& take) const;

  private:
    void* inside = nullptr; // a libzip archive
};

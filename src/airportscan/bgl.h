#pragma once
// The reader of compiled scenery: out of a BGL file it takes the airports, their altitude, their parking positions and
// helipads, and nothing else. Bytes come from outside and are trusted in nothing. No global object but the table of
// airport names is read, and none written: any number of threads read a file each.

#include "airports/airports.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

// What is known about an airport before its stands are read.
struct AirportIdentity {
    std::string link; // server path of its prepared file; "" when there is none
    std::int32_t archivedStands = 0;
    bool linked() const { return !link.empty(); }
};

struct BglRules {
    bool is2020 = true; // which simulator is selected
    // Told of each airport as it is met, with its code set; adds the publisher to the record, and its own lines.
    std::function<AirportIdentity(AirportFile& airport, std::vector<std::string>& lines)> identify;
};

struct FoundAirport {
    AirportFile file; // stands in file order
    AirportIdentity identity;
    bool toGenerate = false;     // its stands are to become a file
    std::size_t linesBefore = 0; // of the findings' lines, those that were told until it was read
};

struct BglFindings {
    std::vector<FoundAirport> airports; // in file order
    std::vector<std::string> lines;     // for the scan log
    bool notRecognised = false;         // met an airport of the 2024 kind, and was read no further
    std::string failure;                // why it could not be read to its end; "" when it could
};

// Of a file's whole words, little-endian as in the file; the path is for messages. Never throws for bad data.
BglFindings gf_decodeBgl(std::span<const std::uint32_t> words, const std::string& pathText,
                         const BglRules& rules);

// Text of a packed identifier; valid only with exactly four characters, as the code of an airport has.
std::string lf_decodeIdentifierOrRegionCode(std::uint32_t word, bool& valid);

// Room for a file's words, which are not set.
struct WordBuffer {
    std::unique_ptr<std::uint32_t[]> words;
    std::size_t size = 0; // words
};

// A file on the disk, opened once: for the quick test, and then for the whole.
class BglFile {
  public:
    explicit BglFile(const std::filesystem::path& path);
    bool hasAirportSection(); // false, too, for what cannot be read
    // Into a buffer that the caller keeps for the next file. What is no whole word at the end is left out. None when it
    // cannot be read, and as soon as a stop is under way.
    std::optional<std::span<const std::uint32_t>> read(WordBuffer& buffer);

  private:
    std::ifstream in;
    std::uint64_t size = 0; // bytes; 0 for a file beyond 1 GiB, which is not read
};

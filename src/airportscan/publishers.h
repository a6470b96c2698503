#pragma once
// Who made a scenery. The BGL file does not say; its path may, and else the manifest of its package. Reads the reference
// data and the disk, and writes nothing: any thread.

#include <optional>
#include <string>
#include <vector>

struct ManifestInfo {
    std::string manufacturer, creator, title; // as the file has them; "" for what is absent or no text
};

struct PublisherResult {
    std::string publisher =
        "unknown";         // the first name of its group; "simaddon" for the simulator's own extra airports
    ManifestInfo manifest; // where it was needed, and there is one
};

// What was tried and found is added to the lines. Throws std::filesystem::filesystem_error for a folder that cannot be
// read.
PublisherResult gf_identifyPublisher(const std::string& bglPath, std::vector<std::string>& lines);

// The manifest of the package that the file belongs to.
std::optional<ManifestInfo> lf_readManifest(const std::string& bglPath, std::vector<std::string>& lines);
std::optional<ManifestInfo>
lf_parseManifest(const std::string& text); // of a whole file; for the fuzz target too

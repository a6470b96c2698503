// The walk itself. On the caller's thread, never in a Tick.

#include "app/folderwalk.h"

#include "app/app.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace fs = std::filesystem;

std::size_t gf_characterCount(std::string_view utf8) {
    return static_cast<std::size_t>(std::count_if(
        utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

namespace {

struct Entry {
    std::string name; // of the last part, as text: what is sorted by
    fs::path path;
    bool isFolder = false, isLink = false;
};

class Walker {
  public:
    Walker(const fs::path& start, const FolderWalk& given) : walk(given) {
        std::error_code failed;
        followed.push_back(plat::realPath(start, failed));
    }

    void folder(const fs::path& path) {
        for (auto& entry : sortedEntries(path)) {
            if (gf_stopping()) return;
            if (!entry.isFolder)
                walk.file(std::move(entry.path));
            else if (walk.enters(entry.name, entry.path) && (!entry.isLink || mayFollow(entry.path)))
                folder(entry.path);
        }
    }

  private:
    std::vector<Entry> sortedEntries(const fs::path& path) const;
    bool mayFollow(const fs::path& link);

    const FolderWalk& walk;
    std::vector<fs::path> followed; // the real folder of the start and those of the links
};

std::vector<Entry> Walker::sortedEntries(const fs::path& path) const {
    std::vector<Entry> entries;
    std::error_code failed;
    for (const plat::FolderEntry& found : plat::readFolder(path, failed)) {
        std::string name = plat::pathText(found.name);
        if (found.isFolder || (found.isFile && walk.wanted(name)))
            entries.push_back({std::move(name), path / found.name, found.isFolder, found.isLink});
    }
    if (failed) walk.unreadable(path, failed);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

// Not into what has been or will be walked: that is how loops of links end.
bool Walker::mayFollow(const fs::path& link) {
    std::error_code failed;
    const fs::path target = plat::realPath(link, failed);
    if (failed) {
        walk.unreadable(link, failed);
        return false;
    }
    const auto holds = [](const fs::path& outer, const fs::path& inner) {
        return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
    };
    for (const auto& walked : followed) {
        if (!holds(walked, target) && !holds(target, walked)) continue;
        walk.tell(
            fmt::format("link {} leads to a folder of this search, not followed", plat::pathText(link)));
        return false;
    }
    followed.push_back(target);
    return true;
}

} // namespace

void gf_walkFolder(const fs::path& start, const FolderWalk& walk) { Walker(start, walk).folder(start); }

// Any line as a link file, and any path as what an airport file is fetched from and learned in.

#include "airports/reading.h"
#include "app/folders.h"
#include "platform/files.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (folders.learned.empty()) gf_buildFolders();
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    const std::string target = lf_linkTarget(line);
    if (!target.empty() && target.back() != 'l') std::abort();
    const auto learned = plat::textPath(gf_learnedPath(target, std::string(line)));
    // What counts as a learned file lies below their folder, whatever the link says.
    if (lf_isLearnedPath(learned) && *learned.lexically_normal().begin() != *folders.airports.begin())
        std::abort();
    const auto folder = plat::textPath(lf_publisherFolder(line));
    if (folder.has_parent_path() || folder == ".." || folder == ".") std::abort();
    gf_hours2bitset(line);
    return 0;
}

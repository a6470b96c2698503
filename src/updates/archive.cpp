// Zip archives by libzip.

#include "updates/archive.h"

#include "platform/files.h"

#include <zip.h>

#include <vector>

static zip_t* lf_zip(void* inside) { return static_cast<zip_t*>(inside); }

ZipArchive::ZipArchive(const std::filesystem::path& path) {
    int error = 0;
    inside = zip_open(plat::pathText(path).c_str(), ZIP_RDONLY, &error);
}

ZipArchive::~ZipArchive() {
    if (inside) zip_discard(lf_zip(inside)); // nothing was changed
}

std::int64_t ZipArchive::entryCount() const { return inside ? zip_get_num_entries(lf_zip(inside), 0) : 0; }

std::string ZipArchive::entryName(std::int64_t index) const {
    const char* name = zip_get_name(lf_zip(inside), static_cast<zip_uint64_t>(index), 0);
    return name ? name : "";
}

bool ZipArchive::readEntry(std::int64_t index, std::uint64_t& left,
                           const std::function<bool(const char*, std::size_t)>& take) const {
    zip_file_t* file = zip_fopen_index(lf_zip(inside), static_cast<zip_uint64_t>(index), 0);
    if (!file) return false;
    std::vector<char> block(64 * 1024);
    bool good = true;
    for (;;) {
        const zip_int64_t count = zip_fread(file, block.data(), block.size());
        if (count <= 0) { // at the end, where libzip also tests the checksum, or a failure
            good = count == 0;
            break;
        }
        const auto size = static_cast<std::size_t>(count);
        good = size <= left && take(block.data(), size);
        if (!good) break;
        left -= size;
    }
    return zip_fclose(file) == 0 && good;
}

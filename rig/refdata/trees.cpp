// The download tree.

#include "app/version.h"
#include "platform/files.h"
#include "refdata/refdata.h"

#include <fmt/format.h>
#include <zip.h>

#include <fstream>
#include <stdexcept>

namespace rig {

static void writeText(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out) throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(path)));
}

void writeZip(const std::filesystem::path& path, const std::vector<ZipEntry>& entries) {
    constexpr zip_uint16_t firstDosDay = (1 << 5) | 1; // 1980-01-01
    constexpr zip_uint32_t bestCompression = 9;
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
    int error = 0;
    zip_t* zip = zip_open(plat::pathText(path).c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!zip) throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(path)));
    bool good = true;
    for (const auto& entry : entries) {
        if (!entry.name.empty() && entry.name.back() == '/') {
            good = good && zip_dir_add(zip, entry.name.c_str(), ZIP_FL_ENC_UTF_8) >= 0;
            continue;
        }
        zip_source_t* source = zip_source_buffer(zip, entry.content.data(), entry.content.size(), 0);
        const zip_int64_t index =
            source ? zip_file_add(zip, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8) : -1;
        if (index < 0 && source) zip_source_free(source);
        const auto at = static_cast<zip_uint64_t>(index);
        good = good && index >= 0 &&
               zip_set_file_compression(zip, at, ZIP_CM_DEFLATE, bestCompression) == 0 &&
               zip_file_set_dostime(zip, at, 0, firstDosDay, 0) == 0;
    }
    if (!good || zip_close(zip) != 0) {
        const std::string text = zip_strerror(zip);
        zip_discard(zip);
        throw std::runtime_error(fmt::format("cannot write \"{}\": {}", plat::pathText(path), text));
    }
}

void writeDownloadTree(const RefTables& tables, const std::filesystem::path& folder) {
    writeZip(folder / "dbase.zip", {{"temp2.xml", dbaseXml(tables)}});
    writeZip(folder / "AIG-regcodes.zip",
             {{"AIG-regcodes.xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<AIG-regcodes/>\n"}});
    // The versions that make a program see no update; 0.0.0 stands for none.
    writeText(folder / "release" / "version.json", gf_versionText(gf_programVersion()) + "\n");
    writeText(folder / "mysimaddon24" / "version.json", gf_versionText(VersionData()) + "\n");
}

} // namespace rig

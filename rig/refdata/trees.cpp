// The files that come out: the download tree and the demonstration liveries.

#include "app/textfiles.h"
#include "app/version.h"
#include "platform/files.h"
#include "refdata/refdata.h"

#include <fmt/format.h>
#include <pugixml.hpp>
#include <zip.h>

#include <fstream>
#include <map>
#include <set>
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

// Airliners of which a demonstration shows many airlines.
static const std::set<std::string> commonTypes{"A319", "A320", "A20N", "A321", "A21N", "A333",
                                               "A359", "B738", "B38M", "B739", "B752", "B763",
                                               "B77W", "B788", "B789", "E190", "E75L", "CRJ9"};

void writeDemoLiveries(const RefTables& tables, const std::filesystem::path& file) {
    std::set<std::string> airlines, models;
    std::set<std::pair<std::string, std::string>> wanted; // airline and type
    for (const auto& row : tables.registrations)
        if (!row.airl.empty()) airlines.insert(row.airl);
    std::map<std::string, bool> isCargo;
    for (const auto& row : tables.airlines) isCargo[row.code] = row.cargo;
    for (const auto& row : tables.types) {
        wanted.emplace("ZZZ", row.designator);
        if (commonTypes.count(row.designator) == 0) continue;
        for (const auto& airline : airlines) wanted.emplace(airline, row.designator);
    }
    for (const auto& row : tables.registrations)
        if (!row.airl.empty() && !row.type.empty()) wanted.emplace(row.airl, row.type);

    pugi::xml_document document;
    gf_writeMeta(document);
    auto liveries = document.append_child("liveries");
    for (const auto& [airline, type] : wanted) {
        auto livery = liveries.append_child("liv");
        livery.append_attribute("airl") = airline.c_str();
        livery.append_attribute("type") = type.c_str();
        if (isCargo[airline]) livery.append_attribute("cargo") = "true";
        livery.append_attribute("title") = fmt::format("Velloray Demo {} {}", type, airline).c_str();
    }
    if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path());
    if (!document.save_file(file.c_str()))
        throw std::runtime_error(fmt::format("cannot write \"{}\"", plat::pathText(file)));
}

} // namespace rig

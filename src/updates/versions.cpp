// Newer versions: of the program, whose installer is fetched for the user to run, and of the data set of airport lists,
// which is replaced. Whatever comes is unpacked beside what is there, and takes its place only once it is whole.

#include "app/app.h"
#include "app/errors.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/files.h"
#include "platform/flush.h"
#include "updates/archive.h"
#include "updates/updates.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <memory>

namespace fs = std::filesystem;

static VersionData lf_fetchVersion(const std::string& url) {
    const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
    return gf_fetchVersion(handle.get(), url);
}

VersionData gf_latestProgramVersion() {
    return lf_fetchVersion(gf_downloadBaseUrl() + "release/version.json");
}

VersionData gf_latestPackageVersion(const std::string& name) {
    return lf_fetchVersion(gf_downloadBaseUrl() + name + "/version.json");
}

static bool lf_isFolder(const std::string& entry) { return entry.empty() || entry.back() == '/'; }

// How an entry was written. A file that is not whole is no file.
enum class Unpacked { whole, damaged, notWritten };

static Unpacked lf_writeEntry(const ZipArchive& zip, std::int64_t index, std::uint64_t& left,
                              const fs::path& target) {
    std::ofstream stream(target, std::ios::binary);
    const bool read = zip.readEntry(index, left, [&](const char* data, std::size_t size) {
        return !gf_stopping() && stream.write(data, static_cast<std::streamsize>(size));
    });
    stream.close();
    if (read && stream) return Unpacked::whole;
    std::error_code ignored;
    fs::remove(target, ignored);
    return stream ? Unpacked::damaged : Unpacked::notWritten;
}

// ---- the program ---------------------------------------------------------------------------------------------------

static fs::path lf_freshInstaller() {
    fs::path beside = folders.installer;
    beside += ".new";
    return beside;
}

static void lf_forgetFreshInstaller() {
    std::error_code ignored;
    fs::remove(lf_freshInstaller(), ignored);
}

// Of several entries the last one stands.
static bool lf_unpackInstaller(const ZipArchive& zip) {
    const fs::path beside = lf_freshInstaller();
    std::uint64_t left = transferLimits.unpackedBytes;
    std::string last;
    int failed = 0;
    for (std::int64_t i = 0; i < zip.entryCount() && failed == 0; ++i) {
        const std::string entry = zip.entryName(i);
        if (lf_isFolder(entry)) continue;
        last = entry;
        failed = static_cast<int>(lf_writeEntry(zip, i, left, beside));
    }
    if (failed == 0 && !last.empty()) failed = plat::moveFile(beside, folders.installer).value();
    if (failed != 0) {
        gf_logLine(fmt::format("unzipping error code : {}", failed));
        lf_forgetFreshInstaller();
        return false;
    }
    if (!last.empty()) gf_logLine(fmt::format("{} unzipped to {}", last, plat::pathText(folders.installer)));
    return !last.empty();
}

bool gf_downloadInstaller(const VersionData& version) {
    const std::string text = gf_versionText(version);
    const std::string name = fmt::format("setup_{}_d_v{}.zip", programName, text);
    const fs::path local = name;
    bool result = false;
    if (gf_fetchFile(gf_downloadBaseUrl() + "release/" + name, local) != Fetched::yes) {
        gf_showMessage(fmt::format("Downloading program installer file version {} failed", text), true);
    } else {
        gf_logLine(fmt::format("downloaded {}", name));
        const ZipArchive zip(local);
        if (zip.isOpen())
            result = lf_unpackInstaller(zip);
        else
            gf_logLine(fmt::format("could not open {}", name));
    }
    std::error_code ignored;
    fs::remove(local, ignored);
    return result;
}

// As the last run has noted it; a program folder that is new or was moved is where this run works.
static fs::path lf_installerPath() {
    std::error_code ignored;
    const fs::path noted = plat::textPath(PROGRAM_INSTALL_PATH.value()) / folders.installer;
    return noted.is_absolute() && fs::exists(noted, ignored) ? noted
                                                             : fs::absolute(folders.installer, ignored);
}

void gf_checkProgramVersion() {
    lf_forgetFreshInstaller(); // of a run that was ended in the middle
    const VersionData latest = gf_latestProgramVersion();
    if (latest == VersionData()) {
        gf_logLine("Program Version file not found?");
        return;
    }
    if (latest <= gf_programVersion()) return;
    if (gf_downloadInstaller(latest))
        throw orvo::UserErrorException(
            99, fmt::format("New version {} available, exit {}. Run as administrator: \"{}\"",
                            gf_versionText(latest), programName, plat::pathText(lf_installerPath())));
    gf_showMessage("The downloading/unzipping of the new version failed? Try manually via tarnmoor website",
                   true);
}

// ---- the data set --------------------------------------------------------------------------------------------------

bool gf_simaddonMissing() {
    std::error_code error;
    return fs::is_empty(folders.mySimaddon, error) || error;
}

// The name alone, without folders and extension; "" for one that is no plain name. It comes from outside.
static std::string lf_stem(const std::string& entry) {
    const std::string name = entry.substr(entry.find_last_of("/\\") + 1); // npos + 1 is 0
    const std::string stem = name.substr(0, name.rfind('.'));
    const bool plain =
        !stem.empty() && stem.front() != '.' && std::none_of(stem.begin(), stem.end(), [](unsigned char c) {
            return c < ' ' ||
                   std::string_view("<>:\"|?*").find(static_cast<char>(c)) != std::string_view::npos;
        });
    return plain ? stem : std::string();
}

// The number of files, or -1 when not all of them could be unpacked.
static int lf_unpackSimaddon(const ZipArchive& zip, const fs::path& folder) {
    constexpr std::int64_t mostEntries = 100'000;
    if (zip.entryCount() > mostEntries) return -1;
    std::uint64_t left = transferLimits.unpackedBytes;
    int count = 0;
    for (std::int64_t i = 0; i < zip.entryCount(); ++i) {
        const std::string entry = zip.entryName(i);
        if (lf_isFolder(entry)) continue;
        const std::string stem = lf_stem(entry);
        if (stem.empty()) continue;
        const fs::path target = folder / plat::textPath(stem + ".txt");
        if (lf_writeEntry(zip, i, left, target) != Unpacked::whole) {
            gf_logLine(fmt::format("{} could not be unpacked", entry));
            return -1;
        }
        ++count;
    }
    return count;
}

namespace {

// Where the new set is unpacked, and where the old one waits until the new one has its place.
struct SwapFolders {
    fs::path fresh, old;
    SwapFolders() : fresh(folders.mySimaddon), old(folders.mySimaddon) {
        fresh += ".new";
        old += ".old";
    }
};

} // namespace

// What an earlier run left that was ended in the middle of a replacement.
static void lf_clearUp(const SwapFolders& swap) {
    std::error_code ignored;
    fs::remove_all(swap.fresh, ignored);
    if (gf_simaddonMissing() && fs::exists(swap.old, ignored)) {
        fs::remove(folders.mySimaddon, ignored);
        if (plat::moveFile(swap.old, folders.mySimaddon)) return; // it stays for the next start
    }
    fs::remove_all(swap.old, ignored);
}

static bool lf_swap(const SwapFolders& swap) {
    std::error_code error, ignored;
    if (fs::exists(folders.mySimaddon, ignored)) error = plat::moveFile(folders.mySimaddon, swap.old);
    if (!error) {
        error = plat::moveFile(swap.fresh, folders.mySimaddon);
        if (error) plat::moveFile(swap.old, folders.mySimaddon);
    }
    if (error)
        gf_logLine(
            fmt::format("{} could not be replaced: {}", plat::pathText(folders.mySimaddon), error.message()));
    else
        fs::remove_all(swap.old, ignored); // after a failure it may be all there is
    return !error;
}

static bool lf_replaceSimaddon(const fs::path& archive, const VersionData& version) {
    const SwapFolders swap;
    const ZipArchive zip(archive);
    std::error_code ignored;
    fs::create_directories(swap.fresh, ignored);
    if (!zip.isOpen()) gf_logLine(fmt::format("could not open {}", plat::pathText(archive)));
    const int count = zip.isOpen() ? lf_unpackSimaddon(zip, swap.fresh) : -1;
    if (count == 0) gf_logLine(fmt::format("{} holds no files", plat::pathText(archive)));
    if (count > 0) plat::flushFilesOf(swap.fresh);
    const bool result = count > 0 && lf_swap(swap);
    fs::remove_all(swap.fresh, ignored);
    if (!result) return false;
    const std::string text = gf_versionText(version);
    gf_showMessage(fmt::format("{} unzipped {} files", plat::pathText(archive), count), true);
    gf_setAndSave(MYSIMADDON24_VERSION, text);
    gf_showMessage(fmt::format("mysimaddon has been updated to version {}", text), true);
    return true;
}

bool gf_checkSimaddon() {
    lf_clearUp(SwapFolders()); // the server may not answer today
    const VersionData latest = gf_latestPackageVersion("mysimaddon24");
    if (latest == VersionData()) {
        gf_logLine("No mysimaddon version info found at the Velloray server?");
        return false;
    }
    if (latest <= VersionData(MYSIMADDON24_VERSION.value()) && !gf_simaddonMissing()) return false;
    const fs::path archive = "my_simaddon2024.zip";
    const bool result = gf_fetchFile(gf_downloadBaseUrl() + "mysimaddon24/" + plat::pathText(archive),
                                     archive) == Fetched::yes &&
                        lf_replaceSimaddon(archive, latest);
    std::error_code ignored;
    fs::remove(archive, ignored);
    return result;
}

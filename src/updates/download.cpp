// Downloads by libcurl and their unpacking. Blocking, on the worker; the temporary files have fixed names in the program
// folder, so transfers do not overlap.

#include "app/app.h"
#include "app/log.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "platform/files.h"
#include "updates/archive.h"
#include "updates/updates.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <fstream>
#include <memory>

TransferLimits transferLimits;
static std::string otherBase; // replaces the build's base address unless empty

void gf_setDownloadBase(std::string base) { otherBase = std::move(base); }

std::string gf_downloadBaseUrl() {
    const std::string base = otherBase.empty() ? VELLORAY_DOWNLOAD_BASE : otherBase;
    if (base.find("://") != std::string::npos) return base;
    std::error_code ignored;
    std::string url = plat::fileUrl(std::filesystem::absolute(plat::textPath(base), ignored));
    if (url.empty() || url.back() != '/') url += '/';
    return url;
}

std::string gf_simFolderUrl(bool force2020) {
    return gf_downloadBaseUrl() + (MSFS_2020 || force2020 ? "MSFS/" : "MSFS2024/");
}

namespace {

struct Received {
    std::ofstream stream;
    std::uint64_t left; // bytes that may still come
};

} // namespace

static std::size_t lf_writeBlock(char* data, std::size_t size, std::size_t count, void* target) {
    auto& to = *static_cast<Received*>(target);
    if (size * count > to.left) return 0; // ends the transfer
    to.left -= size * count;
    return to.stream.write(data, static_cast<std::streamsize>(size * count)) ? size * count : 0;
}

static int lf_transferProgress(void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return gf_stopping() ? 1 : 0;
}

static void lf_setOptions(CURL* handle, const std::string& url, Received& to) {
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_USERAGENT, programName);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, lf_writeBlock);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &to);
    curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, transferLimits.connectSeconds);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, transferLimits.wholeSeconds);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, transferLimits.stallSeconds);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, transferLimits.stallBytes);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, lf_transferProgress);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // A stop does not wait for a name that is being looked up.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
}

// The plain blocking call asks for progress only once a second while nothing arrives, which is too late for a stop.
static bool lf_perform(CURL* handle) {
    const std::unique_ptr<CURLM, CURLMcode (*)(CURLM*)> multi(curl_multi_init(), curl_multi_cleanup);
    if (!multi || curl_multi_add_handle(multi.get(), handle) != CURLM_OK) return false;
    int running = 1;
    CURLMcode state = CURLM_OK;
    while (running > 0 && state == CURLM_OK && !gf_stopping()) {
        state = curl_multi_perform(multi.get(), &running);
        if (running > 0 && state == CURLM_OK)
            state = curl_multi_poll(multi.get(), nullptr, 0, transferLimits.stopTestMillis, nullptr);
    }
    int left = 0;
    const CURLMsg* message = curl_multi_info_read(multi.get(), &left);
    const bool good = message && message->msg == CURLMSG_DONE && message->data.result == CURLE_OK;
    curl_multi_remove_handle(multi.get(), handle);
    return good;
}

bool gf_downloadFile(TransferHandle handle, const std::string& url, const std::filesystem::path& file,
                     bool binary, std::uint64_t limit) {
    if (!handle) return false;
    Received to{std::ofstream(file, binary ? std::ios::out | std::ios::binary : std::ios::out), limit};
    if (!to.stream) {
        gf_logLine(fmt::format("could not open output file: {}", plat::pathText(file)));
        return false;
    }
    lf_setOptions(handle, url, to);
    const bool transferred = lf_perform(handle);
    to.stream.close();
    return transferred && to.stream;
}

Fetched gf_fetchFile(const std::string& url, const std::filesystem::path& file) {
    constexpr long notFound = 404, gone = 410;
    const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
    if (gf_downloadFile(handle.get(), url, file, true)) return Fetched::yes;
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    long status = 0;
    if (handle) curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    const bool answered = status == notFound || status == gone || (status == 0 && url.starts_with("file:"));
    return answered && !gf_stopping() ? Fetched::notThere : Fetched::failed;
}

// False when there is nothing to unpack, which is what a server that sends no byte looks like.
static bool lf_unzip(const std::filesystem::path& archive, const std::filesystem::path& target) {
    const ZipArchive zip(archive);
    std::uint64_t left = transferLimits.xmlBytes;
    bool written = false;
    for (std::int64_t i = 0; i < zip.entryCount(); ++i) {
        const std::string name = zip.entryName(i);
        if (!name.empty() && name.back() == '/') continue;
        std::ofstream stream(target, std::ios::binary);
        const bool read = zip.readEntry(i, left, [&](const char* data, std::size_t size) {
            return !gf_stopping() && stream.write(data, static_cast<std::streamsize>(size));
        });
        stream.close();
        if (!read || !stream) return false;
        written = true;
    }
    return written;
}

bool gf_downloadAndUnzip(const std::filesystem::path& archive, const std::filesystem::path& target) {
    const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
    const auto local = archive.filename();
    std::error_code ignored;
    std::filesystem::create_directories(target.parent_path(), ignored);
    bool result = gf_downloadFile(handle.get(), gf_downloadBaseUrl() + plat::pathText(local), local, true);
    if (!result) {
        gf_logLine(fmt::format("downloading {} failed?", plat::pathText(archive)));
    } else if (!lf_unzip(local, target)) {
        std::filesystem::remove(target, ignored);
        gf_logLine(fmt::format("unzipping {} failed?", plat::pathText(archive)));
        result = false;
    }
    std::filesystem::remove(local, ignored);
    return result;
}

bool gf_dbaseUnzip(const std::filesystem::path& target) { return gf_downloadAndUnzip("dbase.zip", target); }

VersionData gf_fetchVersion(TransferHandle handle, const std::string& url) {
    const std::filesystem::path file = "version.json";
    std::error_code ignored;
    if (!gf_downloadFile(handle, url, file, false, transferLimits.versionBytes)) {
        gf_logLine(fmt::format("downloading \"{}\" failed", url));
        std::filesystem::remove(file, ignored);
        return {};
    }
    const auto lines = gf_readLines(file);
    std::filesystem::remove(file, ignored);
    if (!lines || lines->empty()) return {};
    std::string_view first = lines->front();
    while (first.ends_with('\r')) first.remove_suffix(1); // the text mode may have added to the server's own
    return VersionData(first);
}

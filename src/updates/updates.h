#pragma once
// Downloads. Plain blocking transfers on the worker or the loader thread of the airports, ended by a stop and by a stall; never in a Tick.

#include "app/version.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

using TransferHandle = void*; // a libcurl easy handle

// The base address as the build sets it, ending in a slash. One without a scheme is a folder below the program
// folder and becomes a file:// address here, and only here.
std::string gf_downloadBaseUrl();
void gf_setDownloadBase(std::string base); // for tests and the rig; "" goes back to the build's

// What ends a transfer besides success, failure and a stop. A test shortens them and puts them back.
struct TransferLimits {
    long connectSeconds = 20;                 // until a connection stands
    long stallSeconds = 20;                   // with fewer bytes a second than stallBytes
    long stallBytes = 16;                     // a second
    long wholeSeconds = 30 * 60;              // of one file, however it trickles in
    long stopTestMillis = 250;                // how often a stop is looked for, at most
    std::uint64_t fileBytes = 1ull << 30;     // of one file
    std::uint64_t versionBytes = 4096;        // of a version file
    std::uint64_t unpackedBytes = 1ull << 30; // of all that an archive holds
    std::uint64_t xmlBytes = 256ull << 20;    // the same of one with an XML file, which is parsed as a whole
};
extern TransferLimits transferLimits; // owner: updates; worker

// Blocking. False for a null handle, a file that cannot be opened (logged), a failed or a stopped transfer, or more bytes
// than the limit; a partial file then stays.
bool gf_downloadFile(TransferHandle handle, const std::string& url, const std::filesystem::path& file,
                     bool binary, std::uint64_t limit = transferLimits.fileBytes);
// A file from the server, on a handle of its own. A failure leaves no file.
enum class Fetched { yes, notThere, failed }; // notThere: the server says that it has no such file
Fetched gf_fetchFile(const std::string& url, const std::filesystem::path& file);
// The archive of that name from the base address, by way of a file of that name in the program folder, which goes
// afterwards. Its one file is written to target; of several the last one stands. False, with a log line, when the
// transfer fails, and then also without target when the archive is broken.
bool gf_downloadAndUnzip(const std::filesystem::path& archive, const std::filesystem::path& target);
bool gf_dbaseUnzip(const std::filesystem::path& target);
VersionData gf_fetchVersion(TransferHandle handle, const std::string& url); // 0.0.0 when there is none
std::string gf_simFolderUrl(bool force2020); // the folder of the selected simulator's files

// ---- newer versions of the program and of the data set of airport lists (versions.cpp; worker, at the start of a run) ----

VersionData gf_latestProgramVersion();                        // on the server; 0.0.0 when it tells none
VersionData gf_latestPackageVersion(const std::string& name); // likewise
// Fetches the installer of a newer program and then throws orvo::UserErrorException 99, whose text says what to run.
// A failure costs a message, and the start goes on.
void gf_checkProgramVersion();
// Writes "install_new_version.exe" beside the program; an older one stays whole until the new one is. False with a
// message or log line.
bool gf_downloadInstaller(const VersionData& version);
// Replaces "airports/my_simaddon" by a newer data set, whole or not at all, and keeps its version in
// MYSIMADDON24_VERSION. True when it did.
bool gf_checkSimaddon();
// The folder is missing, or nothing is in it.
bool gf_simaddonMissing();

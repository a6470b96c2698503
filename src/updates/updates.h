#pragma once
// Downloads. Plain blocking transfers on the worker, ended by a stop and by a stall; never in a Tick.

#include "app/version.h"

#include <filesystem>
#include <string>
#include <string_view>

using TransferHandle = void*; // a libcurl easy handle

// The base address as the build sets it, ending in a slash. One without a scheme is a folder below the program
// folder and becomes a file:// address here, and only here.
std::string gf_downloadBaseUrl();
void gf_setDownloadBase(std::string base); // for tests and the rig; "" goes back to the build's

bool gf_downloadFile(TransferHandle handle, const std::string& url, const std::filesystem::path& file,
                     bool binary);
bool gf_downloadAndUnzip(const std::filesystem::path& archive, const std::filesystem::path& target);
bool gf_dbaseUnzip(const std::filesystem::path& target);
VersionData gf_fetchVersion(TransferHandle handle, const std::string& url);
std::string gf_simFolderUrl(bool force2020);

// The version checks come with the update flow; until then they find nothing.
void gf_checkProgramVersion();
void gf_checkAddonDownload();

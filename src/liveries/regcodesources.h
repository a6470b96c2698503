#pragma once
// The sources of registrations, for regcodetitles.cpp. Worker.

#include "liveries/regcodes.h"

#include <filesystem>

bool lf_readRegcodeFolder(
    std::vector<RegcodeEntry>& entries); // false when a file or a line could not be read

std::filesystem::path lf_aigRegcodesPath();
bool lf_fetchAigRegcodes(); // the file then stands at that path
// Moves the file aside; false when it cannot be parsed, and then it stays.
bool lf_readAigRegcodes(std::vector<RegcodeEntry>& entries);
void lf_deleteAigRegcodes(); // if it still stands there

#pragma once
// The folder layout. The current directory of the process is the program folder.

#include <filesystem>

struct Folders {
    // Built once, before anything else runs; tests rebuild them for a folder of their own.
    std::filesystem::path docs, log, versionFile, installer, callsignFile;
    std::filesystem::path input, dbaseXml, airportsXml, airportNamesXml, myRegcodes;
    std::filesystem::path airports, learned, learnedStock, learnedSimaddon, learnedThirdparty;
    std::filesystem::path mySimaddon, myThirdparty, myParkAirports;
    std::filesystem::path archive, output, info, errors, scannedLiveries, airportsScanLog, tblo;
    std::filesystem::path appData, parameters, flightPlans, realTrafficJar; // in the application data
};
extern Folders folders;

// Relative names below the program folder, absolute ones below the application data folder; those stay empty when
// there is none.
void gf_buildFolders();

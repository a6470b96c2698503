// The names of all folders and files of the program. Built once at the start of the process.

#include "app/folders.h"

#include "platform/process.h"

Folders folders; // owner: app; never changed after gf_buildFolders

void gf_buildFolders() {
    Folders f;
    f.docs = "docs";
    f.log = "Log.txt";
    f.versionFile = "version.json";
    f.installer = "install_new_version.exe";
    f.callsignFile = "Callsign2ObjectId.txt";
    f.input = "input";
    f.dbaseXml = f.input / "temp2.xml";
    f.airportsXml = f.input / "airports_msfs.xml";
    f.airportNamesXml = f.input / "airports_msfs_names.xml";
    f.myRegcodes = f.input / "my_regcodes";
    f.airports = "airports";
    f.learned = f.airports / "learned";
    f.learnedStock = f.learned / "stock";
    f.learnedSimaddon = f.learned / "simaddon";
    f.learnedThirdparty = f.learned / "thirdparty";
    f.mySimaddon = f.airports / "my_simaddon";
    f.myThirdparty = f.airports / "my_thirdparty";
    f.myParkAirports = f.airports / "my_park_airports.txt";
    f.archive = "archive";
    f.output = "output";
    f.info = f.output / "info";
    f.errors = f.output / "errors";
    f.scannedLiveries = f.output / "LiveriesScanned.xml";
    f.airportsScanLog = f.info / "AirportsScanLog.txt";
    f.tblo = "TBLO";
    const std::filesystem::path roaming = plat::roamingDataFolder();
    if (!roaming.empty()) {
        f.appData = roaming / "Velloray";
        f.parameters = f.appData / "parameters.xml";
        f.flightPlans = f.appData / "orig_dest";
        f.realTrafficJar = roaming / "InsideSystems" / "RealTraffic.jar";
    }
    folders = f;
}

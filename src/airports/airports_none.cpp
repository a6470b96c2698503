// Answers for what airports/ does not do yet: none of them raises, and none changes a parameter.

#include "airports/airports.h"

bool gf_readAirports() { return false; }
bool gf_readAirportNames() { return false; }
std::optional<std::string> gf_airportName(std::string_view) { return std::nullopt; }
std::optional<Airport> gf_findAirport(std::string_view) { return std::nullopt; }
std::optional<Airport> gf_findClosestAirport(double, double) { return std::nullopt; }
double gf_readDestApfForClosestStand(const std::string&, double, double, std::string&) { return 100; }

std::string gf_locateAirportFile(const std::string&) { return {}; }
bool gf_writeAirportFile(const AirportFile&, const std::filesystem::path&, int) { return false; }
void gf_saveLearned() {}

std::int32_t lf_newStandOption(Stand&, const AcBase&, bool, WeekSlot, const std::string&, std::string_view) {
    return 0;
}
bool lf_fillVisit(WeekSlot, Stand&, StandVisit&, const AcBase&, const std::string&, bool) { return false; }
void lf_setCoupledCs(Stand&, std::int32_t, std::string_view) {}
Quality gf_qualityFactor(const std::vector<Stand>&) { return {}; }

bool lf_readMyParkAirports() { return true; }
bool lf_setParkAirport(const std::string&) { return false; }
void lf_parkingStep(bool) {}
std::string lf_readParkedFile() { return {}; }
bool lf_rereadParkAirports() { return true; }
void lf_removeAllParked() {}
void lf_giveUpParkAirport() {}
double gf_firstParkAirportNm(double, double) { return 10000; }
void gf_storeUserStand() {}

void gf_flushStatics() {}
void lf_beginStaticWork() {}
void lf_endStaticWork() {}
void lf_calculateStatics() {}
void lf_adjustStatics() {}
void lf_fillStaticQueue() {}

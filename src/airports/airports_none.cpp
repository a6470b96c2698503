// Answers for what airports/ does not do yet: none of them raises, and none changes a parameter.

#include "airports/airports.h"

void gf_readAirportDirectory() {}
bool gf_findAirport(std::string_view, ParkAirport&) { return false; }
void lf_readMyParkAirports() {}
double gf_firstParkAirportNm(double, double) { return 10000; }
void lf_parkingStep(bool) {}
void lf_rereadParkAirports() {}
void lf_removeAllParked() {}
void gf_storeUserStand() {}
std::string gf_standText(double, double) { return {}; }
void gf_flushStatics() {}
void lf_beginStaticWork() {}
void lf_adjustStatics() {}
void lf_fillStaticQueue() {}
const Stand* lf_findStand(double, double, const AcBase&, double, bool) { return nullptr; }
void lf_learnSoftStand(const LiveAc&, bool) {}

#pragma once
// Airports and parking. The current park airport is known here already; stands, learning, static parking and the
// choice of the park airport come later, and what the engine and the cycle ask of them is answered by "none".

#include "app/app.h"

#include <cstdint>
#include <string>
#include <string_view>

struct AcBase;
struct LiveAc;

// The airport whose stands are in use. Published as a whole to the feed reader.
struct ParkAirport {
    std::string code, iata;  // an empty code: none is current
    double lat = 0, lon = 0; // degrees
    double elevation = 0;    // feet
    bool loaded = false;     // its file is read; without it no aircraft appears on the ground there

    bool known() const { return !code.empty(); }
};

// What lives for a run. owner: airports; worker
struct AirportsRun {
    ParkAirport park;
};
extern AirportsRun airports;

void gf_publishParkAirport(const ParkAirport& airport);          // stores it, and hands it to the feed reader
void gf_readAirportDirectory();                                  // none yet
bool gf_findAirport(std::string_view code, ParkAirport& result); // false: none yet
void lf_readMyParkAirports();                                    // none yet
double gf_firstParkAirportNm(double lat, double lon); // distance to the first park airport; 10000 without one
void lf_parkingStep(bool firstTime);                  // none yet
void lf_rereadParkAirports();                         // none yet
void lf_removeAllParked();                            // none yet
void gf_storeUserStand();                             // none yet
std::string gf_standText(double lat, double lon);     // the stand at a position; "" for none
void gf_flushStatics();                               // none yet
void lf_beginStaticWork();
void lf_adjustStatics();
void lf_fillStaticQueue(); // one more static aircraft for the creation queue

// Stands, as the engine asks for them.
struct Stand; // none exists yet
const Stand* lf_findStand(double lat, double lon, const AcBase& ac, double radiusMeters,
                          bool wide); // nullptr
void lf_learnSoftStand(const LiveAc& ac, bool force);

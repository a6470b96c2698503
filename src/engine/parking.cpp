// Stands as the life of an aircraft meets them. No stand exists yet, so none is ever taken, held or left.

#include "engine/engine.h"

const Stand* lf_findStand(double, double, const AcBase&, double, bool) { return nullptr; }
void lf_learnSoftStand(const LiveAc&, bool) {}
void lf_spawnAtStand(LiveAc&, const Stand&) {}
void lf_parkedAtCreation(LiveAc&) {}
void lf_shutDownAtStand(AcBase&) {}
void lf_freeStand(const AcBase&) {}

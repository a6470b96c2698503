// Stands as the life of an aircraft meets them. No stand exists yet, so none is ever taken, held or left.

#include "engine/engine.h"

void lf_spawnAtStand(LiveAc&, const Stand&) {}
void lf_parkedAtCreation(LiveAc&) {}
void lf_shutDownAtStand(AcBase&) {}
void lf_freeStand(const AcBase&) {}

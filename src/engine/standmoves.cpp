// Moves that need a stand: leaving it forwards or backwards, driving to one, arriving, and the watch for the moment
// that a parked aircraft leaves. No stands are known yet, so no aircraft is ever at one and nothing is done here.
// Worker.

#include "engine/motion.h"

void lf_pullOut(LiveAc&) {}
void lf_pushBack(LiveAc&) {}
void try2Park(LiveAc&, bool) {}
void lf_arriveAtStand(LiveAc&) {}
bool lf_checkLeaveStand(LiveAc&, StreamPoint&) { return false; }

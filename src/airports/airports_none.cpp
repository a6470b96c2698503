// Answers for static parking, which is not there yet: none of them raises, and none changes a parameter.

#include "airports/airports.h"

void gf_flushStatics() {}
void lf_beginStaticWork() {}
void lf_endStaticWork() {}
void lf_calculateStatics() {}
void lf_adjustStatics() {}
void lf_fillStaticQueue() {}

// The user's own aircraft: its model and with it its size. Not known yet: the radius stays 0 and the model unknown.
// Simulator thread.

#include "simlink/dispatch.h"

void lf_onUserModel(std::string_view) {}

// The answer of what does not look for the simulator's installation yet: none is found.

#include "simlink/simlink.h"

std::string gf_findPackagesPath() { return {}; }

// The version checks of the program and of the add-on data set: none yet. They find nothing and change nothing.

#include "updates/updates.h"

void gf_checkProgramVersion() {}
void gf_checkAddonDownload() {}

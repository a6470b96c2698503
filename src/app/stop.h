#pragma once
// The inner side of stopping, for run control alone.

void lf_noteSystemError(); // the guard of a run: SYSTEM ERROR, unless the run has a reason already; sets no flag
void lf_noteUserClosed();    // USER CLOSED SIM, unless the run has a reason already; sets both flags
void lf_freshRun();          // a new run number and start values; the stop flags fall last
void lf_noteClosingFailed(); // no worker is left to end the process: the close of the window does it

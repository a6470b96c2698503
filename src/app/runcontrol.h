#pragma once
// The steps of a run, for the worker and for a test or replay that drives a run by hand.

void lf_startRun();    // thread function of the worker
void lf_readSetup();   // parameters, folders, reference data, install path
void lf_makeFolders(); // throws std::filesystem::filesystem_error
void lf_runWorker();
void lf_closingDown();
void lf_restartCountdown();
void lf_endThreads(); // joins the simulator thread and the loader of the airports, waits, bounded, for both readers
void lf_resetForRestart();

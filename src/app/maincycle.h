#pragma once
// The loop that moves the system: the Tick every 10 ms, and the second step at each of the simulator's seconds.

#include <cstdint>

// What the number of a second step brings. A multiple of 15 has the slow schedule and looks at nothing else.
struct SecondJobs {
    bool slowSchedule = false, parkingStep = false, readerWatch = false, staticDoubles = false;
    bool callsignFile = false;
};
SecondJobs lf_jobsOfSecond(std::int32_t second);

bool lf_waitForUserAircraft(); // false: a stop came
void lf_waitForFirstReport();
void lf_mainCycle();
void lf_beginCycle(); // the part of lf_mainCycle before its loop, without the timer resolution
bool lf_cycleStep();  // one pass; true to go on
void lf_secondStep();
void lf_serveRequests(); // the window's requests, from the second step and the paused one
void lf_firstPosition(); // before the cycle: the position to RealTraffic and to the traffic reader
void lf_pausedStep();
void lf_slowSchedule(int second);
void lf_readerWatch();
void lf_workOutWeekSlot();

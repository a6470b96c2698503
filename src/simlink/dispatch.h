#pragma once
// What the files of this folder, its tests and its fuzz target call of one another.

#include "simlink/simlink.h"

#include <exception>
#include <string_view>

struct DispatchContext {
    std::exception_ptr raised; // by a handler; what arrives after it in the same call is left alone
};
// The callback of CallDispatch. Nothing crosses it: what a handler raises is kept in the context, a DispatchContext.
void CALLBACK lf_dispatch(SIMCONNECT_RECV* message, DWORD size, void* context);

void lf_setUpSession(HANDLE handle); // session.cpp; under simLock
void lf_askToStoreUserStand(); // session.cpp, dispatch.cpp: before a new flight and at the end of the session
void lf_onUserModel(
    std::string_view
        model); // dispatch.cpp: the simulator's model text of the user's aircraft; throws orvo::UserErrorException 73

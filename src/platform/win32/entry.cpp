// Process entry on Windows, nothing else: a program with a window and without a console.

#include "app/app.h"

#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) { return gf_main(); }

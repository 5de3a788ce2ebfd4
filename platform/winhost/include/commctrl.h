// What the program uses of the common controls.
#pragma once
#include <windows.h>

#define PBM_SETPOS (WM_USER + 2)
#define PBM_GETPOS (WM_USER + 8)

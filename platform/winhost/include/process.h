// _wexecl is declared in windows.h, with the other wide calls of the runtime library.
#pragma once
#include <windows.h>

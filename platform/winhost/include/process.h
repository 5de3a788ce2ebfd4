// _wexecl stands with the runtime's other wide calls in windows.h.
#pragma once
#include <windows.h>

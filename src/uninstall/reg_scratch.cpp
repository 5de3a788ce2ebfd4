#include "uninstall/reg_scratch.h"

#include <algorithm>
#include <iterator>

WCHAR g_regScratch[kRegScratchChars];

bool ReadRegScratch(HKEY key, LPCWSTR value) {
    std::fill(std::begin(g_regScratch), std::end(g_regScratch), WCHAR{0});
    DWORD cbText = sizeof g_regScratch;
    const LSTATUS status =
        RegQueryValueExW(key, value, nullptr, nullptr, reinterpret_cast<LPBYTE>(g_regScratch), &cbText);
    // A stored value may lack its terminator. A value that fills the buffer without one doesn't fit.
    const bool whole = status == ERROR_SUCCESS && g_regScratch[kRegScratchChars - 1] == 0;
    if (!whole) g_regScratch[0] = 0;
    return whole;
}

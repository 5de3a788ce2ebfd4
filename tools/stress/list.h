// What the list's part and its worker program agree on.
#pragma once

#include <windows.h>

namespace stress {

inline constexpr WCHAR kListName[] = u"Qantivo.Stress";
inline constexpr DWORD kAdditionalBytes = 1024;
// For one entering, a look and a leaving, on a busy host.
inline constexpr DWORD kLongestWaitMs = 10000;

}  // namespace stress

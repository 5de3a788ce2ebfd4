// What list.cpp and its worker program have in common.
#pragma once

#include <windows.h>

namespace stress {

inline constexpr WCHAR kListName[] = u"Qantivo.Stress";
inline constexpr DWORD kAdditionalBytes = 1024;
// The longest time to enter the list, check it and leave it on a busy host, in milliseconds.
inline constexpr DWORD kLongestWaitMs = 10000;

}  // namespace stress

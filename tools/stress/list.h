// What list.cpp and its worker program have in common.
#pragma once

#include <windows.h>

namespace stress {

inline constexpr WCHAR kListName[] = u"Qantivo.Stress";
inline constexpr DWORD kAdditionalBytes = 1024;

}  // namespace stress

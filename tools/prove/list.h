// What list.cpp and its worker program have in common.
#pragma once

#include <windows.h>

namespace prove {

inline constexpr WCHAR kListName[] = u"Qantivo.Proof";
inline constexpr DWORD kAdditionalBytes = 1024;

}  // namespace prove

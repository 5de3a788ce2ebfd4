// Text of the machine compared. winhost.h converts it.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "winhost.h"

#include "core/host_io.h"

namespace winhost {

// Upper case by code unit, as the file system and the registry compare names.
char16_t UpperUnit(char16_t unit);
std::u16string Upper(std::u16string_view text);
bool SameName(std::u16string_view left, std::u16string_view right);

}  // namespace winhost

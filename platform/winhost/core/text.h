// Compares text of the machine. The functions that convert it are in winhost.h.
#pragma once

#include <windows.h>
#include <winhost.h>

#include <string>
#include <string_view>

namespace winhost {

// Upper case, code unit by code unit, as the file system and the registry compare names.
char16_t UpperUnit(char16_t unit);
std::u16string Upper(std::u16string_view text);
bool SameName(std::u16string_view left, std::u16string_view right);

}  // namespace winhost

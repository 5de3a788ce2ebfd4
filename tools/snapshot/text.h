// Text of the running machine, as UTF-8.
#pragma once

#include <windows.h>

#include <string>

namespace snapshot {

using WideText = std::basic_string<WCHAR>;

std::string Utf8(const WideText& text);
// What is no UTF-8 is taken byte for byte.
WideText Wide(const std::string& text);

// The bytes of a file; empty when it can't be read.
std::string ReadWhole(const WideText& path);

}  // namespace snapshot

// Text and bytes, as all tools and tests use them.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

namespace tools {

using WideText = std::basic_string<WCHAR>;

// The text as UTF-8. Half of a surrogate pair becomes three bytes of its own, so that no two texts become equal.
std::string Utf8(const WideText& text);

// The text of these bytes. A byte that is not part of a UTF-8 character becomes the character with its number.
WideText Wide(const std::string& bytes);

// Whether all bytes belong to UTF-8 characters.
bool IsUtf8(const std::string& bytes);

// The text for a line of a terminal or of a file: each control character is written as \x and two digits.
std::string Shown(const std::string& text);

// The lowest digits of the number, in lower case.
std::string Hex(std::uint64_t number, int digits);

// The bytes of a file; none when it can't be read.
std::optional<std::string> ReadWhole(const WideText& path);

}  // namespace tools

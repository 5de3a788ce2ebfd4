// Text and bytes, as all tools and tests use them.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

namespace tools {

using WideText = std::basic_string<WCHAR>;

// Returns the text as UTF-8. Half of a surrogate pair becomes three bytes, so that different texts stay different.
std::string Utf8(const WideText& text);

// Returns the text of these bytes. A byte that is not part of a UTF-8 character becomes the character with its number.
WideText Wide(const std::string& bytes);

// Whether all bytes belong to UTF-8 characters.
bool IsUtf8(const std::string& bytes);

// Returns how many bytes of the UTF-8 character there are at `at`. 0 if there is none.
std::size_t CharacterAt(const std::string& bytes, std::size_t at);

// Returns the text as it is shown in a terminal or a file, in UTF-8. A control character and a byte that belongs to no
// character become \x and two digits, one that changes the direction of the text or ends a line \u and four.
std::string Shown(const std::string& text);

// Returns the text with every `from` replaced by `to`. `from` is not empty.
std::string Replaced(std::string text, const std::string& from, const std::string& to);

// Returns the lowest `digits` hexadecimal digits of the number, in lower case.
std::string Hex(std::uint64_t number, int digits);

// Returns all bytes of a file, or none when it can't be read.
std::optional<std::string> ReadWhole(const WideText& path);

}  // namespace tools

// UTF-8, and the 16-bit text of Windows.
#pragma once

#include "name_patterns.h"

#include <string>
#include <string_view>

namespace names {

// The first character of these bytes. The code of a byte that begins no character is the number of that byte.
struct Character {
    char32_t code = 0;
    std::size_t length = 0;  // in bytes; 0 if the bytes are not UTF-8
};
Character Decode(std::string_view bytes);

// Returns the text as UTF-8. Half of a surrogate pair becomes three bytes, so that different texts stay different.
std::string Utf8(TextView text);

// Returns the text of these bytes. A byte that is not part of a UTF-8 character becomes what `other` returns for it.
Text Utf16(std::string_view bytes, WCHAR (*other)(unsigned char byte));

// Whether all bytes belong to UTF-8 characters.
bool IsUtf8(std::string_view bytes);

}  // namespace names

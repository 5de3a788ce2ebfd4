// Little-endian numbers in bytes that may be damaged: whatever lies outside reads as zero or as nothing.
#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace winhost {

// The part that is there of `size` bytes from `offset` on.
inline std::string_view Part(std::string_view bytes, std::size_t offset, std::size_t size) {
    return offset < bytes.size() ? bytes.substr(offset, size) : std::string_view{};
}

template <class Number>
Number NumberAt(std::string_view bytes, std::size_t offset) {
    const std::string_view part = Part(bytes, offset, sizeof(Number));
    Number number = 0;
    if (part.size() == sizeof(Number))
        for (std::size_t i = 0; i < part.size(); ++i)
            number = static_cast<Number>(
                number | static_cast<Number>(static_cast<Number>(static_cast<BYTE>(part[i])) << (8 * i)));
    return number;
}

inline WORD WordAt(std::string_view bytes, std::size_t offset) {
    return NumberAt<WORD>(bytes, offset);
}
inline DWORD DwordAt(std::string_view bytes, std::size_t offset) {
    return NumberAt<DWORD>(bytes, offset);
}

// A text of 16-bit units from `offset` up to its terminator, or to the end of the bytes.
inline std::u16string WideAt(std::string_view bytes, std::size_t offset) {
    std::u16string text;
    for (; offset + 1 < bytes.size(); offset += 2) {
        const char16_t unit = WordAt(bytes, offset);
        if (unit == 0) break;
        text += unit;
    }
    return text;
}

inline std::size_t Align4(std::size_t offset) {
    return (offset + 3) & ~std::size_t{3};
}

}  // namespace winhost

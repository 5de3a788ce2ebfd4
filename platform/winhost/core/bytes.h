// Little-endian numbers in bytes that may be damaged. What lies outside the bytes reads as zero or as nothing.
#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace winhost {

// Returns `size` bytes from `offset` on, or as many of them as exist.
inline std::string_view Part(std::string_view bytes, std::size_t offset, std::size_t size) {
    return offset < bytes.size() ? bytes.substr(offset, size) : std::string_view{};
}

// Returns the number at `offset`, or 0 unless all its bytes exist.
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

// The bytes as UTF-16 code units. A last odd byte is left out.
inline std::u16string Units(std::string_view bytes) {
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i)
        units[i] = WordAt(bytes, 2 * i);
    return units;
}
// The text of such code units from `offset` up to its terminator, or to the end of the bytes.
inline std::u16string WideAt(std::string_view bytes, std::size_t offset) {
    std::u16string text = Units(Part(bytes, offset, bytes.size()));
    text.resize(std::min(text.find(u'\0'), text.size()));
    return text;
}

// Returns the next multiple of four, or `offset` itself if it is one.
inline std::size_t Align4(std::size_t offset) {
    return (offset + 3) & ~std::size_t{3};
}

}  // namespace winhost

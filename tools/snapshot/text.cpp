#include "snapshot/text.h"

#include <cstdint>
#include <cstdio>

namespace snapshot {

namespace {

constexpr int TrailingBytes(unsigned lead) {
    return lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
}

// The character at `at`, with the number of its bytes in `length`.
std::uint32_t Decode(const std::string& text, std::size_t at, std::size_t& length) {
    const unsigned lead = static_cast<unsigned char>(text[at]);
    const int trailing = TrailingBytes(lead);
    length = 1;
    if (trailing <= 0) return lead;
    std::uint32_t code = lead & (0x3Fu >> trailing);
    for (int i = 1; i <= trailing; ++i) {
        // Behind the last byte stands a null, which is no trailing byte.
        const unsigned byte = static_cast<unsigned char>(text.c_str()[at + static_cast<std::size_t>(i)]);
        if ((byte & 0xC0) != 0x80) return lead;
        code = code << 6 | (byte & 0x3F);
    }
    length = static_cast<std::size_t>(trailing) + 1;
    return code;
}

}  // namespace

std::string Utf8(const WideText& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t code = static_cast<std::uint16_t>(text[i]);
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < text.size())
            code = 0x10000 + ((code - 0xD800) << 10) +
                   ((static_cast<std::uint16_t>(text[++i]) - 0xDC00u) & 0x3FF);
        const int trailing = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        static constexpr unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
        out += static_cast<char>(kLead[trailing] | (code >> (6 * trailing)));
        for (int shift = 6 * (trailing - 1); shift >= 0; shift -= 6)
            out += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
    }
    return out;
}

WideText Wide(const std::string& text) {
    WideText out;
    for (std::size_t at = 0, length = 0; at < text.size(); at += length) {
        std::uint32_t code = Decode(text, at, length);
        if (code >= 0x10000) {
            out += static_cast<WCHAR>(0xD7C0 + (code >> 10));
            code = 0xDC00 | (code & 0x3FF);
        }
        out += static_cast<WCHAR>(code);
    }
    return out;
}

std::string ReadWhole(const WideText& path) {
    std::string text;
    if (FILE* file = _wfopen(path.c_str(), TEXT("rb"))) {
        char buffer[4096];
        for (std::size_t count; (count = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
            text.append(buffer, count);
        std::fclose(file);
    }
    return text;
}

}  // namespace snapshot

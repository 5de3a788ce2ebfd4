#include "common/text.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace tools {

namespace {

struct Character {
    std::uint32_t code;
    std::size_t length;  // in bytes; 0 if the bytes are not UTF-8
};

constexpr int TrailingBytes(unsigned lead) {
    return lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
}

Character Decode(const std::string& bytes, std::size_t at) {
    const unsigned lead = static_cast<unsigned char>(bytes[at]);
    const int trailing = TrailingBytes(lead);
    if (trailing < 0) return {lead, 0};
    if (trailing == 0) return {lead, 1};
    std::uint32_t code = lead & (0x3Fu >> trailing);
    for (int i = 1; i <= trailing; ++i) {
        // A null follows the last byte. It is no trailing byte.
        const unsigned byte = static_cast<unsigned char>(bytes.c_str()[at + static_cast<std::size_t>(i)]);
        if ((byte & 0xC0) != 0x80) return {lead, 0};
        code = code << 6 | (byte & 0x3F);
    }
    return {code, static_cast<std::size_t>(trailing) + 1};
}

constexpr bool IsHalf(std::uint32_t code) {
    return code >= 0xD800 && code < 0xE000;
}

// Characters that change the direction of a text, and those that end a line or a paragraph.
constexpr bool ActsOnText(std::uint32_t code) {
    return code == 0x61C || code == 0x200E || code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

void Append(std::string& out, std::uint32_t code) {
    const int trailing = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static constexpr unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLead[trailing] | (code >> (6 * trailing)));
    for (int shift = 6 * (trailing - 1); shift >= 0; shift -= 6)
        out += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
}

}  // namespace

std::string Utf8(const WideText& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t code = static_cast<std::uint16_t>(text[i]);
        const std::uint32_t next = i + 1 < text.size() ? static_cast<std::uint16_t>(text[i + 1]) : 0;
        if (code >= 0xD800 && code < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        }
        Append(out, code);
    }
    return out;
}

WideText Wide(const std::string& bytes) {
    WideText out;
    for (std::size_t at = 0; at < bytes.size();) {
        auto [code, length] = Decode(bytes, at);
        at += length ? length : 1;
        if (code >= 0x10000) {
            out += static_cast<WCHAR>(0xD7C0 + (code >> 10));
            code = 0xDC00 | (code & 0x3FF);
        }
        out += static_cast<WCHAR>(code);
    }
    return out;
}

bool IsUtf8(const std::string& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = Decode(bytes, at).length;
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::size_t CharacterAt(const std::string& bytes, std::size_t at) {
    const auto [code, length] = Decode(bytes, at);
    return IsHalf(code) ? 0 : length;
}

std::string Shown(const std::string& text) {
    std::string out;
    for (std::size_t at = 0, length; at < text.size(); at += std::max<std::size_t>(length, 1)) {
        length = CharacterAt(text, at);
        const std::uint32_t code = Decode(text, at).code;
        if (length == 0)
            out += "\\x" + Hex(static_cast<unsigned char>(text[at]), 2);
        else if (code < 0x20 || (code >= 0x7F && code < 0xA0))
            out += "\\x" + Hex(code, 2);
        else if (ActsOnText(code))
            out += "\\u" + Hex(code, 4);
        else
            out.append(text, at, length);
    }
    return out;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string Hex(std::uint64_t number, int digits) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string out;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        out += kDigits[(number >> shift) & 15];
    return out;
}

std::optional<std::string> ReadWhole(const WideText& path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(_wfopen(path.c_str(), TEXT("rb")), std::fclose);
    if (!file) return std::nullopt;
    std::string bytes;
    // Large files are kept once, not grown into.
    if (const long size = std::fseek(file.get(), 0, SEEK_END) ? 0 : std::ftell(file.get()); size > 0)
        bytes.reserve(static_cast<std::size_t>(size));
    std::rewind(file.get());
    char buffer[1 << 16];
    for (std::size_t cbRead; (cbRead = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;)
        bytes.append(buffer, cbRead);
    return std::ferror(file.get()) ? std::nullopt : std::optional(bytes);
}

}  // namespace tools

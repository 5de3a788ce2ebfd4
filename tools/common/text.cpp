#include "common/text.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "utf8.h"

namespace tools {

namespace {

constexpr bool IsHalf(char32_t code) {
    return code >= 0xD800 && code < 0xE000;
}

// Characters that change the direction of a text, and those that end a line or a paragraph.
constexpr bool ActsOnText(char32_t code) {
    return code == 0x61C || code == 0x200E || code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

names::Character Decode(const std::string& bytes, std::size_t at) {
    return names::Decode(std::string_view(bytes).substr(at));
}

}  // namespace

std::string Utf8(const WideText& text) {
    return names::Utf8(text);
}

WideText Wide(const std::string& bytes) {
    return names::Utf16(bytes, [](unsigned char byte) { return static_cast<WCHAR>(byte); });
}

bool IsUtf8(const std::string& bytes) {
    return names::IsUtf8(bytes);
}

std::size_t CharacterAt(const std::string& bytes, std::size_t at) {
    const auto [code, length] = Decode(bytes, at);
    return IsHalf(code) ? 0 : length;
}

std::string Shown(const std::string& text) {
    std::string out;
    for (std::size_t at = 0, length; at < text.size(); at += std::max<std::size_t>(length, 1)) {
        length = CharacterAt(text, at);
        const char32_t code = Decode(text, at).code;
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
    char buffer[1 << 16];
    for (std::size_t cbRead; (cbRead = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;)
        bytes.append(buffer, cbRead);
    return std::ferror(file.get()) ? std::nullopt : std::optional(bytes);
}

}  // namespace tools

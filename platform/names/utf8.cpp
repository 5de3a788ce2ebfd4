#include "utf8.h"

#include <algorithm>

namespace names {

namespace {

constexpr int TrailingBytes(unsigned lead) {
    return lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
}

void Append(std::string& out, char32_t code) {
    const int trailing = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static constexpr unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLead[trailing] | (code >> (6 * trailing)));
    for (int shift = 6 * (trailing - 1); shift >= 0; shift -= 6)
        out += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
}

}  // namespace

Character Decode(std::string_view bytes) {
    if (bytes.empty()) return {};
    const unsigned lead = static_cast<unsigned char>(bytes.front());
    const int trailing = TrailingBytes(lead);
    if (trailing < 0 || static_cast<std::size_t>(trailing) >= bytes.size()) return {lead, 0};
    if (trailing == 0) return {lead, 1};
    char32_t code = lead & (0x3Fu >> trailing);
    for (int i = 1; i <= trailing; ++i) {
        const unsigned byte = static_cast<unsigned char>(bytes[static_cast<std::size_t>(i)]);
        if ((byte & 0xC0) != 0x80) return {lead, 0};
        code = code << 6 | (byte & 0x3F);
    }
    return {code, code > 0x10FFFF ? 0 : static_cast<std::size_t>(trailing) + 1};
}

std::string Utf8(TextView text) {
    const auto ascii = std::find_if(text.begin(), text.end(), [](WCHAR unit) { return unit >= 0x80; });
    std::string out(text.begin(), ascii);
    for (std::size_t i = out.size(); i < text.size(); ++i) {
        char32_t code = static_cast<char16_t>(text[i]);
        const char32_t next = i + 1 < text.size() ? static_cast<char16_t>(text[i + 1]) : 0;
        if (code >= 0xD800 && code < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        }
        Append(out, code);
    }
    return out;
}

Text Utf16(std::string_view bytes, WCHAR (*other)(unsigned char byte)) {
    const auto ascii = std::find_if(bytes.begin(), bytes.end(), [](char byte) { return byte & 0x80; });
    Text out(bytes.begin(), ascii);
    bytes.remove_prefix(out.size());
    while (!bytes.empty()) {
        auto [code, length] = Decode(bytes);
        if (length == 0) {
            code = static_cast<char16_t>(other(static_cast<unsigned char>(code)));
            length = 1;
        }
        bytes.remove_prefix(length);
        if (code >= 0x10000) {
            out += static_cast<WCHAR>(0xD7C0 + (code >> 10));
            code = 0xDC00 | (code & 0x3FF);
        }
        out += static_cast<WCHAR>(code);
    }
    return out;
}

bool IsUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = Decode(bytes).length;
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

}  // namespace names

#include "package_check/text.h"

#include <algorithm>
#include <cstdint>

namespace package_check {

namespace {

// Appends the bytes of one code point.
void AppendUtf8(std::string& out, std::uint32_t code) {
    const int trailing = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static constexpr unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLead[trailing] | code >> (6 * trailing));
    for (int shift = 6 * (trailing - 1); shift >= 0; shift -= 6)
        out += static_cast<char>(0x80 | (code >> shift & 0x3F));
}

int TrailingBytes(unsigned lead) {
    return lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
}

}  // namespace

std::string Utf8(const CString& text) {
    std::string out;
    for (int i = 0; i < text.GetLength(); ++i) {
        std::uint32_t code = text[i];
        const std::uint32_t next = text[i + 1];
        if (code >= 0xD800 && code < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        } else if (code >= 0xD800 && code < 0xE000) {
            code = 0xFFFD;
        }
        AppendUtf8(out, code);
    }
    return out;
}

CString DecodedUtf8(const CString& bytes) {
    Wide text;
    bool ascii = true;
    for (int i = 0; i < bytes.GetLength(); ++i) {
        const int trailing = bytes[i] <= 0xFF ? TrailingBytes(bytes[i]) : -1;
        if (trailing < 0) return {};
        std::uint32_t code = trailing == 0 ? bytes[i] : bytes[i] & (0x3F >> trailing);
        for (int left = trailing; left > 0; --left) {
            const unsigned byte = bytes[++i];
            if ((byte & ~0x3Fu) != 0x80) return {};
            code = code << 6 | (byte & 0x3F);
        }
        ascii = ascii && trailing == 0;
        if (code >= 0x10000) {
            text += static_cast<WCHAR>(0xD7C0 + (code >> 10));
            code = 0xDC00 | (code & 0x3FF);
        }
        text += static_cast<WCHAR>(code);
    }
    return ascii ? CString() : CString(text);
}

CString FullPath(const CString& path) {
    constexpr DWORD kMostChars = 2048;
    WCHAR buffer[kMostChars];
    const DWORD cch = GetFullPathNameW(path, kMostChars, buffer, nullptr);
    return cch > 0 && cch < kMostChars ? CString(buffer) : CString();
}

Wide Key(const CString& path) {
    return FullPath(path).MakeUpper().Text();
}

bool HasWildcard(const CString& name) {
    return name.Find('*') >= 0 || name.Find('?') >= 0;
}

CString FolderOf(const CString& path) {
    return path.Left(path.ReverseFind('\\'));
}

CString NameOf(const CString& path) {
    return path.Mid(path.ReverseFind('\\') + 1);
}

}  // namespace package_check

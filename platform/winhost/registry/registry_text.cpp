// The registry's text form, as the system's own editor writes it.
#include "registry/registry_text.h"

#include <algorithm>

#include "core/bytes.h"
#include "core/text.h"
#include "registry/registry_tree.h"

namespace winhost {

namespace {

constexpr std::string_view kHeading = "Windows Registry Editor Version 5.00";

// ---- writing ----

std::string Quoted(std::u16string_view text) {
    std::string out = "\"";
    for (const char byte : Utf8(text)) {
        if (byte == '\n') {
            out += "\\n";
            continue;
        }
        if (byte == '\\' || byte == '"') out += '\\';
        out += byte;
    }
    return out + '"';
}

std::string Bytes(std::u16string_view units) {
    std::string bytes;
    for (const char16_t unit : units) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

// Whether a quoted text is read back with the same bytes: it has whole code units and only one terminator, at its end.
bool IsPlainText(const RegistryValue& value) {
    if (value.type != REG_SZ || value.bytes.size() < 2 || value.bytes.size() % 2 != 0) return false;
    const std::u16string units = Units(value.bytes);
    return units.find(u'\0') == units.size() - 1;
}

std::string FormatData(const RegistryValue& value) {
    char buffer[32];
    if (IsPlainText(value)) {
        const std::u16string units = Units(value.bytes);
        return Quoted(std::u16string_view(units).substr(0, units.size() - 1));
    }
    if (value.type == REG_DWORD && value.bytes.size() == 4) {
        std::snprintf(buffer, sizeof buffer, "dword:%08x", DwordAt(value.bytes, 0));
        return buffer;
    }
    std::string out = "hex:";
    if (value.type != REG_BINARY) {
        std::snprintf(buffer, sizeof buffer, "hex(%x):", value.type);
        out = buffer;
    }
    for (std::size_t i = 0; i < value.bytes.size(); ++i) {
        std::snprintf(buffer, sizeof buffer, i == 0 ? "%02x" : ",%02x",
                      static_cast<unsigned>(static_cast<BYTE>(value.bytes[i])));
        out += buffer;
    }
    return out;
}

// A text is kept, because each change of one key writes all of them.
void FormatKey(RegistryNode& key, std::string_view parent, std::string& out) {
    if (key.text.empty()) {
        key.text = "\n[" + std::string(parent) + Utf8(key.name) + "]\n";
        for (const RegistryValue& value : key.values)
            key.text += (value.name.empty() ? "@" : Quoted(value.name)) + "=" + FormatData(value) + "\n";
    }
    out += key.text;
    if (key.keys.empty()) return;
    const std::string path = key.text.substr(2, key.text.find('\n', 1) - 3) + "\\";
    for (const auto& entry : key.keys)
        FormatKey(*entry.second, path, out);
}

// ---- reading: each function removes what it reads from the front of `text` and returns whether it was there ----

bool Take(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

bool TakeQuoted(std::string_view& text, std::u16string& out) {
    if (!Take(text, "\"")) return false;
    std::string bytes;
    while (!text.empty()) {
        char byte = text[0];
        text.remove_prefix(1);
        if (byte == '"') {
            out = Utf16(bytes);
            return true;
        }
        if (byte == '\\') {
            if (text.empty()) return false;
            byte = text[0] == 'n' ? '\n' : text[0];
            text.remove_prefix(1);
        }
        bytes += byte;
    }
    return false;
}

bool TakeHex(std::string_view& text, std::size_t maxDigits, DWORD& number) {
    number = 0;
    std::size_t digits = 0;
    for (; digits < maxDigits && digits < text.size(); ++digits) {
        const char c = text[digits];
        const char lower = static_cast<char>(c | 0x20);
        if (c >= '0' && c <= '9')
            number = number * 16 + static_cast<DWORD>(c - '0');
        else if (lower >= 'a' && lower <= 'f')
            number = number * 16 + static_cast<DWORD>(lower - 'a' + 10);
        else
            break;
    }
    text.remove_prefix(digits);
    return digits > 0;
}

bool TakeHexBytes(std::string_view& text, std::string& bytes) {
    if (text.empty()) return true;
    do {
        DWORD byte;
        if (!TakeHex(text, 2, byte)) return false;
        bytes += static_cast<char>(byte);
    } while (Take(text, ","));
    return true;
}

bool TakeData(std::string_view& text, RegistryValue& value) {
    if (text.starts_with('"')) {
        std::u16string units;
        value.type = REG_SZ;
        if (!TakeQuoted(text, units)) return false;
        value.bytes = Bytes(units + u'\0');
        return true;
    }
    if (Take(text, "dword:")) {
        DWORD number;
        value.type = REG_DWORD;
        if (!TakeHex(text, 8, number)) return false;
        value.bytes = Bytes(
            std::u16string{static_cast<char16_t>(number & 0xFFFF), static_cast<char16_t>(number >> 16)});
        return true;
    }
    value.type = REG_BINARY;
    if (Take(text, "hex:")) return TakeHexBytes(text, value.bytes);
    return Take(text, "hex(") && TakeHex(text, 8, value.type) && Take(text, "):") &&
           TakeHexBytes(text, value.bytes);
}

// Returns the next line without its line end. A backslash at the end joins the next line, without the blanks that line
// begins with.
std::string NextLine(std::string_view& text) {
    std::string line;
    do {
        if (line.ends_with('\\')) {
            line.pop_back();
            text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
        }
        const auto end = std::min(text.find('\n'), text.size());
        line += text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r')) line.pop_back();
    } while (line.ends_with('\\') && !text.empty());
    return line;
}

RegistryNode* KeyOfLine(RegistryNode& root, std::string_view line) {
    if (!line.ends_with(']')) return nullptr;
    const std::u16string path = Utf16(line.substr(1, line.size() - 2));
    const auto names = KeyNames(path);
    if (names.empty() || (!SameName(names[0], kLocalMachine) && !SameName(names[0], kUsers))) return nullptr;
    return root.MakeKey(path);
}

}  // namespace

std::unique_ptr<RegistryNode> ParseRegistry(std::string_view text) {
    auto root = std::make_unique<RegistryNode>();
    RegistryNode* key = nullptr;
    while (!text.empty()) {
        const std::string line = NextLine(text);
        std::string_view rest = line;
        if (rest.starts_with('[')) {
            key = KeyOfLine(*root, rest);
            continue;
        }
        RegistryValue value;
        const bool named = Take(rest, "@") || TakeQuoted(rest, value.name);
        if (key && named && Take(rest, "=") && TakeData(rest, value) && rest.empty())
            key->SetValue(value.name, value.type, value.bytes);
    }
    return root;
}

std::string FormatRegistry(RegistryNode& root) {
    std::string out = std::string(kHeading) + "\n";
    for (const auto& entry : root.keys)
        FormatKey(*entry.second, "", out);
    return out;
}

}  // namespace winhost

#include "json/json_text.h"

std::string Quoted(const std::string& text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string out = "\"";
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x20) {
            out += {'\\', 'u', '0', '0', kDigits[code >> 4], kDigits[code & 15]};
        } else {
            if (byte == '"' || byte == '\\') out += '\\';
            out += byte;
        }
    }
    return out + '"';
}

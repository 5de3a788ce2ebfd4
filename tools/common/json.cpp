#include "common/json.h"

#include <algorithm>

#include "common/text.h"

namespace tools {

namespace {

// Half of a surrogate pair, in three bytes, which a reader of UTF-8 refuses.
bool IsHalfAt(const std::string& text, std::size_t at) {
    return text[at] == '\xED' && at + 2 < text.size() && static_cast<unsigned char>(text[at + 1]) >= 0xA0;
}

}  // namespace

std::string JsonString(const std::string& text) {
    std::string out = "\"";
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto code = static_cast<unsigned char>(text[at]);
        if (code < 0x20) {
            out += "\\u" + Hex(code, 4);
        } else if (IsHalfAt(text, at)) {
            out += "\\u" + Hex(static_cast<std::uint16_t>(Wide(text.substr(at))[0]), 4);
            at += 2;
        } else if (const std::size_t length = CharacterAt(text, at); length != 1) {
            // A byte that belongs to no character counts as the character with its number.
            out += length == 0 ? "\\u" + Hex(code, 4) : text.substr(at, length);
            at += std::max<std::size_t>(length, 1) - 1;
        } else {
            if (code == '"' || code == '\\') out += '\\';
            out += text[at];
        }
    }
    return out + '"';
}

}  // namespace tools

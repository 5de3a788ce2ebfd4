#include "package_make/agreement.h"

#include "common/text.h"

namespace package_make {

namespace {

using tools::WideText;

enum class Coding { Utf8, LittleEndian, BigEndian };

// There are two bytes for each unit.
WideText Units(const std::string& bytes, bool bigEndian) {
    WideText units;
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i + bigEndian]);
        const auto high = static_cast<unsigned char>(bytes[i + !bigEndian]);
        units += static_cast<WCHAR>(low | high << 8);
    }
    return units;
}

// A text in 16-bit units has ends of lines or blanks, and so bytes 0: the high ones of these units.
Coding CodingOf(const std::string& bytes) {
    if (bytes.starts_with("\xFF\xFE")) return Coding::LittleEndian;
    if (bytes.starts_with("\xFE\xFF")) return Coding::BigEndian;
    std::size_t zeros[2] = {};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        zeros[i % 2] += bytes[i] == 0;
    if (zeros[0] + zeros[1] == 0) return Coding::Utf8;
    return zeros[1] >= zeros[0] ? Coding::LittleEndian : Coding::BigEndian;
}

}  // namespace

std::optional<std::string> AgreementFor(const std::string& bytes) {
    const Coding coding = CodingOf(bytes);
    if (coding == Coding::Utf8 ? !tools::IsUtf8(bytes) : bytes.size() % 2 != 0) return std::nullopt;
    WideText text = coding == Coding::Utf8 ? tools::Wide(bytes) : Units(bytes, coding == Coding::BigEndian);
    if (!text.empty() && text[0] == 0xFEFF) text.erase(0, 1);
    std::string out;
    const auto put = [&](WCHAR unit) {
        out += static_cast<char>(unit & 0xFF);
        out += static_cast<char>(unit >> 8);
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool endsLine = text[i] == '\n' || text[i] == '\r';
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        if (endsLine) {
            put('\r');
            put('\n');
        } else {
            put(text[i]);
        }
    }
    return out;
}

}  // namespace package_make

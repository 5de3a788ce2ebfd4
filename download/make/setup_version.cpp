#include "setup_version.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace download_make {

namespace {

using std::uint16_t;

constexpr std::size_t cbHeader = 6;

std::size_t Aligned(std::size_t offset) {
    return (offset + 3) / 4 * 4;
}

uint16_t WordAt(std::string_view bytes, std::size_t offset) {
    if (offset + 2 > bytes.size()) throw std::runtime_error("has a damaged version");
    uint16_t word;
    std::memcpy(&word, bytes.data() + offset, sizeof word);
    return word;
}

void PutWord(std::string& bytes, std::size_t word) {
    bytes += static_cast<char>(word & 0xFF);
    bytes += static_cast<char>(word >> 8 & 0xFF);
}

// Calls `visit` for each table of texts.
template <class Version, class Visit>
void ForEachTable(Version& version, Visit visit) {
    for (auto& part : version.inner)
        if (part.name == TEXT("StringFileInfo"))
            for (auto& table : part.inner)
                visit(table);
}

tools::WideText TextIn(const VersionBlock& table, const tools::WideText& name) {
    for (const VersionBlock& text : table.inner)
        if (text.name == name) return text.Text();
    return {};
}

}  // namespace

tools::WideText VersionBlock::Text() const {
    tools::WideText text;
    for (std::size_t at = 0; at + 2 <= value.size(); at += 2)
        text += static_cast<WCHAR>(WordAt(value, at));
    return text;
}

void VersionBlock::SetText(const tools::WideText& text) {
    value.clear();
    for (const WCHAR unit : text)
        PutWord(value, static_cast<uint16_t>(unit));
}

VersionBlock ReadVersion(std::string_view bytes) {
    VersionBlock block;
    bytes = bytes.substr(0, WordAt(bytes, 0));
    block.isText = WordAt(bytes, 4) == 1;
    std::size_t at = cbHeader;
    for (uint16_t unit; (unit = WordAt(bytes, at)) != 0; at += 2)
        block.name += static_cast<WCHAR>(unit);
    at = std::min(Aligned(at + 2), bytes.size());
    block.value = bytes.substr(at, std::size_t{WordAt(bytes, 2)} * (block.isText ? 2 : 1));
    at += block.value.size();
    if (block.isText) block.SetText(block.Text().c_str());
    for (at = Aligned(at); at + cbHeader <= bytes.size(); at = Aligned(at + WordAt(bytes, at))) {
        if (WordAt(bytes, at) < cbHeader) break;
        block.inner.push_back(ReadVersion(bytes.substr(at)));
    }
    return block;
}

std::string WriteVersion(const VersionBlock& block) {
    std::string bytes;
    PutWord(bytes, 0);
    PutWord(bytes, block.isText && !block.value.empty() ? block.value.size() / 2 + 1 : block.value.size());
    PutWord(bytes, block.isText ? 1 : 0);
    for (const WCHAR unit : block.name)
        PutWord(bytes, static_cast<uint16_t>(unit));
    PutWord(bytes, 0);
    bytes.resize(Aligned(bytes.size()));
    bytes += block.value;
    if (block.isText && !block.value.empty()) PutWord(bytes, 0);
    for (const VersionBlock& inner : block.inner) {
        bytes.resize(Aligned(bytes.size()));
        bytes += WriteVersion(inner);
    }
    if (bytes.size() > 0xFFFF) throw std::runtime_error("has a version that is too long");
    const auto length = static_cast<uint16_t>(bytes.size());
    std::memcpy(bytes.data(), &length, sizeof length);
    return bytes;
}

VersionTexts TextsOf(const VersionBlock& version) {
    VersionTexts texts;
    for (const std::size_t word : {10, 8, 14, 12})
        texts.version += (texts.version.empty() ? "" : ".") + std::to_string(WordAt(version.value, word));
    ForEachTable(version, [&](const VersionBlock& table) {
        if (texts.product.empty()) texts.product = TextIn(table, TEXT("ProductName"));
        if (texts.company.empty()) texts.company = TextIn(table, TEXT("CompanyName"));
    });
    return texts;
}

void DescribeSetup(VersionBlock& version) {
    ForEachTable(version, [](VersionBlock& table) {
        const tools::WideText product = TextIn(table, TEXT("ProductName"));
        std::erase_if(table.inner, [](const VersionBlock& text) {
            return text.name == TEXT("InternalName") || text.name == TEXT("OriginalFilename") ||
                   text.name == TEXT("FileDescription");
        });
        VersionBlock description{TEXT("FileDescription"), true, {}, {}};
        description.SetText(product + TEXT(" Setup"));
        table.inner.push_back(std::move(description));
    });
}

}  // namespace download_make

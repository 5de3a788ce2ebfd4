// Finds the version block of a file. Files may be damaged, so every number in them is checked.
#include "resources/version_block.h"

#include "core/bytes.h"
#include "core/text.h"
#include "resources/resources.h"

namespace winhost {

namespace {

constexpr WORD kVersionName = 1;
constexpr DWORD kSubFolder = 0x80000000u;

// ---- Windows executables, 32 and 64 bits ----

struct Sections {
    std::string_view file;
    std::size_t table = 0;
    WORD count = 0;

    // Returns the bytes at an address of the loaded program, up to the end of its section. Empty when no section holds
    // the address.
    std::string_view At(DWORD address) const {
        for (std::size_t i = 0; i < count; ++i) {
            const std::string_view header = Part(file, table + 40 * i, 40);
            const DWORD start = DwordAt(header, 12), cbRaw = DwordAt(header, 16), raw = DwordAt(header, 20);
            if (address < start || address - start >= cbRaw) continue;
            return Part(Part(file, raw, cbRaw), address - start, cbRaw);
        }
        return {};
    }
};

// Returns the offset that a folder of resources has for a number, or for its first entry when `id` is 0. Returns 0 when
// there is none.
DWORD EntryOf(std::string_view resources, DWORD folder, WORD id) {
    const std::size_t named = WordAt(resources, std::size_t{folder} + 12);
    const std::size_t count = named + WordAt(resources, std::size_t{folder} + 14);
    for (std::size_t i = id == 0 ? 0 : named; i < count; ++i) {
        const std::string_view entry = Part(resources, folder + 16 + 8 * i, 8);
        if (entry.size() == 8 && (id == 0 || DwordAt(entry, 0) == id)) return DwordAt(entry, 4);
    }
    return 0;
}

VersionSearch FindInWindowsProgram(std::string_view file) {
    const std::size_t header = DwordAt(file, 0x3C);
    if (Part(file, header, 4) != std::string_view("PE\0\0", 4)) return {ERROR_RESOURCE_DATA_NOT_FOUND, {}};
    const std::size_t optional = header + 24;
    const WORD magic = WordAt(file, optional);
    if (magic != 0x10B && magic != 0x20B) return {ERROR_RESOURCE_DATA_NOT_FOUND, {}};
    const std::size_t folders = optional + (magic == 0x10B ? 92 : 108);
    if (DwordAt(file, folders) <= 2) return {ERROR_RESOURCE_DATA_NOT_FOUND, {}};

    const Sections sections{file, optional + WordAt(file, header + 20), WordAt(file, header + 6)};
    const std::string_view resources = sections.At(DwordAt(file, folders + 4 + 2 * 8));
    if (resources.empty()) return {ERROR_RESOURCE_DATA_NOT_FOUND, {}};
    const DWORD type = EntryOf(resources, 0, kVersionResource);
    if (!(type & kSubFolder)) return {ERROR_RESOURCE_TYPE_NOT_FOUND, {}};
    const DWORD name = EntryOf(resources, type & ~kSubFolder, kVersionName);
    if (!(name & kSubFolder)) return {ERROR_RESOURCE_NAME_NOT_FOUND, {}};
    const DWORD language = EntryOf(resources, name & ~kSubFolder, 0);
    const std::string_view data = Part(resources, language, 8);
    const std::string_view block = Part(sections.At(DwordAt(data, 0)), 0, DwordAt(data, 4));
    if (language == 0 || (language & kSubFolder) || block.empty() || block.size() != DwordAt(data, 4))
        return {ERROR_RESOURCE_DATA_NOT_FOUND, {}};
    return {ERROR_SUCCESS, block};
}

// ---- host programs: 64-bit ELF with a section "winres" ----

VersionSearch FindInHostProgram(std::string_view file) {
    const auto sectionHeader = [file](std::size_t index) {
        const std::uint64_t table = NumberAt<std::uint64_t>(file, 0x28);
        return table < file.size() ? Part(file, table + index * WordAt(file, 0x3A), 64) : std::string_view{};
    };
    const auto content = [file](std::string_view header) {
        return Part(file, NumberAt<std::uint64_t>(header, 24), NumberAt<std::uint64_t>(header, 32));
    };
    const std::string_view names = content(sectionHeader(WordAt(file, 0x3E)));
    for (std::size_t i = 0; i < WordAt(file, 0x3C); ++i) {
        const std::string_view header = sectionHeader(i);
        if (Part(names, DwordAt(header, 0), 7) != std::string_view("winres\0", 7)) continue;
        const auto version = FindResource(content(header), kVersionResource, kVersionName);
        if (!version.data.empty()) return {ERROR_SUCCESS, version.data};
        if (version.anyOfType) return {ERROR_RESOURCE_NAME_NOT_FOUND, {}};
        return {ERROR_RESOURCE_TYPE_NOT_FOUND, {}};
    }
    return {ERROR_RESOURCE_DATA_NOT_FOUND, {}};
}

// ---- the block: blocks within blocks ----

constexpr WORD kTextType = 1;

// A block has a header, a name, a value, and the blocks inside
// it. Each part after the header begins at a multiple of four.
struct Block {
    std::string_view bytes;
    std::u16string name;
    std::size_t value = 0;  // offsets from the first of the bytes
    std::size_t inner = 0;
    std::size_t cbValue = 0;

    explicit Block(std::string_view all) : bytes(Part(all, 0, WordAt(all, 0))) {
        name = WideAt(bytes, kVersionHeader);
        value = Align4(kVersionHeader + 2 * (name.size() + 1));
        cbValue = std::size_t{WordAt(bytes, 2)} * (IsText() ? 2 : 1);
        inner = Align4(value + cbValue);
    }
    bool IsText() const { return WordAt(bytes, 4) == kTextType; }
};

std::optional<Block> FindInner(const Block& outer, std::u16string_view name) {
    std::string_view rest = Part(outer.bytes, outer.inner, outer.bytes.size());
    while (WordAt(rest, 0) >= kVersionHeader) {
        Block inner(rest);
        if (SameName(inner.name, name)) return inner;
        rest = Part(rest, Align4(WordAt(rest, 0)), rest.size());
    }
    return std::nullopt;
}

}  // namespace

std::optional<VersionValue> FindVersionValue(std::string_view bytes, std::u16string_view query) {
    std::optional<Block> block(bytes);
    while (block && !query.empty()) {
        const auto end = std::min(query.find(u'\\'), query.size());
        if (end > 0) block = FindInner(*block, query.substr(0, end));
        query.remove_prefix(std::min(end + 1, query.size()));
    }
    if (!block) return std::nullopt;
    // A value of size 0 may be the last in its block, without a place of its own.
    const std::string_view value = block->bytes.substr(std::min(block->value, block->bytes.size()));
    if (value.size() < block->cbValue) return std::nullopt;
    return VersionValue{value.substr(0, block->cbValue), WordAt(block->bytes, 2)};
}

VersionSearch FindVersionBlock(std::string_view file) {
    if (file.starts_with("MZ")) return FindInWindowsProgram(file);
    if (file.starts_with("\x7f"
                         "ELF\x02\x01"))
        return FindInHostProgram(file);
    return {ERROR_RESOURCE_DATA_NOT_FOUND, {}};
}

}  // namespace winhost

#include "program_resources.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>
#include <tuple>

namespace download_make {

namespace {

using std::uint16_t, std::uint32_t;

constexpr uint32_t kSubFolder = 0x80000000u;
constexpr std::size_t kResourceDirectory = 2, kRelocationDirectory = 5;
constexpr std::size_t cbFolder = 16, cbFolderEntry = 8, cbData = 16, cbSection = 40;

[[noreturn]] void Damaged() {
    throw std::runtime_error("is no whole Windows program");
}

std::string_view Cut(std::string_view bytes, std::size_t offset, std::size_t cb) {
    if (offset > bytes.size() || cb > bytes.size() - offset) Damaged();
    return bytes.substr(offset, cb);
}

template <class Number>
Number At(std::string_view bytes, std::size_t offset) {
    Number number;
    std::memcpy(&number, Cut(bytes, offset, sizeof number).data(), sizeof number);
    return number;
}

void Set(std::string& bytes, std::size_t offset, uint32_t number) {
    (void)Cut(bytes, offset, sizeof number);
    std::memcpy(bytes.data() + offset, &number, sizeof number);
}

template <class Number>
void Put(std::string& bytes, Number number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

std::size_t Aligned(std::size_t number, std::size_t to) {
    return (number + to - 1) / to * to;
}

// Where the headers of a program have what concerns its resources.
struct Headers {
    std::size_t optional, directories, sections, count;

    explicit Headers(std::string_view program) {
        const std::size_t header = program.starts_with("MZ") ? At<uint32_t>(program, 0x3C) : program.size();
        if (At<uint32_t>(program, header) != 0x4550) Damaged();
        optional = header + 24;
        directories = optional + (At<uint16_t>(program, optional) == 0x20B ? 112 : 96);
        sections = optional + At<uint16_t>(program, header + 20);
        count = At<uint16_t>(program, header + 6);
        if (At<uint32_t>(program, directories - 4) <= kRelocationDirectory) Damaged();
    }

    std::size_t Directory(std::size_t number) const { return directories + 8 * number; }

    // The header of the section that holds an address of the loaded program.
    std::size_t SectionOf(std::string_view program, uint32_t address) const {
        for (std::size_t section = sections; section < sections + count * cbSection; section += cbSection) {
            const auto start = At<uint32_t>(program, section + 12), cb = At<uint32_t>(program, section + 16);
            if (address >= start && address - start < cb) return section;
        }
        Damaged();
    }

    std::string_view Bytes(std::string_view program, uint32_t address) const {
        const std::size_t section = SectionOf(program, address);
        const std::string_view raw =
            Cut(program, At<uint32_t>(program, section + 20), At<uint32_t>(program, section + 16));
        return raw.substr(address - At<uint32_t>(program, section + 12));
    }
};

// Calls `visit` with the name and the offset of each entry of a folder.
template <class Visit>
void ForEachEntry(std::string_view tree, uint32_t folder, Visit visit) {
    const std::size_t count = At<uint16_t>(tree, folder + 12) + std::size_t{At<uint16_t>(tree, folder + 14)};
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = folder + cbFolder + cbFolderEntry * i;
        const auto id = At<uint32_t>(tree, entry);
        ResourceName name;
        if (id & kSubFolder) {
            const std::size_t at = id & ~kSubFolder;
            for (std::size_t unit = 0; unit < At<uint16_t>(tree, at); ++unit)
                name.text += static_cast<WCHAR>(At<uint16_t>(tree, at + 2 + 2 * unit));
        } else {
            name.number = static_cast<uint16_t>(id);
        }
        visit(name, At<uint32_t>(tree, entry + 4));
    }
}

// As above, with the offset of a folder in it.
template <class Visit>
void ForEachFolder(std::string_view tree, uint32_t folder, Visit visit) {
    ForEachEntry(tree, folder, [&](const ResourceName& name, uint32_t offset) {
        if (!(offset & kSubFolder)) Damaged();
        visit(name, offset & ~kSubFolder);
    });
}

using Languages = std::map<uint16_t, const std::string*>;
using Names = std::map<ResourceName, Languages>;
using Types = std::map<ResourceName, Names>;

// Writes a tree: all folders, then the descriptions of the data, the names, and the data.
class TreeWriter {
  public:
    explicit TreeWriter(uint32_t address) : m_address(address) {}

    std::string Write(const Types& types) {
        std::size_t cbFolders = cbFolder + cbFolderEntry * types.size(), count = 0;
        for (const auto& [type, names] : types) {
            cbFolders += cbFolder + cbFolderEntry * names.size();
            for (const auto& [name, languages] : names) {
                cbFolders += cbFolder + cbFolderEntry * languages.size();
                count += languages.size();
            }
        }
        m_dataOffset = cbFolders;
        m_textOffset = cbFolders + cbData * count;
        for (const auto& [type, names] : types) {
            CountText(type);
            for (const auto& [name, languages] : names)
                CountText(name);
        }
        m_byteOffset = Aligned(m_textOffset + m_cbTexts, 8);
        m_folders.assign(cbFolders, 0);
        m_next = 0;
        (void)WriteFolder(types, [this](const Names& names) {
            return WriteFolder(names, [this](const Languages& languages) {
                return WriteFolder(languages, [this](const std::string* bytes) { return WriteData(*bytes); });
            });
        });
        std::string tree = m_folders + m_data + m_texts;
        tree.resize(m_byteOffset);
        return tree + m_bytes;
    }

  private:
    void CountText(const ResourceName& name) {
        if (!name.text.empty()) m_cbTexts += 2 + 2 * name.text.size();
    }

    uint32_t IdOf(uint16_t language) { return language; }
    uint32_t IdOf(const ResourceName& name) {
        if (name.text.empty()) return name.number;
        const std::size_t offset = m_textOffset + m_texts.size();
        Put(m_texts, static_cast<uint16_t>(name.text.size()));
        for (const WCHAR unit : name.text)
            Put(m_texts, static_cast<uint16_t>(unit));
        return kSubFolder | static_cast<uint32_t>(offset);
    }

    template <class Folder, class WriteEntry>
    uint32_t WriteFolder(const Folder& folder, WriteEntry writeEntry) {
        const std::size_t begin = m_next;
        m_next += cbFolder + cbFolderEntry * folder.size();
        uint32_t named = 0;
        std::size_t entry = begin + cbFolder;
        for (const auto& [name, content] : folder) {
            const uint32_t id = IdOf(name);
            if (id & kSubFolder) ++named;
            Set(m_folders, entry, id);
            Set(m_folders, entry + 4, writeEntry(content));
            entry += cbFolderEntry;
        }
        Set(m_folders, begin + 12, named | static_cast<uint32_t>(folder.size() - named) << 16);
        return kSubFolder | static_cast<uint32_t>(begin);
    }

    uint32_t WriteData(const std::string& bytes) {
        const std::size_t offset = m_dataOffset + m_data.size();
        Put(m_data, static_cast<uint32_t>(m_address + m_byteOffset + m_bytes.size()));
        Put(m_data, static_cast<uint32_t>(bytes.size()));
        m_data.append(8, 0);
        m_bytes += bytes;
        m_bytes.resize(Aligned(m_bytes.size(), 8));
        return static_cast<uint32_t>(offset);
    }

    uint32_t m_address;
    std::size_t m_dataOffset = 0, m_textOffset = 0, m_cbTexts = 0, m_byteOffset = 0, m_next = 0;
    std::string m_folders, m_data, m_texts, m_bytes;
};

// Writes the last sections of a program anew, one behind the other.
class SectionWriter {
  public:
    // Cuts the program where the bytes of the section begin.
    SectionWriter(std::string& program, const Headers& headers, std::size_t section)
        : m_program(program),
          m_address(At<uint32_t>(program, section + 12)),
          m_sectionAlignment(At<uint32_t>(program, headers.optional + 32)),
          m_fileAlignment(At<uint32_t>(program, headers.optional + 36)) {
        m_program.resize(At<uint32_t>(program, section + 20));
    }

    // Where the next section is loaded.
    uint32_t Address() const { return m_address; }

    // Puts bytes at the end of the program, as the content of the section with this header.
    void Place(std::size_t header, const std::string& bytes, std::size_t cbUsed) {
        Set(m_program, header + 8, static_cast<uint32_t>(cbUsed));
        Set(m_program, header + 12, m_address);
        Set(m_program, header + 16, static_cast<uint32_t>(Aligned(bytes.size(), m_fileAlignment)));
        Set(m_program, header + 20, static_cast<uint32_t>(m_program.size()));
        m_program += bytes;
        m_program.resize(Aligned(m_program.size(), m_fileAlignment));
        m_address = static_cast<uint32_t>(Aligned(m_address + cbUsed, m_sectionAlignment));
    }

  private:
    std::string& m_program;
    uint32_t m_address, m_sectionAlignment, m_fileAlignment;
};

}  // namespace

bool ResourceName::operator<(const ResourceName& other) const {
    return std::tuple(text.empty(), text, number) < std::tuple(other.text.empty(), other.text, other.number);
}

std::vector<Resource> ReadResources(std::string_view program) {
    const Headers headers(program);
    const auto address = At<uint32_t>(program, headers.Directory(kResourceDirectory));
    if (address == 0) return {};
    const std::string_view tree = headers.Bytes(program, address);
    std::vector<Resource> resources;
    ForEachFolder(tree, 0, [&](const ResourceName& type, uint32_t names) {
        ForEachFolder(tree, names, [&](const ResourceName& name, uint32_t languages) {
            ForEachEntry(tree, languages, [&](const ResourceName& language, uint32_t data) {
                const std::string_view bytes = headers.Bytes(program, At<uint32_t>(tree, data));
                resources.push_back(
                    {type, name, language.number, std::string(Cut(bytes, 0, At<uint32_t>(tree, data + 4)))});
            });
        });
    });
    return resources;
}

std::string WithResources(std::string program, std::vector<Resource> resources) {
    const Headers headers(program);
    const auto address = At<uint32_t>(program, headers.Directory(kResourceDirectory));
    const std::size_t section = headers.SectionOf(program, address), after = section + cbSection;
    const std::size_t end = headers.sections + headers.count * cbSection;
    const auto relocations = At<uint32_t>(program, headers.Directory(kRelocationDirectory));
    if (after + cbSection < end || (after < end && At<uint32_t>(program, after + 12) != relocations))
        throw std::runtime_error("has more than relocations after its resources");
    Types types;
    for (const Resource& each : resources)
        types[each.type][each.name][each.language] = &each.bytes;
    const std::string tree = TreeWriter(address).Write(types);
    std::string moved;
    if (after < end) moved = headers.Bytes(program, relocations);

    SectionWriter writer(program, headers, section);
    writer.Place(section, tree, tree.size());
    Set(program, headers.Directory(kResourceDirectory) + 4, static_cast<uint32_t>(tree.size()));
    if (after < end) {
        Set(program, headers.Directory(kRelocationDirectory), writer.Address());
        writer.Place(after, moved, At<uint32_t>(program, after + 8));
    }
    Set(program, headers.optional + 56, writer.Address());
    Set(program, headers.optional + 64, 0);
    return program;
}

}  // namespace download_make

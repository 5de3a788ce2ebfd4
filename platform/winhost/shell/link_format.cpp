// Link files: header, list of item ids, link info, texts, final block.
#include "shell/link_format.h"

#include "core/bytes.h"

namespace winhost {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kHeaderStart =
    "\x4C\0\0\0\x01\x14\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46"sv;  // the header's size, and the class of links
constexpr std::size_t kHeaderSize = 0x4C;
constexpr DWORD kHasIdList = 0x01, kHasLinkInfo = 0x02, kHasName = 0x04, kHasRelativePath = 0x08,
                kHasWorkingFolder = 0x10, kHasArguments = 0x20, kHasIcon = 0x40, kIsUnicode = 0x80;

// The shell's items on the way to a file: this computer, a drive, folders, the file.
constexpr std::string_view kComputerItem =
    "\x1F\x50\xE0\x4F\xD0\x20\xEA\x3A\x69\x10\xA2\xD8\x08\x00\x2B\x30\x30\x9D"sv;
constexpr BYTE kDriveItem = 0x23, kFolderItem = 0x31, kFileItem = 0x32;
constexpr std::size_t kDriveItemText = 22;
constexpr std::size_t kShortName = 14;  // of a folder or file item, counted from its size on
constexpr DWORD kLongNameMark = 0xBEEF0004u;
constexpr WORD kLongName = 20;  // in the block that begins with the mark

constexpr DWORD kInfoHeader = 0x24;  // of link info with wide texts
constexpr DWORD kInfoHeaderNarrow = 0x1C;
constexpr DWORD kVolumeHeader = 0x10;
constexpr DWORD kVolumeAndLocalPath = 1;

// ---- writing ----

class Writer {
  public:
    Writer& Bytes(std::string_view bytes) {
        m_bytes += bytes;
        return *this;
    }
    Writer& Byte(unsigned value) {
        m_bytes += static_cast<char>(value & 0xFF);
        return *this;
    }
    Writer& Word(unsigned value) { return Byte(value).Byte(value >> 8); }
    Writer& Dword(DWORD value) { return Word(value & 0xFFFF).Word(value >> 16); }
    Writer& Time(const FILETIME& time) { return Dword(time.dwLowDateTime).Dword(time.dwHighDateTime); }
    Writer& Zeros(std::size_t count) {
        m_bytes.append(count, '\0');
        return *this;
    }
    Writer& Wide(std::u16string_view text) {
        for (const char16_t unit : text)
            Word(unit);
        return *this;
    }
    // For readers that know only narrow text. All others find the wide text beside it.
    Writer& Narrow(std::u16string_view text) {
        for (const char16_t unit : text)
            Byte(unit < 0x100 ? unit : '?');
        return Byte(0);
    }
    // Texts are stored with their length, without a terminator.
    Writer& Counted(std::u16string_view text) { return Word(static_cast<unsigned>(text.size())).Wide(text); }
    // A part that begins with its own size.
    Writer& Item(const Writer& content) {
        return Word(static_cast<unsigned>(content.size() + 2)).Bytes(content.m_bytes);
    }
    std::size_t size() const { return m_bytes.size(); }
    std::string take() { return std::move(m_bytes); }

  private:
    std::string m_bytes;
};

Writer NameItem(std::u16string_view name, bool isFolder) {
    Writer item;
    item.Byte(isFolder ? kFolderItem : kFileItem).Byte(0).Dword(0).Dword(0);
    item.Word(isFolder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE).Narrow(name);
    if (item.size() % 2 != 0) item.Byte(0);
    const std::size_t blockOffset = item.size() + 2;
    Writer block;
    block.Word(3).Dword(kLongNameMark).Zeros(8).Word(kLongName).Word(0).Wide(name).Word(0);
    block.Word(static_cast<unsigned>(blockOffset));
    return item.Item(block);
}

Writer ItemIds(const LinkData& link) {
    Writer drive;
    drive.Byte(kDriveItem).Narrow(std::u16string_view(link.path).substr(0, 3)).Zeros(kDriveItemText - 4);
    Writer list;
    list.Item(Writer().Bytes(kComputerItem)).Item(drive);
    std::u16string_view rest = std::u16string_view(link.path).substr(3);
    while (!rest.empty()) {
        const auto end = std::min(rest.find(u'\\'), rest.size());
        const bool last = end == rest.size();
        list.Item(NameItem(rest.substr(0, end), !last || link.toFolder));
        rest.remove_prefix(last ? end : end + 1);
    }
    return list.Word(0);
}

Writer LinkInfo(std::u16string_view path) {
    Writer volume;
    volume.Dword(kVolumeHeader + 1).Dword(DRIVE_FIXED).Dword(0).Dword(kVolumeHeader).Byte(0);
    const auto cchPath = static_cast<DWORD>(path.size());
    const DWORD narrowPath = kInfoHeader + kVolumeHeader + 1, narrowSuffix = narrowPath + cchPath;
    const DWORD widePath = narrowSuffix + 1, wideSuffix = widePath + 2 * cchPath;
    Writer info;
    info.Dword(wideSuffix + 2).Dword(kInfoHeader).Dword(kVolumeAndLocalPath).Dword(kInfoHeader);
    info.Dword(narrowPath).Dword(0).Dword(narrowSuffix).Dword(widePath).Dword(wideSuffix);
    return info.Bytes(volume.take()).Narrow(path).Wide(path).Word(0);
}

// ---- reading ----

std::u16string NarrowAt(std::string_view bytes, std::size_t offset) {
    const std::string_view rest = Part(bytes, offset, bytes.size());
    const std::string_view text = rest.substr(0, rest.find('\0'));
    std::u16string wide;
    for (const char byte : text)
        wide += static_cast<char16_t>(static_cast<BYTE>(byte));
    return wide;
}

// Takes a part, which begins with its own size, from the front of `bytes`. Empty when there is none, or when it is the
// last one, of size 0.
std::string_view TakeItem(std::string_view& bytes) {
    const std::size_t size = WordAt(bytes, 0);
    const std::string_view item = Part(bytes, 0, size);
    bytes = Part(bytes, std::max<std::size_t>(size, 2), bytes.size());
    return item.size() == size ? item : std::string_view{};
}

std::u16string NameOfItem(std::string_view item) {
    if (item.size() < kShortName) return {};
    // The last word of the item says where the block with the long name begins.
    const std::string_view block = Part(item, WordAt(item, item.size() - 2), item.size());
    const std::size_t longName = WordAt(block, 16) ? WordAt(block, 16) : kLongName;
    const std::u16string name = WideAt(block, longName);
    return name.empty() ? NarrowAt(item, kShortName) : name;
}

// Returns the path in a list of item ids. Empty when the list is not the path of a file on a drive.
std::u16string PathOfItemIds(std::string_view list) {
    const std::string_view computer = TakeItem(list);
    // The byte before the class is for sorting among other items. Each program that writes links has its own value.
    if (Part(computer, 4, 16) != kComputerItem.substr(2)) return {};
    std::u16string path = NarrowAt(TakeItem(list), 3);
    if (path.size() != 3 || path[1] != u':') return {};
    for (auto item = TakeItem(list); !item.empty(); item = TakeItem(list)) {
        const BYTE kind = item.size() > 2 ? static_cast<BYTE>(item[2]) : BYTE{0};
        const std::u16string name = NameOfItem(item);
        if ((kind != kFolderItem && kind != kFileItem) || name.empty()) return {};
        if (path.back() != u'\\') path += u'\\';
        path += name;
    }
    return path;
}

std::u16string WidePathOfInfo(std::string_view info) {
    if (DwordAt(info, 4) < kInfoHeader || !(DwordAt(info, 8) & kVolumeAndLocalPath)) return {};
    return WideAt(info, DwordAt(info, 28)) + WideAt(info, DwordAt(info, 32));
}

std::u16string NarrowPathOfInfo(std::string_view info) {
    if (DwordAt(info, 4) < kInfoHeaderNarrow || !(DwordAt(info, 8) & kVolumeAndLocalPath)) return {};
    return NarrowAt(info, DwordAt(info, 16)) + NarrowAt(info, DwordAt(info, 24));
}

FILETIME TimeAt(std::string_view bytes, std::size_t offset) {
    return {DwordAt(bytes, offset), DwordAt(bytes, offset + 4)};
}

bool IsDrivePath(std::u16string_view path) {
    return path.size() >= 3 && path.size() < MAX_PATH && path.substr(1, 2) == u":\\";
}

std::u16string TakeCounted(std::string_view& bytes, bool wide) {
    const std::size_t size = std::size_t{WordAt(bytes, 0)} * (wide ? 2 : 1);
    const std::string_view text = Part(bytes, 2, size);
    bytes = Part(bytes, 2 + size, bytes.size());
    return wide ? WideAt(text, 0) : NarrowAt(text, 0);
}

}  // namespace

std::string FormatLink(const LinkData& link) {
    DWORD flags = kIsUnicode | kHasName;
    if (!link.path.empty()) flags |= kHasIdList | kHasLinkInfo;
    if (!link.workingFolder.empty()) flags |= kHasWorkingFolder;
    if (!link.arguments.empty()) flags |= kHasArguments;
    if (!link.iconPath.empty()) flags |= kHasIcon;
    Writer out;
    out.Bytes(kHeaderStart).Dword(flags).Dword(link.attributes);
    out.Time(link.created).Time(link.accessed).Time(link.written).Dword(link.size);
    out.Dword(static_cast<DWORD>(link.icon)).Dword(static_cast<DWORD>(link.showCommand));
    out.Word(link.hotkey).Zeros(10);
    if (!link.path.empty()) {
        Writer list = ItemIds(link);
        out.Word(static_cast<unsigned>(list.size())).Bytes(list.take()).Bytes(LinkInfo(link.path).take());
    }
    out.Counted(link.description);
    if (flags & kHasWorkingFolder) out.Counted(link.workingFolder);
    if (flags & kHasArguments) out.Counted(link.arguments);
    if (flags & kHasIcon) out.Counted(link.iconPath);
    return out.Dword(0).take();
}

std::optional<LinkData> ParseLink(std::string_view bytes) {
    if (bytes.size() < kHeaderSize || !bytes.starts_with(kHeaderStart)) return std::nullopt;
    const DWORD flags = DwordAt(bytes, 20);
    LinkData link;
    link.attributes = DwordAt(bytes, 24);
    link.toFolder = (link.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    link.created = TimeAt(bytes, 28);
    link.accessed = TimeAt(bytes, 36);
    link.written = TimeAt(bytes, 44);
    link.size = DwordAt(bytes, 52);
    link.icon = static_cast<int>(DwordAt(bytes, 56));
    link.showCommand = static_cast<int>(DwordAt(bytes, 60));
    link.hotkey = WordAt(bytes, 64);
    std::string_view rest = bytes.substr(kHeaderSize), list, info;
    if (flags & kHasIdList) {
        list = Part(rest, 2, WordAt(rest, 0));
        rest = Part(rest, 2 + std::size_t{WordAt(rest, 0)}, rest.size());
    }
    if (flags & kHasLinkInfo) {
        info = Part(rest, 0, DwordAt(rest, 0));
        rest = Part(rest, DwordAt(rest, 0), rest.size());
    }
    link.path = WidePathOfInfo(info);
    if (link.path.empty()) link.path = PathOfItemIds(list);
    if (link.path.empty()) link.path = NarrowPathOfInfo(info);
    if (!IsDrivePath(link.path)) link.path.clear();
    const bool wide = (flags & kIsUnicode) != 0;
    if (flags & kHasName) link.description = TakeCounted(rest, wide);
    if (flags & kHasRelativePath) (void)TakeCounted(rest, wide);
    if (flags & kHasWorkingFolder) link.workingFolder = TakeCounted(rest, wide);
    if (flags & kHasArguments) link.arguments = TakeCounted(rest, wide);
    if (flags & kHasIcon) link.iconPath = TakeCounted(rest, wide);
    return link;
}

}  // namespace winhost

// The public binary format of link files.
#pragma once

#include <shlobj.h>

#include <optional>
#include <string>
#include <string_view>

namespace winhost {

struct LinkData {
    std::u16string path;  // full Windows path; empty for a link without a target
    bool toFolder = false;
    DWORD attributes = 0;
    FILETIME created = {}, accessed = {}, written = {};
    DWORD size = 0;  // the low half
    std::u16string description;
    std::u16string workingFolder;
    std::u16string arguments;
    std::u16string iconPath;
    int icon = 0;
    int showCommand = SW_SHOWNORMAL;
    WORD hotkey = 0;
};

// The longest text of a link file, in characters.
inline constexpr std::size_t kMaxLinkText = 0xFFFF;

// Returns the bytes of a link file.
std::string FormatLink(const LinkData& link);
// Reads a link file. Returns none when the bytes are no link file. Damaged parts read as missing.
std::optional<LinkData> ParseLink(std::string_view bytes);

}  // namespace winhost

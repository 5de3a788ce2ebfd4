// Dialog templates, as the resource compiler stores them.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace winhost {

struct DialogItem {
    DWORD style;
    DWORD exStyle;
    SHORT x, y, cx, cy;  // dialog units
    DWORD id;
    std::u16string kind;
    std::u16string title;  // for a resource's number: 0xFFFF and the number
};

struct DialogTemplate {
    DWORD style;
    DWORD exStyle;
    SHORT x, y, cx, cy;  // dialog units
    std::u16string title;
    LONG baseX, baseY;  // pixels of four and of eight dialog units
    std::vector<DialogItem> items;
};

// Reads a template of either form; none when it is damaged. The bytes begin on a multiple of four.
std::optional<DialogTemplate> ParseDialog(std::string_view bytes);

}  // namespace winhost

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
    std::u16string title;  // 0xFFFF and a number when the title is a resource's number
};

struct DialogTemplate {
    DWORD style;
    DWORD exStyle;
    SHORT x, y, cx, cy;  // dialog units
    std::u16string title;
    LONG baseX, baseY;  // size in pixels of four units across and eight units down
    std::vector<DialogItem> items;
};

// Reads a template of either form. Returns none when it is damaged. The bytes must begin at a multiple of four.
std::optional<DialogTemplate> ParseDialog(std::string_view bytes);

}  // namespace winhost

// Dialogs that tests make of templates in memory.
#pragma once

#include "harness/driver.h"
#include "machine/answers.h"

inline constexpr WORD kButton = 0x80;
inline constexpr WORD kEdit = 0x81;
inline constexpr WORD kStatic = 0x82;
inline constexpr DWORD kTab = WS_VISIBLE | WS_TABSTOP;
inline constexpr WCHAR kTitle[] = TEXT("Dialog of the tests");
inline constexpr DWORD kPage = WS_CHILD | DS_CONTROL | DS_SETFONT;
inline constexpr DWORD kFrame = WS_POPUP | WS_CAPTION | WS_VISIBLE | DS_MODALFRAME | DS_SETFONT;

struct Item {
    WORD kind;
    DWORD style;
    WORD id;
    LPCWSTR text;
};

// A template in memory. The controls are one below the other.
class Template {
  public:
    Template(DWORD style, const std::vector<Item>& items) {
        AddStyle(style);
        Add({static_cast<WORD>(items.size()), 0, 0, 200, 150, 0, 0});  // place, no menu, no class
        AddText(kTitle);
        Add({8});
        AddText(TEXT("MS Sans Serif"));
        for (const Item& item : items) {
            if (m_words.size() % 2) Add({0});
            AddStyle(item.style);
            Add({7, static_cast<WORD>(10 * (&item - items.data())), 90, 9, item.id, 0xFFFF, item.kind});
            AddText(item.text);
            Add({0});
        }
    }
    LPCDLGTEMPLATEW get() const { return reinterpret_cast<LPCDLGTEMPLATEW>(m_words.data()); }

  private:
    void Add(std::initializer_list<WORD> words) { m_words.insert(m_words.end(), words); }
    void AddStyle(DWORD style) { Add({LOWORD(style), HIWORD(style), 0, 0}); }
    void AddText(const Text& text) {
        m_words.insert(m_words.end(), text.c_str(), text.c_str() + text.size() + 1);
    }

    std::vector<WORD> m_words;
};

using Ends = std::vector<std::pair<HWND, UINT>>;

inline std::vector<int> commands;  // ids of pressed buttons
inline Ends ends;
inline std::string heard;  // what the dialog procedure got, in order
inline int asked = 0;      // for the default button

// Button 50 ends the dialog with 500.
inline INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    const int id = LOWORD(wParam), notification = HIWORD(wParam);
    asked += message == DM_GETDEFID;
    static const auto names = NamesIn(
        "2 destroy 6 activate 16 close 24 show 40 next 48 font 130 ncdestroy 272 init 528 parentnotify");
    if (names.contains(message)) heard += names.at(message) + " ";
    if (message == WM_COMMAND && notification >= EN_CHANGE) heard += std::to_string(notification) + " ";
    if (message == WM_DESTROY || message == WM_NCDESTROY) ends.emplace_back(dialog, message);
    if (message == WM_APP)
        (void)SetWindowLongPtrW(dialog, DWLP_MSGRESULT, static_cast<LONG_PTR>(wParam) + lParam);
    if (message == WM_COMMAND && notification == BN_CLICKED) {
        commands.push_back(id);
        return id == 50 && EndDialog(dialog, 500);
    }
    return message == WM_INITDIALOG || message == WM_CLOSE || message == WM_APP;
}

inline HWND MakeDialog(const Template& dialog, HWND parent = nullptr) {
    return CreateDialogIndirectParamW(nullptr, dialog.get(), parent, Procedure, 0);
}

// Message boxes. They are dialogs. A test's list answers them,
// or a person at the terminal, or whoever presses their buttons.

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>

#include "controls/dialog_items.h"
#include "controls/tab_order.h"
#include "core/events.h"
#include "core/faults.h"
#include "core/machine.h"
#include "dialogs/box_answers.h"
#include "dialogs/dialog_procedure.h"
#include "dialogs/dialog_template.h"
#include "dialogs/dialogs.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace winhost {

namespace {

constexpr UINT kTypeBits = 0xF;
constexpr UINT kIconBits = 0xF0;
constexpr UINT kDefaultBits = 0x300;
constexpr DWORD kTextId = 0xFFFF;
// In dialog units. Nobody sees the box, so its layout is simple.
constexpr SHORT kBoxWidth = 200, kBoxHeight = 60, kButtonWidth = 50, kButtonHeight = 14;
constexpr LONG kBaseX = 8, kBaseY = 16;

// Returns the buttons of a box from left to right. Empty for another box.
std::vector<int> RowOf(UINT style) {
    if (style & ~(kTypeBits | kIconBits | kDefaultBits)) return {};
    switch (style & kTypeBits) {
        case MB_OK:
            return {IDOK};
        case MB_OKCANCEL:
            return {IDOK, IDCANCEL};
        case MB_YESNO:
            return {IDYES, IDNO};
        case MB_YESNOCANCEL:
            return {IDYES, IDNO, IDCANCEL};
        default:
            return {};
    }
}

// The number of the button in its row that Enter presses.
std::size_t DefaultOfRow(UINT style) {
    return (style & kDefaultBits) / MB_DEFBUTTON2;
}

// Returns the buttons of a box. The safe one is last.
std::vector<int> ButtonsOf(UINT style) {
    std::vector<int> buttons = RowOf(style);
    if (DefaultOfRow(style) >= buttons.size()) NotModelled("MessageBoxW", "style " + std::to_string(style));
    if (buttons.size() == 3) std::swap(buttons[1], buttons[2]);
    return buttons;
}

// What a person types at the terminal.
const char* LabelOf(int button) {
    switch (button) {
        case IDYES:
            return "yes";
        case IDNO:
            return "no";
        case IDCANCEL:
            return "cancel";
        default:
            return "ok";
    }
}

const char16_t* TextOf(int button) {
    switch (button) {
        case IDYES:
            return u"&Yes";
        case IDNO:
            return u"&No";
        case IDCANCEL:
            return u"Cancel";
        default:
            return u"OK";
    }
}

Answer AskAtTerminal(const std::vector<int>& buttons, const std::string& caption, const std::string& text) {
    std::cout << "\n[" << caption << "]\n" << text << "\n";
    for (;;) {
        for (const int button : buttons)
            std::cout << (button == buttons.front() ? "" : " / ") << LabelOf(button);
        std::cout << "? " << std::flush;
        std::string line;
        if (!std::getline(std::cin, line)) return {buttons.back(), false};
        // Any line presses a single button. With several buttons, the line must be the start of a label.
        if (buttons.size() == 1) return {buttons.front(), true};
        for (const int button : buttons)
            if (!line.empty() && std::string(LabelOf(button)).starts_with(line)) return {button, true};
    }
}

struct Box {
    std::u16string text;
    std::u16string caption;
    UINT style;
    std::vector<int> buttons;
    Answer answer = {kLeftOpen, false};
    bool isAsked = false;
};

Box& BoxOf(HWND window) {
    return *reinterpret_cast<Box*>(StateOf<DialogState>(window)->user);
}

Answer Ask(const Box& box) {
    if (IsAnsweredByTest()) return NextAnswer(box.buttons);
    const std::string caption = Utf8(box.caption), text = Utf8(box.text);
    if (isatty(STDIN_FILENO)) return AskAtTerminal(box.buttons, caption, text);
    std::cerr << "[" << caption << "] " << text << "\n(nobody to ask: " << LabelOf(box.buttons.back())
              << ")\n";
    return {box.buttons.back(), false};
}

void RecordBox(const Box& box) {
    Record(
        box.answer.given ? "message-box" : "unanswered-box",
        {box.caption, box.text, Utf16(std::to_string(box.style)), Utf16(std::to_string(box.answer.button))});
}

// Asks once. A box that is left open waits for its buttons.
bool AnswerBox(HWND window) {
    Box& box = BoxOf(window);
    if (std::exchange(box.isAsked, true)) return false;
    box.answer = Ask(box);
    RecordBox(box);
    if (box.answer.button == kLeftOpen) return false;
    EndModal(window, box.answer.button);
    return true;
}

INT_PTR BoxProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        StateOf<DialogState>(window)->user = lParam;
        FocusControl(ControlOf(window, LOWORD(CallProcedure(window, DM_GETDEFID, 0, 0))));
    }
    if (message != WM_COMMAND || HIWORD(wParam) != BN_CLICKED) return FALSE;
    Box& box = BoxOf(window);
    // With a single button, Esc and the cross in the title bar press it. They do nothing in a box of Yes and No.
    const bool single = LOWORD(wParam) == IDCANCEL && box.buttons.size() == 1;
    const int button = single ? box.buttons.front() : LOWORD(wParam);
    if (std::find(box.buttons.begin(), box.buttons.end(), button) == box.buttons.end()) return TRUE;
    box.answer = {button, true};
    if (!std::exchange(box.isAsked, true)) RecordBox(box);
    EndModal(window, button);
    return TRUE;
}

// A window's text has a limit; a message box's text has none.
std::u16string Shown(const std::u16string& text) {
    return text.substr(0, kTitleUnits - 1);
}

DialogTemplate FormOf(const Box& box) {
    DialogTemplate form = {WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER,
                           0,
                           0,
                           0,
                           kBoxWidth,
                           kBoxHeight,
                           Shown(box.caption),
                           kBaseX,
                           kBaseY,
                           {}};
    form.items.push_back({WS_VISIBLE | SS_NOPREFIX, 0, 0, 0, kBoxWidth, kBoxHeight - kButtonHeight, kTextId,
                          u"Static", Shown(box.text)});
    SHORT x = 0;
    const std::vector<int> row = RowOf(box.style);
    for (const int button : row) {
        const DWORD type = button == row[DefaultOfRow(box.style)] ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
        form.items.push_back({WS_VISIBLE | WS_TABSTOP | type, 0, x, kBoxHeight - kButtonHeight, kButtonWidth,
                              kButtonHeight, static_cast<DWORD>(button), u"Button", TextOf(button)});
        x = static_cast<SHORT>(x + kButtonWidth);
    }
    return form;
}

}  // namespace

}  // namespace winhost

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
    if (winhost::Fails("MessageBoxW")) return 0;
    if (owner && !winhost::Look(owner)) return 0;
    winhost::Box box = {text ? text : u"", caption ? caption : u"Error", style, winhost::ButtonsOf(style)};
    if (winhost::RunModal(winhost::FormOf(box), nullptr, owner, winhost::BoxProcedure,
                          reinterpret_cast<LPARAM>(&box), winhost::AnswerBox) == -1)
        return 0;
    if (box.answer.button == winhost::kLeftOpen)
        winhost::NotModelled("MessageBoxW", "a thread that is to end, or an owner that goes");
    return box.answer.button;
}

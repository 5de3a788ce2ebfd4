// The class "Button": push buttons, check boxes, radio buttons and group boxes.
#include "controls/buttons.h"

#include <memory>
#include <utility>

#include "controls/tab_order.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"
#include "windows/focus.h"
#include "windows/window_texts.h"

namespace winhost {

namespace {

struct ButtonState : ControlState {
    LRESULT check = BST_UNCHECKED;
    bool pushed = false;
    bool inClick = false;
};

DWORD TypeOf(HWND window) {
    const auto record = Look(window);
    return record ? record->style & BS_TYPEMASK : BS_GROUPBOX;
}

bool IsRadio(DWORD type) {
    return type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON;
}

bool IsCheckable(DWORD type) {
    return IsRadio(type) || type == BS_CHECKBOX || type == BS_AUTOCHECKBOX;
}

LRESULT DialogCode(DWORD type) {
    switch (type) {
        case BS_PUSHBUTTON:
            return DLGC_BUTTON | DLGC_UNDEFPUSHBUTTON;
        case BS_DEFPUSHBUTTON:
            return DLGC_BUTTON | DLGC_DEFPUSHBUTTON;
        case BS_GROUPBOX:
            return DLGC_STATIC;
        default:
            return IsRadio(type) ? DLGC_BUTTON | DLGC_RADIOBUTTON : DLGC_BUTTON;
    }
}

// In a group of radio buttons, Tab goes to the checked one.
void SetCheck(HWND window, ButtonState& state, WPARAM check) {
    const DWORD type = TypeOf(window);
    if (!IsCheckable(type)) return;
    state.check = check != BST_UNCHECKED ? BST_CHECKED : BST_UNCHECKED;
    if (IsRadio(type)) ChangeStyle(window, WS_TABSTOP, state.check ? WS_TABSTOP : 0);
}

void ChooseOfGroup(HWND window) {
    (void)CallProcedure(window, BM_SETCHECK, BST_CHECKED, 0);
    HWND other = NextGroupItem(window, false);
    for (; other && other != window; other = NextGroupItem(other, false))
        if (CodeOf(other) & DLGC_RADIOBUTTON) (void)CallProcedure(other, BM_SETCHECK, BST_UNCHECKED, 0);
}

// Does what pressing and releasing the mouse button does.
void Click(HWND window, ButtonState& state) {
    const DWORD type = TypeOf(window);
    const auto record = Look(window);
    if (state.inClick || type == BS_GROUPBOX || !record || (record->style & WS_DISABLED)) return;
    state.inClick = true;
    (void)GiveFocus(window);
    if (type == BS_AUTOCHECKBOX) SetCheck(window, state, !state.check);
    if (type == BS_AUTORADIOBUTTON) ChooseOfGroup(window);
    NotifyParent(window, BN_CLICKED);
    // The parent may have destroyed the button.
    if (ButtonState* const still = StateOf<ButtonState>(window)) still->inClick = false;
}

void BeginButton(HWND window) {
    constexpr DWORD kUnknownStyles =
        0xFFF0 & ~BS_MULTILINE;  // how it is drawn, and notifications of the focus
    const DWORD type = TypeOf(window);
    if (HasStyle(window, kUnknownStyles))
        NotModelled("CreateWindowExW", "a style of buttons: they are drawn otherwise or tell of the focus");
    if (type > BS_DEFPUSHBUTTON && type != BS_GROUPBOX && !IsCheckable(type))
        NotModelled("CreateWindowExW", "a button of type " + std::to_string(type));
    FindOwnWindow(window)->state = std::make_unique<ButtonState>();
}

void Type(HWND window, WPARAM character) {
    const DWORD type = TypeOf(window);
    const bool ticks = character == '+' || character == '=' || character == '-';
    if (ticks && IsCheckable(type) && !IsRadio(type))
        NotModelled("Button", "a character that ticks a check box");
}

// Whether it is another message of buttons. Some came with version 6 of the common controls.
bool IsOther(UINT message) {
    constexpr UINT kFirstLater = 0x1600, kEndLater = 0x1700;
    return (message > BM_GETCHECK && message < BM_GETCHECK + 0x10) ||
           (message >= kFirstLater && message < kEndLater);
}

LRESULT Handle(HWND window, ButtonState& state, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_GETDLGCODE:
            return DialogCode(TypeOf(window));
        case WM_SETFOCUS:
            // A radio button that gets the focus tells its parent that it was chosen.
            if (!state.inClick && IsRadio(TypeOf(window)) && !state.check) NotifyParent(window, BN_CLICKED);
            return 0;
        case WM_KILLFOCUS:
            state.pushed = false;
            return 0;
        case WM_KEYDOWN:
            state.pushed = state.pushed || wParam == VK_SPACE;
            return 0;
        case WM_KEYUP:
            if (wParam == VK_SPACE && std::exchange(state.pushed, false)) Click(window, state);
            return 0;
        case WM_CHAR:
            Type(window, wParam);
            return 0;
        case BM_GETCHECK:
            return state.check;
        case BM_SETCHECK:
            SetCheck(window, state, wParam);
            return 0;
        case BM_GETSTATE:
            return state.check | (state.pushed ? BST_PUSHED : 0) | (Focus() == window ? BST_FOCUS : 0);
        case BM_SETSTYLE:
            ChangeStyle(window, BS_TYPEMASK, static_cast<DWORD>(wParam) & BS_TYPEMASK);
            return 0;
        case BM_CLICK:
            Click(window, state);
            return 0;
        default:
            if (IsOther(message)) NotModelled("Button", "message " + std::to_string(message));
            return DefaultOf(window, message, wParam, lParam);
    }
}

}  // namespace

LRESULT ButtonProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) BeginButton(window);
    ButtonState* const state = StateOf<ButtonState>(window);
    return state ? Handle(window, *state, message, wParam, lParam)
                 : DefaultOf(window, message, wParam, lParam);
}

}  // namespace winhost

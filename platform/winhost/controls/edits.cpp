// The class "Edit", with one line or many lines.
#include "controls/edits.h"

#include <algorithm>
#include <tuple>

#include "controls/dialog_items.h"
#include "controls/tab_order.h"
#include "core/machine.h"
#include "core/text.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"
#include "windows/window_texts.h"

namespace winhost {

namespace {

constexpr std::size_t kFirstLimit = 30000;
constexpr std::size_t kNoLimit = 0x7FFFFFFE;
constexpr std::size_t kNoLimitOfLines = 0xFFFFFFFF;
constexpr UINT kFirstEditMessage = EM_GETSEL;
constexpr UINT kLastEditMessage = 0xE0;
// The styles for upper and lower case, passwords, OEM characters, and numbers only. They are not modelled.
constexpr DWORD kOtherStyles = 0x8 | 0x10 | 0x20 | 0x400 | 0x2000;

struct EditState : ControlState {
    std::u16string text;
    std::size_t start = 0;  // first character of the selection
    std::size_t end = 0;
    std::size_t limit = kFirstLimit;
};

// Returns the dialog that contains the edit, or null.
HWND DialogAround(HWND window) {
    const auto record = Look(window);
    const auto around = record && record->parent ? Look(record->parent) : std::nullopt;
    return around && SameName(around->kind, kDialogClass) ? record->parent : nullptr;
}

void NotifyChange(HWND window) {
    NotifyParent(window, EN_UPDATE);
    if (FindOwnWindow(window)) NotifyParent(window, EN_CHANGE);
}

// Only an edit of one line notifies its parent when its text is set.
void SetText(HWND window, EditState& state, LPCWSTR text) {
    state.text = text ? text : u"";
    state.start = state.end = 0;
    if (!HasStyle(window, ES_MULTILINE)) NotifyChange(window);
}

void Select(EditState& state, WPARAM wParam, LPARAM lParam) {
    const auto length = state.text.size();
    const auto position = [length](int value) {
        return value < 0 ? length : std::min(static_cast<std::size_t>(value), length);
    };
    const int start = static_cast<int>(wParam);
    // A negative start selects nothing, and the caret stays.
    if (start < 0) {
        state.start = state.end;
        return;
    }
    std::tie(state.start, state.end) = std::minmax({position(start), position(static_cast<int>(lParam))});
}

LRESULT Selection(const EditState& state, WPARAM wParam, LPARAM lParam) {
    if (wParam) *reinterpret_cast<DWORD*>(wParam) = static_cast<DWORD>(state.start);
    if (lParam) *reinterpret_cast<DWORD*>(lParam) = static_cast<DWORD>(state.end);
    constexpr std::size_t kMostOfWord = 0xFFFF;
    return state.end > kMostOfWord ? -1 : MAKELONG(state.start, state.end);
}

// Replaces the selection by as much of the text as the limit allows.
void Replace(HWND window, EditState& state, std::u16string_view text) {
    const std::size_t kept = state.text.size() - (state.end - state.start);
    const std::size_t room = state.limit > kept ? state.limit - kept : 0;
    const bool tooLong = text.size() > room;
    state.text.replace(state.start, state.end - state.start, text.substr(0, room));
    state.start = state.end = state.start + std::min(text.size(), room);
    if (tooLong) NotifyParent(window, EN_MAXTEXT);
    if (FindOwnWindow(window)) NotifyChange(window);
}

void Type(HWND window, EditState& state, char16_t unit) {
    const bool multiLine = HasStyle(window, ES_MULTILINE);
    if (HasStyle(window, ES_READONLY)) return;
    if (unit == VK_BACK) {
        if (state.start == state.end && state.start > 0) --state.start;
        if (state.start != state.end) Replace(window, state, u"");
    } else if (unit == VK_RETURN) {
        if (multiLine && (HasStyle(window, ES_WANTRETURN) || !DialogAround(window)))
            Replace(window, state, u"\r\n");
    } else if (unit == VK_TAB) {
        if (multiLine && !DialogAround(window)) Replace(window, state, u"\t");
    } else if (unit >= u' ') {
        Replace(window, state, {&unit, 1});
    }
}

// An edit of many lines gets all keys, so it does itself what some of them mean to its dialog.
void PressKey(HWND window, WPARAM key) {
    const HWND dialog = DialogAround(window);
    if (!dialog || !HasStyle(window, ES_MULTILINE)) return;
    if (key == VK_ESCAPE) (void)PostMessageW(dialog, WM_CLOSE, 0, 0);
    if (key == VK_TAB) (void)CallProcedure(dialog, WM_NEXTDLGCTL, GetKeyState(VK_SHIFT) < 0, 0);
    if (key != VK_RETURN || HasStyle(window, ES_WANTRETURN)) return;
    const LRESULT given = CallProcedure(dialog, DM_GETDEFID, 0, 0);
    const HWND button = HIWORD(given) == DC_HASDEFID ? ControlOf(dialog, LOWORD(given)) : nullptr;
    if (!button) return;
    (void)CallProcedure(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(button), TRUE);
    (void)PostMessageW(button, WM_KEYDOWN, VK_RETURN, 0);
}

void BeginEdit(HWND window, const CREATESTRUCTW& creation) {
    if (HasStyle(window, kOtherStyles)) NotModelled("CreateWindowExW", "such an edit");
    auto state = std::make_unique<EditState>();
    state->text = creation.lpszName ? creation.lpszName : u"";
    FindOwnWindow(window)->state = std::move(state);
}

LRESULT Handle(HWND window, EditState& state, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_NCCREATE:
            return TRUE;
        case WM_SETTEXT:
            SetText(window, state, reinterpret_cast<LPCWSTR>(lParam));
            return TRUE;
        case WM_GETTEXT:
            return CopyText(state.text, reinterpret_cast<LPWSTR>(lParam), static_cast<int>(wParam));
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(state.text.size());
        case WM_GETDLGCODE:
            return DLGC_HASSETSEL | DLGC_WANTCHARS | DLGC_WANTARROWS |
                   (HasStyle(window, ES_MULTILINE) ? DLGC_WANTALLKEYS : 0);
        case WM_CHAR:
            Type(window, state, static_cast<char16_t>(wParam));
            return TRUE;
        case WM_KEYDOWN:
            PressKey(window, wParam);
            return 0;
        case WM_SETFOCUS:
            NotifyParent(window, EN_SETFOCUS);
            return 0;
        case WM_KILLFOCUS:
            NotifyParent(window, EN_KILLFOCUS);
            return 0;
        case EM_GETSEL:
            return Selection(state, wParam, lParam);
        case EM_SETSEL:
            Select(state, wParam, lParam);
            return TRUE;
        case EM_SCROLLCARET:
            return TRUE;
        case EM_REPLACESEL:
            Replace(window, state, reinterpret_cast<LPCWSTR>(lParam));
            return 0;
        case EM_SETLIMITTEXT:
            state.limit = wParam ? wParam : HasStyle(window, ES_MULTILINE) ? kNoLimitOfLines : kNoLimit;
            return 0;
        case EM_GETLIMITTEXT:
            return static_cast<LRESULT>(state.limit);
        case EM_SETREADONLY:
            ChangeStyle(window, ES_READONLY, wParam ? ES_READONLY : 0);
            return TRUE;
        default:
            if (message >= kFirstEditMessage && message < kLastEditMessage)
                NotModelled("Edit", "message " + std::to_string(message));
            return DefaultOf(window, message, wParam, lParam);
    }
}

}  // namespace

LRESULT EditProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) BeginEdit(window, *reinterpret_cast<const CREATESTRUCTW*>(lParam));
    EditState* const state = StateOf<EditState>(window);
    return state ? Handle(window, *state, message, wParam, lParam)
                 : DefaultOf(window, message, wParam, lParam);
}

}  // namespace winhost

// The class "Edit", with one line or many lines.
#include "controls/edits.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>

#include "controls/dialog_items.h"
#include "controls/edit_text.h"
#include "controls/tab_order.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"
#include "windows/geometry.h"
#include "windows/window_texts.h"

namespace winhost {

namespace {

constexpr std::size_t kFirstLimit = 30000;
constexpr std::size_t kNoLimit = 0x7FFFFFFE;
constexpr std::size_t kNoLimitOfLines = 0xFFFFFFFF;
// The styles for upper and lower case, passwords, OEM characters, and numbers only. They are not modelled.
constexpr DWORD kOtherStyles = 0x8 | 0x10 | 0x20 | 0x400 | 0x2000;
constexpr LPARAM kAltDown = 0x20000000;
// No character of a dialog's font is wider or higher, in pixels.
constexpr LONG kLargestCharacter = 16;

struct EditState : ControlState {
    EditText text;
    std::size_t limit = kFirstLimit;
    bool isInDialog = false;  // somebody has asked what it does with a key, as a dialog does
};

// What was cut or copied last, by any process of the machine.
std::filesystem::path ClipboardFile() {
    return StateFolder() / "clipboard";
}

bool HasManyLines(HWND window) {
    return HasStyle(window, ES_MULTILINE);
}

void NotifyChange(HWND window) {
    NotifyParent(window, EN_UPDATE);
    if (FindOwnWindow(window)) NotifyParent(window, EN_CHANGE);
}

// Only an edit of one line notifies its parent when its text is set.
void SetText(HWND window, EditState& state, LPCWSTR text) {
    state.text.Set(text ? text : u"");
    if (!HasManyLines(window)) NotifyChange(window);
}

void Select(EditText& text, WPARAM wParam, LPARAM lParam) {
    const auto length = text.Text().size();
    const auto position = [length](int value) {
        return value < 0 ? length : std::min(static_cast<std::size_t>(value), length);
    };
    const int start = static_cast<int>(wParam);
    // A negative start selects nothing, and the caret stays.
    if (start < 0)
        text.Select(text.End(), text.End());
    else
        text.Select(position(start), position(static_cast<int>(lParam)));
}

LRESULT Selection(const EditText& text, WPARAM wParam, LPARAM lParam) {
    if (wParam) *reinterpret_cast<DWORD*>(wParam) = static_cast<DWORD>(text.Start());
    if (lParam) *reinterpret_cast<DWORD*>(lParam) = static_cast<DWORD>(text.End());
    constexpr std::size_t kMostOfWord = 0xFFFF;
    return text.End() > kMostOfWord ? -1 : MAKELONG(text.Start(), text.End());
}

// An edit that doesn't scroll takes no more than it can show. How wide a text is drawn is not modelled, so a text that
// may be too wide or too high ends the run.
void CheckFits(HWND window, std::u16string_view text) {
    const bool hasLines = HasManyLines(window);
    if (HasStyle(window, hasLines ? ES_AUTOVSCROLL : ES_AUTOHSCROLL)) return;
    const auto rect = ScreenRect(window);
    if (!rect) return;
    const auto columns =
        static_cast<std::size_t>(std::max<LONG>(rect->right - rect->left, 0) / kLargestCharacter);
    const auto rows = hasLines ? static_cast<std::size_t>((rect->bottom - rect->top) / kLargestCharacter) : 1;
    std::size_t needed = 0;
    while (true) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        needed += 1 + (HasStyle(window, ES_AUTOHSCROLL) ? 0 : end / (columns + 1));
        if (end == text.size()) break;
        text.remove_prefix(end + 1);
    }
    if (needed > std::max<std::size_t>(rows, 1)) NotModelled("Edit", "a text that may not fit");
}

// Replaces the selection by as much of the text as the limit allows.
void Replace(HWND window, EditState& state, std::u16string_view text) {
    const std::size_t kept = state.text.Text().size() - state.text.Selected().size();
    const std::size_t free = state.limit > kept ? state.limit - kept : 0;
    const bool isTooLong = text.size() > free;
    state.text.Replace(text.substr(0, free));
    if (!text.empty()) CheckFits(window, state.text.Text());
    if (isTooLong) NotifyParent(window, EN_MAXTEXT);
    if (FindOwnWindow(window)) NotifyChange(window);
}

void Clear(HWND window, EditState& state) {
    if (!state.text.Selected().empty()) Replace(window, state, u"");
}

void Undo(HWND window, EditState& state) {
    if (!state.text.CanUndo()) return;
    state.text.Undo();
    NotifyChange(window);
}

void Copy(const EditState& state) {
    if (state.text.Selected().empty()) return;
    std::ofstream(ClipboardFile(), std::ios::binary) << Utf8(state.text.Selected());
}

void Paste(HWND window, EditState& state) {
    std::ifstream file(ClipboardFile(), std::ios::binary);
    const std::u16string text = Utf16(std::string{std::istreambuf_iterator<char>(file), {}});
    if (text.find(u'\n') != text.npos && !HasManyLines(window))
        NotModelled("Edit", "many lines in an edit of one line");
    if (!text.empty()) Replace(window, state, text);
}

// The commands that have both a message and a key. Returns the result of the message; none for another message.
std::optional<LRESULT> Command(HWND window, EditState& state, UINT message) {
    const bool isFixed = HasStyle(window, ES_READONLY);
    switch (message) {
        case WM_CUT:
            if (!isFixed) Copy(state);
            if (!isFixed) Clear(window, state);
            return 0;
        case WM_COPY:
            Copy(state);
            return 0;
        case WM_PASTE:
            if (!isFixed) Paste(window, state);
            return 0;
        case WM_CLEAR:
            if (!isFixed) Clear(window, state);
            return 0;
        case WM_UNDO:
        case EM_UNDO:
            if (!isFixed) Undo(window, state);
            return !isFixed;
        default:
            return std::nullopt;
    }
}

void Type(HWND window, EditState& state, char16_t unit) {
    constexpr char16_t kControlA = 1, kControlC = 3, kControlV = 22, kControlX = 24, kControlZ = 26,
                       kControlBack = 127;
    const bool hasLines = HasManyLines(window);
    if (unit == kControlA) NotModelled("Edit", "Ctrl+A, which differs between versions");
    if (unit == kControlC) Copy(state);
    if (HasStyle(window, ES_READONLY)) return;
    if (unit == VK_BACK) {
        if (state.text.Selected().empty()) state.text.MoveCaret(state.text.Before(), true);
        Clear(window, state);
    } else if (unit == VK_RETURN || unit == u'\n') {
        if (hasLines && (HasStyle(window, ES_WANTRETURN) || !state.isInDialog))
            Replace(window, state, u"\r\n");
    } else if (unit == VK_TAB) {
        if (hasLines && !state.isInDialog) Replace(window, state, u"\t");
    } else if (unit == kControlV || unit == kControlX || unit == kControlZ) {
        (void)Command(window, state, unit == kControlV ? WM_PASTE : unit == kControlX ? WM_CUT : WM_UNDO);
    } else if (unit >= u' ' && unit != kControlBack) {
        Replace(window, state, {&unit, 1});
    }
}

void PressDelete(HWND window, EditState& state, bool shift, bool control) {
    EditText& text = state.text;
    if (HasStyle(window, ES_READONLY)) return;
    if (!text.Selected().empty()) {
        (void)Command(window, state, shift ? WM_CUT : WM_CLEAR);
        return;
    }
    if (control && HasManyLines(window)) NotModelled("Edit", "a delete to the end of a line");
    text.MoveCaret(shift ? text.Before() : control ? text.Text().size() : text.After(), true);
    Clear(window, state);
}

// Moves the caret if the key is one that does so.
void PressMove(HWND window, EditText& text, WPARAM key, bool shift, bool control) {
    const bool hasLines = HasManyLines(window);
    const bool isVertical = key == VK_UP || key == VK_DOWN || key == VK_PRIOR || key == VK_NEXT;
    const bool isEdge = key == VK_HOME || key == VK_END;
    if (hasLines && (isVertical || (isEdge && !control)))
        text.LoseCaret();
    else if (key == VK_HOME)
        text.MoveCaret(0, shift);
    else if (key == VK_END)
        text.MoveCaret(text.Text().size(), shift);
    else if (key == VK_LEFT || key == VK_UP)
        text.MoveCaret(control && key == VK_LEFT ? text.WordBefore() : text.Before(), shift);
    else if (key == VK_RIGHT || key == VK_DOWN)
        text.MoveCaret(control && key == VK_RIGHT ? text.WordAfter() : text.After(), shift);
}

// An edit of many lines gets all keys of its dialog, so it does itself what some of them mean there.
void PressForDialog(HWND window, const EditState& state, WPARAM key, bool shift) {
    const auto record = Look(window);
    const HWND dialog = record ? record->parent : nullptr;
    if (!dialog || !state.isInDialog) return;
    if (!HasManyLines(window) && key == VK_RETURN) NotModelled("Edit", "Enter that went past its dialog");
    if (!HasManyLines(window)) return;
    if (key == VK_ESCAPE) (void)PostMessageW(dialog, WM_CLOSE, 0, 0);
    if (key == VK_TAB) (void)CallProcedure(dialog, WM_NEXTDLGCTL, shift, 0);
    if (key != VK_RETURN || HasStyle(window, ES_WANTRETURN)) return;
    const LRESULT given = CallProcedure(dialog, DM_GETDEFID, 0, 0);
    const HWND button = HIWORD(given) == DC_HASDEFID ? ControlOf(dialog, LOWORD(given)) : nullptr;
    if (!button) return;
    (void)CallProcedure(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(button), TRUE);
    (void)PostMessageW(button, WM_KEYDOWN, VK_RETURN, 0);
}

void PressKey(HWND window, EditState& state, WPARAM key) {
    const bool shift = GetKeyState(VK_SHIFT) < 0, control = GetKeyState(VK_CONTROL) < 0;
    PressMove(window, state.text, key, shift, control);
    if (key == VK_DELETE && !(shift && control)) PressDelete(window, state, shift, control);
    if (key == VK_INSERT && shift != control) (void)Command(window, state, shift ? WM_PASTE : WM_COPY);
    PressForDialog(window, state, key, shift);
}

LRESULT DialogCode(HWND window, EditState& state, bool hasMessage) {
    state.isInDialog = state.isInDialog || hasMessage;
    return DLGC_HASSETSEL | DLGC_WANTCHARS | DLGC_WANTARROWS | (HasManyLines(window) ? DLGC_WANTALLKEYS : 0);
}

void BeginEdit(HWND window, const CREATESTRUCTW& creation) {
    if (HasStyle(window, kOtherStyles))
        NotModelled("CreateWindowExW", "an edit for passwords, numbers, one case or OEM characters");
    auto state = std::make_unique<EditState>();
    state->text.Set(creation.lpszName ? creation.lpszName : u"");
    FindOwnWindow(window)->state = std::move(state);
}

// Whether only edits have the message. Some came with version 6 of the common controls.
bool IsOfEdits(UINT message) {
    constexpr UINT kFirst = EM_GETSEL, kEnd = 0xE0, kFirstLater = 0x1500, kEndLater = 0x1600;
    return (message >= kFirst && message < kEnd) || (message >= kFirstLater && message < kEndLater);
}

LRESULT HandleEditMessage(HWND window, EditState& state, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case EM_GETSEL:
            return Selection(state.text, wParam, lParam);
        case EM_SETSEL:
            Select(state.text, wParam, lParam);
            return TRUE;
        case EM_SCROLLCARET:
            return TRUE;
        case EM_REPLACESEL:
            Replace(window, state, reinterpret_cast<LPCWSTR>(lParam));
            if (!wParam) state.text.ForgetUndo();
            return 0;
        case EM_SETLIMITTEXT:
            state.limit = wParam ? wParam : HasManyLines(window) ? kNoLimitOfLines : kNoLimit;
            return 0;
        case EM_GETLIMITTEXT:
            return static_cast<LRESULT>(state.limit);
        case EM_SETREADONLY:
            ChangeStyle(window, ES_READONLY, wParam ? ES_READONLY : 0);
            return TRUE;
        case EM_CANUNDO:
            return state.text.CanUndo();
        case EM_EMPTYUNDOBUFFER:
            state.text.ForgetUndo();
            return 0;
        default:
            NotModelled("Edit", "message " + std::to_string(message));
    }
}

LRESULT Handle(HWND window, EditState& state, UINT message, WPARAM wParam, LPARAM lParam) {
    if (const auto done = Command(window, state, message)) return *done;
    switch (message) {
        case WM_NCCREATE:
            return TRUE;
        case WM_SETTEXT:
            SetText(window, state, reinterpret_cast<LPCWSTR>(lParam));
            return TRUE;
        case WM_GETTEXT:
            return CopyText(state.text.Text(), reinterpret_cast<LPWSTR>(lParam), static_cast<int>(wParam));
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(state.text.Text().size());
        case WM_GETDLGCODE:
            return DialogCode(window, state, lParam != 0);
        case WM_CHAR:
            Type(window, state, static_cast<char16_t>(wParam));
            return TRUE;
        case WM_KEYDOWN:
            PressKey(window, state, wParam);
            return TRUE;
        case WM_SYSKEYDOWN:
            // Alt+Backspace
            if (wParam == VK_BACK && (lParam & kAltDown)) (void)Command(window, state, WM_UNDO);
            return DefaultOf(window, message, wParam, lParam);
        case WM_SETFOCUS:
            NotifyParent(window, EN_SETFOCUS);
            return 0;
        case WM_KILLFOCUS:
            NotifyParent(window, EN_KILLFOCUS);
            return 0;
        default:
            return IsOfEdits(message) ? HandleEditMessage(window, state, message, wParam, lParam)
                                      : DefaultOf(window, message, wParam, lParam);
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

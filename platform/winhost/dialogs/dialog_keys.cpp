// What keys do in a dialog: the default button, Esc, Tab, arrows and access keys.
#include "dialogs/dialog_keys.h"

#include <algorithm>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/text.h"
#include "controls/dialog_items.h"
#include "windows/focus.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"

namespace winhost {

namespace {

bool HasStyle(HWND window, DWORD style) {
    const auto record = Look(window);
    return record && (record->style & style);
}

// Adds all controls that are shown and enabled, in their order. A control parent is replaced by its own controls.
void AddControls(HWND dialog, std::vector<HWND>& controls) {
    for (const HWND child : ChildWindows(dialog)) {
        const auto record = Look(child);
        if (!record || !(record->style & WS_VISIBLE) || (record->style & WS_DISABLED)) continue;
        if (record->exStyle & WS_EX_CONTROLPARENT)
            AddControls(child, controls);
        else
            controls.push_back(child);
    }
}

// Adds all controls, also hidden and disabled ones.
void AddAll(HWND dialog, std::vector<HWND>& controls) {
    for (const HWND child : ChildWindows(dialog)) {
        controls.push_back(child);
        if (const auto record = Look(child); record && (record->exStyle & WS_EX_CONTROLPARENT))
            AddAll(child, controls);
    }
}

// Returns the controls in the order in which they follow `control`; after the last one the first one follows, and
// `control` comes last.
std::vector<HWND> InOrderAfter(std::vector<HWND> controls, HWND control, bool previous) {
    if (previous) std::reverse(controls.begin(), controls.end());
    const auto found = std::find(controls.begin(), controls.end(), control);
    if (found != controls.end()) std::rotate(controls.begin(), found + 1, controls.end());
    return controls;
}

// Returns the letter after the last single "&" of a control's text, or 0.
char16_t AccessKeyOf(HWND control) {
    const auto record = Look(control);
    if (!record || ((CodeOf(control) & DLGC_STATIC) && SameName(record->kind, u"Static") &&
                    (record->style & SS_NOPREFIX)))
        return 0;
    const std::u16string_view title = record->title;
    for (std::size_t i = 0; i + 1 < title.size(); ++i) {
        if (title[i] != u'&') continue;
        if (title[i + 1] != u'&') return UpperUnit(title[i + 1]);
        ++i;
    }
    return 0;
}

// Does what the access key of a control does.
void Access(HWND dialog, HWND control) {
    const LRESULT code = CodeOf(control);
    if (!(code & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON)))
        (void)Send(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control), TRUE);
    if (code & DLGC_BUTTON) (void)CallProcedure(control, BM_CLICK, 0, 0);
}

bool AccessByKey(HWND dialog, char16_t key) {
    if (key <= u' ') return false;
    std::vector<HWND> controls;
    AddControls(dialog, controls);
    bool labelled = false;  // the key belongs to a static text, and means the control after it
    for (const HWND control : InOrderAfter(std::move(controls), Focus(), false)) {
        const bool isStatic = CodeOf(control) & DLGC_STATIC;
        if (labelled ? !isStatic : AccessKeyOf(control) == UpperUnit(key)) {
            labelled = isStatic;
            if (!labelled) {
                Access(dialog, control);
                return true;
            }
        }
    }
    return false;
}

void PressDefault(HWND dialog, LRESULT code) {
    const HWND focus = Focus();
    const auto record = focus ? Look(focus) : std::nullopt;
    int id = record ? record->id : 0;
    HWND button = focus;
    if (!(code & DLGC_DEFPUSHBUTTON)) {
        const LRESULT given = Send(dialog, DM_GETDEFID, 0, 0);
        id = HIWORD(given) == DC_HASDEFID ? LOWORD(given) : IDOK;
        button = ControlOf(dialog, id);
    }
    if (!button || !HasStyle(button, WS_DISABLED))
        (void)Send(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

void Cancel(HWND dialog) {
    const HWND button = ControlOf(dialog, IDCANCEL);
    if (!button || !HasStyle(button, WS_DISABLED))
        (void)Send(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

// An arrow key moves within a group. If the next item is a radio button, it is also chosen.
void MoveInGroup(HWND dialog, HWND control, bool previous) {
    const HWND next = NextGroupItem(control, previous);
    if (!(CodeOf(next) & DLGC_RADIOBUTTON)) {
        (void)Send(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(next), TRUE);
        return;
    }
    (void)GiveFocus(next);
    const auto record = Look(next);
    if (record && (record->style & BS_TYPEMASK) == BS_AUTORADIOBUTTON &&
        CallProcedure(next, BM_GETCHECK, 0, 0) != BST_CHECKED)
        (void)CallProcedure(next, BM_CLICK, 0, 0);
}

// Returns whether the dialog used the key. If not, the control gets it.
bool CarryOutKey(HWND dialog, const MSG& message, LRESULT code) {
    const bool wantsAll = code & DLGC_WANTALLKEYS;
    switch (message.wParam) {
        case VK_TAB:
            if (wantsAll || (code & DLGC_WANTTAB)) return false;
            (void)Send(dialog, WM_NEXTDLGCTL, GetKeyState(VK_SHIFT) < 0, 0);
            return true;
        case VK_LEFT:
        case VK_UP:
        case VK_RIGHT:
        case VK_DOWN:
            if (wantsAll || (code & DLGC_WANTARROWS)) return false;
            MoveInGroup(dialog, message.hwnd, message.wParam == VK_LEFT || message.wParam == VK_UP);
            return true;
        case VK_ESCAPE:
            if (wantsAll) return false;
            Cancel(dialog);
            return true;
        case VK_RETURN:
            if (wantsAll) return false;
            PressDefault(dialog, code);
            return true;
        default:
            return false;
    }
}

}  // namespace

LRESULT CodeOf(HWND control) {
    return CallProcedure(control, WM_GETDLGCODE, 0, 0);
}

HWND NextTabItem(HWND dialog, HWND control, bool previous) {
    if (previous && (!control || control == dialog)) return nullptr;
    std::vector<HWND> controls;
    AddControls(dialog, controls);
    for (const HWND next : InOrderAfter(std::move(controls), control, previous))
        if (HasStyle(next, WS_TABSTOP)) return next;
    return nullptr;
}

HWND NextGroupItem(HWND control, bool previous) {
    const auto own = Look(control);
    if (!own) return nullptr;
    const std::vector<HWND> siblings = ChildWindows(own->parent);
    auto first = std::find(siblings.begin(), siblings.end(), control);
    auto last = first + 1;
    while (first != siblings.begin() && !HasStyle(*first, WS_GROUP))
        --first;
    while (last != siblings.end() && !HasStyle(*last, WS_GROUP))
        ++last;
    for (const HWND next : InOrderAfter({first, last}, control, previous))
        if (HasStyle(next, WS_VISIBLE) && !HasStyle(next, WS_DISABLED)) return next;
    return control;
}

HWND FirstItem(HWND dialog) {
    if (const HWND first = NextTabItem(dialog, nullptr, false)) return first;
    std::vector<HWND> controls;
    AddControls(dialog, controls);
    return controls.empty() ? nullptr : controls.front();
}

void FocusControl(HWND control) {
    if (CodeOf(control) & DLGC_HASSETSEL) (void)CallProcedure(control, EM_SETSEL, 0, -1);
    (void)GiveFocus(control);
}

void MoveDefaultButton(HWND dialog, HWND before, HWND after) {
    constexpr LRESULT kPush = DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON;
    const LRESULT code = CodeOf(after);
    if (before != after && !((CodeOf(before) | code) & kPush)) return;
    std::vector<HWND> controls;
    AddAll(dialog, controls);
    HWND chosen = code & kPush ? after : nullptr;
    const LRESULT given = Send(dialog, DM_GETDEFID, 0, 0);
    if (!chosen && HIWORD(given) == DC_HASDEFID) chosen = ControlOf(dialog, LOWORD(given));
    for (const HWND control : controls)
        if (control != chosen && (CodeOf(control) & DLGC_DEFPUSHBUTTON))
            (void)CallProcedure(control, BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
    if (CodeOf(chosen) & DLGC_UNDEFPUSHBUTTON)
        (void)CallProcedure(chosen, BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
}

bool CarryOutDialogMessage(HWND dialog, const MSG& message) {
    if (!FindOwnWindow(dialog) || !message.hwnd || !LiesIn(message.hwnd, dialog)) return false;
    const auto asked = reinterpret_cast<LPARAM>(&message);
    switch (message.message) {
        case WM_KEYDOWN:
            if (CarryOutKey(dialog, message,
                            CallProcedure(message.hwnd, WM_GETDLGCODE, message.wParam, asked)))
                return true;
            break;
        case WM_CHAR:
            if (CallProcedure(message.hwnd, WM_GETDLGCODE, message.wParam, asked) &
                (DLGC_WANTCHARS | DLGC_WANTALLKEYS))
                break;
            [[fallthrough]];
        case WM_SYSCHAR:
            if (AccessByKey(dialog, static_cast<char16_t>(message.wParam))) return true;
            break;
        default:
            break;
    }
    (void)TranslateMessage(&message);
    (void)DispatchMessageW(&message);
    return true;
}

}  // namespace winhost

BOOL IsDialogMessageW(HWND dialog, LPMSG message) {
    if (winhost::Fails("IsDialogMessageW")) return FALSE;
    return winhost::CarryOutDialogMessage(dialog, *message);
}

HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous) {
    if (winhost::Fails("GetNextDlgTabItem")) return nullptr;
    return winhost::NextTabItem(dialog, control, previous);
}

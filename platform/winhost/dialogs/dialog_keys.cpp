// What keys do in a dialog: the default button, Esc, Tab, arrows and access keys.
#include "dialogs/dialog_keys.h"

#include "controls/dialog_items.h"
#include "controls/tab_order.h"
#include "core/faults.h"
#include "core/text.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"
#include "windows/focus.h"

namespace winhost {

namespace {

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
    bool labelled = false;  // the key belongs to a static text, and means the control after it
    for (const HWND control : ControlsAfter(dialog, Focus())) {
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
bool HandleKey(HWND dialog, const MSG& message, LRESULT code) {
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

bool HandleDialogMessage(HWND dialog, const MSG& message) {
    if (!FindOwnWindow(dialog) || !message.hwnd || !LiesIn(message.hwnd, dialog)) return false;
    const auto asked = reinterpret_cast<LPARAM>(&message);
    switch (message.message) {
        case WM_KEYDOWN:
            if (HandleKey(dialog, message, CallProcedure(message.hwnd, WM_GETDLGCODE, message.wParam, asked)))
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
    return winhost::HandleDialogMessage(dialog, *message);
}

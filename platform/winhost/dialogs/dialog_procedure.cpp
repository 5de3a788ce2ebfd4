// What a dialog does with its messages, and how it ends.
#include "dialogs/dialog_procedure.h"

#include <utility>

#include "controls/dialog_items.h"
#include "controls/tab_order.h"
#include "core/faults.h"
#include "messages/message_queue.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"
#include "windows/focus.h"
#include "windows/window_texts.h"

namespace winhost {

namespace {

// The message that a dialog gets when another thread ends it.
constexpr UINT kEndDialog = WM_USER - 1;

void SaveFocus(HWND window, DialogState& state) {
    const HWND focus = Focus();
    if (focus && focus != window && LiesIn(focus, window)) state.savedFocus = focus;
}

// Returns the focus to the control that had it. If there is none, the first control gets the focus, unless the dialog
// has just become active.
void RestoreFocus(DialogState& state, HWND window, bool activated) {
    if (state.ended) return;
    HWND control = std::exchange(state.savedFocus, nullptr);
    if (!FindOwnWindow(control)) control = activated ? nullptr : FirstItem(window);
    if (!control) return;
    if (activated)
        (void)GiveFocus(control);
    else
        FocusControl(control);
}

LRESULT SetDefault(HWND window, DialogState& state, int id) {
    if (state.ended) return TRUE;
    const HWND before = ControlOf(window, static_cast<int>(state.result)), after = ControlOf(window, id);
    if (before && (CodeOf(before) & DLGC_DEFPUSHBUTTON))
        (void)CallProcedure(before, BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
    if (after && (CodeOf(after) & DLGC_UNDEFPUSHBUTTON))
        (void)CallProcedure(after, BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
    state.result = id;
    return TRUE;
}

void Close(HWND window) {
    const HWND cancel = ControlOf(window, IDCANCEL);
    if (const auto record = cancel ? Look(cancel) : std::nullopt; record && (record->style & WS_DISABLED))
        return;
    (void)PostMessageW(window, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                       reinterpret_cast<LPARAM>(cancel));
}

void MoveFocus(HWND window, WPARAM wParam, bool toControl) {
    const HWND before = Focus();
    const HWND after = toControl ? reinterpret_cast<HWND>(wParam) : NextTabItem(window, before, wParam != 0);
    if (!after) return;
    FocusControl(after);
    MoveDefaultButton(window, before, after);
}

// Handles a message that the dialog's procedure did not handle.
LRESULT DialogDefault(HWND window, DialogState& state, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CLOSE:
            Close(window);
            return 0;
        case WM_ACTIVATE:
            // The other half of the value says that the window is minimized. Then it counts as active.
            if (wParam == WA_INACTIVE)
                SaveFocus(window, state);
            else
                RestoreFocus(state, window, true);
            return 0;
        case WM_SETFOCUS:
            RestoreFocus(state, window, false);
            return 0;
        case WM_NEXTDLGCTL:
            MoveFocus(window, wParam, lParam != 0);
            return 0;
        case DM_GETDEFID:
            return state.ended ? 0 : MAKELONG(state.result, DC_HASDEFID);
        case DM_SETDEFID:
            return SetDefault(window, state, static_cast<int>(wParam));
        default:
            return DefaultOf(window, message, wParam, lParam);
    }
}

}  // namespace

LONG_PTR* DialogState::Long(int index) {
    if (index == DWLP_MSGRESULT) return &messageResult;
    return index == DWLP_USER ? &user : nullptr;
}

void EndModal(HWND dialog, INT_PTR result) {
    auto* const state = StateOf<DialogState>(dialog);
    if (!state) return;
    state->ended = true;
    state->result = result;
    if (state->disabledOwner) Enable(state->disabledOwner, true);
    Hide(dialog);
    // A hidden dialog may be active, too.
    Leave(dialog);
    // The loop may be waiting while this call is made for another thread, so it is woken.
    (void)PostToSelf({dialog, WM_NULL, 0, 0, GetTickCount(), {}});
}

LRESULT DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    DialogState* const state = StateOf<DialogState>(window);
    if (!state) return DefaultOf(window, message, wParam, lParam);
    if (message == kEndDialog) return EndDialog(window, static_cast<INT_PTR>(wParam));
    state->messageResult = 0;
    const INT_PTR handled = state->procedure ? state->procedure(window, message, wParam, lParam) : FALSE;
    // The procedure may have destroyed the window.
    if (message == WM_INITDIALOG || !FindOwnWindow(window)) return handled;
    return handled ? state->messageResult : DialogDefault(window, *state, message, wParam, lParam);
}

}  // namespace winhost

BOOL EndDialog(HWND dialog, INT_PTR result) {
    if (winhost::Fails("EndDialog")) return FALSE;
    if (winhost::FindOfProcess(dialog) && !winhost::FindOwnWindow(dialog))
        return winhost::Send(dialog, winhost::kEndDialog, static_cast<WPARAM>(result), 0) != 0;
    if (!winhost::StateOf<winhost::DialogState>(dialog)) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    winhost::EndModal(dialog, result);
    return TRUE;
}

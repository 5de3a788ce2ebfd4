// Dialogs: made from templates, and run until they end.
#include "dialogs/dialogs.h"

#include <algorithm>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "registry/registry_store.h"
#include "resources/resources.h"
#include "controls/dialog_items.h"
#include "dialogs/dialog_keys.h"
#include "dialogs/dialog_template.h"
#include "windows/focus.h"
#include "windows/geometry.h"
#include "messages/message_queue.h"
#include "messages/own_windows.h"
#include "dialogs/terminal.h"
#include "messages/window_table.h"
#include "windows/window_texts.h"

namespace winhost {

namespace {

constexpr WORD kDialogResource = 5;
constexpr WCHAR kDialogClass[] = u"#32770";
constexpr RECT kWorkArea = {0, 0, 1920, 1040};
// A template in memory doesn't say how large it is. No more bytes than this are read.
constexpr std::size_t kMostTemplateBytes = 0x10000;
// The message that a dialog gets when another thread ends it.
constexpr UINT kEndDialog = WM_USER - 1;
// The machine has no fonts, but windows are told that they have one.
const auto kDialogFont = static_cast<WPARAM>(0x0A0A);

// Rounds as Windows does: halves away from zero.
LONG Scale(LONG units, LONG base, LONG divisor) {
    const LONG product = units * base;
    return (product + (product < 0 ? -divisor : divisor) / 2) / divisor;
}
LONG ScaleX(LONG units, LONG base) {
    return Scale(units, base, 4);
}
LONG ScaleY(LONG units, LONG base) {
    return Scale(units, base, 8);
}

std::optional<DialogTemplate> FindTemplate(LPCWSTR name) {
    if (!IS_INTRESOURCE(name)) NotModelled("CreateDialogParamW", "a template with a name");
    const auto number = static_cast<WORD>(reinterpret_cast<ULONG_PTR>(name));
    const auto found = FindResource(OwnResources(), kDialogResource, number);
    if (!found.found) {
        SetLastError(found.anyOfType ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
        return std::nullopt;
    }
    return ParseDialog(found.data);
}

std::optional<DialogTemplate> TemplateInMemory(LPCDLGTEMPLATEW dialog) {
    return ParseDialog({reinterpret_cast<const char*>(dialog), kMostTemplateBytes});
}

// Returns the dialog's rectangle: in its parent, relative to its owner, or in the middle of the screen.
RECT RectOf(const DialogTemplate& dialog, HWND owner) {
    const LONG left = ScaleX(dialog.x, dialog.baseX), top = ScaleY(dialog.y, dialog.baseY);
    RECT rect = {left, top, left + ScaleX(dialog.cx, dialog.baseX), top + ScaleY(dialog.cy, dialog.baseY)};
    AddFrame(rect, dialog.style, dialog.exStyle);
    if (dialog.style & WS_CHILD) return rect;
    const LONG width = rect.right - rect.left, height = rect.bottom - rect.top;
    POINT corner = {rect.left, rect.top};
    if (dialog.style & DS_CENTER)
        corner = {(kWorkArea.right - width) / 2, (kWorkArea.bottom - height) / 2};
    else if (owner)
        (void)ClientToScreen(owner, &corner);
    corner.x = std::max(std::min(corner.x, kWorkArea.right - width), kWorkArea.left);
    corner.y = std::max(std::min(corner.y, kWorkArea.bottom - height), kWorkArea.top);
    return {corner.x, corner.y, corner.x + width, corner.y + height};
}

HWND MakeFrame(DialogTemplate& dialog, HINSTANCE module, HWND owner) {
    if (dialog.style & DS_MODALFRAME) dialog.exStyle |= WS_EX_DLGMODALFRAME;
    if ((dialog.style & DS_CONTROL) || !(dialog.style & WS_CHILD)) dialog.exStyle |= WS_EX_CONTROLPARENT;
    if (dialog.style & DS_CONTROL) dialog.style &= ~(WS_CAPTION | WS_SYSMENU);
    const RECT rect = RectOf(dialog, owner);
    return Create({nullptr, module, nullptr, owner, rect.bottom - rect.top, rect.right - rect.left, rect.top,
                   rect.left, static_cast<LONG>(dialog.style & ~WS_VISIBLE), dialog.title.c_str(),
                   kDialogClass, dialog.exStyle});
}

bool MakeControl(HWND window, DialogState& state, const DialogItem& item, HINSTANCE module, bool withFont) {
    const HWND control =
        Create({nullptr, module, reinterpret_cast<HMENU>(ULONG_PTR{item.id}), window,
                ScaleY(item.cy, state.baseY), ScaleX(item.cx, state.baseX), ScaleY(item.y, state.baseY),
                ScaleX(item.x, state.baseX), static_cast<LONG>(item.style | WS_CHILD), item.title.c_str(),
                item.kind.c_str(), item.exStyle | WS_EX_NOPARENTNOTIFY});
    if (!control) return false;
    if (withFont) (void)CallProcedure(control, WM_SETFONT, kDialogFont, FALSE);
    if (CodeOf(control) & DLGC_DEFPUSHBUTTON) state.result = static_cast<int>(item.id);
    return true;
}

// The first control gets the focus when the dialog's procedure returns non-zero.
void Initialize(HWND window, const DialogTemplate& dialog, LPARAM parameter) {
    const auto first = reinterpret_cast<WPARAM>(FirstItem(window));
    const bool wantsFocus = CallProcedure(window, WM_INITDIALOG, first, parameter) != 0;
    const DialogState* const state = StateOf<DialogState>(window);
    if (!state || state->ended) return;
    if (wantsFocus && (!(dialog.style & DS_CONTROL) || (dialog.style & WS_VISIBLE)))
        if (const HWND control = FirstItem(window)) {
            FocusControl(control);
            MoveDefaultButton(window, control, control);
        }
    if ((dialog.style & WS_VISIBLE) && FindOwnWindow(window)) Reveal(window);
}

HWND Make(std::optional<DialogTemplate> dialog, HINSTANCE module, HWND owner, DLGPROC procedure,
          LPARAM parameter) {
    if (!dialog) return nullptr;
    const HWND window = MakeFrame(*dialog, module, owner);
    OwnWindow* const own = FindOwnWindow(window);
    if (!own) return nullptr;
    auto state = std::make_unique<DialogState>();
    state->procedure = procedure;
    state->baseX = dialog->baseX;
    state->baseY = dialog->baseY;
    DialogState& kept = *state;
    own->state = std::move(state);
    const bool withFont = dialog->style & DS_SETFONT;
    if (withFont) (void)CallProcedure(window, WM_SETFONT, kDialogFont, FALSE);
    for (const DialogItem& item : dialog->items)
        if (!MakeControl(window, kept, item, module, withFont)) {
            Destroy(window);
            return nullptr;
        }
    Initialize(window, *dialog, parameter);
    return FindOwnWindow(window) ? window : nullptr;
}

// Runs until the dialog has ended or the thread's queue has.
void RunLoop(HWND window, bool (*answer)(HWND)) {
    for (bool shown = false;;) {
        const DialogState* const state = StateOf<DialogState>(window);
        if (!state || state->ended) return;
        MSG message = {};
        if (!shown && !TakeMessage(message, Taking::Tries)) {
            shown = true;
            Reveal(window);
            continue;
        }
        if (shown && !TakeMessage(message, Taking::Tries)) {
            if (answer(window)) continue;
            (void)TakeMessage(message, Taking::Waits);
        }
        if (message.message == WM_QUIT) {
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        if (!CarryOutDialogMessage(window, message)) {
            (void)TranslateMessage(&message);
            (void)DispatchMessageW(&message);
        }
    }
}

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

INT_PTR RunModal(std::optional<DialogTemplate> dialog, HINSTANCE module, HWND owner, DLGPROC procedure,
                 LPARAM parameter, bool (*answer)(HWND)) {
    if (!dialog) return -1;
    const HWND root = owner ? RootOf(owner) : nullptr;
    const auto ownerRecord = root ? Look(root) : std::nullopt;
    if (owner && !ownerRecord) return 0;
    const HWND disabled = ownerRecord && !(ownerRecord->style & WS_DISABLED) ? root : nullptr;
    if (disabled) ChangeStyle(disabled, 0, WS_DISABLED);
    const HWND window = Make(std::move(dialog), module, owner, procedure, parameter);
    if (DialogState* const state = StateOf<DialogState>(window)) {
        state->disabledOwner = state->ended ? nullptr : disabled;
        RunLoop(window, answer);
    }
    if (disabled) ChangeStyle(disabled, WS_DISABLED, 0);
    const DialogState* const state = StateOf<DialogState>(window);
    const INT_PTR result = state ? state->result : window ? 0 : -1;
    if (state) Destroy(window);
    return result;
}

void EndModal(HWND dialog, INT_PTR result) {
    auto* const state = StateOf<DialogState>(dialog);
    if (!state) return;
    state->ended = true;
    state->result = result;
    if (state->disabledOwner) ChangeStyle(state->disabledOwner, WS_DISABLED, 0);
    Hide(dialog);
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

LONG_PTR* DialogLong(HWND window, int index) {
    DialogState* const state = StateOf<DialogState>(window);
    if (!state) return nullptr;
    if (index == DWLP_MSGRESULT) return &state->messageResult;
    return index == DWLP_USER ? &state->user : nullptr;
}

}  // namespace winhost

HWND CreateDialogParamW(HINSTANCE module, LPCWSTR name, HWND parent, DLGPROC procedure, LPARAM parameter) {
    if (winhost::Fails("CreateDialogParamW")) return nullptr;
    return winhost::Make(winhost::FindTemplate(name), module, parent, procedure, parameter);
}

HWND CreateDialogIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND parent, DLGPROC procedure,
                                LPARAM parameter) {
    if (winhost::Fails("CreateDialogIndirectParamW")) return nullptr;
    return winhost::Make(winhost::TemplateInMemory(dialog), module, parent, procedure, parameter);
}

INT_PTR DialogBoxParamW(HINSTANCE module, LPCWSTR name, HWND owner, DLGPROC procedure, LPARAM parameter) {
    if (winhost::Fails("DialogBoxParamW")) return -1;
    return winhost::RunModal(winhost::FindTemplate(name), module, owner, procedure, parameter,
                             winhost::AskPerson);
}

INT_PTR DialogBoxIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND owner, DLGPROC procedure,
                                LPARAM parameter) {
    if (winhost::Fails("DialogBoxIndirectParamW")) return -1;
    return winhost::RunModal(winhost::TemplateInMemory(dialog), module, owner, procedure, parameter,
                             winhost::AskPerson);
}

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

BOOL MapDialogRect(HWND dialog, LPRECT rectangle) {
    if (winhost::Fails("MapDialogRect")) return FALSE;
    const auto* const state = winhost::StateOf<winhost::DialogState>(dialog);
    if (!state) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    *rectangle = {
        winhost::ScaleX(rectangle->left, state->baseX), winhost::ScaleY(rectangle->top, state->baseY),
        winhost::ScaleX(rectangle->right, state->baseX), winhost::ScaleY(rectangle->bottom, state->baseY)};
    return TRUE;
}

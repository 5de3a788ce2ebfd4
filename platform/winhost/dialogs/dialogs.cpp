// Dialogs: made from templates, and run until they end.
#include "dialogs/dialogs.h"

#include <algorithm>

#include "controls/dialog_items.h"
#include "controls/tab_order.h"
#include "core/faults.h"
#include "core/machine.h"
#include "dialogs/dialog_keys.h"
#include "dialogs/dialog_procedure.h"
#include "dialogs/terminal.h"
#include "dialogs/window_classes.h"
#include "messages/message_queue.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"
#include "processes/modules.h"
#include "resources/resources.h"
#include "windows/creation.h"
#include "windows/focus.h"
#include "windows/geometry.h"

namespace winhost {

namespace {

constexpr WORD kDialogResource = 5;
constexpr RECT kWorkArea = {0, 0, 1920, 1040};
// A template in memory doesn't say how large it is. No more bytes than this are read.
constexpr std::size_t kMostTemplateBytes = 0x10000;
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

std::optional<DialogTemplate> FindTemplate(HINSTANCE module, LPCWSTR name) {
    if (!IsProgramModule(module)) NotModelled("CreateDialogParamW", "a template of another module");
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
    // They change its place, what may fail, what its owner is told, or what is on top.
    constexpr DWORD kOtherStyles = 0x1 | 0x2 | 0x10 | 0x20 | 0x100 | 0x200 | 0x1000 | 0x2000;
    if (dialog.style & kOtherStyles)
        NotModelled("CreateDialogParamW", "the style of a dialog: " + std::to_string(dialog.style));
    if (dialog.style & DS_MODALFRAME) dialog.exStyle |= WS_EX_DLGMODALFRAME;
    if ((dialog.style & DS_CONTROL) || !(dialog.style & WS_CHILD)) dialog.exStyle |= WS_EX_CONTROLPARENT;
    if (dialog.style & DS_CONTROL) dialog.style &= ~(WS_CAPTION | WS_SYSMENU);
    const RECT rect = RectOf(dialog, owner);
    return CreateOfClass({nullptr, module, nullptr, owner, rect.bottom - rect.top, rect.right - rect.left,
                          rect.top, rect.left, static_cast<LONG>(dialog.style & ~WS_VISIBLE),
                          dialog.title.c_str(), kDialogClass, dialog.exStyle});
}

bool MakeControl(HWND window, DialogState& state, const DialogItem& item, HINSTANCE module, bool withFont) {
    const HWND control = CreateOfClass({nullptr, module, reinterpret_cast<HMENU>(ULONG_PTR{item.id}), window,
                                        ScaleY(item.cy, state.baseY), ScaleX(item.cx, state.baseX),
                                        ScaleY(item.y, state.baseY), ScaleX(item.x, state.baseX),
                                        static_cast<LONG>(item.style | WS_CHILD), item.title.c_str(),
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
        if (!HandleDialogMessage(window, message)) {
            (void)TranslateMessage(&message);
            (void)DispatchMessageW(&message);
        }
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
    if (disabled) Enable(disabled, false);
    const HWND window = Make(std::move(dialog), module, owner, procedure, parameter);
    if (DialogState* const state = StateOf<DialogState>(window)) {
        state->disabledOwner = state->ended ? nullptr : disabled;
        RunLoop(window, answer);
    }
    if (disabled) Enable(disabled, true);
    const DialogState* const state = StateOf<DialogState>(window);
    const INT_PTR result = state ? state->result : window ? 0 : -1;
    if (state) Destroy(window);
    return result;
}

}  // namespace winhost

HWND CreateDialogParamW(HINSTANCE module, LPCWSTR name, HWND parent, DLGPROC procedure, LPARAM parameter) {
    if (winhost::Fails("CreateDialogParamW")) return nullptr;
    return winhost::Make(winhost::FindTemplate(module, name), module, parent, procedure, parameter);
}

HWND CreateDialogIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND parent, DLGPROC procedure,
                                LPARAM parameter) {
    if (winhost::Fails("CreateDialogIndirectParamW")) return nullptr;
    return winhost::Make(winhost::TemplateInMemory(dialog), module, parent, procedure, parameter);
}

INT_PTR DialogBoxParamW(HINSTANCE module, LPCWSTR name, HWND owner, DLGPROC procedure, LPARAM parameter) {
    if (winhost::Fails("DialogBoxParamW")) return -1;
    return winhost::RunModal(winhost::FindTemplate(module, name), module, owner, procedure, parameter,
                             winhost::AskPerson);
}

INT_PTR DialogBoxIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND owner, DLGPROC procedure,
                                LPARAM parameter) {
    if (winhost::Fails("DialogBoxIndirectParamW")) return -1;
    return winhost::RunModal(winhost::TemplateInMemory(dialog), module, owner, procedure, parameter,
                             winhost::AskPerson);
}

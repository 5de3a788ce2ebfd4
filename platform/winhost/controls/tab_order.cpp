#include "controls/tab_order.h"

#include <algorithm>

#include "controls/dialog_items.h"
#include "core/faults.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"
#include "windows/focus.h"

namespace winhost {

namespace {

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

}  // namespace

std::vector<HWND> ControlsAfter(HWND dialog, HWND control) {
    std::vector<HWND> controls;
    AddControls(dialog, controls);
    return InOrderAfter(std::move(controls), control, false);
}

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

}  // namespace winhost

HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous) {
    if (winhost::Fails("GetNextDlgTabItem")) return nullptr;
    return winhost::NextTabItem(dialog, control, previous);
}

// Moves, sizes, orders and shows windows in one call.
#include <algorithm>

#include "core/faults.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"
#include "windows/focus.h"
#include "windows/geometry.h"

namespace winhost {

namespace {

constexpr UINT kKnownFlags =
    SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_SHOWWINDOW | SWP_HIDEWINDOW;

void MoveTo(RECT& rectangle, int x, int y) {
    rectangle = {x, y, x + rectangle.right - rectangle.left, y + rectangle.bottom - rectangle.top};
}

bool Reorder(WindowTable& table, WindowRecord& window, HWND after) {
    if (after != HWND_TOP && after != HWND_BOTTOM)
        return after == window.handle || table.PutBelow(window, after);
    after == HWND_TOP ? table.Raise(window) : table.Lower(window);
    return true;
}

}  // namespace

}  // namespace winhost

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
    if (winhost::Fails("SetWindowPos")) return FALSE;
    const auto before = winhost::Look(window);
    if (!before) return FALSE;
    if (!winhost::FindOwnWindow(window)) winhost::NotModelled("SetWindowPos", "a window of another thread");
    if ((flags & ~winhost::kKnownFlags) ||
        (after != HWND_TOP && !(flags & SWP_NOZORDER) && !before->isChild()))
        winhost::NotModelled("SetWindowPos", "flags " + std::to_string(flags) +
                                                 " or a top-level window elsewhere than on top");
    {
        winhost::WindowTable table;
        winhost::WindowRecord* const record = table.Find(window);
        if (!record) return FALSE;
        if (!(flags & SWP_NOMOVE)) winhost::MoveTo(record->rect, x, y);
        if (!(flags & SWP_NOSIZE)) {
            record->rect.right = record->rect.left + std::max(width, 0);
            record->rect.bottom = record->rect.top + std::max(height, 0);
        }
        if (!(flags & SWP_NOZORDER) && !winhost::Reorder(table, *record, after)) return FALSE;
    }
    if (flags & SWP_HIDEWINDOW)
        winhost::Hide(window);
    else if (flags & SWP_SHOWWINDOW)
        winhost::ChangeStyle(window, 0, WS_VISIBLE);
    const bool activates =
        !(flags & (SWP_NOACTIVATE | SWP_HIDEWINDOW)) && (!(flags & SWP_NOZORDER) || (flags & SWP_SHOWWINDOW));
    if (activates && !before->isChild()) winhost::Activate(window);
    if (const auto now = winhost::Look(window)) winhost::TellChange(window, before->rect, now->rect);
    return TRUE;
}

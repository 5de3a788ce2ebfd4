// Positions and sizes of windows. The frame around a client area is as wide as Windows draws it at 96 dots per inch.
#include "windows/geometry.h"

#include "core/faults.h"
#include "core/machine.h"
#include "messages/window_table.h"
#include "windows/focus.h"

namespace winhost {

namespace {

constexpr LONG kCaptionHeight = 23;
constexpr LONG kDialogFrame = 3;
constexpr LONG kSizingFrame = 4;
constexpr LONG kBorder = 1;
constexpr LONG kClientEdge = 2;
constexpr UINT kKnownFlags =
    SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_SHOWWINDOW | SWP_HIDEWINDOW;

void Shift(RECT& rectangle, LONG x, LONG y) {
    rectangle.left += x;
    rectangle.right += x;
    rectangle.top += y;
    rectangle.bottom += y;
}

// Returns the client area in screen coordinates.
std::optional<RECT> ClientRectOnScreen(HWND window) {
    const auto rect = ScreenRect(window);
    const auto record = Look(window);
    if (!rect || !record) return std::nullopt;
    RECT frame = {};
    AddFrame(frame, record->style, record->exStyle);
    return RECT{rect->left - frame.left, rect->top - frame.top, rect->right - frame.right,
                rect->bottom - frame.bottom};
}

bool Reorder(WindowTable& table, WindowRecord& window, HWND after) {
    if (after != HWND_TOP && after != HWND_BOTTOM)
        return after == window.handle || table.PutBelow(window, after);
    after == HWND_TOP ? table.Raise(window) : table.Lower(window);
    return true;
}

}  // namespace

void AddFrame(RECT& rectangle, DWORD style, DWORD exStyle) {
    LONG edge = 0;
    if (style & WS_THICKFRAME)
        edge = kSizingFrame;
    else if ((style & WS_DLGFRAME) || (exStyle & WS_EX_DLGMODALFRAME))
        edge = kDialogFrame;
    else if (style & WS_BORDER)
        edge = kBorder;
    if (exStyle & WS_EX_CLIENTEDGE) edge += kClientEdge;
    if (exStyle & WS_EX_STATICEDGE) edge += kBorder;
    rectangle = {rectangle.left - edge, rectangle.top - edge, rectangle.right + edge,
                 rectangle.bottom + edge};
    if ((style & WS_CAPTION) == WS_CAPTION) rectangle.top -= kCaptionHeight;
}

std::optional<RECT> ScreenRect(HWND window) {
    const auto record = Look(window);
    if (!record) return std::nullopt;
    RECT rect = record->rect;
    if (record->parent) {
        const auto around = ClientRectOnScreen(record->parent);
        if (!around) return std::nullopt;
        Shift(rect, around->left, around->top);
    }
    return rect;
}

void Resize(HWND window, LONG width, LONG height) {
    WindowTable table;
    WindowRecord* const record = table.Find(window);
    if (!record) return;
    record->rect.right = record->rect.left + width;
    record->rect.bottom = record->rect.top + height;
}

}  // namespace winhost

BOOL GetWindowRect(HWND window, LPRECT rectangle) {
    if (winhost::Fails("GetWindowRect", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto rect = winhost::ScreenRect(window);
    if (rect) *rectangle = *rect;
    return rect.has_value();
}

BOOL GetClientRect(HWND window, LPRECT rectangle) {
    if (winhost::Fails("GetClientRect", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto rect = winhost::ClientRectOnScreen(window);
    if (rect) *rectangle = {0, 0, rect->right - rect->left, rect->bottom - rect->top};
    return rect.has_value();
}

BOOL ClientToScreen(HWND window, LPPOINT point) {
    if (winhost::Fails("ClientToScreen", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto rect = winhost::ClientRectOnScreen(window);
    if (rect) *point = {point->x + rect->left, point->y + rect->top};
    return rect.has_value();
}

BOOL ScreenToClient(HWND window, LPPOINT point) {
    if (winhost::Fails("ScreenToClient", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto rect = winhost::ClientRectOnScreen(window);
    if (rect) *point = {point->x - rect->left, point->y - rect->top};
    return rect.has_value();
}

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
    if (winhost::Fails("SetWindowPos")) return FALSE;
    const auto before = winhost::Look(window);
    if (!before) return FALSE;
    if ((flags & ~winhost::kKnownFlags) ||
        (after != HWND_TOP && !(flags & SWP_NOZORDER) && !before->isChild()))
        winhost::NotModelled("SetWindowPos", "flags " + std::to_string(flags) +
                                                 " or a top-level window elsewhere than on top");
    {
        winhost::WindowTable table;
        winhost::WindowRecord* const record = table.Find(window);
        if (!record) return FALSE;
        if (!(flags & SWP_NOMOVE)) winhost::Shift(record->rect, x - record->rect.left, y - record->rect.top);
        if (!(flags & SWP_NOSIZE)) {
            record->rect.right = record->rect.left + width;
            record->rect.bottom = record->rect.top + height;
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
    return TRUE;
}

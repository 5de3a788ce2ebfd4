// Where windows lie. The frame around a client area is as wide as Windows draws it at 96 dots an inch.
#include "windows/geometry.h"

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "windows/focus.h"
#include "windows/own_windows.h"
#include "windows/window_table.h"

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

// The client area on the screen.
std::optional<RECT> ClientPlace(HWND window) {
    const auto place = ScreenPlace(window);
    const auto record = Look(window);
    if (!place || !record) return std::nullopt;
    RECT frame = {};
    AddFrame(frame, record->style, record->exStyle);
    return RECT{place->left - frame.left, place->top - frame.top, place->right - frame.right,
                place->bottom - frame.bottom};
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

std::optional<RECT> ScreenPlace(HWND window) {
    const auto record = Look(window);
    if (!record) return std::nullopt;
    RECT place = record->place;
    if (record->parent) {
        const auto around = ClientPlace(record->parent);
        if (!around) return std::nullopt;
        Shift(place, around->left, around->top);
    }
    return place;
}

void Resize(HWND window, LONG width, LONG height) {
    WindowTable table;
    WindowRecord* const record = table.Find(window);
    if (!record) return;
    record->place.right = record->place.left + width;
    record->place.bottom = record->place.top + height;
}

}  // namespace winhost

BOOL GetWindowRect(HWND window, LPRECT rectangle) {
    if (winhost::Fails("GetWindowRect", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto place = winhost::ScreenPlace(window);
    if (place) *rectangle = *place;
    return place.has_value();
}

BOOL GetClientRect(HWND window, LPRECT rectangle) {
    if (winhost::Fails("GetClientRect", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto place = winhost::ClientPlace(window);
    if (place) *rectangle = {0, 0, place->right - place->left, place->bottom - place->top};
    return place.has_value();
}

BOOL ClientToScreen(HWND window, LPPOINT point) {
    if (winhost::Fails("ClientToScreen", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto place = winhost::ClientPlace(window);
    if (place) *point = {point->x + place->left, point->y + place->top};
    return place.has_value();
}

BOOL ScreenToClient(HWND window, LPPOINT point) {
    if (winhost::Fails("ScreenToClient", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    const auto place = winhost::ClientPlace(window);
    if (place) *point = {point->x - place->left, point->y - place->top};
    return place.has_value();
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
        if (!(flags & SWP_NOMOVE))
            winhost::Shift(record->place, x - record->place.left, y - record->place.top);
        if (!(flags & SWP_NOSIZE)) {
            record->place.right = record->place.left + width;
            record->place.bottom = record->place.top + height;
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

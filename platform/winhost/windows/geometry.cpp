// Positions and sizes of windows. The frame around a client area is as wide as Windows draws it at 96 dots per inch.
#include "windows/geometry.h"

#include <utility>

#include "core/faults.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"

namespace winhost {

namespace {

constexpr LONG kCaptionHeight = 23;
constexpr LONG kDialogFrame = 3;
constexpr LONG kSizingFrame = 4;
constexpr LONG kBorder = 1;
constexpr LONG kClientEdge = 2;

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

void AskClientArea(HWND window, RECT place) {
    (void)CallProcedure(window, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&place));
}

void TellSize(HWND window) {
    if (const auto rect = ClientRectOnScreen(window))
        (void)CallProcedure(window, WM_SIZE, 0,
                            MAKELPARAM(rect->right - rect->left, rect->bottom - rect->top));
}

// The place of the client area is relative to that of the parent.
void TellMove(HWND window) {
    const auto rect = ClientRectOnScreen(window);
    const auto record = Look(window);
    if (!rect || !record) return;
    const auto around = record->parent ? ClientRectOnScreen(record->parent) : RECT{};
    if (!around) return;
    (void)CallProcedure(window, WM_MOVE, 0, MAKELPARAM(rect->left - around->left, rect->top - around->top));
}

void TellChange(HWND window, const RECT& before, const RECT& after) {
    const bool isSized = before.right - before.left != after.right - after.left ||
                         before.bottom - before.top != after.bottom - after.top;
    if (isSized) AskClientArea(window, after);
    if (before.left != after.left || before.top != after.top) TellMove(window);
    if (isSized) TellSize(window);
}

void TellFirstPlace(HWND window) {
    OwnWindow* const own = FindOwnWindow(window);
    if (!own || std::exchange(own->isPlaceTold, true)) return;
    TellSize(window);
    TellMove(window);
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

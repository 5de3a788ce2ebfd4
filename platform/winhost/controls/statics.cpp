// The class "Static": texts, lines and pictures. The class "msctls_progress32": a share of 100.
#include "controls/statics.h"

#include <commctrl.h>

#include <algorithm>
#include <utility>

#include "core/bytes.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"
#include "resources/resources.h"
#include "windows/geometry.h"
#include "windows/window_texts.h"

namespace winhost {

namespace {

constexpr WORD kBitmapResource = 2;
constexpr std::size_t kWidthOffset = 4;
constexpr std::size_t kHeightOffset = 8;
constexpr UINT kLastStaticMessage = 0x174;

struct StaticState : ControlState {
    LRESULT image = 0;
};

struct ProgressState : ControlState {
    LRESULT share = 0;
};

// A picture sets the size of its control.
void LoadPicture(HWND window, const WindowRecord& record, LPCWSTR name) {
    if (!name || *name != kNumberMark) return;
    const auto found = FindResource(OwnResources(), kBitmapResource, name[1]);
    if (!found.found) return;
    // A height below zero says that the first line is the top one.
    RECT size = {0, 0, static_cast<LONG>(DwordAt(found.data, kWidthOffset)),
                 std::abs(static_cast<LONG>(DwordAt(found.data, kHeightOffset)))};
    AddFrame(size, record.style, record.exStyle);
    Resize(window, size.right - size.left, size.bottom - size.top);
    StateOf<StaticState>(window)->image = static_cast<LRESULT>(name[1]);
}

void BeginStatic(HWND window, const CREATESTRUCTW& creation) {
    FindOwnWindow(window)->state = std::make_unique<StaticState>();
    const auto record = Look(window);
    constexpr DWORD kUnknownStyles = 0xFFFF & ~(SS_TYPEMASK | SS_REALSIZECONTROL | SS_NOPREFIX | SS_SUNKEN);
    if (record->style & kUnknownStyles)
        NotModelled("CreateWindowExW", "the style of a static: " + std::to_string(record->style));
    const DWORD type = record->style & SS_TYPEMASK;
    if (type > SS_CENTER + 1 && type != SS_BITMAP && type != SS_ETCHEDHORZ)
        NotModelled("CreateWindowExW", "the type of a static: " + std::to_string(type));
    if (record->style & SS_SUNKEN) {
        WindowTable table;
        table.Find(window)->exStyle |= WS_EX_STATICEDGE;
    }
    if (type == SS_BITMAP) LoadPicture(window, *Look(window), creation.lpszName);
}

}  // namespace

LRESULT StaticProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) BeginStatic(window, *reinterpret_cast<const CREATESTRUCTW*>(lParam));
    if (message == WM_GETDLGCODE) return DLGC_STATIC;
    if (message == STM_GETIMAGE && wParam == IMAGE_BITMAP) {
        const StaticState* const state = StateOf<StaticState>(window);
        return state ? state->image : 0;
    }
    if (message >= STM_GETIMAGE - 3 && message <= kLastStaticMessage)
        NotModelled("Static", "message " + std::to_string(message));
    return DefaultOf(window, message, wParam, lParam);
}

LRESULT ProgressProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) FindOwnWindow(window)->state = std::make_unique<ProgressState>();
    if (message == WM_GETDLGCODE) return DLGC_STATIC;
    ProgressState* const state = StateOf<ProgressState>(window);
    if (message == PBM_GETPOS && state) return state->share;
    if (message == PBM_SETPOS && static_cast<LRESULT>(wParam) < 0)
        NotModelled("msctls_progress32", "a share below zero");
    if (message == PBM_SETPOS && state)
        return std::exchange(state->share, std::min<LRESULT>(100, static_cast<LRESULT>(wParam)));
    if (message > WM_USER && message < WM_APP)
        NotModelled("msctls_progress32", "message " + std::to_string(message));
    return DefaultOf(window, message, wParam, lParam);
}

}  // namespace winhost

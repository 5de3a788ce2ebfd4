// The shape of the mouse pointer.
#include <utility>

#include "core/events.h"
#include "core/faults.h"
#include "core/machine.h"
#include <winhost.h>

// Nothing draws the cursor. The machine records what is set, so that a test can check it.
HCURSOR LoadCursorW(HINSTANCE module, LPCWSTR name) {
    if (winhost::Fails("LoadCursorW")) return nullptr;
    if (module || (name != IDC_ARROW && name != IDC_WAIT))
        winhost::NotModelled("LoadCursorW", "another cursor than the arrow and the hourglass");
    return reinterpret_cast<HCURSOR>(reinterpret_cast<ULONG_PTR>(name));
}

HCURSOR SetCursor(HCURSOR cursor) {
    (void)winhost::FaultOf("SetCursor");
    thread_local HCURSOR current = reinterpret_cast<HCURSOR>(reinterpret_cast<ULONG_PTR>(IDC_ARROW));
    winhost::Record("set-cursor", {winhost::Utf16(std::to_string(reinterpret_cast<ULONG_PTR>(cursor)))});
    return std::exchange(current, cursor);
}

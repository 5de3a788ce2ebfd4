// How windows are related: parents and owners, and how windows are found.
#include "windows/relations.h"

#include "core/faults.h"
#include "core/machine.h"
#include "core/text.h"
#include "messages/window_table.h"

namespace winhost {

namespace {

HWND Neighbour(const WindowRecord& window, UINT relation) {
    if (relation == GW_OWNER) return window.owner;
    const std::vector<HWND> children = ChildWindows(relation == GW_CHILD ? window.handle : window.parent);
    auto found = children.begin();
    if (relation == GW_HWNDNEXT) {
        while (found != children.end() && *found != window.handle)
            ++found;
        if (found != children.end()) ++found;
    }
    return found != children.end() ? *found : nullptr;
}

bool Matches(HWND window, LPCWSTR className, LPCWSTR title) {
    if (className && IS_INTRESOURCE(className)) NotModelled("FindWindowExW", "an atom");
    const auto record = Look(window);
    return record && (!className || SameName(record->kind, className)) &&
           (!title || SameName(record->title, title));
}

HWND FindWindowAfter(HWND parent, HWND after, LPCWSTR className, LPCWSTR title) {
    bool isAfter = !after;
    for (const HWND window : ChildWindows(parent)) {
        if (isAfter && Matches(window, className, title)) return window;
        isAfter = isAfter || window == after;
    }
    return nullptr;
}

}  // namespace

bool Shows(HWND window) {
    WindowTable table;
    for (const WindowRecord* record = table.Find(window); record; record = table.Find(record->parent)) {
        if (!(record->style & WS_VISIBLE)) return false;
        if (!record->parent) return true;
    }
    return false;
}

}  // namespace winhost

// Lists the windows that exist at the time of the call, without those destroyed since.
BOOL EnumWindows(WNDENUMPROC callback, LPARAM context) {
    if (winhost::Fails("EnumWindows")) return FALSE;
    for (const HWND window : winhost::ChildWindows(nullptr)) {
        if (!winhost::Look(window)) continue;
        if (!callback(window, context)) return FALSE;
    }
    return TRUE;
}

HWND FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR title) {
    if (winhost::Fails("FindWindowExW")) return nullptr;
    if (parent == HWND_MESSAGE) winhost::NotModelled("FindWindowExW", "a window for messages only");
    if ((parent && !winhost::Look(parent)) || (after && !winhost::Look(after))) return nullptr;
    return winhost::FindWindowAfter(parent, after, className, title);
}

DWORD GetWindowThreadProcessId(HWND window, LPDWORD process) {
    if (winhost::Fails("GetWindowThreadProcessId", ERROR_INVALID_WINDOW_HANDLE)) return 0;
    const auto record = winhost::Look(window);
    if (!record) return 0;
    if (process) *process = record->process;
    return record->thread;
}

HWND GetWindow(HWND window, UINT relation) {
    if (winhost::Fails("GetWindow", ERROR_INVALID_WINDOW_HANDLE)) return nullptr;
    if (relation != GW_OWNER && relation != GW_CHILD && relation != GW_HWNDNEXT)
        winhost::NotModelled("GetWindow", "relation " + std::to_string(relation));
    const auto record = winhost::Look(window);
    return record ? winhost::Neighbour(*record, relation) : nullptr;
}

HWND GetParent(HWND window) {
    if (winhost::Fails("GetParent", ERROR_INVALID_WINDOW_HANDLE)) return nullptr;
    const auto record = winhost::Look(window);
    if (!record) return nullptr;
    if (record->isChild()) return record->parent;
    return record->style & WS_POPUP ? record->owner : nullptr;
}

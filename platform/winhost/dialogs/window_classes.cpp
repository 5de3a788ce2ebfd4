#include "dialogs/window_classes.h"

#include <map>
#include <mutex>

#include "controls/buttons.h"
#include "controls/dialog_items.h"
#include "controls/edits.h"
#include "controls/statics.h"
#include "core/faults.h"
#include "core/machine.h"
#include "core/text.h"
#include "dialogs/dialog_procedure.h"
#include "messages/window_table.h"
#include "windows/creation.h"

namespace winhost {

namespace {

constexpr ATOM kFirstClassAtom = 0xC001;

// How the names of the system's other classes begin.
constexpr std::u16string_view kOtherClasses[] = {u"COMBO",   u"LISTBOX",  u"MDICLIENT", u"MSCTLS_",
                                                 u"REBAR",   u"RICHEDIT", u"SCROLLBAR", u"SYS",
                                                 u"TOOLBAR", u"TOOLTIPS"};

struct Classes {
    std::mutex threads;
    // Keyed by upper-case name.
    std::map<std::u16string, WindowClass> byName = {
        {u"BUTTON", {u"Button", ButtonProcedure}},
        {u"EDIT", {u"Edit", EditProcedure}},
        {u"MSCTLS_PROGRESS32", {u"msctls_progress32", ProgressProcedure}},
        {u"STATIC", {u"Static", StaticProcedure}},
        {kDialogClass, {kDialogClass, DialogProcedure}},
    };
};

Classes& TheClasses() {
    static auto* classes = new Classes;
    return *classes;
}

const WindowClass* FindClass(LPCWSTR name) {
    Classes& classes = TheClasses();
    const std::lock_guard lock(classes.threads);
    const auto found = classes.byName.find(Upper(name));
    if (found != classes.byName.end()) return &found->second;
    for (const std::u16string_view other : kOtherClasses)
        if (Upper(name).starts_with(other)) NotModelled("CreateWindowExW", "the class " + Utf8(name));
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return nullptr;
}

}  // namespace

HWND CreateOfClass(const CREATESTRUCTW& wanted) {
    const WindowClass* const kind = FindClass(wanted.lpszClass);
    return kind ? Create(*kind, wanted) : nullptr;
}

}  // namespace winhost

ATOM RegisterClassExW(const WNDCLASSEXW* windowClass) {
    if (winhost::Fails("RegisterClassExW")) return 0;
    if (windowClass->cbSize != sizeof *windowClass || !windowClass->lpfnWndProc ||
        !windowClass->lpszClassName) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (IS_INTRESOURCE(windowClass->lpszClassName) || windowClass->lpszMenuName)
        winhost::NotModelled("RegisterClassExW", "an atom or a menu");
    constexpr UINT kNoClose = 0x200;
    if (windowClass->style & kNoClose)
        winhost::NotModelled("RegisterClassExW", "style " + std::to_string(windowClass->style));
    const std::u16string name = windowClass->lpszClassName;
    for (const auto& kind : {u"BUTTON", u"EDIT", u"MSCTLS_PROGRESS32", u"STATIC"})
        if (winhost::Upper(name) == kind)
            winhost::NotModelled("RegisterClassExW", "the name of a class of the system");
    if (name.size() >= winhost::kClassUnits) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    winhost::Classes& classes = winhost::TheClasses();
    const std::lock_guard lock(classes.threads);
    if (!classes.byName
             .try_emplace(winhost::Upper(name), winhost::WindowClass{name, windowClass->lpfnWndProc})
             .second) {
        SetLastError(ERROR_CLASS_ALREADY_EXISTS);
        return 0;
    }
    return static_cast<ATOM>(winhost::kFirstClassAtom + classes.byName.size() - 1);
}

HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
    if (winhost::Fails("CreateWindowExW")) return nullptr;
    if (IS_INTRESOURCE(className) || (menu && !(style & WS_CHILD)) || parent == HWND_MESSAGE)
        winhost::NotModelled("CreateWindowExW", "an atom, a menu or a window for messages only");
    return winhost::CreateOfClass({parameter, instance, menu, parent, height, width, y, x,
                                   static_cast<LONG>(style), title, className, exStyle});
}

// Makes and destroys windows.
#pragma once

#include <windows.h>

#include <string>

namespace winhost {

struct WindowClass {
    std::u16string name;
    WNDPROC procedure;
};

// Makes a window of the calling thread. Returns null, with the last error set, when that fails. The class named in
// `wanted` is not looked at.
HWND Create(const WindowClass& kind, const CREATESTRUCTW& wanted);
// Destroys a window of the calling thread, with its children and the windows that it owns.
void Destroy(HWND window);

}  // namespace winhost

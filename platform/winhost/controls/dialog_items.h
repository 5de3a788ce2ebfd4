// The controls of a dialog, by their ids.
#pragma once

#include <windows.h>

namespace winhost {

// The class of dialogs.
inline constexpr WCHAR kDialogClass[] = u"#32770";

// Returns the control with that id, or null.
HWND ControlOf(HWND dialog, int id);

}  // namespace winhost

// Messages that are sent, and answered, across threads and processes.
#pragma once

#include <windows.h>

namespace winhost {

// Sends a message to any window of the machine and returns the answer.
LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Asks the window's thread to carry out an order that its OrderProcedure knows. SendOrder waits until that is done and
// returns the answer, PostOrder doesn't wait. The thread takes it in its turn among sent messages.
LRESULT SendOrder(HWND window, UINT order, WPARAM value);
void PostOrder(HWND window, UINT order, WPARAM value);
// Sends a control's notification to its parent as WM_COMMAND.
void NotifyParent(HWND control, int notification);
// Dispatches the messages that others have sent to the calling thread's windows.
void DispatchSentMessages();

}  // namespace winhost

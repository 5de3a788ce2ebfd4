// The messages of a thread. While it has windows, others reach it through .state/queues: what they post waits
// in a file there, and a socket beside it wakes the thread, or brings it what is sent.
#pragma once

#include <windows.h>

#include "core/host_io.h"
#include "windows/window_table.h"

namespace winhost {

// Called with the first window of the calling thread, and when it has lost its last one.
void OpenInbox(const WindowRecord& window);
void CloseInbox();
// Takes away what the thread of a window of a dead process left.
void RemoveInbox(const WindowRecord& window);
// Forgets what waits for a window that is being destroyed.
void DropMessagesOf(HWND window);

// Gives the next message, or WM_QUIT, having carried out what others have sent; false when there is none.
enum class Taking { Waits, Tries, Peeks };  // a peeked one stays
bool TakeMessage(MSG& message, Taking how);

// Posts to the calling thread; false, with the last error set, when its queue is full.
bool PostToSelf(const MSG& message);

// The socket on which the calling thread is woken; -1 while it has no windows.
int OwnDoor();
// A connection to the thread of a window; none when nobody is there.
Descriptor Knock(const WindowRecord& window);

}  // namespace winhost

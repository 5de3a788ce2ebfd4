// The messages of a thread. While the thread has windows, others reach it through .state/queues. Posted messages wait
// in a file there. A socket beside it wakes the thread and brings it sent messages.
#pragma once

#include <windows.h>

#include "core/host_io.h"
#include "messages/window_table.h"

namespace winhost {

// OpenInbox is called with the first window of the calling thread, CloseInbox after it has lost its last one.
void OpenInbox(const WindowRecord& window);
void CloseInbox();
// Removes the files that the window's thread left when its process died.
void RemoveInbox(const WindowRecord& window);
// Drops the waiting messages of a window that is being destroyed.
void DropMessagesOf(HWND window);

// Carries out what others have sent, then takes the next message, or WM_QUIT. Returns false when there is none.
enum class Taking { Waits, Tries, Peeks };  // a message that is peeked at stays in the queue
bool TakeMessage(MSG& message, Taking how);

// Posts to the calling thread. Returns false, with the last error set, when its queue is full.
bool PostToSelf(const MSG& message);

// Returns the socket that wakes the calling thread, or -1 while it has no windows.
int OwnDoor();
// Returns a connection to the window's thread. None when that thread is gone.
Descriptor Knock(const WindowRecord& window);

}  // namespace winhost

// The messages of a thread.
#pragma once

#include <windows.h>

#include "messages/window_table.h"

namespace winhost {

// OpenQueue is called with each new window of the calling thread, CloseQueue after it has lost its last one.
void OpenQueue(const WindowRecord& window);
void CloseQueue();
// Drops the waiting messages of a window that is being destroyed.
void DropMessagesOf(HWND window);

// Dispatches what others have sent, then takes the next message, or WM_QUIT. Returns false when there is none.
enum class Taking { Waits, Tries, Peeks };  // a message that is peeked at stays in the queue
bool TakeMessage(MSG& message, Taking how);

// Posts to the calling thread. Returns false, with the last error set, when its queue is full.
bool PostToSelf(const MSG& message);

}  // namespace winhost

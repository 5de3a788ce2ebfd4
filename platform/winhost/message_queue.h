// The messages of a thread. What others post to its windows comes in through a FIFO of .state/queues, which
// is there while the thread has windows.
#pragma once

#include "window_table.h"

namespace winhost {

// Called with the first window of the calling thread, and when it has lost its last one.
void OpenInbox(const WindowRecord& window);
void CloseInbox();
// Takes away what the thread of a window of a dead process left.
void RemoveInbox(const WindowRecord& window);
// Forgets what waits for a window that is being destroyed.
void DropMessagesOf(HWND window);

}  // namespace winhost

// How others reach a thread that has windows. Its inbox is two files in .state/queues: one holds the messages that were
// posted to the thread, the other is a socket, which wakes the thread and brings it sent messages.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "core/host_io.h"

namespace winhost {

// Returns the name of a thread's inbox. `holder` is the number of its process in the table of windows.
std::string InboxName(std::uint64_t holder, DWORD thread);
// Returns the host path of the file of posted messages.
std::string PostsPath(const std::string& inbox);

// What the calling thread has open of its own inbox. All is empty while the thread has no windows.
struct Inbox {
    std::string name;
    Descriptor posts;
    Descriptor socket;
};
Inbox& OwnInbox();

// Makes the calling thread's inbox.
void OpenInbox(const std::string& name);
// Closes and removes the calling thread's inbox.
void CloseInbox();
// Removes the inbox that a thread left when its process died.
void RemoveInbox(const std::string& name);

// Returns a connection to the thread with that inbox, and so wakes it. None when that thread is gone.
Descriptor Connect(const std::string& inbox);

}  // namespace winhost

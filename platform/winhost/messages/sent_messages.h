// Messages that are sent, and answered, across threads and processes.
#pragma once

namespace winhost {

// Handles the messages that others have sent to the calling thread's windows.
void CarryOutSent();

}  // namespace winhost

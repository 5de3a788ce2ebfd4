// Virtual time, for programs that run with WINHOST_CLOCK=virtual. Only two things take time there, and both return as
// soon as nobody else has anything to do before: Sleep, and a wait for a process with a limit. A program begins at the
// time of its starter and never gets ahead of it. So a program that sleeps goes on when its starter waits as long, for
// whatever it is, or has ended.
#pragma once

#include "processes/process_table.h"

namespace winhost {

// Waits for the process as WaitForSingleObject does, in virtual time.
bool WaitInVirtualTime(const ProcessFiles& other, DWORD milliseconds);

// While it exists, this process waits without a limit for what others do. So the programs that it has started may go on
// for any time, and one that waits for this process with a limit waits in vain.
class OpenEndedWait {
  public:
    OpenEndedWait();
    ~OpenEndedWait();
    OpenEndedWait(const OpenEndedWait&) = delete;
    OpenEndedWait& operator=(const OpenEndedWait&) = delete;
};

// Returns the time at which a program begins that this process starts now. None without a virtual clock.
std::optional<VirtualTimes> TimesOfStarted();

}  // namespace winhost

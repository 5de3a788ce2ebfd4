// The machine's running processes: .state/processes holds a file for each, named by its id, which the process
// keeps locked (flock) from before its program begins to its end. The kernel drops the lock with the process,
// so an id is of this machine and alive exactly while its file is locked, whatever else the host runs under
// that number since.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "core/host_io.h"
#include "core/machine_lock.h"

namespace winhost {

// Held while a process is entered, so that nobody takes its file for a dead one's.
class TableLock : MachineLock {
  public:
    TableLock() : MachineLock("processes.lock") {}
};

// Makes the calling host process one of the machine whose table stands in `folder`: gives its locked file, or
// none.
Descriptor EnterTable(const char* folder);
std::string TableFolder();

// Called in a child before its program runs: names the two inherited descriptors that say it runs, its table
// file and its running image, in the environment.
void HandOver(int table, int image);

// Enters this process when its program begins: takes over what its starter handed over, or enters a program
// started from the host's shell. Does nothing outside a machine.
void BeginProcess();
// Takes this process off the table: nobody finds it, ends it or waits for it any more.
void LeaveTable();
// Leaves a record of the exit code for those that hold the process open.
void RecordOwnExit(DWORD exitCode);

// The files of a process of this machine.
struct ProcessFiles {
    Descriptor process;  // pidfd: never names another process
    Descriptor table;    // stays readable when the file is removed
};
ProcessFiles OpenProcessFiles(DWORD id);
// None when no living process of this machine has that id.
std::optional<ProcessFiles> FindProcess(DWORD id);

void RecordExitCode(int table, DWORD exitCode);
std::optional<DWORD> RecordedExitCode(int table);

// Removes the files of processes that have ended.
void PruneTable();

// Waits until the process of the pidfd has ended; false when the time ran out. INFINITE has no limit.
bool WaitForEnd(int process, DWORD milliseconds);

}  // namespace winhost

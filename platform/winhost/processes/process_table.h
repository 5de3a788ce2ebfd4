// The machine's running processes. .state/processes holds a file for each process, named by its id. The process keeps
// its file locked (flock) from before its program begins until it ends; the kernel then drops the lock. So an id
// belongs to a living process of this machine only while its file is locked, even if the host uses the number for
// another process later.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/host_io.h"
#include "core/machine_lock.h"

namespace winhost {

// Held while a process is entered, so that its file does not look like that of an ended process.
class TableLock : MachineLock {
  public:
    TableLock() : MachineLock("processes.lock") {}
};

// The folder of the table.
std::string TableFolder();

// A new entry of the table. It is locked before it has the name under which others see it.
class NewEntry {
  public:
    // Makes it. Held meanwhile is the lock of the table.
    NewEntry();
    ~NewEntry();  // removes it if it wasn't named
    // Whether it could be made.
    explicit operator bool() const { return static_cast<bool>(m_table); }
    // Returns its file, whose lock shows that the process lives.
    int table() const { return m_table.get(); }
    // Makes it the entry of this process, which holds the file. Returns false if the host refuses.
    bool Name(DWORD id);
    // Returns the file, which the caller then owns.
    Descriptor Release() { return std::move(m_table); }

  private:
    std::string m_path;
    Descriptor m_table;
};

// The variable of the environment by which a starter hands over two inherited descriptors, the table file and the running
// image, which show that the process runs.
inline constexpr char kHandedOver[] = "WINHOST_PROCESS";

// Enters this process when its program begins. It takes over what its starter handed over; a program that the host's
// shell started makes its own entry. Has no effect outside a machine.
void BeginProcess();
// Takes this process off the table: from now on nobody finds it, ends it or waits for it.
void LeaveTable();
// Returns this process's file; -1 if it has none.
int OwnTable();
// Whether this process was forked from one with an entry and shares that entry.
bool IsForkedCopy();
// Records the exit code for those that hold the process open.
void RecordOwnExit(DWORD exitCode);

// The files of a process of this machine.
struct ProcessFiles {
    Descriptor process;  // a pidfd, which never means another process
    Descriptor table;    // stays readable after the file is removed
};
// Opens the files of any id. One that doesn't exist is -1.
ProcessFiles OpenProcessFiles(DWORD id);
// Returns none when no living process of this machine has that id.
std::optional<ProcessFiles> FindProcess(DWORD id);

// What the file of a process says of its virtual time, in milliseconds.
struct VirtualTimes {
    std::uint64_t now = 0;    // it does nothing before that time
    std::uint64_t until = 0;  // those that it has started may go on until then
};
// Write and read the times. None while they haven't been written.
void RecordTimes(int table, const VirtualTimes& times);
std::optional<VirtualTimes> RecordedTimes(int table);

// The same for the exit code.
void RecordExitCode(int table, DWORD exitCode);
std::optional<DWORD> RecordedExitCode(int table);

// Removes the files of processes that have ended.
void PruneTable();

// Returns the ids in the table except this process's own. Some may have ended.
std::vector<DWORD> OtherIds();

// Waits until the process of the pidfd has ended. Returns false
// when `milliseconds` have passed; INFINITE waits without limit.
bool WaitForEnd(int process, DWORD milliseconds);

}  // namespace winhost

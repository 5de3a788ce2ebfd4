// The host's side of the embedded machine: what tests and tools do to a machine from outside.
//
// A machine is a folder: a drive a sub-folder (C, D), registry.reg, a marker file that names it a machine,
// and .state with its running processes, events and shared objects. A program stored inside finds its machine
// by walking up from its own path; a program outside (a test, a tool) enters one by EnterMachine.
#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace winhost {

// Makes a new machine in an empty or missing folder: drives, system folders, two users, registry,
// regsvr32.exe.
void CreateMachine(const std::filesystem::path& root);

// Makes this process one of the machine, as if it had been started there from `program` (a full Windows
// path). The current folder becomes the program's. Entering another machine, or the same one again, starts
// afresh.
void EnterMachine(const std::filesystem::path& root, std::u16string_view program = u"C:\\Windows\\host.exe");

// Whether this process is in a machine, by the folder of its program or because it entered one.
bool InMachine();

// The folder of the machine's own files: running processes, events, shared objects. A tool may keep files of
// its own there.
std::filesystem::path StateFolder();

// Text of the machine as text of the host, which is UTF-8, and back. An unpaired surrogate survives both
// ways.
std::string Utf8(std::u16string_view text);
std::u16string Utf16(std::string_view text);

// Where a file of the machine lies on the host, whether or not it exists.
std::filesystem::path HostPath(std::u16string_view path);

// The next start of the machine: carries the boot-time marks out by Windows' rules, and takes them away.
void RestartMachine();

// Whether this machine carries WININIT.INI out at its restarts, as only the old line of Windows does. A new
// machine doesn't. Independent of the version that its programs read.
void SetCarriesOutWininit(bool on);

// The running processes of the machine, without this one.
std::vector<DWORD> ProcessIds();

// Ends all processes of the machine but this one, and waits until they have gone. False when `milliseconds`
// ran out.
bool EndProcesses(DWORD milliseconds);

// Keeps a file of the machine in use until the result is destroyed: as a running program or library, which
// can be renamed but not deleted, or open for reading without delete sharing, which prevents both. Null when
// it can't be opened.
enum class Use { Runs, IsRead };
std::shared_ptr<void> HoldFile(std::u16string_view path, Use use);

// Copies a file of a machine on the host, with the attributes that the machine keeps on it. The target must
// not exist.
void CopyStoredFile(const std::filesystem::path& from, const std::filesystem::path& to);

// Waits until no process of the machine is left but this one. False when `milliseconds` ran out.
bool WaitForProcesses(DWORD milliseconds);

// Hides a function from GetProcAddress, as on a system that lacks it, in this process and those that it
// starts.
void HideFunction(const std::string& name, bool hidden);

// What the machine saw besides files and registry, in order, a line each: its kind, a tab, and its fields
// with tabs between them. A line feed inside a field is written as \n, and numbers are decimal. Kinds:
//   message-box     caption, text, style, answer (0 for a box that is left open)
//   unanswered-box  the same
//   shell-execute   verb, file, show command
//   start-process   command line, folder
//   exit-windows    flags, reason
//   change-notify   event
std::vector<std::string> Events();
void ClearEvents();
// The kind of such a line and its fields, with the line feeds back in their places.
std::vector<std::string> EventFields(std::string_view event);

// The buttons that answer the next message boxes of the machine, in order. A box without an answer left, or
// without that button, takes its safe one (No, Cancel, or OK), and is recorded as unanswered. The box is
// answered when all that has been posted to its thread is dispatched. 0 leaves the box open: it is a dialog
// like any other, and the test presses its buttons. EndBoxAnswers goes back to asking at the terminal.
void SetBoxAnswers(const std::vector<int>& buttons);
void EndBoxAnswers();

// ---- faults: any platform call can be told to fail, and every call is counted by name ----

struct Fault {
    std::string call;   // name of the call, or "*" for any
    unsigned nth = 0;   // fails at this use, counted from 1; 0: at every use
    DWORD error = 0;    // the error code; 0: what the call reports when rights are missing
    bool kill = false;  // the process is killed at the call instead
};
// Sets the faults of this process and starts its counts at 0.
void SetFaults(std::vector<Fault> faults);
std::map<std::string, unsigned> CallCounts();

// The same for the programs that are started from here on, by this process or by a program that it starts:
// those whose file's name matches `programs`, with * and ?. The counts are the sums over all such programs
// that have ended, without those that were killed.
void SetProgramFaults(const std::string& programs, const std::vector<Fault>& faults);
std::map<std::string, unsigned> ProgramCallCounts();
void ClearProgramFaults();

// With a virtual clock Sleep returns at once, in this process and in those that it starts.
void SetVirtualClock(bool on);

// ---- limits: a disc that fills, and power that goes ----

struct Limits {
    std::uint64_t room = UINT64_MAX;   // bytes that the drives and the registry may hold together
    std::uint64_t steps = UINT64_MAX;  // of change on them (a file made, a part of it written) before the
                                       // power goes: from then on each process ends at its next step
};
// Sets the limits for this process and all that it starts, and counts from 0.
void SetLimits(const Limits& limits);
struct LimitsMet {
    std::uint64_t steps = 0;  // taken
    std::uint64_t leastRefused =
        UINT64_MAX;  // the smallest room at which one more write would have gone well
    bool powerWent = false;
    std::string call;  // the first platform call that met a limit; empty for none
};
LimitsMet LiftLimits();
// What the drives and the registry hold, in bytes.
std::uint64_t BytesUsed();

// Handles of this process that are open: files, searches, keys, processes, tokens, modules.
unsigned OpenHandles();

}  // namespace winhost

// The host's side of the embedded machine: what tests and tools do to a machine from outside.
//
// A machine is a folder. It holds a sub-folder for each drive (C, D), registry.reg, a marker file, and .state with the
// running processes, events and shared objects. A program stored inside finds its machine by walking up from its own
// path. A program outside (a test, a tool) enters one by EnterMachine.
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

// Makes a new machine in an empty or missing folder: drives, system folders, two users, registry, regsvr32.exe. Throws
// std::filesystem::filesystem_error when the host can't write it.
void CreateMachine(const std::filesystem::path& root);

// Makes this process one of the machine, as if it had been started there from `program` (a full Windows path). The
// current folder becomes the program's folder. Entering another machine, or the same one again, makes a fresh start.
void EnterMachine(const std::filesystem::path& root, std::u16string_view program = u"C:\\Windows\\host.exe");

// Whether this process is in a machine: its program is stored in one, or it entered one.
bool InMachine();

// Returns the folder of the machine's own files: running processes, events, shared objects. A tool may keep its own
// files there too.
std::filesystem::path StateFolder();

// Converts the machine's text to the host's UTF-8 and back. An unpaired surrogate survives in both directions.
std::string Utf8(std::u16string_view text);
std::u16string Utf16(std::string_view text);

// Returns the host path of a file of the machine. The file need not exist.
std::filesystem::path HostPath(std::u16string_view path);

// Does what the next start of the machine does: carries out the boot-time marks by Windows' rules, then removes them.
void RestartMachine();

// Whether this machine carries out WININIT.INI at a restart, as only the old line of Windows does. A new machine
// doesn't. This does not depend on the version that programs read.
void SetCarriesOutWininit(bool on);

// Whether entries of this machine also have short names of 8.3 characters, as on a Windows system drive. A new
// machine's have. A search then finds page.html by *.htm, and each call accepts the short name.
void SetHasShortNames(bool on);

// Returns the ids of the machine's running processes, without this one.
std::vector<DWORD> ProcessIds();

// Ends all processes of the machine except this one, and waits until they have gone. Returns false when `milliseconds`
// have passed.
bool EndProcesses(DWORD milliseconds);

// Keeps a file of the machine in use until the result is destroyed. Runs: as a running program or library, which can be
// renamed but not deleted. IsRead: open for reading without delete sharing, so it can be neither renamed nor deleted.
// Returns null when the file can't be opened.
enum class Use { Runs, IsRead };
std::shared_ptr<void> HoldFile(std::u16string_view path, Use use);

// Copies a file, or a folder without its entries, to another machine on the host, with the attributes and the short
// name that are stored for it. The target must not exist.
void CopyStored(const std::filesystem::path& from, const std::filesystem::path& to);

// Waits until this is the only process of the machine. Returns false when `milliseconds` have passed.
bool WaitForProcesses(DWORD milliseconds);

// Hides a function from GetProcAddress, as on a system without it, in this process and those that it starts. False for
// `hidden` shows it again.
void HideFunction(const std::string& name, bool hidden);

// Returns what the machine saw besides files and registry, in order. Each event is a line: its kind, a tab, and its
// fields with tabs between them. A line feed inside a field is written as the character 1E, and numbers are decimal. Kinds:
//   message-box     caption, text, style, answer (0 for a box that is left open)
//   unanswered-box  the same
//   shell-execute   verb, file, show command
//   start-process   command line, folder
//   exit-windows    flags, reason
//   change-notify   event
//   set-cursor      number of the cursor
std::vector<std::string> Events();
void ClearEvents();
// Returns the kind of such a line and its fields, with the line feeds restored.
std::vector<std::string> EventFields(std::string_view event);

// Sets the buttons that answer the next message boxes of the machine, in order. A box that finds no answer left, or
// lacks that button, takes its safe one (No, Cancel or OK) and is recorded as unanswered. A box is answered after
// everything posted to its thread is dispatched. 0 leaves the box open: it is a dialog like any other, and the test
// presses its buttons. After EndBoxAnswers the machine asks at the terminal again.
void SetBoxAnswers(const std::vector<int>& buttons);
void EndBoxAnswers();

// Programs that this process starts from now on, and all that they start, add a line for each of their platform calls to
// a file of the host. core/trace.h describes the line. This process is not traced.
void SetProgramTrace(const std::filesystem::path& file);
void ClearProgramTrace();

// ---- faults: any platform call can be told to fail, and every call is counted by name ----

struct Fault {
    std::string call;   // name of the call, or "*" for any call
    unsigned nth = 0;   // fails at this use, counted from 1; 0: at every use
    DWORD error = 0;    // the error code; 0: what the call reports when rights are missing
    bool kill = false;  // the process is killed at the call instead
};
// Sets the faults of this process and starts its counts at 0. CallCounts returns them by the name of the call.
void SetFaults(std::vector<Fault> faults);
std::map<std::string, unsigned> CallCounts();

// The same for the programs that this process, or a program that it starts, starts from now on. They are the programs
// whose file name matches `programs`, with * and ?. The counts are sums over all such programs that have ended and were
// not killed.
void SetProgramFaults(const std::string& programs, const std::vector<Fault>& faults);
std::map<std::string, unsigned> ProgramCallCounts();
void ClearProgramFaults();

// With a virtual clock, time passes by waits only, and they are over at once (processes/clock.h): in this process and in
// those that it starts.
void SetVirtualClock(bool on);

// ---- limits: a drive that fills, and a power cut ----

struct Limits {
    std::uint64_t space = UINT64_MAX;  // bytes that the drives and the registry may hold together
    // Steps of change on them, such as making a file or writing a part of it. After so many steps the power is cut:
    // from then on each process ends at its next step.
    std::uint64_t steps = UINT64_MAX;
};
// Sets the limits for this process and all that it starts. Counting starts at 0.
void SetLimits(const Limits& limits);
struct LimitsMet {
    std::uint64_t steps = 0;  // taken
    // The smallest space, in bytes, at which one more write would have succeeded. UINT64_MAX if none was refused.
    std::uint64_t leastRefused = UINT64_MAX;
    bool powerCut = false;
    std::string call;  // the first platform call that met a limit; empty for none
};
// Removes the limits and returns what was counted since SetLimits.
LimitsMet LiftLimits();
// Returns how many bytes the drives and the registry hold.
std::uint64_t BytesUsed();

// Returns how many handles are open in this process: files, searches, keys, processes, tokens, modules.
unsigned OpenHandles();

}  // namespace winhost

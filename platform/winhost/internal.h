// What the files of winhost share.
#pragma once

#include <windows.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace winhost {

// ---- text.cpp: host text is UTF-8; an unpaired surrogate survives the way there and back ----
std::string Utf8(std::u16string_view text);
std::u16string Utf16(std::string_view text);
// Upper case by code unit, as the file system and the registry compare names.
char16_t UpperUnit(char16_t unit);
std::u16string Upper(std::u16string_view text);
bool SameName(std::u16string_view left, std::u16string_view right);

// ---- machine.cpp ----
// Whether this process stands in a machine, by its program's place or by EnterMachine.
bool InMachine();
// The machine of this process. A process outside any machine ends here, with 2 and one line on standard
// error.
const std::filesystem::path& Root();
// The machine's own files: running processes, events, shared objects.
std::filesystem::path StateFolder();
// The program that this process runs, as a full Windows path. It stays as it was when the file is renamed.
const std::u16string& ProgramPath();
// Ends the run: a call, flag or argument that this machine does not model.
[[noreturn]] void NotModelled(const char* call, const std::string& what);
// Runs when a process enters another machine, so that a subject forgets what it kept of the last one.
void OnEnter(void (*forget)());

// A lock that all processes of the machine share, by name; held for the object's lifetime.
class MachineLock {
  public:
    explicit MachineLock(const char* name);
    ~MachineLock();
    MachineLock(const MachineLock&) = delete;
    MachineLock& operator=(const MachineLock&) = delete;

  private:
    int m_descriptor;
};

// ---- paths.cpp ----
// The full Windows path: drive letter, backslashes, no "." or "..", no closing backslash but a root's. Empty,
// with the last error set, when the text is no path of this machine.
std::u16string FullPath(LPCWSTR path);
struct Place {
    DWORD error = 0;  // 0 when the file or folder exists; ERROR_FILE_NOT_FOUND when its last name alone is
                      // missing; otherwise why the path leads nowhere
    std::u16string windows;  // full Windows path, names as the caller spelled them
    std::string host;        // path on the host: names as they are stored, or as spelled where missing
    bool isFolder = false;
    bool exists() const { return error == 0; }
    // The folder that would hold it is there.
    bool reachable() const { return error == 0 || error == ERROR_FILE_NOT_FOUND; }
};
// Finds a path's place without regard to case. Sets no last error.
Place Locate(LPCWSTR path);
Place Locate(const std::u16string& path);
// The Windows path of a file in the machine's folder.
std::u16string WindowsPath(const std::filesystem::path& host);
// The error code for the host's errno.
DWORD ErrorOf(int hostError);

// ---- attributes.cpp: kept on the file itself, so they survive a rename ----
// Windows attributes of a host file: what is stored, FILE_ATTRIBUTE_DIRECTORY for folders, NORMAL for none.
DWORD StoredAttributes(const std::string& host, bool isFolder);
bool StoreAttributes(const std::string& host, DWORD attributes);

// ---- sharing.cpp: open files, across processes; the kernel drops a claim with its process ----
inline constexpr unsigned kReading = 1, kWriting = 2, kDeleting = 4;
// A host file opened under Windows' sharing rules. `share` holds FILE_SHARE_ flags, `access` the bits above.
class OpenFile {
  public:
    // Null, with the last error set, when another opening doesn't share the access, or the file can't be
    // opened.
    static std::unique_ptr<OpenFile> Open(const std::string& host, int hostFlags, unsigned access,
                                          unsigned share);
    // Marks a program or library that runs: it can be renamed but neither deleted nor written.
    static std::unique_ptr<OpenFile> OpenImage(const std::string& host);
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    int descriptor() const { return m_descriptor; }

  private:
    explicit OpenFile(int descriptor) : m_descriptor(descriptor) {}
    int m_descriptor;
};
// What stops a delete or a rename of the file: 0, ERROR_SHARING_VIOLATION, or ERROR_ACCESS_DENIED for a
// running image (which may be renamed).
DWORD DeleteBlockedBy(const std::string& host);
DWORD RenameBlockedBy(const std::string& host);

// ---- handles.cpp ----
class KernelObject {
  public:
    virtual ~KernelObject() = default;
    // As WaitForSingleObject. The base can't be waited for.
    virtual DWORD Wait(DWORD milliseconds);
};
HANDLE AddHandle(std::shared_ptr<KernelObject> object);
// The object behind a handle; null, with ERROR_INVALID_HANDLE set, for a handle of another kind or none.
std::shared_ptr<KernelObject> FindHandle(HANDLE handle);
template <class Kind>
std::shared_ptr<Kind> HandleAs(HANDLE handle) {
    auto object = std::dynamic_pointer_cast<Kind>(FindHandle(handle));
    if (!object) SetLastError(ERROR_INVALID_HANDLE);
    return object;
}
// Closes the handle; false when there was none.
bool DropHandle(HANDLE handle);

// ---- faults.cpp ----
// Every platform call begins with this: counts it by name, and says whether it is to fail, with the last
// error then set to `error` or to the one the fault names.
bool Fails(const char* call, DWORD error = ERROR_ACCESS_DENIED);
// The same for calls that give their error back: 0, or the error code of the fault.
DWORD FaultOf(const char* call, DWORD error = ERROR_ACCESS_DENIED);

// ---- events.cpp ----
void Record(const char* kind, std::initializer_list<std::u16string> fields);

// ---- time ----
bool VirtualClock();
// Writes the call counts where WINHOST_COUNTS says; called as the process ends.
void WriteCounts();

// ---- arguments.cpp ----
// Splits a command line as the runtime library does: backslashes and quotes; the program's own name first.
std::vector<std::u16string> SplitArguments(std::u16string_view commandLine);
// The argument so quoted that it arrives as it stands.
std::u16string QuoteArgument(std::u16string_view argument);

// ---- system.cpp ----
// Exported by ntdll alone, and so found by name.
NTSTATUS RtlGetVersion(RTL_OSVERSIONINFOW* version);

// ---- profile.cpp, boot.cpp ----
void CarryOutWininit();

// ---- registry_store.cpp: used by boot marks, folders and the registry calls ----
// Reads one value of a machine-wide key ("SYSTEM\\..." below HKEY_LOCAL_MACHINE); none when missing.
struct MachineValue {
    DWORD type = REG_NONE;
    std::string bytes;
};
std::optional<MachineValue> ReadMachineValue(std::u16string_view key, std::u16string_view value);
void WriteMachineValue(std::u16string_view key, std::u16string_view value, DWORD type,
                       std::string_view bytes);
void DeleteMachineValue(std::u16string_view key, std::u16string_view value);
// Writes the registry that a new machine starts with.
void CreateRegistry(const std::filesystem::path& root);

}  // namespace winhost

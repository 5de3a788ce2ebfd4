#include "processes/process_table.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// The host's header doesn't declare its functions as C functions.
extern "C" {
#include <sys/pidfd.h>
}

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>
#include <fstream>
#include <vector>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "core/trace.h"
#include "files/paths.h"
#include "files/sharing.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

constexpr DWORD kLookMs = 1;

// This process's own entry. It is never destroyed, because its lock shows that the process lives.
struct OwnEntry {
    pid_t pid = 0;
    std::string path;
    Descriptor table;
    Descriptor image;                    // inherited from the starting process
    std::unique_ptr<OpenFile> ownImage;  // or opened by a program that the host's shell started
};

OwnEntry& TheEntry() {
    static auto* own = new OwnEntry;
    return *own;
}

std::string EntryPath(DWORD id) {
    return TableFolder() + "/" + std::to_string(id);
}

// Whether a living process holds the entry.
bool IsHeld(int table) {
    if (flock(table, LOCK_SH | LOCK_NB) != 0) return true;
    flock(table, LOCK_UN);
    return false;
}

// Whether the host is taking the process down.
bool IsDying(DWORD id) {
    constexpr unsigned kExiting = 4;  // PF_EXITING of the kernel
    std::ifstream file("/proc/" + std::to_string(id) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    unsigned flags = 0;
    // The name of the program may hold anything.
    const auto name = text.rfind(')');
    return name != text.npos &&
           std::sscanf(text.c_str() + name + 1, " %*c %*d %*d %*d %*d %*d %u", &flags) == 1 &&
           (flags & kExiting);
}

// Whether the entry's process has ended. A dying process drops its files one by one, so one that has dropped its lock is
// waited for: it may still hold its running image. The number may also belong to a process outside the machine by now.
bool HasEnded(DWORD id, const ProcessFiles& files) {
    if (IsHeld(files.table.get())) return false;
    while (files.process && IsDying(id) && !WaitForEnd(files.process.get(), kLookMs)) {
    }
    return true;
}

std::vector<DWORD> ListedIds() {
    std::vector<DWORD> ids;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(TableFolder(), error))
        if (const int id = std::atoi(entry.path().filename().c_str()); id > 0)
            ids.push_back(static_cast<DWORD>(id));
    return ids;
}

// Keeps the programs that this process starts from inheriting the descriptor.
Descriptor TakeOver(int value) {
    fcntl(value, F_SETFD, FD_CLOEXEC);
    return Descriptor(value);
}

// Takes the descriptors that the starting process handed over, if they are really meant for this process.
bool TakeOverEntry(OwnEntry& own) {
    const char* text = std::getenv(kHandedOver);
    int table = -1;
    int image = -1;
    const bool given = text && std::sscanf(text, "%d,%d", &table, &image) == 2;
    unsetenv(kHandedOver);
    struct stat inherited;
    struct stat listed;
    if (!given || fstat(table, &inherited) != 0) return false;
    // The starter holds the lock until the entry has its name.
    TableLock();
    if (stat(EntryPath(static_cast<DWORD>(getpid())).c_str(), &listed) != 0) return false;
    if (inherited.st_dev != listed.st_dev || inherited.st_ino != listed.st_ino) return false;
    own.pid = getpid();
    own.path = EntryPath(static_cast<DWORD>(own.pid));
    own.table = TakeOver(table);
    own.image = TakeOver(image);
    return true;
}

void EnterAnew(OwnEntry& own) {
    own.pid = getpid();
    own.path = EntryPath(static_cast<DWORD>(own.pid));
    fs::create_directories(TableFolder());
    const TableLock lock;
    PruneTable();
    NewEntry entry;
    if (entry && entry.Name(static_cast<DWORD>(own.pid))) own.table = entry.Release();
    if (!own.table) NotModelled("BeginProcess", "a machine whose table of processes can't be written");
}

// Another machine was entered: this process leaves the table of the former one.
void EnterOtherMachine() {
    OwnEntry& own = TheEntry();
    if (own.table) unlink(own.path.c_str());
    own.table = Descriptor();
    own.image = Descriptor();
    own.ownImage.reset();
    EnterAnew(own);
}

}  // namespace

std::string TableFolder() {
    return (StateFolder() / "processes").native();
}

// The entry of an ended process keeps its record for those that have it open. A starter that was killed leaves an unnamed
// one, which the program that it started holds locked.
NewEntry::NewEntry() : m_path(TableFolder() + "/new") {
    (void)unlink(m_path.c_str());
    m_table = Descriptor(open(m_path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666));
    if (m_table && flock(m_table.get(), LOCK_EX) != 0) m_table = Descriptor();
}

NewEntry::~NewEntry() {
    if (!m_path.empty()) unlink(m_path.c_str());
}

bool NewEntry::Name(DWORD id) {
    if (rename(m_path.c_str(), EntryPath(id).c_str()) != 0) return false;
    m_path.clear();
    return true;
}

void BeginProcess() {
    // Registered before anything of the program's, so it runs after all of that.
    on_exit(
        [](int exitCode, void*) {
            RecordOwnExit(static_cast<DWORD>(exitCode));
            WriteCounts();
            TraceEnd(static_cast<DWORD>(exitCode));
        },
        nullptr);
    OnEnter(EnterOtherMachine);
    if (!InMachine()) return;
    // Asked for now, because the file may be renamed later.
    const std::u16string& program = ProgramPath();
    OwnEntry& own = TheEntry();
    if (TakeOverEntry(own)) return;
    EnterAnew(own);
    own.ownImage = OpenFile::OpenImage(Locate(program).host);
}

int OwnTable() {
    return TheEntry().table.get();
}

bool IsForkedCopy() {
    return TheEntry().pid != getpid();
}

void RecordOwnExit(DWORD exitCode) {
    // The end of a fork of this process is not the end of this process.
    if (TheEntry().pid == getpid()) RecordExitCode(TheEntry().table.get(), exitCode);
}

ProcessFiles OpenProcessFiles(DWORD id) {
    // The pidfd is opened first. If the lock is held after that,
    // the pidfd can't mean a later process with the same number.
    ProcessFiles files;
    files.process = Descriptor(pidfd_open(static_cast<pid_t>(id), 0));
    files.table = Descriptor(open(EntryPath(id).c_str(), O_RDWR | O_CLOEXEC));
    return files;
}

std::optional<ProcessFiles> FindProcess(DWORD id) {
    if (id == 0 || id > 0x7FFFFFFF) return std::nullopt;
    ProcessFiles files = OpenProcessFiles(id);
    if (!files.process || !files.table || HasEnded(id, files) || WaitForEnd(files.process.get(), 0))
        return std::nullopt;
    return files;
}

// The times stand before the exit code, which is written last.
void RecordTimes(int table, const VirtualTimes& times) {
    (void)!pwrite(table, &times, sizeof times, 0);
}

std::optional<VirtualTimes> RecordedTimes(int table) {
    VirtualTimes times;
    if (pread(table, &times, sizeof times, 0) != sizeof times) return std::nullopt;
    return times;
}

void RecordExitCode(int table, DWORD exitCode) {
    (void)!pwrite(table, &exitCode, sizeof exitCode, sizeof(VirtualTimes));
}

std::optional<DWORD> RecordedExitCode(int table) {
    DWORD exitCode = 0;
    if (pread(table, &exitCode, sizeof exitCode, sizeof(VirtualTimes)) != sizeof exitCode)
        return std::nullopt;
    return exitCode;
}

void PruneTable() {
    for (const DWORD id : ListedIds()) {
        const ProcessFiles files = OpenProcessFiles(id);
        if (files.table && HasEnded(id, files)) unlink(EntryPath(id).c_str());
    }
}

bool WaitForEnd(int process, DWORD milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        const int limit =
            milliseconds == INFINITE ? -1 : static_cast<int>(std::clamp<long>(left, 0, 0x7FFFFFFF));
        pollfd wanted = {process, POLLIN, 0};
        if (poll(&wanted, 1, limit) > 0) return true;
        if (milliseconds != INFINITE && Clock::now() >= deadline) return false;
    }
}

void LeaveTable() {
    if (TheEntry().table) unlink(TheEntry().path.c_str());
}

std::vector<DWORD> OtherIds() {
    std::vector<DWORD> ids = ListedIds();
    std::erase(ids, static_cast<DWORD>(TheEntry().pid));
    return ids;
}

}  // namespace winhost

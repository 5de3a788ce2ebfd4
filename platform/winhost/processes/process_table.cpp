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
#include <vector>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "files/paths.h"
#include "files/sharing.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace winhost {

namespace {

constexpr char kHandedOver[] = "WINHOST_PROCESS";
// A dying process drops its files one by one. After the first is dropped, others wait this long for the rest.
constexpr DWORD kDyingMilliseconds = 100;

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

// Whether the entry's process has ended. A process that has dropped its lock may
// still be ending and hold its running image, so it is waited for. The wait is
// short, because the number may already belong to a process outside the machine.
bool HasEnded(const ProcessFiles& files) {
    if (IsHeld(files.table.get())) return false;
    if (files.process) (void)WaitForEnd(files.process.get(), kDyingMilliseconds);
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
    own.table = EnterTable(TableFolder().c_str());
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

Descriptor EnterTable(const char* folder) {
    char fresh[PATH_MAX];
    char path[PATH_MAX];
    const int length = std::snprintf(path, sizeof path, "%s/%d", folder, static_cast<int>(getpid()));
    if (length < 0 || static_cast<std::size_t>(length) + sizeof ".new" > sizeof fresh) return Descriptor();
    std::snprintf(fresh, sizeof fresh, "%s/new.%d", folder, static_cast<int>(getpid()));
    // Locked first under another name, so that nobody sees an entry without its lock. The entry of an ended process
    // keeps its record for those that have it open.
    Descriptor table(open(fresh, O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0666));
    if (!table || flock(table.get(), LOCK_EX) != 0 || rename(fresh, path) != 0) return Descriptor();
    return table;
}

void HandOver(int table, int image) {
    setenv(kHandedOver, (std::to_string(table) + "," + std::to_string(image)).c_str(), 1);
}

void BeginProcess() {
    // Registered before anything of the program's, so it runs after all of that.
    on_exit(
        [](int exitCode, void*) {
            RecordOwnExit(static_cast<DWORD>(exitCode));
            WriteCounts();
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
    if (!files.process || !files.table || HasEnded(files) || WaitForEnd(files.process.get(), 0))
        return std::nullopt;
    return files;
}

void RecordExitCode(int table, DWORD exitCode) {
    (void)!pwrite(table, &exitCode, sizeof exitCode, 0);
}

std::optional<DWORD> RecordedExitCode(int table) {
    DWORD exitCode = 0;
    if (pread(table, &exitCode, sizeof exitCode, 0) != sizeof exitCode) return std::nullopt;
    return exitCode;
}

void PruneTable() {
    for (const DWORD id : ListedIds()) {
        const ProcessFiles files = OpenProcessFiles(id);
        if (files.table && HasEnded(files)) unlink(EntryPath(id).c_str());
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

std::vector<DWORD> ProcessIds() {
    std::vector<DWORD> running;
    for (const DWORD id : ListedIds())
        if (id != static_cast<DWORD>(TheEntry().pid) && FindProcess(id)) running.push_back(id);
    return running;
}

bool EndProcesses(DWORD milliseconds) {
    for (const DWORD id : ProcessIds())
        if (const auto files = FindProcess(id))
            (void)pidfd_send_signal(files->process.get(), SIGKILL, nullptr, 0);
    return WaitForProcesses(milliseconds);
}

bool WaitForProcesses(DWORD milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    const auto left = [&]() -> DWORD {
        if (milliseconds == INFINITE) return INFINITE;
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        return static_cast<DWORD>(std::max<long>(rest, 0));
    };
    // A process that ends may have started others after the table was read, so the table is read until it lists none.
    for (;;) {
        bool any = false;
        for (const DWORD id : ListedIds()) {
            if (id == static_cast<DWORD>(TheEntry().pid)) continue;
            any = true;
            const ProcessFiles files = OpenProcessFiles(id);
            if (!files.process || !files.table || HasEnded(files)) continue;
            if (!WaitForEnd(files.process.get(), left())) return false;
        }
        if (!any) return true;
        const TableLock lock;
        PruneTable();
    }
}

}  // namespace winhost

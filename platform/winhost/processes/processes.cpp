// Processes: starting, finding, waiting for and ending them.
#include "processes/processes.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

// The host's header doesn't declare its functions as C functions.
extern "C" {
#include <sys/pidfd.h>
}

#include <cerrno>
#include <cstdarg>
#include <ctime>
#include <map>

#include "core/faults.h"
#include "core/handles.h"
#include "core/machine.h"
#include "core/trace.h"
#include "processes/clock.h"
#include "processes/process_table.h"
#include "processes/start.h"

namespace winhost {

namespace {

constexpr DWORD kAllProcessAccess = 0x001FFFFFu;
constexpr DWORD kKnownAccess =
    PROCESS_TERMINATE | PROCESS_QUERY_INFORMATION | PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE;

constexpr DWORD kStackOverrun = 0xC0000409u;  // the exit code of a program that Windows' runtime aborts
constexpr DWORD kAccessViolation = 0xC0000005u;
constexpr DWORD kEndedFromOutside = 1;  // the exit code of a program that the task manager ends

DWORD CrashCode(int signal) {
    if (signal == SIGABRT) return kStackOverrun;
    if (signal == SIGSEGV || signal == SIGBUS) return kAccessViolation;
    return kEndedFromOutside;
}

// A process of the machine, shared by all handles that this process has of it.
class Process {
  public:
    Process(ProcessFiles files, bool child) : m_files(std::move(files)), m_child(child) {}

    bool Wait(DWORD milliseconds) const {
        if (milliseconds != 0 && VirtualClock()) return WaitInVirtualTime(m_files, milliseconds);
        return WaitForEnd(m_files.process.get(), milliseconds);
    }

    DWORD ExitCode() {
        if (!Wait(0)) return STILL_ACTIVE;
        if (!m_exitCode) m_exitCode = m_child ? CodeOfChild() : RecordedExitCode(m_files.table.get());
        // The host tells only the starting process how a process ended.
        if (!m_exitCode) NotModelled("GetExitCodeProcess", "a crashed process that another one had started");
        return *m_exitCode;
    }

    bool Terminate(DWORD exitCode) {
        // A process that is ending keeps its exit code.
        if (Wait(0) || RecordedExitCode(m_files.table.get())) return false;
        RecordExitCode(m_files.table.get(), exitCode);
        return pidfd_send_signal(m_files.process.get(), SIGKILL, nullptr, 0) == 0;
    }

  private:
    DWORD CodeOfChild() {
        siginfo_t end = {};
        if (waitid(P_PIDFD, static_cast<id_t>(m_files.process.get()), &end, WEXITED) != 0)
            NotModelled("GetExitCodeProcess", "a child that somebody else has waited for");
        const auto recorded = RecordedExitCode(m_files.table.get());
        if (end.si_code == CLD_EXITED) return recorded.value_or(static_cast<DWORD>(end.si_status));
        return end.si_status == SIGKILL && recorded ? *recorded : CrashCode(end.si_status);
    }

    ProcessFiles m_files;
    bool m_child;
    std::optional<DWORD> m_exitCode;
};

class ProcessHandle : public KernelObject {
  public:
    ProcessHandle(std::shared_ptr<Process> process, DWORD id, DWORD access)
        : m_process(std::move(process)), m_id(id), m_access(access) {}
    DWORD Wait(DWORD milliseconds) override {
        if (!Allows(SYNCHRONIZE)) return WAIT_FAILED;
        return m_process->Wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    }
    // Whether the handle has one of these rights. Sets the last error when it has none.
    bool Allows(DWORD access) const {
        if (m_access & access) return true;
        SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    Process& process() const { return *m_process; }
    DWORD id() const { return m_id; }

  private:
    std::shared_ptr<Process> m_process;
    DWORD m_id;
    DWORD m_access;
};

// A program's first thread ends with the program. No program here waits for a thread.
class ThreadHandle : public KernelObject {
  public:
    DWORD Wait(DWORD) override { NotModelled("WaitForSingleObject", "a thread"); }
};

// Children that nobody has waited for. The host keeps their ids until then.
std::map<DWORD, std::shared_ptr<Process>>& ChildProcesses() {
    static auto* children = new std::map<DWORD, std::shared_ptr<Process>>;
    return *children;
}

void LetEndedChildrenGo() {
    auto& children = ChildProcesses();
    for (auto child = children.begin(); child != children.end();) {
        if (!child->second->Wait(0)) {
            ++child;
            continue;
        }
        // ExitCode also waits for the child.
        (void)child->second->ExitCode();
        child = children.erase(child);
    }
}

void AddChild(StartedProcess started, PROCESS_INFORMATION* information) {
    const auto id = static_cast<DWORD>(started.id);
    const auto process = std::make_shared<Process>(std::move(started.files), true);
    ChildProcesses()[id] = process;
    information->hProcess = AddHandle(std::make_shared<ProcessHandle>(process, id, kAllProcessAccess));
    information->hThread = AddHandle(std::make_shared<ThreadHandle>());
    information->dwProcessId = id;
    information->dwThreadId = id;
}

bool IsOwnPseudoHandle(HANDLE handle) {
    return handle == GetCurrentProcess();
}

[[noreturn]] void EndThisProcess(DWORD exitCode) {
    std::fflush(nullptr);
    RecordOwnExit(exitCode);
    WriteCounts();
    TraceEnd(exitCode);
    // The host keeps only eight bits of the exit code. A failure must not become 0.
    _exit(exitCode != 0 && (exitCode & 0xFF) == 0 ? 1 : static_cast<int>(exitCode & 0xFF));
}

}  // namespace

Whose WhoseHandle(HANDLE handle) {
    if (IsOwnPseudoHandle(handle)) return Whose::ThisProcess;
    const auto found = HandleAs<ProcessHandle>(handle);
    if (!found) return Whose::NoProcess;
    return found->id() == GetCurrentProcessId() ? Whose::ThisProcess : Whose::OtherProcess;
}

}  // namespace winhost

BOOL CreateProcessW(LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES processSecurity,
                    LPSECURITY_ATTRIBUTES threadSecurity, BOOL inheritHandles, DWORD flags,
                    LPVOID environment, LPCWSTR folder, STARTUPINFOW* startup, PROCESS_INFORMATION* process) {
    if (winhost::Fails("CreateProcessW")) return FALSE;
    if (application) winhost::NotModelled("CreateProcessW", "an application name");
    if (processSecurity || threadSecurity || inheritHandles || environment)
        winhost::NotModelled("CreateProcessW", "security, inherited handles or an environment of its own");
    if (flags != 0) winhost::NotModelled("CreateProcessW", "flags " + std::to_string(flags));
    if (startup->dwFlags != 0)
        winhost::NotModelled("CreateProcessW", "start-up flags " + std::to_string(startup->dwFlags));
    if (startup->lpDesktop) winhost::NotModelled("CreateProcessW", "another desktop");
    *process = {};
    if (!commandLine) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    winhost::LetEndedChildrenGo();
    const std::u16string program = winhost::FindCommand(commandLine);
    if (program.empty()) return FALSE;
    auto started = winhost::StartProgram(program, commandLine, folder);
    if (!started) return FALSE;
    winhost::AddChild(std::move(*started), process);
    return TRUE;
}

INT_PTR _wexecl(const char16_t* program, const char16_t* argument0, ...) {
    if (winhost::Fails("_wexecl")) {
        errno = EACCES;
        return -1;
    }
    std::u16string commandLine;
    va_list arguments;
    va_start(arguments, argument0);
    for (const char16_t* text = argument0; text; text = va_arg(arguments, const char16_t*)) {
        if (text != argument0) commandLine += u' ';
        commandLine += text;
    }
    va_end(arguments);
    const std::u16string_view name = program;
    const auto separator = name.find_last_of(u"\\/");
    if (name.find(u'.', separator == name.npos ? 0 : separator) == name.npos)
        winhost::NotModelled("_wexecl", "a program without an extension");
    std::optional<winhost::TracedCall> traced;
    if (winhost::Tracing()) {
        traced.emplace("_wexecl");
        traced->Show("program", program);
        traced->Show("commandLine", commandLine.c_str());
    }
    const bool started = winhost::StartProgram(program, commandLine, nullptr).has_value();
    if (traced) traced->End(started ? 0 : -1);
    if (!started) {
        errno = GetLastError() == ERROR_BAD_EXE_FORMAT ? ENOEXEC : ENOENT;
        return -1;
    }
    // The runtime can't replace a program by another. It starts the other one and ends without exit handlers.
    winhost::EndThisProcess(0);
}

HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD id) {
    if (winhost::Fails("OpenProcess")) return nullptr;
    if (inherit) winhost::NotModelled("OpenProcess", "an inherited handle");
    if ((access & ~winhost::kKnownAccess) != 0)
        winhost::NotModelled("OpenProcess", "access " + std::to_string(access));
    auto files = winhost::FindProcess(id);
    if (!files) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const auto child = winhost::ChildProcesses().find(id);
    const auto process = child != winhost::ChildProcesses().end()
                             ? child->second
                             : std::make_shared<winhost::Process>(std::move(*files), false);
    return winhost::AddHandle(std::make_shared<winhost::ProcessHandle>(process, id, access));
}

BOOL TerminateProcess(HANDLE handle, UINT exitCode) {
    if (winhost::Fails("TerminateProcess")) return FALSE;
    if (winhost::IsOwnPseudoHandle(handle)) winhost::EndThisProcess(exitCode);
    const auto process = winhost::HandleAs<winhost::ProcessHandle>(handle);
    if (!process || !process->Allows(PROCESS_TERMINATE)) return FALSE;
    if (process->id() == GetCurrentProcessId()) winhost::EndThisProcess(exitCode);
    if (process->process().Terminate(exitCode)) return TRUE;
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL GetExitCodeProcess(HANDLE handle, LPDWORD exitCode) {
    if (winhost::Fails("GetExitCodeProcess")) return FALSE;
    if (winhost::IsOwnPseudoHandle(handle)) {
        *exitCode = STILL_ACTIVE;
        return TRUE;
    }
    const auto process = winhost::HandleAs<winhost::ProcessHandle>(handle);
    if (!process || !process->Allows(PROCESS_QUERY_INFORMATION | PROCESS_QUERY_LIMITED_INFORMATION))
        return FALSE;
    *exitCode = process->process().ExitCode();
    return TRUE;
}

HANDLE GetCurrentProcess() {
    return INVALID_HANDLE_VALUE;
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(getpid());
}

DWORD GetCurrentThreadId() {
    return static_cast<DWORD>(gettid());
}

void ExitProcess(UINT exitCode) {
    winhost::EndThisProcess(exitCode);
}

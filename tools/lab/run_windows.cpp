#include <windows.h>
#include <winternl.h>

#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "common/hang.h"
#include "common/text.h"
#include "lab/lab.h"
#include "lab/program.h"
#include "lab/stand_in.h"
#include "support/registry.h"

namespace lab {

namespace {

constexpr DWORD kPollMs = 10;

// Reads the memory at an address in another process.
template <class Record>
bool Read(HANDLE process, const void* address, Record& record) {
    return ReadProcessMemory(process, address, &record, sizeof record, nullptr);
}

std::string CommandLineOf(HANDLE process) {
    PROCESS_BASIC_INFORMATION basic = {};
    PEB block = {};
    RTL_USER_PROCESS_PARAMETERS parameters = {};
    if (NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic, nullptr) != 0 ||
        !Read(process, basic.PebBaseAddress, block) || !Read(process, block.ProcessParameters, parameters))
        return "a program";
    tools::WideText line(parameters.CommandLine.Length / sizeof(WCHAR), 0);
    (void)ReadProcessMemory(process, parameters.CommandLine.Buffer, line.data(), line.size() * sizeof(WCHAR),
                            nullptr);
    return tools::Utf8(line);
}

// One program with everything that it starts. This process is their debugger, so it sees each of them from its start.
class Following {
  public:
    Outcome ToEnd(const std::string& commandLine, const Conditions& conditions) {
        const Program program(tools::Wide(commandLine), tools::Wide(conditions.folder), DEBUG_PROCESS);
        m_outcome.started = static_cast<bool>(program);
        m_outcome.exitCode = GetLastError();
        if (!m_outcome.started) return m_outcome;
        m_first = program.Id();
        {
            const std::jthread person = StandIn({.isOwn = [this](DWORD id) { return IsOwn(id); },
                                                 .answer = [this](const Box& box) { return Answer(box); },
                                                 .leave = [this](DWORD id) { EndSession(id); }});
            FollowPrograms();
        }
        m_outcome.exitCode = program.ExitCode();
        return m_outcome;
    }

  private:
    void FollowPrograms() {
        DWORD start = GetTickCount();
        do {
            DEBUG_EVENT event;
            if (m_outcome.end != End::Late && GetTickCount() - start > tools::kHangMs) {
                m_outcome.end = End::Late;
                EndPrograms();
            }
            if (!WaitForDebugEvent(&event, kPollMs)) continue;
            DWORD status = DBG_CONTINUE;
            Follow(event, status);
            if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT && event.dwProcessId == m_first)
                start = GetTickCount();
            (void)ContinueDebugEvent(event.dwProcessId, event.dwThreadId, status);
        } while (!m_begun || !m_running.empty());
        if (m_outcome.end == End::Late) m_outcome.messages.push_back(kStillRunning);
    }

    void Follow(const DEBUG_EVENT& event, DWORD& status) {
        const std::lock_guard lock(m_mutex);
        switch (event.dwDebugEventCode) {
            case CREATE_PROCESS_DEBUG_EVENT:
                m_begun = true;
                m_running[event.dwProcessId] = event.u.CreateProcessInfo.hProcess;
                if (event.dwProcessId != m_first)
                    m_outcome.programs.push_back(CommandLineOf(event.u.CreateProcessInfo.hProcess));
                (void)CloseHandle(event.u.CreateProcessInfo.hFile);
                break;
            case LOAD_DLL_DEBUG_EVENT:
                (void)CloseHandle(event.u.LoadDll.hFile);
                break;
            case EXIT_PROCESS_DEBUG_EVENT:
                m_running.erase(event.dwProcessId);
                break;
            case EXCEPTION_DEBUG_EVENT:
                // The system reports a new program to its debugger by a breakpoint.
                if (event.u.Exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT)
                    status = DBG_EXCEPTION_NOT_HANDLED;
                break;
            default:
                break;
        }
    }

    void EndPrograms() {
        const std::lock_guard lock(m_mutex);
        for (const auto& [id, process] : m_running)
            (void)TerminateProcess(process, 1);
    }

    bool IsOwn(DWORD id) {
        const std::lock_guard lock(m_mutex);
        return m_running.contains(id);
    }

    int Answer(const Box& box) {
        const std::lock_guard lock(m_mutex);
        m_outcome.messages.push_back(
            {tools::Utf8(box.caption), tools::Utf8(box.text), ButtonName(box.safest)});
        return box.safest;
    }

    void EndSession(DWORD id) {
        const std::lock_guard lock(m_mutex);
        const auto found = m_running.find(id);
        if (found == m_running.end() || !m_sessions.insert(id).second) return;
        (void)TerminateProcess(found->second, kSessionEnded);
        m_outcome.messages.push_back(kPageForAPerson);
        if (m_outcome.end == End::ByItself) m_outcome.end = End::NobodyThere;
    }

    std::mutex m_mutex;
    Outcome m_outcome;
    DWORD m_first = 0;
    bool m_begun = false;
    std::map<DWORD, HANDLE> m_running;
    std::set<DWORD> m_sessions;  // programs that showed a page
};

}  // namespace

Outcome Run(const std::string& commandLine, const Conditions& conditions) {
    // The first window starts the program of the desktop, which is not part of the run.
    (void)GetDesktopWindow();
    return Following().ToEnd(commandLine, conditions);
}

bool IsUnchanged(HKEY key, const std::string& name) {
    struct Watch {
        RegistryKey key;
        KernelHandle changed{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    };
    static std::map<std::string, Watch> watches;
    Watch& watch = watches[name];
    // A key that is deleted, and perhaps made again, tells nothing more.
    const auto isThere = [&] {
        return RegQueryInfoKeyW(watch.key.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    };
    if (watch.key && WaitForSingleObject(watch.changed.get(), 0) == WAIT_TIMEOUT && isThere()) return true;
    // To close the key sets the event.
    watch.key = OpenRegKey(key, nullptr, KEY_READ);
    ResetEvent(watch.changed.get());
    constexpr DWORD kAll = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
    if (RegNotifyChangeKeyValue(watch.key.get(), TRUE, kAll, watch.changed.get(), TRUE) != ERROR_SUCCESS)
        watch.key.reset();
    return false;
}

bool Restart() {
    const Program program(L"C:\\windows\\system32\\wineboot.exe -r");
    return program && program.EndsWithin(tools::kHangMs) && program.ExitCode() == 0;
}

}  // namespace lab

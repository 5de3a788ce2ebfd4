#include <windows.h>
#include <winternl.h>

#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "common/hang.h"
#include "common/message_boxes.h"
#include "common/text.h"
#include "rehearse/machine.h"

namespace rehearse {

namespace {

constexpr DWORD kPollMs = 10;
constexpr DWORD kPageMs = 1500;  // a page that is shown this long waits for a person

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
class Run {
  public:
    Outcome ToEnd(const std::string& commandLine, const std::string& folder) {
        tools::WideText line = tools::Wide(commandLine);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        m_outcome.started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, DEBUG_PROCESS,
                                           nullptr, tools::Wide(folder).c_str(), &startup, &process);
        if (!m_outcome.started) {
            m_outcome.exitCode = GetLastError();
            return m_outcome;
        }
        (void)CloseHandle(process.hThread);
        m_first = process.dwProcessId;
        {
            const std::jthread person([this](const std::stop_token& stop) { StandIn(stop); });
            FollowPrograms();
        }
        (void)GetExitCodeProcess(process.hProcess, &m_outcome.exitCode);
        (void)CloseHandle(process.hProcess);
        return m_outcome;
    }

  private:
    void FollowPrograms() {
        DWORD start = GetTickCount();
        do {
            DEBUG_EVENT event;
            if (m_outcome.finished && GetTickCount() - start > tools::kHangMs) {
                m_outcome.finished = false;
                EndPrograms();
            }
            if (!WaitForDebugEvent(&event, kPollMs)) continue;
            DWORD status = DBG_CONTINUE;
            Follow(event, status);
            if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT && event.dwProcessId == m_first)
                start = GetTickCount();
            (void)ContinueDebugEvent(event.dwProcessId, event.dwThreadId, status);
        } while (!m_begun || !m_running.empty());
        if (!m_outcome.finished) m_outcome.messages.push_back(kStillRunning);
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

    bool IsOwn(HWND window) {
        DWORD id = 0;
        GetWindowThreadProcessId(window, &id);
        const std::lock_guard lock(m_mutex);
        return m_running.contains(id);
    }

    // Answers message boxes and ends pages, because there is no person at the machine.
    void StandIn(const std::stop_token& stop) {
        std::map<HWND, DWORD> pages;
        while (!stop.stop_requested()) {
            for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, L"#32770", nullptr));) {
                if (!IsWindowVisible(window) || !IsOwn(window)) continue;
                if (tools::IsMessageBox(window))
                    Answer(window);
                else if (GetTickCount() - pages.emplace(window, GetTickCount()).first->second > kPageMs)
                    EndSession(window);
            }
            Sleep(kPollMs);
        }
    }

    void Answer(HWND box) {
        const int button = tools::SafestButton(box);
        const Message message = {tools::Utf8(tools::TextOf(box)),
                                 tools::Utf8(tools::TextOf(GetDlgItem(box, tools::kBoxText))),
                                 ButtonName(button)};
        {
            const std::lock_guard lock(m_mutex);
            m_outcome.messages.push_back(message);
        }
        tools::AnswerBox(box, button);
    }

    void EndSession(HWND page) {
        DWORD id = 0;
        GetWindowThreadProcessId(page, &id);
        const std::lock_guard lock(m_mutex);
        const auto found = m_running.find(id);
        if (found == m_running.end() || !m_sessions.insert(id).second) return;
        (void)TerminateProcess(found->second, kSessionEnded);
        m_outcome.messages.push_back(kPageForAPerson);
    }

    std::mutex m_mutex;
    Outcome m_outcome;
    DWORD m_first = 0;
    bool m_begun = false;
    std::map<DWORD, HANDLE> m_running;
    std::set<DWORD> m_sessions;  // programs that showed a page
};

}  // namespace

Outcome RunToEnd(const std::string& commandLine, const std::string& folder) {
    // The first window starts the program of the desktop, which is not part of the run.
    (void)GetDesktopWindow();
    return Run().ToEnd(commandLine, folder);
}

bool Restart() {
    WCHAR line[] = L"C:\\windows\\system32\\wineboot.exe -r";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return false;
    const bool ended = WaitForSingleObject(process.hProcess, tools::kHangMs) == WAIT_OBJECT_0;
    (void)CloseHandle(process.hThread);
    (void)CloseHandle(process.hProcess);
    return ended;
}

}  // namespace rehearse

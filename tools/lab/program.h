// A program that a tool, a test or a benchmark has started.
#pragma once

#include <windows.h>

#include "common/text.h"
#include "support/handles.h"

namespace lab {

// Starts the program. The destructor lets it run on.
class Program {
  public:
    Program() = default;
    // Without a folder, the current one is the program's. If it does not start, the object is false.
    explicit Program(tools::WideText commandLine, const tools::WideText& folder = {}, DWORD flags = 0) {
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION made = {};
        if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, flags, nullptr,
                            folder.empty() ? nullptr : folder.c_str(), &startup, &made))
            return;
        m_process.reset(made.hProcess);
        m_thread.reset(made.hThread);
        m_id = made.dwProcessId;
    }

    explicit operator bool() const { return m_process != nullptr; }
    HANDLE Process() const { return m_process.get(); }
    HANDLE Thread() const { return m_thread.get(); }
    DWORD Id() const { return m_id; }
    bool EndsWithin(DWORD milliseconds) const {
        return WaitForSingleObject(Process(), milliseconds) == WAIT_OBJECT_0;
    }
    // STILL_ACTIVE while it runs, 0 if it can't be told.
    DWORD ExitCode() const {
        DWORD exitCode = 0;
        (void)GetExitCodeProcess(Process(), &exitCode);
        return exitCode;
    }

  private:
    KernelHandle m_process, m_thread;
    DWORD m_id = 0;
};

}  // namespace lab

// timed COMMAND-LINE: runs a program of Windows, and prints the seconds until its own end and until the end of all that it has started.
// timed link TARGET LINK: saves one shell link, and does nothing else.
#include <windows.h>
#include <shlobj.h>

#include <chrono>
#include <cstdio>

#include "lab/program.h"

namespace {

constexpr int kCantRun = 2;

int SaveLink(LPCWSTR target, LPCWSTR path) {
    IShellLinkW* link = nullptr;
    IPersistFile* file = nullptr;
    const bool isSaved = SUCCEEDED(CoInitialize(nullptr)) &&
                         SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                                    IID_IShellLinkW, reinterpret_cast<void**>(&link))) &&
                         SUCCEEDED(link->SetPath(target)) &&
                         SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file))) &&
                         SUCCEEDED(file->Save(path, TRUE));
    return isSaved ? 0 : kCantRun;
}

int Time(const tools::WideText& line) {
    // Wine's first window starts the program of the desktop, which goes on running and isn't measured.
    (void)GetDesktopWindow();
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_ASSOCIATE_COMPLETION_PORT port = {nullptr,
                                                CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1)};
    (void)SetInformationJobObject(job, JobObjectAssociateCompletionPortInformation, &port, sizeof port);
    const auto begin = std::chrono::steady_clock::now();
    const auto seconds = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    };
    const lab::Program program(line, {}, CREATE_SUSPENDED);
    if (!program || !AssignProcessToJobObject(job, program.Process())) return kCantRun;
    (void)ResumeThread(program.Thread());
    (void)program.EndsWithin(INFINITE);
    const double own = seconds();
    DWORD event = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    while (event != JOB_OBJECT_MSG_ACTIVE_PROCESS_ZERO)
        if (!GetQueuedCompletionStatus(port.CompletionPort, &event, &key, &overlapped, INFINITE))
            return kCantRun;
    std::printf("%f %f\n", own, seconds());
    return static_cast<int>(program.ExitCode());
}

}  // namespace

int wmain(int count, wchar_t** values);

int wmain(int count, wchar_t** values) {
    return count == 4 ? SaveLink(values[2], values[3]) : count == 2 ? Time(values[1]) : kCantRun;
}

// winmachine: works on an embedded machine from the host.
#include <cstring>
#include <exception>
#include <span>
#include <string_view>

#include "processes/arguments.h"
#include "processes/process_table.h"
#include <winhost.h>

namespace {

using Arguments = std::span<char*>;

constexpr int kFailed = 1;
constexpr int kMisused = 2;

// The lines before the empty one say how to use the program.
constexpr std::string_view kHelp =
    R"(usage: winmachine create DIR
       winmachine run [--trace FILE] DIR 'C:\path\program.exe' [ARGUMENT...]
       winmachine restart DIR
       winmachine events DIR

Works on an embedded machine, which is a folder.

  create   makes a new machine in an empty or missing folder
  run      runs a program of the machine in its own folder, waits for it and all that it started, and ends with its exit code.
           --trace writes their platform calls to FILE, a line each
  restart  restarts the machine and carries out the delayed moves and deletes
  events   prints what the machine saw besides files and registry
)";

void Print(std::string_view text, std::FILE* file) {
    (void)std::fwrite(text.data(), 1, text.size(), file);
}

int Misused() {
    Print(kHelp.substr(0, kHelp.find("\n\n") + 1), stderr);
    return kMisused;
}

int Run(const char* folder, Arguments command) {
    const std::u16string program = winhost::Utf16(command[0]);
    winhost::EnterMachine(folder, program);
    std::u16string line;
    for (const char* argument : command)
        line += (line.empty() ? u"" : u" ") + winhost::QuoteArgument(winhost::Utf16(argument));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        std::fprintf(stderr, "winmachine: %s can't be started: error %u\n", command[0], GetLastError());
        return kFailed;
    }
    // This process leaves the table. Otherwise two runs on one machine would wait for each other and never end.
    winhost::LeaveTable();
    DWORD exitCode = 0;
    (void)WaitForSingleObject(process.hProcess, INFINITE);
    (void)GetExitCodeProcess(process.hProcess, &exitCode);
    (void)CloseHandle(process.hThread);
    (void)CloseHandle(process.hProcess);
    (void)winhost::WaitForProcesses(INFINITE);
    // The host keeps only eight bits of the exit code. A failure must not become 0.
    return exitCode != 0 && (exitCode & 0xFF) == 0 ? kFailed : static_cast<int>(exitCode & 0xFF);
}

int RunCommand(const char* command, const char* folder, Arguments rest) {
    const auto is = [&](const char* name) { return std::strcmp(command, name) == 0; };
    if (is("create") && rest.empty()) {
        winhost::CreateMachine(folder);
    } else if (is("restart") && rest.empty()) {
        winhost::EnterMachine(folder);
        winhost::RestartMachine();
    } else if (is("events") && rest.empty()) {
        winhost::EnterMachine(folder);
        for (const auto& event : winhost::Events())
            std::printf("%s\n", event.c_str());
    } else if (is("run") && !rest.empty()) {
        return Run(folder, rest);
    } else {
        return Misused();
    }
    return 0;
}

}  // namespace

int main(int count, char** values) {
    Arguments arguments(values, static_cast<std::size_t>(count));
    const std::string_view only = count == 2 ? values[1] : "";
    if (only == "--help" || only == "--version") {
        Print(only == "--help" ? kHelp : "winmachine " QTV_VERSION "\n", stdout);
        return 0;
    }
    if (count < 3) return Misused();
    const char* command = arguments[1];
    arguments = arguments.subspan(2);
    try {
        if (std::strcmp(command, "run") == 0 && std::strcmp(arguments[0], "--trace") == 0) {
            if (arguments.size() < 3) return Misused();
            winhost::SetProgramTrace(arguments[1]);
            arguments = arguments.subspan(2);
        }
        return RunCommand(command, arguments[0], arguments.subspan(1));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "winmachine: %s\n", failure.what());
        return kFailed;
    }
}

#include <fcntl.h>

#include <cstdlib>
#include <fstream>

#include "rehearse/machine.h"
#include "common/hang.h"
#include "common/redirected_streams.h"
#include "common/text.h"
#include <winhost.h>

namespace rehearse {

namespace {

// What the programs of the machine write to standard error.
std::filesystem::path ErrorFile() {
    return winhost::StateFolder() / "errors";
}

void TakeEvents(Outcome& outcome) {
    bool first = true;
    for (const std::string& event : winhost::Events()) {
        std::vector<std::string> fields = winhost::EventFields(event);
        fields.resize(5);
        const std::string& kind = fields[0];
        if (kind == "start-process") {
            if (!first) outcome.programs.push_back(fields[1]);
            first = false;
        } else if (kind == "shell-execute") {
            outcome.programs.push_back(fields[2]);
        } else if (kind == "exit-windows") {
            outcome.messages.push_back({"", "the machine is to be restarted", "not yet"});
        } else if (kind.ends_with("-box")) {
            outcome.messages.push_back({fields[1], fields[2], ButtonName(std::atoi(fields[4].c_str()))});
        }
    }
}

// The messages of the machine itself about a program that it can't run to the end.
void TakeComplaints(Outcome& outcome) {
    std::ifstream errors(ErrorFile());
    for (std::string line; std::getline(errors, line);)
        if (line.starts_with("winhost: ")) outcome.messages.push_back({"", line, "the program was ended"});
}

}  // namespace

Outcome RunToEnd(const std::string& commandLine, const std::string& folder) {
    winhost::ClearEvents();
    // Standard input is empty, so that no program asks at the terminal.
    const tools::RedirectedStreams streams(
        {open("/dev/null", O_RDONLY | O_CLOEXEC), open("/dev/null", O_WRONLY | O_CLOEXEC),
         open(ErrorFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666)});
    tools::WideText line = tools::Wide(commandLine);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    Outcome outcome;
    outcome.started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                     tools::Wide(folder).c_str(), &startup, &process);
    if (!outcome.started) {
        outcome.exitCode = GetLastError();
        return outcome;
    }
    outcome.finished = WaitForSingleObject(process.hProcess, tools::kHangMs) == WAIT_OBJECT_0 &&
                       winhost::WaitForProcesses(tools::kHangMs);
    if (!outcome.finished) (void)winhost::EndProcesses(tools::kHangMs);
    (void)GetExitCodeProcess(process.hProcess, &outcome.exitCode);
    (void)CloseHandle(process.hThread);
    (void)CloseHandle(process.hProcess);
    TakeEvents(outcome);
    TakeComplaints(outcome);
    if (outcome.exitCode == kSessionEnded) outcome.messages.push_back(kPageForAPerson);
    if (!outcome.finished) outcome.messages.push_back(kStillRunning);
    return outcome;
}

bool Restart() {
    winhost::RestartMachine();
    return true;
}

}  // namespace rehearse

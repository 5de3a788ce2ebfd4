#include <fcntl.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "common/hang.h"
#include "common/redirected_streams.h"
#include "common/text.h"
#include "lab/lab.h"
#include "lab/program.h"
#include <winhost.h>

namespace lab {

namespace {

constexpr DWORD kPollMs = 20;
// A wizard that refuses so often is cancelled, and given up if that is refused as often.
constexpr int kMostPresses = 50;

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
            outcome.pages.push_back(fields[2]);
        } else if (kind == "exit-windows") {
            outcome.messages.push_back({"", "the machine is to be restarted", "not yet"});
        } else if (kind.ends_with("-box")) {
            outcome.messages.push_back({fields[1], fields[2], ButtonName(std::atoi(fields[4].c_str()))});
        }
    }
}

// Standard error, with the messages of the machine itself about a program that it can't run to the end.
void TakeErrors(Outcome& outcome) {
    std::ifstream file(ErrorFile());
    outcome.errors.assign(std::istreambuf_iterator<char>(file), {});
    std::istringstream errors(outcome.errors);
    for (std::string line; std::getline(errors, line);)
        if (line.starts_with("winhost: ")) outcome.messages.push_back({"", line, "the program was ended"});
}

// Presses a button of a dialog. Returns false if there is no dialog to see.
bool Press(int button) {
    HWND dialog = nullptr;
    do {
        dialog = FindWindowExW(nullptr, dialog, u"#32770", nullptr);
        if (!dialog) return false;
    } while (!IsWindowVisible(dialog));
    DWORD_PTR result = 0;
    (void)SendMessageTimeoutW(GetDlgItem(dialog, button), BM_CLICK, 0, 0, SMTO_NORMAL, tools::kHangMs,
                              &result);
    return true;
}

// Waits until `ends` says so. Meanwhile the person presses the buttons of pages: Next, and if that doesn't help, Cancel and
// Yes. Sets the end if it doesn't come.
bool Await(const Conditions& conditions, const std::function<bool(DWORD)>& ends, End& end) {
    int presses = 0;
    const auto press = conditions.press ? conditions.press : [] { return Press(IDOK); };
    const DWORD step = conditions.isAttended ? kPollMs : tools::kHangMs;
    for (DWORD waited = 0; waited < tools::kHangMs; waited += step) {
        if (ends(step)) return true;
        if (!conditions.isAttended) continue;
        if (presses == kMostPresses) winhost::SetBoxAnswers(std::vector<int>(kMostPresses, IDYES));
        if (!(presses < kMostPresses ? press() : Press(IDCANCEL)) || ++presses < 2 * kMostPresses) continue;
        end = End::GivenUp;
        return false;
    }
    end = End::Late;
    return false;
}

}  // namespace

Outcome Run(const std::string& commandLine, const Conditions& conditions) {
    winhost::ClearEvents();
    if (conditions.isAttended) winhost::SetBoxAnswers(conditions.answers);
    // Standard input is empty, so that no program asks at the terminal.
    const tools::RedirectedStreams streams(
        {open("/dev/null", O_RDONLY | O_CLOEXEC), open("/dev/null", O_WRONLY | O_CLOEXEC),
         open(ErrorFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666)});
    Outcome outcome;
    const Program program(tools::Wide(commandLine), tools::Wide(conditions.folder));
    outcome.started = static_cast<bool>(program);
    outcome.exitCode = GetLastError();
    if (!outcome.started) return outcome;
    if (conditions.meanwhile) conditions.meanwhile();
    const bool ended = Await(
                           conditions, [&](DWORD ms) { return program.EndsWithin(ms); }, outcome.end) &&
                       Await(conditions, winhost::WaitForProcesses, outcome.end);
    if (!ended) (void)winhost::EndProcesses(tools::kHangMs);
    outcome.exitCode = program.ExitCode();
    TakeEvents(outcome);
    TakeErrors(outcome);
    if (outcome.exitCode == kSessionEnded) {
        outcome.messages.push_back(kPageForAPerson);
        outcome.end = End::NobodyThere;
    }
    if (!ended) outcome.messages.push_back(kStillRunning);
    return outcome;
}

bool IsUnchanged(HKEY, const std::string&) {
    return false;
}

bool Restart() {
    winhost::RestartMachine();
    return true;
}

}  // namespace lab

// The commands for embedded machines.
//   create root=     makes a machine and enters it
//   enter root=      enters a machine
//   copy from= to=   copies a machine that no process runs in, in place of what is there, and enters the copy
//   value key= name= text=    writes a value of HKCU or HKLM
//   hold runs= read=     keeps these files in use, as a loaded library or for reading, until the next hold
//   run command= watched= call= nth= kills=1 space= steps= yes=1 second= delay= presses= trace=1
//       runs a program with a virtual clock and with a person. The calls of the watched programs (a pattern) are counted. A
//       call of these fails or kills; the disk has space for so many bytes; the power is cut after so many steps. Boxes get Yes
//       instead of their safest answer. A second program starts after a delay in ms. `presses` is the seed of random moments
//       at which Next is pressed. With `trace` the answer has the calls of all programs, with neutral names.
//   restart steps=   the next start, in which the power is cut after so many steps
//   used             bytes on the drives and in the registry
//   wait             waits until no program runs
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>

#include "common/hang.h"
#include "lab/program.h"
#include "lab/session.h"
#include "support/registry.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace lab {

namespace {

Answer EnterCopy(const Fields& fields) {
    const fs::path from = fields.Text("from"), to = fields.Text("to");
    fs::remove_all(to);
    fs::create_directories(to);
    for (auto entry = fs::recursive_directory_iterator(from); entry != fs::recursive_directory_iterator();
         ++entry) {
        const fs::path name = entry->path().lexically_relative(from);
        // Programs of the package are shared by hard links, and so is its download.
        const bool isOfPackage =
            name.native().starts_with("C/Package/") || name.native().starts_with("C/Download/");
        if (!entry->is_directory() && isOfPackage && name.extension() == ".exe")
            fs::create_hard_link(entry->path(), to / name);
        else
            winhost::CopyStored(entry->path(), to / name);
        // These are files of ended processes. A queue is also a socket, which can't be copied.
        if (name == ".state/processes" || name == ".state/queues") entry.disable_recursion_pending();
    }
    winhost::EnterMachine(to);
    return {};
}

Answer Create(const Fields& fields) {
    winhost::CreateMachine(fields.Text("root"));
    winhost::EnterMachine(fields.Text("root"));
    (void)Names();  // makes the folders of the shell
    return {};
}

Answer WriteValue(const Fields& fields) {
    const std::string key = fields.Text("key");
    (void)SetRegString(key.starts_with("HKCU\\") ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
                       winhost::Utf16(key.substr(5)).c_str(), winhost::Utf16(fields.Text("name")).c_str(),
                       winhost::Utf16(fields.Text("text")).c_str());
    return {};
}

Answer Hold(const Fields& fields) {
    static std::vector<std::shared_ptr<void>> held;
    held.clear();
    for (const auto& [name, use] : {std::pair("runs", winhost::Use::Runs), {"read", winhost::Use::IsRead}})
        if (fields.contains(name)) held.push_back(winhost::HoldFile(winhost::Utf16(fields.Text(name)), use));
    return {};
}

Answer AnswerOf(const winhost::LimitsMet& met) {
    return {{"steps", Json(met.steps)},
            {"leastRefused", Json(met.leastRefused)},
            {"powerCut", Json(met.powerCut)},
            {"met", Json(met.call)}};
}

// Presses Next in every open wizard.
void PressNext() {
    for (HWND dialog = nullptr; (dialog = FindWindowExW(nullptr, dialog, u"#32770", nullptr));) {
        const HWND next = GetDlgItem(dialog, IDOK);
        if (next && IsWindowVisible(dialog) && IsWindowEnabled(next))
            (void)PostMessageW(next, BM_CLICK, 0, 0);
    }
}

void Wait(std::uint64_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

std::vector<std::string> Lines(const fs::path& file) {
    std::vector<std::string> lines;
    std::ifstream text(file);
    for (std::string line; std::getline(text, line);)
        lines.push_back(Neutral(line));
    return lines;
}

Answer RunDisturbed(const Fields& fields) {
    std::vector<winhost::Fault> faults;
    if (fields.contains("call"))
        faults.push_back({.call = fields.Text("call"),
                          .nth = static_cast<unsigned>(fields.Number("nth")),
                          .kill = fields.contains("kills")});
    winhost::SetVirtualClock(true);
    winhost::SetProgramFaults(fields.Text("watched"), faults);
    const fs::path trace = winhost::StateFolder() / "trace";
    if (fields.contains("trace")) winhost::SetProgramTrace(trace);
    Conditions conditions = {.isAttended = true};
    if (fields.contains("yes")) conditions.answers.assign(64, IDYES);
    Program second;
    if (fields.contains("second"))
        conditions.meanwhile = [&] {
            Wait(fields.Number("delay"));
            second = Program(tools::Wide(fields.Text("second")), u"C:\\");
        };
    std::mt19937 random(static_cast<unsigned>(fields.Number("presses")));
    if (fields.contains("presses"))
        conditions.press = [&] {
            Wait(random() % 20);
            PressNext();
            return false;
        };
    const bool limited = fields.contains("space") || fields.contains("steps");
    // They are found by writing to the machine, for which a limit may leave no space.
    (void)Names();
    if (limited)
        winhost::SetLimits(
            {.space = fields.Number("space", UINT64_MAX), .steps = fields.Number("steps", UINT64_MAX)});
    Answer answer = AnswerOf(Run(fields.Text("command"), conditions));
    winhost::ClearProgramTrace();
    if (fields.contains("trace")) answer["trace"] = Json(Lines(trace));
    answer["secondExitCode"] = Json(second.ExitCode());
    answer["calls"] = Json(winhost::ProgramCallCounts());
    if (limited) answer.merge(AnswerOf(winhost::LiftLimits()));
    return answer;
}

Answer CutRestart(const Fields& fields) {
    // Where the power is cut, the process ends.
    const pid_t id = fork();
    if (id == 0) {
        winhost::SetLimits({.steps = fields.Number("steps", UINT64_MAX)});
        _exit(Restart() ? 0 : 1);
    }
    (void)waitpid(id, nullptr, 0);
    return AnswerOf(winhost::LiftLimits());
}

const bool added = [] {
    const auto enter = [](const Fields& fields) {
        winhost::EnterMachine(fields.Text("root"));
        return Answer();
    };
    const auto wait = [](const Fields&) {
        if (!winhost::WaitForProcesses(tools::kHangMs)) throw std::runtime_error("programs hang");
        return Answer();
    };
    const auto used = [](const Fields&) { return Answer{{"bytes", Json(winhost::BytesUsed())}}; };
    std::map<std::string, Command> commands = {
        {"create", Create},      {"enter", enter}, {"copy", EnterCopy},
        {"value", WriteValue},   {"hold", Hold},   {"run", RunDisturbed},
        {"restart", CutRestart}, {"wait", wait},   {"used", used}};
    commands.merge(Commands());
    Commands().swap(commands);
    return true;
}();

}  // namespace

}  // namespace lab

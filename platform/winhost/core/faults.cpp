// All faults are served here. Every platform call begins with Fails or FaultOf: the call is counted by name, and its
// n-th use can be told to fail or to kill the process.
//
// Programs take their faults from the environment:
//   WINHOST_FAULTS    rules with semicolons between them: CALL#N, CALL#* (every use) or *#N (the n-th call of any
//                     name), each optionally followed by =ERROR for the error code, or by =kill
//   WINHOST_COUNTS    a host file. When the process ends, it adds a line "CALL N" for each call that it used
//   WINHOST_CONCERNS  the programs that the two above concern, by the name of their file, with * and ?; all without it
//   WINHOST_CLOCK     "virtual": time passes by waits only, which are over at once
// A process sets them for the programs that it starts (SetProgramFaults, SetVirtualClock).
#include "core/faults.h"

#include <fnmatch.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <mutex>

#include "core/machine.h"
#include <winhost.h>

namespace winhost {

namespace {

constexpr char kFaults[] = "WINHOST_FAULTS", kCounts[] = "WINHOST_COUNTS", kConcerns[] = "WINHOST_CONCERNS",
               kClock[] = "WINHOST_CLOCK";

thread_local const char* currentCall = "";

struct Seam {
    std::vector<Fault> faults;
    std::map<std::string, unsigned> counts;
    unsigned total = 0;
    bool concerned = true;
    bool virtualClock = false;
    std::mutex threads;
};

std::vector<Fault> ParseFaults(std::string_view text) {
    std::vector<Fault> faults;
    while (!text.empty()) {
        const auto end = std::min(text.find(';'), text.size());
        const std::string_view rule = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const auto mark = rule.find('#');
        if (mark == rule.npos) NotModelled("WINHOST_FAULTS", std::string(rule));
        const auto equals = std::min(rule.find('=', mark), rule.size());
        Fault fault{.call = std::string(rule.substr(0, mark))};
        const std::string nth(rule.substr(mark + 1, equals - mark - 1));
        fault.nth = nth == "*" ? 0 : static_cast<unsigned>(std::stoul(nth));
        if (equals < rule.size()) {
            const std::string value(rule.substr(equals + 1));
            fault.kill = value == "kill";
            if (!fault.kill) fault.error = static_cast<DWORD>(std::stoul(value));
        }
        faults.push_back(std::move(fault));
    }
    return faults;
}

std::string FormatFaults(const std::vector<Fault>& faults) {
    std::string text;
    for (const Fault& fault : faults) {
        text += (text.empty() ? "" : ";") + fault.call + '#';
        text += fault.nth ? std::to_string(fault.nth) : "*";
        if (fault.kill)
            text += "=kill";
        else if (fault.error)
            text += '=' + std::to_string(fault.error);
    }
    return text;
}

std::filesystem::path CountsFile() {
    return StateFolder() / "counts";
}

bool ConcernsThisProgram() {
    const char* pattern = std::getenv(kConcerns);
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).filename();
    return !pattern || fnmatch(pattern, program.c_str(), 0) == 0;
}

Seam& TheSeam() {
    // Never destroyed: static objects of the program make calls after this unit's own would have gone.
    static Seam* seam = [] {
        auto* made = new Seam;
        made->concerned = ConcernsThisProgram();
        const char* text = std::getenv(kFaults);
        if (text && made->concerned) made->faults = ParseFaults(text);
        const char* clock = std::getenv(kClock);
        made->virtualClock = clock && std::strcmp(clock, "virtual") == 0;
        return made;
    }();
    return *seam;
}

}  // namespace

void SetFaults(std::vector<Fault> faults) {
    Seam& seam = TheSeam();
    const std::lock_guard lock(seam.threads);
    seam.faults = std::move(faults);
    seam.counts.clear();
    seam.total = 0;
}

std::map<std::string, unsigned> CallCounts() {
    const std::lock_guard lock(TheSeam().threads);
    return TheSeam().counts;
}

void SetProgramFaults(const std::string& programs, const std::vector<Fault>& faults) {
    std::filesystem::remove(CountsFile());
    setenv(kCounts, CountsFile().c_str(), 1);
    setenv(kConcerns, programs.c_str(), 1);
    if (faults.empty())
        unsetenv(kFaults);
    else
        setenv(kFaults, FormatFaults(faults).c_str(), 1);
}

std::map<std::string, unsigned> ProgramCallCounts() {
    std::map<std::string, unsigned> counts;
    std::ifstream file(CountsFile());
    std::string call;
    for (unsigned count; file >> call >> count;)
        counts[call] += count;
    return counts;
}

void ClearProgramFaults() {
    for (const char* variable : {kFaults, kCounts, kConcerns})
        unsetenv(variable);
}

void WriteCounts() {
    const char* path = std::getenv(kCounts);
    if (!path || !TheSeam().concerned) return;
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path, "a"), std::fclose);
    if (!file) return;
    for (const auto& [call, count] : TheSeam().counts)
        std::fprintf(file.get(), "%s %u\n", call.c_str(), count);
}

DWORD FaultOf(const char* call, DWORD error) {
    currentCall = call;
    Seam& seam = TheSeam();
    const std::lock_guard lock(seam.threads);
    const unsigned own = ++seam.counts[call];
    const unsigned total = ++seam.total;
    for (const Fault& fault : seam.faults) {
        const bool any = fault.call == "*";
        if (!any && fault.call != call) continue;
        if (fault.nth != 0 && fault.nth != (any ? total : own)) continue;
        if (fault.kill) kill(getpid(), SIGKILL);
        return fault.error ? fault.error : error;
    }
    return 0;
}

bool Fails(const char* call, DWORD error) {
    const DWORD fault = FaultOf(call, error);
    if (fault == 0) return false;
    SetLastError(fault);
    return true;
}

const char* CurrentCall() {
    return currentCall;
}

bool VirtualClock() {
    return TheSeam().virtualClock;
}

void SetVirtualClock(bool on) {
    TheSeam().virtualClock = on;
    setenv(kClock, on ? "virtual" : "", 1);
}

}  // namespace winhost

// Machines of a sweep. Each is made once and copied for each
// trial. The trial runs with one disturbed call and is compared.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "winhost.h"

namespace sweep {

inline constexpr char16_t kLogFile[] = u"C:\\Program Files\\Qantivo 8\\QtvUnInst.log";

// What happens to one platform call of one program, or to the whole machine.
struct Disturbance {
    std::string program;  // name of its file, with * and ?
    std::string call;
    unsigned nth = 0;  // which use, counted from 1; 0: every use
    bool kills = false;
    std::optional<winhost::Limits> limits = std::nullopt;  // of the machine, instead of all fields above
};
// Whether the power goes, and the disturbance as text for a person.
bool CutsPower(const Disturbance& disturbance);
std::string Describe(const Disturbance& disturbance);

// A machine as sorted text, as in snapshot/snapshot.h, but:
//   - numbers in the names of temporary files are left out
//   - a mark is named by what it does ("mark: delete C:\x"), and its value is its place in the list
//   - the log is one item for the manifest in it, and one for each record after that
using State = std::map<std::string, std::string>;
State TakeState();

// Copies a machine that no process runs in. Programs of the package folder are shared by hard links.
void CopyMachine(const std::filesystem::path& from, const std::filesystem::path& to);

// From now on catches what programs write to standard error. Called once in a process.
void CaptureErrors(const std::filesystem::path& file);

struct RunOutcome {
    std::map<std::string, unsigned> calls;  // of the watched program, by name; empty after a bad end
    std::string complaint;  // a crash, a finding of the sanitizers or a hang, in one line; empty for none
    winhost::LimitsMet met;
};
// Runs a command on the machine that this process has entered, with everything that it starts, to the end. The clock is
// virtual. `watched` is the program whose calls are counted and whose end is checked; with a disturbance, it is the
// program of that.
RunOutcome Run(const std::u16string& commandLine, const std::string& watched,
               const std::optional<Disturbance>& disturbance = std::nullopt);

}  // namespace sweep

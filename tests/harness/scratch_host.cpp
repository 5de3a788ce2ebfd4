// The embedded machine of the test program. It is in the build folder and is removed when the program ends.
#include <cerrno>

#include "common/throwaway_folder.h"
#include "harness/target.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace {

struct OwnMachine {
    OwnMachine() {
        // A child's program is stored in the machine of the test that started it.
        if (winhost::InMachine()) return;
        const fs::path parent = QTV_BUILD_FOLDER "/machines";
        fs::create_directories(parent);
        folder.emplace(program_invocation_short_name, parent);
        winhost::CreateMachine(folder->Path());
        winhost::EnterMachine(folder->Path());
    }
    std::optional<tools::ThrowawayFolder> folder;
};

// Made after the start of the process, which has priority 101, and before all other static objects, because some of
// them call the platform.
[[gnu::init_priority(102)]] OwnMachine ownMachine;

std::size_t eventsBefore;

}  // namespace

std::set<DWORD> StartedPrograms() {
    const std::vector<DWORD> ids = winhost::ProcessIds();
    return {ids.begin(), ids.end()};
}

fs::path OwnProgram() {
    return fs::read_symlink("/proc/self/exe");
}

fs::path MachinePath(const Text& path) {
    return winhost::HostPath(path);
}

bool SetVirtualClock(bool on) {
    winhost::SetVirtualClock(on);
    return true;
}

void HoldAccessTimes(const Text&) {}

void StartBoxes(std::vector<int> buttons) {
    winhost::SetBoxAnswers(buttons);
    eventsBefore = winhost::Events().size();
}

std::vector<ShownBox> BoxesSoFar() {
    std::vector<ShownBox> boxes;
    const std::vector<std::string> events = winhost::Events();
    for (std::size_t i = eventsBefore; i < events.size(); ++i) {
        std::vector<std::string> fields = winhost::EventFields(events[i]);
        const std::string kind = fields[0];
        if (kind != "message-box" && kind != "unanswered-box") continue;
        fields.resize(4);
        boxes.push_back({winhost::Utf16(fields[1]), winhost::Utf16(fields[2]),
                         static_cast<UINT>(std::stoul(fields[3])), kind == "unanswered-box"});
    }
    return boxes;
}

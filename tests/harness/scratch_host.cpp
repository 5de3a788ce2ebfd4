// The embedded machine of the test program. It is in the build folder and is removed when the program ends.
#include <unistd.h>

#include <cstring>

#include "harness/target.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace {

class OwnMachine {
  public:
    OwnMachine() {
        // A child's program is stored in the machine of the test that started it.
        if (winhost::InMachine()) return;
        m_root = fs::path(QTV_BUILD_FOLDER) / "machines" /
                 (std::string(program_invocation_short_name) + "." + std::to_string(getpid()));
        fs::remove_all(m_root);
        winhost::CreateMachine(m_root);
        winhost::EnterMachine(m_root);
    }
    ~OwnMachine() {
        std::error_code error;
        if (!m_root.empty()) fs::remove_all(m_root, error);
    }

  private:
    fs::path m_root;
};

// Made after the start of the process, which has priority 101, and before all other static objects, because some of
// them call the platform.
[[gnu::init_priority(102)]] OwnMachine ownMachine;

std::size_t eventsBefore;

}  // namespace

std::vector<DWORD> StartedPrograms() {
    return winhost::ProcessIds();
}

fs::path BuildPath(const std::string& path) {
    return path;
}

fs::path OwnProgram() {
    return fs::read_symlink("/proc/self/exe");
}

fs::path MachinePath(const Text& path) {
    return winhost::HostPath(path);
}

void CarryOutMarks() {
    winhost::RestartMachine();
}

void HoldAccessTimes(const Text&) {}

bool Deviates(Deviation) {
    return false;
}

std::string Expected(const std::string&, const std::string& windows) {
    return windows;
}

void StartBoxes(std::vector<int> buttons) {
    winhost::SetBoxAnswers(buttons);
    eventsBefore = winhost::Events().size();
}

Boxes BoxesSoFar() {
    Boxes boxes;
    const std::vector<std::string> events = winhost::Events();
    for (std::size_t i = eventsBefore; i < events.size(); ++i) {
        std::vector<std::string> fields = winhost::EventFields(events[i]);
        const std::string kind = fields[0];
        if (kind != "message-box" && kind != "unanswered-box") continue;
        fields.resize(4);
        boxes.shown.push_back(
            {winhost::Utf16(fields[1]), winhost::Utf16(fields[2]), static_cast<UINT>(std::stoul(fields[3]))});
        if (kind == "unanswered-box") boxes.unanswered.push_back(boxes.shown.back());
    }
    return boxes;
}

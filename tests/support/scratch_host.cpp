// An embedded machine of the test program's own, in the build's folder; removed when the program ends.
#include <unistd.h>

#include <cstring>

#include "internal.h"
#include "process_table.h"
#include "support/target.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace {

class OwnMachine {
  public:
    OwnMachine() {
        // A child's program stands in the machine of the test that started it.
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

// Before all other static objects: some of them call the platform.
[[gnu::init_priority(101)]] OwnMachine ownMachine;

std::size_t eventsBefore;

// One field of an event: the text up to the next tab, which is taken off with it.
std::string TakeField(std::string& line) {
    const std::string field = line.substr(0, line.find('\t'));
    line.erase(0, field.size() + 1);
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const bool lineFeed = field.compare(i, 2, "\\n") == 0;
        text += lineFeed ? '\n' : field[i];
        i += lineFeed;
    }
    return text;
}

}  // namespace

std::vector<DWORD> StartedPrograms() {
    std::vector<DWORD> ids;
    for (const fs::directory_entry& entry : fs::directory_iterator(winhost::TableFolder())) {
        const DWORD id = static_cast<DWORD>(std::strtoul(entry.path().filename().c_str(), nullptr, 10));
        if (id != GetCurrentProcessId() && winhost::FindProcess(id)) ids.push_back(id);
    }
    return ids;
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

void StartBoxes(std::vector<int> buttons) {
    winhost::SetBoxAnswers(buttons);
    eventsBefore = winhost::Events().size();
}

Boxes BoxesSoFar() {
    Boxes boxes;
    const std::vector<std::string> events = winhost::Events();
    for (std::size_t i = eventsBefore; i < events.size(); ++i) {
        std::string line = events[i];
        const std::string kind = TakeField(line);
        if (kind != "message-box" && kind != "unanswered-box") continue;
        const Text caption = winhost::Utf16(TakeField(line));
        boxes.shown.push_back({caption, winhost::Utf16(TakeField(line))});
        if (kind == "unanswered-box") boxes.unanswered.push_back(boxes.shown.back());
    }
    return boxes;
}

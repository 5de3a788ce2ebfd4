// The running system as the machine. Under Wine, it is a prefix.
#include <mutex>
#include <thread>

#include "harness/target.h"
#include "lab/stand_in.h"

namespace fs = std::filesystem;

namespace {

// The job that contains this process and all that it starts.
HANDLE OwnJob() {
    static const HANDLE job = [] {
        // The first window starts the process of the desktop, which must stay outside.
        (void)GetDesktopWindow();
        const HANDLE made = CreateJobObjectW(nullptr, nullptr);
        EXPECT_TRUE(AssignProcessToJobObject(made, GetCurrentProcess()));
        return made;
    }();
    return job;
}

std::mutex boxMutex;
std::vector<int> boxButtons;
std::vector<ShownBox> boxes;
HWND leftOpen;

int Answer(const lab::Box& box) {
    const std::lock_guard lock(boxMutex);
    if (box.window == leftOpen) return kLeftOpen;
    const std::size_t index = boxes.size();
    boxes.push_back({box.caption, box.text, {}});
    if (index < boxButtons.size() && boxButtons[index] == kLeftOpen) leftOpen = box.window;
    if (index < boxButtons.size() && (leftOpen == box.window || GetDlgItem(box.window, boxButtons[index])))
        return boxButtons[index];
    boxes.back().isUnanswered = true;
    return box.safest;
}

}  // namespace

std::set<DWORD> StartedPrograms() {
    // The system's declaration has space for only one id.
    struct {
        DWORD assigned, listed;
        ULONG_PTR ids[256];
    } list = {};
    EXPECT_TRUE(
        QueryInformationJobObject(OwnJob(), JobObjectBasicProcessIdList, &list, sizeof list, nullptr));
    std::set<DWORD> ids;
    for (DWORD i = 0; i < list.listed; ++i)
        ids.insert(static_cast<DWORD>(list.ids[i]));
    ids.erase(GetCurrentProcessId());
    return ids;
}

fs::path OwnProgram() {
    WCHAR path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

fs::path MachinePath(const Text& path) {
    return path;
}

bool SetVirtualClock(bool) {
    return false;
}

void HoldAccessTimes(const Text& folder) {
    // The file system doesn't update a time of access that is later than the last change.
    constexpr DWORD kTenDays = 2011;  // in units of 2^32 times 100 nanoseconds
    constexpr std::size_t cchDrive = 3;
    FILETIME ahead;
    GetSystemTimeAsFileTime(&ahead);
    ahead.dwHighDateTime += kTenDays;
    for (Text path = folder; path.size() > cchDrive; path.resize(path.find_last_of(L'\\'))) {
        const HANDLE opened = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                          OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        EXPECT_TRUE(SetFileTime(opened, nullptr, &ahead, nullptr));
        CloseHandle(opened);
    }
}

void StartBoxes(std::vector<int> buttons) {
    const std::lock_guard lock(boxMutex);
    boxButtons = std::move(buttons);
    boxes = {};
    leftOpen = nullptr;
    static const std::jthread person = lab::StandIn(
        {.isOwn = [](DWORD id) { return id == GetCurrentProcessId() || StartedPrograms().contains(id); },
         .answer = Answer});
}

std::vector<ShownBox> BoxesSoFar() {
    const std::lock_guard lock(boxMutex);
    return boxes;
}

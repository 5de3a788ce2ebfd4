// The running system as the machine. Under Wine, it is a prefix.
#include <cstddef>
#include <cstring>
#include <mutex>
#include <thread>

#include "common/message_boxes.h"
#include "harness/target.h"

namespace fs = std::filesystem;

namespace {

constexpr DWORD kJobPollPause = 10;
constexpr int kMaxPrograms = 256;

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

bool IsOwnWindow(HWND window) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    return id == GetCurrentProcessId() || StartedPrograms().contains(id);
}

// The facts for which Wine's answer differs from Windows.
constexpr struct {
    const char* fact;
    const char* answer;
} kWine[] = {
    {"wininit.ini", "is carried out at a restart"},
    {"remove NUL", "e6"},
    {"folder aux", "e183"},
    {"current folder NUL", "NUL"},
    {"search in a file", "e123"},
    {"find 'none\\'", "e2"},
    {"find 'a\\'", "e2"},
    {"mark a long path", "ok"},
    {"mark for a long path", "ok"},
    {"text that is missing from its block", "0 e0"},
    {"classes of a user, deleted", "0"},
    {"failed start", "is as before"},
    {"names left", "App\\ App\\b App\\x NAME.txt a file\\"},
};

std::mutex boxMutex;
std::vector<int> boxButtons;
Boxes boxes;
HWND leftOpen;

void Answer(HWND box) {
    int button = tools::SafestButton(box);
    {
        const std::lock_guard lock(boxMutex);
        if (box == leftOpen) return;
        const std::size_t index = boxes.shown.size();
        boxes.shown.push_back({tools::TextOf(box), tools::TextOf(GetDlgItem(box, tools::kBoxText)), {}});
        if (index < boxButtons.size() && boxButtons[index] == kLeftOpen) {
            leftOpen = box;
            return;
        }
        if (index < boxButtons.size() && GetDlgItem(box, boxButtons[index]))
            button = boxButtons[index];
        else
            boxes.unanswered.push_back(boxes.shown.back());
    }
    tools::AnswerBox(box, button);
}

}  // namespace

std::set<DWORD> StartedPrograms() {
    // Two counts, then the ids. The system's declaration has room for only one id.
    static_assert(offsetof(JOBOBJECT_BASIC_PROCESS_ID_LIST, ProcessIdList) == sizeof(ULONG_PTR));
    ULONG_PTR words[1 + kMaxPrograms] = {};
    EXPECT_TRUE(
        QueryInformationJobObject(OwnJob(), JobObjectBasicProcessIdList, words, sizeof words, nullptr));
    DWORD counts[2];
    std::memcpy(counts, words, sizeof counts);
    std::set<DWORD> ids;
    for (DWORD i = 1; i <= counts[1]; ++i)
        ids.insert(static_cast<DWORD>(words[i]));
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

void CarryOutMarks() {
    EXPECT_EQ(RunProgram(L"C:\\windows\\system32\\wineboot.exe -r"), 0u);
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

bool UnderWine() {
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    return system && GetProcAddress(system, "wine_get_version");
}

std::string Expected(const std::string& fact, const std::string& windows) {
    for (const auto& deviation : kWine)
        if (fact == deviation.fact && UnderWine()) return deviation.answer;
    return windows;
}

void StartBoxes(std::vector<int> buttons) {
    const std::lock_guard lock(boxMutex);
    boxButtons = std::move(buttons);
    boxes = {};
    leftOpen = nullptr;
    static const std::jthread watch([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            for (HWND box = nullptr; (box = FindWindowExW(nullptr, box, L"#32770", nullptr));)
                if (IsOwnWindow(box) && tools::IsMessageBox(box)) Answer(box);
            Sleep(kJobPollPause);
        }
    });
}

Boxes BoxesSoFar() {
    const std::lock_guard lock(boxMutex);
    return boxes;
}

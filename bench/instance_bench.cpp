// Measures the time to enter and leave a list of running copies, which searches the window of every process in
// the list, against loops that only make the same calls for the same windows.
//
//   instance_bench WINDOWS ROUNDS     WINDOWS: top-level windows of another process
//   instance_bench show WINDOWS       that other process
#include "instances/instance_manager.h"
#include "measure.h"

namespace {

constexpr WCHAR kListName[] = TEXT("Qantivo.Bench");
constexpr WCHAR kTitle[] = TEXT("Another program");
constexpr DWORD kNobody = 0x70000000;  // no process has an id from here on
constexpr DWORD kMany = 1000;
constexpr DWORD kFew = 10;
constexpr DWORD kFewTimes = 20;
constexpr DWORD kBare = 100;
constexpr int kSearches = 100;

int ShowWindows(int count) {
    WNDCLASSEXW frame = {};
    frame.cbSize = sizeof frame;
    frame.lpfnWndProc = DefWindowProcW;
    frame.lpszClassName = TEXT("BenchFrame");
    Check(RegisterClassExW(&frame) != 0, "RegisterClassExW");
    for (int made = 0; made < count; ++made)
        Check(CreateWindowExW(0, TEXT("BenchFrame"), kTitle, WS_OVERLAPPED, 0, 0, 100, 100, nullptr, nullptr,
                              nullptr, nullptr),
              "CreateWindowExW");
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    return 0;
}

int WindowsOf(DWORD process) {
    std::pair<DWORD, int> found = {process, 0};
    const auto count = [](HWND window, LPARAM context) -> BOOL {
        auto& [wanted, windows] = *reinterpret_cast<std::pair<DWORD, int>*>(context);
        DWORD owner = 0;
        (void)GetWindowThreadProcessId(window, &owner);
        windows += owner == wanted;
        return TRUE;
    };
    (void)EnumWindows(count, reinterpret_cast<LPARAM>(&found));
    return found.second;
}

// The calls that a search for a window of one process makes.
BOOL CALLBACK LookAtWindow(HWND window, LPARAM) {
    DWORD process = 0;
    (void)GetWindowThreadProcessId(window, &process);
    (void)GetWindow(window, GW_OWNER);
    (void)GetWindowLongW(window, GWL_EXSTYLE);
    WCHAR title[512];
    (void)GetWindowTextW(window, title, 512);
    return TRUE;
}

// A message that is posted without a window is posted to this thread.
void TakePosted() {
    (void)PostMessageW(nullptr, WM_APP, 0, 0);
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0 && message.message != WM_APP) {
    }
}

// The least work for each entry: a pass over the windows, and a message.
void LookForEach(DWORD entries) {
    for (DWORD search = 0; search < entries; ++search) {
        (void)WindowsOf(kNobody);
        (void)PostMessageW(nullptr, WM_INSTANCE_ADDED, 0, 0);
    }
    TakePosted();
}

// Each entry is searched twice.
void EnterAndLeave(COXInstanceManager& list) {
    Check(list.AddInstance(GetCurrentProcessId()) == 1, "AddInstance");
    Check(list.RemoveInstance(GetCurrentProcessId()) == 1, "RemoveInstance");
    TakePosted();
}

// Writes the header of the list as another program would: so many processes without a window.
void Fill(DWORD entries) {
    const HANDLE mapping = OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE,
                                            TEXT("Local\\COXInstanceManager_FileMap_Qantivo.Bench"));
    Check(mapping, "OpenFileMappingW");
    auto* const header = static_cast<InstanceListHeader*>(
        MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof(InstanceListHeader)));
    Check(header, "MapViewOfFile");
    for (DWORD index = 0; index < entries; ++index)
        header->processIds[index] = kNobody + index;
    header->instanceCount = entries;
    (void)UnmapViewOfFile(header);
    (void)CloseHandle(mapping);
}

void Measure(DWORD windowOwner, int rounds) {
    COXInstanceManager list(kListName, 1024, false);
    std::vector<double> search, enter, growth, seconds;
    for (int round = 0; round < rounds; ++round) {
        const double bareSearch = SecondsOf([] {
            for (int index = 0; index < kSearches; ++index)
                (void)EnumWindows(LookAtWindow, 0);
        });
        search.push_back(SecondsOf([&] {
                             for (int index = 0; index < kSearches; ++index)
                                 (void)COXInstanceManager::FindInstanceWindow(windowOwner);
                         }) /
                         bareSearch);

        // One place is left for this process.
        Fill(kMany - 1);
        double bare = SecondsOf([] { LookForEach(kBare); });
        const double many = SecondsOf([&] { EnterAndLeave(list); }) / (2 * (kMany - 1));
        bare = (bare + SecondsOf([] { LookForEach(kBare); })) / (2 * kBare);
        Fill(kFew);
        double few = 0;
        for (DWORD again = 0; again < kFewTimes; ++again)
            few += SecondsOf([&] { EnterAndLeave(list); });
        enter.push_back(many / bare);
        growth.push_back(many / (few / (2 * kFewTimes * kFew)));
        seconds.push_back(many * kMany);
    }
    Report("search for a main window, over bare EnumWindows with the same calls", Median(search));
    Report("entering and leaving at 1000 entries, over bare EnumWindows passes", Median(enter));
    Report("one of 1000 entries over one of 10", Median(growth));
    std::printf("  (entering a list of 1000 takes %.2f s)\n", Median(seconds));
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    if (__argc != 3) {
        std::fprintf(stderr, "usage: instance_bench WINDOWS ROUNDS\n");
        return 2;
    }
    const Text first = __wargv[1];
    if (first == TEXT("show")) return ShowWindows(_wtoi(__wargv[2]));
    const lab::Program other = Start(OwnProgram() + TEXT(" show ") + first);
    while (WindowsOf(other.Id()) < _wtoi(__wargv[1]))
        Sleep(10);
    Measure(other.Id(), _wtoi(__wargv[2]));
    (void)TerminateProcess(other.Process(), 0);
    return 0;
}

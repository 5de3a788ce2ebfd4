// Measures the time to enter and leave a list of running copies, which searches the window of every process in
// the list, against loops that only make the same calls for the same windows.
//
//   instance_bench WINDOWS ROUNDS     WINDOWS: top-level windows of another process
//   instance_bench show WINDOWS       that other process
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "instances/instance_manager.h"
#include "lab/program.h"

namespace {

// Ends the program if a measurement can't be made.
void Check(bool done, const char* what) {
    if (done) return;
    std::fprintf(stderr, "benchmark: %s failed (error %u)\n", what, static_cast<unsigned>(GetLastError()));
    std::exit(2);
}

template <class Work>
double SecondsOf(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

constexpr WCHAR kListName[] = TEXT("Qantivo.Bench");
constexpr WCHAR kTitle[] = TEXT("Another program");
constexpr DWORD kNobody = 0x70000000;  // no process has an id from here on
constexpr DWORD kMany = 1000;
constexpr DWORD kFew = 10;
constexpr DWORD kFewTimes = 20;
constexpr DWORD kBare = 100;

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

void Measure(int rounds) {
    COXInstanceManager list(kListName, 1024, false);
    std::vector<double> enter, growth, seconds;
    for (int round = 0; round < rounds; ++round) {
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
    // bench.py knows the bounds of these figures.
    std::printf("search for a main window, over bare EnumWindows with the same calls\t%.2f\n",
                Median(search));
    std::printf("entering and leaving at 1000 entries, over bare EnumWindows passes\t%.2f\n", Median(enter));
    std::printf("one of 1000 entries over one of 10\t%.2f\n", Median(growth));
    std::printf("  (entering a list of 1000 takes %.2f s)\n", Median(seconds));
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    if (__argc != 3) {
        std::fprintf(stderr, "usage: instance_bench WINDOWS ROUNDS\n");
        return 2;
    }
    const tools::WideText first = __wargv[1], own = __wargv[0];
    if (first == TEXT("show")) return ShowWindows(_wtoi(__wargv[2]));
    const lab::Program other(TEXT("\"") + own + TEXT("\" show ") + first);
    Check(static_cast<bool>(other), "CreateProcessW");
    while (WindowsOf(other.Id()) < _wtoi(__wargv[1]))
        Sleep(10);
    Measure(_wtoi(__wargv[2]));
    (void)TerminateProcess(other.Process(), 0);
    return 0;
}
